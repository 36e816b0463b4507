#include "player/mpv/mpv_widget.h"

#include <stdexcept>
#include <utility>

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMouseEvent>
#include <QOpenGLContext>

#include "player/mpv/kept_signals.h"
#include "player/mpv/mpv_library.h"
#include "player/mpv/mpv_node.h"
#include "player/mpv/mpv_picture.h"
#include "player/mpv/track_info.h"

namespace {

constexpr char PositionName[] = "time-pos";
constexpr char DurationName[] = "duration";
constexpr char TracksName[] = "track-list";
constexpr char VolumeName[] = "volume";
constexpr char MuteName[] = "mute";
constexpr char PauseName[] = "pause";
constexpr char CacheName[] = "demuxer-cache-state";

void wakeup(void *widget)
{
    QMetaObject::invokeMethod(static_cast<MpvWidget *>(widget), "on_mpv_events",
                              Qt::QueuedConnection);
}

void onUpdate(void *widget)
{
    QMetaObject::invokeMethod(static_cast<MpvWidget *>(widget), "maybeUpdate");
}

std::optional<double> doubleOf(const mpv_event_property &property)
{
    return property.format == MPV_FORMAT_DOUBLE
               ? std::make_optional(*static_cast<const double *>(property.data))
               : std::nullopt;
}

// Whether `told` was something else so far.
template <class Value>
bool replace(std::optional<Value> &told, Value value)
{
    return std::exchange(told, value) != value;
}

} // namespace

struct MpvWidget::ObservedProperty
{
    const char *name;
    mpv_format format;
    void (MpvWidget::*onChange)(const mpv_event_property &) = nullptr;
};

const MpvWidget::ObservedProperty MpvWidget::ObservedProperties[] = {
    {DurationName, MPV_FORMAT_DOUBLE, &MpvWidget::onDuration},
    {PositionName, MPV_FORMAT_DOUBLE, &MpvWidget::onPosition},
    {TracksName, MPV_FORMAT_NODE, &MpvWidget::onTrackList},
    {"chapter-list", MPV_FORMAT_NODE},
    {VolumeName, MPV_FORMAT_DOUBLE, &MpvWidget::onVolume},
    {"sid", MPV_FORMAT_INT64},
    {"aid", MPV_FORMAT_INT64},
    {"sub-visibility", MPV_FORMAT_FLAG},
    {MuteName, MPV_FORMAT_FLAG},
    {"core-idle", MPV_FORMAT_FLAG},
    {"idle-active", MPV_FORMAT_FLAG},
    {PauseName, MPV_FORMAT_FLAG, &MpvWidget::onPause},
    {"paused-for-cache", MPV_FORMAT_FLAG},
};

MpvWidget::MpvWidget(QWidget *parent, Qt::WindowFlags f)
    : QOpenGLWidget(parent, f), m_library(mpvLibrary())
{
    // A video is opaque: without alpha, composing it with the window costs less where OpenGL is
    // software. OpenGL ES before 3 has no such format.
    if (QOpenGLContext::openGLModuleType() == QOpenGLContext::LibGL) {
        setTextureFormat(GL_RGB8);
    }
    m_mpv = m_library ? m_library->create() : nullptr;
    if (!m_mpv) {
        throw std::runtime_error("could not create mpv context");
    }
    try {
        configure();
    } catch (...) {
        release();
        throw;
    }
}

MpvWidget::~MpvWidget()
{
    release();
}

void MpvWidget::configure()
{
    m_library->set_option_string(m_mpv, "terminal", "yes");
    m_library->set_option_string(m_mpv, "input-cursor", "yes");
    m_library->set_option_string(m_mpv, "cursor-autohide", "yes");
    m_library->set_option_string(m_mpv, "msg-level", "all=no");
    if (m_library->initialize(m_mpv) < 0) {
        throw std::runtime_error("could not initialize mpv context");
    }
    m_library->set_option_string(m_mpv, "input-vo-keyboard", "no");
    setOption(QStringLiteral("hwdec"), QStringLiteral("auto"));
    observeProperties();
    m_library->set_wakeup_callback(m_mpv, wakeup, this);
}

// Anew where they were observed before: changes that libmpv still holds back are dropped with the
// old observation, and the values of now are reported.
void MpvWidget::observeProperties()
{
    m_library->unobserve_property(m_mpv, 0);
    for (const ObservedProperty &property : ObservedProperties) {
        m_library->observe_property(m_mpv, 0, property.name, property.format);
    }
}

// The render context goes first, or libmpv aborts the process; after a stop it has nothing to
// wait for. A callback may still be running until it has been taken back.
void MpvWidget::release()
{
    if (!m_mpv) {
        return;
    }
    m_library->set_wakeup_callback(m_mpv, nullptr, nullptr);
    if (m_picture) {
        command(QVariantList{QStringLiteral("stop")});
        m_picture->setUpdateCallback(nullptr, nullptr);
        makeCurrent();
        m_picture.reset();
        doneCurrent();
    }
    const KeptSignals kept;
    m_library->terminate_destroy(m_mpv);
    m_mpv = nullptr;
}

void MpvWidget::loadFile(const QString &url)
{
    if (m_picture) {
        load(url);
    } else {
        m_heldUrl = url;
    }
}

void MpvWidget::load(const QString &url)
{
    const QVariant answer = command(QVariantList{QStringLiteral("loadfile"), url});
    m_loadedEntry = answer.toMap().value(QStringLiteral("playlist_entry_id"), -1).toLongLong();
}

void MpvWidget::seekAbsolute(int seconds)
{
    command(QVariantList{QStringLiteral("seek"), seconds, QStringLiteral("absolute")});
}

void MpvWidget::seekRelative(int seconds)
{
    command(QVariantList{QStringLiteral("seek"), seconds, QStringLiteral("relative")});
}

void MpvWidget::addSubtitle(const QString &path)
{
    command(QVariantList{QStringLiteral("sub-add"), path});
}

QVariant MpvWidget::command(const QVariant &args)
{
    if (!m_mpv) {
        return QVariant::fromValue(MpvError{MPV_ERROR_UNINITIALIZED});
    }
    mpv_node result{};
    const int status = m_library->command_node(m_mpv, MpvNode(args).get(), &result);
    if (status < 0) {
        return QVariant::fromValue(MpvError{status});
    }
    const QVariant answer = variantFromNode(result);
    m_library->free_node_contents(&result);
    return answer;
}

quint64 MpvWidget::commandAsync(const QVariant &args)
{
    const quint64 number = ++m_lastCommand;
    const bool isTaken =
        m_mpv && m_library->command_node_async(m_mpv, number, MpvNode(args).get()) >= 0;
    return isTaken ? number : 0;
}

void MpvWidget::setVolume(int volume)
{
    setOption(QLatin1String(VolumeName), volume);
}

void MpvWidget::setMute(bool mute)
{
    setProperty(QLatin1String(MuteName), mute);
}

void MpvWidget::pause()
{
    setProperty(QLatin1String(PauseName), true);
}

void MpvWidget::play()
{
    setProperty(QLatin1String(PauseName), false);
}

void MpvWidget::setProperty(const QString &name, const QVariant &value)
{
    if (m_mpv) {
        m_library->set_property(m_mpv, name.toUtf8().constData(), MPV_FORMAT_NODE,
                                MpvNode(value).get());
    }
}

void MpvWidget::setOption(const QString &name, const QVariant &value)
{
    if (m_mpv) {
        m_library->set_option(m_mpv, name.toUtf8().constData(), MPV_FORMAT_NODE,
                              MpvNode(value).get());
    }
}

QVariant MpvWidget::getProperty(const QString &name) const
{
    if (!m_mpv) {
        return QVariant::fromValue(MpvError{MPV_ERROR_UNINITIALIZED});
    }
    mpv_node node{};
    const int status =
        m_library->get_property(m_mpv, name.toUtf8().constData(), MPV_FORMAT_NODE, &node);
    if (status < 0) {
        return QVariant::fromValue(MpvError{status});
    }
    const QVariant value = variantFromNode(node);
    m_library->free_node_contents(&node);
    return value;
}

int MpvWidget::volume() const
{
    return static_cast<int>(getProperty(QLatin1String(VolumeName)).toDouble());
}

bool MpvWidget::isMute() const
{
    return getProperty(QLatin1String(MuteName)).toBool();
}

bool MpvWidget::isPaused() const
{
    return getProperty(QLatin1String(PauseName)).toBool();
}

// libmpv's answers are about what it works on, which is not always what was loaded last.
QVariant MpvWidget::fileProperty(const char *name) const
{
    return hasStarted() ? getProperty(QLatin1String(name))
                        : QVariant::fromValue(MpvError{MPV_ERROR_PROPERTY_UNAVAILABLE});
}

int MpvWidget::position() const
{
    return knownPosition().value_or(0);
}

std::optional<int> MpvWidget::knownPosition() const
{
    const QVariant position = fileProperty(PositionName);
    return position.type() == QVariant::Double
               ? std::make_optional(static_cast<int>(position.toDouble()))
               : std::nullopt;
}

int MpvWidget::duration() const
{
    return static_cast<int>(fileProperty(DurationName).toDouble());
}

bool MpvWidget::isDurationSettled() const
{
    const QVariantMap cache = fileProperty(CacheName).toMap();
    return hasStarted() && (m_lengthTold || cache.value(QStringLiteral("eof")).toBool());
}

TrackInfo MpvWidget::trackInfo() const
{
    return parseTrackList(QJsonDocument::fromVariant(fileProperty(TracksName)).array());
}

void MpvWidget::on_mpv_events()
{
    while (m_mpv) {
        const mpv_event *event = m_library->wait_event(m_mpv, 0);
        if (event->event_id == MPV_EVENT_NONE) {
            break;
        }
        handleMpvEvent(*event);
    }
}

void MpvWidget::handleMpvEvent(const mpv_event &event)
{
    switch (event.event_id) {
    case MPV_EVENT_SHUTDOWN:
        release();
        break;
    case MPV_EVENT_START_FILE:
        onStartFile(static_cast<const mpv_event_start_file *>(event.data)->playlist_entry_id);
        break;
    case MPV_EVENT_FILE_LOADED:
        onFileLoaded();
        break;
    case MPV_EVENT_PLAYBACK_RESTART:
        if (hasStarted()) {
            emit playbackRestarted();
        }
        break;
    case MPV_EVENT_COMMAND_REPLY:
        emit commandDone(event.reply_userdata, event.error >= 0);
        break;
    case MPV_EVENT_END_FILE:
        onEndFile(*static_cast<const mpv_event_end_file *>(event.data));
        break;
    case MPV_EVENT_PROPERTY_CHANGE:
        onPropertyChange(*static_cast<const mpv_event_property *>(event.data));
        break;
    default:
        break;
    }
}

// Whether libmpv works on the file that was loaded last.
bool MpvWidget::hasStarted() const
{
    return m_startedEntry >= 0 && m_startedEntry == m_loadedEntry;
}

// Changes of properties carry no number of a file, but libmpv delivers them only after all events
// that happened before: what is observed from here on is about this file until the next event says
// that it is over.
void MpvWidget::onStartFile(qint64 entry)
{
    m_startedEntry = entry;
    m_lengthTold = false;
    observeProperties();
}

// A length that the file does not tell seems to end where the data ends that has been read. More
// is read while libmpv is asked, so the length comes first.
void MpvWidget::onFileLoaded()
{
    constexpr double Tolerance = 0.5; // s
    if (!hasStarted()) {
        return;
    }
    const double length = fileProperty(DurationName).toDouble();
    const QVariantMap cache = fileProperty(CacheName).toMap();
    m_lengthTold = length > cache.value(QStringLiteral("cache-end")).toDouble() + Tolerance;
    emit fileLoaded();
}

void MpvWidget::onEndFile(const mpv_event_end_file &end)
{
    const bool finished = end.reason == MPV_END_FILE_REASON_EOF;
    if (end.playlist_entry_id != m_loadedEntry) {
        m_endReason = EndReason::Superseded;
    } else if (finished) {
        m_endReason = EndReason::Finished;
    } else if (end.reason == MPV_END_FILE_REASON_ERROR) {
        m_endReason = EndReason::Failed;
    } else if (end.reason == MPV_END_FILE_REASON_REDIRECT) {
        m_endReason = EndReason::Redirected;
        m_loadedEntry = end.playlist_insert_id;
    } else {
        m_endReason = EndReason::Stopped;
    }
    m_startedEntry = -1;
    m_lengthTold = false;
    qDebug() << "原因:" << (finished ? "true" : "false");
    emit playEnd(finished);
}

void MpvWidget::onPropertyChange(const mpv_event_property &property)
{
    for (const ObservedProperty &observed : ObservedProperties) {
        if (observed.onChange && qstrcmp(property.name, observed.name) == 0) {
            (this->*observed.onChange)(property);
        }
    }
}

void MpvWidget::onPosition(const mpv_event_property &property)
{
    if (const auto seconds = doubleOf(property); seconds && hasStarted()) {
        emit positionChanged(static_cast<int>(*seconds));
    }
}

void MpvWidget::onDuration(const mpv_event_property &property)
{
    if (const auto seconds = doubleOf(property); seconds && hasStarted()) {
        emit durationChanged(static_cast<int>(*seconds));
    }
}

void MpvWidget::onTrackList(const mpv_event_property &property)
{
    if (property.format != MPV_FORMAT_NODE || !hasStarted()) {
        return;
    }
    const QVariant tracks = variantFromNode(*static_cast<const mpv_node *>(property.data));
    const QJsonArray array = QJsonDocument::fromVariant(tracks).array();
    if (array.isEmpty()) {
        return;
    }
    TrackInfo info = parseTrackList(array);
    emit trackListChanged(info);
}

void MpvWidget::onPause(const mpv_event_property &property)
{
    if (property.format != MPV_FORMAT_FLAG) {
        return;
    }
    const bool isPause = *static_cast<const int *>(property.data) != 0;
    if (replace(m_pauseTold, isPause)) {
        emit paused(isPause);
    }
}

void MpvWidget::onVolume(const mpv_event_property &property)
{
    const double volume = doubleOf(property).value_or(0.0);
    if (replace(m_volumeTold, volume)) {
        qDebug() << "volume:" << volume;
        emit volumeChanged(static_cast<int>(volume));
    }
}

void MpvWidget::mouseReleaseEvent(QMouseEvent *event)
{
    QOpenGLWidget::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton) {
        emit mouseReleased();
    }
}

void MpvWidget::initializeGL()
{
    m_picture = std::make_unique<MpvPicture>(*m_library, m_mpv);
    m_picture->setUpdateCallback(onUpdate, this);
    if (!m_heldUrl.isEmpty()) {
        load(std::exchange(m_heldUrl, {}));
    }
}

void MpvWidget::paintGL()
{
    if (m_picture) {
        m_picture->draw(defaultFramebufferObject(), size(), devicePixelRatioF());
    }
}

// Qt draws nothing for a minimised window, but libmpv times its output by what is drawn.
void MpvWidget::maybeUpdate()
{
    if (!window()->isMinimized()) {
        update();
        return;
    }
    makeCurrent();
    paintGL();
    context()->swapBuffers(context()->surface());
    doneCurrent();
}
