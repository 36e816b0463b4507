#include "player/session/watched_videos.h"

#include <utility>

#include "db/tables/operations.h"
#include "player/session/folder_memory.h"

namespace {

// Who stops there has seen the film: what is left are titles.
constexpr double WholeFrom = 0.95;

} // namespace

int watchedPercent(const PlayHistory &row, const SkipTimes &skip)
{
    const int position = row.playPosition.value();
    const int duration = row.duration.value();
    if (position <= 0 || duration <= 0) {
        return 0;
    }
    const double share = static_cast<double>(position) / duration;
    if (share >= WholeFrom || position >= skip.outroStart(duration)) {
        return WatchedWhole;
    }
    return qMax(1, qRound(share * 100));
}

QString watchedText(int percent)
{
    if (percent <= 0) {
        return {};
    }
    return percent >= WatchedWhole ? QStringLiteral("已看完")
                                   : QStringLiteral("看到 %1%").arg(percent);
}

WatchedVideos::WatchedVideos(QString userId) : m_userId(std::move(userId)) {}

void WatchedVideos::open(const QString &folderId)
{
    m_folderId = folderId;
    m_toldId.clear();
    m_hasTold = false;
    m_newestId.clear();
    m_newestTime = QDateTime();
    readFolder();
}

void WatchedVideos::readFolder()
{
    const FolderSetting folder = folderSettingOf(m_folderId, m_userId);
    m_skip = {folder.skipHeadPos.value(), folder.skipTailPos.value()};
    const QString told = folder.lastPlayFileId.value();
    if (std::exchange(m_toldId, told) != told) {
        m_hasTold = false;
    }
}

QHash<QString, int> WatchedVideos::read(const QStringList &fileIds)
{
    QHash<QString, int> percents;
    if (fileIds.isEmpty()) {
        return percents;
    }
    QStringList ids = fileIds;
    if (!m_toldId.isEmpty()) {
        ids.append(m_toldId); // which may be on another page
    }
    const QHash<QString, PlayHistory> rows = playHistoryOf(m_userId, ids);
    for (const PlayHistory &row : rows) {
        note(row);
        percents.insert(row.fileId.value(), percentOf(row));
    }
    return percents;
}

bool WatchedVideos::take(const PlayHistory &row)
{
    const SkipTimes before = m_skip;
    readFolder();
    note(row);
    return before.head == m_skip.head && before.tail == m_skip.tail;
}

int WatchedVideos::percentOf(const PlayHistory &row) const
{
    return watchedPercent(row, m_skip);
}

QString WatchedVideos::lastPlayed() const
{
    return m_hasTold ? m_toldId : m_newestId;
}

void WatchedVideos::note(const PlayHistory &row)
{
    const QString id = row.fileId.value();
    m_hasTold = m_hasTold || (id == m_toldId && !id.isEmpty());
    const QDateTime time = row.updateTime.value();
    if (!m_newestTime.isValid() || time >= m_newestTime) {
        m_newestTime = time;
        m_newestId = id;
    }
}
