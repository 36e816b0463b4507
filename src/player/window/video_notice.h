#pragma once

#include <QWidget>

class WaitingSpinnerWidget;

// What stands over the video while there is no picture: a turning ring while one is awaited, or a
// line of text that says why none comes. It covers its parent, follows the parent's size and lets
// the mouse through.
class VideoNotice final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoNotice)

public:
    explicit VideoNotice(QWidget *parent);

    [[nodiscard]] QString text() const { return m_text; }

    void wait();
    void say(const QString &text);
    // The video speaks for itself.
    void clear();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void showText(const QString &text);

    WaitingSpinnerWidget *m_spinner = nullptr;
    QString m_text;
};
