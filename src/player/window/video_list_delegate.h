#pragma once

#include <QStyledItemDelegate>

class VideoListPanel;

// Paints a row of the player's list: the video's picture, with how far it was watched, and its name
// in up to two lines.
class VideoListDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoListDelegate)

public:
    explicit VideoListDelegate(VideoListPanel *panel);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const override;

private:
    void paintPicture(QPainter &painter, const QRect &place, const QStyleOptionViewItem &cell,
                      const QModelIndex &index) const;
    void paintWatched(QPainter &painter, const QRect &place, int percent) const;

    VideoListPanel *const m_panel;
};
