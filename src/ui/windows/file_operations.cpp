#include "ui/windows/file_operations.h"

#include "api/records/change_records.h"

namespace {

QString logWord(FileOperation operation)
{
    switch (operation) {
    case FileOperation::Trash:
        return QStringLiteral("fileTrash");
    case FileOperation::Delete:
        return QStringLiteral("fileDelete");
    case FileOperation::Move:
        return QStringLiteral("fileMove");
    }
    return QString();
}

} // namespace

FileOperations::FileOperations(const UserInfo &user, QObject *parent)
    : QObject(parent), m_client(user)
{
}

void FileOperations::start(FileOperation operation, const QStringList &fileIds,
                           const QString &targetFolderId)
{
    for (const QString &fileId : fileIds)
        m_queue.enqueue({operation, fileId, targetFolderId});
    sendNext();
}

void FileOperations::sendNext()
{
    while (m_running < MostAtOnce && !m_queue.isEmpty()) {
        ++m_running;
        send(m_queue.dequeue());
    }
}

void FileOperations::send(const Job &job)
{
    const QString step = logWord(job.operation);
    const auto done =
        m_replies.guard(step, [this, job](const auto & /*reply*/) { finish(job, true); });
    const auto fail = m_replies.guard(step, [this, job, step](const QString &error, int code) {
        qDebug().noquote() << step + QStringLiteral(" fail :") << code << " =>" << error;
        finish(job, false);
    });
    switch (job.operation) {
    case FileOperation::Trash:
        m_client.trash(job.fileId, done, fail);
        return;
    case FileOperation::Delete:
        m_client.remove(job.fileId, done, fail);
        return;
    case FileOperation::Move:
        m_client.move(job.fileId, job.targetFolderId, done, fail);
        return;
    }
}

void FileOperations::finish(const Job &job, bool succeeded)
{
    --m_running;
    if (succeeded)
        emit done(job.operation, job.fileId, job.targetFolderId);
    else
        emit failed(job.operation, job.fileId);
    sendNext();
}
