#pragma once

#include <memory>

#include "api/records/account_records.h"
#include "net/reply_guard.h"
#include "ui/widgets/base_dialog.h"

class QTimer;
class UserInfo;

namespace Ui {
class QRLoginDlg;
}

// Logs one user in: shows a QR code for the phone app, waits until it was scanned and confirmed,
// fetches tokens and drive information, stores the user and makes them the current one. The first
// code is requested at once. Accepted only after a complete login; every other end is a rejection.
// A reply that comes after the dialog was closed or destroyed is logged and dropped.
class QRLoginDlg final : public BaseDialog
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(QRLoginDlg)

public:
    // The dialog is a top-level window of its own; `parent` takes no ownership.
    explicit QRLoginDlg(QWidget *parent = nullptr);
    ~QRLoginDlg() override;

    void done(int result) override;
    // Closing the dialog by its close button or Esc is the same as pressing Cancel.
    void reject() override;

signals:
    // Once, just before the dialog accepts.
    void loginSuccess(QString userId);

private slots:
    void handleTimeout();
    void on_btnRefreshQrcode_clicked();
    void on_btnCancle_clicked();

private:
    void refreshQRCode();
    void getAccessToken(const QueryScanQrCodeResp &scan);
    void getDriveInfo(const AccessTokenResp &token);

    void onQrCode(const QString &reply);
    void onQrCodeFailed(int request);
    void onNoCode(const QString &text);
    void onStatus(int poll, const QString &reply);
    void onAccessToken(const QString &reply);
    void onPollFailed(int poll);
    void onDriveInfo(const QString &reply, const AccessTokenResp &token);
    void finishLogin(UserInfo user, const QString &refusal);

    void drawQrCode(const QString &content);
    void startPolling();
    void setTip(const QString &text);
    bool isPolling() const;
    void stall();
    void stallWithTip(const QString &text);
    void stallWithToast(const QString &text);

    std::unique_ptr<Ui::QRLoginDlg> m_ui;
    QTimer *m_timer = nullptr;
    QrcodeResponse m_qrcode;
    QString m_accessToken;
    int m_codeRequests = 0;
    int m_polls = 0;             // and codes: a poll of an earlier code is not the last one
    bool m_isCodeAwaited = true; // by the user; not one that takes an expired one's place
    PendingReply m_code;         // the newest request for one
    PendingReply m_poll;
    PendingReply m_exchange; // what follows a code that was confirmed
    ReplyGuard m_replies;    // dismissed once the dialog is closed
};
