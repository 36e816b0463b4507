#include "player/session/subtitle_files.h"

#include <algorithm>

#include <QRegularExpression>
#include <QTextCodec>

#include "api/records/file_records.h"
#include "app/environment/file_name.h"
#include "player/session/offered_subtitle.h"

bool isSubtitleFile(const QString &name)
{
    static const QStringList extensions{QStringLiteral("srt"),  QStringLiteral("vtt"),
                                        QStringLiteral("ttml"), QStringLiteral("sub"),
                                        QStringLiteral("ass"),  QStringLiteral("ssa")};
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot >= 0 && extensions.contains(name.mid(dot + 1).toLower());
}

QList<OfferedSubtitle> subtitleFilesOf(const QList<FileItem> &files)
{
    QList<OfferedSubtitle> subtitles;
    for (const FileItem &file : files) {
        if (file.type != QLatin1String("folder") && isSubtitleFile(file.name)) {
            subtitles.append({file.file_id, file.name});
        }
    }
    return subtitles;
}

QString videoBaseName(const QString &name)
{
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? name : name.left(dot);
}

const OfferedSubtitle *findSimilarSubtitle(const QList<OfferedSubtitle> &subtitles,
                                           const QString &videoName)
{
    const QString baseName = videoBaseName(videoName);
    const auto found = std::find_if(subtitles.cbegin(), subtitles.cend(),
                                    [&baseName](const OfferedSubtitle &subtitle) {
                                        return subtitle.name.contains(baseName, Qt::CaseSensitive);
                                    });
    return found == subtitles.cend() ? nullptr : &*found;
}

QString subtitlePath(const QString &folder, const OfferedSubtitle &subtitle)
{
    // The id keeps files of the same name in two folders of the drive apart.
    const QString name = subtitle.name + QLatin1Char('.') + subtitle.id;
    return safePathInFolder(folder, name + QStringLiteral(".subtitle"));
}

// libmpv goes by how a file begins, so what begins like none of these is none. They are what goes
// by the extensions above: texts in which a time comes first (SubRip, SubViewer), frame numbers
// (MicroDVD, MPL2), WebVTT, Substation Alpha, TTML, MPSub, SAMI.
bool isSubtitleContent(const QByteArray &beginning)
{
    static const QRegularExpression kinds(
        QStringLiteral(R"(^\s*((\d+[^\n]*\n\s*)?-?\d+:\d+:\d+|\{(\d+|DEFAULT)\}\{|\[\d+\]\[\d+\])"
                       R"(|\[\d+:\d+:\d+\]|\[INFORMATION\]|WEBVTT\s|\[Script Info\])"
                       R"(|(<\?xml[^>]*>\s*)?(<!--.*-->\s*)?<tt[\s:>]|(TITLE|FORMAT)=|<SAMI))"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    // Every charset but UTF-16 writes these signs as ISO 8859-1 does.
    constexpr int Latin1 = 4;
    const QString text = QTextCodec::codecForUtfText(beginning, QTextCodec::codecForMib(Latin1))
                             ->toUnicode(beginning);
    return !text.contains(QChar(QChar::Null)) && kinds.match(text).hasMatch();
}
