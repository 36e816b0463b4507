#include "app/environment/settings_file.h"

#include <QFile>

#include "app/environment/data_dir.h"

std::unique_ptr<QSettings> openSettingsFile()
{
    const QString path = dataDir() + QStringLiteral("/mrsettings.ini");
    QFile file(path);
    if (!file.exists() && file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.close();
    restrictToOwner(path, QFile::ReadOwner | QFile::WriteOwner);
    return std::make_unique<QSettings>(path, QSettings::IniFormat);
}
