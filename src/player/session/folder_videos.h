#pragma once

#include <QList>
#include <QObject>
#include <QSet>

#include "api/records/file_records.h"
#include "db/tables/user_info.h"
#include "net/reply_guard.h"

class FileItems;
class OpenApiClient;

// The videos of one folder in the order in which people expect names ("第2集" before "第10集"), all
// of them once the drive has told.
class FolderVideos final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderVideos)

public:
    // `videos` are those that are known from elsewhere.
    FolderVideos(UserInfo user, const QList<FileItem> &videos);
    ~FolderVideos() override;

    // Takes over what was found out for another video of the folder.
    void adopt(const FolderVideos &other);
    // Asks for all videos of the file's folder, however many pages they fill. A failure is logged
    // and leaves the pages that did come; once the server is back, they are asked for again. An
    // answer without the file, which is not in that folder then, leaves what was known.
    void request(const FileItem &file);
    // Asks the drive where the file is now, and then for the videos there. Until the drive has
    // told, each request() for the file asks where it is first.
    void locate(const FileItem &file);

    [[nodiscard]] const QList<FileItem> &videos() const { return m_videos; }
    // Whether the drive has told.
    [[nodiscard]] bool isComplete() const { return m_isComplete; }
    // Whether the drive is being asked.
    [[nodiscard]] bool isAsked() const { return m_isAsked; }
    // Null when the folder is not known to have this video.
    [[nodiscard]] const FileItem *find(const QString &fileId) const;
    // The one `step` places after this video, beyond the last the first and the other way round.
    // Null when the folder is not known to have this video, while the drive is being asked for the
    // first time, and where no other one is known though the drive has not told.
    [[nodiscard]] const FileItem *neighbour(const QString &fileId, int step) const;

signals:
    // One of these two after request(), as the last act: the receiver may destroy this object.
    void changed();
    void failed();
    // As the drive has the file that locate() was called for.
    void located(const FileItem &file);

private:
    void start();
    void requestPlace(const FileItem &file);
    [[nodiscard]] OpenApiClient client() const;
    void requestVideos(const FileItem &file);
    void requestPage(const QString &marker);
    void onPage(const FileItems &page);
    void finish(bool isWhole);

    const UserInfo m_user;
    QList<FileItem> m_videos;
    QList<FileItem> m_received; // by the pages so far
    QSet<QString> m_receivedIds;
    QSet<QString> m_markers; // of the pages so far
    int m_uselessPages = 0;  // in turn, that had nothing new
    FileItem m_file;
    QString m_soughtId;    // the file of locate(), until the drive has told where it is
    bool m_isLost = false; // a page did not come
    bool m_isAsked = false;
    bool m_isComplete = false;
    ReplyGuard m_replies;
};
