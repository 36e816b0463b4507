#include "ui/widgets/natural_order.h"

#include <QCollator>
#include <QLocale>
#include <QString>

namespace {

QCollator makeCollator()
{
    // The C locale knows neither Chinese nor numbers inside names.
    const QLocale user;
    QCollator collator(
        user.language() == QLocale::Chinese ? user : QLocale(QLocale::Chinese, QLocale::China));
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

} // namespace

const QCollator &naturalCollator()
{
    static const QCollator collator = makeCollator();
    return collator;
}

bool naturalLess(const QString &left, const QString &right)
{
    return naturalCollator().compare(left, right) < 0;
}
