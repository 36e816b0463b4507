#include "net/reachability.h"

#include <algorithm>

#include <QCoreApplication>
#include <QTcpSocket>
#include <QTimer>

namespace {

constexpr quint16 HttpPort = 80;
constexpr quint16 HttpsPort = 443;
constexpr std::chrono::seconds LongestTry(10);

quint16 portOf(const QUrl &server)
{
    const bool isSecure = server.scheme() == QLatin1String("https");
    return static_cast<quint16>(server.port(isSecure ? HttpsPort : HttpPort));
}

} // namespace

Reachability::Reachability(std::chrono::milliseconds pause, std::chrono::milliseconds longestPause)
    : m_firstPause(pause), m_longestPause(longestPause), m_pause(pause)
{
}

void Reachability::onReplied()
{
    m_pause = m_firstPause;
    tellReturned();
}

void Reachability::onLost(const QUrl &server)
{
    m_server = server;
    m_isLost = true;
    if (!m_isTrying) {
        m_isTrying = true;
        tryLater();
    }
}

// The intervals grow from loss to loss as well: a server that takes connections and answers none
// would else be asked by everybody, time and again.
void Reachability::tryLater()
{
    QTimer::singleShot(m_pause, this, [this] { tryServer(); });
    m_pause = std::min(2 * m_pause, m_longestPause);
}

void Reachability::tryServer()
{
    if (!m_isLost) {
        m_isTrying = false;
        return;
    }
    // Whichever comes first takes the socket, and what belongs to it, away.
    auto *socket = new QTcpSocket(QCoreApplication::instance());
    const auto failed = [this, socket] {
        socket->disconnect(this);
        socket->deleteLater();
        tryLater();
    };
    connect(socket, &QTcpSocket::connected, this, [this, socket] {
        socket->deleteLater();
        m_isTrying = false;
        tellReturned();
    });
    connect(socket, &QAbstractSocket::errorOccurred, this, failed);
    QTimer::singleShot(LongestTry, socket, failed);
    socket->connectToHost(m_server.host(), portOf(m_server));
}

void Reachability::tellReturned()
{
    if (m_isLost) {
        m_isLost = false;
        QMetaObject::invokeMethod(this, &Reachability::returned, Qt::QueuedConnection);
    }
}
