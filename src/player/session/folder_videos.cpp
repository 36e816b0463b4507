#include "player/session/folder_videos.h"

#include <algorithm>
#include <utility>

#include "api/session/patient_reading.h"
#include "api/session/session.h"
#include "net/log_failure.h"
#include "ui/widgets/natural_order.h"

namespace {

constexpr int PageSize = 200;
constexpr int MostUselessPages = 5;

int indexOf(const QList<FileItem> &videos, const QString &fileId)
{
    const auto found =
        std::find_if(videos.cbegin(), videos.cend(),
                     [&fileId](const FileItem &video) { return video.file_id == fileId; });
    return found == videos.cend() ? -1 : static_cast<int>(found - videos.cbegin());
}

QList<FileItem> inNaturalOrder(QList<FileItem> videos)
{
    std::stable_sort(videos.begin(), videos.end(), [](const FileItem &left, const FileItem &right) {
        return naturalLess(left.name, right.name);
    });
    return videos;
}

} // namespace

FolderVideos::FolderVideos(UserInfo user, const QList<FileItem> &videos)
    : m_user(std::move(user)), m_videos(inNaturalOrder(videos))
{
    connect(&Session::instance().reachability(), &Reachability::returned, this, [this] {
        const bool isUnplaced = !m_soughtId.isEmpty() && m_file.file_id == m_soughtId;
        if (m_isLost || (isUnplaced && !m_isAsked)) {
            request(m_file);
        }
    });
}

FolderVideos::~FolderVideos()
{
    m_replies.abandon();
}

void FolderVideos::adopt(const FolderVideos &other)
{
    m_videos = other.m_videos;
    m_isComplete = other.m_isComplete;
    m_soughtId = other.m_soughtId;
}

void FolderVideos::request(const FileItem &file)
{
    if (!m_soughtId.isEmpty() && file.file_id == m_soughtId) {
        locate(file);
    } else {
        requestVideos(file);
    }
}

void FolderVideos::requestVideos(const FileItem &file)
{
    m_file = file;
    start();
    requestPage(QString());
}

// What was asked for before is forgotten.
void FolderVideos::start()
{
    m_replies.abandon();
    m_isAsked = true;
    m_received.clear();
    m_receivedIds.clear();
    m_markers.clear();
    m_uselessPages = 0;
    m_isLost = false;
}

void FolderVideos::locate(const FileItem &file)
{
    m_soughtId = file.file_id;
    start();
    requestPlace(file);
}

void FolderVideos::requestPlace(const FileItem &file)
{
    const auto success = [this, file](const FileItem &found) {
        const bool isFound = found.file_id == file.file_id;
        if (isFound) {
            m_soughtId.clear();
            emit located(found);
        }
        requestVideos(isFound ? found : file);
    };
    const auto fail = [this, file](const QString &error, int code) {
        logFailure(QStringLiteral("getFile"), code, error);
        requestVideos(file);
    };
    const auto ask = [id = file.file_id, success = m_replies.guard(success)](
                         const OpenApiClient &client, const ApiFailure &failed) {
        return client.fileDetails(id, success, failed);
    };
    readPatiently(m_replies, client(), ask, fail);
}

OpenApiClient FolderVideos::client() const
{
    return OpenApiClient(m_user).inTurn(RequestTurn::Soon);
}

void FolderVideos::requestPage(const QString &marker)
{
    const auto success = m_replies.guard([this](const FileItems &page) { onPage(page); });
    const auto fail = [this](const QString &error, int code) {
        logFailure(QStringLiteral("getFileList"), code, error);
        m_isLost = true;
        finish(false);
    };
    const auto ask = [folder = m_file.parent_file_id, marker, success](const OpenApiClient &client,
                                                                       const ApiFailure &failed) {
        return marker.isEmpty() ? client.listVideos(folder, success, failed)
                                : client.listVideosPaged(folder, PageSize, marker, success, failed);
    };
    readPatiently(m_replies, client(), ask, fail);
}

// Some drives repeat a marker, a page, or give empty pages with ever new markers: then there is no
// end that could be waited for.
void FolderVideos::onPage(const FileItems &page)
{
    bool isUseful = false;
    for (const FileItem &video : page.items) {
        if (!video.file_id.isEmpty() && !m_receivedIds.contains(video.file_id)) {
            m_receivedIds.insert(video.file_id);
            m_received.append(video);
            isUseful = true;
        }
    }
    m_uselessPages = isUseful ? 0 : m_uselessPages + 1;
    const QString &next = page.next_marker;
    if (next.isEmpty() || m_markers.contains(next) || m_uselessPages > MostUselessPages) {
        finish(next.isEmpty());
        return;
    }
    m_markers.insert(next);
    requestPage(next);
}

void FolderVideos::finish(bool isWhole)
{
    m_isAsked = false;
    if (indexOf(m_received, m_file.file_id) < 0) {
        emit failed();
        return;
    }
    m_videos = inNaturalOrder(m_received);
    m_isComplete = isWhole;
    emit changed();
}

const FileItem *FolderVideos::find(const QString &fileId) const
{
    const int index = indexOf(m_videos, fileId);
    return index < 0 ? nullptr : &m_videos.at(index);
}

const FileItem *FolderVideos::neighbour(const QString &fileId, int step) const
{
    const int index = indexOf(m_videos, fileId);
    if (index < 0 || (!m_isComplete && (m_isAsked || m_videos.size() == 1))) {
        return nullptr;
    }
    const int next = index + step;
    if (next >= m_videos.size()) {
        return &m_videos.first();
    }
    return next < 0 ? &m_videos.last() : &m_videos.at(next);
}
