#include "player/window/video_list_model.h"

#include <utility>

#include <QIcon>

#include "api/records/file_records.h"
#include "app/environment/file_name.h"
#include "player/session/watched_videos.h"
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
    m_thumbnails.clear();
    m_current = -1;
    for (const FileItem &video : videos) {
        m_names.append(withVisibleOverrides(video.name));
        m_ids.append(video.file_id);
        m_thumbnails.append(video.thumbnail);
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

void VideoListModel::setWatched(const QHash<QString, int> &percents)
{
    m_percents = percents;
    if (rowCount() > 0) {
        emit dataChanged(index(0), index(rowCount() - 1));
    }
}

void VideoListModel::setWatched(const QString &fileId, int percent)
{
    m_percents.insert(fileId, percent);
    const int row = m_ids.indexOf(fileId);
    if (row >= 0) {
        emit dataChanged(index(row), index(row));
    }
}

QString VideoListModel::spokenText(int row) const
{
    const QString name =
        row == m_current ? QStringLiteral("正在播放：") + m_names.at(row) : m_names.at(row);
    const QString watched = watchedText(m_percents.value(m_ids.at(row)));
    return watched.isEmpty() ? name : name + QStringLiteral("，") + watched;
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
        return spokenText(index.row());
    case Qt::DecorationRole:
        return untintedIcon(current ? QStringLiteral(":/playerIcon/play.png")
                                    : QStringLiteral(":/playerIcon/video.png"));
    case FileIdRole:
        return m_ids.at(index.row());
    case ThumbnailRole:
        return m_thumbnails.at(index.row());
    case WatchedRole:
        return m_percents.value(m_ids.at(index.row()));
    case CurrentRole:
        return current;
    default:
        return {};
    }
}
