#include "ui/files/file_names.h"

#include <algorithm>

#include "api/records/change_records.h"
#include "api/session/open_api_client.h"
#include "api/session/refusal_note.h"
#include "net/http_client.h"
#include "net/log_failure.h"
#include "ui/widgets/single_toast.h"

namespace {

// The reply's fields where it has them; otherwise what follows from the new name.
FileItem renamed(FileItem file, const QString &name, const FileUpdateResp &reply)
{
    file.name = reply.name.isEmpty() ? name : reply.name;
    file.file_extension = reply.file_extension;
    if (!reply.category.isEmpty()) {
        file.category = reply.category;
    }
    if (reply.updated_at.isValid()) {
        file.updated_at = reply.updated_at.toUTC().toString(Qt::ISODateWithMs);
    }
    return file;
}

} // namespace

FileNames::FileNames(QObject *parent) : QObject(parent) {}

FileNames::~FileNames() = default;

QString FileNames::keyOf(const UserInfo &user, const QString &fileId)
{
    return user.userId.value() + QLatin1Char('/') + fileId;
}

void FileNames::createFolder(const UserInfo &user, const QString &parentId, const QString &name)
{
    const QString userId = user.userId.value();
    m_creating << userId;
    m_left.remove(userId);
    const QString logWord = QStringLiteral("createFolder");
    const RefusalNote refusal;
    const auto failed =
        m_replies.guard(logWord, [this, userId, parentId, refusal](const QString &error, int code) {
            onCreateFailed(userId, parentId, refusal, error, code);
        });
    const auto done =
        m_replies.guard(logWord, [this, userId, parentId, failed](const CreateFileResp &folder) {
            if (folder.file_id.isEmpty()) {
                failed(QStringLiteral("no file_id"), HttpClient::LocalFailure);
            } else {
                emit folderCreated(userId, parentId, folder.file_id);
                endCreation(userId, true);
            }
        });
    const OpenApiClient client = OpenApiClient(user).whenRefused(refusal.handler());
    m_replies.limitWait(client.createFolder(parentId, name, done, failed));
}

void FileNames::onCreateFailed(const QString &userId, const QString &parentId,
                               const RefusalNote &refusal, const QString &error, int code)
{
    logFailure(QStringLiteral("createFolder"), code, error);
    tell(userId, withReason(QStringLiteral("新建文件夹失败"), code, refusal.refusal()));
    if (code == HttpClient::LocalFailure || leavesOpenWhatIsTrue(code)) {
        emit listingNeeded(userId, parentId);
    }
    endCreation(userId, false);
}

void FileNames::endCreation(const QString &userId, bool done)
{
    m_creating.removeOne(userId);
    emit finished(done);
}

void FileNames::tell(const QString &userId, const QString &failure) const
{
    if (!m_left.contains(userId)) {
        showSingleToast(failure);
    }
}

int FileNames::remaining(const QString &userId) const
{
    if (userId.isEmpty()) {
        return m_creating.size() + m_namings.size();
    }
    const auto renamed =
        std::count_if(m_namings.cbegin(), m_namings.cend(), [&userId](const Naming &naming) {
            return naming.user.userId.value() == userId;
        });
    return int(m_creating.count(userId) + renamed);
}

void FileNames::forget(const QString &userId)
{
    m_left.insert(userId);
}

QString FileNames::nameToBe(const UserInfo &user, const FileItem &file) const
{
    const auto naming = m_namings.find(keyOf(user, file.file_id));
    return naming == m_namings.end() ? file.name : naming->wanted;
}

void FileNames::rename(const UserInfo &user, const QString &folderId, const FileItem &file,
                       const QString &name)
{
    if (name == nameToBe(user, file)) {
        return;
    }
    const QString key = keyOf(user, file.file_id);
    if (m_namings.contains(key)) {
        m_namings[key].wanted = name;
        return;
    }
    m_left.remove(user.userId.value());
    m_namings.insert(key, {user, folderId, file, QString(), name});
    send(key);
}

void FileNames::send(const QString &key)
{
    Naming &naming = m_namings[key];
    naming.sent = naming.wanted;
    const QString logWord = QStringLiteral("fileUpdate");
    const RefusalNote refusal;
    const auto done = m_replies.guard(
        logWord, [this, key](const FileUpdateResp &reply) { onRenamed(key, reply); });
    const auto failed =
        m_replies.guard(logWord, [this, key, refusal](const QString &error, int code) {
            onRenameFailed(key, refusal, error, code);
        });
    const OpenApiClient client = OpenApiClient(naming.user).whenRefused(refusal.handler());
    m_replies.limitWait(client.rename(naming.file.file_id, naming.sent, done, failed));
}

void FileNames::onRenamed(const QString &key, const FileUpdateResp &reply)
{
    Naming &naming = m_namings[key];
    naming.file = renamed(naming.file, naming.sent, reply);
    naming.isOpen = false;
    naming.hasFailed = false;
    if (!sendNext(key)) {
        settle(key);
    }
}

void FileNames::onRenameFailed(const QString &key, const RefusalNote &refusal, const QString &error,
                               int code)
{
    logFailure(QStringLiteral("fileUpdate"), code, error);
    Naming &naming = m_namings[key];
    naming.isOpen = naming.isOpen || leavesOpenWhatIsTrue(code);
    naming.hasFailed = true;
    if (sendNext(key)) {
        return;
    }
    if (naming.wanted == naming.sent) {
        tell(naming.user.userId.value(),
             withReason(QStringLiteral("重命名失败"), code, refusal.refusal()));
    }
    settle(key);
}

bool FileNames::sendNext(const QString &key)
{
    const Naming &naming = m_namings[key];
    const bool isThere = naming.wanted == naming.file.name && !naming.isOpen;
    if (naming.wanted == naming.sent || isThere) {
        return false;
    }
    send(key);
    return true;
}

void FileNames::settle(const QString &key)
{
    const Naming naming = m_namings.take(key);
    const QString userId = naming.user.userId.value();
    emit nameSettled(userId, naming.folderId, naming.file);
    if (naming.isOpen) {
        emit listingNeeded(userId, naming.folderId);
    }
    emit finished(!naming.hasFailed);
}
