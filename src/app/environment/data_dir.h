#pragma once

#include <QFile>
#include <QString>

// The user's data directory, "moravu" in the home directory, without a trailing separator. It is
// created when it is missing and is open to its owner only.
QString dataDir();

// Takes from the file or directory whatever the permissions do not name; adds none.
void restrictToOwner(const QString &path, QFile::Permissions permissions);
