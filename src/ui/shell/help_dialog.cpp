#include "ui/shell/help_dialog.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QUrl>

#include "app/environment/endpoints.h"
#include "player/window/keys_dialog.h"
#include "ui_help_dialog.h"

HelpDialog::HelpDialog(QWidget *parent)
    : DialogPage(parent), m_ui(std::make_unique<Ui::HelpDialog>())
{
    m_ui->setupUi(this);
    m_ui->versionLabel->setText(
        QStringLiteral("版本 %1　Qt %2")
            .arg(QCoreApplication::applicationVersion(), QString::fromLatin1(qVersion())));
}

HelpDialog::~HelpDialog() = default;

void HelpDialog::on_btnDownloadTV_clicked()
{
    QDesktopServices::openUrl(QUrl(endpoints().helpTv));
}

void HelpDialog::on_btnDownloadPc_clicked()
{
    QDesktopServices::openUrl(QUrl(endpoints().helpPc));
}

void HelpDialog::on_btnReportBug_clicked()
{
    QDesktopServices::openUrl(QUrl(endpoints().helpReport));
}

void HelpDialog::on_btnKeys_clicked()
{
    KeysDialog::open(this);
}
