#pragma once

#include <functional>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

// A request as it came over the wire; header names in lower case.
struct ReceivedRequest
{
    QByteArray method;
    QByteArray target;
    QHash<QByteArray, QByteArray> headers;
    QByteArray body;
};

// What the server does with one request: it writes these bytes as they stand, then keeps the
// connection, closes it, resets it, or sends a blank every 40 ms.
struct ScriptedAnswer
{
    enum class Ending { Keep, Close, Reset, Trickle };

    QByteArray bytes;
    Ending ending = Ending::Keep;
};

// "HTTP/1.1 <status>" with the headers, a matching Content-Length and the body.
inline ScriptedAnswer answer(const QByteArray &status, const QByteArray &body,
                             const QByteArray &headerLines = {})
{
    return {"HTTP/1.1 " + status + "\r\n" + headerLines +
            "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body};
}

// What an honest file server says to HEAD and to ranges.
inline ScriptedAnswer fileAnswer(const ReceivedRequest &request, const QByteArray &content)
{
    if (request.method == "HEAD") {
        return {"HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(content.size()) +
                "\r\n\r\n"};
    }
    const QList<QByteArray> ends = request.headers.value("range").mid(6).split('-');
    const int first = ends.value(0).toInt();
    const int last = qMin(ends.value(1).toInt(), content.size() - 1);
    const QByteArray range = "Content-Range: bytes " + QByteArray::number(first) + '-' +
                             QByteArray::number(last) + '/' + QByteArray::number(content.size());
    return answer("206 Partial Content", content.mid(first, last - first + 1), range + "\r\n");
}

// An HTTP server on loopback that answers to the byte what a test tells it to, on the test's own
// thread.
class ScriptedServer final : public QTcpServer
{
    Q_OBJECT

public:
    using Script = std::function<ScriptedAnswer(const ReceivedRequest &)>;

    explicit ScriptedServer(Script script) : m_script(std::move(script))
    {
        listen(QHostAddress::LocalHost);
        connect(this, &QTcpServer::newConnection, this, &ScriptedServer::acceptConnection);
    }

    QString url(const QString &path = QStringLiteral("/")) const
    {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(serverPort()).arg(path);
    }

    const QList<ReceivedRequest> &requests() const { return m_requests; }
    int openConnections() const { return int(findChildren<QTcpSocket *>().size()); }

    // Measurements must not grow with a log.
    void keepNoRequests() { m_keepsRequests = false; }

private:
    void acceptConnection()
    {
        while (QTcpSocket *socket = nextPendingConnection()) {
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { read(socket); });
            connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
                m_buffers.remove(socket);
                socket->deleteLater();
            });
        }
    }

    void read(QTcpSocket *socket)
    {
        acknowledgeAtOnce(socket);
        QByteArray &buffer = m_buffers[socket];
        buffer += socket->readAll();
        const int headEnd = buffer.indexOf("\r\n\r\n");
        if (headEnd < 0) {
            return;
        }
        ReceivedRequest request = parseHead(buffer.left(headEnd));
        const int length = request.headers.value("content-length").toInt();
        if (buffer.size() < headEnd + 4 + length) {
            return;
        }
        request.body = buffer.mid(headEnd + 4, length);
        buffer.clear();
        if (m_keepsRequests) {
            m_requests.append(request);
        }
        reply(socket, m_script(request));
    }

    // Qt sends a request's head and body apart, and the body waits until the head is acknowledged,
    // which the kernel puts off by 40 ms.
    static void acknowledgeAtOnce(const QTcpSocket *socket)
    {
        const int on = 1;
        setsockopt(int(socket->socketDescriptor()), IPPROTO_TCP, TCP_QUICKACK, &on, sizeof(on));
    }

    static ReceivedRequest parseHead(const QByteArray &head)
    {
        ReceivedRequest request;
        QList<QByteArray> lines = head.split('\n');
        const QList<QByteArray> requestLine = lines.takeFirst().split(' ');
        request.method = requestLine.value(0);
        request.target = requestLine.value(1);
        for (const QByteArray &line : qAsConst(lines)) {
            const int colon = line.indexOf(':');
            request.headers.insert(line.left(colon).toLower(), line.mid(colon + 1).trimmed());
        }
        return request;
    }

    static void reply(QTcpSocket *socket, const ScriptedAnswer &scripted)
    {
        socket->write(scripted.bytes);
        socket->flush();
        if (scripted.ending == ScriptedAnswer::Ending::Close) {
            socket->disconnectFromHost();
        } else if (scripted.ending == ScriptedAnswer::Ending::Reset) {
            socket->abort();
        } else if (scripted.ending == ScriptedAnswer::Ending::Trickle) {
            auto *timer = new QTimer(socket);
            connect(timer, &QTimer::timeout, socket, [socket] { socket->write(" "); });
            timer->start(40);
        }
    }

    const Script m_script;
    QHash<QTcpSocket *, QByteArray> m_buffers;
    QList<ReceivedRequest> m_requests;
    bool m_keepsRequests = true;
};
