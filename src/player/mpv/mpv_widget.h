#pragma once

#include <memory>
#include <optional>

#include <QMetaType>
#include <QOpenGLWidget>
#include <QVariant>

class MpvPicture;
struct MpvLibrary;
struct TrackInfo;
struct mpv_event;
struct mpv_event_end_file;
struct mpv_event_property;
struct mpv_handle;

// What MpvWidget::getProperty() yields for a property that libmpv refuses: libmpv's negative
// status. As a number it is 0, as a bool false.
struct MpvError
{
    int status = 0;
};
Q_DECLARE_METATYPE(MpvError)

// The video surface: one libmpv player and its OpenGL render context, drawn into the widget. The
// one place that talks to libmpv. libmpv's events become signals on the interface thread, which is
// the only one that may call anything here. Seconds are whole; a failed command or setter is
// ignored.
//
// libmpv works through its events late and plays the old file on until it has come to the command
// that loads the next one. Here a file counts from loadFile() on: what is emitted or asked for
// about a file is about the one that was loaded last, and until libmpv has begun with it there is
// nothing to tell. Only the end of the file before is still told, as Superseded.
class MpvWidget final : public QOpenGLWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(MpvWidget)

public:
    // Why playEnd() was emitted.
    enum class EndReason {
        Finished,   // the data came to its end, or the connection did: compare with the duration
        Failed,     // the file could not be opened or went bad
        Redirected, // the file names others, which follow
        Stopped,    // a command or the shutdown
        Superseded, // the end of a file that is no longer the one loaded last
    };
    Q_ENUM(EndReason)

    // Throws std::runtime_error "could not create mpv context" (libmpv is missing, or LC_NUMERIC
    // is not "C") or "could not initialize mpv context".
    explicit MpvWidget(QWidget *parent = nullptr, Qt::WindowFlags f = {});
    // Waits until the player has let go of the file, its connection and the sound device.
    ~MpvWidget() override;

    // Replaces what plays. Waits for the OpenGL context first: without a render context libmpv
    // would open a window of its own.
    void loadFile(const QString &url);
    void seekAbsolute(int seconds);
    void seekRelative(int seconds); // negative goes back
    void addSubtitle(const QString &path);
    // Any command as a list of name and arguments; the answer, or an MpvError.
    QVariant command(const QVariant &args);
    // The same for one that takes its time: its number, which commandDone() will tell; 0 where
    // libmpv has refused it.
    quint64 commandAsync(const QVariant &args);

    void setVolume(int volume);
    void setMute(bool mute);
    void pause();
    void play();
    void setProperty(const QString &name, const QVariant &value);
    void setOption(const QString &name, const QVariant &value);

    [[nodiscard]] QVariant getProperty(const QString &name) const;
    [[nodiscard]] int volume() const;
    [[nodiscard]] bool isMute() const;
    [[nodiscard]] bool isPaused() const;
    [[nodiscard]] int position() const;
    [[nodiscard]] int duration() const;
    // As position(), but nothing where libmpv has none: before the file is open and after its end.
    [[nodiscard]] std::optional<int> knownPosition() const;
    // Whether duration() will stay. False where there is none, and for a file that does not say how
    // long it is: libmpv then takes what it has read so far for the whole, until it has read all.
    [[nodiscard]] bool isDurationSettled() const;

    // The tracks of the file, as they are now.
    [[nodiscard]] TrackInfo trackInfo() const;

    // Of the last playEnd(); more precise than its argument.
    [[nodiscard]] EndReason endReason() const { return m_endReason; }

signals:
    void durationChanged(int value);
    void positionChanged(int value);
    void paused(bool isPause);
    void volumeChanged(int volume);
    void trackListChanged(TrackInfo &trackInfo);
    void playEnd(bool isFinished);
    void mouseReleased();
    // The file has been opened; its properties can be read.
    void fileLoaded();
    // The file plays, from its beginning or after a seek.
    void playbackRestarted();
    void commandDone(quint64 command, bool succeeded);

public slots:
    // libmpv's two callbacks arrive on threads of its own and reach these by name.
    void on_mpv_events();
    void maybeUpdate();

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    void initializeGL() override;
    void paintGL() override;

private:
    // What libmpv is asked to report, and who is told.
    struct ObservedProperty;
    static const ObservedProperty ObservedProperties[];

    void configure();
    void observeProperties();
    void release();
    void load(const QString &url);
    [[nodiscard]] bool hasStarted() const;
    [[nodiscard]] QVariant fileProperty(const char *name) const;

    void handleMpvEvent(const mpv_event &event);
    void onStartFile(qint64 entry);
    void onFileLoaded();
    void onEndFile(const mpv_event_end_file &end);
    void onPropertyChange(const mpv_event_property &property);
    void onPosition(const mpv_event_property &property);
    void onDuration(const mpv_event_property &property);
    void onTrackList(const mpv_event_property &property);
    void onPause(const mpv_event_property &property);
    void onVolume(const mpv_event_property &property);

    const MpvLibrary *m_library = nullptr;
    mpv_handle *m_mpv = nullptr;
    std::unique_ptr<MpvPicture> m_picture; // null until there is an OpenGL context

    QString m_heldUrl; // waits for the render context
    quint64 m_lastCommand = 0;
    qint64 m_loadedEntry = -1;  // libmpv's number of the file loaded last; -1: none
    qint64 m_startedEntry = -1; // of the file that libmpv works on; -1: none
    bool m_lengthTold = false;  // by the file that libmpv works on
    EndReason m_endReason = EndReason::Stopped;
    // As last told; observing anew makes libmpv say it again.
    std::optional<bool> m_pauseTold;
    std::optional<double> m_volumeTold;
};
