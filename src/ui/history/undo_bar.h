#pragma once

#include <QFrame>
#include <QTimer>

class QLabel;

// A line that tells of something done at once, with a button that takes it back. Hidden until
// something was done, and again ten seconds after the last of it.
class UndoBar final : public QFrame
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(UndoBar)

public:
    explicit UndoBar(QWidget *parent = nullptr);

    void offer(const QString &text);
    // Takes the offer back; nobody is told.
    void withdraw();

signals:
    void undoRequested();
    // Nobody took the offer.
    void expired();

private:
    void onUndoClicked();
    void onTimeout();

    QLabel *m_label = nullptr;
    QTimer m_timer;
};
