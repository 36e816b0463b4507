#pragma once

#include <QNetworkReply>

// What a reply may hold in memory unless its asker says otherwise.
constexpr qint64 LongestReply = qint64(1) << 20; // bytes

// The HTTP status; 0 when the server has not answered.
inline int statusOf(const QNetworkReply *reply)
{
    return reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
}
