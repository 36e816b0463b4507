#pragma once

#include <QString>
#include <QVector>

// One quality in which a video can be played: a transcoding template of the drive, or the source.
struct VideoQuality
{
    QString id;         // the drive's template id, also the stored setting
    QString listText;   // entry of the file list's menu
    QString playerText; // entry of the player's menu; the source's is followed by its size
};

// The id of the file as it was uploaded; no transcoding template, so never in play information.
QString sourceQualityId();

// All known qualities, the best first: the source, then the templates by falling height.
const QVector<VideoQuality> &videoQualities();

// Whether the id is in the table.
bool isVideoQuality(const QString &id);

// The menu texts of an id; an id that is not in the table is "未知".
QString qualityListText(const QString &id);
QString qualityPlayerText(const QString &id);

// What follows the source's menu text: "(8K)", "(4K)" or "(WIDTHxHEIGHT)"; sizes in pixels.
QString sourceSizeSuffix(int width, int height);
