#include "player/session/history_row.h"

#include <utility>

#include "db/tables/operations.h"

HistoryRow::HistoryRow(const UserInfo &user, FileItem file, const PlayHistory &handedOver)
    : m_userId(user.userId.value()), m_file(std::move(file))
{
    if (handedOver.id.isNull() || !loadRowById(handedOver.id.value(), m_values)) {
        m_values = stored();
    }
}

void HistoryRow::setFile(const FileItem &file)
{
    m_file = file;
}

PlayHistory HistoryRow::stored() const
{
    PlayHistory row;
    (void)loadPlayHistory(m_file.file_id, row);
    return row;
}

void HistoryRow::savePosition(int position, int duration)
{
    PlayHistory row = stored();
    row.playPosition = position;
    row.duration = duration;
    write(row);
}

void HistoryRow::saveSubtitle(int type, const QString &fileId)
{
    PlayHistory row = stored();
    row.subTitleType = type;
    row.subTitle = fileId;
    write(row);
}

void HistoryRow::save()
{
    PlayHistory row = stored();
    write(row);
}

void HistoryRow::write(PlayHistory &row)
{
    row.fileId = m_file.file_id;
    row.parentFileId = m_file.parent_file_id;
    row.userId = m_userId;
    row.name = m_file.name;
    savePlayHistory(row);
    m_values = row;
    emit saved(row);
}
