#pragma once

#include <memory>

#include <QImage>
#include <QMap>
#include <QStringList>

#include "api/records/file_records.h"
#include "db/tables/play_history.h"
#include "player/clips.h"
#include "player/session/play_request.h"
#include "player/window/player_host.h"
#include "session/drive_fixture.h"

class MpvPlayerWindow;
class MpvWidget;
class QAction;

// A local drive with clips, a logged-in user and a player host.
class PlayerFixture final
{
    Q_DISABLE_COPY_MOVE(PlayerFixture)

public:
    explicit PlayerFixture(bool withThumbnails = false); // see DriveFixture
    ~PlayerFixture();

    localdrive::Server &server() { return m_drive.server(); }
    PlayerHost &host() { return *m_host; }

    // Puts a clip on the drive, below the root ("folder/name.mkv"). Clips of the same make are made
    // once for the whole program.
    void addClip(const QString &path, const clips::Clip &clip = {});
    void addFile(const QString &path, const QByteArray &content);

    // What the drive answers when play information is asked for, from now on: JSON text.
    void setPlayInfo(const QByteArray &reply);

    // As a list would ask: all videos of the folder, and the stored history or a new one.
    PlayRequest request(const QString &path);
    void open(const QString &path);

    FileItem item(const QString &path);
    PlayHistory storedHistory(const QString &path);
    // Stores a row as if the video had been watched up to there.
    void storePosition(const QString &path, int position, int duration);

    // Of the open player; null when it is closed.
    MpvPlayerWindow *window() const;
    MpvWidget *mpv() const;
    QWidget *part(const QString &objectName) const;
    QString timeText() const;
    QStringList menuTexts(const QString &button) const;
    QString checkedText(const QString &button) const;
    // Chooses the entry with this text, of the button's menu or of its part that is called so;
    // false where there is none.
    bool choose(const QString &button, const QString &text, const QString &part = {});

    // Waits until the window has played to this second.
    [[nodiscard]] bool waitFor(int second) const;
    // Presses a button of the open player.
    void press(const char *button) const;
    // Presses it and waits for the title.
    [[nodiscard]] bool step(const char *button, const QString &title) const;
    void close() const;
    // Whether the control can be used.
    bool isOn(const char *control) const;

    // The second that the picture in the window shows; -1 without a picture.
    int secondShown() const;
    // Whether the window plays: its position label has gone beyond `second`.
    bool hasReached(int second) const;
    // The second that the position label shows.
    int secondLabelled() const;

private:
    QList<QAction *> entries(const QString &button, const QString &part = {}) const;

    DriveFixture m_drive;
    UserInfo m_user;
    std::unique_ptr<PlayerHost> m_host;
    QStringList m_videos;
};
