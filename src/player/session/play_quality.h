#pragma once

#include <QList>
#include <QString>

// One way in which the current video can be played.
struct QualityEntry
{
    QString id; // a template id of video_quality.h, possibly one it does not know
    int width = 0;
    int height = 0;
    QString url; // empty: offered, but not ready to be played
    // The entry's menu text.
    [[nodiscard]] QString text() const;
};

// Index of the entry to play when the user wants `wanted`: that one, else the best below it, else
// the lowest above it, else the source; always one with an address. -1 when nothing can be played.
int choosePlayable(const QList<QualityEntry> &entries, const QString &wanted);
