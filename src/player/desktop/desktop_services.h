#pragma once

#include <memory>
#include <optional>

#include <QAction>
#include <QDBusConnection>
#include <QObject>

#include "player/desktop/media_player.h"

class MediaControls;
class MpvWidget;
class PlaySession;
class ScreenAwake;

// What an open player has to do with the desktop, over the user's session bus: the screen stays on
// while a video plays, and the desktop's controls reach the player where the user wants that. Where
// there is no bus, or one that does not answer, nothing happens.
class DesktopServices final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(DesktopServices)

public:
    // Both must outlive this.
    DesktopServices(PlaySession &session, MpvWidget &mpv, QObject *parent = nullptr);
    ~DesktopServices() override;

    // What the desktop is told and asks for.
    [[nodiscard]] MediaPlayer &player() { return m_player; }
    // The entry by which the user shows the player on the desktop, and hides it there.
    [[nodiscard]] QAction *controlsAction() { return &m_controlsAction; }

private:
    void onBus(const QDBusConnection &bus);
    void keepAwake();
    void showControls();

    PlaySession &m_session;
    MpvWidget &m_mpv;
    MediaPlayer m_player;
    QAction m_controlsAction;
    std::optional<QDBusConnection> m_bus;
    std::unique_ptr<ScreenAwake> m_awake;
    std::unique_ptr<MediaControls> m_controls;
};
