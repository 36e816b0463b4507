#include "player/window/player_window.h"

#include <stdexcept>

#include <QApplication>
#include <QDebug>
#include <QKeyEvent>
#include <QSplitter>
#include <QVBoxLayout>
#include <QtPlatformHeaders/QWindowsWindowFunctions>

#include "app/environment/app_settings.h"
#include "app/environment/file_name.h"
#include "player/desktop/desktop_services.h"
#include "player/mpv/mpv_widget.h"
#include "player/session/buffering.h"
#include "player/session/chapters.h"
#include "player/session/episode_end.h"
#include "player/session/play_session.h"
#include "player/window/control_bar.h"
#include "player/window/full_screen.h"
#include "player/window/next_card.h"
#include "player/window/player_actions.h"
#include "player/window/screenshots.h"
#include "player/window/subtitle_keys.h"
#include "player/window/video_caption.h"
#include "player/window/video_list_panel.h"
#include "player/window/video_menu.h"
#include "player/window/video_notice.h"
#include "ui/widgets/bring_forward.h"
#include "ui/widgets/shortcuts.h"
#include "ui/widgets/toast.h"
#include "ui/widgets/window_place.h"

namespace {

constexpr QSize FirstSize(1120, 680);
constexpr QSize SmallestSize(640, 360);

} // namespace

MpvPlayerWindow::MpvPlayerWindow()
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("playerWindow"));
    setWindowTitle(QStringLiteral("播放器"));
    layOut();
    setUpMpv();
    m_session = new PlaySession(*m_mpvWidget, this);
    m_fullScreen =
        new FullScreen({this, m_rows, m_splitter, m_mpvWidget, m_controlBar, m_listPanel}, this);
    auto *screenshots = new Screenshots(*m_mpvWidget, this);
    m_buffering = new Buffering(*m_mpvWidget, this);
    m_actions = new PlayerActions(
        {this, m_mpvWidget, m_session, m_fullScreen, m_caption, screenshots}, this);
    connect(screenshots, &Screenshots::told, this,
            [](const QString &text) { Toast::showTip(text); });
    connectControls();
    connectSession();
    connectDesktop();
    connectParts();
    restoreState();
    restoreSound();
    QMetaObject::connectSlotsByName(this);
    watchKeyRepeats();
}

// What follows libmpv goes before the widget that owns it.
MpvPlayerWindow::~MpvPlayerWindow()
{
    delete m_desktop;
    delete m_session;
}

void MpvPlayerWindow::layOut()
{
    m_mpvWidget = new MpvWidget;
    m_mpvWidget->setObjectName(QStringLiteral("mpvWidget"));
    m_mpvWidget->setFocusPolicy(Qt::StrongFocus);
    m_mpvWidget->setMouseTracking(true);
    m_mpvWidget->setAccessibleName(QStringLiteral("视频"));
    m_mpvWidget->installEventFilter(this);
    m_notice = new VideoNotice(m_mpvWidget);
    m_nextCard = new NextCard(m_mpvWidget);
    m_caption = new VideoCaption(m_mpvWidget);
    m_listPanel = new VideoListPanel;
    m_listPanel->setObjectName(QStringLiteral("videoListPanel"));
    m_controlBar = new ControlBar;
    m_controlBar->setObjectName(QStringLiteral("controlBar"));

    m_splitter = new QSplitter(Qt::Horizontal);
    m_splitter->setObjectName(QStringLiteral("videoSplitter"));
    m_splitter->setChildrenCollapsible(false);
    m_splitter->addWidget(m_mpvWidget);
    m_splitter->addWidget(m_listPanel);
    m_splitter->setStretchFactor(0, 1);
    m_splitter->setSizes({840, 280});

    m_rows = new QVBoxLayout(this);
    m_rows->setContentsMargins(0, 0, 0, 0);
    m_rows->setSpacing(0);
    m_rows->addWidget(m_splitter, 1);
    m_rows->addWidget(m_controlBar);
    setMinimumSize(SmallestSize);
    m_mpvWidget->setFocus();
}

void MpvPlayerWindow::setUpMpv()
{
    m_mpvWidget->setProperty(QStringLiteral("sub-auto"), QStringLiteral("fuzzy"));
    m_mpvWidget->setProperty(QStringLiteral("sub-lang"), QStringLiteral("chi"));
    // An address that fails must not be handed to another program.
    m_mpvWidget->setProperty(QStringLiteral("ytdl"), false);
    // libmpv trusts every server unless it is told otherwise; the addresses are secrets.
    m_mpvWidget->setProperty(QStringLiteral("tls-verify"), true);
    // Without a sound device a video plays silent instead of ending with an error.
    m_mpvWidget->setProperty(QStringLiteral("audio-fallback-to-null"), true);
}

void MpvPlayerWindow::connectControls()
{
    connect(m_controlBar, &ControlBar::previousRequested, m_session,
            [this] { m_session->playRelative(-1); });
    connect(m_controlBar, &ControlBar::nextRequested, m_session,
            [this] { m_session->playRelative(1); });
    connect(m_controlBar, &ControlBar::seekRequested, m_mpvWidget, &MpvWidget::seekAbsolute);
    connect(m_controlBar, &ControlBar::volumeRequested, m_actions, &PlayerActions::setVolume);
    connect(m_controlBar, &ControlBar::muteToggled, m_actions,
            [this] { m_actions->run(PlayerKeys::Action::ToggleMute); });
    connect(m_controlBar, &ControlBar::wheelTurned, this, &MpvPlayerWindow::turnWheel);
    connect(m_controlBar, &ControlBar::pinToggled, this, &MpvPlayerWindow::togglePin);
    connect(m_controlBar, &ControlBar::listToggled, this,
            [this] { m_fullScreen->showList(m_listPanel->isHidden()); });
    connect(m_controlBar, &ControlBar::fullScreenToggled, m_fullScreen, &FullScreen::toggle);
    connect(m_controlBar, &ControlBar::qualityChosen, m_session, &PlaySession::chooseQuality);
    connect(m_controlBar, &ControlBar::skipChosen, m_session, &PlaySession::chooseSkip);
    connect(m_controlBar, &ControlBar::audioChosen, m_session, &PlaySession::chooseAudio);
    connect(m_controlBar, &ControlBar::subtitleChosen, m_session, &PlaySession::chooseSubtitle);
    connect(m_notice, &VideoNotice::sourceRequested, m_session, &PlaySession::playSource);
    connect(m_listPanel, &VideoListPanel::videoChosen, m_session, &PlaySession::playChosen);
    connect(m_fullScreen, &FullScreen::toggled, m_controlBar, &ControlBar::setFullScreen);
    connect(m_fullScreen, &FullScreen::listShown, m_controlBar, &ControlBar::setListShown);
}

void MpvPlayerWindow::connectSession()
{
    connect(m_mpvWidget, &MpvWidget::paused, this, &MpvPlayerWindow::showPaused);
    connect(m_mpvWidget, &MpvWidget::volumeChanged, m_controlBar, &ControlBar::setVolume);
    connect(m_session, &PlaySession::changed, this, &MpvPlayerWindow::showStatus);
    connect(m_session, &PlaySession::videosChanged, this, &MpvPlayerWindow::showVideos);
    connect(m_session, &PlaySession::menusChanged, this, &MpvPlayerWindow::showMenus);
    connect(m_session, &PlaySession::durationChanged, m_controlBar, &ControlBar::setDuration);
    connect(m_session, &PlaySession::positionShown, m_controlBar, &ControlBar::setTime);
    connect(m_session, &PlaySession::told, this, [](const QString &text) { Toast::showTip(text); });
    connect(m_session, &PlaySession::historyUpdated, this, &MpvPlayerWindow::historyUpdated);
    connect(m_session, &PlaySession::historyUpdated, m_listPanel, &VideoListPanel::showWatched);
    connect(m_session, &PlaySession::videoQualityChanged, this,
            &MpvPlayerWindow::videoQualityChanged);
}

// What comes from the bus is answered before it is done.
void MpvPlayerWindow::connectDesktop()
{
    m_desktop = new DesktopServices(*m_session, *m_mpvWidget, this);
    addAction(m_desktop->controlsAction());
    const MediaPlayer *player = &m_desktop->player();
    connect(player, &MediaPlayer::volumeRequested, m_actions, &PlayerActions::setVolume,
            Qt::QueuedConnection);
    connect(
        player, &MediaPlayer::raiseRequested, this, [this] { bringForward(*this); },
        Qt::QueuedConnection);
    connect(player, &MediaPlayer::closeRequested, this, &QWidget::close, Qt::QueuedConnection);
    connect(
        player, &MediaPlayer::fullScreenRequested, this,
        [this](bool isFullScreen) {
            if (isFullScreen != m_desktop->player().isFullScreen()) {
                m_fullScreen->toggle();
            }
        },
        Qt::QueuedConnection);
    connect(m_fullScreen, &FullScreen::toggled, &m_desktop->player(), &MediaPlayer::setFullScreen);
}

void MpvPlayerWindow::connectParts()
{
    connect(m_actions, &PlayerActions::mutedChanged, m_controlBar, &ControlBar::setMuted);
    connect(m_buffering, &Buffering::waitingChanged, this, &MpvPlayerWindow::showNotice);
    connect(m_buffering, &Buffering::readChanged, this,
            [this] { m_controlBar->setRead(m_buffering->read()); });
    EpisodeEnd *end = &m_session->episodeEnd();
    connect(end, &EpisodeEnd::nextUpChanged, this, &MpvPlayerWindow::showNextUp);
    connect(m_nextCard, &NextCard::dismissed, end, &EpisodeEnd::dismissNextUp);
    connect(m_nextCard, &NextCard::stayRequested, m_actions,
            [this] { m_actions->setPausesAtEnd(true); });
}

void MpvPlayerWindow::restoreState()
{
    PlayerState state;
    AppSettings().readPlayerState(state);
    if (restoreGeometry(state.geometry)) {
        fitToScreen(*this);
    } else {
        placeFirst();
    }
    m_splitter->restoreState(state.splitterState);
    m_fullScreen->showList(state.showVideoList);
}

// Over the window from which the user opened it.
void MpvPlayerWindow::placeFirst()
{
    resize(FirstSize);
    if (const QWidget *opener = QApplication::activeWindow()) {
        setGeometry(placeOver(*opener, FirstSize));
    }
}

void MpvPlayerWindow::saveState()
{
    PlayerState state;
    state.geometry = m_fullScreen->geometry();
    state.splitterState = m_fullScreen->splitterState();
    state.showVideoList = m_fullScreen->isListShown();
    AppSettings().savePlayerState(state);
}

void MpvPlayerWindow::restoreSound()
{
    const AppSettings settings;
    if (const auto volume = settings.playerVolume()) {
        m_mpvWidget->setVolume(*volume);
    }
    const bool muted = settings.playerMuted();
    m_mpvWidget->setMute(muted);
    m_controlBar->setMuted(muted);
}

void MpvPlayerWindow::saveSound()
{
    const QVariant volume = m_mpvWidget->getProperty(QStringLiteral("volume"));
    if (volume.type() == QVariant::Double) { // else libmpv is gone already
        AppSettings().savePlayerSound(volume.toInt(), m_mpvWidget->isMute());
    }
}

void MpvPlayerWindow::prepareVideo()
{
    // The widget shares its context with its window's, which exists only with a native window.
    winId();
    m_mpvWidget->grabFramebuffer();
    if (!m_mpvWidget->isValid()) {
        throw std::runtime_error("could not create an OpenGL context");
    }
}

void MpvPlayerWindow::open(const PlayRequest &request)
{
    m_session->open(request);
}

void MpvPlayerWindow::reloadSkipTimes()
{
    m_session->reloadSkipTimes();
}

void MpvPlayerWindow::showStatus()
{
    const PlayStatus status = m_session->status();
    setWindowTitle(status.title.isEmpty() ? QStringLiteral("播放器")
                                          : withVisibleOverrides(status.title));
    m_controlBar->setDuration(status.duration);
    m_controlBar->setTime(status.position, status.duration);
    m_controlBar->setSeekable(status.state == PlayState::Playing);
    m_listPanel->setCurrent(status.chosenId);
    m_controlBar->setChapters(chaptersOf(*m_mpvWidget));
    m_buffering->setActive(status.state == PlayState::Playing);
    showNotice();
    showPaused();
    showMenus();
}

void MpvPlayerWindow::showNotice()
{
    const PlayStatus status = m_session->status();
    m_notice->offerSource(status.offersSource);
    if (!status.notice.isEmpty()) {
        m_notice->say(withVisibleOverrides(status.notice));
    } else if (status.state == PlayState::Opening || status.state == PlayState::Loading) {
        m_notice->wait();
    } else if (const auto percent = m_buffering->waiting()) {
        m_notice->buffer(*percent);
    } else {
        m_notice->clear();
    }
}

void MpvPlayerWindow::showNextUp()
{
    if (const auto &next = m_session->episodeEnd().nextUp()) {
        m_nextCard->tell(*next);
    } else {
        m_nextCard->leave();
    }
}

void MpvPlayerWindow::showPaused()
{
    const PlayStatus status = m_session->status();
    const bool hasEnded = status.state == PlayState::Ended;
    if (!hasEnded && !status.notice.isEmpty()) {
        m_controlBar->setPress(ControlBar::Press::Retries);
    } else if (hasEnded || m_mpvWidget->isPaused()) {
        m_controlBar->setPress(ControlBar::Press::Plays);
    } else {
        m_controlBar->setPress(ControlBar::Press::Pauses);
    }
}

void MpvPlayerWindow::showVideos()
{
    m_listPanel->setVideos(m_session->user(), m_session->videos());
    m_listPanel->setCurrent(m_session->status().chosenId);
}

void MpvPlayerWindow::showMenus()
{
    const PlayMenus menus = m_session->menus();
    m_controlBar->setQualityMenu(menus.quality);
    m_controlBar->setSkipMenu(menus.skip);
    m_controlBar->setAudioMenu(menus.audio);
    m_controlBar->setSubtitleMenu(withSubtitleKeys(menus.subtitle));
}

void MpvPlayerWindow::on_playPause_clicked()
{
    m_session->togglePause();
}

void MpvPlayerWindow::togglePin()
{
    m_pinned = !m_pinned;
    m_controlBar->setPinned(m_pinned);
    setWindowFlag(Qt::WindowStaysOnTopHint, m_pinned);
    show();
}

void MpvPlayerWindow::turnWheel(int delta)
{
    m_actions->run(delta >= 1 ? PlayerKeys::Action::VolumeUp : PlayerKeys::Action::VolumeDown);
}

void MpvPlayerWindow::pressKey(const QKeyEvent &event)
{
    qDebug() << "key press";
    if (PlayerKeys::actsOnce(event.key()) && (event.isAutoRepeat() || isKeyRepeated())) {
        return;
    }
    m_actions->run(m_keys.press(event.key(), event.modifiers()));
    if (m_keys.increment() != 0) {
        qDebug() << "incresment:" << m_keys.increment();
        m_mpvWidget->seekRelative(m_keys.increment());
    }
}

bool MpvPlayerWindow::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Wheel:
        turnWheel(static_cast<QWheelEvent *>(event)->angleDelta().y());
        break;
    case QEvent::MouseButtonDblClick:
        m_fullScreen->toggle();
        return true;
    case QEvent::MouseMove:
        m_fullScreen->movePointer(static_cast<QMouseEvent *>(event)->localPos().toPoint());
        break;
    case QEvent::KeyPress:
        pressKey(*static_cast<QKeyEvent *>(event));
        break;
    case QEvent::Show:
        QWindowsWindowFunctions::setHasBorderInFullScreen(windowHandle(), true);
        break;
    default:
        break;
    }
    return BaseWindow::eventFilter(watched, event);
}

void MpvPlayerWindow::keyPressEvent(QKeyEvent *event)
{
    qDebug() << "slkakjfdlasjdf";
    if (event->key() == Qt::Key_Escape) {
        m_mpvWidget->setFocus(); // from a control back to the keys of the video
    }
    if (!PlayerKeys::isSwallowed(event->key())) {
        BaseWindow::keyPressEvent(event);
    }
}

void MpvPlayerWindow::contextMenuEvent(QContextMenuEvent *event)
{
    const QPoint middle = m_mpvWidget->mapToGlobal(m_mpvWidget->rect().center());
    if (event->reason() == QContextMenuEvent::Keyboard) {
        showVideoMenu(this, *m_controlBar, *m_actions, middle);
    } else if (m_mpvWidget->underMouse()) {
        showVideoMenu(this, *m_controlBar, *m_actions, event->globalPos());
    }
}

void MpvPlayerWindow::closeEvent(QCloseEvent *event)
{
    m_session->savePosition();
    saveState();
    saveSound();
    BaseWindow::closeEvent(event);
}
