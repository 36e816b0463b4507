#include "player/session/subtitle_files.h"

#include <algorithm>

#include <QDir>

#include "api/records/file_records.h"
#include "app/environment/file_name.h"

bool isSubtitleFile(const QString &name)
{
    static const QStringList extensions{QStringLiteral("srt"),  QStringLiteral("vtt"),
                                        QStringLiteral("ttml"), QStringLiteral("sub"),
                                        QStringLiteral("ass"),  QStringLiteral("ssa")};
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot >= 0 && extensions.contains(name.mid(dot + 1).toLower());
}

QList<FileItem> subtitleFilesOf(const QList<FileItem> &files)
{
    QList<FileItem> subtitles;
    std::copy_if(files.cbegin(), files.cend(), std::back_inserter(subtitles),
                 [](const FileItem &file) {
                     return file.type != QLatin1String("folder") && isSubtitleFile(file.name);
                 });
    return subtitles;
}

QString videoBaseName(const QString &name)
{
    const int dot = name.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? name : name.left(dot);
}

const FileItem *findSimilarSubtitle(const QList<FileItem> &subtitles, const QString &videoName)
{
    const QString baseName = videoBaseName(videoName);
    const auto found =
        std::find_if(subtitles.cbegin(), subtitles.cend(), [&baseName](const FileItem &file) {
            return file.name.contains(baseName, Qt::CaseSensitive);
        });
    return found == subtitles.cend() ? nullptr : &*found;
}

QString subtitleTempPath(const FileItem &subtitle)
{
    // The id keeps files of the same name in two folders, or of two players, apart.
    const QString name = subtitle.name + QLatin1Char('.') + subtitle.file_id;
    return safePathInFolder(QDir::tempPath(), name + QStringLiteral(".subtitle"));
}
