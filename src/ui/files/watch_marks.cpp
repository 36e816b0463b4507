#include "ui/files/watch_marks.h"

#include "db/tables/play_history.h"
#include "ui/files/file_browser.h"
#include "ui/files/file_table.h"

WatchMarks::WatchMarks(const QString &userId, FileTable *table, const FileBrowser *browser,
                       QObject *parent)
    : QObject(parent), m_userId(userId), m_table(table), m_browser(browser), m_watched(userId)
{
    m_table->setWatchedSource([this](const QStringList &videoIds) { return read(videoIds); });
    // Once the page's rows are there.
    connect(m_browser, &FileBrowser::filled, this,
            [this] { m_table->setLastPlayed(m_watched.lastPlayed()); });
}

QHash<QString, int> WatchMarks::read(const QStringList &videoIds)
{
    if (m_table->rowCount() == 0 || m_watched.folderId() != m_browser->folderId()) {
        m_watched.open(m_browser->folderId());
    }
    return m_watched.read(videoIds);
}

void WatchMarks::take(const PlayHistory &row)
{
    if (row.userId.value() != m_userId || !m_table->contains(row.fileId.value())) {
        return;
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
    m_watched.open(m_browser->folderId());
    m_table->reloadWatched();
    m_table->setLastPlayed(m_watched.lastPlayed());
}
