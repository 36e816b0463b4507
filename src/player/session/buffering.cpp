#include "player/session/buffering.h"

#include <chrono>

#include "player/mpv/mpv_widget.h"

namespace {

using namespace std::chrono_literals;

constexpr auto Standing = 500ms; // after so long without a new position a video may be waiting

QList<Stretch> stretchesOf(const QVariantMap &cache)
{
    QList<Stretch> stretches;
    for (const QVariant &range : cache.value(QStringLiteral("seekable-ranges")).toList()) {
        const QVariantMap ends = range.toMap();
        stretches.append({static_cast<int>(ends.value(QStringLiteral("start")).toDouble()),
                          static_cast<int>(ends.value(QStringLiteral("end")).toDouble())});
    }
    return stretches;
}

} // namespace

Buffering::Buffering(MpvWidget &mpv, QObject *parent) : QObject(parent), m_mpv(mpv)
{
    m_second.setInterval(1s);
    connect(&m_second, &QTimer::timeout, this, &Buffering::ask);
    m_standing.setInterval(Standing);
    connect(&m_standing, &QTimer::timeout, this, &Buffering::askWhetherItWaits);
    connect(&m_mpv, &MpvWidget::positionChanged, this, &Buffering::onPosition);
}

void Buffering::setActive(bool active)
{
    if (active == m_second.isActive()) {
        return;
    }
    if (active) {
        m_second.start();
        m_standing.start();
        ask();
    } else {
        m_second.stop();
        m_standing.stop();
        setRead({});
        setWaiting(std::nullopt);
    }
}

void Buffering::ask()
{
    setRead(stretchesOf(m_mpv.getProperty(QStringLiteral("demuxer-cache-state")).toMap()));
}

void Buffering::askWhetherItWaits()
{
    setWaiting(waitsAt());
}

std::optional<int> Buffering::waitsAt() const
{
    if (m_mpv.isPaused()) {
        return std::nullopt;
    }
    if (m_mpv.getProperty(QStringLiteral("paused-for-cache")).toBool()) {
        const QVariant percent = m_mpv.getProperty(QStringLiteral("cache-buffering-state"));
        return percent.canConvert<int>() ? percent.toInt() : -1;
    }
    const bool isSeeking = m_mpv.getProperty(QStringLiteral("seeking")).toBool();
    return isSeeking ? std::make_optional(-1) : std::nullopt;
}

void Buffering::onPosition()
{
    if (!m_second.isActive()) {
        return;
    }
    m_standing.start();
    if (m_waiting) {
        askWhetherItWaits();
    }
}

void Buffering::setRead(const QList<Stretch> &read)
{
    if (read != m_read) {
        m_read = read;
        emit readChanged();
    }
}

void Buffering::setWaiting(std::optional<int> percent)
{
    if (percent != m_waiting) {
        m_waiting = percent;
        emit waitingChanged();
    }
}
