#pragma once

#include <QFile>
#include <QString>

// The user's data directory, "moravu" in the home directory, without a trailing separator. It is
// created when it is missing and is open to its owner only.
QString dataDir();

// Takes from the file or directory whatever the permissions do not name; adds none.
void restrictToOwner(const QString &path, QFile::Permissions permissions);

// A GUID in lower case that stays the same on this machine and tells it from others. Where the
// system's own identifier is not meant to be published, the GUID is derived from it and does not
// reveal it; a machine without one gets a random GUID, kept in the settings file.
QString machineGuid();
