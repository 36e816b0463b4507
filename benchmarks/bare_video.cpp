#include "bare_video.h"

#include <QOpenGLContext>

#include "player/mpv/mpv_library.h"
#include "player/mpv/mpv_node.h"

namespace {

void *getProcAddress(void *, const char *name)
{
    return reinterpret_cast<void *>(QOpenGLContext::currentContext()->getProcAddress(name));
}

void onUpdate(void *widget)
{
    QMetaObject::invokeMethod(static_cast<BareVideo *>(widget), "update", Qt::QueuedConnection);
}

} // namespace

BareVideo::BareVideo() : m_library(mpvLibrary())
{
    setTextureFormat(GL_RGB8);
    m_mpv = m_library ? m_library->create() : nullptr;
    if (!m_mpv) {
        qFatal("no libmpv");
    }
    m_library->set_option_string(m_mpv, "hwdec", "auto");
    m_library->set_option_string(m_mpv, "ao", "null");
    m_library->initialize(m_mpv);
}

BareVideo::~BareVideo()
{
    makeCurrent();
    m_library->render_context_free(m_gl);
    doneCurrent();
    m_library->terminate_destroy(m_mpv);
}

void BareVideo::play(const QString &url)
{
    mpv_node answer{};
    m_library->command_node(m_mpv, MpvNode(QStringList{QStringLiteral("loadfile"), url}).get(),
                            &answer);
    m_library->free_node_contents(&answer);
}

void BareVideo::initializeGL()
{
    mpv_opengl_init_params init{};
    init.get_proc_address = getProcAddress;
    mpv_render_param parameters[] = {
        {MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_OPENGL)},
        {MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &init},
        {MPV_RENDER_PARAM_INVALID, nullptr},
    };
    m_library->render_context_create(&m_gl, m_mpv, parameters);
    m_library->render_context_set_update_callback(m_gl, onUpdate, this);
}

void BareVideo::paintGL()
{
    mpv_opengl_fbo target{static_cast<int>(defaultFramebufferObject()), width(), height(), 0};
    int flip = 1;
    mpv_render_param parameters[] = {
        {MPV_RENDER_PARAM_OPENGL_FBO, &target},
        {MPV_RENDER_PARAM_FLIP_Y, &flip},
        {MPV_RENDER_PARAM_INVALID, nullptr},
    };
    m_library->render_context_render(m_gl, parameters);
}
