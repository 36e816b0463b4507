#include "ui/files/file_kinds.h"

#include <QHash>
#include <QIcon>

#include "api/records/file_records.h"
#include "app/file_icons/file_icons.h"

namespace {

QStringList words(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QVector<FileKindInfo> makeKinds()
{
    return {
        {FileKind::Folder,
         QStringLiteral("文件夹"),
         QStringLiteral(":/image/folder.svg"),
         QString(),
         {}},
        {FileKind::Video, QStringLiteral("视频"), QStringLiteral(":/image/video.svg"),
         QStringLiteral("video"),
         words(QStringLiteral("mp4 mkv avi mov wmv flv webm m4v mpg mpeg ts m2ts mts rm rmvb 3gp "
                              "vob ogv asf f4v divx"))},
        {FileKind::Audio, QStringLiteral("音频"), QStringLiteral(":/image/audio.svg"),
         QStringLiteral("audio"),
         words(QStringLiteral("mp3 flac wav aac m4a ogg oga opus wma ape alac aiff amr mid dsf"))},
        {FileKind::Image, QStringLiteral("图片"), QStringLiteral(":/image/image.svg"),
         QStringLiteral("image"),
         words(QStringLiteral("jpg jpeg png gif bmp webp svg tif tiff heic heif ico raw cr2 nef "
                              "psd"))},
        {FileKind::Document, QStringLiteral("文档"), QStringLiteral(":/image/doc.svg"),
         QStringLiteral("doc"),
         words(QStringLiteral("txt md pdf doc docx xls xlsx ppt pptx odt ods odp rtf csv html htm "
                              "xml json epub mobi azw3 srt ass ssa vtt sub lrc log ini"))},
        {FileKind::Archive, QStringLiteral("压缩包"), QStringLiteral(":/image/zip.svg"),
         QStringLiteral("zip"),
         words(QStringLiteral("zip rar 7z tar gz tgz bz2 xz zst lz4 iso cab"))},
        {FileKind::Other,
         QStringLiteral("其他"),
         QStringLiteral(":/image/other.svg"),
         QStringLiteral("others"),
         {}},
    };
}

const FileKindInfo &infoOf(FileKind kind)
{
    return fileKinds().at(static_cast<int>(kind));
}

QHash<QString, FileKind> kindsByExtension()
{
    QHash<QString, FileKind> kinds;
    for (const FileKindInfo &info : fileKinds()) {
        for (const QString &extension : info.extensions) {
            kinds.insert(extension, info.kind);
        }
    }
    return kinds;
}

const FileKind *kindOfExtension(const QString &extension)
{
    static const QHash<QString, FileKind> kinds = kindsByExtension();
    const auto found = kinds.constFind(extension);
    return found == kinds.constEnd() ? nullptr : &found.value();
}

FileKind kindOfCategory(const QString &category)
{
    for (const FileKindInfo &info : fileKinds()) {
        if (!category.isEmpty() && info.category == category) {
            return info.kind;
        }
    }
    return FileKind::Other;
}

// The lookup asks the system and leaves a file behind each time: once per extension is enough.
QString systemTypeOf(const QString &extension)
{
    static QHash<QString, QString> types;
    auto found = types.find(extension);
    if (found == types.end()) {
        found = types.insert(extension, typeForExtension(extension));
    }
    return found.value();
}

} // namespace

const QVector<FileKindInfo> &fileKinds()
{
    static const QVector<FileKindInfo> kinds = makeKinds();
    return kinds;
}

QString extensionOf(const FileItem &file)
{
    if (!file.file_extension.isEmpty()) {
        return file.file_extension.toLower();
    }
    const int dot = file.name.lastIndexOf(QLatin1Char('.'));
    return dot > 0 ? file.name.mid(dot + 1).toLower() : QString();
}

FileKind kindOf(const FileItem &file)
{
    if (file.type == QLatin1String("folder")) {
        return FileKind::Folder;
    }
    const FileKind *kind = kindOfExtension(extensionOf(file));
    return kind ? *kind : kindOfCategory(file.category);
}

bool isVideo(const FileItem &file)
{
    return file.category == infoOf(FileKind::Video).category;
}

QString typeText(const FileItem &file)
{
    const FileKind kind = kindOf(file);
    const QString extension = extensionOf(file);
    if (kind == FileKind::Folder || extension.isEmpty() || kindOfExtension(extension)) {
        return infoOf(kind).name;
    }
    const QString systemType = systemTypeOf(extension);
    return systemType.isEmpty() ? infoOf(kind).name : systemType;
}

const QIcon &iconOf(FileKind kind)
{
    static QHash<int, QIcon> icons;
    auto found = icons.find(static_cast<int>(kind));
    if (found == icons.end()) {
        QIcon icon(infoOf(kind).iconPath);
        // Without a picture of its own a selected icon is tinted with the selection's colour.
        icon.addFile(infoOf(kind).iconPath, QSize(), QIcon::Selected);
        found = icons.insert(static_cast<int>(kind), icon);
    }
    return found.value();
}
