#pragma once

#include <QObject>

#include "api/records/file_records.h"
#include "db/tables/operations.h"

// The row of one video in the watch history. Each save changes the stored row, as it is then, in
// what it means to change, with the video's owner, name and folder: a copy that was read earlier
// never wins over the table.
class HistoryRow final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HistoryRow)

public:
    // `handedOver` is what the caller knows of the row: only its `id` counts.
    HistoryRow(const UserInfo &user, FileItem file, const PlayHistory &handedOver);

    // As read when the video was opened or saved last; empty for a video without a row.
    [[nodiscard]] const PlayHistory &values() const { return m_values; }

    [[nodiscard]] const FileItem &file() const { return m_file; }
    // The drive has the file under another name or in another folder.
    void setFile(const FileItem &file);

    // Seconds.
    void savePosition(int position, int duration);
    // `fileId` is that of a subtitle file, empty for none.
    void saveSubtitle(int type, const QString &fileId);
    void save(const HistoryChange &change = {});

signals:
    void saved(PlayHistory &row);

private:
    const QString m_userId;
    FileItem m_file;
    PlayHistory m_values;
};
