#include "app/environment/settings_file.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include "app/environment/data_dir.h"

namespace {

// Qt would wait for ever for the other end of a pipe.
bool isNoFile(const QString &path)
{
    const QFileInfo file(path);
    return file.exists() && !file.isFile();
}

QString substituteFor(const QString &path)
{
    static const QTemporaryDir folder;
    static const bool told = [&path] {
        qWarning() << "the settings file is no file, nothing is kept:" << path;
        return true;
    }();
    Q_UNUSED(told)
    return folder.filePath(QStringLiteral("mrsettings.ini"));
}

} // namespace

QString settingsFilePath()
{
    return dataDir() + QStringLiteral("/mrsettings.ini");
}

std::unique_ptr<QSettings> openSettingsFile()
{
    QString path = settingsFilePath();
    if (isNoFile(path)) {
        path = substituteFor(path);
    }
    QFile file(path);
    if (!file.exists() && file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        file.close();
    }
    restrictToOwner(path, QFile::ReadOwner | QFile::WriteOwner);
    return std::make_unique<QSettings>(path, QSettings::IniFormat);
}

bool isSettingsFileUsable()
{
    const QFileInfo file(settingsFilePath());
    return file.isFile() && file.isReadable() && file.isWritable();
}
