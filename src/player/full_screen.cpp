#include "player/full_screen.h"

#include <QBoxLayout>
#include <QDebug>
#include <QGuiApplication>
#include <QScreen>
#include <QSplitter>

#include "player/control_bar.h"
#include "player/mpv_widget.h"
#include "player/video_list_panel.h"

namespace {

constexpr QSize barSize(600, 80);
constexpr int zoneMargin = 10;       // reaches over the screen's edge
constexpr int pointerTimeout = 2500; // milliseconds

QSize primaryScreenSize()
{
    return QGuiApplication::primaryScreen()->size();
}

QRect controlZone(const QSize &screen)
{
    const int top = screen.height() - screen.height() / 5;
    return {0, top, screen.width() + zoneMargin, screen.height() + zoneMargin};
}

QRect listZone(const QSize &screen)
{
    const int left = screen.width() - screen.width() / 6;
    return {left, 0, screen.width() + zoneMargin, screen.height() + zoneMargin};
}

} // namespace

FullScreen::FullScreen(const Parts &parts, QObject *parent) : QObject(parent), m_parts(parts)
{
    m_idle.setInterval(pointerTimeout);
    m_idle.setSingleShot(true);
    connect(&m_idle, &QTimer::timeout, this, &FullScreen::hidePointer);
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
    m_geometryBefore = m_parts.window->saveGeometry();
    m_splitterBefore = m_parts.splitter->saveState();
    m_videoListVisibleBeforeFullScreen = isListShown();
    m_maximizedBefore = m_parts.window->isMaximized();
    m_on = true;
    m_playControlShown = false;
    m_videoListShown = false;

    m_parts.window->showFullScreen();
    m_parts.bar->hide();
    m_parts.rows->removeWidget(m_parts.bar);
    m_parts.video->resize(primaryScreenSize());
    m_parts.list->hide();
    m_parts.list->setParent(m_parts.window);
    m_idle.start();
    emit toggled(true);
    emit listShown(false);
}

void FullScreen::leave()
{
    if (!m_on)
        return;
    m_on = false;
    m_idle.stop();
    m_parts.video->unsetCursor();
    if (m_maximizedBefore) {
        m_parts.window->showMaximized();
    } else {
        m_parts.window->showNormal();
    }

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
    if (!m_on)
        return;
    m_parts.video->unsetCursor();
    m_idle.start();

    const QSize screen = primaryScreenSize();
    const bool atBar = controlZone(screen).contains(position);
    if (atBar && !m_playControlShown) {
        showBar(screen);
    } else if (!atBar && m_playControlShown) {
        hideBar();
    }

    const bool atList = listZone(screen).contains(position);
    qDebug() << (atList ? "show video list" : "hide video list");
    if (atList != m_videoListShown)
        showListOverVideo(atList);
}

void FullScreen::showBar(const QSize &screen)
{
    qDebug() << "show play control";
    m_parts.bar->setWindowFlags(Qt::FramelessWindowHint | Qt::WindowSystemMenuHint |
                                Qt::WindowStaysOnTopHint);
    m_parts.bar->move(0, screen.height() - barSize.height());
    m_parts.bar->resize(barSize);
    m_parts.bar->show();
    m_parts.bar->raise();
    m_playControlShown = true;
}

void FullScreen::hideBar()
{
    qDebug() << "hide play control";
    m_parts.bar->hide();
    m_parts.bar->setWindowOpacity(1.0);
    m_playControlShown = false;
}

void FullScreen::showListOverVideo(bool shown)
{
    if (shown) {
        const QSize screen = primaryScreenSize();
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
    if (m_on)
        m_parts.video->setCursor(Qt::BlankCursor);
}

QByteArray FullScreen::geometry() const
{
    return m_on ? m_geometryBefore : m_parts.window->saveGeometry();
}

QByteArray FullScreen::splitterState() const
{
    return m_on ? m_splitterBefore : m_parts.splitter->saveState();
}

bool FullScreen::isListShown() const
{
    if (m_on)
        return m_videoListVisibleBeforeFullScreen;
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
