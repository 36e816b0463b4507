#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>

// Lets through what comes many times a second once a second: at once after a pause, else when the
// second is over, so that the last one is not lost.
class OnceASecond final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(OnceASecond)

public:
    OnceASecond();

    void call();
    // The next call goes through at once; what waits is forgotten.
    void restart();

signals:
    void due();

private:
    void emitDue();

    QElapsedTimer m_sinceDue;
    QTimer m_late;
};
