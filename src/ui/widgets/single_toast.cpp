#include "ui/widgets/single_toast.h"

#include <QApplication>

#include "ui/widgets/toast.h"

namespace {

bool isShown(const QString &text)
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    return std::any_of(windows.begin(), windows.end(), [&text](const QWidget *window) {
        const auto *toast = qobject_cast<const Toast *>(window);
        return toast && toast->isVisible() && toast->text() == text;
    });
}

} // namespace

void showSingleToast(const QString &text)
{
    if (!isShown(text)) {
        Toast::showTip(text);
    }
}
