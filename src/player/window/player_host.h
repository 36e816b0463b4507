#pragma once

#include <QObject>
#include <QPointer>

class MpvPlayerWindow;
class PlayHistory;
class QMessageBox;
struct PlayRequest;

// Opens videos in the one player window of the program. The window is made for the first video,
// reused while it is open, and destroys itself when the user closes it.
// Interface thread only; nothing of libmpv is loaded before the first video.
class PlayerHost final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PlayerHost)

public:
    explicit PlayerHost(QObject *parent = nullptr);
    // Closes what is still open, see closeAll().
    ~PlayerHost() override;

    // Plays the request's video, raising the window. The video that plays is saved first.
    // A player that cannot be created ends in a message to the user and no window.
    void open(const PlayRequest &request);

    // The stored skip times were changed elsewhere: an open player follows.
    void reloadSkipTimes();

    // Saves the history and destroys the window before it returns. To be called before the
    // database is closed; the host can be used again afterwards.
    void closeAll();

signals:
    // A row of the watch history was written.
    void historyUpdated(PlayHistory &playHistory);
    // The user chose another quality in the player; the setting is already written.
    void videoQualityChanged();

private:
    MpvPlayerWindow *window();
    void tellFailure(const QString &reason);

    QPointer<MpvPlayerWindow> m_window;
    QPointer<QMessageBox> m_failure; // what the user reads when there can be none
};
