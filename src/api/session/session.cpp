#include "api/session/session.h"

#include <QCoreApplication>
#include <QDebug>

#include "api/session/token_request.h"
#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "db/tables/user_info.h"

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

void Session::renewTokens(const QString &userId, const Continuation &next)
{
    const auto [waiting, first] = m_waiting.try_emplace(userId);
    waiting->second.push_back(next);
    if (first) {
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [this, userId] { runRenewal(userId); },
            Qt::QueuedConnection);
    }
}

void Session::runRenewal(const QString &userId)
{
    UserInfo user;
    if (!loadUserInfo(userId, user)) {
        finishRenewal(userId, false);
        return;
    }
    const QString usedToken = user.refreshToken.value();
    requestTokens(usedToken, [this, userId, usedToken](const AccessTokenResp &reply) {
        finishRenewal(userId, storeReply(userId, usedToken, reply));
    });
}

void Session::finishRenewal(const QString &userId, bool renewed)
{
    const auto waiting = m_waiting.extract(userId);
    for (const Continuation &next : waiting.mapped()) {
        next(renewed);
    }
}

bool Session::storeReply(const QString &userId, const QString &usedToken,
                         const AccessTokenResp &reply) const
{
    // During the wait the user may have logged out, or in again with tokens newer than these.
    UserInfo present;
    if (!loadUserInfo(userId, present)) {
        return false;
    }
    if (present.refreshToken.value() != usedToken) {
        return true;
    }
    if (reply.accessToken.isEmpty()) {
        return reportFailure();
    }
    // What the reply lacks stays as it was.
    const QString refreshToken = reply.refreshToken.isEmpty() ? usedToken : reply.refreshToken;
    const QString type = reply.tokenType.isEmpty() ? present.tokenType.value() : reply.tokenType;
    if (!storeTokens(userId, reply.accessToken, refreshToken, type, reply.expiresIn)) {
        return reportFailure();
    }
    qDebug() << "Refresh token success.";
    return true;
}

bool Session::reportFailure() const
{
    if (m_notifier) {
        m_notifier(QStringLiteral("获取授权信息失败"));
    }
    return false;
}
