#pragma once

#include <memory>

#include "db/tables/user_info.h"
#include "ui/widgets/dialog_page.h"

class DiskSpace;
class FileActions;
class FileBatches;
class FileBrowser;
class FileItem;
class FileNames;
class LinkCopy;
class PlayHistory;
class QAction;
class QModelIndex;
class QTableWidgetItem;
class QualityMenu;
class WatchMarks;
class WaitingSpinnerWidget;
struct BatchFile;
struct FileBatch;
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
    // Asks for the root folder and the disk space at once. The batches, the names and the links
    // belong to the program and must outlive the page; without them it makes its own.
    explicit CloudFileDialog(UserInfo user, FileBatches *batches = nullptr,
                             FileNames *names = nullptr, LinkCopy *links = nullptr,
                             QWidget *parent = nullptr);
    ~CloudFileDialog() override;

    [[nodiscard]] QString userId() const { return m_user.userId.value(); }
    // "used / total" as of the last reply; empty before the first.
    [[nodiscard]] QString diskSpace() const;
    // How much of it is used, 0 to 1; negative while that is not known.
    [[nodiscard]] double usedShare() const;
    // What is shown, loaded and selected, beyond the count of entries; empty when that says it all.
    [[nodiscard]] QString listStatus() const { return m_listStatus; }

    // Gives the keyboard to the list.
    void enterList();

    // A row of the watch history was written.
    void showWatched(const PlayHistory &row);
    // Rows were removed or put back, or skip times changed.
    void reloadWatched();

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
    void listStatusChanged(const QString &text);
    // The accounts belong to whoever holds the pages; that one emits userChangedFromCloudDisk()
    // when it has done what is wanted.
    void newUserWanted();
    void logoutWanted();

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
    void setUpForm();
    void setUpTable();
    void setUpBrowser();
    void setUpPath();
    void setUpActions(FileBatches *batches, FileNames *names, LinkCopy *links);
    void setUpDiskSpace();
    void setUpShortcuts();
    void restoreListState();
    void saveListState();
    void applyFilter();
    void showState();
    void showStatus();

    void openRow(int row);
    void openVideo(const FileItem &file);
    void goTo(int index);
    void refreshRest();
    void onFolderCreated(const QString &fileId);
    void onFileDone(const FileBatch &batch, const BatchFile &file);
    void onBatchFinished(const FileBatch &batch);
    void onDiskSpace();

    const std::unique_ptr<Ui::CloudFileDialog> m_ui;
    const UserInfo m_user;
    FileBrowser *m_browser = nullptr;
    FileActions *m_actions = nullptr;
    WatchMarks *m_watchMarks = nullptr;
    QualityMenu *m_qualityMenu = nullptr;
    WaitingSpinnerWidget *m_spinner = nullptr;
    DiskSpace *m_diskSpace = nullptr;
    QString m_listStatus;
};
