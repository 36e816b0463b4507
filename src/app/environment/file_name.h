#pragma once

#include <QString>

// A file name that is safe on every platform, made from a name that a server sent: the part behind
// the last separator, without control characters and text-direction overrides, with "_" for what
// some file system forbids, at most 200 bytes of UTF-8 (the extension is kept), and never empty,
// hidden, an option of a command or a Windows device.
QString safeFileName(const QString &serverName);

// The name as it is to be drawn: what would turn the text behind it round is shown as a mark, so
// that no name reads as another.
QString withVisibleOverrides(QString serverName);

// The path of that file name in the folder.
QString safePathInFolder(const QString &folder, const QString &serverName);
