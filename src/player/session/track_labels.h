#pragma once

#include <QHash>
#include <QStringList>

struct TrackInfo;

// Titles of tracks by their ids, see TrackList.
using TrackTitles = QHash<int, QString>;

// Menu texts of tracks, in the order of the lists: language, title, codec and channels, and what
// the track is for; tracks that would read the same are told apart by their id.
QStringList audioTrackLabels(const TrackInfo &tracks, const TrackTitles &titles = {});
QStringList subtitleTrackLabels(const TrackInfo &tracks, const TrackTitles &titles = {});

// The Chinese name of a language tag ("chi", "zh-Hans", "eng"); an unknown one is returned as it
// is, an empty one as "未知语言".
QString languageName(const QString &tag);

// Those of Chinese, as files have them, the likelier first.
QStringList chineseTags();

// The tag and the others that name its language: "chi", "zh", "zho", "cmn". Empty for an empty one.
QStringList languageTags(const QString &tag);
