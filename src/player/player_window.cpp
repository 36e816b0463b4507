#include "player/player_window.h"

#include <stdexcept>

#include <QApplication>
#include <QDebug>
#include <QKeyEvent>
#include <QSplitter>
#include <QVBoxLayout>
#include <QtPlatformHeaders/QWindowsWindowFunctions>

#include "api/session/open_api_client.h"
#include "app/environment/app_settings.h"
#include "app/environment/formatting.h"
#include "db/tables/operations.h"
#include "net/guarded.h"
#include "player/control_bar.h"
#include "player/full_screen.h"
#include "player/mpv_widget.h"
#include "player/play_address.h"
#include "player/play_request.h"
#include "player/playback.h"
#include "player/track_choices.h"
#include "player/video_list_panel.h"
#include "player/video_notice.h"
#include "player/volume_level.h"
#include "ui/widgets/toast.h"

namespace {

constexpr QSize firstSize(1120, 680);
constexpr QSize smallestSize(640, 360);

enum SkipAction { SetIntroEnd, SetOutroStart, ClearOutro };

} // namespace

MpvPlayerWindow::MpvPlayerWindow()
{
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("playerWindow"));
    setWindowTitle(QStringLiteral("播放器"));
    layOut();
    setUpMpv();
    m_address = new PlayAddress(this);
    m_playback = new Playback(*m_mpvWidget, this);
    m_tracks = new TrackChoices(*m_mpvWidget, *m_playback, m_folder, this);
    m_fullScreen =
        new FullScreen({this, m_rows, m_splitter, m_mpvWidget, m_controlBar, m_listPanel}, this);
    connectControls();
    connectPlayback();
    restoreState();
    QMetaObject::connectSlotsByName(this);
}

// What follows libmpv goes before the widget that owns it.
MpvPlayerWindow::~MpvPlayerWindow()
{
    delete m_tracks;
    delete m_playback;
}

void MpvPlayerWindow::layOut()
{
    m_mpvWidget = new MpvWidget;
    m_mpvWidget->setObjectName(QStringLiteral("mpvWidget"));
    m_mpvWidget->setFocusPolicy(Qt::StrongFocus);
    m_mpvWidget->setMouseTracking(true);
    m_mpvWidget->installEventFilter(this);
    m_notice = new VideoNotice(m_mpvWidget);
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
    setMinimumSize(smallestSize);
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
    connect(m_controlBar, &ControlBar::previousRequested, this, [this] { playRelative(-1); });
    connect(m_controlBar, &ControlBar::nextRequested, this, [this] { playRelative(1); });
    connect(m_controlBar, &ControlBar::seekRequested, m_mpvWidget, &MpvWidget::seekAbsolute);
    connect(m_controlBar, &ControlBar::volumeRequested, m_mpvWidget, &MpvWidget::setVolume);
    connect(m_controlBar, &ControlBar::pinToggled, this, &MpvPlayerWindow::togglePin);
    connect(m_controlBar, &ControlBar::listToggled, this,
            [this] { m_fullScreen->showList(m_listPanel->isHidden()); });
    connect(m_controlBar, &ControlBar::fullScreenToggled, m_fullScreen, &FullScreen::toggle);
    connect(m_controlBar, &ControlBar::qualityChosen, this, &MpvPlayerWindow::chooseQuality);
    connect(m_controlBar, &ControlBar::skipChosen, this, &MpvPlayerWindow::chooseSkip);
    connect(m_controlBar, &ControlBar::audioChosen, m_tracks, &TrackChoices::chooseAudio);
    connect(m_controlBar, &ControlBar::subtitleChosen, m_tracks, &TrackChoices::chooseSubtitle);
    connect(m_listPanel, &VideoListPanel::videoChosen, this, &MpvPlayerWindow::playChosen);
    connect(m_fullScreen, &FullScreen::toggled, m_controlBar, &ControlBar::setFullScreen);
    connect(m_fullScreen, &FullScreen::listShown, m_controlBar, &ControlBar::setListShown);
}

void MpvPlayerWindow::connectPlayback()
{
    connect(m_mpvWidget, &MpvWidget::paused, m_controlBar, &ControlBar::setPaused);
    connect(m_mpvWidget, &MpvWidget::fileLoaded, m_notice, &VideoNotice::clear);
    connect(m_mpvWidget, &MpvWidget::volumeChanged, m_controlBar, &ControlBar::setVolume);
    connect(m_address, &PlayAddress::ready, this, &MpvPlayerWindow::onAddressReady);
    connect(m_address, &PlayAddress::unavailable, this, &MpvPlayerWindow::onAddressUnavailable);
    connect(m_playback, &Playback::begun, this, &MpvPlayerWindow::onBegun);
    connect(m_playback, &Playback::durationRefined, m_controlBar, &ControlBar::setDuration);
    connect(m_playback, &Playback::positionShown, m_controlBar, &ControlBar::setTime);
    connect(m_playback, &Playback::finished, this, [this] { playRelative(1); });
    connect(m_playback, &Playback::addressExpired, this,
            [this] { requestAddress(m_address->currentId()); });
    connect(m_playback, &Playback::failed, this, &MpvPlayerWindow::onFailed);
    connect(m_playback, &Playback::historyUpdated, this, &MpvPlayerWindow::historyUpdated);
    connect(m_tracks, &TrackChoices::changed, this, &MpvPlayerWindow::rebuildTrackMenus);
}

void MpvPlayerWindow::restoreState()
{
    PlayerState state;
    AppSettings().readPlayerState(state);
    if (!restoreGeometry(state.geometry))
        resize(firstSize);
    m_splitter->restoreState(state.splitterState);
    m_fullScreen->showList(state.showVideoList);
}

void MpvPlayerWindow::saveState()
{
    PlayerState state;
    state.geometry = m_fullScreen->geometry();
    state.splitterState = m_fullScreen->splitterState();
    state.showVideoList = m_fullScreen->isListShown();
    AppSettings().savePlayerState(state);
}

void MpvPlayerWindow::prepareVideo()
{
    // The widget shares its context with its window's, which exists only with a native window.
    winId();
    m_mpvWidget->grabFramebuffer();
    if (!m_mpvWidget->isValid())
        throw std::runtime_error("could not create an OpenGL context");
}

void MpvPlayerWindow::open(const PlayRequest &request)
{
    m_playback->saveHistory();
    m_user = request.user;
    m_folder.open(request.file.parent_file_id, m_user.userId.value());
    m_videoList = request.videos;
    m_listPanel->setVideos(m_videoList);
    m_mpvWidget->play();
    openVideo(request.file, request.history, true);
}

void MpvPlayerWindow::openVideo(const FileItem &file, const PlayHistory &history,
                                bool resumePending)
{
    m_currentFile = file;
    if (m_folder.folderId() != file.parent_file_id)
        m_folder.open(file.parent_file_id, m_user.userId.value());
    PlayedVideo video;
    video.file = file;
    video.history = history;
    video.history.userId = m_user.userId.value();
    video.skip = m_folder.skipTimes();
    video.resumePending = resumePending;
    m_playback->open(video);
    m_tracks->beginVideo(m_user);
    m_controlBar->resetTime();
    m_listPanel->setCurrent(file.file_id);
    rebuildSkipMenu();
    requestAddress(AppSettings().videoQuality());
}

int MpvPlayerWindow::currentIndex() const
{
    for (int i = 0; i < m_videoList.size(); ++i) {
        if (m_videoList.at(i).file_id == m_currentFile.file_id)
            return i;
    }
    return -1;
}

void MpvPlayerWindow::playRelative(int step)
{
    const int current = currentIndex();
    if (current < 0)
        return;
    m_playback->saveHistory();
    const int index = current + step;
    if (index >= m_videoList.size()) {
        openFile(m_videoList.first(), false);
    } else {
        openFile(index < 0 ? m_videoList.last() : m_videoList.at(index), false);
    }
}

void MpvPlayerWindow::playChosen(const QString &fileId)
{
    const int current = currentIndex();
    const bool lives = m_playback->current() && !m_playback->isOver();
    for (int i = 0; i < m_videoList.size(); ++i) {
        if (m_videoList.at(i).file_id == fileId && (i != current || !lives)) {
            m_playback->saveHistory();
            openFile(m_videoList.at(i), i == current); // one that failed goes on where it was
            return;
        }
    }
}

void MpvPlayerWindow::openFile(const FileItem &file, bool resumePending)
{
    PlayHistory history;
    if (!loadPlayHistory(file.file_id, history)) {
        history.fileId = file.file_id;
        history.parentFileId = file.parent_file_id;
        history.name = file.name;
    }
    openVideo(file, history, resumePending);
}

void MpvPlayerWindow::requestAddress(const QString &wantedQuality)
{
    m_notice->wait();
    m_address->request(m_user, m_currentFile, wantedQuality);
}

void MpvPlayerWindow::onAddressReady()
{
    rebuildQualityMenu();
    if (m_address->currentUrl().isEmpty()) {
        onAddressUnavailable();
        return;
    }
    startPlaying();
    loadFolderFiles();
}

void MpvPlayerWindow::onAddressUnavailable()
{
    const PlayedVideo *video = m_playback->current();
    if (video && video->reloaded)
        onFailed(QStringLiteral("视频播放中断，请稍后再试"));
    m_playback->giveUp();
    if (m_playback->playing() && !m_playback->isOver())
        onBegun(m_playback->playing()->duration);
    else if (m_notice->text().isEmpty())
        m_notice->say(QStringLiteral("视频无法播放，请稍后再试"));
}

void MpvPlayerWindow::startPlaying()
{
    setWindowTitle(m_currentFile.name);
    qDebug() << "已经获取到播放链接";
    m_tracks->beginLoad();
    m_playback->load(m_address->currentUrl());
}

void MpvPlayerWindow::loadFolderFiles()
{
    const auto success = [this, fileId = m_currentFile.file_id](const FileItems &reply) {
        if (fileId == m_currentFile.file_id)
            m_tracks->setFolderFiles(reply.items);
    };
    // The subtitle file that the video's row names can be had without its folder's list.
    const auto fail = [success](const QString &error, int code) {
        qDebug().nospace().noquote() << "getFileList fail : " << code << " =>" << error;
        success(FileItems());
    };
    OpenApiClient(m_user).listAllByName(m_currentFile.parent_file_id, guarded(this, success),
                                        guarded(this, fail));

    if (!m_folder.folderName().isEmpty())
        return;
    const auto named = [this, folderId = m_folder.folderId()](const FileItem &folder) {
        if (folderId == m_folder.folderId())
            m_folder.setFolderName(folder.name);
    };
    OpenApiClient(m_user).fileDetails(m_folder.folderId(), guarded(this, named), {});
}

void MpvPlayerWindow::chooseQuality(const QVariant &choice)
{
    AppSettings().setVideoQuality(choice.toString());
    emit videoQualityChanged();
    if (!m_address->choose(choice.toString()))
        return;
    rebuildQualityMenu();
    if (m_playback->isOpening() || m_playback->reopen())
        startPlaying();
    else
        openFile(m_currentFile, true); // it did not play before; this quality may
}

void MpvPlayerWindow::chooseSkip(const QVariant &choice)
{
    const PlayedVideo *video = m_playback->playing();
    const int position = m_mpvWidget->position();
    bool accepted = true;
    switch (static_cast<SkipAction>(choice.toInt())) {
    case SetIntroEnd:
        accepted = video && m_folder.setIntroEnd(position, video->duration);
        break;
    case SetOutroStart:
        accepted = video && m_folder.setOutroStart(position, video->duration);
        break;
    case ClearOutro:
        m_folder.clearOutro();
        break;
    }
    applySkipTimes();
    if (accepted) {
        rebuildSkipMenu();
    } else if (video) {
        Toast::showTip(QStringLiteral("片头片尾设置间隔太小,请重新设置"));
    }
}

void MpvPlayerWindow::applySkipTimes()
{
    if (PlayedVideo *video = m_playback->current())
        video->skip = m_folder.skipTimes();
}

void MpvPlayerWindow::onBegun(int duration)
{
    m_notice->clear();
    m_controlBar->setDuration(duration);
    m_controlBar->setSeekable(true);
    rebuildSkipMenu();
}

void MpvPlayerWindow::onFailed(const QString &text)
{
    m_notice->say(text);
    Toast::showTip(text);
}

void MpvPlayerWindow::rebuildQualityMenu()
{
    QList<MenuEntry> entries;
    for (const QualityEntry &entry : m_address->entries()) {
        MenuEntry line{entry.text(), entry.id, entry.id == m_address->currentId()};
        line.enabled = !entry.url.isEmpty();
        entries.append(line);
    }
    m_controlBar->setQualityMenu(entries);
}

void MpvPlayerWindow::rebuildSkipMenu()
{
    const PlayedVideo *video = m_playback->playing();
    const SkipTimes skip = m_folder.skipTimes();
    const int outroStart = video ? qMax(0, video->duration - skip.tail) : 0;
    const QString notSet = QStringLiteral("未设置");
    MenuEntry intro{QStringLiteral("片头 ") + (skip.head > 0 ? formatClock(skip.head) : notSet),
                    SetIntroEnd};
    intro.icon = QStringLiteral(":/playerIcon/prev.png");
    intro.enabled = video != nullptr;
    MenuEntry outro{QStringLiteral("片尾 ") + (skip.tail > 0 ? formatClock(outroStart) : notSet),
                    SetOutroStart};
    outro.icon = QStringLiteral(":/playerIcon/next.png");
    outro.enabled = video != nullptr;
    MenuEntry clear{QStringLiteral("清除片尾设置"), ClearOutro};
    clear.icon = QStringLiteral(":/playerIcon/erase.png");
    m_controlBar->setSkipMenu({intro, outro, clear});
}

void MpvPlayerWindow::rebuildTrackMenus()
{
    m_controlBar->setSubtitleMenu(m_tracks->subtitleMenu());
    m_controlBar->setAudioMenu(m_tracks->audioMenu());
    rebuildSkipMenu();
}

void MpvPlayerWindow::on_playPause_clicked()
{
    if (m_mpvWidget->isPaused()) {
        m_mpvWidget->play();
    } else {
        m_mpvWidget->pause();
    }
}

void MpvPlayerWindow::togglePin()
{
    m_pinned = !m_pinned;
    m_controlBar->setPinned(m_pinned);
    setWindowFlag(Qt::WindowStaysOnTopHint, m_pinned);
    show();
}

void MpvPlayerWindow::stepVolume(bool up)
{
    m_mpvWidget->setVolume(volumeAfterStep(m_mpvWidget->volume(), up));
}

void MpvPlayerWindow::pressKey(const QKeyEvent &event)
{
    qDebug() << "key press";
    switch (m_keys.press(event.key(), event.modifiers())) {
    case PlayerKeys::Action::None:
        break;
    case PlayerKeys::Action::VolumeUp:
        stepVolume(true);
        break;
    case PlayerKeys::Action::VolumeDown:
        stepVolume(false);
        break;
    case PlayerKeys::Action::TogglePause:
        on_playPause_clicked();
        break;
    case PlayerKeys::Action::LeaveFullScreen:
        m_fullScreen->leave();
        break;
    }
    if (m_keys.increment() != 0) {
        qDebug() << "incresment:" << m_keys.increment();
        m_mpvWidget->seekRelative(m_keys.increment());
    }
}

bool MpvPlayerWindow::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::Wheel:
        stepVolume(static_cast<QWheelEvent *>(event)->angleDelta().y() >= 1);
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
    if (!PlayerKeys::isSwallowed(event->key()))
        BaseWindow::keyPressEvent(event);
}

void MpvPlayerWindow::closeEvent(QCloseEvent *event)
{
    m_playback->saveHistory();
    saveState();
    BaseWindow::closeEvent(event);
}
