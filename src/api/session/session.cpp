#include "api/session/session.h"

#include <QCoreApplication>
#include <QDebug>
#include <QLockFile>
#include <QTimer>

#include "app/environment/app_settings.h"
#include "app/environment/data_dir.h"
#include "db/tables/operations.h"
#include "db/tables/user_info.h"

namespace {

constexpr std::chrono::milliseconds TimeBetweenLooks(200);
constexpr int MostLooks = 10;
// While another process asks and stores, which takes it 20 s at the most.
constexpr int MostLooksAtOthers = 100;

// What the reply lacks stays as it was. False without a pair, or when it could not be stored.
bool storePair(const UserInfo &user, const AccessTokenResp &pair)
{
    return !pair.accessToken.isEmpty() &&
           storeTokens(user.userId.value(), pair.accessToken,
                       pair.refreshToken.isEmpty() ? user.refreshToken.value() : pair.refreshToken,
                       pair.tokenType.isEmpty() ? user.tokenType.value() : pair.tokenType,
                       pair.expiresIn);
}

} // namespace

Session::Session() = default;

Session::~Session() = default;

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
        QCoreApplication::instance(), [this] { runRenewal({}, MostLooksAtOthers); },
        Qt::QueuedConnection);
}

// Where the folder takes no lock, nobody waits for anybody.
bool Session::isOthersTurn()
{
    m_turn = std::make_unique<QLockFile>(dataDir() + QStringLiteral("/renewal.lock"));
    m_turn->setStaleLockTime(0); // that of a process that is gone is stale all the same
    return !m_turn->tryLock(0) && m_turn->error() == QLockFile::LockFailedError;
}

// `tokenBefore` is the refresh token before the wait for another process.
void Session::runRenewal(const QString &tokenBefore, int looks)
{
    if (m_isEnding()) {
        m_renewals.clear();
        m_waiting.clear();
        return;
    }
    const QString userId = m_renewals.head();
    UserInfo user;
    if (!loadUserInfo(userId, user)) {
        finishRenewal(userId, false);
        return;
    }
    const QString usedToken = user.refreshToken.value();
    if (!tokenBefore.isNull() && usedToken != tokenBefore) {
        finishRenewal(userId, true);
        return;
    }
    if (isOthersTurn() && looks > 0) {
        QTimer::singleShot(TimeBetweenLooks, QCoreApplication::instance(),
                           [this, usedToken, looks] { runRenewal(usedToken, looks - 1); });
        return;
    }
    const auto unstored = m_unstored.find(userId);
    if (unstored != m_unstored.end() && unstored->second.usedToken == usedToken) {
        settle(userId, usedToken, TokenReply(unstored->second.reply), MostLooks);
        return;
    }
    requestTokens(usedToken, [this, userId, usedToken](const TokenReply &reply) {
        const bool hasPair = !reply.tokens.accessToken.isEmpty();
        settle(userId, usedToken, reply, hasPair || reply.isRefused ? MostLooks : 0);
    });
}

// A refresh token works once. A pair that cannot be stored at the moment is tried again, by the
// next renewal too: the old one is spent. One that is refused may have been used by another process
// a moment ago, which is about to store the new pair for both.
void Session::settle(const QString &userId, const QString &usedToken, const TokenReply &reply,
                     int looks)
{
    m_unstored.erase(userId);
    // During the wait the user may have logged out, or in again with tokens newer than these.
    UserInfo present;
    const LookUp found = lookUpUser(userId, present);
    const bool isOutdated = found == LookUp::Found && present.refreshToken.value() != usedToken;
    if (found == LookUp::NoRow || isOutdated) {
        finishRenewal(userId, isOutdated);
    } else if (found == LookUp::Found && storePair(present, reply.tokens)) {
        qDebug() << "Refresh token success.";
        finishRenewal(userId, true);
    } else {
        if (!reply.tokens.accessToken.isEmpty()) {
            m_unstored[userId] = {usedToken, reply};
        }
        if (looks == 0) {
            failRenewal(userId);
            return;
        }
        QTimer::singleShot(TimeBetweenLooks, QCoreApplication::instance(),
                           [this, userId, usedToken, reply, looks] {
                               settle(userId, usedToken, reply, looks - 1);
                           });
    }
}

void Session::finishRenewal(const QString &userId, bool renewed)
{
    m_turn.reset();
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
