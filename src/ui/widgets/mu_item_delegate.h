#pragma once

#include <QMetaType>
#include <QString>
#include <QStyledItemDelegate>

// What one row of the navigation list shows.
struct MuItemData
{
    QString iconPath; // a resource path
    QString text;
};
Q_DECLARE_METATYPE(MuItemData)

// Paints the rows of the navigation list: a 40 pixel icon and a line of text on a rounded
// highlight. The row's MuItemData lies under DataRole; a row without one is left empty.
class MuItemDelegate final : public QStyledItemDelegate
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MuItemDelegate)

public:
    static constexpr int DataRole = Qt::UserRole + 1;

    explicit MuItemDelegate(QObject *parent = nullptr);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const override;
};
