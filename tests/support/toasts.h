#pragma once

#include <QApplication>
#include <QStringList>

#include "ui/widgets/toast.h"

// The texts of the messages that are visible, the same text as often as it is; sorted.
inline QStringList toasts()
{
    QStringList texts;
    for (const QWidget *window : QApplication::topLevelWidgets()) {
        const auto *toast = qobject_cast<const Toast *>(window);
        if (toast != nullptr && toast->isVisible()) {
            texts << toast->text();
        }
    }
    texts.sort();
    return texts;
}

inline void closeToasts()
{
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (qobject_cast<Toast *>(window) != nullptr) {
            delete window;
        }
    }
}
