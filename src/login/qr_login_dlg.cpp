#include "login/qr_login_dlg.h"

#include <QCoreApplication>
#include <QDebug>
#include <QJsonObject>
#include <QPixmap>
#include <QTimer>

#include "api/session/open_api_client.h"
#include "api/session/session.h"
#include "app/environment/endpoints.h"
#include "db/tables/operations.h"
#include "db/tables/user_info.h"
#include "login/qr_image.h"
#include "net/http_client.h"
#include "net/web_address.h"
#include "ui/widgets/toast.h"
#include "ui_qr_login_dlg.h"

namespace {

constexpr int PollInterval = 1000;
// Not null: a null value would leave out the equals sign.
const QString EmptyValue = QStringLiteral("");
const QString NoDriveInfo = QStringLiteral("获取用户云盘信息失败");

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

// A reply without a status says nothing about the account.
bool isRefused(const QString &driveInfo)
{
    const QJsonObject fields = objectFromText(driveInfo).toObject();
    const QString status = QStringLiteral("status");
    return fields.contains(status) && fields.value(status).toString() != QLatin1String("enabled");
}

bool isStored(const UserInfo &user)
{
    UserInfo stored;
    return loadUserInfo(user.userId.value(), stored) &&
           stored.accessToken.value() == user.accessToken.value();
}

} // namespace

QRLoginDlg::QRLoginDlg(QWidget *parent) : m_ui(std::make_unique<Ui::QRLoginDlg>())
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
    m_replies.dismiss();
    if (m_timer != nullptr) {
        m_timer->stop();
        delete m_timer;
    }
}

void QRLoginDlg::done(int result)
{
    // What is still under way must not log a user in whom nobody waits for any more.
    m_replies.dismiss();
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
    m_isCodeAwaited = true;
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

void QRLoginDlg::refreshQRCode()
{
    const QString logWord = QStringLiteral("refreshQRCode");
    const auto done = [this](const QString &reply) { onQrCode(reply); };
    const auto failed = [this, request = ++m_codeRequests](
                            const QString & /*error*/, int /*code*/) { onQrCodeFailed(request); };
    m_code = HttpClient(endpoints().backend + QStringLiteral("/app/oauth/authorize/qrcode"))
                 .param(QStringLiteral("alphaTestNum"), EmptyValue)
                 .success(m_replies.guard(logWord, done))
                 .fail(m_replies.guard(logWord, failed))
                 .post();
    m_replies.limitWait(m_code);
}

// One that was left behind by Refresh says nothing about the code that is asked for now.
void QRLoginDlg::onQrCodeFailed(int request)
{
    if (request == m_codeRequests) {
        onNoCode(QStringLiteral("获取登录二维码请求失败"));
    }
}

// With every poll an expired code asks for another one: a toast each time would help nobody.
void QRLoginDlg::onNoCode(const QString &text)
{
    if (m_isCodeAwaited) {
        stallWithTip(text);
    } else {
        setTip(text);
        stall();
    }
}

void QRLoginDlg::onQrCode(const QString &reply)
{
    qDebug() << "GET_QRCODE" << reply;
    if (reply.isEmpty()) {
        onNoCode(QStringLiteral("获取二维码失败"));
        return;
    }
    m_qrcode.fromJson(objectFromText(reply));
    if (m_qrcode.qrCodeUrl.isEmpty()) {
        onNoCode(QStringLiteral("获取登录二维码失败"));
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
    m_ui->btnRefreshQrcode->setDefault(false);
    if (m_timer != nullptr) {
        if (m_timer->isActive()) {
            m_timer->stop();
        }
        delete m_timer;
    }
    ++m_polls;
    m_timer = new QTimer(this);
    connect(m_timer, &QTimer::timeout, this, &QRLoginDlg::handleTimeout);
    m_timer->start(PollInterval);
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
    const int poll = ++m_polls;
    const auto done = [this, poll](const QString &reply) { onStatus(poll, reply); };
    const auto failed = [this, poll](const QString & /*error*/, int /*code*/) {
        onPollFailed(poll);
    };
    m_poll = HttpClient(endpoints().openApi + QStringLiteral("/oauth/qrcode/") +
                        percentEncoded(m_qrcode.sid) + QStringLiteral("/status"))
                 .success(m_replies.guard(QStringLiteral("qrcode"), done))
                 .fail(m_replies.guard(failed))
                 .get();
    m_replies.limitWait(m_poll);
}

// Polling ends without a word.
void QRLoginDlg::onPollFailed(int poll)
{
    if (poll == m_polls) {
        stall();
    }
}

// What is said of a code that is shown no longer changes nothing, as its failed poll ends nothing.
// Only what the phone has allowed counts still: it says so once, and the user has seen that.
void QRLoginDlg::onStatus(int poll, const QString &reply)
{
    const auto scan = recordFromText<QueryScanQrCodeResp>(reply);
    const ScanStatus *row = scanStatus(scan.status);
    const AfterPoll next = row != nullptr ? row->next : AfterPoll::PollAgain;
    if (poll != m_polls && (next != AfterPoll::ExchangeCode || m_exchange.isPending())) {
        return;
    }
    qDebug() << "oauth/qrcode status=" << scan.status;
    if (row != nullptr && !row->tip.isEmpty()) {
        setTip(row->tip);
    }
    switch (next) {
    case AfterPoll::ExchangeCode:
        m_timer->stop();
        getAccessToken(scan);
        return;
    case AfterPoll::RequestCode:
        if (!m_code.isPending()) { // every poll says so until the new code is there
            m_isCodeAwaited = false;
            refreshQRCode();
        }
        break;
    case AfterPoll::PollAgain:
        break;
    }
    m_timer->start();
}

void QRLoginDlg::getAccessToken(const QueryScanQrCodeResp &scan)
{
    const QString logWord = QStringLiteral("getAccessToken");
    const auto done = [this](const QString &reply) { onAccessToken(reply); };
    const auto failed = [this](const QString &error, int /*code*/) {
        qDebug() << "getAccessToken请求失败:" << error;
        stallWithTip(QStringLiteral("获取授权信息请求失败"));
    };
    const QString query = QStringLiteral("/app/oauth/accessToken?alphaTestNum=&authCode=") +
                          percentEncoded(scan.authCode);
    m_exchange = HttpClient(endpoints().backend + query)
                     .once() // the code works once
                     .success(m_replies.guard(logWord, done))
                     .fail(m_replies.guard(logWord, failed))
                     .get();
    m_replies.limitWait(m_exchange);
}

void QRLoginDlg::onAccessToken(const QString &reply)
{
    qDebug() << "GET_ACCESS_TOKEN:" << reply;
    if (reply.isEmpty()) {
        stallWithTip(QStringLiteral("获取授权信息失败,请更新你的版本"));
        return;
    }
    const auto token = recordFromText<AccessTokenResp>(reply);
    if (token.accessToken.isEmpty()) {
        stallWithTip(QStringLiteral("获取授权信息失败"));
        return;
    }
    m_accessToken = token.accessToken;
    qDebug() << "获取accessToken成功:" << m_accessToken;
    getDriveInfo(token);
}

void QRLoginDlg::getDriveInfo(const AccessTokenResp &token)
{
    const QString logWord = QStringLiteral("getDriveInfo");
    const auto done = [this, token](const QString &reply) { onDriveInfo(reply, token); };
    const auto failed = [this](const QString &error, int /*code*/) {
        qDebug() << "getDriveInfo fail" << error;
        stallWithToast(NoDriveInfo);
    };
    m_exchange =
        OpenApiClient::forAccessToken(token.accessToken)
            .driveInfoText(m_replies.guard(logWord, done), m_replies.guard(logWord, failed));
    m_replies.limitWait(m_exchange);
}

void QRLoginDlg::onDriveInfo(const QString &reply, const AccessTokenResp &token)
{
    qDebug() << "getDriveInfo success" << reply;
    const auto drive = recordFromText<DriveInfo>(reply);
    if (drive.user_id.isEmpty()) {
        // Without an id there is nobody to store, and the current user must stay who it is.
        stallWithToast(NoDriveInfo);
        return;
    }
    finishLogin(loggedInUser(drive, token),
                isRefused(reply) ? QStringLiteral("账号异常:") + drive.status : QString());
}

// A refused account is stored and becomes the current one all the same. Nobody waits for a name
// that the drive's information lacks: what was allowed is kept at once, a name comes later.
void QRLoginDlg::finishLogin(UserInfo user, const QString &refusal)
{
    UserInfo stored;
    if (user.nickname.value().isEmpty() && loadUserInfo(user.userId.value(), stored)) {
        user.nickname = stored.nickname; // better than none
    }
    saveUserInfo(user);
    if (!isStored(user)) {
        // A login that cannot be kept would lead to a window without this user.
        stallWithToast(QStringLiteral("登录信息无法保存"));
        return;
    }
    Session::instance().setCurrentUser(user);
    if (!refusal.isEmpty()) {
        stallWithToast(refusal);
        return;
    }
    emit loginSuccess(user.userId.value());
    done(1);
}

void QRLoginDlg::setTip(const QString &text)
{
    if (m_replies.isDismissed()) {
        qDebug() << "interface is destory";
        return;
    }
    m_ui->tipMsg->setText(text);
}

bool QRLoginDlg::isPolling() const
{
    return m_poll.isPending() || (m_timer != nullptr && m_timer->isActive());
}

// Nothing goes on by itself from here: Refresh becomes the obvious thing to do. While a code is
// still polled, the focus stays where it is.
void QRLoginDlg::stall()
{
    if (isPolling()) {
        return;
    }
    m_ui->btnRefreshQrcode->setDefault(true);
    m_ui->btnRefreshQrcode->setFocus();
}

void QRLoginDlg::stallWithTip(const QString &text)
{
    setTip(text);
    // The next poll of the earlier code, which still works, takes the words away.
    if (isPolling()) {
        Toast::showTip(text);
    }
    stall();
}

void QRLoginDlg::stallWithToast(const QString &text)
{
    Toast::showTip(text);
    stall();
}
