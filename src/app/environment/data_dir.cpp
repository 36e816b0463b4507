#include "app/environment/data_dir.h"

#include <QDir>
#include <QStandardPaths>

QString dataDir()
{
    const QString path =
        QStandardPaths::writableLocation(QStandardPaths::HomeLocation) + QStringLiteral("/moravu");
    if (!QDir().exists(path)) {
        QDir().mkpath(path);
    }
    restrictToOwner(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

void restrictToOwner(const QString &path, QFile::Permissions permissions)
{
    constexpr auto OthersAccess = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                  QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
    const QFile::Permissions present = QFile::permissions(path);
    if (present & OthersAccess) {
        QFile::setPermissions(path, present & permissions);
    }
}
