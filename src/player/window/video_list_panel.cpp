#include "player/window/video_list_panel.h"

#include <QListView>
#include <QVBoxLayout>

#include "api/records/file_records.h"
#include "db/tables/operations.h"
#include "player/window/video_list_delegate.h"
#include "player/window/video_list_model.h"
#include "ui/pictures/pictures_in_sight.h"
#include "ui/widgets/sort_filter_proxy_model.h"

VideoListPanel::VideoListPanel(QWidget *parent)
    : QWidget(parent)
    , m_view(new QListView)
    , m_model(new VideoListModel(this))
    , m_sorted(new SortFilterProxyModel(this))
{
    m_sorted->setSourceModel(m_model);
    m_sorted->sort(0);
    setUpView();
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    setMinimumWidth(200);
    const auto choose = [this](const QModelIndex &index) {
        emit videoChosen(index.data(VideoListModel::FileIdRole).toString());
    };
    connect(m_view, &QListView::clicked, this, choose);
    connect(m_view, &QListView::activated, this, choose);
    m_pictures = new PicturesInSight(m_view, [](const QModelIndex &row) {
        const QString address = row.data(VideoListModel::ThumbnailRole).toString();
        // Where the list has none, the drive has none either, or will soon have told it.
        return address.isEmpty()
                   ? WantedThumbnail()
                   : WantedThumbnail{row.data(VideoListModel::FileIdRole).toString(), address};
    });
    connect(&m_pictures->thumbnails(), &Thumbnails::arrived, m_view->viewport(),
            qOverload<>(&QWidget::update));
}

VideoListPanel::~VideoListPanel() = default;

void VideoListPanel::setUpView()
{
    m_view->setObjectName(QStringLiteral("videoListView"));
    m_view->setModel(m_sorted);
    m_view->setItemDelegate(new VideoListDelegate(this));
    m_view->setFocusPolicy(Qt::TabFocus);
    m_view->setAccessibleName(QStringLiteral("播放列表"));
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setUniformItemSizes(true);
    m_view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
}

void VideoListPanel::setVideos(const UserInfo &user, const QList<FileItem> &videos)
{
    m_model->setVideos(videos);
    m_pictures->thumbnails().setUser(user);
    m_watched = std::make_unique<WatchedVideos>(user.userId.value());
    m_watched->open(videos.isEmpty() ? QString() : videos.first().parent_file_id);
    readWatched();
}

void VideoListPanel::readWatched()
{
    m_model->setWatched(m_watched->read(m_model->fileIds()));
}

void VideoListPanel::showWatched(const PlayHistory &row)
{
    if (!m_watched) {
        return;
    }
    if (m_watched->take(row)) {
        m_model->setWatched(row.fileId.value(), m_watched->percentOf(row));
    } else {
        readWatched();
    }
}

void VideoListPanel::setCurrent(const QString &fileId)
{
    const QModelIndex index = m_sorted->mapFromSource(m_model->setCurrent(fileId));
    m_view->setCurrentIndex(index);
    if (index.isValid()) {
        m_view->scrollTo(index);
    }
}

QImage VideoListPanel::picture(const QString &fileId) const
{
    return m_pictures->thumbnails().picture(fileId);
}
