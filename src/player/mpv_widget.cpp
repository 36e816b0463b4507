#include "player/mpv_widget.h"

#include <stdexcept>

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMouseEvent>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFramebufferObject>
#include <QWindow>

#include "player/mpv_library.h"
#include "player/mpv_node.h"
#include "player/track_info.h"

namespace {

struct ObservedProperty
{
    const char *name;
    mpv_format format;
};

constexpr ObservedProperty observedProperties[] = {
    {"duration", MPV_FORMAT_DOUBLE},
    {"time-pos", MPV_FORMAT_DOUBLE},
    {"track-list", MPV_FORMAT_NODE},
    {"chapter-list", MPV_FORMAT_NODE},
    {"volume", MPV_FORMAT_DOUBLE},
    {"sid", MPV_FORMAT_INT64},
    {"aid", MPV_FORMAT_INT64},
    {"sub-visibility", MPV_FORMAT_FLAG},
    {"mute", MPV_FORMAT_FLAG},
    {"core-idle", MPV_FORMAT_FLAG},
    {"idle-active", MPV_FORMAT_FLAG},
    {"pause", MPV_FORMAT_FLAG},
    {"paused-for-cache", MPV_FORMAT_FLAG},
};

void wakeup(void *widget)
{
    QMetaObject::invokeMethod(static_cast<MpvWidget *>(widget), "on_mpv_events",
                              Qt::QueuedConnection);
}

void on_update(void *widget)
{
    QMetaObject::invokeMethod(static_cast<MpvWidget *>(widget), "maybeUpdate");
}

void *get_proc_address(void *, const char *name)
{
    QOpenGLContext *context = QOpenGLContext::currentContext();
    return context ? reinterpret_cast<void *>(context->getProcAddress(name)) : nullptr;
}

double doubleOf(const mpv_event_property &property)
{
    return property.data ? *static_cast<const double *>(property.data) : 0.0;
}

} // namespace

MpvWidget::MpvWidget(QWidget *parent, Qt::WindowFlags f)
    : QOpenGLWidget(parent, f), m_library(mpvLibrary())
{
    // A video is opaque: without alpha, composing it with the window costs less where OpenGL is
    // software. OpenGL ES before 3 has no such format.
    if (QOpenGLContext::openGLModuleType() == QOpenGLContext::LibGL)
        setTextureFormat(GL_RGB8);
    m_mpv = m_library ? m_library->create() : nullptr;
    if (!m_mpv)
        throw std::runtime_error("could not create mpv context");
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
    if (m_library->initialize(m_mpv) < 0)
        throw std::runtime_error("could not initialize mpv context");
    m_library->set_option_string(m_mpv, "input-vo-keyboard", "no");
    setOption(QStringLiteral("hwdec"), QStringLiteral("auto"));
    for (const ObservedProperty &property : observedProperties)
        m_library->observe_property(m_mpv, 0, property.name, property.format);
    m_library->set_wakeup_callback(m_mpv, wakeup, this);
}

// The render context goes first, or libmpv aborts the process; after a stop it has nothing to
// wait for. A callback may still be running until it has been taken back.
void MpvWidget::release()
{
    if (!m_mpv)
        return;
    m_library->set_wakeup_callback(m_mpv, nullptr, nullptr);
    if (m_mpvGl) {
        command(QVariantList{QStringLiteral("stop")});
        m_library->render_context_set_update_callback(m_mpvGl, nullptr, nullptr);
        makeCurrent();
        m_library->render_context_free(m_mpvGl);
        m_drawn.reset();
        doneCurrent();
        m_mpvGl = nullptr;
    }
    m_library->terminate_destroy(m_mpv);
    m_mpv = nullptr;
}

void MpvWidget::loadFile(const QString &url)
{
    if (m_mpvGl) {
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
    if (!m_mpv)
        return QVariant::fromValue(MpvError{MPV_ERROR_UNINITIALIZED});
    mpv_node result{};
    const int status = m_library->command_node(m_mpv, MpvNode(args).get(), &result);
    if (status < 0)
        return QVariant::fromValue(MpvError{status});
    const QVariant answer = variantFromNode(result);
    m_library->free_node_contents(&result);
    return answer;
}

void MpvWidget::setVolume(int volume)
{
    setOption(QStringLiteral("volume"), volume);
}

void MpvWidget::setMute(bool mute)
{
    setProperty(QStringLiteral("mute"), mute);
}

void MpvWidget::pause()
{
    setProperty(QStringLiteral("pause"), true);
}

void MpvWidget::play()
{
    setProperty(QStringLiteral("pause"), false);
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
    if (!m_mpv)
        return QVariant::fromValue(MpvError{MPV_ERROR_UNINITIALIZED});
    mpv_node node{};
    const int status =
        m_library->get_property(m_mpv, name.toUtf8().constData(), MPV_FORMAT_NODE, &node);
    if (status < 0)
        return QVariant::fromValue(MpvError{status});
    const QVariant value = variantFromNode(node);
    m_library->free_node_contents(&node);
    return value;
}

int MpvWidget::volume() const
{
    return static_cast<int>(getProperty(QStringLiteral("volume")).toDouble());
}

bool MpvWidget::isMute() const
{
    return getProperty(QStringLiteral("mute")).toBool();
}

bool MpvWidget::isPaused() const
{
    return getProperty(QStringLiteral("pause")).toBool();
}

int MpvWidget::position() const
{
    return static_cast<int>(getProperty(QStringLiteral("time-pos")).toDouble());
}

int MpvWidget::duration() const
{
    return static_cast<int>(getProperty(QStringLiteral("duration")).toDouble());
}

TrackInfo MpvWidget::trackInfo() const
{
    const QVariant tracks = getProperty(QStringLiteral("track-list"));
    return parseTrackList(QJsonDocument::fromVariant(tracks).array());
}

void MpvWidget::on_mpv_events()
{
    while (m_mpv) {
        const mpv_event *event = m_library->wait_event(m_mpv, 0);
        if (event->event_id == MPV_EVENT_NONE)
            break;
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
        m_startedEntry = static_cast<const mpv_event_start_file *>(event.data)->playlist_entry_id;
        break;
    case MPV_EVENT_FILE_LOADED:
        if (m_startedEntry == m_loadedEntry)
            emit fileLoaded();
        break;
    case MPV_EVENT_PLAYBACK_RESTART:
        if (m_startedEntry == m_loadedEntry)
            emit playbackRestarted();
        break;
    case MPV_EVENT_END_FILE:
        handleEndFile(*static_cast<const mpv_event_end_file *>(event.data));
        break;
    case MPV_EVENT_PROPERTY_CHANGE:
        handlePropertyChange(*static_cast<const mpv_event_property *>(event.data));
        break;
    default:
        break;
    }
}

void MpvWidget::handleEndFile(const mpv_event_end_file &end)
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
    } else {
        m_endReason = EndReason::Stopped;
    }
    if (m_endReason == EndReason::Redirected)
        m_loadedEntry = end.playlist_insert_id;
    qDebug() << "原因:" << (finished ? "true" : "false");
    emit playEnd(finished);
}

void MpvWidget::handlePropertyChange(const mpv_event_property &property)
{
    const QLatin1String name(property.name);
    if (name == QLatin1String("time-pos")) {
        if (property.format == MPV_FORMAT_DOUBLE)
            emit positionChanged(static_cast<int>(doubleOf(property)));
    } else if (name == QLatin1String("duration")) {
        if (property.format == MPV_FORMAT_DOUBLE)
            emit durationChanged(static_cast<int>(doubleOf(property)));
    } else if (name == QLatin1String("track-list")) {
        if (property.format == MPV_FORMAT_NODE)
            handleTrackList(property);
    } else if (name == QLatin1String("pause")) {
        if (property.format == MPV_FORMAT_FLAG)
            emit paused(*static_cast<const int *>(property.data) != 0);
    } else if (name == QLatin1String("volume")) {
        const double volume = doubleOf(property);
        qDebug() << "volume:" << volume;
        emit volumeChanged(static_cast<int>(volume));
    }
}

void MpvWidget::handleTrackList(const mpv_event_property &property)
{
    const QVariant tracks = variantFromNode(*static_cast<const mpv_node *>(property.data));
    const QJsonArray array = QJsonDocument::fromVariant(tracks).array();
    if (array.isEmpty())
        return;
    TrackInfo info = parseTrackList(array);
    emit trackListChanged(info);
}

void MpvWidget::mouseReleaseEvent(QMouseEvent *event)
{
    QOpenGLWidget::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton)
        emit mouseReleased();
}

void MpvWidget::initializeGL()
{
    mpv_opengl_init_params init{};
    init.get_proc_address = get_proc_address;
    mpv_render_param parameters[] = {
        {MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_OPENGL)},
        {MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &init},
        {MPV_RENDER_PARAM_INVALID, nullptr},
    };
    if (m_library->render_context_create(&m_mpvGl, m_mpv, parameters) < 0)
        throw std::runtime_error("failed to initialize mpv GL context");
    m_library->render_context_set_update_callback(m_mpvGl, on_update, this);
    if (!m_heldUrl.isEmpty())
        load(std::exchange(m_heldUrl, {}));
}

void MpvWidget::paintGL()
{
    if (!m_mpvGl)
        return;
    mpv_opengl_fbo target{static_cast<int>(defaultFramebufferObject()), width(), height(), 0};
    int flip = 1;
    mpv_render_param parameters[] = {
        {MPV_RENDER_PARAM_OPENGL_FBO, &target},
        {MPV_RENDER_PARAM_FLIP_Y, &flip},
        {MPV_RENDER_PARAM_INVALID, nullptr},
    };
    m_library->render_context_render(m_mpvGl, parameters);
    if (devicePixelRatioF() > 1.0)
        fillFramebuffer();
}

// libmpv is given the widget's size; where the screen has more pixels than that, its picture is
// drawn larger.
void MpvWidget::fillFramebuffer()
{
    if (!m_drawn || m_drawn->size() != size())
        m_drawn = std::make_unique<QOpenGLFramebufferObject>(size());
    const QSize whole = size() * devicePixelRatioF();
    const GLuint target = defaultFramebufferObject();
    QOpenGLExtraFunctions gl(context());
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, target);
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_drawn->handle());
    gl.glBlitFramebuffer(0, 0, width(), height(), 0, 0, width(), height(), GL_COLOR_BUFFER_BIT,
                         GL_NEAREST);
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, m_drawn->handle());
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, target);
    gl.glBlitFramebuffer(0, 0, width(), height(), 0, 0, whole.width(), whole.height(),
                         GL_COLOR_BUFFER_BIT, GL_LINEAR);
    gl.glBindFramebuffer(GL_FRAMEBUFFER, target);
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
