#include "db/dq/dq_connection.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "db/tables/operations.h"
#include "db/tables/row_writing.h"

namespace {

bool hasTokensOf(const UserInfo &info, const UserInfo &stored)
{
    return info.accessToken.value() == stored.accessToken.value() &&
           info.refreshToken.value() == stored.refreshToken.value();
}

void takeTokens(UserInfo &info, const UserInfo &stored)
{
    info.accessToken = stored.accessToken;
    info.tokenType = stored.tokenType;
    info.refreshToken = stored.refreshToken;
    info.tokenExpiresIn = stored.tokenExpiresIn;
    info.updateTime = stored.updateTime;
}

// Brings the tokens of a record into line with those of its row; see saveUserInfo().
void settleTokens(UserInfo &info, const UserInfo &stored)
{
    const bool wasLoaded = !info.updateTime.isNull();
    const bool isStale = wasLoaded && info.updateTime.value() < stored.updateTime.value();
    // The server may give the tokens that it gave before, valid for another full term.
    const bool isNewLogin = !wasLoaded && !info.tokenExpiresIn.isNull();
    if (isStale) {
        takeTokens(info, stored);
    } else if (hasTokensOf(info, stored) && !isNewLogin) {
        info.updateTime = stored.updateTime;
    } else if (!wasLoaded || info.updateTime.value() == stored.updateTime.value()) {
        info.updateTime = timeAfter(stored.updateTime.value());
    }
}

} // namespace

QString userIdForAccessToken(const QVariant &accessToken)
{
    UserInfo user;
    user.load(DQWhere(QStringLiteral("accessToken")) == accessToken);
    return user.userId.value();
}

void saveUserInfo(UserInfo &info)
{
    writeOrRemember([&info] {
        DQTransaction transaction(info.metaInfo()->connection());
        UserInfo settled = info;
        UserInfo stored;
        const bool isNew = !loadUserInfo(info.userId.value(), stored);
        if (!isNew) {
            takeKey(settled, stored);
            settleTokens(settled, stored);
        } else if (info.updateTime.isNull()) { // not left to the database: the record knows it then
            settled.updateTime = timeAfter(QDateTime());
        }
        const bool saved = saveAndCommit(settled, isNew, transaction);
        if (saved) {
            info = settled;
        }
        return saved;
    });
}

bool loadUserInfo(const QString &userId, UserInfo &info)
{
    return info.load(dqColumn(&UserInfo::userId) == userId);
}

QList<UserInfo> listUsers()
{
    QList<UserInfo> users;
    const DQList<UserInfo> rows = dqQuery<UserInfo>().call();
    for (const UserInfo &user : rows) {
        users.append(user);
    }
    return users;
}

int countUsers()
{
    return dqQuery<UserInfo>().count();
}

void removeUser(const QString &userId)
{
    writeOrRemember([&userId] {
        return dqQuery<UserInfo>().filter(dqColumn(&UserInfo::userId) == userId).remove();
    });
}

bool storeTokens(const QString &userId, const QString &accessToken, const QString &refreshToken,
                 const QString &tokenType, int expiresIn)
{
    return writeOrRemember([&] {
        UserInfo user;
        DQTransaction transaction(user.metaInfo()->connection());
        if (!transaction.isActive() || !loadUserInfo(userId, user)) {
            return false;
        }
        user.accessToken = accessToken;
        if (!refreshToken.isNull()) {
            user.refreshToken = refreshToken;
        }
        if (!tokenType.isNull()) {
            user.tokenType = tokenType;
        }
        user.tokenExpiresIn = expiresIn;
        user.updateTime = timeAfter(user.updateTime.value());
        return saveAndCommit(user, false, transaction);
    });
}
