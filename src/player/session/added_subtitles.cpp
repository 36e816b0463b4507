#include "player/session/added_subtitles.h"

#include "player/mpv/mpv_widget.h"
#include "player/mpv/track_info.h"

void AddedSubtitles::add(const QString &id, Show show)
{
    // The file comes from a drive: whatever else it names is not opened. Streams need it, though.
    const QString references = QStringLiteral("access-references");
    const QVariant before = m_mpv.getProperty(references);
    m_mpv.setProperty(references, false);
    if (show == Show::AtOnce) {
        m_mpv.addSubtitle(m_paths.value(id));
    } else {
        m_mpv.command(
            QVariantList{QStringLiteral("sub-add"), m_paths.value(id), QStringLiteral("auto")});
    }
    m_mpv.setProperty(references, before);
    const TrackInfo tracks = m_mpv.trackInfo();
    for (const SubTrack &track : tracks.subTracks) {
        if (track.external && fileOf(track.id).isEmpty()) {
            m_added.append({track.id, id});
        }
    }
}

std::optional<int> AddedSubtitles::trackOf(const QString &id) const
{
    for (const Added &added : m_added) {
        if (added.id == id) {
            return added.track;
        }
    }
    return std::nullopt;
}

QString AddedSubtitles::fileOf(int track) const
{
    for (const Added &added : m_added) {
        if (added.track == track) {
            return added.id;
        }
    }
    return {};
}
