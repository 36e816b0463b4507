#pragma once

#include <chrono>

#include <QObject>
#include <QUrl>

// Tells when a server that the network had lost can be reached again: after a laptop's sleep, when
// the network is back, when the server is up. Who asks reports how its requests end. From a loss
// on, the server is tried with a connection and nothing more, first after `pause` and then at
// growing intervals up to `longestPause`, which are short again only once it has replied.
class Reachability final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Reachability)

public:
    explicit Reachability(std::chrono::milliseconds pause = std::chrono::seconds(5),
                          std::chrono::milliseconds longestPause = std::chrono::seconds(60));

    // A reply has come, whatever it says.
    void onReplied();
    // A request has failed for the network.
    void onLost(const QUrl &server);

signals:
    // Once after each loss, from the event loop: what failed to load may be asked for again.
    void returned();

private:
    void tryLater();
    void tryServer();
    void tellReturned();

    const std::chrono::milliseconds m_firstPause;
    const std::chrono::milliseconds m_longestPause;
    std::chrono::milliseconds m_pause;
    QUrl m_server;
    bool m_isLost = false;
    bool m_isTrying = false;
};
