#include "player/session/folder_videos.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "api/session/api_failure.h"
#include "api/session/open_api_client.h"
#include "api/session/session.h"
#include "net/log_failure.h"
#include "ui/widgets/natural_order.h"

namespace {

constexpr int PageSize = 200;
constexpr int MostUselessPages = 5;
constexpr std::chrono::seconds BeforeSecondTry(1);

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
    m_secondTry.setSingleShot(true);
    connect(&Session::instance().reachability(), &Reachability::returned, this, [this] {
        const bool isUnplaced = !m_soughtId.isEmpty() && m_file.file_id == m_soughtId;
        if (m_isLost || (isUnplaced && !m_isAsked)) {
            request(m_file);
        }
    });
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
    m_secondTry.stop();
    m_isAsked = true;
    m_received.clear();
    m_receivedIds.clear();
    m_markers.clear();
    m_uselessPages = 0;
    m_hasTriedAgain = false;
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
        onNoPlace(file, code);
    };
    m_replies.limitWait(OpenApiClient(m_user).fileDetails(file.file_id, m_replies.guard(success),
                                                          m_replies.guard(fail)));
}

void FolderVideos::onNoPlace(const FileItem &file, int code)
{
    if (m_hasTriedAgain || !mayAskAgain(CallKind::Reading, code)) {
        requestVideos(file);
    } else {
        tryAgainSoon([this, file] { requestPlace(file); });
    }
}

void FolderVideos::requestPage(const QString &marker)
{
    const auto success = m_replies.guard([this](const FileItems &page) { onPage(page); });
    const auto fail = m_replies.guard(
        [this, marker](const QString &error, int code) { onPageFailed(marker, error, code); });
    const OpenApiClient client(m_user);
    m_replies.limitWait(marker.isEmpty() ? client.listVideos(m_file.parent_file_id, success, fail)
                                         : client.listVideosPaged(m_file.parent_file_id, PageSize,
                                                                  marker, success, fail));
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

void FolderVideos::onPageFailed(const QString &marker, const QString &error, int code)
{
    logFailure(QStringLiteral("getFileList"), code, error);
    if (m_hasTriedAgain || !mayAskAgain(CallKind::Reading, code)) {
        m_isLost = true;
        finish(false);
    } else {
        tryAgainSoon([this, marker] { requestPage(marker); });
    }
}

void FolderVideos::tryAgainSoon(const std::function<void()> &ask)
{
    m_hasTriedAgain = true;
    m_secondTry.disconnect();
    connect(&m_secondTry, &QTimer::timeout, this, ask);
    m_secondTry.start(BeforeSecondTry);
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
    if (index < 0 || (m_videos.size() == 1 && !m_isComplete)) {
        return nullptr;
    }
    const int next = index + step;
    if (next >= m_videos.size()) {
        return &m_videos.first();
    }
    return next < 0 ? &m_videos.last() : &m_videos.at(next);
}
