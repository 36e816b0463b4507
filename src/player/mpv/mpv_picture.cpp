#include "player/mpv/mpv_picture.h"

#include <stdexcept>

#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFramebufferObject>

#include "player/mpv/mpv_library.h"

namespace {

void *getProcAddress(void *, const char *name)
{
    QOpenGLContext *context = QOpenGLContext::currentContext();
    return context ? reinterpret_cast<void *>(context->getProcAddress(name)) : nullptr;
}

} // namespace

MpvPicture::MpvPicture(const MpvLibrary &library, mpv_handle *mpv) : m_library(library)
{
    mpv_opengl_init_params init{};
    init.get_proc_address = getProcAddress;
    mpv_render_param parameters[] = {
        {MPV_RENDER_PARAM_API_TYPE, const_cast<char *>(MPV_RENDER_API_TYPE_OPENGL)},
        {MPV_RENDER_PARAM_OPENGL_INIT_PARAMS, &init},
        {MPV_RENDER_PARAM_INVALID, nullptr},
    };
    if (m_library.render_context_create(&m_context, mpv, parameters) < 0) {
        throw std::runtime_error("failed to initialize mpv GL context");
    }
}

MpvPicture::~MpvPicture()
{
    m_library.render_context_free(m_context);
}

void MpvPicture::setUpdateCallback(void (*callback)(void *), void *argument)
{
    m_library.render_context_set_update_callback(m_context, callback, argument);
}

void MpvPicture::draw(unsigned framebuffer, const QSize &size, qreal density)
{
    mpv_opengl_fbo target{static_cast<int>(framebuffer), size.width(), size.height(), 0};
    int flip = 1;
    mpv_render_param parameters[] = {
        {MPV_RENDER_PARAM_OPENGL_FBO, &target},
        {MPV_RENDER_PARAM_FLIP_Y, &flip},
        {MPV_RENDER_PARAM_INVALID, nullptr},
    };
    m_library.render_context_render(m_context, parameters);
    if (density > 1.0) {
        enlarge(framebuffer, size, density);
    }
}

// libmpv is given the widget's size; where the screen has more pixels than that, its picture is
// drawn larger.
void MpvPicture::enlarge(unsigned framebuffer, const QSize &size, qreal density)
{
    if (!m_drawn || m_drawn->size() != size) {
        m_drawn = std::make_unique<QOpenGLFramebufferObject>(size);
    }
    const QSize whole = size * density;
    QOpenGLExtraFunctions gl(QOpenGLContext::currentContext());
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer);
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, m_drawn->handle());
    gl.glBlitFramebuffer(0, 0, size.width(), size.height(), 0, 0, size.width(), size.height(),
                         GL_COLOR_BUFFER_BIT, GL_NEAREST);
    gl.glBindFramebuffer(GL_READ_FRAMEBUFFER, m_drawn->handle());
    gl.glBindFramebuffer(GL_DRAW_FRAMEBUFFER, framebuffer);
    gl.glBlitFramebuffer(0, 0, size.width(), size.height(), 0, 0, whole.width(), whole.height(),
                         GL_COLOR_BUFFER_BIT, GL_LINEAR);
    gl.glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
}
