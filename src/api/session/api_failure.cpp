#include "api/session/api_failure.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>

#include "net/http_client.h"

namespace {

constexpr int TooManyRequests = 429;
constexpr int FirstContentError = QNetworkReply::ContentAccessDenied;
constexpr int FirstServerError = QNetworkReply::InternalServerError;

struct KnownCode
{
    QLatin1String code; // or the beginning of it, up to a dot
    ApiTrouble trouble;
};

const KnownCode KnownCodes[] = {
    {QLatin1String("TooManyRequests"), ApiTrouble::TooFast},
    {QLatin1String("QuotaExhausted"), ApiTrouble::DriveFull},
    {QLatin1String("ExceedQuota"), ApiTrouble::DriveFull},
    {QLatin1String("ForbiddenNoPermission"), ApiTrouble::NoRight},
    {QLatin1String("PermissionDenied"), ApiTrouble::NoRight},
    {QLatin1String("ExceedCapacityForbidden"), ApiTrouble::DriveFull},
    {QLatin1String("AlreadyExist"), ApiTrouble::NameTaken},
    {QLatin1String("VideoPreviewWaitAndRetry"), ApiTrouble::NotTranscodedYet},
    {QLatin1String("NotFound.VideoPreviewInfo"), ApiTrouble::CannotBeTranscoded},
};

ApiTrouble troubleIn(int status, const QString &code)
{
    for (const KnownCode &known : KnownCodes) {
        const bool begins = code.startsWith(known.code);
        if (begins && (code.size() == known.code.size() || code[known.code.size()] == u'.')) {
            return known.trouble;
        }
    }
    return status == TooManyRequests ? ApiTrouble::TooFast : ApiTrouble::Other;
}

// Nothing of these arrived, or its answer was lost on the way.
bool isNetworkTrouble(int code)
{
    return code > QNetworkReply::NoError && code < FirstContentError;
}

// Some servers write the keys with a capital.
QString textIn(const QJsonObject &body, const QString &key)
{
    QString capital = key;
    capital[0] = capital[0].toUpper();
    return body.value(body.contains(key) ? key : capital).toString();
}

} // namespace

ApiRefusal apiRefusal(const HttpRefusal &refusal)
{
    const QJsonObject body = QJsonDocument::fromJson(refusal.body.toUtf8()).object();
    const QString code = textIn(body, QStringLiteral("code"));
    return {refusal.status, code, textIn(body, QStringLiteral("message")),
            troubleIn(refusal.status, code)};
}

ApiTrouble troubleOf(int code, const std::optional<ApiRefusal> &refusal)
{
    if (refusal && refusal->trouble != ApiTrouble::Other) {
        return refusal->trouble;
    }
    switch (code) {
    case QNetworkReply::ContentAccessDenied:
    case QNetworkReply::ContentOperationNotPermittedError:
        return ApiTrouble::NoRight;
    case QNetworkReply::ContentConflictError:
        return ApiTrouble::NameTaken;
    case QNetworkReply::ContentNotFoundError:
    case QNetworkReply::ContentGoneError:
        return ApiTrouble::Gone;
    case QNetworkReply::AuthenticationRequiredError:
        return ApiTrouble::LoggedOut;
    default:
        break;
    }
    if (code >= FirstServerError) {
        return ApiTrouble::ServerFailed;
    }
    return isNetworkTrouble(code) ? ApiTrouble::Unreachable : ApiTrouble::Other;
}

QString troubleText(ApiTrouble trouble)
{
    switch (trouble) {
    case ApiTrouble::Other:
        return QString();
    case ApiTrouble::TooFast:
        return QStringLiteral("操作过于频繁，请稍后再试");
    case ApiTrouble::DriveFull:
        return QStringLiteral("云盘空间不足");
    case ApiTrouble::NoRight:
        return QStringLiteral("没有权限");
    case ApiTrouble::NameTaken:
        return QStringLiteral("名称已被占用");
    case ApiTrouble::Gone:
        return QStringLiteral("文件已不存在");
    case ApiTrouble::LoggedOut:
        return QStringLiteral("登录已失效");
    case ApiTrouble::NotTranscodedYet:
        return QStringLiteral("视频正在转码，请稍后再试");
    case ApiTrouble::CannotBeTranscoded:
        return QStringLiteral("该视频无法转码");
    case ApiTrouble::NotJson:
        return QStringLiteral("云盘的回复无法读取");
    case ApiTrouble::ServerFailed:
        return QStringLiteral("云盘暂时无法处理");
    case ApiTrouble::Unreachable:
        return QStringLiteral("网络连接失败");
    }
    return QString();
}

QString withReason(const QString &text, int code, const std::optional<ApiRefusal> &refusal)
{
    const QString reason = troubleText(troubleOf(code, refusal));
    return reason.isEmpty() ? text : text + QStringLiteral("：") + reason;
}

bool mayAskAgain(CallKind kind, int code, const std::optional<ApiRefusal> &refusal)
{
    if (code == QNetworkReply::ConnectionRefusedError ||
        (refusal && refusal->trouble == ApiTrouble::TooFast)) {
        return true;
    }
    switch (code) {
    case QNetworkReply::RemoteHostClosedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::InternalServerError:
    case QNetworkReply::ServiceUnavailableError:
    case QNetworkReply::UnknownServerError:
        return kind == CallKind::Reading;
    default:
        return false;
    }
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
        return code >= FirstServerError || isNetworkTrouble(code);
    }
}
