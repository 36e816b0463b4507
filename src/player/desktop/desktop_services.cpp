#include "player/desktop/desktop_services.h"

#include "app/environment/app_settings.h"
#include "player/desktop/media_controls.h"
#include "player/desktop/screen_awake.h"
#include "player/desktop/session_bus.h"
#include "player/mpv/mpv_widget.h"
#include "player/session/play_session.h"

DesktopServices::DesktopServices(PlaySession &session, MpvWidget &mpv, QObject *parent)
    : QObject(parent)
    , m_session(session)
    , m_mpv(mpv)
    , m_player(session, mpv)
    , m_controlsAction(this)
{
    m_controlsAction.setObjectName(QStringLiteral("desktopControls"));
    m_controlsAction.setText(QStringLiteral("在桌面上显示播放控制"));
    m_controlsAction.setCheckable(true);
    m_controlsAction.setChecked(AppSettings().desktopControls());
    connect(&m_controlsAction, &QAction::toggled, this, [this](bool isChecked) {
        AppSettings().setDesktopControls(isChecked);
        showControls();
    });
    connect(&m_player, &MediaPlayer::changed, this, &DesktopServices::keepAwake);
    whenOnSessionBus(this, [this](const QDBusConnection &bus) { onBus(bus); });
}

DesktopServices::~DesktopServices() = default;

void DesktopServices::onBus(const QDBusConnection &bus)
{
    m_bus = bus;
    m_awake = std::make_unique<ScreenAwake>(bus);
    keepAwake();
    showControls();
}

// Not for a video that waits for a silent server: it may wait all night.
void DesktopServices::keepAwake()
{
    const PlayStatus status = m_session.status();
    if (m_awake) {
        m_awake->setWanted(status.isUnderWay && status.notice.isEmpty() && !m_mpv.isPaused());
    }
}

void DesktopServices::showControls()
{
    if (!m_bus || !m_controlsAction.isChecked()) {
        m_controls.reset();
    } else if (!m_controls) {
        m_controls = std::make_unique<MediaControls>(*m_bus, m_player);
    }
}
