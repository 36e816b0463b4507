#include "api/session/api_request.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QPointer>
#include <QUrl>

#include "api/session/session.h"
#include "api/session/token_validity.h"
#include "app/environment/app_settings.h"
#include "app/environment/endpoints.h"
#include "db/tables/operations.h"
#include "db/tables/user_info.h"

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

} // namespace

PendingReply ApiRequest::send(const ApiCall &call)
{
    const auto request = std::make_shared<ApiRequest>(call);
    request->start();
    return PendingReply(request);
}

void ApiRequest::giveUp()
{
    m_sent.giveUp();
}

void ApiRequest::abandon()
{
    m_pending = false;
    m_sent.abandon();
}

void ApiRequest::start()
{
    UserInfo user;
    if (m_call.userId.isEmpty()) {
        sendWithToken(m_call.accessToken);
    } else if (!loadUserInfo(m_call.userId, user) ||
               accessTokenValid(user, QDateTime::currentDateTime())) {
        m_mayRenew = true;
        sendWithStoredToken();
    } else {
        // With or without a new token: a failed renewal leaves the old one, and the server decides.
        // It is not tried again for the same operation, nor its failure shown twice.
        Session::instance().renewTokens(m_call.userId, [self = shared_from_this()](bool renewed) {
            self->m_mayRenew = renewed;
            self->sendWithStoredToken();
        });
    }
}

// When it is the user's turn. A rejected request of the current user is repeated as it stands,
// which takes that user's token; others are built anew.
void ApiRequest::sendWithStoredToken(const std::optional<HttpClient> &rejected)
{
    const auto send = [self = shared_from_this(), rejected] {
        UserInfo user;
        if (!self->m_pending) {
            return false;
        }
        if (!loadUserInfo(self->m_call.userId, user)) {
            self->failLater(QStringLiteral("The user is not logged in"), HttpClient::LocalFailure);
            return false;
        }
        if (rejected && AppSettings().curUserId() == self->m_call.userId) {
            self->m_sent = HttpClient(*rejected).repeat();
        } else {
            self->sendWithToken(user.accessToken.value());
        }
        return true;
    };
    Session::instance().pacing().whenAllowed(m_call.userId, {m_call.path, m_call.turn, send});
}

void ApiRequest::sendWithToken(const QString &token)
{
    HttpClient http(endpoints().openApi + m_call.path);
    const auto self = shared_from_this();
    http.manager(openApiManager())
        .header(QStringLiteral("Authorization"), QStringLiteral("Bearer ") + token)
        .limit(m_call.limit)
        .success([self](const QString &reply) { self->onReply(reply); })
        .refused([self](const HttpRefusal &refusal) { self->onRefused(refusal); })
        .fail([self, token, weak = http.weak()](const QString &error, int code) {
            self->onFailed({HttpClient(weak), token, error, code});
        });
    if (m_call.kind == CallKind::Changing) {
        http.once();
    }
    m_sent = m_call.body ? http.json(*m_call.body).post() : http.get();
}

void ApiRequest::onReply(const QString &reply)
{
    m_pending = false;
    Session::instance().reachability().onReplied();
    if (m_call.success) {
        m_call.success(reply);
    }
}

void ApiRequest::onRefused(const HttpRefusal &refusal)
{
    m_refusal = apiRefusal(refusal);
    Session::instance().reachability().onReplied();
    if (m_refusal->trouble == ApiTrouble::TooFast && !m_call.userId.isEmpty()) {
        Session::instance().pacing().hold(m_call.userId, m_call.path, refusal.retryAfter);
    }
}

void ApiRequest::onFailed(const Rejection &rejection)
{
    if (troubleOf(rejection.code) == ApiTrouble::Unreachable) {
        Session::instance().reachability().onLost(QUrl(endpoints().openApi));
    }
    if (rejection.code == QNetworkReply::AuthenticationRequiredError && m_mayRepeat) {
        renewAndRepeat(rejection);
    } else {
        fail(rejection.error, rejection.code);
    }
}

void ApiRequest::renewAndRepeat(const Rejection &rejection)
{
    UserInfo user;
    const bool isStored = !m_call.userId.isEmpty() && loadUserInfo(m_call.userId, user);
    m_mayRepeat = false;
    if (isStored && user.accessToken.value() != rejection.token) {
        repeatOrFail(rejection, true);
        return;
    }
    if (!m_mayRenew) {
        fail(rejection.error, rejection.code);
        return;
    }
    Session::instance().renewTokens(m_call.userId,
                                    [self = shared_from_this(), rejection](bool renewed) {
                                        self->repeatOrFail(rejection, renewed);
                                    });
}

void ApiRequest::repeatOrFail(const Rejection &rejection, bool renewed)
{
    if (!m_pending) {
        return;
    }
    if (!renewed) {
        failLater(rejection.error, rejection.code);
        return;
    }
    m_refusal.reset();
    sendWithStoredToken(rejection.http);
}

// From the event loop: a caller may open a dialog, which must not hold up others.
void ApiRequest::failLater(const QString &error, int code)
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [self = shared_from_this(), error, code] { self->fail(error, code); },
        Qt::QueuedConnection);
}

void ApiRequest::fail(const QString &error, int code)
{
    if (!m_pending) {
        return;
    }
    m_pending = false;
    if (m_refusal && m_call.refused) {
        m_call.refused(*m_refusal);
    }
    if (m_call.fail) {
        m_call.fail(error, code);
    }
}
