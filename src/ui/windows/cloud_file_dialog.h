#pragma once

#include "ui/windows/dialog_page.h"

#include <memory>

#include "api/session/open_api_client.h"
#include "db/tables/user_info.h"
#include "ui/windows/reply_guard.h"

class FileBrowser;
class FileItem;
class FileOperations;
class QAction;
class QMenu;
class QModelIndex;
class QTableWidgetItem;
class SpaceInfo;
class WaitingSpinnerWidget;
enum class FileOperation;
struct PlayRequest;

namespace Ui {
class CloudFileDialog;
}

// One user's page among the user tabs: the files of one folder of that user's drive, with
// everything that can be done to them. Works with its own user's token, whoever is current.
class CloudFileDialog final : public DialogPage
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(CloudFileDialog)

public:
    // Asks for the root folder and the disk space at once.
    explicit CloudFileDialog(const UserInfo &user, QWidget *parent = nullptr);
    ~CloudFileDialog() override;

    [[nodiscard]] QString userId() const { return m_user.userId.value(); }
    // "used / total" as of the last reply; empty before the first.
    [[nodiscard]] QString diskSpace() const { return m_diskSpace; }

    // Shows the settings that another page changed: sort, recycle bin, video quality.
    void applyListSettings();

signals:
    // changeType: 1 a user logged in, -1 this one logged out, 0 the last one logged out. pos is
    // this user's place among the stored users, skipToPos that of the user to go on with.
    void userChangedFromCloudDisk(int changeType, int pos, int skipToPos, const QString &nickname);
    void startDownload(const QString &fileName, const QString &url);
    void refreshDiskSpace(QString &info);
    void videoOpenRequested(const PlayRequest &request);
    // A setting that all pages share was changed here and is already stored.
    void listSettingsChanged();

public slots:
    void initVideoQualityMenu();

private slots:
    void onHeaderClicked(int column);
    void onScrollBarValueChanged(int value);
    void on_fileList_itemDoubleClicked(QTableWidgetItem *item);
    void on_btnBack_clicked();
    void on_btnRefresh_clicked();
    void on_pathNavList_clicked(const QModelIndex &index);
    void on_fileNameSearch_textChanged(const QString &text);
    void on_fileTypeList_currentIndexChanged(int index);
    void on_fileList_cellChanged(int row, int column);
    void rightMenuClicked(QAction *action);
    void on_btnCreateFolder_clicked();
    void on_btnDelete_clicked();
    void on_btnNewUser_clicked();
    void on_btnUserLogout_clicked();
    void on_checkDelToRecycle_clicked(bool checked);

private:
    struct MenuEntry;
    static const QVector<MenuEntry> &menuEntries();

    void setUpForm();
    void setUpTable();
    void setUpBrowser();
    void setUpMenu();
    void setUpShortcuts();
    void restoreListState();
    void saveListState();
    void applyFilter();
    void updateBackButton();
    void showLoading(bool loading);

    void enterList();
    void openRow(int row);
    void openVideo(const FileItem &file);
    void goTo(int index);
    void updateMenu();
    void showMenu(const QPoint &position);
    void renameCurrent();
    void sendRename(const FileItem &file, const QString &name);
    void moveSelected();
    void copyDownloadLink();
    void takeOperationSuccess(const QString &fileId, const QString &targetFolderId);
    void takeOperationFailure(FileOperation operation);
    void fillVideoQualityMenu();
    void showVideoQuality(const QString &id);
    void chooseQuality(const QString &id);

    void requestDiskSpace();
    void takeDiskSpace(const SpaceInfo &space);
    [[nodiscard]] int position() const;

    const std::unique_ptr<Ui::CloudFileDialog> m_ui;
    const UserInfo m_user;
    const OpenApiClient m_client;
    FileBrowser *m_browser = nullptr;
    FileOperations *m_operations = nullptr;
    WaitingSpinnerWidget *m_spinner = nullptr;
    QMenu *m_menu = nullptr;
    QString m_diskSpace;
    ReplyGuard m_replies;
};
