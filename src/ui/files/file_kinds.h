#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

class FileItem;
class QIcon;

// What a list entry is to the user.
enum class FileKind { Folder, Video, Audio, Image, Document, Archive, Other };

struct FileKindInfo
{
    FileKind kind;
    QString name; // shown in the type column and in the type filter
    QString iconPath;
    QString category; // the drive's own word for it
    QStringList extensions;
};

// Every kind, in the order in which the type filter offers them.
const QVector<FileKindInfo> &fileKinds();

// By the file's extension; by the drive's category where the extension says nothing.
FileKind kindOf(const FileItem &file);

// The drive says that it can be played as one.
bool isVideo(const FileItem &file);

// The extension in lower case without its dot: the drive's word, or the end of the name.
QString extensionOf(const FileItem &file);

// Type column: the kind's name, or the system's description of an extension outside the table.
QString typeText(const FileItem &file);

// One shared icon for each kind.
const QIcon &iconOf(FileKind kind);
