#include "player/session/track_list.h"

#include "player/mpv/mpv_widget.h"

namespace {

template <class Track>
TrackMemory memoryOf(const Track &track, const TrackTitles &titles)
{
    return {track.id, track.lang, titles.value(track.id).simplified()};
}

// A number without one where there is none in the list: only the number is known of it.
TrackMemory memoryOf(int id, const QList<TrackMemory> &tracks)
{
    for (const TrackMemory &track : tracks) {
        if (track.id == id) {
            return track;
        }
    }
    return {id};
}

std::optional<int> selected(const MpvWidget &mpv, const char *property)
{
    bool isNumber = false;
    const QVariant value = mpv.getProperty(QLatin1String(property));
    const int id = value.type() == QVariant::Bool ? 0 : value.toInt(&isNumber);
    return isNumber && id > 0 ? std::make_optional(id) : std::nullopt;
}

} // namespace

QList<TrackMemory> TrackList::audio() const
{
    QList<TrackMemory> tracks;
    for (const AudioTrack &track : info.audioTracks) {
        tracks.append(memoryOf(track, audioTitles));
    }
    return tracks;
}

QList<TrackMemory> TrackList::embeddedSubtitles() const
{
    QList<TrackMemory> tracks;
    for (const SubTrack &track : info.subTracks) {
        if (!track.external) {
            tracks.append(memoryOf(track, subtitleTitles));
        }
    }
    return tracks;
}

TrackMemory TrackList::audioTrack(int id) const
{
    return memoryOf(id, audio());
}

TrackMemory TrackList::subtitleTrack(int id) const
{
    return memoryOf(id, embeddedSubtitles());
}

TrackList readTrackList(const MpvWidget &mpv)
{
    TrackList list;
    list.info = mpv.trackInfo();
    const QVariantList tracks = mpv.getProperty(QStringLiteral("track-list")).toList();
    for (const QVariant &element : tracks) {
        const QVariantMap track = element.toMap();
        const QString type = track.value(QStringLiteral("type")).toString();
        const QString title = track.value(QStringLiteral("title")).toString();
        TrackTitles &titles =
            type == QLatin1String("audio") ? list.audioTitles : list.subtitleTitles;
        if (type != QLatin1String("video") && !title.isEmpty()) {
            titles.insert(track.value(QStringLiteral("id")).toInt(), title);
        }
    }
    list.shown = selected(mpv, "sid");
    list.second = selected(mpv, "secondary-sid");
    return list;
}
