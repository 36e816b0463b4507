#include "db/tables/file_lock.h"

#include <QElapsedTimer>
#include <QThread>

#include "app/environment/data_dir.h"
#include "db/tables/database_file.h"

#ifdef Q_OS_UNIX
#include <cerrno>

#include <sys/file.h>
#endif

namespace {

constexpr int Pause = 10; // ms between two tries

bool isTaken(int handle, FileLock::Part part)
{
#ifdef Q_OS_UNIX
    return flock(handle, (part == FileLock::Part::All ? LOCK_EX : LOCK_SH) | LOCK_NB) == 0;
#else
    return true; // an open file keeps its name there
#endif
}

bool isOfAnother()
{
#ifdef Q_OS_UNIX
    return errno == EWOULDBLOCK || errno == EINTR;
#else
    return false;
#endif
}

} // namespace

FileVerdict FileLock::take(const QString &filePath, Part part)
{
    release();
    m_file.setFileName(filePath + QStringLiteral(".lock"));
    const FileVerdict withoutLock = part == Part::All ? FileVerdict::NoWriting : FileVerdict::Good;
    if (!m_file.open(QIODevice::ReadWrite)) {
        return withoutLock;
    }
    restrictToOwner(m_file.fileName(), QFile::ReadOwner | QFile::WriteOwner);
    QElapsedTimer waited;
    waited.start();
    while (!isTaken(m_file.handle(), part)) {
        const bool isHeld = isOfAnother();
        if (!isHeld || waited.elapsed() > ProbeMilliseconds) {
            release();
            return isHeld ? FileVerdict::Locked : withoutLock;
        }
        QThread::msleep(Pause);
    }
    return FileVerdict::Good;
}
