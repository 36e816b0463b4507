#pragma once

#include <memory>

#include <QList>

#include "db/tables/user_info.h"
#include "net/reply_guard.h"
#include "ui/widgets/dialog_page.h"

class CloudFileDialog;
class FileBatches;
class FileNames;
class LinkCopy;
class PlayHistory;
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
    // The batches are the program's and must outlive the dialog; without them it makes its own.
    explicit FileDialog(FileBatches *batches = nullptr, QWidget *parent = nullptr);
    ~FileDialog() override;

    [[nodiscard]] QString nickname() const { return m_nickname; }
    // Of the page that is shown; see CloudFileDialog.
    [[nodiscard]] double usedShare() const;
    // See listStatusChanged().
    [[nodiscard]] QString listStatus() const;

    // Of all users and pages; goes with the batches.
    [[nodiscard]] FileNames *names() const { return m_names; }

    // Gives the keyboard to the files of the page that is shown.
    void focusList();

public slots:
    // The player changed the stored quality.
    void updateVideoQuality();
    // A row of the watch history was written.
    void showWatched(const PlayHistory &row);
    // Rows of it were removed or put back, or skip times changed.
    void reloadWatched();

signals:
    void userSwitched(const QString &nickname, const QString &spaceInfo);
    // Relayed from every page, so that also pages made later are heard.
    void refreshDiskSpace(QString &info);
    void videoOpenRequested(const PlayRequest &request);
    // Of the page that is shown: what of its list is shown, loaded and selected.
    void listStatusChanged(const QString &text);

private:
    void rebuild();
    void removeTab(int index);
    void addTab(const UserInfo &user);
    void makeUserCurrent(int index);
    void relogin();
    void logInAnother(CloudFileDialog *page);
    // False: the user stays logged in for the sake of the files that are under way.
    bool mayStopBatches(const QString &userId);
    void logOut(CloudFileDialog *page);
    void connectAccounts(CloudFileDialog *page);
    void onTabClicked(int index);
    void onUserChanged(int changeType, int pos, int skipToPos, const QString &nickname);
    void onListSettingsChanged(const CloudFileDialog *changed);
    void loadAvatar(const UserInfo &user, CloudFileDialog *page);
    void loadName(const UserInfo &user);
    void showName(const QString &userId);
    [[nodiscard]] CloudFileDialog *pageAt(int index) const;
    [[nodiscard]] QList<CloudFileDialog *> pages() const;

    const std::unique_ptr<Ui::FileDialog> m_ui;
    const std::unique_ptr<TransDialog> m_transfers;
    FileBatches *const m_batches;
    FileNames *const m_names; // go after all pages
    LinkCopy *const m_links;  // goes with this
    QList<UserInfo> m_users;  // in the order of the tabs
    QString m_nickname;
    ReplyGuard m_replies;
};
