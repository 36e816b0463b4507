#include "player/window/full_screen.h"

#include <algorithm>

#include <QBoxLayout>
#include <QCoreApplication>
#include <QDebug>
#include <QEvent>
#include <QKeyEvent>
#include <QScreen>
#include <QSplitter>

#include "player/mpv/mpv_widget.h"
#include "player/window/control_bar.h"
#include "player/window/video_list_panel.h"

namespace {

constexpr QSize BarSize(600, 80);
constexpr int ZoneMargin = 10;       // reaches over the screen's edge
constexpr int PointerTimeout = 2500; // milliseconds
// On the way from one state to another a window manager may report a third.
constexpr int SettlingTime = 100; // milliseconds

bool isTab(const QEvent &event)
{
    if (event.type() != QEvent::KeyPress) {
        return false;
    }
    const int key = static_cast<const QKeyEvent &>(event).key();
    return key == Qt::Key_Tab || key == Qt::Key_Backtab;
}

QRect controlZone(const QSize &screen)
{
    const int top = screen.height() - screen.height() / 5;
    return {0, top, screen.width() + ZoneMargin, screen.height() + ZoneMargin};
}

QRect listZone(const QSize &screen)
{
    const int left = screen.width() - screen.width() / 6;
    return {left, 0, screen.width() + ZoneMargin, screen.height() + ZoneMargin};
}

} // namespace

FullScreen::FullScreen(const Parts &parts, QObject *parent) : QObject(parent), m_parts(parts)
{
    m_pointerIdle.setInterval(PointerTimeout);
    m_pointerIdle.setSingleShot(true);
    connect(&m_pointerIdle, &QTimer::timeout, this, &FullScreen::hidePointer);
    m_settling.setInterval(SettlingTime);
    m_settling.setSingleShot(true);
    connect(&m_settling, &QTimer::timeout, this, &FullScreen::followWindow);
    m_parts.window->installEventFilter(this);
    m_parts.bar->installEventFilter(this);
    m_parts.video->installEventFilter(this);
}

bool FullScreen::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_parts.window && event->type() == QEvent::WindowStateChange) {
        m_settling.start();
    }
    if (watched == m_parts.video && m_on && isTab(*event)) {
        // Once Tab has done what it does: it would go one control further than the first.
        QMetaObject::invokeMethod(this, &FullScreen::enterBar, Qt::QueuedConnection);
    }
    if (watched == m_parts.bar && m_on) {
        return filterBar(event);
    }
    return QObject::eventFilter(watched, event);
}

// Over the video the bar stays a part of the window, whatever its window flags are. The keys that
// its controls do not take are the video's.
bool FullScreen::filterBar(QEvent *event)
{
    if (m_isBarEntered && event->type() == QEvent::WindowDeactivate) {
        hideBar();
        return false;
    }
    if (event->type() != QEvent::KeyPress) {
        return false;
    }
    if (m_isBarEntered && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        leaveBar();
        return true;
    }
    return QCoreApplication::sendEvent(m_parts.video, event);
}

void FullScreen::followWindow()
{
    if (m_parts.window->isFullScreen() == m_on) {
        return;
    }
    if (m_on) {
        dockParts();
    } else {
        remember();
        floatParts();
    }
}

void FullScreen::toggle()
{
    if (m_on) {
        leave();
    } else {
        enter();
    }
}

void FullScreen::enter()
{
    remember();
    m_parts.window->showFullScreen();
    floatParts();
}

void FullScreen::leave()
{
    if (!m_on) {
        return;
    }
    if (m_maximizedBefore) {
        m_parts.window->showMaximized();
    } else {
        m_parts.window->showNormal();
    }
    dockParts();
}

void FullScreen::remember()
{
    m_splitterBefore = m_parts.splitter->saveState();
    m_videoListVisibleBeforeFullScreen = isListShown();
    m_maximizedBefore = m_parts.window->isMaximized();
}

void FullScreen::floatParts()
{
    m_on = true;
    m_playControlShown = false;
    m_videoListShown = false;
    forgetPointer();
    m_parts.bar->hide();
    m_parts.rows->removeWidget(m_parts.bar);
    m_parts.video->resize(screenSize());
    m_parts.list->hide();
    m_parts.list->setParent(m_parts.window);
    m_pointerIdle.start();
    emit toggled(true);
    emit listShown(false);
}

void FullScreen::dockParts()
{
    m_on = false;
    m_isBarEntered = false;
    m_pointerIdle.stop();
    m_parts.video->unsetCursor();
    forgetPointer();
    m_parts.bar->setWindowFlags(Qt::Widget);
    m_parts.rows->addWidget(m_parts.bar);
    m_parts.bar->show();
    m_parts.splitter->addWidget(m_parts.list);
    m_parts.splitter->restoreState(m_splitterBefore);
    m_parts.list->setVisible(m_videoListVisibleBeforeFullScreen);
    emit toggled(false);
    emit listShown(m_videoListVisibleBeforeFullScreen);
}

void FullScreen::movePointer(const QPoint &position)
{
    if (!m_on) {
        return;
    }
    m_parts.video->unsetCursor();
    m_pointerIdle.start();

    const QSize screen = screenSize();
    const bool atBar = controlZone(screen).contains(position);
    if (atBar && !m_playControlShown) {
        showBar();
    } else if (!atBar && m_playControlShown) {
        hideBar();
    }

    const bool atList = listZone(screen).contains(position);
    qDebug() << (atList ? "show video list" : "hide video list");
    if (atList != m_videoListShown) {
        showListOverVideo(atList);
    }
}

// Of the one that the window is on.
QSize FullScreen::screenSize() const
{
    return m_parts.window->screen()->size();
}

void FullScreen::showBar()
{
    qDebug() << "show play control";
    m_parts.bar->setWindowFlags(Qt::FramelessWindowHint | Qt::WindowSystemMenuHint |
                                Qt::WindowStaysOnTopHint);
    m_parts.bar->move(0, screenSize().height() - BarSize.height());
    m_parts.bar->resize(BarSize);
    m_parts.bar->show();
    m_parts.bar->raise();
    m_playControlShown = true;
}

void FullScreen::hideBar()
{
    qDebug() << "hide play control";
    forgetPointer();
    m_parts.bar->hide();
    m_parts.bar->setWindowOpacity(1.0);
    m_playControlShown = false;
    m_isBarEntered = false;
}

void FullScreen::enterBar()
{
    if (!m_on) {
        return;
    }
    if (!m_playControlShown) {
        showBar();
    }
    m_isBarEntered = true;
    m_parts.bar->activateWindow();
    const auto controls = m_parts.bar->findChildren<QWidget *>();
    const auto first = std::find_if(controls.begin(), controls.end(), [](const QWidget *control) {
        return control->isEnabled() && (control->focusPolicy() & Qt::TabFocus) != 0;
    });
    if (first != controls.end()) {
        (*first)->setFocus(Qt::TabFocusReason);
    }
}

void FullScreen::leaveBar()
{
    hideBar();
    m_parts.window->activateWindow();
    m_parts.video->setFocus();
}

void FullScreen::showListOverVideo(bool shown)
{
    if (shown) {
        const QSize screen = screenSize();
        const QRect zone = listZone(screen);
        m_parts.list->setGeometry(QRect(zone.topLeft(), screen - QSize(zone.left(), 0)));
        m_parts.list->raise();
    }
    m_parts.list->setVisible(shown);
    m_videoListShown = shown;
    emit listShown(shown);
}

void FullScreen::hidePointer()
{
    if (m_on) {
        m_parts.video->setCursor(Qt::BlankCursor);
    }
}

// The bar goes away from under the pointer without a word: the control there would stay lit.
void FullScreen::forgetPointer()
{
    const auto controls = m_parts.bar->findChildren<QWidget *>();
    for (QWidget *control : controls) {
        if (control->underMouse()) {
            QEvent leave(QEvent::Leave);
            QCoreApplication::sendEvent(control, &leave);
        }
    }
}

QByteArray FullScreen::geometry() const
{
    if (!m_on) {
        return m_parts.window->saveGeometry();
    }
    // Of the window, it would be restored in full screen.
    QWidget windowed;
    windowed.setGeometry(m_parts.window->normalGeometry());
    if (m_maximizedBefore) {
        windowed.setWindowState(Qt::WindowMaximized);
    }
    return windowed.saveGeometry();
}

QByteArray FullScreen::splitterState() const
{
    return m_on ? m_splitterBefore : m_parts.splitter->saveState();
}

bool FullScreen::isListShown() const
{
    if (m_on) {
        return m_videoListVisibleBeforeFullScreen;
    }
    return !m_parts.list->isHidden();
}

void FullScreen::showList(bool shown)
{
    if (m_on) {
        showListOverVideo(shown);
        return;
    }
    m_parts.list->setVisible(shown);
    emit listShown(shown);
}
