#pragma once

#include "ui/windows/dialog_page.h"

#include <memory>

#include <QList>
#include <QPointer>

#include "db/tables/user_info.h"

class CloudFileDialog;
class QTabWidget;
class TransDialog;
struct PlayRequest;

namespace Ui {
class FileDialog;
}

// The file manager page: one tab for each logged-in user. Keeps the current-user setting and the
// session in step with the tab the user clicks, and makes the tabs anew after each login or
// logout.
class FileDialog final : public DialogPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FileDialog)

public:
    explicit FileDialog(QWidget *parent = nullptr);
    ~FileDialog() override;

    [[nodiscard]] QString nickname() const { return m_nickname; }

public slots:
    // The player changed the stored quality.
    void updateVideoQuality();

signals:
    void userSwitched(const QString &nickname, const QString &spaceInfo);
    // Relayed from the tab that is shown, so that also tabs made later are heard.
    void refreshDiskSpace(QString &info);
    void videoOpenRequested(const PlayRequest &request);

private:
    void rebuild();
    void removeTab(int index);
    void addTab(const UserInfo &user);
    void switchUser(int index);
    void makeCurrent(int index);
    void changeUser(int changeType, int pos, int skipToPos, const QString &nickname);
    void relogin();
    void showSharedSettings(const CloudFileDialog *changed);
    void loadAvatar(const UserInfo &user, CloudFileDialog *page);
    [[nodiscard]] CloudFileDialog *pageAt(int index) const;
    [[nodiscard]] QList<CloudFileDialog *> pages() const;

    const std::unique_ptr<Ui::FileDialog> m_ui;
    const std::unique_ptr<TransDialog> m_transfers;
    QList<UserInfo> m_users; // in the order of the tabs
    QString m_nickname;
};
