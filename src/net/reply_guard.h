#pragma once

#include <chrono>
#include <memory>
#include <utility>
#include <vector>

#include <QDebug>
#include <QString>

#include "net/pending_reply.h"

// Stands between somebody who asks and the replies, which may arrive after the asker is gone or
// wants them no longer. Make it the asker's last member, so that it is the first to go. All of it
// belongs to the interface thread.
//
//     const auto done = m_replies.guard(logWord, [this](const FileItems &page) { ... });
//     const auto failed = m_replies.guard(logWord, [this](const QString &error, int code) { ... });
//     m_replies.limitWait(m_client.listFiles(folder, limit, marker, done, failed));
//
// Requests carry no time-out. Who awaits one has patience for 15 s without a byte, 60 s in all;
// then the request is given up: its fail callback runs, its connection is closed, and what the
// server says later finds nobody. The time begins when the request is sent, not while a renewal of
// tokens or the server's rate holds it back. Patience outlasts the asker, so that a late reply
// holds no connection for ever either. Downloads lose patience with silence alone
// (HttpDownLoader).
//
// Whether to ask once more after a failure is up to the asker.
class ReplyGuard final
{
    Q_DISABLE_COPY_MOVE(ReplyGuard)

public:
    struct Patience
    {
        std::chrono::milliseconds silent = std::chrono::seconds(15);
        std::chrono::milliseconds whole = std::chrono::seconds(60);
    };

    ReplyGuard() = default;
    ~ReplyGuard() { dismiss(); }

    // Nobody waits any more: what was asked for until now is dropped when it comes.
    void dismiss() { *m_dismissed = true; }
    [[nodiscard]] bool isDismissed() const { return *m_dismissed; }

    // Wraps a reply handler; a late reply is logged with the word that stands in the log for what
    // was asked, and dropped.
    template <class Handler>
    [[nodiscard]] auto guard(const QString &logWord, Handler handler) const
    {
        return [dismissed = m_dismissed, logWord, handler = std::move(handler)](auto &&...reply) {
            if (*dismissed) {
                qDebug().noquote()
                    << QStringLiteral("dialog is destoryed, exit ") + logWord + QLatin1Char('.');
                return;
            }
            handler(std::forward<decltype(reply)>(reply)...);
        };
    }

    // The same for an asker that is no dialog: late replies are dropped without a word.
    template <class Handler>
    [[nodiscard]] auto guard(Handler handler) const
    {
        return [dismissed = m_dismissed, handler = std::move(handler)](auto &&...reply) {
            if (!*dismissed) {
                handler(std::forward<decltype(reply)>(reply)...);
            }
        };
    }

    // Waits for a fired request as described above.
    void limitWait(const PendingReply &reply);

    // Whether a request is awaited that is not sent yet, see above.
    [[nodiscard]] bool isHeldBack() const;

    // Ends the awaited requests at once: none of their callbacks runs.
    void abandon();

    [[nodiscard]] static const Patience &patience();
    // For tests that have less time.
    static void setPatience(const Patience &patience);

private:
    std::vector<PendingReply> m_awaited;
    const std::shared_ptr<bool> m_dismissed = std::make_shared<bool>(false);
};
