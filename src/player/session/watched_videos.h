#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <QStringList>

#include "player/session/skip_times.h"

class PlayHistory;

// How far the user has come in a video, in whole per cent: 0 for one that was not begun or whose
// length is not known, 100 where nothing but the outro or the last few per cent is left.
[[nodiscard]] int watchedPercent(const PlayHistory &row, const SkipTimes &skip);
constexpr int WatchedWhole = 100;

// In words; empty for one that was not begun.
[[nodiscard]] QString watchedText(int percent);

// What one user has seen of the videos of one folder, as the database has it.
class WatchedVideos final
{
public:
    explicit WatchedVideos(QString userId);

    // Goes to a folder, or begins anew with the same.
    void open(const QString &folderId);
    [[nodiscard]] const QString &folderId() const { return m_folderId; }

    // The percentages of those of the videos that were begun; one query.
    [[nodiscard]] QHash<QString, int> read(const QStringList &fileIds);

    // A row was written. False when the folder's skip times are others than before: what was read
    // is out of date then.
    [[nodiscard]] bool take(const PlayHistory &row);
    [[nodiscard]] int percentOf(const PlayHistory &row) const;

    // The file id of the video that was played last, as far as the history still has it; the newest
    // of those that were read where the folder does not tell. Empty: none.
    [[nodiscard]] QString lastPlayed() const;

private:
    void readFolder();
    void note(const PlayHistory &row);

    const QString m_userId;
    QString m_folderId;
    SkipTimes m_skip;
    QString m_toldId; // by the folder
    bool m_hasTold = false;
    QString m_newestId;
    QDateTime m_newestTime;
};
