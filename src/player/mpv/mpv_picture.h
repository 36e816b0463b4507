#pragma once

#include <memory>

#include <QSize>

class QOpenGLFramebufferObject;
struct MpvLibrary;
struct mpv_handle;
struct mpv_render_context;

// libmpv's picture, drawn by OpenGL. All of it, the end included, needs the OpenGL context that was
// current when it was made. Must go before the player.
class MpvPicture final
{
    Q_DISABLE_COPY_MOVE(MpvPicture)

public:
    // Throws std::runtime_error "failed to initialize mpv GL context" (OpenGL older than 2.1).
    MpvPicture(const MpvLibrary &library, mpv_handle *mpv);
    ~MpvPicture();

    // Called from a foreign thread when there is something new to draw; null: no more, which needs
    // no OpenGL context.
    void setUpdateCallback(void (*callback)(void *), void *argument);

    // Draws into a framebuffer of `size` times `density` pixels.
    void draw(unsigned framebuffer, const QSize &size, qreal density);

private:
    void enlarge(unsigned framebuffer, const QSize &size, qreal density);

    const MpvLibrary &m_library;
    mpv_render_context *m_context = nullptr;
    std::unique_ptr<QOpenGLFramebufferObject> m_drawn; // see enlarge()
};
