#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

class ControlBar;
class MpvWidget;
class QBoxLayout;
class QPoint;
class QSplitter;
class VideoListPanel;

// Turns the player window's full screen on and off, and follows where the window manager does so.
// The video stays where it is, because a widget that is given another parent loses its OpenGL
// context; control bar and list leave their places and appear over the video while the pointer is
// near the bottom or the right edge. Tab brings the bar, too, and puts the keyboard into it; Esc
// takes it back to the video.
class FullScreen final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(FullScreen)

public:
    struct Parts
    {
        QWidget *window;
        QBoxLayout *rows;    // of the window: the splitter, then the bar
        QSplitter *splitter; // the video, then the list
        MpvWidget *video;
        ControlBar *bar;
        VideoListPanel *list;
    };

    explicit FullScreen(const Parts &parts, QObject *parent = nullptr);

    void toggle();
    void leave();
    // The pointer moved over the video; only in full screen.
    void movePointer(const QPoint &position);

    // As they were before full screen, or are now without it; for saving.
    [[nodiscard]] QByteArray geometry() const;
    [[nodiscard]] QByteArray splitterState() const;
    [[nodiscard]] bool isListShown() const;
    // Shows or hides the list, in full screen until the pointer moves.
    void showList(bool shown);

signals:
    void toggled(bool on);
    void listShown(bool shown);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void enter();
    void followWindow();
    void remember();
    void floatParts();
    void dockParts();
    [[nodiscard]] QSize screenSize() const;
    void showBar();
    void hideBar();
    void enterBar();
    void leaveBar();
    bool filterBar(QEvent *event);
    void showListOverVideo(bool shown);
    void hidePointer();
    void forgetPointer();

    const Parts m_parts;
    bool m_on = false;
    bool m_playControlShown = false;
    bool m_isBarEntered = false; // by the keyboard
    bool m_videoListShown = false;
    bool m_videoListVisibleBeforeFullScreen = false;
    bool m_maximizedBefore = false;
    QByteArray m_splitterBefore;
    QTimer m_pointerIdle;
    QTimer m_settling; // of the window's state
};
