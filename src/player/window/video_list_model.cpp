#include "player/window/video_list_model.h"

#include <utility>

#include <QIcon>

#include "api/records/file_records.h"
#include "app/environment/file_name.h"
#include "ui/widgets/name_text.h"

namespace {

// In a selected row a style mixes the palette's highlight into an icon that has no picture of its
// own for that.
QIcon untintedIcon(const QString &path)
{
    QIcon icon(path);
    icon.addFile(path, {}, QIcon::Selected);
    return icon;
}

} // namespace

void VideoListModel::setVideos(const QList<FileItem> &videos)
{
    beginResetModel();
    m_names.clear();
    m_ids.clear();
    m_current = -1;
    for (const FileItem &video : videos) {
        m_names.append(withVisibleOverrides(video.name));
        m_ids.append(video.file_id);
    }
    endResetModel();
}

QModelIndex VideoListModel::setCurrent(const QString &fileId)
{
    const int previous = std::exchange(m_current, m_ids.indexOf(fileId));
    for (const int row : {previous, m_current}) {
        if (row >= 0) {
            emit dataChanged(index(row), index(row));
        }
    }
    return m_current >= 0 ? index(m_current) : QModelIndex();
}

int VideoListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : m_names.size();
}

QVariant VideoListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const bool current = index.row() == m_current;
    switch (role) {
    case Qt::DisplayRole:
        return m_names.at(index.row());
    case Qt::ToolTipRole:
        return nameTip(m_names.at(index.row()));
    case Qt::AccessibleTextRole:
        return current ? QStringLiteral("正在播放：") + m_names.at(index.row())
                       : m_names.at(index.row());
    case Qt::DecorationRole:
        return untintedIcon(current ? QStringLiteral(":/playerIcon/play.png")
                                    : QStringLiteral(":/playerIcon/video.png"));
    case FileIdRole:
        return m_ids.at(index.row());
    default:
        return {};
    }
}
