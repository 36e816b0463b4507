#pragma once

#include <QDebug>
#include <QString>

#include <memory>
#include <utility>

// The destroyed flag of a dialog whose replies may arrive after it is gone. Keep it as the
// dialog's last member: it is then the first to go.
class ReplyGuard final
{
    Q_DISABLE_COPY_MOVE(ReplyGuard)

public:
    ReplyGuard() = default;
    ~ReplyGuard() { *m_destroyed = true; }

    // Wraps a reply handler; once the dialog is gone it logs the step and drops the reply.
    template <class Handler>
    [[nodiscard]] auto guard(const QString &step, Handler handler) const
    {
        return [destroyed = m_destroyed, step, handler = std::move(handler)](auto &&...reply) {
            if (*destroyed) {
                qDebug().noquote()
                    << QStringLiteral("dialog is destoryed, exit ") + step + QLatin1Char('.');
                return;
            }
            handler(std::forward<decltype(reply)>(reply)...);
        };
    }

private:
    std::shared_ptr<bool> m_destroyed = std::make_shared<bool>(false);
};
