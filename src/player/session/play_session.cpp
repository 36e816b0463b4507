#include "player/session/play_session.h"

#include <utility>

#include "app/environment/app_settings.h"
#include "app/environment/video_quality.h"
#include "player/mpv/mpv_widget.h"
#include "player/session/play_request.h"
#include "player/session/speed.h"
#include "player/session/subtitle_command.h"

namespace {

// So many seconds before its turn the next video's addresses are asked for.
constexpr int FetchedAhead = 60;
constexpr char SpeedName[] = "speed";
constexpr int LongestDelay = 10000; // milliseconds

// What follows a video when it is over: nothing, if it is the only one of its folder. Null also
// while the folder's list is not there.
const FileItem *successorOf(const OpenedVideo &video)
{
    const FileItem *next = video.neighbours.neighbour(video.file().file_id, 1);
    return next && next->file_id != video.file().file_id ? next : nullptr;
}

} // namespace

PlaySession::PlaySession(MpvWidget &mpv, QObject *parent)
    : QObject(parent), m_mpv(mpv), m_machine(mpv), m_end(mpv, m_machine), m_subtitleLook(mpv)
{
    connect(&m_machine, &PlayMachine::changed, this, &PlaySession::changed);
    connect(&m_machine, &PlayMachine::videosChanged, this, &PlaySession::videosChanged);
    connect(&m_machine, &PlayMachine::neighboursAnswered, this, &PlaySession::onNeighboursAnswered);
    connect(&m_machine, &PlayMachine::menusChanged, this, &PlaySession::menusChanged);
    connect(&m_machine, &PlayMachine::durationChanged, this, &PlaySession::durationChanged);
    connect(&m_machine, &PlayMachine::positionDue, this, &PlaySession::showPosition);
    connect(&m_machine, &PlayMachine::ended, this, [this] {
        if (!m_mpv.isPaused()) {
            advance();
        }
        m_machine.current()->pausesAtEnd = false; // it is over, and nothing has followed
    });
    connect(&m_machine, &PlayMachine::told, this, &PlaySession::told);
    connect(&m_machine, &PlayMachine::noted, this, &PlaySession::noted);
    connect(&m_machine, &PlayMachine::historyUpdated, this, &PlaySession::historyUpdated);
}

// --- what is asked for

void PlaySession::open(const PlayRequest &request)
{
    m_awaitedStep = 0; // whatever comes of this, the user wants this video now
    const QString &id = request.file.file_id;
    const OpenedVideo *chosen = m_machine.chosen();
    if (chosen && chosen->isAlive() && chosen->file().file_id == id) {
        return;
    }
    if (goBackTo(id)) {
        return;
    }
    savePosition();
    const bool isListed = !request.videos.isEmpty();
    const QList<FileItem> listed = isListed ? request.videos : QList<FileItem>{request.file};
    const CarriedTracks carried = chosen ? chosen->tracks.carried() : CarriedTracks();
    auto video = std::make_unique<OpenedVideo>(m_mpv, request.user, request.file, listed,
                                               request.history, carried);
    if (isListed) {
        video->neighbours.request(request.file);
    } else {
        video->neighbours.locate(request.file);
    }
    openVideo(std::move(video));
}

// What plays still goes on where the user comes back to it while another one is being opened.
bool PlaySession::goBackTo(const QString &fileId)
{
    const OpenedVideo *current = m_machine.current();
    const bool isCurrent = current && current->isAlive() && current->file().file_id == fileId;
    if (!isCurrent || !m_machine.candidate()) {
        return false;
    }
    m_awaitedStep = 0;
    m_machine.dropCandidate();
    return true;
}

void PlaySession::playRelative(int step)
{
    go(step, StepOf::User);
}

void PlaySession::go(int step, StepOf whose)
{
    OpenedVideo *from = m_machine.chosen();
    if (!from) {
        return;
    }
    if (const FileItem *file = from->neighbours.neighbour(from->file().file_id, step)) {
        if (whose == StepOf::Turn && !successorOf(*from)) {
            return; // it is over, and does not begin anew of its own
        }
        if (!goBackTo(file->file_id)) {
            auto video = makeVideo(from->user, *file, StartFrom::EndOfIntro, from->neighbours);
            video->isNext = whose == StepOf::Turn;
            openVideo(std::move(video));
        }
        return;
    }
    m_awaitedStep = step;
    m_awaitedBy = whose;
    m_awaitedFrom = from->file().file_id;
    if (!from->neighbours.isAsked()) {
        from->neighbours.request(from->file());
    }
}

void PlaySession::onNeighboursAnswered(const OpenedVideo *video)
{
    const bool isAwaited = m_awaitedStep != 0 && video->file().file_id == m_awaitedFrom;
    if (video != m_machine.chosen() || !isAwaited) {
        return;
    }
    const int step = std::exchange(m_awaitedStep, 0);
    if (video->neighbours.neighbour(video->file().file_id, step)) {
        go(step, m_awaitedBy);
    } else {
        emit told(QStringLiteral("未能获取文件夹中的其他视频"));
    }
}

void PlaySession::playChosen(const QString &fileId)
{
    m_awaitedStep = 0;
    const OpenedVideo *chosen = m_machine.chosen();
    const FileItem *file = chosen ? chosen->neighbours.find(fileId) : nullptr;
    if (!file || (chosen->isAlive() && chosen->file().file_id == fileId)) {
        return;
    }
    if (goBackTo(fileId)) {
        return;
    }
    const OpenedVideo *current = m_machine.current();
    const bool hasBrokenOff = current && current->file().file_id == fileId;
    openNeighbour(*file, hasBrokenOff ? StartFrom::WhereItStopped : StartFrom::EndOfIntro);
}

void PlaySession::openNeighbour(const FileItem &file, StartFrom start, Source source)
{
    const OpenedVideo &from = *m_machine.chosen();
    openVideo(makeVideo(from.user, file, start, from.neighbours), source);
}

PlayMachine::Video PlaySession::makeVideo(const UserInfo &user, const FileItem &file,
                                          StartFrom start, const FolderVideos &neighbours)
{
    savePosition();
    auto video = std::make_unique<OpenedVideo>(m_mpv, user, file, QList<FileItem>(), PlayHistory(),
                                               m_machine.chosen()->tracks.carried());
    video->start = start;
    video->neighbours.adopt(neighbours);
    if (!video->neighbours.isComplete()) {
        video->neighbours.request(file);
    }
    return video;
}

void PlaySession::openVideo(PlayMachine::Video video, Source source)
{
    m_awaitedStep = 0;
    video->address = m_ahead.take(video->user, video->file());
    video->address->want(AppSettings().videoQuality());
    m_machine.open(std::move(video), source);
}

void PlaySession::togglePause()
{
    OpenedVideo *current = m_machine.current();
    if (m_machine.isSilent()) {
        tryAgain();
        return;
    }
    switch (status().state) {
    case PlayState::Ended: {
        m_mpv.play();
        current->hasAdvanced = true;
        const FileItem *next = current->neighbours.neighbour(current->file().file_id, 1);
        if (!next && current->neighbours.isAsked()) {
            playRelative(1);
        } else {
            openNeighbour(next ? *next : current->file(), StartFrom::EndOfIntro);
        }
        break;
    }
    case PlayState::Failed:
        m_mpv.play();
        openNeighbour(current->file(),
                      current->playback.wasSeen() ? StartFrom::WhereItStopped : current->start);
        break;
    default:
        m_mpv.setProperty(QStringLiteral("pause"), !m_mpv.isPaused());
    }
}

// Asks for everything anew that was not answered.
void PlaySession::tryAgain()
{
    if (const OpenedVideo *candidate = m_machine.candidate()) {
        openNeighbour(candidate->file(), candidate->start,
                      candidate->address->isForSource() ? Source::FileOnly : Source::AnyQuality);
    } else {
        m_machine.renewAddress(*m_machine.current());
    }
}

void PlaySession::playSource()
{
    if (status().offersSource) {
        const PlayMachine::Refused &refused = *m_machine.refused();
        m_mpv.play();
        openVideo(makeVideo(refused.user, refused.file, refused.start, *refused.neighbours),
                  Source::FileOnly);
    }
}

void PlaySession::savePosition()
{
    m_machine.savePosition();
}

void PlaySession::reloadSkipTimes()
{
    for (OpenedVideo *video : {m_machine.current(), m_machine.candidate()}) {
        if (video) {
            video->folder.open(video->folder.folderId());
        }
    }
    emit menusChanged();
}

void PlaySession::chooseQuality(const QVariant &id)
{
    if (isVideoQuality(id.toString())) {
        AppSettings().setVideoQuality(id.toString());
        emit videoQualityChanged();
    }
    OpenedVideo *video = m_machine.chosen();
    if (!video) {
        return;
    }
    video->address->want(id.toString());
    const bool canBePlayed = video->address->currentId() == id.toString();
    if (canBePlayed && video->state != PlayState::Opening && video->state != PlayState::Ended) {
        m_machine.load(*video);
    }
}

void PlaySession::chooseSkip(const QVariant &action)
{
    if (!m_machine.isPlaying()) {
        return;
    }
    OpenedVideo &video = *m_machine.current();
    const auto chosen = static_cast<SkipAction>(action.toInt());
    const int settled = video.playback.settledDuration();
    if (chosen == SkipAction::SetOutroStart && settled == 0) {
        return; // it has no end to be counted back from
    }
    if (applySkipAction(chosen, video.folder, m_mpv.position(), settled)) {
        emit menusChanged();
    } else {
        emit told(QStringLiteral("片头片尾设置间隔太小,请重新设置"));
    }
}

void PlaySession::chooseAudio(const QVariant &track)
{
    if (m_machine.isPlaying()) {
        m_machine.current()->tracks.chooseAudio(track);
    }
}

void PlaySession::chooseSubtitle(const QVariant &track)
{
    const auto command = SubtitleCommand::fromData(track);
    if (command && m_subtitleLook.choose(*command)) {
        emit menusChanged();
    } else if (m_machine.isPlaying()) {
        m_machine.current()->tracks.chooseSubtitle(track);
    }
}

double PlaySession::speed() const
{
    return m_mpv.getProperty(QLatin1String(SpeedName)).toDouble();
}

void PlaySession::setSpeed(double speed)
{
    m_mpv.setProperty(QLatin1String(SpeedName), qBound(LowestSpeed, speed, HighestSpeed));
    emit speedChanged(this->speed());
}

int PlaySession::audioDelay() const
{
    return m_machine.isPlaying() ? m_machine.current()->audioDelay : 0;
}

void PlaySession::setAudioDelay(int milliseconds)
{
    if (m_machine.isPlaying()) {
        int &delay = m_machine.current()->audioDelay;
        delay = qBound(-LongestDelay, milliseconds, LongestDelay);
        m_mpv.setProperty(QStringLiteral("audio-delay"), delay / 1000.0);
    }
}

// --- what is shown

PlayStatus PlaySession::status() const
{
    PlayStatus status = statusOf(m_machine.current(), m_machine.candidate());
    status.notice = m_machine.notice();
    const bool isOver = status.state == PlayState::Ended || status.state == PlayState::Failed;
    status.offersSource = isOver && m_machine.refused().has_value();
    return status;
}

UserInfo PlaySession::user() const
{
    const OpenedVideo *chosen = m_machine.chosen();
    return chosen ? chosen->user : UserInfo();
}

QList<FileItem> PlaySession::videos() const
{
    const OpenedVideo *chosen = m_machine.chosen();
    return chosen ? chosen->neighbours.videos() : QList<FileItem>();
}

PlayMenus PlaySession::menus() const
{
    PlayMenus menus = menusOf(m_machine.chosen());
    if (!menus.subtitle.isEmpty()) {
        menus.subtitle += m_subtitleLook.menu();
    }
    return menus;
}

// --- the next video's turn

void PlaySession::showPosition()
{
    OpenedVideo &video = *m_machine.current();
    const int position = video.playback.position();
    emit positionShown(position, video.playback.duration());
    const int settled = video.playback.settledDuration();
    if (settled == 0) {
        return;
    }
    video.isOutroWanted =
        video.isOutroWanted && video.folder.skipTimes().isInOutro(position, settled);
    const int toGo = video.nextTurn() - position;
    const FileItem *next = successorOf(video);
    if (next && toGo <= FetchedAhead && !video.hasAdvanced) {
        m_ahead.fetch(video.user, *next);
    }
    if (toGo <= 0 && !m_mpv.isPaused()) {
        advance();
    }
}

void PlaySession::advance()
{
    OpenedVideo &video = *m_machine.current();
    if (!m_machine.candidate() && !video.pausesAtEnd && !std::exchange(video.hasAdvanced, true)) {
        go(1, StepOf::Turn);
    }
}
