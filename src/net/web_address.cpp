#include "net/web_address.h"

#include <QUrl>

bool mayBeAsked(const QUrl &address)
{
    const QString scheme = address.scheme();
    return address.isValid() && !address.host().isEmpty() &&
           (scheme == QLatin1String("http") || scheme == QLatin1String("https"));
}

QString percentEncoded(const QString &value)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(value));
}
