#include "api/session/api_refusal.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkReply>

#include "net/http_client.h"

namespace {

constexpr int TooManyRequests = 429;

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
    {QLatin1String("ExceedCapacityForbidden"), ApiTrouble::NoRight},
    {QLatin1String("AlreadyExist"), ApiTrouble::NameTaken},
    {QLatin1String("VideoPreviewWaitAndRetry"), ApiTrouble::NotTranscodedYet},
    {QLatin1String("NotFound.VideoPreviewInfo"), ApiTrouble::CannotBeTranscoded},
};

ApiTrouble troubleOf(int status, const QString &code)
{
    for (const KnownCode &known : KnownCodes) {
        const bool begins = code.startsWith(known.code);
        if (begins && (code.size() == known.code.size() || code[known.code.size()] == u'.')) {
            return known.trouble;
        }
    }
    return status == TooManyRequests ? ApiTrouble::TooFast : ApiTrouble::Other;
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
            troubleOf(refusal.status, code)};
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
        return QStringLiteral("没有权限进行此操作");
    case ApiTrouble::NameTaken:
        return QStringLiteral("同名文件或文件夹已存在");
    case ApiTrouble::NotTranscodedYet:
        return QStringLiteral("视频正在转码，请稍后再试");
    case ApiTrouble::CannotBeTranscoded:
        return QStringLiteral("该视频无法转码");
    }
    return QString();
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
