#include "player/clips.h"

#include <QDebug>
#include <QImage>
#include <QProcess>

namespace clips {

bool make(const QString &path, const Clip &clip)
{
    QString source = QStringLiteral("color=0x404040:size=%1x%2:rate=25:duration=%3")
                         .arg(clip.width)
                         .arg(clip.height)
                         .arg(clip.seconds);
    for (int stripe = 0; stripe < 8; ++stripe) {
        source += QStringLiteral(",drawbox=x=%1*iw/8:w=iw/8:h=ih:t=fill:color=0xe8e8e8:"
                                 "enable='mod(floor((t+0.001)/%2),2)'")
                      .arg(stripe)
                      .arg(1 << stripe);
    }
    QStringList arguments{QStringLiteral("-v"),
                          QStringLiteral("error"),
                          QStringLiteral("-y"),
                          QStringLiteral("-f"),
                          QStringLiteral("lavfi"),
                          QStringLiteral("-i"),
                          source};
    arguments += clip.inputs;
    arguments += {QStringLiteral("-c:v"),      QStringLiteral("libx264"), QStringLiteral("-preset"),
                  QStringLiteral("ultrafast"), QStringLiteral("-g"),      QStringLiteral("25"),
                  QStringLiteral("-pix_fmt"),  QStringLiteral("yuv420p")};
    arguments += clip.outputs;
    arguments += path;
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"), arguments);
    if (ffmpeg.waitForFinished(180000) && ffmpeg.exitCode() == 0) {
        return true;
    }
    qWarning().noquote() << ffmpeg.errorString() << ffmpeg.readAllStandardError();
    return false;
}

int secondShown(const QImage &picture)
{
    int second = 0;
    for (int stripe = 0; stripe < 8; ++stripe) {
        const int x = picture.width() * (2 * stripe + 1) / 16;
        const int level = qGray(picture.pixel(x, picture.height() / 2));
        if (level < 20) {
            return -1; // neither stripe colour: nothing was drawn here
        }
        second |= (level > 140 ? 1 : 0) << stripe;
    }
    return second;
}

} // namespace clips
