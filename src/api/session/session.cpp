#include "api/session/session.h"

#include <QCoreApplication>
#include <QDebug>
#include <QTimer>

#include "api/session/token_request.h"
#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "db/tables/user_info.h"

namespace {

constexpr std::chrono::milliseconds TimeBetweenLooks(200);
constexpr int MostLooks = 10;

} // namespace

Session &Session::instance()
{
    static Session session;
    return session;
}

UserInfo Session::currentUser() const
{
    UserInfo user;
    loadUserInfo(AppSettings().curUserId(), user);
    return user;
}

void Session::setCurrentUser(const UserInfo &user)
{
    AppSettings().setCurUserId(user.userId.value());
}

void Session::setNotifier(const Notifier &notifier, std::chrono::milliseconds quietTime)
{
    m_notifier = notifier;
    m_quietTime = quietTime;
    m_sinceShown.invalidate();
}

void Session::renewTokens(const QString &userId, const Continuation &next)
{
    const auto [waiting, isFirst] = m_waiting.try_emplace(userId);
    waiting->second.push_back(next);
    if (isFirst) {
        m_renewals.enqueue(userId);
        if (m_renewals.size() == 1) {
            startRenewal();
        }
    }
}

void Session::startRenewal()
{
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [this] { runRenewal(); }, Qt::QueuedConnection);
}

void Session::runRenewal()
{
    const QString userId = m_renewals.head();
    UserInfo user;
    if (!loadUserInfo(userId, user)) {
        finishRenewal(userId, false);
        return;
    }
    const QString usedToken = user.refreshToken.value();
    requestTokens(usedToken, [this, userId, usedToken](const TokenReply &reply) {
        onTokens(userId, usedToken, reply);
    });
}

void Session::onTokens(const QString &userId, const QString &usedToken, const TokenReply &reply)
{
    // During the wait the user may have logged out, or in again with tokens newer than these.
    UserInfo present;
    if (!loadUserInfo(userId, present)) {
        finishRenewal(userId, false);
        return;
    }
    if (present.refreshToken.value() != usedToken) {
        finishRenewal(userId, true);
        return;
    }
    const AccessTokenResp &tokens = reply.tokens;
    if (tokens.accessToken.isEmpty()) {
        waitForOthersTokens(userId, usedToken, reply.isRefused ? MostLooks : 0);
        return;
    }
    // What the reply lacks stays as it was.
    const QString refreshToken = tokens.refreshToken.isEmpty() ? usedToken : tokens.refreshToken;
    const QString type = tokens.tokenType.isEmpty() ? present.tokenType.value() : tokens.tokenType;
    if (!storeTokens(userId, tokens.accessToken, refreshToken, type, tokens.expiresIn)) {
        failRenewal(userId);
        return;
    }
    qDebug() << "Refresh token success.";
    finishRenewal(userId, true);
}

// A refresh token works once. One that is refused may have been used by another process a moment
// ago, which is about to store the new pair for both.
void Session::waitForOthersTokens(const QString &userId, const QString &usedToken, int looks)
{
    UserInfo present;
    const bool isStored = loadUserInfo(userId, present);
    if (!isStored) {
        finishRenewal(userId, false); // logged out meanwhile: nothing to tell
    } else if (present.refreshToken.value() != usedToken) {
        finishRenewal(userId, true);
    } else if (looks == 0) {
        failRenewal(userId);
    } else {
        QTimer::singleShot(TimeBetweenLooks, QCoreApplication::instance(),
                           [this, userId, usedToken, looks] {
                               waitForOthersTokens(userId, usedToken, looks - 1);
                           });
    }
}

void Session::finishRenewal(const QString &userId, bool renewed)
{
    m_renewals.dequeue();
    if (!m_renewals.isEmpty()) {
        startRenewal();
    }
    const auto waiting = m_waiting.extract(userId);
    for (const Continuation &next : waiting.mapped()) {
        next(renewed);
    }
}

void Session::failRenewal(const QString &userId)
{
    const bool isShown = m_sinceShown.isValid() && !m_sinceShown.hasExpired(m_quietTime.count());
    finishRenewal(userId, false);
    if (m_notifier && !isShown) {
        m_sinceShown.start();
        m_notifier(QStringLiteral("获取授权信息失败"));
    }
}
