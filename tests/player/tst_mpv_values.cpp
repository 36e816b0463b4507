#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include "player/mpv_node.h"
#include "player/track_info.h"
#include "player/track_labels.h"

// Values on their way to and from libmpv, and the track list made of them.
class TestMpvValues final : public QObject
{
    Q_OBJECT

private slots:
    void formats_data();
    void formats();
    void survivesTheWayThereAndBack_data();
    void survivesTheWayThereAndBack();
    void readsEveryKeyOfATrack();
    void lacksWhatIsMissing();
    void sortsByType();
    void namesLanguages_data();
    void namesLanguages();
    void tellsEqualTracksApart();
};

void TestMpvValues::formats_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<int>("format");
    QTest::newRow("text") << QVariant(QStringLiteral("中")) << int(MPV_FORMAT_STRING);
    QTest::newRow("bool") << QVariant(true) << int(MPV_FORMAT_FLAG);
    QTest::newRow("int") << QVariant(5) << int(MPV_FORMAT_INT64);
    QTest::newRow("64 bit") << QVariant(Q_INT64_C(5) << 40) << int(MPV_FORMAT_INT64);
    QTest::newRow("double") << QVariant(0.5) << int(MPV_FORMAT_DOUBLE);
    QTest::newRow("list") << QVariant(QVariantList{1}) << int(MPV_FORMAT_NODE_ARRAY);
    QTest::newRow("map") << QVariant(QVariantMap()) << int(MPV_FORMAT_NODE_MAP);
    QTest::newRow("anything else") << QVariant(QSize(1, 2)) << int(MPV_FORMAT_NONE);
    QTest::newRow("nothing") << QVariant() << int(MPV_FORMAT_NONE);
}

void TestMpvValues::formats()
{
    QFETCH(QVariant, value);
    QFETCH(int, format);
    QCOMPARE(int(MpvNode(value).get()->format), format);
}

void TestMpvValues::survivesTheWayThereAndBack_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("text") << QVariant(QStringLiteral("字幕 \"x\""));
    QTest::newRow("empty text") << QVariant(QStringLiteral(""));
    QTest::newRow("false") << QVariant(false);
    QTest::newRow("negative") << QVariant(Q_INT64_C(-7));
    QTest::newRow("double") << QVariant(57.9);
    const QVariantMap inner{{QStringLiteral("a"), Q_INT64_C(1)}, {QStringLiteral("b"), true}};
    QTest::newRow("nested") << QVariant(
        QVariantList{QStringLiteral("x"), inner, QVariantList{0.5, inner}});
    QTest::newRow("empty list") << QVariant(QVariantList());
}

void TestMpvValues::survivesTheWayThereAndBack()
{
    QFETCH(QVariant, value);
    QCOMPARE(variantFromNode(*MpvNode(value).get()), value);
}

void TestMpvValues::readsEveryKeyOfATrack()
{
    const QJsonObject track{
        {QStringLiteral("type"), QStringLiteral("audio")},
        {QStringLiteral("id"), 2},
        {QStringLiteral("src-id"), 3},
        {QStringLiteral("lang"), QStringLiteral("jpn")},
        {QStringLiteral("codec"), QStringLiteral("flac")},
        {QStringLiteral("decoder-desc"), QStringLiteral("flac (FLAC)")},
        {QStringLiteral("audio-channels"), 6},
        {QStringLiteral("demux-channel-count"), 6},
        {QStringLiteral("demux-channels"), QStringLiteral("5.1")},
        {QStringLiteral("demux-samplerate"), 48000},
        {QStringLiteral("ff-index"), 1},
        {QStringLiteral("main-selection"), 1},
        {QStringLiteral("default"), true},
        {QStringLiteral("selected"), true},
        {QStringLiteral("visual-impaired"), true},
        {QStringLiteral("external"), true},
    };
    const QJsonObject video{
        {QStringLiteral("type"), QStringLiteral("video")},
        {QStringLiteral("demux-w"), 1920},
        {QStringLiteral("demux-h"), 1080},
        {QStringLiteral("demux-fps"), 23.976},
        {QStringLiteral("demux-par"), 1.5},
    };
    const QJsonObject sub{
        {QStringLiteral("type"), QStringLiteral("sub")},
        {QStringLiteral("title"), QStringLiteral("Signs")},
        {QStringLiteral("forced"), true},
    };
    const TrackInfo info = parseTrackList({track, video, sub});
    const AudioTrack &audio = info.audioTracks.at(0);
    QCOMPARE(audio.id, 2);
    QCOMPARE(audio.srcId, 3);
    QCOMPARE(audio.lang, QStringLiteral("jpn"));
    QCOMPARE(audio.codec, QStringLiteral("flac"));
    QCOMPARE(audio.decoderDesc, QStringLiteral("flac (FLAC)"));
    QCOMPARE(audio.audioChannels, 6);
    QCOMPARE(audio.demuxChannelCount, 6);
    QCOMPARE(audio.demuxChannels, QString(QChar(0)));
    QCOMPARE(audio.demuxSamplerate, 48000);
    QCOMPARE(audio.ffIndex, 1);
    QCOMPARE(audio.mainSelection, 1);
    QVERIFY(audio.isDefault && audio.selected && audio.visualImpaired && audio.external);
    QVERIFY(!audio.albumart && !audio.forced && !audio.image && !audio.dependent);
    QCOMPARE(info.videoTracks.at(0).demuxPar, 1.0);
    QCOMPARE(info.videoTracks.at(0).demuxFps, 23.976);
    QCOMPARE(info.videoTracks.at(0).demuxW, 1920);
    QCOMPARE(info.videoTracks.at(0).demuxH, 1080);
    QCOMPARE(info.subTracks.at(0).title, QString(QChar(0)));
    QVERIFY(info.subTracks.at(0).forced);
}

void TestMpvValues::lacksWhatIsMissing()
{
    const TrackInfo info =
        parseTrackList({QJsonObject{{QStringLiteral("type"), QStringLiteral("sub")}}});
    QCOMPARE(info.subTracks.at(0).id, 0);
    QCOMPARE(info.subTracks.at(0).lang, QString());
    QVERIFY(!info.subTracks.at(0).selected);
}

void TestMpvValues::sortsByType()
{
    const auto track = [](const char *type, int id) {
        return QJsonObject{{QStringLiteral("type"), QLatin1String(type)},
                           {QStringLiteral("id"), id}};
    };
    const TrackInfo info = parseTrackList(
        {track("sub", 2), track("data", 1), track("audio", 1), track("sub", 1), QJsonValue(7)});
    QCOMPARE(info.videoTracks.size(), 0);
    QCOMPARE(info.audioTracks.size(), 1);
    QCOMPARE(info.subTracks.size(), 2);
    QCOMPARE(info.subTracks.at(0).id, 2);
}

void TestMpvValues::namesLanguages_data()
{
    QTest::addColumn<QString>("tag");
    QTest::addColumn<QString>("name");
    for (const char *tag : {"chi", "zho", "zh", "zh-Hans", "ZH-tw"})
        QTest::newRow(tag) << QString::fromLatin1(tag) << QStringLiteral("中文");
    QTest::newRow("eng") << QStringLiteral("eng") << QStringLiteral("英语");
    QTest::newRow("jpn") << QStringLiteral("jpn") << QStringLiteral("日语");
    QTest::newRow("unknown") << QStringLiteral("tlh") << QStringLiteral("tlh");
    QTest::newRow("part of a known one") << QStringLiteral("h") << QStringLiteral("h");
    QTest::newRow("none") << QString() << QStringLiteral("未知语言");
}

void TestMpvValues::namesLanguages()
{
    QFETCH(QString, tag);
    QFETCH(QString, name);
    QCOMPARE(languageName(tag), name);
}

void TestMpvValues::tellsEqualTracksApart()
{
    TrackInfo info;
    for (const int id : {1, 2, 3}) {
        AudioTrack track;
        track.id = id;
        track.lang = QStringLiteral("jpn");
        track.codec = QStringLiteral("aac");
        track.audioChannels = id == 3 ? 6 : 2;
        info.audioTracks.append(track);
    }
    QCOMPARE(audioTrackLabels(info),
             (QStringList{QStringLiteral("日语 AAC 立体声 #1"),
                          QStringLiteral("日语 AAC 立体声 #2"), QStringLiteral("日语 AAC 6声道")}));
}

QTEST_APPLESS_MAIN(TestMpvValues)
#include "tst_mpv_values.moc"
