#pragma once

#include <QObject>

#include "api/records/file_records.h"
#include "api/session/open_api_client.h"
#include "ui/windows/reply_guard.h"

// One page of one folder, asked for at a time.
struct FolderRequest
{
    QString folderId;
    QString marker; // empty for the first page
    QString order;  // the settings' order at the time, kept with the page
    bool append = false;
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

    // Refused, with false, while a page is under way.
    bool load(const FolderRequest &request);
    void abandon();

signals:
    void loadingChanged(bool loading);
    // The loading flag is already cleared when these two arrive.
    void pageLoaded(const FolderRequest &request, const FileItems &page);
    void loadFailed(const FolderRequest &request);

private:
    void finish(int ticket, const FolderRequest &request, const FileItems *page);
    void setLoading(bool loading);

    OpenApiClient m_client;
    bool m_loading = false;
    int m_ticket = 0; // of the newest request; replies to older ones are dropped
    ReplyGuard m_replies;
};
