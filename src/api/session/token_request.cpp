#include "api/session/token_request.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QUrl>
#include <QUrlQuery>

#include "app/environment/endpoints.h"

namespace {

constexpr int transferTimeout = 15000;

// QUrlQuery leaves a plus sign alone, which the backend would read as a blank.
QString encoded(const QString &value)
{
    return QString::fromLatin1(QUrl::toPercentEncoding(value));
}

QNetworkRequest tokenRequest(const QString &refreshToken)
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("refreshToken"), encoded(refreshToken));
    // Not null: a null value would leave out the equals sign.
    query.addQueryItem(QStringLiteral("alphaTestNum"), QStringLiteral(""));
    QUrl url(endpoints().backend + QStringLiteral("/app/oauth/accessToken"));
    url.setQuery(query);
    QNetworkRequest request(url);
    request.setTransferTimeout(transferTimeout);
    return request;
}

AccessTokenResp tokensOf(QNetworkReply *reply)
{
    const QByteArray body =
        reply->error() == QNetworkReply::NoError ? reply->readAll() : QByteArray();
    return recordFromText<AccessTokenResp>(QString::fromUtf8(body));
}

} // namespace

void requestTokens(const QString &refreshToken,
                   const std::function<void(const AccessTokenResp &)> &received)
{
    QNetworkAccessManager manager;
    QNetworkReply *reply = manager.get(tokenRequest(refreshToken));
    bool finished = false;
    QObject::connect(reply, &QNetworkReply::finished, reply, [&] {
        finished = true;
        received(tokensOf(reply));
    });
    while (!finished) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    reply->deleteLater();
}
