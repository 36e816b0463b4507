#include "player/session/history_row.h"

#include <utility>

HistoryRow::HistoryRow(const UserInfo &user, FileItem file, const PlayHistory &handedOver)
    : m_userId(user.userId.value()), m_file(std::move(file))
{
    const bool isKnown = !handedOver.id.isNull() && loadRowById(handedOver.id.value(), m_values);
    // Its id may have gone to another video's row meanwhile.
    if (!isKnown || m_values.fileId.value() != m_file.file_id) {
        m_values = PlayHistory();
        loadPlayHistory(m_file.file_id, m_values);
    }
}

void HistoryRow::setFile(const FileItem &file)
{
    m_file = file;
}

void HistoryRow::savePosition(int position, int duration)
{
    save([position, duration](PlayHistory &row) {
        row.playPosition = position;
        row.duration = duration;
    });
}

void HistoryRow::saveSubtitle(int type, const QString &fileId)
{
    save([type, &fileId](PlayHistory &row) {
        row.subTitleType = type;
        row.subTitle = fileId;
    });
}

void HistoryRow::save(const HistoryChange &change)
{
    const auto fill = [this, &change](PlayHistory &row) {
        row.fileId = m_file.file_id;
        row.parentFileId = m_file.parent_file_id;
        row.userId = m_userId;
        row.name = m_file.name;
        if (change) {
            change(row);
        }
    };
    if (const std::optional<PlayHistory> row = changePlayHistory(m_file.file_id, fill)) {
        m_values = *row;
    } else {
        fill(m_values); // for this session
    }
    PlayHistory row = m_values;
    emit saved(row);
}
