#include "ui/widgets/plain_tip.h"

#include <QTextDocument>

QString plainTip(const QString &text)
{
    // Only rich text is broken into lines.
    return Qt::convertFromPlainText(text, Qt::WhiteSpaceNormal);
}
