#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>

#include "player/session/watched_videos.h"

class FileBrowser;
class FileTable;

// Keeps the signs of what the user has watched in a table of files up to date. The history is read
// in events of its own, a part of the rows in each, so that filling the table waits for nothing.
class WatchMarks final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(WatchMarks)

public:
    // The table must outlive this, as far as it is filled, and so must the browser.
    WatchMarks(const QString &userId, FileTable *table, const FileBrowser *browser,
               QObject *parent);

    // A row of the history was written.
    void take(const PlayHistory &row);
    // Rows were removed or put back, or skip times changed.
    void reload();

private:
    void beginAnew();
    void markLater(const QStringList &fileIds);
    void markNext();

    const QString m_userId;
    FileTable *const m_table;
    const FileBrowser *const m_browser;
    WatchedVideos m_watched;
    QStringList m_unmarked; // which may have left the table meanwhile
    bool m_beginsAnew = true;
    QTimer m_due;
};
