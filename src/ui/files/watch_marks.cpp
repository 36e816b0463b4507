#include "ui/files/watch_marks.h"

#include <utility>

#include "db/tables/play_history.h"
#include "ui/files/file_browser.h"
#include "ui/files/file_table.h"

namespace {

// Of one event: about as many as a page of the drive has.
constexpr int MostAtOnce = 200;

} // namespace

WatchMarks::WatchMarks(const QString &userId, FileTable *table, const FileBrowser *browser,
                       QObject *parent)
    : QObject(parent), m_userId(userId), m_table(table), m_browser(browser), m_watched(userId)
{
    m_due.setSingleShot(true);
    connect(&m_due, &QTimer::timeout, this, &WatchMarks::markNext);
    connect(m_table, &FileTable::emptied, this, &WatchMarks::beginAnew);
    connect(m_table, &FileTable::videosAdded, this, &WatchMarks::markLater);
}

void WatchMarks::beginAnew()
{
    m_unmarked.clear();
    m_beginsAnew = true;
}

void WatchMarks::markLater(const QStringList &fileIds)
{
    m_unmarked << fileIds;
    if (!m_unmarked.isEmpty()) {
        m_due.start();
    }
}

void WatchMarks::markNext()
{
    if (std::exchange(m_beginsAnew, false)) {
        m_watched.open(m_browser->folderId());
    }
    const QStringList ids = m_unmarked.mid(0, MostAtOnce);
    m_unmarked = m_unmarked.mid(ids.size());
    const QHash<QString, int> percents = m_watched.read(ids);
    for (const QString &id : ids) {
        m_table->setWatched(id, percents.value(id));
    }
    m_table->setLastPlayed(m_watched.lastPlayed());
    if (!m_unmarked.isEmpty()) {
        m_due.start();
    }
}

void WatchMarks::take(const PlayHistory &row)
{
    const bool isOurs = row.userId.value() == m_userId && m_table->contains(row.fileId.value());
    if (!isOurs || m_beginsAnew) {
        return; // all rows are still to be read then
    }
    if (m_watched.take(row)) {
        m_table->setWatched(row.fileId.value(), m_watched.percentOf(row));
        m_table->setLastPlayed(m_watched.lastPlayed());
    } else {
        reload();
    }
}

void WatchMarks::reload()
{
    beginAnew();
    markLater(m_table->videoIds());
}
