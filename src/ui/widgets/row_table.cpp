#include "ui/widgets/row_table.h"

#include <QHeaderView>
#include <QHoverEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>

#include "ui/widgets/list_keys.h"
#include "ui/widgets/name_text.h"
#include "ui/widgets/row_delegate.h"

namespace {

constexpr int RowHeight = 50;
constexpr int IconSize = 32;

} // namespace

RowTable::RowTable(QWidget *parent) : QTableWidget(parent)
{
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSortIndicatorShown(true);
    verticalHeader()->hide();
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(RowHeight);
    setIconSize({IconSize, IconSize});
    setWordWrap(false);
    setFrameShape(QFrame::NoFrame);
    setShowGrid(false);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectRows);
    setEditTriggers(NoEditTriggers);
    setTextElideMode(Qt::ElideRight);
    setTabKeyNavigation(false);
    setMouseTracking(true);
    setItemDelegate(new RowDelegate(this));
}

void RowTable::setNotice(const Notice &notice)
{
    m_notice = notice;
    viewport()->update();
}

void RowTable::setColumns(const QStringList &labels)
{
    const QList<QKeySequence> keys = list_keys::sequences(list_keys::Action::Sort);
    setColumnCount(labels.size());
    setHorizontalHeaderLabels(labels);
    for (int column = 0; column < labels.size() && column < keys.size(); ++column) {
        const QKeySequence &key = keys.at(column);
        addShortcut(key, this, Qt::WidgetShortcut, this, [this, column] { clickHeader(column); });
        horizontalHeaderItem(column)->setToolTip(
            QStringLiteral("按%1排序 (%2)").arg(labels.at(column), key.toString()));
    }
}

void RowTable::clickHeader(int column)
{
    QHeaderView *header = horizontalHeader();
    const bool isTurned = column == header->sortIndicatorSection() &&
                          header->sortIndicatorOrder() == Qt::AscendingOrder;
    header->setSortIndicator(column, isTurned ? Qt::DescendingOrder : Qt::AscendingOrder);
    emit header->sectionClicked(column);
}

void RowTable::focusInEvent(QFocusEvent *event)
{
    QTableWidget::focusInEvent(event);
    const bool isByTab =
        event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    if (!isByTab || selectionModel()->hasSelection()) {
        return;
    }
    const QModelIndex current = currentIndex();
    const bool isShown = current.isValid() && !isRowHidden(current.row());
    selectionModel()->setCurrentIndex(isShown ? current : moveCursor(MoveHome, Qt::NoModifier),
                                      QItemSelectionModel::ClearAndSelect |
                                          QItemSelectionModel::Rows);
}

QModelIndex RowTable::indexAt(const QPoint &point) const
{
    const QModelIndex index = QTableWidget::indexAt(point);
    const bool isBeyond = point.x() >= horizontalHeader()->length() - horizontalHeader()->offset();
    return index.isValid() || !isBeyond ? index
                                        : model()->index(rowAt(point.y()), columnCount() - 1);
}

bool RowTable::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::ToolTip) {
        showFullText(*static_cast<QHelpEvent *>(event));
        return true;
    }
    if (event->type() == QEvent::HoverMove) {
        setHoveredRow(rowAt(static_cast<QHoverEvent *>(event)->pos().y()));
    } else if (event->type() == QEvent::HoverLeave) {
        setHoveredRow(-1);
    }
    return QTableWidget::viewportEvent(event);
}

void RowTable::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QTableWidget::currentChanged(current, previous);
    viewport()->update(); // the focus is shown at the row's start, wherever the cell is
}

void RowTable::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QTableWidget::selectionChanged(selected, deselected);
    viewport()->update(); // the rows' ends as well
}

QModelIndex RowTable::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    if (action != MoveHome && action != MoveEnd) {
        return QTableWidget::moveCursor(action, modifiers);
    }
    // By itself a table goes to the ends of the row, and to the corners with this modifier.
    const QModelIndex corner = QTableWidget::moveCursor(action, modifiers | Qt::ControlModifier);
    return corner.siblingAtColumn(qMax(0, currentIndex().column()));
}

void RowTable::setHoveredRow(int row)
{
    const int left = std::exchange(m_hoveredRow, row);
    if (left == row) {
        return;
    }
    for (const int changed : {left, row}) {
        viewport()->update(0, rowViewportPosition(changed), viewport()->width(), RowHeight);
    }
}

void RowTable::showFullText(const QHelpEvent &event) const
{
    const QTableWidgetItem *cell = itemAt(event.pos());
    if (!cell) {
        return;
    }
    const QRect place = visualItemRect(cell);
    if (sizeHintForIndex(indexFromItem(cell)).width() <= place.width()) {
        return;
    }
    QToolTip::showText(event.globalPos(), nameTip(cell->text()), viewport(), place);
}

void RowTable::paintRowEnds()
{
    const int left = horizontalHeader()->length() - horizontalHeader()->offset();
    if (left >= viewport()->width() || rowCount() == 0) {
        return;
    }
    QPainter painter(viewport());
    QStyleOptionViewItem end = viewOptions();
    end.state &= ~QStyle::State_HasFocus;
    for (int y = 0; y < viewport()->height(); y += RowHeight) {
        const int row = rowAt(y);
        if (row < 0) {
            break;
        }
        const QModelIndex last = model()->index(row, columnCount() - 1);
        end.rect = QRect(left, rowViewportPosition(row), viewport()->width() - left, RowHeight);
        end.state.setFlag(QStyle::State_Selected, selectionModel()->isSelected(last));
        end.state.setFlag(QStyle::State_MouseOver, row == m_hoveredRow);
        style()->drawControl(QStyle::CE_ItemViewItem, &end, &painter, this);
    }
}

void RowTable::paintEvent(QPaintEvent *event)
{
    QTableWidget::paintEvent(event);
    paintRowEnds();
    if (verticalHeader()->hiddenSectionCount() < rowCount()) {
        return;
    }
    QPainter painter(viewport());
    painter.setPen(palette().color(QPalette::Text));
    paintNotice(painter, viewport()->rect(), notice());
}

bool RowTable::isEditing() const
{
    for (int column = 0; column < columnCount(); ++column) {
        QTableWidgetItem *cell = item(currentRow(), column);
        if (cell && isPersistentEditorOpen(cell)) {
            return true;
        }
    }
    return false;
}

int RowTable::topRow()
{
    executeDelayedItemsLayout(); // until then the scroll bar has the range of the rows before
    return verticalScrollBar()->value();
}

// As few ranges as there are: Qt compares each new one with all the others.
void RowTable::selectOnly(const QVector<int> &rows)
{
    QItemSelection selection;
    for (int from = 0, to = 0; from < rows.size(); from = to) {
        while (to < rows.size() && rows.at(to) - rows.at(from) == to - from) {
            ++to;
        }
        selection.append(QItemSelectionRange(model()->index(rows.at(from), 0),
                                             model()->index(rows.at(to - 1), columnCount() - 1)));
    }
    selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
}
