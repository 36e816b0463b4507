#pragma once

#include <memory>
#include <optional>

#include <QObject>
#include <QTimer>

#include "player/session/once_a_second.h"
#include "player/session/opened_video.h"

class MpvWidget;

// The video that plays and, beside it, the one that is being opened: the one place where a video
// changes its state. The candidate takes the other's place with its first picture; when it fails,
// everything is as it was before. Seconds are whole.
class PlayMachine final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(PlayMachine)

public:
    using Video = std::unique_ptr<OpenedVideo>;
    enum class Source { AnyQuality, FileOnly };

    // A video whose streams the drive refused, where it was to start, and what there is beside it.
    struct Refused
    {
        UserInfo user;
        FileItem file;
        StartFrom start;
        std::unique_ptr<FolderVideos> neighbours;
    };

    // `mpv` must outlive this.
    explicit PlayMachine(MpvWidget &mpv, QObject *parent = nullptr);

    // Plays, or played last; null before the first.
    [[nodiscard]] OpenedVideo *current() const { return m_current.get(); }
    // Is being opened; null when none is.
    [[nodiscard]] OpenedVideo *candidate() const { return m_candidate.get(); }
    // The candidate, else what plays.
    [[nodiscard]] OpenedVideo *chosen() const { return m_candidate ? candidate() : current(); }
    // Whether what plays is all there is.
    [[nodiscard]] bool isPlaying() const;
    // Whether an answer, or the data of what plays, is long in coming.
    [[nodiscard]] bool isSilent() const { return m_isSilent; }
    // Why nothing plays, or that it is silent; empty while something plays or will.
    [[nodiscard]] QString notice() const;
    // What the notice is about, where the source may still play.
    [[nodiscard]] const std::optional<Refused> &refused() const { return m_failure.refused; }

    // Makes a video, which has its addresses, the candidate.
    void open(Video video, Source source);
    // Goes back to what plays.
    void dropCandidate();
    // Loads a video from the address that it has now.
    void load(OpenedVideo &video);
    // Asks for new addresses, and loads the video from them.
    void renewAddress(OpenedVideo &video);
    // Writes the position of what plays, or played last, to its row. A video that was never seen
    // playing is not saved: its earlier position stays.
    void savePosition();

signals:
    // Something, in more than its position.
    void changed();
    void videosChanged();
    // The folder of the video has told its videos, or has not.
    void neighboursAnswered(OpenedVideo *video);
    void menusChanged();
    void durationChanged(int duration);
    // What plays has another position; at most once a second.
    void positionDue();
    // What plays came to its end.
    void ended();
    // A message for the user.
    void told(const QString &text);
    // What a choice of the user has come to.
    void noted(const QString &text);
    void historyUpdated(PlayHistory &row);

private:
    // What failed last, for when nothing plays.
    struct Failure
    {
        QString text;
        bool isOfNext = false; // of the video whose turn had come, and not of a wish of the user
        std::optional<Refused> refused;
    };

    void connectMpv();
    void connectVideo(OpenedVideo &video);
    void letGo();
    // Makes libmpv silent, if it has this video's file.
    void stop(const OpenedVideo *video);
    // The candidate takes the place of what plays, which is destroyed.
    void replaceCurrent();
    void end(OpenedVideo &video);
    void repair(OpenedVideo &video);
    void tell(Failure failure);

    void onLocated(OpenedVideo &video, const FileItem &file);
    void onAddressReady(OpenedVideo &video);
    void onNoAddress(OpenedVideo &video);
    void onCannotOpen();
    void onBrokenDown(OpenedVideo &video);

    void onFileLoaded();
    void onPlaybackRestarted();
    void onPicture(OpenedVideo &video);
    void onDurationChanged(int value);
    void onPositionChanged(int value);
    void onPositionDue();
    void onPlayEnd();
    void onLoadingEnd(OpenedVideo &video, bool isFailure);
    void onPlayingEnd(OpenedVideo &video, bool isFailure);
    void onPaused(bool isPause);
    void onSilence();
    void awaitSign();

    MpvWidget &m_mpv;
    Video m_current;
    Video m_candidate;
    // Which of the two libmpv's file is, and what libmpv reports is about; null: none.
    OpenedVideo *m_loaded = nullptr;
    Failure m_failure;
    OnceASecond m_positions;
    OnceASecond m_saves;
    int m_savedPosition = 0;
    QTimer m_silence; // runs while a sign of life is awaited
    bool m_isSilent = false;
    // The last video was over before it had a position: a folder of such files is not raced round.
    bool m_wasMomentary = false;
};
