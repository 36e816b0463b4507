#include "api/session/token_validity.h"

#include <QDateTime>

#include "db/tables/user_info.h"

bool accessTokenValid(const UserInfo &user, const QDateTime &now)
{
    const QDateTime issued = user.updateTime.value();
    const int lifetime = user.tokenExpiresIn.value();
    if (!issued.isValid() || lifetime <= 0) {
        return true;
    }
    // Unsigned 32-bit seconds, their difference read as signed: right across any wrap-around.
    const auto expiry = static_cast<quint32>(issued.toSecsSinceEpoch() + lifetime);
    const auto current = static_cast<quint32>(now.toSecsSinceEpoch());
    return static_cast<qint32>(current - expiry) < 0;
}
