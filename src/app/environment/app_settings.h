#pragma once

#include <memory>
#include <optional>

#include <QByteArray>
#include <QString>

#include "app/environment/file_list_state.h"
#include "app/environment/player_state.h"

class QSettings;

// Typed access to the settings file "mrsettings.ini" in the data directory. Create one wherever
// settings are needed: all objects of the process share the file's contents at once, other
// processes see them after Qt's next write-back (at the latest when the last object goes).
//
// Reading never fails: a value that is absent, damaged or out of its range gives the default.
class AppSettings final
{
    Q_DISABLE_COPY_MOVE(AppSettings)

public:
    AppSettings();
    ~AppSettings();

    // The user whose token this process works with; empty when nobody has logged in. It starts
    // with the user whom a process named last; then each process has its own.
    QString curUserId() const;
    void setCurUserId(const QString &userId);

    // True when deleting sends files to the recycle bin (the default).
    bool delToRecycle() const;
    void setDelToRecycle(bool toRecycle);

    // The main window's geometry and state; an argument keeps its value when nothing is stored.
    void readWindowState(QByteArray &geometry, QByteArray &state) const;
    void saveWindowState(const QByteArray &geometry, const QByteArray &state);

    // Fills only what the stored state holds, so that the record's values are the defaults.
    void readFileListState(FileListState &fileListState) const;
    void saveFileListState(const FileListState &fileListState);

    // The listing's sort field ("name", "updated_at", "created_at", "size"; default "updated_at")
    // and direction ("ASC", "DESC"; default "DESC").
    QString fileListOrderBy() const;
    void setFileListOrderBy(const QString &field);
    QString fileOrderDirection() const;
    void setFileOrderDirection(const QString &direction);

    // The wanted template: "OrgHD", "QHD", "FHD" (the default), "HD", "SD" or "LD".
    QString videoQuality() const;
    void setVideoQuality(const QString &templateId);

    // Of all videos: per cent of their own size, and of the picture's height from the top.
    int subtitleSize() const;
    void setSubtitleSize(int percent);
    int subtitlePlace() const;
    void setSubtitlePlace(int percent);

    // The record's byte arrays are the defaults; whether the list is shown defaults to false.
    void readPlayerState(PlayerState &playerState) const;
    void savePlayerState(const PlayerState &playerState);

    // Whether the desktop shows and controls what plays (the default): others who see the screen
    // read the video's name there.
    bool desktopControls() const;
    void setDesktopControls(bool shown);

    // The player's volume in percent, 0 to 110, and whether its sound is off, as they were when it
    // was closed last. Without a volume it is libmpv's own.
    std::optional<int> playerVolume() const;
    bool playerMuted() const;
    void savePlayerSound(int volume, bool muted);

private:
    const std::unique_ptr<QSettings> m_settings;
};
