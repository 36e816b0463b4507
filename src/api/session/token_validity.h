#pragma once

class QDateTime;
class UserInfo;

// Whether the user's access token may still be used at `now`: up to the second before its expiry,
// which is the user's update time plus the lifetime that came with the token. A token without a
// lifetime or update time is taken for valid; the server's word decides on it.
[[nodiscard]] bool accessTokenValid(const UserInfo &user, const QDateTime &now);
