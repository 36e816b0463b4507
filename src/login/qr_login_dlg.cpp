#include "login/qr_login_dlg.h"

#include "ui_qr_login_dlg.h"

#include <QCoreApplication>
#include <QDebug>
#include <QPixmap>
#include <QPointer>
#include <QTimer>

#include "api/session/open_api_client.h"
#include "app/environment/app_settings.h"
#include "app/environment/endpoints.h"
#include "db/tables/operations.h"
#include "db/tables/user_info.h"
#include "login/qr_image.h"
#include "net/http_client.h"
#include "ui/widgets/toast.h"

namespace {

constexpr int pollInterval = 1000;
// Not null: a null value would leave out the equals sign.
const QString emptyValue = QStringLiteral("");

enum class AfterPoll { PollAgain, ExchangeCode, RequestCode };

struct ScanStatus
{
    QString status;
    QString tip;
    AfterPoll next;
};

// A status that is not listed changes nothing: the next poll follows.
const ScanStatus *scanStatus(const QString &status)
{
    static const ScanStatus known[] = {
        {QStringLiteral("WaitLogin"), QStringLiteral("请用阿里云盘App扫码登录"),
         AfterPoll::PollAgain},
        {QStringLiteral("ScanSuccess"), QStringLiteral("扫码成功，请确认登录"),
         AfterPoll::PollAgain},
        {QStringLiteral("LoginSuccess"), QStringLiteral("已请允许扫描登录"),
         AfterPoll::ExchangeCode},
        {QStringLiteral("CANCELED"), QStringLiteral("已取消扫描登录"), AfterPoll::PollAgain},
        {QStringLiteral("QRCodeExpired"), QString(), AfterPoll::RequestCode},
    };
    const auto *found = std::find_if(std::begin(known), std::end(known),
                                     [&](const ScanStatus &row) { return row.status == status; });
    return found == std::end(known) ? nullptr : found;
}

UserInfo loggedInUser(const DriveInfo &drive, const AccessTokenResp &token)
{
    UserInfo user;
    user.userId = drive.user_id;
    user.nickname = drive.nick_name;
    user.username = drive.phone;
    user.driveId = drive.default_drive_id;
    user.status = drive.status.toInt();
    user.avatar = drive.avatar;
    user.tokenType = token.tokenType;
    user.accessToken = token.accessToken;
    user.refreshToken = token.refreshToken;
    user.tokenExpiresIn = token.expiresIn;
    return user;
}

bool isStored(const UserInfo &user)
{
    UserInfo stored;
    return loadUserInfo(user.userId.value(), stored) &&
           stored.accessToken.value() == user.accessToken.value();
}

} // namespace

QRLoginDlg::QRLoginDlg(QWidget *parent)
    : m_ui(std::make_unique<Ui::QRLoginDlg>()), m_settings(std::make_unique<AppSettings>())
{
    Q_UNUSED(parent)
    m_ui->setupUi(this);
    setWindowFlags(windowFlags() | Qt::WindowStaysOnTopHint);
    m_ui->labelQrCode->setAlignment(Qt::AlignHCenter);
    m_ui->tipMsg->setAlignment(Qt::AlignCenter);
    refreshQRCode();
}

QRLoginDlg::~QRLoginDlg()
{
    m_destroyed = true;
    if (m_timer != nullptr) {
        m_timer->stop();
        delete m_timer;
    }
}

void QRLoginDlg::done(int result)
{
    // What is still under way must not log a user in whom nobody waits for any more.
    m_destroyed = true;
    if (m_timer != nullptr) {
        m_timer->stop();
    }
    BaseDialog::done(result);
}

void QRLoginDlg::reject()
{
    on_btnCancle_clicked();
}

void QRLoginDlg::on_btnRefreshQrcode_clicked()
{
    refreshQRCode();
}

void QRLoginDlg::on_btnCancle_clicked()
{
    if (quitOnCancel()) {
        QCoreApplication::exit(0);
        return;
    }
    setClosedByUser();
    done(0);
}

template <class Handler>
auto QRLoginDlg::unlessDestroyed(const char *step, Handler handler)
{
    return [guard = QPointer<QRLoginDlg>(this), step, handler](const auto &...reply) {
        QRLoginDlg *dialog = guard.data();
        if (dialog == nullptr || dialog->m_destroyed) {
            qDebug().nospace() << "dialog is destoryed, exit " << step << ".";
            return;
        }
        handler(dialog, reply...);
    };
}

void QRLoginDlg::refreshQRCode()
{
    HttpClient(endpoints().backend + QStringLiteral("/app/oauth/authorize/qrcode"))
        .param(QStringLiteral("alphaTestNum"), emptyValue)
        .success(unlessDestroyed(
            "refreshQRCode",
            [](QRLoginDlg *dialog, const QString &reply) { dialog->handleQrCode(reply); }))
        .fail(unlessDestroyed("refreshQRCode",
                              [](QRLoginDlg *dialog, const QString &, int) {
                                  dialog->setTip(QStringLiteral("获取登录二维码请求失败"));
                              }))
        .post();
}

void QRLoginDlg::handleQrCode(const QString &reply)
{
    qDebug() << "GET_QRCODE" << reply;
    if (reply.isEmpty()) {
        setTip(QStringLiteral("获取二维码失败"));
        return;
    }
    m_qrcode.fromJson(objectFromText(reply));
    if (m_qrcode.qrCodeUrl.isEmpty()) {
        setTip(QStringLiteral("获取登录二维码失败"));
        return;
    }
    drawQrCode(endpoints().web + QStringLiteral("/o/oauth/authorize?sid=") + m_qrcode.sid);
    startPolling();
}

void QRLoginDlg::drawQrCode(const QString &content)
{
    const QImage image = qrImage(content);
    if (image.isNull()) {
        return;
    }
    const QSize size = m_ui->labelQrCode->geometry().size();
    m_ui->labelQrCode->setPixmap(
        QPixmap::fromImage(image.scaled(size, Qt::KeepAspectRatio, Qt::FastTransformation)));
}

void QRLoginDlg::startPolling()
{
    if (m_timer != nullptr) {
        if (m_timer->isActive()) {
            m_timer->stop();
        }
        delete m_timer;
    }
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, &QRLoginDlg::handleTimeout);
    m_timer->start(pollInterval);
}

void QRLoginDlg::handleTimeout()
{
    // Stopped until the reply restarts it: polls never overlap.
    if (m_timer->isActive()) {
        m_timer->stop();
    }
    if (m_qrcode.sid.isEmpty()) {
        return;
    }
    HttpClient(endpoints().openApi + QStringLiteral("/oauth/qrcode/") + m_qrcode.sid +
               QStringLiteral("/status"))
        .success(
            unlessDestroyed("qrcode", [](QRLoginDlg *dialog,
                                         const QString &reply) { dialog->handleStatus(reply); }))
        .get();
}

void QRLoginDlg::handleStatus(const QString &reply)
{
    const auto scan = recordFromText<QueryScanQrCodeResp>(reply);
    qDebug() << "oauth/qrcode status=" << scan.status;
    const ScanStatus *row = scanStatus(scan.status);
    if (row != nullptr && !row->tip.isEmpty()) {
        setTip(row->tip);
    }
    switch (row != nullptr ? row->next : AfterPoll::PollAgain) {
    case AfterPoll::ExchangeCode:
        m_timer->stop();
        getAccessToken(scan);
        return;
    case AfterPoll::RequestCode:
        refreshQRCode();
        break;
    case AfterPoll::PollAgain:
        break;
    }
    m_timer->start();
}

void QRLoginDlg::getAccessToken(const QueryScanQrCodeResp &scan)
{
    HttpClient(endpoints().backend + QStringLiteral("/app/oauth/accessToken"))
        .param(QStringLiteral("alphaTestNum"), emptyValue)
        .param(QStringLiteral("authCode"), scan.authCode)
        .success(unlessDestroyed(
            "getAccessToken",
            [](QRLoginDlg *dialog, const QString &reply) { dialog->handleAccessToken(reply); }))
        .fail(unlessDestroyed("getAccessToken",
                              [](QRLoginDlg *dialog, const QString &error, int) {
                                  qDebug() << "getAccessToken请求失败:" << error;
                                  dialog->setTip(QStringLiteral("获取授权信息请求失败"));
                              }))
        .get();
}

void QRLoginDlg::handleAccessToken(const QString &reply)
{
    qDebug() << "GET_ACCESS_TOKEN:" << reply;
    if (reply.isEmpty()) {
        setTip(QStringLiteral("获取授权信息失败,请更新你的版本"));
        return;
    }
    const auto token = recordFromText<AccessTokenResp>(reply);
    if (token.accessToken.isEmpty()) {
        setTip(QStringLiteral("获取授权信息失败"));
        return;
    }
    m_accessToken = token.accessToken;
    qDebug() << "获取accessToken成功:" << m_accessToken;
    getDriveInfo(token);
}

void QRLoginDlg::getDriveInfo(const AccessTokenResp &token)
{
    OpenApiClient::forAccessToken(token.accessToken)
        .driveInfoText(unlessDestroyed("getDriveInfo",
                                       [token](QRLoginDlg *dialog, const QString &reply) {
                                           dialog->handleDriveInfo(reply, token);
                                       }),
                       unlessDestroyed("getDriveInfo", [](QRLoginDlg *, const QString &error, int) {
                           qDebug() << "getDriveInfo fail" << error;
                           Toast::showTip(QStringLiteral("获取用户云盘信息失败"));
                       }));
}

void QRLoginDlg::handleDriveInfo(const QString &reply, const AccessTokenResp &token)
{
    qDebug() << "getDriveInfo success" << reply;
    const auto drive = recordFromText<DriveInfo>(reply);
    if (drive.user_id.isEmpty()) {
        // Without an id there is nobody to store, and the current user must stay who it is.
        Toast::showTip(QStringLiteral("获取用户云盘信息失败"));
        return;
    }
    UserInfo user = loggedInUser(drive, token);
    saveUserInfo(user);
    if (!isStored(user)) {
        // A login that cannot be kept would lead to a window without this user.
        Toast::showTip(QStringLiteral("登录信息无法保存"));
        return;
    }
    m_settings->setCurUserId(user.userId.value());
    if (drive.status == QLatin1String("enabled")) {
        emit loginSuccess(user.userId.value());
        done(1);
    } else {
        Toast::showTip(QStringLiteral("账号异常:") + drive.status);
    }
}

void QRLoginDlg::setTip(const QString &text)
{
    if (m_destroyed) {
        qDebug() << "interface is destory";
        return;
    }
    m_ui->tipMsg->setText(text);
}
