#pragma once

#include <QObject>
#include <QString>

#include "net/reply_guard.h"

class UserInfo;

// Puts a file's download link on the clipboard and says so, or that it could not be had. Belongs to
// the program, not to a page: a link arrives also when its page was made anew meanwhile.
class LinkCopy final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(LinkCopy)

public:
    explicit LinkCopy(QObject *parent = nullptr);

    // A link that was asked for before is no longer wanted.
    void copy(const UserInfo &user, const QString &fileId);
    // The user leaves: no link of that drive is wanted any more.
    void forget(const QString &userId);

private:
    QString m_userId; // whose link was asked for last
    ReplyGuard m_replies;
};
