#pragma once

#include <memory>

#include <QLabel>
#include <QMainWindow>
#include <QPoint>
#include <QStandardItemModel>

#include "ui/files/file_batches.h"

class BatchStatus;
class FileDialog;
class HelpDialog;
class HistoryDialog;
class PlayerHost;
class SpaceBar;

namespace Ui {
class MainWindow;
}

// The window after login: navigation on the left; the file manager, the watch history and the
// help page on the right. Owns the player, which any page asks for a video.
class MainWindow final : public QMainWindow
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MainWindow)

public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    // Saves and closes what plays; to be called before the database is closed.
    void closePlayers();

public slots:
    void setStatusbarInfo(const QString &text);

protected:
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    // Ends the program, also while a player is open. While files are still being worked on the user
    // is asked before.
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void on_navListView_clicked(const QModelIndex &index);

private:
    void keepOpenGlAway();
    void fillNavigation();
    void buildPages();
    void fillStatusBar();
    void connectPlayer();
    void showTitle(const QString &nickname);
    void onUserSwitched(const QString &nickname, const QString &spaceInfo);
    void onNavigated(const QModelIndex &current);
    void onPageTurned(int index);
    void onBatchFinished();
    void showListStatus();
    // Files that are being moved, deleted or named.
    [[nodiscard]] int remaining() const;
    // False: the user goes on with what is under way.
    bool mayStopBatches();
    [[nodiscard]] bool hasFailures() const;

    QLabel m_statusLabel;
    SpaceBar *m_spaceBar = nullptr;
    QLabel m_listStatus;
    FileBatches m_batches;
    QStandardItemModel m_navigation;
    const std::unique_ptr<Ui::MainWindow> m_ui;
    bool m_closesAfterBatches = false;
    bool m_nameHasFailed = false; // since the user was asked whether to wait
    bool m_dragging = false;
    QPoint m_dragOffset; // the mouse's global position less the window's, at the press
    FileDialog *m_filePage = nullptr;
    HistoryDialog *m_historyPage = nullptr;
    HelpDialog *m_helpPage = nullptr;
    BatchStatus *m_batchStatus = nullptr;
    PlayerHost *m_player = nullptr;
};
