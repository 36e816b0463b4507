#pragma once

#include <QList>
#include <QObject>
#include <QSet>

#include "api/records/file_records.h"
#include "db/tables/user_info.h"
#include "net/reply_guard.h"
#include "player/session/offered_subtitle.h"

// The subtitle files that lie in a video's folder. What the network lost is asked for again when
// the server is back.
class FolderSubtitles final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderSubtitles)

public:
    explicit FolderSubtitles(UserInfo user, QObject *parent = nullptr);

    // Asks for a folder's list in place of what was asked for before.
    void request(const QString &folderId);
    // Forgets what is known, and asks for nothing.
    void clear();

    [[nodiscard]] bool isAsked() const { return m_isAsked; }
    // Whether all that will come has come.
    [[nodiscard]] bool isKnown() const { return m_isKnown; }
    // In the folder's order.
    [[nodiscard]] const QList<OfferedSubtitle> &files() const { return m_files; }

signals:
    void known();
    // What was lost is asked for again.
    void askedAgain();

private:
    void requestPage(const QString &marker);
    void onPage(const FileItems &page);
    void onAll();
    void onReturned();

    const UserInfo m_user;
    QString m_folderId;
    QList<OfferedSubtitle> m_files;
    QList<OfferedSubtitle> m_received; // of the pages so far
    QSet<QString> m_markers;           // of the pages so far
    bool m_isAsked = false;
    bool m_isLost = false; // a page did not come
    bool m_isKnown = false;
    ReplyGuard m_replies;
};
