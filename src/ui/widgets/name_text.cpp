#include "ui/widgets/name_text.h"

#include <QTextDocument>

namespace {

bool misleads(QChar character)
{
    switch (character.category()) {
    case QChar::Other_Control:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    case QChar::Other_Format:
        // Without these two some scripts, and many faces, are spelt wrong.
        return character != QChar(0x200C) && character != QChar(0x200D);
    default:
        return false;
    }
}

} // namespace

QString visibleName(const QString &name)
{
    QString shown = name;
    for (QChar &character : shown) {
        if (misleads(character)) {
            character = QChar::ReplacementCharacter;
        }
    }
    return shown;
}

QString nameTip(const QString &name)
{
    // Only rich text is broken into lines.
    return Qt::convertFromPlainText(visibleName(name), Qt::WhiteSpaceNormal);
}
