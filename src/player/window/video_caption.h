#pragma once

#include <QLabel>
#include <QTimer>

// A short line in the video's corner that says for a moment what a key or a menu has changed. It
// covers little and lets the mouse through; a later line takes the place of an earlier one.
class VideoCaption final : public QLabel
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoCaption)

public:
    explicit VideoCaption(QWidget *video);

    // Plain text.
    void say(const QString &text);

private:
    QTimer m_timeUp;
};
