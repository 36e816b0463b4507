#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include "player/mpv/mpv_node.h"
#include "player/mpv/track_info.h"
#include "player/session/track_labels.h"
#include "player/session/track_memory.h"

namespace {

TrackInfo parsed(const char *tracks)
{
    return parseTrackList(QJsonDocument::fromJson(tracks).array());
}

} // namespace

// Values on their way to and from libmpv, and the track list made of them.
class TestMpvValues final : public QObject
{
    Q_OBJECT

private slots:
    void survivesTheWayThereAndBack_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<int>("format");
        const QVariantMap inner{{"a", 1LL}, {"b", true}};
        const QVariantList outer{"x", inner, QVariantList{0.5, inner}};
        QTest::newRow("text") << QVariant("字幕 \"x\"") << int(MPV_FORMAT_STRING);
        QTest::newRow("empty text") << QVariant("") << int(MPV_FORMAT_STRING);
        QTest::newRow("false") << QVariant(false) << int(MPV_FORMAT_FLAG);
        QTest::newRow("int") << QVariant(-7) << int(MPV_FORMAT_INT64);
        QTest::newRow("64 bit") << QVariant(5LL << 40) << int(MPV_FORMAT_INT64);
        QTest::newRow("double") << QVariant(57.9) << int(MPV_FORMAT_DOUBLE);
        QTest::newRow("nested") << QVariant(outer) << int(MPV_FORMAT_NODE_ARRAY);
        QTest::newRow("empty list") << QVariant(QVariantList()) << int(MPV_FORMAT_NODE_ARRAY);
        QTest::newRow("nothing") << QVariant() << int(MPV_FORMAT_NONE);
    }
    void survivesTheWayThereAndBack()
    {
        QFETCH(QVariant, value);
        MpvNode node(value);
        QTEST(int(node.get()->format), "format");
        QCOMPARE(variantFromNode(*node.get()), value);
    }
    void whatLibmpvDoesNotKnowHasNoFormat()
    {
        QCOMPARE(int(MpvNode(QSize(1, 2)).get()->format), int(MPV_FORMAT_NONE));
    }

    void readsEveryKeyOfATrack()
    {
        const TrackInfo info = parsed(
            R"([{"type": "audio", "id": 2, "src-id": 3, "lang": "jpn", "codec": "flac",
                 "decoder-desc": "flac decoder", "audio-channels": 6, "demux-channel-count": 5,
                 "demux-channels": "5.1", "demux-samplerate": 48000, "ff-index": 1,
                 "main-selection": 4, "default": true, "selected": true, "visual-impaired": true,
                 "external": true},
                {"type": "video", "demux-w": 1920, "demux-h": 1080, "demux-fps": 23.976,
                 "demux-par": 1.5},
                {"type": "sub", "title": "Signs", "forced": true}])");
        const AudioTrack &audio = info.audioTracks.at(0);
        QCOMPARE(audio.id, 2);
        QCOMPARE(audio.srcId, 3);
        QCOMPARE(audio.lang, QString("jpn"));
        QCOMPARE(audio.codec, QString("flac"));
        QCOMPARE(audio.decoderDesc, QString("flac decoder"));
        QCOMPARE(audio.audioChannels, 6);
        QCOMPARE(audio.demuxChannelCount, 5);
        QCOMPARE(audio.demuxChannels, QString(QChar(0)));
        QCOMPARE(audio.demuxSamplerate, 48000);
        QCOMPARE(audio.ffIndex, 1);
        QCOMPARE(audio.mainSelection, 4);
        QVERIFY(audio.isDefault && audio.selected && audio.visualImpaired && audio.external);
        QVERIFY(!audio.albumart && !audio.forced && !audio.image && !audio.dependent);
        const VideoTrack &video = info.videoTracks.at(0);
        QCOMPARE(video.demuxPar, 1.0);
        QCOMPARE(video.demuxFps, 23.976);
        QCOMPARE(video.demuxW, 1920);
        QCOMPARE(video.demuxH, 1080);
        QCOMPARE(info.subTracks.at(0).title, QString(QChar(0)));
        QVERIFY(info.subTracks.at(0).forced);
        QCOMPARE(info.subTracks.at(0).id, 0);
        QCOMPARE(info.subTracks.at(0).lang, QString());
    }

    void sortsByType()
    {
        const TrackInfo info = parsed(R"([{"type": "sub", "id": 2}, {"type": "data", "id": 1},
                                          {"type": "audio"}, {"type": "sub", "id": 1}, 7])");
        QCOMPARE(info.videoTracks.size(), 0);
        QCOMPARE(info.audioTracks.size(), 1);
        QCOMPARE(info.subTracks.size(), 2);
        QCOMPARE(info.subTracks.at(0).id, 2);
    }

    void namesLanguages_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("zh-Hans") << "中文";
        QTest::newRow("CHI") << "中文";
        QTest::newRow("jpn") << "日语";
        QTest::newRow("tlh") << "tlh"; // nobody's
        QTest::newRow("h") << "h";     // a part of one
        QTest::newRow("") << "未知语言";
    }
    void namesLanguages() { QTEST(languageName(QTest::currentDataTag()), "name"); }

    void tellsEqualTracksApart()
    {
        const TrackInfo info = parsed(
            R"([{"type": "audio", "id": 1, "lang": "jpn", "codec": "aac", "audio-channels": 2},
                       {"type": "audio", "id": 2, "lang": "jpn", "codec": "aac", "audio-channels": 2},
                       {"type": "audio", "id": 3, "lang": "jpn", "codec": "aac", "audio-channels": 6}])");
        QCOMPARE(audioTrackLabels(info),
                 (QStringList{"日语 AAC 立体声 #1", "日语 AAC 立体声 #2", "日语 AAC 6声道"}));
        QCOMPARE(audioTrackLabels(info, {{1, "评论音轨"}}).constFirst(),
                 "日语 评论音轨 AAC 立体声");
        const TrackInfo subtitles = parsed(
            R"([{"type": "sub", "id": 1, "lang": "chi", "codec": "ass"},
                {"type": "sub", "id": 2, "lang": "chi", "codec": "ass"},
                {"type": "sub", "id": 3, "lang": "chi", "codec": "ass", "forced": true}])");
        QCOMPARE(subtitleTrackLabels(subtitles, {{1, "简体"}, {2, "繁体"}, {3, "中文"}}),
                 (QStringList{"中文 简体 ASS", "中文 繁体 ASS", "中文 ASS 强制"}));
    }

    void findsTheRememberedTrack_data()
    {
        QTest::addColumn<int>("found");
        QTest::newRow("2") << 2;
        QTest::newRow("7") << 0;
        QTest::newRow("-1") << 0;
        QTest::newRow("0 eng") << 1;
        QTest::newRow("2 eng") << 1;
        QTest::newRow("1 zho 繁體 中文") << 3;
        QTest::newRow("9 chi 繁體 中文") << 3;
        QTest::newRow("9 chi") << 4;      // that without a title, as it was
        QTest::newRow("2 chi 特效") << 2; // the same number of those in the language
        QTest::newRow("2 jpn") << 0;      // another language than the number's
        QTest::newRow("5 jpn") << 5;      // its language is not told
        QTest::newRow("9 und 评论") << 5;
    }
    void findsTheRememberedTrack()
    {
        const QList<TrackMemory> tracks{{1, "en", ""},
                                        {2, "zh", "简体"},
                                        {3, "chi", "繁體 中文"},
                                        {4, "chi", ""},
                                        {5, "", "评论"}};
        const auto memory = TrackMemory::fromText(QTest::currentDataTag());
        QVERIFY(memory);
        QCOMPARE(memory->toText(), QTest::currentDataTag());
        QTEST(findTrack(*memory, tracks).value_or(0), "found");
    }

    void tellsLanguagesApart_data()
    {
        QTest::addColumn<QString>("other");
        QTest::addColumn<bool>("isSame");
        QTest::newRow("zh-Hans") << "chi" << true;
        QTest::newRow("zho") << "ZH" << true;
        QTest::newRow("zh-TW") << "zh-CN" << false;
        QTest::newRow("eng") << "chi" << false;
    }
    void tellsLanguagesApart()
    {
        QFETCH(QString, other);
        QTEST(isSameLanguage(QTest::currentDataTag(), other), "isSame");
    }
};

QTEST_APPLESS_MAIN(TestMpvValues)
#include "tst_mpv_values.moc"
