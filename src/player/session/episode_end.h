#pragma once

#include <optional>

#include <QObject>
#include <QString>

class MpvWidget;
class PlayMachine;
struct OpenedVideo;

// The video whose turn comes when the outro or the end of what plays is reached.
struct NextUp
{
    QString name;    // of its file
    int seconds = 0; // until then, as the user counts them
};

// What happens where what plays comes near its outro or its end: for ten seconds the next video is
// told, and what plays pauses there instead of making way, if the user wants it to. The wish
// belongs to the video, and is done with once it has been fulfilled.
class EpisodeEnd final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(EpisodeEnd)

public:
    // Both must outlive this. To be created after the machine, which counts each position first.
    EpisodeEnd(MpvWidget &mpv, const PlayMachine &machine, QObject *parent = nullptr);

    // Whether what plays pauses just before its outro, or its end.
    [[nodiscard]] bool pauses() const;
    // Does nothing where it cannot.
    void setPauses(bool pauses);
    [[nodiscard]] bool canPause() const;

    // What is to be told; nothing where no other video follows, or nobody wants to know.
    [[nodiscard]] const std::optional<NextUp> &nextUp() const { return m_nextUp; }
    // Not for this video any more.
    void dismissNextUp();
    // Something else than its position may have changed.
    void update();

signals:
    void nextUpChanged();

private:
    void pauseInTime();
    [[nodiscard]] std::optional<NextUp> findNextUp() const;
    [[nodiscard]] double speed() const;

    MpvWidget &m_mpv;
    const PlayMachine &m_machine;
    std::optional<NextUp> m_nextUp;
};
