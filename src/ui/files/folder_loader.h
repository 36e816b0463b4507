#pragma once

#include <QObject>

#include "api/records/file_records.h"
#include "api/session/open_api_client.h"
#include "net/reply_guard.h"

// Which page of which folder is wanted.
struct FolderRequest
{
    QString folderId;
    QString marker; // where the page before ended; empty for the first page
    QString order;  // the settings' order at the time, kept with the page
};

// Asks the drive for a folder's pages, one request at a time. A folder that is left while its
// page is under way abandons the request: the late reply reaches nobody.
class FolderLoader final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FolderLoader)

public:
    static constexpr int PageSize = 200;

    explicit FolderLoader(const UserInfo &user, QObject *parent = nullptr);

    [[nodiscard]] bool isLoading() const { return m_loading; }

    // Refused, with false, while a page is under way. What the drive does not answer fails in time,
    // and so does an answer that is no list: it must not look like an empty folder.
    bool load(const FolderRequest &request);
    // Ends the request under way; nothing is told of it.
    void abandon();

signals:
    // The loading flag is already cleared when these two arrive.
    void pageLoaded(const FolderRequest &request, const FileItems &page);
    void loadFailed();

private:
    void send(const FolderRequest &request, int attempt);
    void onFailed(const QString &error, int code);

    OpenApiClient m_client;
    bool m_loading = false;
    ReplyGuard m_replies;
};
