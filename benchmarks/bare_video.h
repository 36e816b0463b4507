#pragma once

#include <QOpenGLWidget>

struct MpvLibrary;
struct mpv_handle;
struct mpv_render_context;

// The least that shows a video by libmpv in a QOpenGLWidget, with the program's options and
// nothing around it: what the player costs beyond this is its own.
class BareVideo final : public QOpenGLWidget
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(BareVideo)

public:
    BareVideo();
    ~BareVideo() override;

    // Only when isValid().
    void play(const QString &url);

protected:
    void initializeGL() override;
    void paintGL() override;

private:
    const MpvLibrary *m_library = nullptr;
    mpv_handle *m_mpv = nullptr;
    mpv_render_context *m_gl = nullptr;
};
