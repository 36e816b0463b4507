#pragma once

#include <optional>

#include <QList>
#include <QString>

class MpvWidget;

struct Chapter
{
    double start = 0; // seconds
    QString title;    // as the file has it; a number where it has none
};

// The chapters of what libmpv has, by their start; none where it has no file.
QList<Chapter> chaptersOf(const MpvWidget &mpv);

// The index of the chapter to go to from this second: the next one, or back to the beginning of the
// one that plays, and from there to the one before. -1 where there is none.
int chapterAfterStep(const QList<Chapter> &chapters, double position, bool forward);
