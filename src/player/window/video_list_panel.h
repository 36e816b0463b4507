#pragma once

#include <memory>

#include <QList>
#include <QWidget>

#include "player/session/watched_videos.h"
#include "ui/widgets/watch_signs.h"

class FileItem;
class PicturesInSight;
class QListView;
class SortFilterProxyModel;
class UserInfo;
class VideoListModel;

// The list of the folder's videos beside the picture, in natural order, the current one marked,
// with their thumbnails and how far they were watched. A click or the enter key chooses a row; a
// click does not take the focus.
class VideoListPanel final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoListPanel)
    // For the skin.
    Q_PROPERTY(QColor signColour MEMBER m_signColour)
    Q_PROPERTY(QColor onSignColour MEMBER m_onSignColour)

public:
    explicit VideoListPanel(QWidget *parent = nullptr);
    ~VideoListPanel() override;

    // The user's, all of one folder.
    void setVideos(const UserInfo &user, const QList<FileItem> &videos);
    // Marks the video, selects its row and scrolls to it. An id that is not listed marks nothing.
    void setCurrent(const QString &fileId);
    // A row of the history was written.
    void showWatched(const PlayHistory &row);

    // Null while there is none.
    [[nodiscard]] QImage picture(const QString &fileId) const;
    [[nodiscard]] SignColours signColours() const { return {m_signColour, m_onSignColour}; }

signals:
    void videoChosen(const QString &fileId);

private:
    void setUpView();
    void readWatched();

    QListView *m_view = nullptr;
    VideoListModel *m_model = nullptr;
    SortFilterProxyModel *m_sorted = nullptr;
    PicturesInSight *m_pictures = nullptr;
    std::unique_ptr<WatchedVideos> m_watched; // of the videos' folder
    QColor m_signColour = Qt::green;
    QColor m_onSignColour = Qt::black;
};
