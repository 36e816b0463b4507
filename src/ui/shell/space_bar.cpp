#include "ui/shell/space_bar.h"

#include <QStyle>
#include <QVariant>

namespace {

constexpr int PerCent = 100;
constexpr int NearlyFull = 90;

} // namespace

SpaceBar::SpaceBar(QWidget *parent) : QProgressBar(parent)
{
    setRange(0, PerCent);
    setTextVisible(false);
    setAccessibleName(QStringLiteral("已用空间"));
    hide();
}

void SpaceBar::setShare(double share)
{
    setVisible(share >= 0);
    const int value = qBound(0, qRound(share * PerCent), PerCent);
    setValue(value);
    setToolTip(QStringLiteral("已用 %1%").arg(value));
    setProperty("nearlyFull", value >= NearlyFull);
    style()->unpolish(this);
    style()->polish(this);
}
