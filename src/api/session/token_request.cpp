#include "api/session/token_request.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>

#include "app/environment/endpoints.h"
#include "net/http_reply.h"
#include "net/reply_guard.h"
#include "net/unrepeated_body.h"
#include "net/web_address.h"

namespace {

QNetworkRequest tokenRequest(const QString &refreshToken)
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("refreshToken"), percentEncoded(refreshToken));
    // Not null: a null value would leave out the equals sign.
    query.addQueryItem(QStringLiteral("alphaTestNum"), QStringLiteral(""));
    QUrl url(endpoints().backend + QStringLiteral("/app/oauth/accessToken"));
    url.setQuery(query);
    return QNetworkRequest(url);
}

// The body of an error says nothing about tokens, whatever it holds.
TokenReply tokensOf(QNetworkReply *reply)
{
    const int status = statusOf(reply);
    if (reply->error() != QNetworkReply::NoError) {
        return {{}, status == 400 || status == 401 || status == 403};
    }
    return {recordFromText<AccessTokenResp>(QString::fromUtf8(reply->readAll())), false};
}

// Nobody quits as long as a renewal runs: a trickle gets no more time than silence.
void cutOff(QNetworkReply *reply)
{
    QTimer::singleShot(ReplyGuard::patience().silent, reply, &QNetworkReply::abort);
    QObject::connect(reply, &QNetworkReply::readyRead, reply, [reply] {
        if (reply->bytesAvailable() > LongestReply) {
            reply->abort();
        }
    });
}

} // namespace

void requestTokens(const QString &refreshToken,
                   const std::function<void(const TokenReply &)> &received)
{
    const QNetworkRequest request = tokenRequest(refreshToken);
    if (!mayBeAsked(request.url())) {
        received({});
        return;
    }
    QNetworkAccessManager manager;
    // A refresh token works once.
    QNetworkReply *reply =
        sendUnrepeated(manager, QNetworkAccessManager::GetOperation, request, {});
    bool finished = false;
    QObject::connect(reply, &QNetworkReply::finished, reply, [&] {
        finished = true;
        received(tokensOf(reply));
    });
    cutOff(reply);
    while (!finished) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    reply->deleteLater();
}
