#include "player/session/subtitle_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <QDateTime>
#include <QDir>
#include <QFile>

namespace {

QString folderPrefix()
{
    return QStringLiteral("moravu-subtitles-");
}

void unlock(int folder)
{
    if (folder >= 0) {
        close(folder);
    }
}

// The folder itself is locked, so that it holds nothing but subtitles; the system takes the lock
// from a process that is gone. -1 where another one has it.
int lock(const QString &path)
{
    const int folder =
        open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0 && flock(folder, LOCK_EX | LOCK_NB) == 0) {
        return folder;
    }
    unlock(folder);
    return -1;
}

} // namespace

SubtitleFolder::SubtitleFolder()
    : m_folder(QDir::temp().filePath(folderPrefix() + QStringLiteral("XXXXXX")))
    , m_lock(lock(path()))
{
}

SubtitleFolder::~SubtitleFolder()
{
    unlock(m_lock);
}

QString SubtitleFolder::path() const
{
    return m_folder.isValid() ? m_folder.path() : QString();
}

void removeOldSubtitleFolders()
{
    const QDateTime limit = QDateTime::currentDateTimeUtc().addDays(-1);
    const uint self = QFileInfo(QDir::homePath()).ownerId();
    const QFileInfoList folders = QDir::temp().entryInfoList(
        {folderPrefix() + QLatin1Char('*')}, QDir::Dirs | QDir::NoSymLinks | QDir::Hidden);
    for (const QFileInfo &folder : folders) {
        if (folder.ownerId() != self || folder.lastModified() >= limit) {
            continue;
        }
        const int unused = lock(folder.filePath());
        if (unused >= 0) {
            QDir(folder.filePath()).removeRecursively();
        }
        unlock(unused);
    }
}
