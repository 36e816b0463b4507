#include "db/dq/dq_escape.h"

#include <QtDebug>

namespace {

const QLatin1Char kQuote('"');
const QLatin1String kAmpEntity("&amp;");
const QLatin1String kQuoteEntity("&quot;");
const QLatin1String kSeparator("\",\"");

void warnInvalid(const QString &text)
{
    qWarning().noquote() << QStringLiteral("Invalid escaped string : %1").arg(text);
}

bool isEscaped(const QString &text)
{
    if (text.contains(kQuote))
        return false;
    for (int at = text.indexOf(QLatin1Char('&')); at >= 0;
         at = text.indexOf(QLatin1Char('&'), at + 1)) {
        const QStringRef entity = text.midRef(at);
        if (!entity.startsWith(kAmpEntity) && !entity.startsWith(kQuoteEntity))
            return false;
    }
    return true;
}

} // namespace

QString dqEscape(const QString &text)
{
    QString escaped = text;
    return escaped.replace(QLatin1Char('&'), kAmpEntity).replace(kQuote, kQuoteEntity);
}

QString dqUnescape(const QString &text)
{
    if (!isEscaped(text)) {
        warnInvalid(text);
        return text;
    }
    QString plain = text;
    return plain.replace(kQuoteEntity, QLatin1String("\"")).replace(kAmpEntity, QLatin1String("&"));
}

QString dqStringListToText(const QStringList &list)
{
    if (list.isEmpty())
        return QStringLiteral("");
    QStringList escaped;
    escaped.reserve(list.size());
    for (const QString &element : list)
        escaped.append(dqEscape(element));
    return kQuote + escaped.join(kSeparator) + kQuote;
}

QStringList dqStringListFromText(const QString &text)
{
    if (text.isEmpty())
        return {};
    if (text.size() < 2 || !text.startsWith(kQuote) || !text.endsWith(kQuote)) {
        warnInvalid(text);
        return {text};
    }
    QStringList list = text.mid(1, text.size() - 2).split(kSeparator);
    for (QString &element : list)
        element = dqUnescape(element);
    return list;
}
