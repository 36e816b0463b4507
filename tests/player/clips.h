#pragma once

#include <QString>
#include <QStringList>

class QImage;

// Small videos made by ffmpeg. Every frame shows its own second as eight vertical stripes, the
// lowest bit at the left, so that a picture of a window tells what time it shows.
namespace clips {

struct Clip
{
    int seconds = 4;
    int width = 320;
    int height = 180;
    // More input and output arguments, for tracks and containers.
    QStringList inputs{};
    QStringList outputs{};
};

// Writes the clip to `path`; the suffix decides the container. Fails the test on an error.
bool make(const QString &path, const Clip &clip = {});

// The second that a picture of a clip shows, or -1 where the picture is none of a clip.
int secondShown(const QImage &picture);

} // namespace clips
