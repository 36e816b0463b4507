#include "player/session/play_quality.h"

#include "app/environment/video_quality.h"

namespace {

// Position in the quality table, the best first; -1 for an id that is not there.
int rankOf(const QString &id)
{
    const QVector<VideoQuality> &all = videoQualities();
    for (int rank = 0; rank < all.size(); ++rank) {
        if (all.at(rank).id == id) {
            return rank;
        }
    }
    return -1;
}

int playableWithId(const QList<QualityEntry> &entries, const QString &id)
{
    for (int i = 0; i < entries.size(); ++i) {
        if (entries.at(i).id == id && !entries.at(i).url.isEmpty()) {
            return i;
        }
    }
    return -1;
}

} // namespace

QString QualityEntry::text() const
{
    const bool isMeasuredSource = id == sourceQualityId() && width > 0 && height > 0;
    return qualityPlayerText(id) + (isMeasuredSource ? sourceSizeSuffix(width, height) : QString());
}

int choosePlayable(const QList<QualityEntry> &entries, const QString &wanted)
{
    // Also one that is not in the table, which only the user can have chosen.
    const int exact = playableWithId(entries, wanted);
    if (exact >= 0) {
        return exact;
    }
    const QVector<VideoQuality> &all = videoQualities();
    const int wantedRank = rankOf(wanted);
    for (int rank = qMax(wantedRank, 0); rank < all.size(); ++rank) {
        const int below = playableWithId(entries, all.at(rank).id);
        if (below >= 0) {
            return below;
        }
    }
    for (int rank = wantedRank - 1; rank >= 0; --rank) {
        const int above = playableWithId(entries, all.at(rank).id);
        if (above >= 0) {
            return above;
        }
    }
    return -1;
}
