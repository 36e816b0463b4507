#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include <QElapsedTimer>
#include <QQueue>
#include <QString>

#include "api/session/request_pacing.h"
#include "api/session/token_request.h"
#include "net/reachability.h"

class QLockFile;
class UserInfo;

// The program's one session: who the current user is, the renewal of access tokens, and how fast
// the server may be asked. All of it belongs to the interface thread.
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
    // Names `user` in the settings, or nobody if it is an empty record. The only function that
    // does; the record itself is not stored.
    void setCurrentUser(const UserInfo &user);

    // Who shows "获取授权信息失败" when a renewal fails. Without a notifier nothing is shown.
    // A row of failures, as when a selection's operations all need the same renewal, is shown once.
    // The next one is shown when `quietTime` has passed since.
    void setNotifier(const Notifier &notifier,
                     std::chrono::milliseconds quietTime = std::chrono::seconds(10));

    // Renews the user's tokens, stores them with that user, then calls `next`. What asks while a
    // renewal of the same user is under way shares it; all are called in the order of asking.
    // Several users' renewals follow each other. A renewal waits while events go on, so it starts
    // from the event loop: no caller is on the stack that the user might close meanwhile.
    //
    // A refresh token works once: while another process of the program renews, its pair is waited
    // for.
    void renewTokens(const QString &userId, const Continuation &next);

    // Asked before each renewal: a program that ends waits for the one that is under way, not for
    // those of further users too. Whoever waits for one that is not started hears nothing more.
    void setEnding(const std::function<bool()> &isEnding) { m_isEnding = isEnding; }

    RequestPacing &pacing() { return m_pacing; }
    // Of the Open API, by what its operations meet.
    Reachability &reachability() { return m_reachability; }

private:
    Session();
    ~Session();

    void startRenewal();
    void runRenewal(const QString &tokenBefore, int looks);
    [[nodiscard]] bool isOthersTurn();
    void settle(const QString &userId, const QString &usedToken, const TokenReply &reply,
                int looks);
    void finishRenewal(const QString &userId, bool renewed);
    void failRenewal(const QString &userId);

    // A new pair that could not be stored yet, and what it was exchanged for.
    struct UnstoredPair
    {
        QString usedToken;
        TokenReply reply;
    };

    std::function<bool()> m_isEnding = [] { return false; };
    Notifier m_notifier;
    std::chrono::milliseconds m_quietTime{0};
    QElapsedTimer m_sinceShown;        // not valid before the first failure
    std::unique_ptr<QLockFile> m_turn; // to renew, among the program's processes
    QQueue<QString> m_renewals;        // the users whose turn it is, and comes
    std::map<QString, std::vector<Continuation>> m_waiting;
    std::map<QString, UnstoredPair> m_unstored; // by user
    RequestPacing m_pacing;
    Reachability m_reachability;
};
