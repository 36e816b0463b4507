#include "player/session/history_row.h"

#include <utility>

#include "db/tables/operations.h"

HistoryRow::HistoryRow(const UserInfo &user, FileItem file, const PlayHistory &handedOver)
    : m_userId(user.userId.value()), m_file(std::move(file))
{
    const bool isKnown = !handedOver.id.isNull() && loadRowById(handedOver.id.value(), m_values);
    // Its id may have gone to another video's row meanwhile.
    if (!isKnown || m_values.fileId.value() != m_file.file_id) {
        m_values = PlayHistory();
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
    // What cannot be read now is what it was before; a new row would begin at 0.
    return lookUpPlayHistory(m_file.file_id, row) == LookUp::Failed ? m_values : row;
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
