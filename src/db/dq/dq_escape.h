#pragma once

#include <QString>
#include <QStringList>

// Replaces "&" by "&amp;" and the double quote by "&quot;", so that the result can stand
// between double quotes.
[[nodiscard]] QString dqEscape(const QString &text);

// The reverse of dqEscape(). Text that holds a double quote or any other entity logs "Invalid
// escaped string : …" and comes back unchanged.
[[nodiscard]] QString dqUnescape(const QString &text);

// `"first","second"`, each element escaped. A list with no element is an empty text.
[[nodiscard]] QString dqStringListToText(const QStringList &list);

// The reverse of dqStringListToText(). Text that it cannot have written logs "Invalid escaped
// string : …" and is kept as the only element.
[[nodiscard]] QStringList dqStringListFromText(const QString &text);
