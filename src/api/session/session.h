#pragma once

#include <functional>
#include <map>
#include <vector>

#include <QString>
#include <QtGlobal>

class AccessTokenResp;
class UserInfo;

// The program's one session: who the current user is, and the renewal of access tokens. All of it
// belongs to the interface thread.
class Session final
{
    Q_DISABLE_COPY_MOVE(Session)

public:
    // Shows a message to the user.
    using Notifier = std::function<void(const QString &text)>;
    // Told whether the renewal stored a new pair of tokens.
    using Continuation = std::function<void(bool renewed)>;

    static Session &instance();

    // The stored record of the user that the settings name; an empty one when there is none.
    [[nodiscard]] UserInfo currentUser() const;
    // Names `user` in the settings. The record itself is not stored.
    void setCurrentUser(const UserInfo &user);

    // Who shows "获取授权信息失败" when a renewal fails. Without a notifier nothing is shown.
    void setNotifier(const Notifier &notifier) { m_notifier = notifier; }

    // Renews the user's tokens, stores them with that user, then calls `next`. What asks while a
    // renewal of the same user is under way shares it; all are called in the order of asking. The
    // renewal waits while events go on, so it starts from the event loop: no caller is on the
    // stack that the user might close meanwhile.
    void renewTokens(const QString &userId, const Continuation &next);

private:
    Session() = default;
    ~Session() = default;

    void runRenewal(const QString &userId);
    void finishRenewal(const QString &userId, bool renewed);
    bool storeReply(const QString &userId, const QString &usedToken,
                    const AccessTokenResp &reply) const;
    bool reportFailure() const;

    Notifier m_notifier;
    std::map<QString, std::vector<Continuation>> m_waiting;
};
