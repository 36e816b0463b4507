#pragma once

#include <QObject>
#include <QQueue>

#include "api/session/open_api_client.h"
#include "ui/windows/reply_guard.h"

enum class FileOperation { Trash, Delete, Move };

// Carries out one operation on many files, a few requests at a time, so that neither the window
// nor the drive is flooded by a big selection. What is still queued when the object goes is not
// sent.
class FileOperations final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileOperations)

public:
    static constexpr int MostAtOnce = 4;

    explicit FileOperations(const UserInfo &user, QObject *parent = nullptr);

    // The target folder is for Move alone. Returns at once; each file is reported by one signal.
    void start(FileOperation operation, const QStringList &fileIds,
               const QString &targetFolderId = QString());

    [[nodiscard]] int pending() const { return m_queue.size() + m_running; }

signals:
    // The target folder is empty for all but Move.
    void done(FileOperation operation, const QString &fileId, const QString &targetFolderId);
    void failed(FileOperation operation, const QString &fileId);

private:
    struct Job
    {
        FileOperation operation;
        QString fileId;
        QString targetFolderId;
    };

    void sendNext();
    void send(const Job &job);
    void finish(const Job &job, bool succeeded);

    OpenApiClient m_client;
    QQueue<Job> m_queue;
    int m_running = 0;
    ReplyGuard m_replies;
};
