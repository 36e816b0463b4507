#pragma once

#include <QIcon>
#include <QString>

// What the platform shows for files of an extension (without the dot). Both ask through a file in
// the temporary directory: ask once per extension, never once per row. typeForExtension leaves its
// file there. An extension that came from a server names no file outside that directory.

// Null when the platform has no icon for it, or when the directory cannot be written.
QIcon iconForExtension(const QString &suffix);

// "mkv File"; empty when the directory cannot be written.
QString typeForExtension(const QString &suffix);
