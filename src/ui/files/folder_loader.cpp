#include "ui/files/folder_loader.h"

#include "api/session/refusal_note.h"
#include "app/environment/app_settings.h"
#include "net/http_client.h"
#include "net/log_failure.h"

FolderLoader::FolderLoader(const UserInfo &user, QObject *parent) : QObject(parent), m_client(user)
{
}

QString FolderLoader::presentOrder()
{
    const AppSettings settings;
    return settings.fileListOrderBy() + QLatin1Char(' ') + settings.fileOrderDirection();
}

bool FolderLoader::load(const FolderRequest &request)
{
    if (m_loading) {
        return false;
    }
    m_loading = true;
    send(request, 1);
    return true;
}

void FolderLoader::send(const FolderRequest &wanted, int attempt)
{
    FolderRequest request = wanted;
    request.order = presentOrder(); // may have changed since the attempt before
    if (request.order != wanted.order) {
        request.marker.clear();
    }
    const QString logWord = QStringLiteral("getFileList");
    const RefusalNote refusal;
    const auto done = m_replies.guard(logWord, [this, request, refusal](const FileItems &page) {
        if (refusal.saysNotJson()) {
            onFailed(QStringLiteral("no JSON"), HttpClient::LocalFailure);
            return;
        }
        m_loading = false;
        emit pageLoaded(request, page);
    });
    const auto failed =
        m_replies.guard(logWord, [this, request, refusal, attempt](const QString &error, int code) {
            if (refusal.mayAskAgain(CallKind::Reading, code, attempt)) {
                send(request, attempt + 1);
            } else {
                onFailed(error, code);
            }
        });
    m_replies.limitWait(m_client.whenRefused(refusal.handler())
                            .listFiles(request.folderId, PageSize, request.marker, done, failed));
}

void FolderLoader::onFailed(const QString &error, int code)
{
    logFailure(QStringLiteral("getFileList"), code, error);
    m_loading = false;
    emit loadFailed();
}

void FolderLoader::abandon()
{
    m_replies.abandon();
    m_loading = false;
}
