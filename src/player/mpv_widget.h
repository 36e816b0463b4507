#pragma once

#include <memory>

#include <QMetaType>
#include <QOpenGLWidget>
#include <QVariant>

class QOpenGLFramebufferObject;
struct MpvLibrary;
struct TrackInfo;
struct mpv_event;
struct mpv_event_end_file;
struct mpv_event_property;
struct mpv_handle;
struct mpv_render_context;

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

    // The tracks of the file that is loaded, as they are now.
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
    // The file that was loaded last has been opened; its properties can be read.
    void fileLoaded();
    // That file plays, from its beginning or after a seek.
    void playbackRestarted();

public slots:
    // libmpv's two callbacks arrive on threads of its own and reach these by name.
    void on_mpv_events();
    void maybeUpdate();

protected:
    void mouseReleaseEvent(QMouseEvent *event) override;
    // Throws std::runtime_error "failed to initialize mpv GL context" (OpenGL older than 2.1).
    void initializeGL() override;
    void paintGL() override;

private:
    void configure();
    void observeProperties();
    void release();

    void handleMpvEvent(const mpv_event &event);
    void handlePropertyChange(const mpv_event_property &property);
    void handleTrackList(const mpv_event_property &property);
    void handleEndFile(const mpv_event_end_file &end);
    void load(const QString &url);
    void fillFramebuffer();

    const MpvLibrary *m_library = nullptr;
    mpv_handle *m_mpv = nullptr;
    mpv_render_context *m_mpvGl = nullptr;
    std::unique_ptr<QOpenGLFramebufferObject> m_drawn; // see fillFramebuffer()

    QString m_heldUrl;         // waits for the render context
    qint64 m_loadedEntry = -1; // libmpv's number of the file loaded last
    qint64 m_startedEntry = -1;
    EndReason m_endReason = EndReason::Stopped;
};
