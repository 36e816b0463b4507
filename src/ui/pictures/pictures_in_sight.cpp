#include "ui/pictures/pictures_in_sight.h"

#include <utility>

#include <QAbstractItemView>
#include <QEvent>
#include <QScrollBar>

namespace {

constexpr std::chrono::milliseconds Rest(80); // of the list, before anything is fetched

} // namespace

PicturesInSight::PicturesInSight(QAbstractItemView *view, RowFile fileOf)
    : QObject(view), m_view(view), m_fileOf(std::move(fileOf))
{
    m_look.setSingleShot(true);
    m_look.setInterval(Rest);
    connect(&m_look, &QTimer::timeout, this, [this] { m_thumbnails.want(filesInSight()); });
    const QScrollBar *bar = view->verticalScrollBar();
    connect(bar, &QScrollBar::valueChanged, this, &PicturesInSight::lookAgain);
    connect(bar, &QScrollBar::rangeChanged, this, &PicturesInSight::lookAgain);
    const QAbstractItemModel *model = view->model();
    connect(model, &QAbstractItemModel::rowsInserted, this, &PicturesInSight::lookAgain);
    connect(model, &QAbstractItemModel::rowsRemoved, this, &PicturesInSight::lookAgain);
    connect(model, &QAbstractItemModel::layoutChanged, this, &PicturesInSight::lookAgain);
    connect(model, &QAbstractItemModel::modelReset, this, &PicturesInSight::lookAgain);
    view->viewport()->installEventFilter(this);
}

bool PicturesInSight::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::Resize:
        lookAgain();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

std::vector<WantedThumbnail> PicturesInSight::filesInSight() const
{
    std::vector<WantedThumbnail> files;
    if (!m_view->isVisible()) {
        return files;
    }
    const QRect sight = m_view->viewport()->rect();
    QModelIndex row = m_view->indexAt(sight.topLeft() + QPoint(1, 1));
    while (row.isValid() && m_view->visualRect(row).top() <= sight.bottom()) {
        const WantedThumbnail file = m_fileOf(row);
        if (!file.fileId.isEmpty()) {
            files.push_back(file);
        }
        row = row.siblingAtRow(row.row() + 1);
    }
    return files;
}
