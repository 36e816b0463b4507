#include "app/single_instance.h"

#include <chrono>

#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocalSocket>
#include <QStandardPaths>
#include <QThread>

#include "app/environment/data_dir.h"

#ifdef Q_OS_UNIX
#include <cerrno>

#include <sys/file.h>
#include <unistd.h>
#endif

namespace {

constexpr int Patience = 3000; // ms, for a first one that is busy, or still starts or ends
constexpr int Pause = 20;      // ms between two looks
constexpr std::chrono::seconds TimeBetweenTries(3); // to take the place of one that hangs
const char RaiseRequest[] = "raise\n";
const char Answer[] = "ok\n";

bool isOwn(const QFileInfo &folder)
{
    constexpr auto OthersAccess = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup |
                                  QFile::ReadOther | QFile::WriteOther | QFile::ExeOther;
#ifdef Q_OS_UNIX
    if (folder.ownerId() != geteuid() || (folder.permissions() & OthersAccess)) {
        return false;
    }
#endif
    return folder.isDir() && !folder.isSymLink();
}

// Sockets have short paths and want a local disk; the data folder may have neither. Its own path
// only gives the name. Empty where nobody but the user could be kept out.
QString meetingFolder()
{
    const QString canonical = QFileInfo(dataDir()).canonicalFilePath();
    const QByteArray hash = QCryptographicHash::hash(
        QFile::encodeName(canonical.isEmpty() ? dataDir() : canonical), QCryptographicHash::Sha256);
    constexpr int EnoughDigits = 16;
    const QString runtime = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    const QString folder =
        runtime + QStringLiteral("/moravu-") + QString::fromLatin1(hash.toHex().left(EnoughDigits));
    QDir().mkdir(folder);
    restrictToOwner(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return !runtime.isEmpty() && isOwn(QFileInfo(folder)) ? folder : QString();
}

} // namespace

SingleInstance::SingleInstance()
    : m_folder(meetingFolder()), m_lock(m_folder + QStringLiteral("/lock"))
{
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::onConnection);
    m_succession.setInterval(TimeBetweenTries);
    connect(&m_succession, &QTimer::timeout, this, &SingleInstance::succeed);
}

// The lock goes last: whoever gets it may take the socket's place.
SingleInstance::~SingleInstance()
{
    m_server.close();
    m_lock.close();
}

// The system takes the lock from a process that is gone. A QLockFile would wait for the disk, at
// each start.
SingleInstance::Lock SingleInstance::lock()
{
#ifdef Q_OS_UNIX
    if (m_lock.isOpen() || m_lock.open(QIODevice::ReadWrite)) {
        if (flock(m_lock.handle(), LOCK_EX | LOCK_NB) == 0) {
            return Lock::Taken;
        }
        return errno == EWOULDBLOCK ? Lock::OfAnother : Lock::Impossible;
    }
#endif
    return Lock::Impossible;
}

QString SingleInstance::socketPath() const
{
    return m_folder + QStringLiteral("/socket");
}

SingleInstance::Role SingleInstance::claim()
{
    Lock found = m_folder.isEmpty() ? Lock::Impossible : lock();
    QElapsedTimer waited;
    waited.start();
    while (found == Lock::OfAnother && waited.elapsed() < Patience) {
        if (isAnswered(Patience - int(waited.elapsed()))) {
            return Role::Second;
        }
        QThread::msleep(Pause);
        found = lock();
    }
    switch (found) {
    case Lock::Taken:
        return listen();
    case Lock::OfAnother:
        qDebug() << "the program that was started before does not answer";
        m_succession.start();
        break;
    case Lock::Impossible:
        qDebug() << "there is no folder in which a second start could find this one";
        break;
    }
    return Role::Beside;
}

SingleInstance::Role SingleInstance::listen()
{
    QLocalServer::removeServer(socketPath()); // of a process that was killed
    if (m_server.listen(socketPath())) {
        return Role::First;
    }
    qDebug() << "a second start will not find this one:" << m_server.errorString();
    m_lock.close();
    return Role::Beside;
}

void SingleInstance::succeed()
{
    const Lock found = lock();
    if (found == Lock::OfAnother) {
        return;
    }
    m_succession.stop();
    if (found == Lock::Taken && listen() == Role::First) {
        qDebug() << "the program that was started before is gone, this one is the first";
    }
}

bool SingleInstance::isAnswered(int patience) const
{
    QLocalSocket first;
    first.connectToServer(socketPath());
    if (!first.waitForConnected(patience)) {
        return false; // it starts or ends just now
    }
    first.write(RaiseRequest);
    first.flush();
    return first.waitForReadyRead(patience) && first.readAll() == Answer;
}

void SingleInstance::onConnection()
{
    while (QLocalSocket *caller = m_server.nextPendingConnection()) {
        connect(caller, &QLocalSocket::disconnected, caller, &QObject::deleteLater);
        connect(caller, &QLocalSocket::readyRead, this, [this, caller] { onLine(caller); });
        onLine(caller);
    }
}

void SingleInstance::onLine(QLocalSocket *caller)
{
    if (caller->canReadLine() && caller->readLine() == RaiseRequest && m_bringForward()) {
        caller->write(Answer);
        caller->flush();
    }
}

void SingleInstance::setBringForward(const std::function<bool()> &bringForward)
{
    m_bringForward = bringForward;
}
