#include "player/session/track_memory.h"

#include <algorithm>
#include <tuple>

#include "player/session/track_labels.h"

namespace {

// Stands for an absent language where a title follows.
const QLatin1String NoLanguage("und");

bool isUnknown(const QString &language)
{
    return language.isEmpty() || language == NoLanguage;
}

// What follows the first part of a tag: script or region.
QString variantOf(const QString &tag)
{
    return tag.section(QLatin1Char('-'), 1).toLower();
}

// 0: another track. The higher of two is meant.
int likeness(const TrackMemory &wanted, const TrackMemory &track)
{
    const bool isComparable = !isUnknown(wanted.language) && !isUnknown(track.language);
    if (isComparable && !isSameLanguage(wanted.language, track.language)) {
        return 0;
    }
    const bool hasTitle = wanted.title == track.title && (isComparable || !track.title.isEmpty());
    const bool hasNumber = wanted.id > 0 && wanted.id == track.id;
    if (!isComparable && !hasTitle && !hasNumber) {
        return 0;
    }
    return 1 + (isComparable ? 4 : 0) + (hasTitle ? 2 : 0) + (hasNumber ? 1 : 0);
}

} // namespace

QString TrackMemory::toText() const
{
    QString text = QString::number(id);
    if (!isUnknown(language) || !title.isEmpty()) {
        text += QLatin1Char(' ') + (isUnknown(language) ? QString(NoLanguage) : language);
    }
    if (!title.isEmpty()) {
        text += QLatin1Char(' ') + title;
    }
    return text;
}

std::optional<TrackMemory> TrackMemory::fromText(const QString &text)
{
    const QLatin1Char blank(' ');
    bool isNumber = false;
    TrackMemory memory;
    memory.id = text.section(blank, 0, 0).toInt(&isNumber);
    if (!isNumber) {
        return std::nullopt;
    }
    const QString language = text.section(blank, 1, 1);
    memory.language = isUnknown(language) ? QString() : language;
    memory.title = text.section(blank, 2);
    return memory;
}

bool operator==(const TrackMemory &left, const TrackMemory &right)
{
    return std::tie(left.id, left.language, left.title) ==
           std::tie(right.id, right.language, right.title);
}

bool isSameLanguage(const QString &left, const QString &right)
{
    const QString leftVariant = variantOf(left);
    const QString rightVariant = variantOf(right);
    const bool canDiffer = !leftVariant.isEmpty() && !rightVariant.isEmpty();
    return languageName(left) == languageName(right) && (!canDiffer || leftVariant == rightVariant);
}

std::optional<int> findTrack(const TrackMemory &wanted, const QList<TrackMemory> &tracks)
{
    const auto best =
        std::max_element(tracks.cbegin(), tracks.cend(),
                         [&wanted](const TrackMemory &left, const TrackMemory &right) {
                             return likeness(wanted, left) < likeness(wanted, right);
                         });
    if (best == tracks.cend() || likeness(wanted, *best) == 0) {
        return std::nullopt;
    }
    return best->id;
}
