#pragma once

#include <QObject>

#include "api/session/open_api_client.h"
#include "net/reply_guard.h"

// How much of a user's drive is used. What the network lost is asked for again when the drive is
// back.
class DiskSpace final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DiskSpace)

public:
    DiskSpace(const UserInfo &user, QObject *parent);

    // Asks anew; an answer that is still to come counts no more.
    void request();
    // "used / total" as of the last reply; empty before the first.
    [[nodiscard]] QString text() const { return m_text; }
    // How much is used, 0 to 1; negative while that is not known.
    [[nodiscard]] double usedShare() const { return m_usedShare; }

signals:
    void arrived();

private:
    void ask(int attempt);
    void onFailed(const QString &error);
    void onSpace(const SpaceInfo &space);
    void onServerReturned();

    const OpenApiClient m_client;
    QString m_text;
    double m_usedShare = -1;
    bool m_isLacking = false; // it could not be had
    ReplyGuard m_replies;
};
