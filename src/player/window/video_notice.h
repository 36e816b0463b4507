#pragma once

#include <QWidget>

class QPushButton;
class WaitingSpinnerWidget;

// What stands over the video while there is no picture: a turning ring while one is awaited, or a
// line of text that says why none comes, perhaps with a button below it. It covers its parent,
// follows the parent's size and lets the mouse through, but for the button.
class VideoNotice final : public QWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(VideoNotice)

public:
    explicit VideoNotice(QWidget *parent);

    [[nodiscard]] QString text() const { return m_text; }

    void wait();
    // What plays stands still until more of it has been read: so many percent of that are there,
    // -1 where nobody knows.
    void buffer(int percent);
    void say(const QString &text);
    // The video speaks for itself.
    void clear();
    // Shows the button that asks for the source file, or takes it away.
    void offerSource(bool offered);

signals:
    void sourceRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void showText(const QString &text, bool isNews = true);
    void paintBuffering(QPainter &painter);
    void place();

    WaitingSpinnerWidget *m_spinner = nullptr;
    QPushButton *m_source = nullptr; // beside this, which lets the mouse through
    QString m_text;
    bool m_isBuffering = false;
};
