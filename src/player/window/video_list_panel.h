#pragma once

#include <QList>
#include <QWidget>

class FileItem;
class QListView;
class SortFilterProxyModel;
class VideoListModel;

// The list of the folder's videos beside the picture, in natural order, the current one marked. A
// click or the enter key chooses a row; a click does not take the focus.
class VideoListPanel final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoListPanel)

public:
    explicit VideoListPanel(QWidget *parent = nullptr);

    void setVideos(const QList<FileItem> &videos);
    // Marks the video, selects its row and scrolls to it. An id that is not listed marks nothing.
    void setCurrent(const QString &fileId);

signals:
    void videoChosen(const QString &fileId);

private:
    QListView *m_view = nullptr;
    VideoListModel *m_model = nullptr;
    SortFilterProxyModel *m_sorted = nullptr;
};
