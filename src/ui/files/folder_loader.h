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
    QString order;  // of the pages that the marker belongs to
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

    // The order that the settings ask the drive for.
    [[nodiscard]] static QString presentOrder();

    [[nodiscard]] bool isLoading() const { return m_loading; }

    // Refused, with false, while a page is under way. What the drive does not answer fails in time,
    // and so does an answer that is no list: it must not look like an empty folder.
    //
    // A marker of another order than the present one would skip entries: then it is the first page
    // that is asked for.
    bool load(const FolderRequest &request);
    // Ends the request under way; nothing is told of it.
    void abandon();

signals:
    // The loading flag is already cleared when these two arrive. The request is as it was sent.
    void pageLoaded(const FolderRequest &request, const FileItems &page);
    void loadFailed();

private:
    void send(const FolderRequest &wanted, int attempt);
    void onFailed(const QString &error, int code);

    OpenApiClient m_client;
    bool m_loading = false;
    ReplyGuard m_replies;
};
