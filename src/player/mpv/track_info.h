#pragma once

#include <QList>
#include <QString>

class QJsonArray;

// The tracks of the file that plays, as libmpv reports them in "track-list", in its order. Each
// field is named after the key it is read from; what a track lacks is false, 0 or empty.

struct Track
{
    bool albumart = false;
    QString codec;
    bool isDefault = false;
    bool dependent = false;
    bool external = false;
    int ffIndex = 0;
    bool forced = false;
    bool hearingImpaired = false;
    int id = 0;
    bool image = false;
    QString lang;
    bool selected = false;
    int srcId = 0;
};

struct VideoTrack : Track
{
    QString decoderDesc;
    double demuxFps = 0.0;
    int demuxH = 0;
    double demuxPar = 0.0; // whole number: the fraction is cut off
    int demuxW = 0;
    int mainSelection = 0;
};

struct AudioTrack : Track
{
    QString decoderDesc;
    int audioChannels = 0;
    int demuxChannelCount = 0;
    QString demuxChannels; // always the one character 0
    int demuxSamplerate = 0;
    int mainSelection = 0;
    QString type;
    bool visualImpaired = false;
};

struct SubTrack : Track
{
    QString title; // always the one character 0
    QString type;
    bool visualImpaired = false;
};

struct TrackInfo
{
    QList<VideoTrack> videoTracks;
    QList<AudioTrack> audioTracks;
    QList<SubTrack> subTracks;
};

// Sorts the elements of a "track-list" by their "type"; other types are skipped.
TrackInfo parseTrackList(const QJsonArray &tracks);
