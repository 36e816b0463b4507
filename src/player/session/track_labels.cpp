#include "player/session/track_labels.h"

#include "player/mpv/track_info.h"

namespace {

struct Language
{
    const char *tags; // blank at both ends of each
    const char *name;
};

constexpr Language Languages[] = {
    {" zh chi zho cmn ", "中文"}, {" yue ", "粤语"},        {" en eng ", "英语"},
    {" ja jpn ", "日语"},         {" ko kor ", "韩语"},     {" fr fre fra ", "法语"},
    {" de ger deu ", "德语"},     {" es spa ", "西班牙语"}, {" pt por ", "葡萄牙语"},
    {" it ita ", "意大利语"},     {" ru rus ", "俄语"},     {" th tha ", "泰语"},
    {" vi vie ", "越南语"},       {" ar ara ", "阿拉伯语"}, {" id ind ", "印尼语"},
    {" ms may msa ", "马来语"},   {" hi hin ", "印地语"},   {" nl dut nld ", "荷兰语"},
    {" pl pol ", "波兰语"},       {" sv swe ", "瑞典语"},   {" tr tur ", "土耳其语"},
    {" uk ukr ", "乌克兰语"},
};

// Null: nobody's.
const Language *languageOf(const QString &tag)
{
    const QString primary = tag.section(QLatin1Char('-'), 0, 0).toLower();
    for (const Language &language : Languages) {
        if (QLatin1String(language.tags).contains(QLatin1Char(' ') + primary + QLatin1Char(' '))) {
            return &language;
        }
    }
    return nullptr;
}

struct Codec
{
    const char *id;
    const char *name;
};

// Those whose id in capitals is not what users know them by.
constexpr Codec Codecs[] = {
    {"subrip", "SRT"},          {"webvtt", "WebVTT"},         {"mov_text", "TX3G"},
    {"dvd_subtitle", "VobSub"}, {"hdmv_pgs_subtitle", "PGS"}, {"dvb_subtitle", "DVB"},
    {"eia_608", "CC"},          {"truehd", "TrueHD"},         {"opus", "Opus"},
    {"vorbis", "Vorbis"},       {"eac3", "E-AC-3"},           {"ac3", "AC-3"},
};

QString codecName(const QString &id)
{
    for (const Codec &codec : Codecs) {
        if (id == QLatin1String(codec.id)) {
            return QString::fromLatin1(codec.name);
        }
    }
    return id.startsWith(QLatin1String("pcm_")) ? QStringLiteral("PCM") : id.toUpper();
}

QString channelText(int channels)
{
    switch (channels) {
    case 0:
        return {};
    case 1:
        return QStringLiteral("单声道");
    case 2:
        return QStringLiteral("立体声");
    default:
        return QStringLiteral("%1声道").arg(channels);
    }
}

// A title that only says the language again is left out.
QString titleText(const QString &title, const QString &language)
{
    const QString text = title.simplified();
    return text.compare(language, Qt::CaseInsensitive) == 0 ? QString() : text;
}

// What a subtitle track is for, where that is not the whole film for everybody.
QString purpose(const SubTrack &track)
{
    if (track.forced) {
        return QStringLiteral("强制");
    }
    return track.hearingImpaired ? QStringLiteral("听障") : QString();
}

QString joined(const QStringList &words)
{
    QStringList kept = words;
    kept.removeAll(QString());
    return kept.join(QLatin1Char(' '));
}

// Appends the id to every label that stands more than once.
template <class Track>
QStringList toldApart(const QStringList &labels, const QList<Track> &tracks)
{
    QStringList result = labels;
    for (int i = 0; i < result.size(); ++i) {
        if (labels.count(labels.at(i)) > 1) {
            result[i] += QStringLiteral(" #%1").arg(tracks.at(i).id);
        }
    }
    return result;
}

} // namespace

QString languageName(const QString &tag)
{
    if (tag.isEmpty() || tag == QLatin1String("und")) {
        return QStringLiteral("未知语言");
    }
    const Language *language = languageOf(tag);
    return language ? QString::fromUtf8(language->name) : tag;
}

QStringList chineseTags()
{
    return QStringLiteral("chi zho zh cmn zh-Hans zh-CN zh-SG zh-Hant zh-TW zh-HK zh-MO")
        .split(QLatin1Char(' '));
}

QStringList languageTags(const QString &tag)
{
    if (tag.isEmpty()) {
        return {};
    }
    QStringList tags{tag};
    if (const Language *language = languageOf(tag)) {
        tags += QString::fromLatin1(language->tags).simplified().split(QLatin1Char(' '));
        tags.removeDuplicates();
    }
    return tags;
}

QStringList audioTrackLabels(const TrackInfo &tracks, const TrackTitles &titles)
{
    QStringList labels;
    for (const AudioTrack &track : tracks.audioTracks) {
        const int channels =
            track.audioChannels > 0 ? track.audioChannels : track.demuxChannelCount;
        const QString language = languageName(track.lang);
        labels.append(joined({language, titleText(titles.value(track.id), language),
                              codecName(track.codec), channelText(channels)}));
    }
    return toldApart(labels, tracks.audioTracks);
}

QStringList subtitleTrackLabels(const TrackInfo &tracks, const TrackTitles &titles)
{
    QStringList labels;
    for (const SubTrack &track : tracks.subTracks) {
        const QString language = languageName(track.lang);
        labels.append(joined({language, titleText(titles.value(track.id), language),
                              codecName(track.codec), purpose(track)}));
    }
    return toldApart(labels, tracks.subTracks);
}
