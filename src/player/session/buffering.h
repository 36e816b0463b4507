#pragma once

#include <optional>

#include <QList>
#include <QObject>
#include <QTimer>

class MpvWidget;

// Seconds of a video.
struct Stretch
{
    int from = 0;
    int to = 0;
};

[[nodiscard]] inline bool operator==(const Stretch &left, const Stretch &right)
{
    return left.from == right.from && left.to == right.to;
}

// What libmpv has read of what plays, and whether that stands still because it has not read enough.
// libmpv is asked once a second, and oftener only while it waits.
class Buffering final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(Buffering)

public:
    // `mpv` must outlive this.
    explicit Buffering(MpvWidget &mpv, QObject *parent = nullptr);

    // Whether there is a video to ask for; without one nothing is read and nothing waits.
    void setActive(bool active);

    [[nodiscard]] const QList<Stretch> &read() const { return m_read; }
    // How much of what is needed is there, in percent, or -1 where nobody knows; nothing while the
    // video plays or is paused.
    [[nodiscard]] std::optional<int> waiting() const { return m_waiting; }

signals:
    void readChanged();
    void waitingChanged();

private:
    void ask();
    void askWhetherItWaits();
    void onPosition();
    void setRead(const QList<Stretch> &read);
    void setWaiting(std::optional<int> percent);
    [[nodiscard]] std::optional<int> waitsAt() const;

    MpvWidget &m_mpv;
    QTimer m_second;
    QTimer m_standing; // since the last position
    QList<Stretch> m_read;
    std::optional<int> m_waiting;
};
