#pragma once

#include <memory>

#include "api/records/account_records.h"
#include "ui/widgets/base_dialog.h"

class AppSettings;
class QTimer;

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

    void handleQrCode(const QString &reply);
    void handleStatus(const QString &reply);
    void handleAccessToken(const QString &reply);
    void handleDriveInfo(const QString &reply, const AccessTokenResp &token);

    template <class Handler>
    auto unlessDestroyed(const char *step, Handler handler);
    void drawQrCode(const QString &content);
    void startPolling();
    void setTip(const QString &text);

    std::unique_ptr<Ui::QRLoginDlg> m_ui;
    QTimer *m_timer = nullptr;
    QrcodeResponse m_qrcode;
    QString m_accessToken;
    std::unique_ptr<AppSettings> m_settings;
    bool m_destroyed = false;
};
