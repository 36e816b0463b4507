#include "player/window/video_list_panel.h"

#include <QListView>
#include <QVBoxLayout>

#include "player/window/video_list_model.h"
#include "ui/widgets/sort_filter_proxy_model.h"

VideoListPanel::VideoListPanel(QWidget *parent)
    : QWidget(parent)
    , m_view(new QListView)
    , m_model(new VideoListModel(this))
    , m_sorted(new SortFilterProxyModel(this))
{
    m_sorted->setSourceModel(m_model);
    m_sorted->sort(0);
    m_view->setObjectName(QStringLiteral("videoListView"));
    m_view->setModel(m_sorted);
    m_view->setFocusPolicy(Qt::TabFocus);
    m_view->setAccessibleName(QStringLiteral("播放列表"));
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_view->setTextElideMode(Qt::ElideRight);
    m_view->setUniformItemSizes(true);
    m_view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_view->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    setMinimumWidth(200);
    const auto choose = [this](const QModelIndex &index) {
        emit videoChosen(index.data(VideoListModel::FileIdRole).toString());
    };
    connect(m_view, &QListView::clicked, this, choose);
    connect(m_view, &QListView::activated, this, choose);
}

void VideoListPanel::setVideos(const QList<FileItem> &videos)
{
    m_model->setVideos(videos);
}

void VideoListPanel::setCurrent(const QString &fileId)
{
    const QModelIndex index = m_sorted->mapFromSource(m_model->setCurrent(fileId));
    m_view->setCurrentIndex(index);
    if (index.isValid()) {
        m_view->scrollTo(index);
    }
}
