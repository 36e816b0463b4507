#include "app/environment/video_quality.h"

#include <algorithm>

namespace {

constexpr int Width4K = 3840;
constexpr int Width8K = 7680;

const VideoQuality *findQuality(const QString &id)
{
    const QVector<VideoQuality> &all = videoQualities();
    const auto found = std::find_if(
        all.cbegin(), all.cend(), [&id](const VideoQuality &quality) { return quality.id == id; });
    return found == all.cend() ? nullptr : &*found;
}

QString unknownText()
{
    return QStringLiteral("未知");
}

} // namespace

QString sourceQualityId()
{
    return QStringLiteral("OrgHD");
}

const QVector<VideoQuality> &videoQualities()
{
    static const QVector<VideoQuality> all{
        {sourceQualityId(), QStringLiteral("原画"), QStringLiteral("原画")},
        {QStringLiteral("QHD"), QStringLiteral("超清1440p"), QStringLiteral("超清 1440p")},
        {QStringLiteral("FHD"), QStringLiteral("全高清1080p"), QStringLiteral("全高清 1080p")},
        {QStringLiteral("HD"), QStringLiteral("高清720p"), QStringLiteral("高清 720p")},
        {QStringLiteral("SD"), QStringLiteral("标清540p"), QStringLiteral("标清 540p")},
        {QStringLiteral("LD"), QStringLiteral("流畅360p"), QStringLiteral("流畅 360p")},
    };
    return all;
}

bool isVideoQuality(const QString &id)
{
    return findQuality(id) != nullptr;
}

QString qualityListText(const QString &id)
{
    const VideoQuality *quality = findQuality(id);
    return quality ? quality->listText : unknownText();
}

QString qualityPlayerText(const QString &id)
{
    const VideoQuality *quality = findQuality(id);
    return quality ? quality->playerText : unknownText();
}

QString sourceSizeSuffix(int width, int height)
{
    if (width >= Width8K) {
        return QStringLiteral("(8K)");
    }
    if (width >= Width4K) {
        return QStringLiteral("(4K)");
    }
    return QStringLiteral("(%1x%2)").arg(width).arg(height);
}
