#include "player/session/episode_number.h"

#include <QList>
#include <QRegularExpression>

#include "player/session/subtitle_files.h"

namespace {

// More than so many in one file are a whole season under one name.
constexpr int MostInOneFile = 4;

struct Replacement
{
    const char *expression;
    const char *with;
};

// Names are looked at in small letters, compatibility forms and brackets made plain.
constexpr Replacement Plainness[] = {
    {"_", " "},
    {"[【「『〖]", "["},
    {"[】」』〗]", "]"},
    // A dot stays where it makes a fraction: 5.1, 12.5.
    {R"(\.(?!\d(?![\dk]))|(?<!\d)\.)", " "},
};

// Numbers that are none of an episode.
constexpr Replacement Noise[] = {
    // Checksums, dates, sizes of pictures.
    {R"([\[(][0-9a-f]{8}[\])])", " "},
    {R"((?<!\d)(19|20)\d\d[ .-]?(0[1-9]|1[0-2])[ .-]?([0-2]\d|3[01])(?!\d))", " "},
    {R"((?<![a-z\d])\d{3,4}\s?[x×*]\s?\d{3,4}(?!\d))", " "},
    {R"((?<![a-z\d])(480|540|576|720|1080|1440|2160|4320)([pi](60|50|30|25|24)?)?(?![a-z\d]))",
     " "},
    {R"((?<![a-z\d])[248]k(?![a-z]))", " "},
    // Codecs, colours, rates.
    {R"((?<![a-z])[xh][ .]?26[3-6](?!\d))", " "},
    {R"((?<![a-z])(mpeg|vp|av|mp)-?\d{1,2}(?![a-z\d]))", " "},
    {R"((?<![a-z\d])(ma|hi)?(8|10|12)[- ]?bits?(?![a-z]))", " "},
    {R"((?<![a-z])(ma|hi)(10|444)p*(?![a-z]))", " "},
    {R"((?<![a-z])(hdr|sdr|bt|p)\s?(10\+?|709|2020|5|7|8)(?![a-z\d]))", " "},
    {R"((?<!\d)\d{1,3}(\.\d{1,3})?\s?(fps|帧|k?hz|[kmg]bps))", " "},
    {R"((?<!\d)\d+(\.\d+)?\s?[mg]i?b(?![a-z]))", " "},
    // Sound.
    {R"((e-?)?ac-?3(?![a-z\d]))", " "},
    {R"((?<![a-z])(ddp?\+?|aac|dts(-?hd)?([ -]?ma)?|truehd|flac|opus|l?pcm|ma)[ -]?\d[ .]\d(?!\d))",
     " "},
    {R"((?<![\d.])[1-9]\.[0-2](ch)?(?![a-z\d]))", " "},
    {R"((?<![a-z\d])\d{1,2}\s?(ch|audios?|subs?|音轨)(?![a-z]))", " "},
    // Parts of films, lengths of series, years.
    {R"((?<![a-z])(cd|disc|disk|vol(ume)?|part|卷)[ .-]?\d{1,3}(?!\d))", " "},
    {R"([全共至]\s?第?\d{1,4}\s?[集话話回期])", " "},
    {R"((?<![a-z\d])(19|20)\d\d(?![a-z\d]))", " "},
    // Words behind the number, which end many names.
    {R"((?<![a-z])(web-?(dl|rip)?|blu-?ray|bd(rip|remux)?|dvd(rip)?|hdtv|tvrip|remux|uhd|hevc|avc|aac|flac)(?![a-z]))",
     " "},
    {R"([ .](ch[st]|sc|tc|gb|big5|jpn?|en|eng|chi|zho?|zh-?(cn|tw|hans|hant)|简体?|繁体?|双语|中英)([&+-](eng?|jpn?|简|繁|英|日))?\s*$)",
     " "},
    {R"(\s-[a-z\d]+\s*$)", " "},
    {R"([\[(]\s*[\])])", " "},
    // Versions of a release, its last episode.
    {R"((?<![a-z\d])(\d{2,4})v[1-9](?![a-z\d]))", R"(#\1)"},
    {R"((\d)v[1-9](?![a-z\d]))", R"(\1)"},
    {R"((\d)\s?(end|fin|完|终|終)(?![a-z]))", R"(\1)"},
};

// What lies beside the episodes of a series and may have a number of its own; and films.
constexpr char Special[] =
    R"((?<![a-z])(sps?|o[av][adv]|ona|nc(op|ed)|op|ed|pv|cm|menu|trailer|teaser|preview|specials?)"
    R"(|extras?|movie|film)\s?\d{0,3}(?![a-z])|特典|番外|预告|預告|花絮|剧场版|劇場版|总集篇|總集篇|彩蛋)"
    R"(|\d.*[(\[](19|20)\d\d[)\]]\s*$|episode \d+.*(19|20)\d\d)";

struct Form
{
    const char *expression; // with parts named season, episode and last
    bool isPlain;           // means an episode in whatever it stands
};

// The first form that is found counts. A season that stands for itself is a § here.
constexpr Form Forms[] = {
    {R"((?<![a-z\d])s(?<season>\d{1,2})[ .-]*e(p(isode)?)?[ .-]*(?<episode>\d{1,4}))"
     R"((([-~&+]\s?(s\d{1,2})?(ep?)?|\s?(s\d{1,2})?ep?)(?<last>\d{1,4}))?(?![a-z\d]|\.\d))",
     true},
    {R"((?<![a-z\d.])(?<season>\d{1,2})[x×](?<episode>\d{2,3})(?![a-z\d]))", true},
    {R"(第\s?(?<episode>\d{1,4})(\s?[-~至到]\s?第?(?<last>\d{1,4}))?\s?[集话話回])", true},
    {R"((?<![a-z\d])ep[ .-]*(?<episode>\d{1,4})([-~](ep?)?(?<last>\d{1,4}))?(?![a-z\d]|\.\d))",
     true},
    {R"((?<![a-z\d])e(?<episode>\d{2,4})(([-~]e?|e)(?<last>\d{2,4}))?(?![a-z\d]|\.\d))", true},
    {R"((?<![\d第.])(?<episode>\d{1,4})\s?[集话話](?!全))", true},
    {R"((?<![a-z\d])episode[ .-]*(?<episode>\d{1,4})(?![a-z\d]|\.\d))", false},
    {R"(\[\s?#?(no\s?)?(?<episode>\d{1,4})(\s?[-~]\s?(?<last>\d{1,4}))?\s?\])", false},
    {R"(\s[-–—]\s?#?(?<episode>\d{1,4})(\s?[-~]\s?(?<last>\d{1,4}))?(?=\s*$|\s*[\[(]|\s+[-–—]\s))",
     false},
    {R"(\s[-–—]\s?#?(?<episode>0\d{1,2})(?=\s))", false},
    {R"((?<![a-z\d])#(?<episode>\d{1,4})(?![a-z\d.]))", false},
    {R"(第\s?(?<episode>\d{1,4})\s?期(?!.*[\p{Hiragana}\p{Katakana}]))", false},
    // A bare number: all there is, with a zero in front, or behind a season.
    {R"(^\s*(?<episode>\d{1,2})\s*$)", false},
    {R"(^\s*(?<episode>0[1-9])(?=[\s、-]))", false},
    {R"((?<![a-z\d.~-])(?<episode>0[1-9]\d?)(?=\s*$|\s*[\[(]))", false},
    {R"(§\s?[-–—]?\s?(?<episode>\d{1,3})(?=\s*$|\s*[\[(]))", false},
};

constexpr const char *Seasons[] = {
    R"((?<![a-z\d])s(eason)?[ .-]?(?<season>\d{1,2})(?![a-z\d]))",
    R"((?<![a-z\d])(?<season>\d)(nd|rd|th) season(?![a-z]))",
    R"(第\s?(?<season>\d{1,2})\s?(季|期(?=.*第\s?\d+\s?[集话話回])))",
};

QRegularExpression expression(const char *pattern)
{
    return QRegularExpression(QString::fromUtf8(pattern));
}

// The tables with their expressions compiled, which takes long.
class Rules final
{
public:
    static const Rules &instance()
    {
        static const Rules rules;
        return rules;
    }

    [[nodiscard]] QString plain(const QString &name) const { return replaced(name, m_plainness); }
    [[nodiscard]] QString withoutNoise(const QString &name) const
    {
        return replaced(name, m_noise);
    }
    [[nodiscard]] bool isSpecial(const QString &name) const
    {
        return m_special.match(name).hasMatch();
    }

    struct Reader
    {
        QRegularExpression expression;
        bool isPlain;
    };
    [[nodiscard]] const QList<Reader> &forms() const { return m_forms; }
    [[nodiscard]] const QList<QRegularExpression> &seasons() const { return m_seasons; }

private:
    struct Rule
    {
        QRegularExpression expression;
        QString with;
    };

    Rules() : m_special(expression(Special))
    {
        for (const Replacement &one : Plainness) {
            m_plainness.append({expression(one.expression), QString::fromUtf8(one.with)});
        }
        for (const Replacement &one : Noise) {
            m_noise.append({expression(one.expression), QString::fromUtf8(one.with)});
        }
        for (const Form &form : Forms) {
            m_forms.append({expression(form.expression), form.isPlain});
        }
        for (const char *season : Seasons) {
            m_seasons.append(expression(season));
        }
    }

    static QString replaced(QString name, const QList<Rule> &rules)
    {
        for (const Rule &rule : rules) {
            name.replace(rule.expression, rule.with);
        }
        return name;
    }

    QList<Rule> m_plainness;
    QList<Rule> m_noise;
    QRegularExpression m_special;
    QList<Reader> m_forms;
    QList<QRegularExpression> m_seasons;
};

// "12" for "十二".
QString digitsOf(const QString &text)
{
    const QString digits = QStringLiteral("零一二三四五六七八九");
    int value = 0;
    int digit = -1;
    for (const QChar c : text) {
        const int unit = c == u'十' ? 10 : c == u'百' ? 100 : 0;
        if (unit > 0) {
            value += (digit < 0 ? 1 : digit) * unit;
            digit = -1;
        } else {
            digit = c == u'两' ? 2 : qMax(0, digits.indexOf(c));
        }
    }
    return QString::number(value + qMax(0, digit));
}

QString withoutChineseNumbers(QString name)
{
    static const QRegularExpression number =
        expression("第\\s?([零〇一二三四五六七八九十百两]{1,5})(?=\\s?[集话話回期季])");
    for (auto match = number.match(name); match.hasMatch(); match = number.match(name)) {
        name.replace(match.capturedStart(1), match.capturedLength(1), digitsOf(match.captured(1)));
    }
    return name;
}

std::optional<int> takeSeason(QString &name)
{
    for (const QRegularExpression &one : Rules::instance().seasons()) {
        const auto match = one.match(name);
        if (match.hasMatch()) {
            name.replace(match.capturedStart(), match.capturedLength(), QStringLiteral("§"));
            return match.captured(QStringLiteral("season")).toInt();
        }
    }
    return std::nullopt;
}

std::optional<EpisodeNumber> read(const QString &name, const QRegularExpression &form)
{
    const auto match = form.match(name);
    if (!match.hasMatch()) {
        return std::nullopt;
    }
    EpisodeNumber found;
    found.episode = match.captured(QStringLiteral("episode")).toInt();
    const QString last = match.captured(QStringLiteral("last"));
    found.last = last.isEmpty() ? found.episode : last.toInt();
    const QString season = match.captured(QStringLiteral("season"));
    if (!season.isEmpty()) {
        found.season = season.toInt();
    }
    return found;
}

} // namespace

std::optional<EpisodeNumber> episodeOf(const QString &fileName)
{
    const Rules &rules = Rules::instance();
    const QString base = videoBaseName(fileName).normalized(QString::NormalizationForm_KC);
    const QString plain = rules.plain(base.toLower());
    const bool isSpecial = rules.isSpecial(plain);
    QString name = rules.withoutNoise(withoutChineseNumbers(plain));
    const std::optional<int> season = takeSeason(name);
    for (const Rules::Reader &form : rules.forms()) {
        if (isSpecial && !form.isPlain) {
            break;
        }
        if (auto found = read(name, form.expression)) {
            found->season = found->season ? found->season : season;
            const int count = found->last - found->episode + 1;
            return count >= 1 && count <= MostInOneFile ? found : std::nullopt;
        }
    }
    return std::nullopt;
}

bool isSameEpisode(const EpisodeNumber &left, const std::optional<EpisodeNumber> &right)
{
    return right && left.episode == right->episode && left.last == right->last &&
           (!left.season || !right->season || *left.season == *right->season);
}
