#include "player/session/chapters.h"

#include <algorithm>

#include "player/mpv/mpv_widget.h"

namespace {

// Who goes back so soon after a chapter's beginning means the one before.
constexpr double BeginningLasts = 3; // seconds

} // namespace

QList<Chapter> chaptersOf(const MpvWidget &mpv)
{
    QList<Chapter> chapters;
    if (!mpv.knownPosition()) {
        return chapters;
    }
    const QVariantList list = mpv.getProperty(QStringLiteral("chapter-list")).toList();
    for (const QVariant &entry : list) {
        const QVariantMap values = entry.toMap();
        const QString title = values.value(QStringLiteral("title")).toString();
        chapters.append(
            {values.value(QStringLiteral("time")).toDouble(),
             title.isEmpty() ? QStringLiteral("第 %1 章").arg(chapters.size() + 1) : title});
    }
    return chapters;
}

int chapterAfterStep(const QList<Chapter> &chapters, double position, bool forward)
{
    const auto begin = chapters.cbegin();
    const double from = forward ? position : position - BeginningLasts;
    const auto next =
        std::upper_bound(begin, chapters.cend(), from,
                         [](double second, const Chapter &c) { return second < c.start; });
    if (forward) {
        return next == chapters.cend() ? -1 : static_cast<int>(next - begin);
    }
    return static_cast<int>(next - begin) - 1;
}
