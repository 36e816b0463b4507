#pragma once

#include <QString>

// Shows the message, unless one of the same text is still visible: a failed batch of many files
// must not stack a message for each.
void showSingleToast(const QString &text);
