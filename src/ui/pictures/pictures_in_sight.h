#pragma once

#include <functional>

#include <QTimer>

#include "ui/pictures/thumbnails.h"

class QAbstractItemView;
class QModelIndex;

// Fetches the thumbnails of those rows of a view that are in sight; of none while the view is
// hidden. The view shows them itself.
class PicturesInSight final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PicturesInSight)

public:
    // What a row wants; without a file id: nothing.
    using RowFile = std::function<WantedThumbnail(const QModelIndex &row)>;

    // Owned by the view, which has its model already.
    PicturesInSight(QAbstractItemView *view, RowFile fileOf);

    [[nodiscard]] Thumbnails &thumbnails() { return m_thumbnails; }
    // To be called when rows want others than before; scrolling and the like are seen here.
    void lookAgain() { m_look.start(); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] std::vector<WantedThumbnail> filesInSight() const;

    QAbstractItemView *const m_view;
    const RowFile m_fileOf;
    Thumbnails m_thumbnails;
    QTimer m_look; // once, whatever came together: a scrolled list passes by many rows
};
