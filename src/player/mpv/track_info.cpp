#include "player/mpv/track_info.h"

#include <utility>

#include <QJsonArray>
#include <QJsonObject>

namespace {

// Reads one track's keys; a missing key or one of another type is the type's empty value.
class TrackReader final
{
public:
    explicit TrackReader(QJsonObject track) : m_track(std::move(track)) {}

    [[nodiscard]] bool flag(QLatin1String key) const { return m_track.value(key).toBool(); }
    [[nodiscard]] QString text(QLatin1String key) const { return m_track.value(key).toString(); }
    [[nodiscard]] double real(QLatin1String key) const { return m_track.value(key).toDouble(); }
    [[nodiscard]] int number(QLatin1String key) const { return static_cast<int>(real(key)); }
    [[nodiscard]] QString character(QLatin1String key) const
    {
        return QString(QChar::fromLatin1(static_cast<char>(number(key))));
    }

private:
    QJsonObject m_track;
};

void readCommon(const TrackReader &from, Track &track)
{
    track.albumart = from.flag(QLatin1String("albumart"));
    track.codec = from.text(QLatin1String("codec"));
    track.isDefault = from.flag(QLatin1String("default"));
    track.dependent = from.flag(QLatin1String("dependent"));
    track.external = from.flag(QLatin1String("external"));
    track.ffIndex = from.number(QLatin1String("ff-index"));
    track.forced = from.flag(QLatin1String("forced"));
    track.hearingImpaired = from.flag(QLatin1String("hearing-impaired"));
    track.id = from.number(QLatin1String("id"));
    track.image = from.flag(QLatin1String("image"));
    track.lang = from.text(QLatin1String("lang"));
    track.selected = from.flag(QLatin1String("selected"));
    track.srcId = from.number(QLatin1String("src-id"));
}

VideoTrack readVideoTrack(const TrackReader &from)
{
    VideoTrack track;
    readCommon(from, track);
    track.decoderDesc = from.text(QLatin1String("decoder-desc"));
    track.demuxFps = from.real(QLatin1String("demux-fps"));
    track.demuxH = from.number(QLatin1String("demux-h"));
    track.demuxPar = from.number(QLatin1String("demux-par"));
    track.demuxW = from.number(QLatin1String("demux-w"));
    track.mainSelection = from.number(QLatin1String("main-selection"));
    return track;
}

AudioTrack readAudioTrack(const TrackReader &from)
{
    AudioTrack track;
    readCommon(from, track);
    track.decoderDesc = from.text(QLatin1String("decoder-desc"));
    track.audioChannels = from.number(QLatin1String("audio-channels"));
    track.demuxChannelCount = from.number(QLatin1String("demux-channel-count"));
    track.demuxChannels = from.character(QLatin1String("demux-channels"));
    track.demuxSamplerate = from.number(QLatin1String("demux-samplerate"));
    track.mainSelection = from.number(QLatin1String("main-selection"));
    track.type = from.text(QLatin1String("type"));
    track.visualImpaired = from.flag(QLatin1String("visual-impaired"));
    return track;
}

SubTrack readSubTrack(const TrackReader &from)
{
    SubTrack track;
    readCommon(from, track);
    track.title = from.character(QLatin1String("title"));
    track.type = from.text(QLatin1String("type"));
    track.visualImpaired = from.flag(QLatin1String("visual-impaired"));
    return track;
}

} // namespace

TrackInfo parseTrackList(const QJsonArray &tracks)
{
    TrackInfo info;
    for (const QJsonValue &element : tracks) {
        const TrackReader track(element.toObject());
        const QString type = track.text(QLatin1String("type"));
        if (type == QLatin1String("video")) {
            info.videoTracks.append(readVideoTrack(track));
        } else if (type == QLatin1String("audio")) {
            info.audioTracks.append(readAudioTrack(track));
        } else if (type == QLatin1String("sub")) {
            info.subTracks.append(readSubTrack(track));
        }
    }
    return info;
}
