#pragma once

#include <memory>

#include <QLabel>
#include <QMainWindow>
#include <QPoint>
#include <QStandardItemModel>

class FileDialog;
class HelpDialog;
class HistoryDialog;
class PlayerHost;

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
    // Ends the program, also while a player is open.
    void closeEvent(QCloseEvent *event) override;

private slots:
    void on_navListView_clicked(const QModelIndex &index);

private:
    void keepOpenGlAway();
    void fillNavigation();
    void buildPages();
    void connectPlayer();
    void showUser(const QString &nickname, const QString &spaceInfo);
    void showTitle(const QString &nickname);

    QLabel m_statusLabel;
    QStandardItemModel m_navigation;
    const std::unique_ptr<Ui::MainWindow> m_ui;
    bool m_dragging = false;
    QPoint m_dragOffset; // the mouse's global position less the window's, at the press
    FileDialog *m_filePage = nullptr;
    HistoryDialog *m_historyPage = nullptr;
    HelpDialog *m_helpPage = nullptr;
    PlayerHost *m_player = nullptr;
};
