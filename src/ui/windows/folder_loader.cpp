#include "ui/windows/folder_loader.h"

FolderLoader::FolderLoader(const UserInfo &user, QObject *parent) : QObject(parent), m_client(user)
{
}

bool FolderLoader::load(const FolderRequest &request)
{
    if (m_loading)
        return false;
    setLoading(true);
    const int ticket = ++m_ticket;
    const QString step = QStringLiteral("getFileList");
    m_client.listFiles(
        request.folderId, PageSize, request.marker,
        m_replies.guard(step, [this, ticket,
                               request](const FileItems &page) { finish(ticket, request, &page); }),
        m_replies.guard(step, [this, ticket, request](const QString &error, int code) {
            qDebug() << "getFileList fail :" << code << " =>" << error;
            finish(ticket, request, nullptr);
        }));
    return true;
}

void FolderLoader::abandon()
{
    ++m_ticket;
    setLoading(false);
}

void FolderLoader::finish(int ticket, const FolderRequest &request, const FileItems *page)
{
    if (ticket != m_ticket)
        return;
    setLoading(false);
    if (page)
        emit pageLoaded(request, *page);
    else
        emit loadFailed(request);
}

void FolderLoader::setLoading(bool loading)
{
    if (m_loading == loading)
        return;
    m_loading = loading;
    emit loadingChanged(loading);
}
