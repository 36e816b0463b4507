#include "player/window/player_host.h"

#include <memory>
#include <stdexcept>

#include <QMessageBox>

#include "player/session/play_request.h"
#include "player/session/subtitle_files.h"
#include "player/window/player_window.h"

namespace {

// Not modal: the list behind it stays usable.
void tellUser(const QString &reason)
{
    auto *box = new QMessageBox(QMessageBox::Warning, QStringLiteral("播放器"),
                                QStringLiteral("无法打开播放器"), QMessageBox::Ok);
    box->setInformativeText(reason);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setModal(false);
    box->show();
}

} // namespace

PlayerHost::PlayerHost(QObject *parent) : QObject(parent)
{
    removeOldSubtitleFolders();
}

PlayerHost::~PlayerHost()
{
    closeAll();
}

void PlayerHost::open(const PlayRequest &request)
{
    try {
        MpvPlayerWindow *player = window();
        player->open(request);
        player->bringForward();
    } catch (const std::runtime_error &error) {
        tellUser(QString::fromUtf8(error.what()));
    }
}

void PlayerHost::reloadSkipTimes()
{
    if (m_window) {
        m_window->reloadSkipTimes();
    }
}

MpvPlayerWindow *PlayerHost::window()
{
    if (m_window) {
        return m_window;
    }
    auto created = std::make_unique<MpvPlayerWindow>();
    created->prepareVideo();
    created->show();
    m_window = created.release();
    connect(m_window, &MpvPlayerWindow::historyUpdated, this, &PlayerHost::historyUpdated);
    connect(m_window, &MpvPlayerWindow::videoQualityChanged, this,
            &PlayerHost::videoQualityChanged);
    return m_window;
}

void PlayerHost::closeAll()
{
    if (!m_window) {
        return;
    }
    m_window->close();
    delete m_window; // now, not when the event loop comes to it: libmpv must be gone
}
