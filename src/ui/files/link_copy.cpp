#include "ui/files/link_copy.h"

#include <QClipboard>
#include <QGuiApplication>

#include "api/records/file_records.h"
#include "api/session/open_api_client.h"
#include "db/tables/user_info.h"
#include "net/http_client.h"
#include "net/log_failure.h"
#include "ui/widgets/toast.h"

namespace {

void onFailed(const QString &error, int code)
{
    // Not the operation's own word: whoever reads logs looks for this one.
    logFailure(QStringLiteral("getFileList"), code, error);
    Toast::showTip(QStringLiteral("复制下载链接失败"));
}

void onLink(const GetDownloadUrlResp &reply)
{
    if (reply.url.isEmpty()) {
        onFailed(QStringLiteral("no url"), HttpClient::LocalFailure);
        return;
    }
    QGuiApplication::clipboard()->setText(reply.url);
    Toast::showTip(QStringLiteral("复制下载链接成功"));
}

} // namespace

LinkCopy::LinkCopy(QObject *parent) : QObject(parent) {}

void LinkCopy::copy(const UserInfo &user, const QString &fileId)
{
    m_replies.abandon();
    m_userId = user.userId.value();
    const QString logWord = QStringLiteral("getDownloadUrl");
    m_replies.limitWait(OpenApiClient(user).downloadUrl(fileId, m_replies.guard(logWord, &onLink),
                                                        m_replies.guard(logWord, &onFailed)));
}

void LinkCopy::forget(const QString &userId)
{
    if (m_userId == userId) {
        m_replies.abandon();
    }
}
