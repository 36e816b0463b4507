#include "ui/files/folder_loader.h"

#include "net/log_failure.h"

FolderLoader::FolderLoader(const UserInfo &user, QObject *parent) : QObject(parent), m_client(user)
{
}

bool FolderLoader::load(const FolderRequest &request)
{
    if (m_loading) {
        return false;
    }
    m_loading = true;
    const QString step = QStringLiteral("getFileList");
    const auto done = m_replies.guard(step, [this, request](const FileItems &page) {
        m_loading = false;
        emit pageLoaded(request, page);
    });
    const auto failed =
        m_replies.guard(step, [this, step, request](const QString &error, int code) {
            logFailure(step, code, error);
            m_loading = false;
            emit loadFailed(request);
        });
    m_replies.limitWait(
        m_client.listFiles(request.folderId, PageSize, request.marker, done, failed));
    return true;
}

void FolderLoader::abandon()
{
    m_replies.abandon();
    m_loading = false;
}
