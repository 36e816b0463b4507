#pragma once

#include <QString>
#include <QTemporaryDir>

// A new folder for subtitle files in the system's temporary directory, which only the user can see;
// removed with this object. As long as it lives it is locked: no other process takes it for one
// that was left behind.
class SubtitleFolder final
{
    Q_DISABLE_COPY_MOVE(SubtitleFolder)

public:
    SubtitleFolder();
    ~SubtitleFolder();

    // Empty when it could not be made, for the reason that errorString() tells.
    [[nodiscard]] QString path() const;
    [[nodiscard]] QString errorString() const { return m_folder.errorString(); }

private:
    QTemporaryDir m_folder;
    int m_lock;
};

// Removes the folders of this user that a program which was killed left behind a day ago or
// earlier.
void removeOldSubtitleFolders();
