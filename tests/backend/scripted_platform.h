#pragma once

#include <string>
#include <vector>

#include <QMutex>
#include <QSemaphore>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

enum class Manner {
    Closes,   // After its bytes.
    Hangs,    // After its bytes, with the connection open.
    Trickles, // Its bytes, one every 50 ms.
};

// A platform that reads a request and answers with given bytes, whatever was asked.
class ScriptedPlatform final : private QThread
{
public:
    ScriptedPlatform(const std::string &bytes, Manner manner)
        : m_bytes(QByteArray::fromStdString(bytes)), m_manner(manner)
    {
        start();
        m_listening.acquire();
    }
    ~ScriptedPlatform() override
    {
        requestInterruption();
        wait();
    }

    [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(m_port); }
    // The requests so far, head and body.
    [[nodiscard]] std::vector<std::string> requests() const
    {
        const QMutexLocker lock(&m_mutex);
        return m_requests;
    }

private:
    void run() override
    {
        QTcpServer server; // Keeps the connections that hang.
        server.listen(QHostAddress::LocalHost);
        m_port = server.serverPort();
        m_listening.release();
        while (!isInterruptionRequested()) {
            if (server.waitForNewConnection(20)) {
                serve(server.nextPendingConnection());
            }
        }
    }
    void serve(QTcpSocket *socket)
    {
        QByteArray request;
        while (!request.endsWith('}') && socket->waitForReadyRead()) {
            request += socket->readAll();
        }
        {
            const QMutexLocker lock(&m_mutex);
            m_requests.push_back(request.toStdString());
        }
        const int piece = m_manner == Manner::Trickles ? 1 : m_bytes.size();
        for (int sent = 0; sent < m_bytes.size(); sent += piece) {
            socket->write(m_bytes.mid(sent, piece));
            if (!socket->waitForBytesWritten()) {
                break;
            }
            msleep(m_manner == Manner::Trickles ? 50 : 0);
        }
        if (m_manner != Manner::Hangs) {
            socket->disconnectFromHost();
        }
    }

    const QByteArray m_bytes;
    const Manner m_manner;
    QSemaphore m_listening;
    quint16 m_port = 0;
    mutable QMutex m_mutex; // Guards the requests.
    std::vector<std::string> m_requests;
};
