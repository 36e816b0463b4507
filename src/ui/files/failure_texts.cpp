#include "ui/files/failure_texts.h"

#include <QNetworkReply>

namespace {

constexpr int FirstContentError = QNetworkReply::ContentAccessDenied;
constexpr int FirstServerError = QNetworkReply::InternalServerError;

QString reasonOf(int code)
{
    switch (code) {
    case QNetworkReply::ContentAccessDenied:
    case QNetworkReply::ContentOperationNotPermittedError:
        return QStringLiteral("没有权限");
    case QNetworkReply::ContentConflictError:
        return QStringLiteral("名称已被占用");
    case QNetworkReply::ContentNotFoundError:
    case QNetworkReply::ContentGoneError:
        return QStringLiteral("文件已不存在");
    case QNetworkReply::AuthenticationRequiredError:
        return QStringLiteral("登录已失效");
    default:
        break;
    }
    if (code >= FirstServerError) {
        return QStringLiteral("云盘暂时无法处理");
    }
    const bool neverArrived = code > QNetworkReply::NoError && code < FirstContentError;
    return neverArrived ? QStringLiteral("网络连接失败") : QString();
}

} // namespace

QString withReason(const QString &text, int code)
{
    const QString reason = reasonOf(code);
    return reason.isEmpty() ? text : text + QStringLiteral("：") + reason;
}

bool leavesOpenWhatIsTrue(int code)
{
    switch (code) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::SslHandshakeFailedError:
        return false; // nothing was sent
    case QNetworkReply::ContentNotFoundError:
    case QNetworkReply::ContentGoneError:
        return true;
    default:
        return code >= FirstServerError ||
               (code > QNetworkReply::NoError && code < FirstContentError);
    }
}
