#pragma once

#include <memory>

#include "ui/widgets/dialog_page.h"

namespace Ui {
class HelpDialog;
}

// Name, version and licences, three buttons that open pages in the browser, and one for the page of
// the player's keys.
class HelpDialog final : public DialogPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(HelpDialog)

public:
    explicit HelpDialog(QWidget *parent = nullptr);
    ~HelpDialog() override;

private slots:
    void on_btnDownloadTV_clicked();
    void on_btnDownloadPc_clicked();
    void on_btnReportBug_clicked();
    void on_btnKeys_clicked();

private:
    const std::unique_ptr<Ui::HelpDialog> m_ui;
};
