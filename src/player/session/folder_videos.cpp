#include "player/session/folder_videos.h"

#include <algorithm>
#include <utility>

#include "api/session/open_api_client.h"
#include "net/log_failure.h"
#include "ui/widgets/natural_order.h"

namespace {

constexpr int PageSize = 200;

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
}

void FolderVideos::adopt(const FolderVideos &other)
{
    m_videos = other.m_videos;
    m_isComplete = other.m_isComplete;
}

void FolderVideos::request(const FileItem &file)
{
    m_file = file;
    m_received.clear();
    requestPage(QString());
}

void FolderVideos::locate(const FileItem &file)
{
    const auto success = [this, file](const FileItem &found) {
        if (found.file_id == file.file_id) {
            emit located(found);
            request(found);
        } else {
            request(file);
        }
    };
    const auto fail = [this, file](const QString &error, int code) {
        logFailure(QStringLiteral("getFile"), code, error);
        request(file);
    };
    OpenApiClient(m_user).fileDetails(file.file_id, m_replies.guard(success),
                                      m_replies.guard(fail));
}

void FolderVideos::requestPage(const QString &marker)
{
    const auto success = m_replies.guard([this](const FileItems &page) { onPage(page); });
    const auto fail = [](const QString &error, int code) {
        logFailure(QStringLiteral("getFileList"), code, error);
    };
    const OpenApiClient client(m_user);
    if (marker.isEmpty()) {
        client.listVideos(m_file.parent_file_id, success, fail);
    } else {
        client.listVideosPaged(m_file.parent_file_id, PageSize, marker, success, fail);
    }
}

void FolderVideos::onPage(const FileItems &page)
{
    m_received += page.items;
    if (!page.next_marker.isEmpty() && !page.items.isEmpty()) {
        requestPage(page.next_marker);
        return;
    }
    if (indexOf(m_received, m_file.file_id) < 0) {
        return;
    }
    m_videos = inNaturalOrder(m_received);
    m_isComplete = true;
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
    if (index < 0) {
        return nullptr;
    }
    const int next = index + step;
    if (next >= m_videos.size()) {
        return &m_videos.first();
    }
    return next < 0 ? &m_videos.last() : &m_videos.at(next);
}
