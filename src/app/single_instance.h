#pragma once

#include <functional>

#include <QFile>
#include <QLocalServer>
#include <QObject>
#include <QTimer>

class QLocalSocket;

// Makes this the one process of the data folder, or finds the one that is. They meet in a folder
// that only the user can use: a lock decides who is the first, a socket reaches it. A process that
// was killed leaves nothing that keeps the next one out.
class SingleInstance final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SingleInstance)

public:
    enum class Role {
        First,  // later ones find this process
        Second, // the first one was asked to come forward, and does
        Beside, // found by nobody: the first one does not answer, or there is no place to meet
    };

    SingleInstance();
    ~SingleInstance() override;

    // Waits up to 3 s for the first one's answer. Beside one that gives none this process takes its
    // place as soon as that has gone.
    [[nodiscard]] Role claim();

    // `bringForward` is called when another process was started: it may leave it to this one only
    // when something came forward. A program that is about to end has nothing to show.
    void setBringForward(const std::function<bool()> &bringForward);

private:
    enum class Lock { Taken, OfAnother, Impossible };

    [[nodiscard]] QString socketPath() const;
    [[nodiscard]] Lock lock();
    [[nodiscard]] Role listen();
    void succeed();
    [[nodiscard]] bool isAnswered(int patience) const;
    void onConnection();
    void onLine(QLocalSocket *caller);

    const QString m_folder; // empty: there is none
    QFile m_lock;
    QLocalServer m_server;
    QTimer m_succession;
    std::function<bool()> m_bringForward = [] { return false; };
};
