#pragma once

#include <optional>

#include <QObject>

#include "player/session/subtitle_fetcher.h"
#include "player/session/track_memory.h"

class AddedSubtitles;
class MpvWidget;
struct TrackList;

// The subtitle that is shown beside the first one, at the top of the picture. Where its language is
// known, it goes on with the next videos of the same player; it is not stored.
class SecondSubtitle final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SecondSubtitle)

public:
    // What a second subtitle is chosen from.
    struct Offer
    {
        const TrackList &tracks;
        const QList<OfferedSubtitle> &transcoded;
        const QList<OfferedSubtitle> &files;
    };

    // The first two must outlive this. `carried` is what the last video had.
    SecondSubtitle(MpvWidget &mpv, AddedSubtitles &added, const UserInfo &user,
                   const QString &videoId, std::optional<TrackMemory> carried);

    void beginLoad();
    void endLoad() { m_isReady = false; }
    // The video plays, and its first subtitle is chosen: shows what was chosen, or carried over.
    void onPlaying(const Offer &offer);
    // The user's choice: a track or a file.
    void choose(const QVariant &value, const Offer &offer);
    // The track is wanted as the first subtitle: libmpv shows none twice.
    void giveUp(int track, const Offer &offer);

    [[nodiscard]] const std::optional<TrackMemory> &carried() const { return m_wanted; }

signals:
    // A file has become a track.
    void added();

private:
    void showFile(const OfferedSubtitle &file);
    void showFetched(const QString &id, const QString &path);
    void showTrack(std::optional<int> track);

    MpvWidget &m_mpv;
    AddedSubtitles &m_added;
    std::optional<TrackMemory> m_wanted;
    QString m_file; // what is wanted is this file
    bool m_isReady = false;
    SubtitleFetcher m_fetcher;
};
