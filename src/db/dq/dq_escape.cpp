#include "db/dq/dq_escape.h"

#include <QtDebug>

namespace {

const QLatin1Char Quote('"');
const QLatin1String AmpersandEntity("&amp;");
const QLatin1String QuoteEntity("&quot;");
const QLatin1String Separator("\",\"");

void warnInvalid(const QString &text)
{
    qWarning().noquote() << QStringLiteral("Invalid escaped string : %1").arg(text);
}

bool isEscaped(const QString &text)
{
    if (text.contains(Quote)) {
        return false;
    }
    for (int at = text.indexOf(QLatin1Char('&')); at >= 0;
         at = text.indexOf(QLatin1Char('&'), at + 1)) {
        const QStringRef entity = text.midRef(at);
        if (!entity.startsWith(AmpersandEntity) && !entity.startsWith(QuoteEntity)) {
            return false;
        }
    }
    return true;
}

} // namespace

QString dqEscape(const QString &text)
{
    QString escaped = text;
    return escaped.replace(QLatin1Char('&'), AmpersandEntity).replace(Quote, QuoteEntity);
}

QString dqUnescape(const QString &text)
{
    if (!isEscaped(text)) {
        warnInvalid(text);
        return text;
    }
    QString plain = text;
    return plain.replace(QuoteEntity, QLatin1String("\""))
        .replace(AmpersandEntity, QLatin1String("&"));
}

QString dqStringListToText(const QStringList &list)
{
    if (list.isEmpty()) {
        return QStringLiteral("");
    }
    QStringList escaped;
    escaped.reserve(list.size());
    for (const QString &element : list) {
        escaped.append(dqEscape(element));
    }
    return Quote + escaped.join(Separator) + Quote;
}

QStringList dqStringListFromText(const QString &text)
{
    if (text.isEmpty()) {
        return {};
    }
    if (text.size() < 2 || !text.startsWith(Quote) || !text.endsWith(Quote)) {
        warnInvalid(text);
        return {text};
    }
    QStringList list = text.mid(1, text.size() - 2).split(Separator);
    for (QString &element : list) {
        element = dqUnescape(element);
    }
    return list;
}
