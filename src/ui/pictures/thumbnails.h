#pragma once

#include <map>
#include <memory>
#include <vector>

#include <QCache>
#include <QHash>
#include <QImage>
#include <QObject>
#include <QSet>

#include "api/session/open_api_client.h"
#include "net/reply_guard.h"

class FileItem;

// A file whose thumbnail is wanted.
struct WantedThumbnail
{
    QString fileId;
    QString address; // as the drive told it; empty: the drive is asked for it
};

// The drive's thumbnails of one user's files, fetched four at a time and kept in memory, the latest
// used of them. What is no longer wanted is given up at once. An address that has expired is asked
// for once more; what cannot be had is not asked for again and again: the list keeps the icon that
// it has. Interface thread.
class Thumbnails final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Thumbnails)

public:
    static constexpr QSize LargestSize{128, 128}; // of what is kept, in pixels

    explicit Thumbnails(QObject *parent = nullptr);
    ~Thumbnails() override;

    // Forgets what it has of another user. Nothing is fetched before it is known whose files.
    void setUser(const UserInfo &user);

    // These and no others from now on, the most wanted first.
    void want(const std::vector<WantedThumbnail> &files);
    // What could not be had may be there now.
    void forgetFailures();

    // Whether nothing is under way.
    [[nodiscard]] bool isIdle() const { return m_fetches.empty(); }
    // Null while there is none.
    [[nodiscard]] QImage picture(const QString &fileId) const;

signals:
    void arrived(const QString &fileId);

private:
    struct Fetch
    {
        PendingReply reply;
        bool wasRenewed = false; // the address is as new as can be
        bool isAsking = false;   // for it
        int refusal = 0;         // the status of the last answer, where it was one
    };

    void startNext();
    void start(const WantedThumbnail &file);
    // The first attempt is 1.
    void askForAddress(const QString &fileId, int attempt);
    void download(const QString &fileId, const QString &address);
    void onRecord(const QString &fileId, const FileItem &record);
    void onBytes(const QString &fileId, const QByteArray &bytes);
    void onDownloadFailed(const QString &fileId);
    void fail(const QString &fileId);
    void finish(const QString &fileId);

    QString m_userId;
    std::unique_ptr<OpenApiClient> m_client;
    std::vector<WantedThumbnail> m_wanted;
    std::map<QString, Fetch> m_fetches;  // under way, by file id
    bool m_isAsking = false;             // the drive, for an address
    QHash<QString, QString> m_addresses; // that the drive told here
    QSet<QString> m_failed;
    QCache<QString, QImage> m_pictures;
    ReplyGuard m_replies;
};
