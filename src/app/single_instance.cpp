#include "app/single_instance.h"

#include <QCryptographicHash>
#include <QDebug>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>
#include <QThread>

#include "app/environment/data_dir.h"

#ifdef Q_OS_UNIX
#include <unistd.h>
#endif

namespace {

constexpr int Patience = 3000; // ms, for a first one that is busy, or still starts or ends
constexpr int Pause = 20;      // ms between two looks
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

SingleInstance::SingleInstance() : m_folder(meetingFolder())
{
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::onConnection);
}

// The lock goes last: whoever gets it may take the socket's place.
SingleInstance::~SingleInstance()
{
    m_server.close();
}

QString SingleInstance::socketPath() const
{
    return m_folder + QStringLiteral("/socket");
}

SingleInstance::Role SingleInstance::claim()
{
    if (m_folder.isEmpty()) {
        qDebug() << "there is no folder in which a second start could find this one";
        return Role::Beside;
    }
    m_lock = std::make_unique<QLockFile>(m_folder + QStringLiteral("/lock"));
    m_lock->setStaleLockTime(0); // only a process that is gone has lost it
    QElapsedTimer waited;
    waited.start();
    while (!m_lock->tryLock(0)) {
        const int left = Patience - int(waited.elapsed());
        if (m_lock->error() != QLockFile::LockFailedError || left <= 0) {
            qDebug() << "the program that was started before does not answer";
            return Role::Beside;
        }
        if (isAnswered(left)) {
            return Role::Second;
        }
        QThread::msleep(Pause);
    }
    return listen();
}

SingleInstance::Role SingleInstance::listen()
{
    QLocalServer::removeServer(socketPath()); // of a process that was killed
    if (m_server.listen(socketPath())) {
        return Role::First;
    }
    qDebug() << "a second start will not find this one:" << m_server.errorString();
    m_lock->unlock();
    return Role::Beside;
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
    if (caller->canReadLine() && caller->readLine() == RaiseRequest) {
        caller->write(Answer);
        caller->flush();
        emit raiseRequested();
    }
}
