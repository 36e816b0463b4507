#pragma once

#include <QAbstractListModel>
#include <QStringList>

class FileItem;

// The names of videos, one of them marked as the one that plays.
class VideoListModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoListModel)

public:
    enum Role { FileIdRole = Qt::UserRole };

    using QAbstractListModel::QAbstractListModel;

    void setVideos(const QList<FileItem> &videos);
    // Returns the video's index; an invalid one where it is not listed.
    QModelIndex setCurrent(const QString &fileId);

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

private:
    QStringList m_names;
    QStringList m_ids;
    int m_current = -1;
};
