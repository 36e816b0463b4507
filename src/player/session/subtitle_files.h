#pragma once

#include <QList>
#include <QString>

class FileItem;
struct OfferedSubtitle;

// Subtitle files that lie beside a video in its cloud folder.

// Whether the name's extension is one of a subtitle file, letter case aside.
bool isSubtitleFile(const QString &name);

// The files of a folder that are subtitles, in the folder's order.
QList<OfferedSubtitle> subtitleFilesOf(const QList<FileItem> &files);

// The name up to its last "."; the whole name when it has none.
QString videoBaseName(const QString &name);

// The first subtitle file whose name contains the video's base name, letter case included; null
// when there is none.
const OfferedSubtitle *findSimilarSubtitle(const QList<OfferedSubtitle> &subtitles,
                                           const QString &videoName);

// Where a subtitle file is downloaded to: in the folder, ".subtitle" at the end.
QString subtitlePath(const QString &folder, const OfferedSubtitle &subtitle);

// Whether a file that begins like this is subtitles, in any charset that libmpv recognises. What
// libmpv would take for something else (a play list, an edit list, a film) is not.
bool isSubtitleContent(const QByteArray &beginning);
