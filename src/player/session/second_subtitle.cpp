#include "player/session/second_subtitle.h"

#include <algorithm>
#include <utility>

#include "player/mpv/mpv_widget.h"
#include "player/session/added_subtitles.h"
#include "player/session/folder_memory.h"
#include "player/session/track_list.h"

namespace {

OfferedSubtitle offered(const QString &id, const SecondSubtitle::Offer &offer)
{
    for (const QList<OfferedSubtitle> *list : {&offer.transcoded, &offer.files}) {
        if (const OfferedSubtitle *found = findOffered(*list, id)) {
            return *found;
        }
    }
    return {id};
}

} // namespace

SecondSubtitle::SecondSubtitle(MpvWidget &mpv, AddedSubtitles &added, const UserInfo &user,
                               const QString &videoId, std::optional<TrackMemory> carried)
    : m_mpv(mpv), m_added(added), m_wanted(std::move(carried)), m_fetcher(user, videoId)
{
    connect(&m_fetcher, &SubtitleFetcher::fetched, this, &SecondSubtitle::showFetched);
}

void SecondSubtitle::beginLoad()
{
    m_isReady = false;
    showTrack(std::nullopt);
}

void SecondSubtitle::onPlaying(const Offer &offer)
{
    m_isReady = true;
    if (!m_file.isEmpty()) {
        showFile(offered(m_file, offer));
        return;
    }
    if (!m_wanted) {
        return;
    }
    QList<TrackMemory> tracks = offer.tracks.embeddedSubtitles();
    tracks.erase(std::remove_if(
                     tracks.begin(), tracks.end(),
                     [&offer](const TrackMemory &track) { return track.id == offer.tracks.shown; }),
                 tracks.end());
    if (const auto track = findTrack(*m_wanted, tracks)) {
        showTrack(track);
    } else if (const OfferedSubtitle *file = findLanguage(offer.transcoded, m_wanted->language)) {
        m_file = file->id;
        showFile(*file);
    }
}

void SecondSubtitle::choose(const QVariant &value, const Offer &offer)
{
    m_isReady = true;
    m_fetcher.cancel();
    m_wanted.reset();
    m_file.clear();
    if (value.type() != QVariant::String) {
        const int track = value.toInt();
        const bool isOff = track == FolderMemory::NoTrack;
        if (!isOff) {
            m_wanted = offer.tracks.subtitleTrack(track);
        }
        showTrack(isOff ? std::nullopt : std::make_optional(track));
        return;
    }
    const OfferedSubtitle file = offered(value.toString(), offer);
    m_file = file.id;
    if (!file.language.isEmpty()) {
        m_wanted = TrackMemory{0, file.language};
    }
    showFile(file);
}

void SecondSubtitle::giveUp(int track, const Offer &offer)
{
    if (offer.tracks.second == track) {
        choose(FolderMemory::NoTrack, offer);
    }
}

void SecondSubtitle::showFile(const OfferedSubtitle &file)
{
    if (const auto track = m_added.trackOf(file.id)) {
        showTrack(track);
    } else if (m_added.isKept(file.id)) {
        m_added.add(file.id, AddedSubtitles::Show::Later);
        showTrack(m_added.trackOf(file.id));
        emit added();
    } else {
        m_fetcher.fetch(file);
    }
}

void SecondSubtitle::showFetched(const QString &id, const QString &path)
{
    m_added.keep(id, path);
    if (m_isReady && id == m_file) {
        showFile({id});
    }
}

void SecondSubtitle::showTrack(std::optional<int> track)
{
    m_mpv.setProperty(QStringLiteral("secondary-sid"),
                      track ? QVariant(*track) : QVariant(QStringLiteral("no")));
}
