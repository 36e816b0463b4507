#pragma once

#include <QStringList>

struct TrackInfo;

// Menu texts of tracks, in the order of the lists: language, codec and channels; tracks that would
// read the same are told apart by their id.
QStringList audioTrackLabels(const TrackInfo &tracks);
QStringList subtitleTrackLabels(const TrackInfo &tracks);

// The Chinese name of a language tag ("chi", "zh-Hans", "eng"); an unknown one is returned as it
// is, an empty one as "未知语言".
QString languageName(const QString &tag);
