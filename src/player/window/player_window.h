#pragma once

#include "player/window/player_keys.h"
#include "ui/widgets/base_window.h"

class Buffering;
class ControlBar;
class DesktopServices;
class FullScreen;
class MpvWidget;
class NextCard;
class PlayHistory;
class PlaySession;
class PlayerActions;
class QSplitter;
class QVBoxLayout;
class VideoCaption;
class VideoListPanel;
class VideoNotice;
struct PlayRequest;

// The player: the video, the controls below it and the list of the folder's videos at its right.
// Shows what the session says of what plays, and hands on what the user wants. Destroys itself
// when it is closed; the position is saved before.
class MpvPlayerWindow final : public BaseWindow
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MpvPlayerWindow)

public:
    // Throws std::runtime_error where libmpv cannot be used, see MpvWidget.
    MpvPlayerWindow();
    ~MpvPlayerWindow() override;

    // Plays the request's video in place of what plays; that one's position is saved first.
    void open(const PlayRequest &request);
    // The stored skip times were changed elsewhere.
    void reloadSkipTimes();

    // Sets up the drawing of videos ahead of show(), where an exception could cross Qt's frames.
    // Throws std::runtime_error where there is no OpenGL, or none that libmpv can use.
    void prepareVideo();

signals:
    // The user chose another quality; the setting is written.
    void videoQualityChanged();
    // A row of the watch history was written.
    void historyUpdated(PlayHistory &playHistory);

public slots:
    void on_playPause_clicked();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    void layOut();
    void setUpMpv();
    void connectControls();
    void connectSession();
    void connectDesktop();
    void connectParts();
    void restoreState();
    void placeFirst();
    void saveState();
    void restoreSound();
    void saveSound();

    void showStatus();
    void showPaused();
    void showVideos();
    void showMenus();
    void showNotice();
    void showNextUp();

    void pressKey(const QKeyEvent &event);
    void turnWheel(int delta);
    void togglePin();

    MpvWidget *m_mpvWidget = nullptr;
    VideoNotice *m_notice = nullptr;
    VideoCaption *m_caption = nullptr;
    NextCard *m_nextCard = nullptr;
    QVBoxLayout *m_rows = nullptr;
    QSplitter *m_splitter = nullptr;
    VideoListPanel *m_listPanel = nullptr;
    ControlBar *m_controlBar = nullptr;
    FullScreen *m_fullScreen = nullptr;
    PlaySession *m_session = nullptr;
    DesktopServices *m_desktop = nullptr;
    Buffering *m_buffering = nullptr;
    PlayerActions *m_actions = nullptr;

    PlayerKeys m_keys;
    bool m_pinned = false;
};
