#include "api/session/api_request.h"

#include <memory>

#include <QCoreApplication>
#include <QDateTime>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>

#include "api/session/session.h"
#include "api/session/token_validity.h"
#include "app/environment/app_settings.h"
#include "app/environment/endpoints.h"
#include "db/tables/operations.h"
#include "db/tables/user_info.h"
#include "net/http_client.h"

namespace {

// All operations share the connections of one manager.
QNetworkAccessManager *openApiManager()
{
    static QPointer<QNetworkAccessManager> manager;
    if (manager.isNull()) {
        manager = new QNetworkAccessManager(QCoreApplication::instance());
    }
    return manager;
}

void callFail(const ApiRequest &request, const QString &error, int code)
{
    if (request.fail) {
        request.fail(error, code);
    }
}

// From the event loop: a caller may open a dialog, which must not hold up others.
void failLater(const ApiRequest &request, const QString &error, int code)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [request, error, code] { callFail(request, error, code); },
        Qt::QueuedConnection);
}

void failWithoutUser(const ApiRequest &request)
{
    failLater(request, QStringLiteral("The user is not logged in"), -1);
}

// A repetition takes the current user's token, so only that user's request may be repeated.
bool repeatableFor(const QString &userId)
{
    return !userId.isEmpty() && AppSettings().curUserId() == userId;
}

enum class OnRejection { RenewAndRepeat, Fail };

// What the repetition needs to know of the first exchange.
struct Rejection
{
    HttpClient http;
    QString token;
    QString error;
    int code;
};

void repeatOrFail(const ApiRequest &request, Rejection rejection, bool renewed)
{
    if (renewed && repeatableFor(request.userId)) {
        rejection.http.repeat();
    } else {
        failLater(request, rejection.error, rejection.code);
    }
}

void repeatWithNewToken(const ApiRequest &request, const Rejection &rejection)
{
    UserInfo user;
    const bool stored = loadUserInfo(request.userId, user);
    if (stored && user.accessToken.value() != rejection.token) {
        repeatOrFail(request, rejection, true);
        return;
    }
    Session::instance().renewTokens(request.userId, [request, rejection](bool renewed) {
        repeatOrFail(request, rejection, renewed);
    });
}

void exchange(const ApiRequest &request, const QString &token, OnRejection onRejection)
{
    HttpClient http(endpoints().openApi + request.path);
    const auto repeatable = std::make_shared<bool>(onRejection == OnRejection::RenewAndRepeat);
    http.manager(openApiManager())
        .header(QStringLiteral("Authorization"), QStringLiteral("Bearer ") + token)
        .success(request.success)
        .fail([request, token, repeatable, weak = http.weak()](const QString &error, int code) {
            const bool rejected = code == QNetworkReply::AuthenticationRequiredError;
            if (rejected && *repeatable && repeatableFor(request.userId)) {
                *repeatable = false;
                repeatWithNewToken(request, {HttpClient(weak), token, error, code});
            } else {
                callFail(request, error, code);
            }
        });
    if (request.body) {
        http.json(*request.body).post();
    } else {
        http.get();
    }
}

void exchangeWithStoredToken(const ApiRequest &request, OnRejection onRejection)
{
    UserInfo user;
    if (loadUserInfo(request.userId, user)) {
        exchange(request, user.accessToken.value(), onRejection);
    } else {
        failWithoutUser(request);
    }
}

} // namespace

void sendApiRequest(const ApiRequest &request)
{
    if (request.userId.isEmpty()) {
        exchange(request, request.accessToken, OnRejection::Fail);
        return;
    }
    UserInfo user;
    if (!loadUserInfo(request.userId, user)) {
        failWithoutUser(request);
        return;
    }
    if (accessTokenValid(user, QDateTime::currentDateTime())) {
        exchange(request, user.accessToken.value(), OnRejection::RenewAndRepeat);
        return;
    }
    // With or without a new token: a failed renewal leaves the old one, and the server decides. It
    // is not tried again for the same operation, nor its failure shown twice.
    Session::instance().renewTokens(request.userId, [request](bool renewed) {
        exchangeWithStoredToken(request, renewed ? OnRejection::RenewAndRepeat : OnRejection::Fail);
    });
}
