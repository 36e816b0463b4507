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

LookUp findUser(const QString &userId, UserInfo &info)
{
    return lookUp(info, dqColumn(&UserInfo::userId) == userId);
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
    withRecovery([&info] {
        DQTransaction transaction(info.metaInfo()->connection());
        UserInfo settled = info;
        UserInfo stored;
        const LookUp found =
            transaction.isActive() ? findUser(info.userId.value(), stored) : LookUp::Failed;
        if (found == LookUp::Failed) {
            return false;
        }
        const bool isNew = found == LookUp::NoRow;
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
    return lookUpUser(userId, info) == LookUp::Found;
}

LookUp lookUpUser(const QString &userId, UserInfo &info)
{
    LookUp found = LookUp::Failed;
    withRecovery([&] {
        found = findUser(userId, info);
        return found != LookUp::Failed;
    });
    return found;
}

QList<UserInfo> listUsers()
{
    QList<UserInfo> users;
    withRecovery([&users] {
        DQQuery query = dqQuery<UserInfo>();
        const DQList<UserInfo> rows = query.call();
        users.clear();
        for (const UserInfo &user : rows) {
            users.append(user);
        }
        return hasWorked(query.metaInfo()->connection());
    });
    return users;
}

int countUsers()
{
    return dqQuery<UserInfo>().count();
}

void removeUser(const QString &userId)
{
    withRecovery([&userId] {
        return dqQuery<UserInfo>().filter(dqColumn(&UserInfo::userId) == userId).remove();
    });
}

bool storeTokens(const QString &userId, const QString &accessToken, const QString &refreshToken,
                 const QString &tokenType, int expiresIn)
{
    return withRecovery([&] {
        UserInfo user;
        DQTransaction transaction(user.metaInfo()->connection());
        if (!transaction.isActive() || findUser(userId, user) != LookUp::Found) {
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

void storeMissingNickname(const QString &userId, const QString &nickname)
{
    withRecovery([&] {
        UserInfo user;
        DQTransaction transaction(user.metaInfo()->connection());
        if (!transaction.isActive() || findUser(userId, user) != LookUp::Found ||
            !user.nickname.value().isEmpty()) {
            return false;
        }
        user.nickname = nickname;
        return saveAndCommit(user, false, transaction);
    });
}
