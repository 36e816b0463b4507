#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QStringList>

#include "api/records/file_records.h"
#include "db/tables/user_info.h"
#include "net/reply_guard.h"

class FileUpdateResp;
class RefusalNote;

// Names files in the drives: creates folders and renames entries. Belongs to the program, not to a
// page: what comes of it is told to the page that shows the user's drive by then, and the user is
// told what failed. Works on the interface thread.
//
// Of one entry one request is under way at a time, so that the drive cannot take two in another
// order than they were typed in. Of the names typed meanwhile the last one follows.
class FileNames final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileNames)

public:
    explicit FileNames(QObject *parent = nullptr);
    ~FileNames() override;

    void createFolder(const UserInfo &user, const QString &parentId, const QString &name);

    // The record is the one that the drive gave; the folder is the one that it lies in. Does
    // nothing for the name that the entry has, or will have, already.
    void rename(const UserInfo &user, const QString &folderId, const FileItem &file,
                const QString &name);
    // The one typed last while it is under way, otherwise the record's.
    [[nodiscard]] QString nameToBe(const UserInfo &user, const FileItem &file) const;

    // The entries whose name, or which, the drive has not taken or refused yet; of all users where
    // none is named.
    [[nodiscard]] int remaining(const QString &userId = QString()) const;
    // The user leaves and knows that what was not sent is lost: nobody is told of its failure.
    void forget(const QString &userId);

signals:
    void folderCreated(const QString &userId, const QString &parentId, const QString &fileId);
    // No request of the entry is under way any more. The record has the last name that the drive
    // took, which is the old one where it took none.
    void nameSettled(const QString &userId, const QString &folderId, const FileItem &file);
    // No answer says what is true in the folder now.
    void listingNeeded(const QString &userId, const QString &folderId);
    // A name was taken, or was not; the last signal of each.
    void finished(bool done);

private:
    // Of one entry.
    struct Naming
    {
        UserInfo user;
        QString folderId;
        FileItem file; // as the drive answered last
        QString sent;
        QString wanted;
        bool hasFailed = false; // what was sent last
        bool isOpen = false;    // an answer was lost, so that the drive may have another name
    };

    [[nodiscard]] static QString keyOf(const UserInfo &user, const QString &fileId);
    void send(const QString &key);
    void onRenamed(const QString &key, const FileUpdateResp &reply);
    void onRenameFailed(const QString &key, const RefusalNote &refusal, const QString &error,
                        int code);
    // True where another name has been typed, which is sent then.
    bool sendNext(const QString &key);
    void settle(const QString &key);
    void onCreateFailed(const QString &userId, const QString &parentId, const RefusalNote &refusal,
                        const QString &error, int code);
    void endCreation(const QString &userId, bool done);
    void tell(const QString &userId, const QString &failure) const;

    QStringList m_creating;           // the users of the folders that are under way
    QSet<QString> m_left;             // users who asked for nothing since they were forgotten
    QHash<QString, Naming> m_namings; // by user and file id
    ReplyGuard m_replies;
};
