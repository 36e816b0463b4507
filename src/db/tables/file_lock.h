#pragma once

#include <QFile>
#include <QString>

enum class FileVerdict;

// Keeps the database's file in its place. Who uses the file has a share of its lock, who puts it
// aside has all of it: nobody goes on writing into a file that has another name by now. The system
// takes the lock from a process that is gone. It lies in a file of its own beside the database,
// which stays there.
class FileLock final
{
    Q_DISABLE_COPY_MOVE(FileLock)

public:
    enum class Part { Share, All };

    FileLock() = default;
    ~FileLock() { release(); }

    // Instead of what is held until now. Waits a moment for other processes: Locked when they do
    // not let go. Where there are no locks, a share is always Good, but nothing is put aside
    // (NoWriting).
    [[nodiscard]] FileVerdict take(const QString &filePath, Part part);
    void release() { m_file.close(); }

private:
    QFile m_file;
};
