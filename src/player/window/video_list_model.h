#pragma once

#include <QAbstractListModel>
#include <QHash>
#include <QStringList>
#include <QVector>

class FileItem;

// The videos of a folder, one of them marked as the one that plays.
class VideoListModel final : public QAbstractListModel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoListModel)

public:
    enum Role {
        FileIdRole = Qt::UserRole,
        // The role between the two is what lists are sorted by.
        ThumbnailRole = Qt::UserRole + 2, // its address, as the drive told it
        WatchedRole,                      // int, see watchedPercent()
        CurrentRole                       // bool
    };

    using QAbstractListModel::QAbstractListModel;

    void setVideos(const QList<FileItem> &videos);
    // Returns the video's index; an invalid one where it is not listed.
    QModelIndex setCurrent(const QString &fileId);
    // All percentages by file id, or one.
    void setWatched(const QHash<QString, int> &percents);
    void setWatched(const QString &fileId, int percent);
    [[nodiscard]] QStringList fileIds() const { return m_ids; }

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;

private:
    [[nodiscard]] QString spokenText(int row) const;

    QStringList m_names;
    QStringList m_ids;
    QStringList m_thumbnails;
    QHash<QString, int> m_percents;
    int m_current = -1;
};
