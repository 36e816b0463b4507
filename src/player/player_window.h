#pragma once

#include <memory>

#include "api/records/file_records.h"
#include "db/tables/user_info.h"
#include "player/folder_memory.h"
#include "player/player_keys.h"
#include "ui/widgets/base_window.h"

class ControlBar;
class FullScreen;
class MpvWidget;
class PlayAddress;
class PlayHistory;
class Playback;
class QSplitter;
class QVBoxLayout;
class TrackChoices;
class VideoListPanel;
class VideoNotice;
struct PlayRequest;

// The player: the video, the controls below it and the list of the folder's videos at its right.
// Destroys itself when it is closed; the position is saved before.
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
    void closeEvent(QCloseEvent *event) override;

private:
    void layOut();
    void setUpMpv();
    void connectControls();
    void connectPlayback();
    void restoreState();
    void saveState();

    void openVideo(const FileItem &file, const PlayHistory &history, bool resumePending);
    // Opens a video with what is stored of it.
    void openFile(const FileItem &file, bool resumePending);
    void playRelative(int step);
    void playChosen(const QString &fileId);
    [[nodiscard]] int currentIndex() const;

    void requestAddress(const QString &wantedQuality);
    void onAddressReady();
    void onAddressUnavailable();
    void startPlaying();
    void loadFolderFiles();
    void chooseQuality(const QVariant &choice);
    void chooseSkip(const QVariant &choice);
    void applySkipTimes();

    void onBegun(int duration);
    void onFailed(const QString &text);
    void rebuildQualityMenu();
    void rebuildSkipMenu();
    void rebuildTrackMenus();

    void pressKey(const QKeyEvent &event);
    void stepVolume(bool up);
    void togglePin();

    MpvWidget *m_mpvWidget = nullptr;
    VideoNotice *m_notice = nullptr;
    QVBoxLayout *m_rows = nullptr;
    QSplitter *m_splitter = nullptr;
    VideoListPanel *m_listPanel = nullptr;
    ControlBar *m_controlBar = nullptr;
    FullScreen *m_fullScreen = nullptr;
    PlayAddress *m_address = nullptr;
    Playback *m_playback = nullptr;
    TrackChoices *m_tracks = nullptr;

    PlayerKeys m_keys;
    FolderMemory m_folder;
    UserInfo m_user;
    QList<FileItem> m_videoList;
    FileItem m_currentFile;
    bool m_pinned = false;
};
