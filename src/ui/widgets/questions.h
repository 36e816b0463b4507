#pragma once

#include <optional>

#include <QStringList>

class QDialogButtonBox;
class QWidget;

// The program's modal questions, with Chinese texts on the standard buttons whatever translations
// the system has.

// True only for the answer yes.
bool askYesNo(QWidget *parent, const QString &title, const QString &text);

// The index of the button that was pressed; empty when the user cancelled.
std::optional<int> askChoice(QWidget *parent, const QString &title, const QString &text,
                             const QStringList &choices);

// Empty when the user cancelled.
std::optional<QString> askText(QWidget *parent, const QString &title, const QString &label,
                               const QString &text);

void setChineseTexts(QDialogButtonBox *buttons);
