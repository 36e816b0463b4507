#pragma once

#include <algorithm>

#include <QAccessible>
#include <QApplication>
#include <QStringList>
#include <QTest>

// What a screen reader calls it.
inline QString spokenName(QWidget *widget)
{
    return QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
}

// The parts that can be used and of which a screen reader would not tell name or kind.
inline QStringList unspoken(const QWidget &window)
{
    QStringList found;
    for (QWidget *part : window.findChildren<QWidget *>()) {
        const bool isUsed = part->focusPolicy() != Qt::NoFocus || part->inherits("QAbstractButton");
        // The corner between headers is not shown.
        if (!isUsed || !part->isVisibleTo(&window) || part->inherits("QTableCornerButton")) {
            continue;
        }
        const QAccessible::Role kind = QAccessible::queryAccessibleInterface(part)->role();
        if (spokenName(part).isEmpty() || kind == QAccessible::NoRole) {
            found << part->metaObject()->className() + QLatin1Char(' ') + part->objectName();
        }
    }
    return found;
}

// What gets the keyboard one after the other, in the order of Tab, from what has it until that has
// it again; who has no name of its own goes by the spoken one.
inline QString tabStops(Qt::Key key)
{
    QStringList stops;
    const QWidget *start = QApplication::focusWidget();
    QWidget *stop = QApplication::focusWidget();
    do {
        stops << (stop->objectName().isEmpty() ? spokenName(stop) : stop->objectName());
        QTest::keyClick(stop, key);
        stop = QApplication::focusWidget();
    } while (stop && stop != start && stops.size() < 30);
    if (key == Qt::Key_Backtab) {
        std::reverse(std::next(stops.begin()), stops.end());
    }
    return stops.join(' ');
}
