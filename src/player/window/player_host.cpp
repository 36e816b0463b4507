#include "player/window/player_host.h"

#include <memory>
#include <stdexcept>

#include <QMessageBox>

#include "player/session/play_request.h"
#include "player/session/subtitle_folder.h"
#include "player/window/player_window.h"
#include "ui/widgets/bring_forward.h"

PlayerHost::PlayerHost(QObject *parent) : QObject(parent)
{
    removeOldSubtitleFolders();
}

PlayerHost::~PlayerHost()
{
    closeAll();
    delete m_failure;
}

void PlayerHost::open(const PlayRequest &request)
{
    try {
        MpvPlayerWindow *player = window();
        player->open(request);
        bringForward(*player);
    } catch (const std::runtime_error &error) {
        tellFailure(QString::fromUtf8(error.what()));
    }
}

// Not modal: the list behind it stays usable. One for all the videos that are tried.
void PlayerHost::tellFailure(const QString &reason)
{
    delete m_failure;
    m_failure = new QMessageBox(QMessageBox::Warning, QStringLiteral("播放器"),
                                QStringLiteral("无法打开播放器"), QMessageBox::Ok);
    m_failure->setInformativeText(reason);
    m_failure->setAttribute(Qt::WA_DeleteOnClose);
    m_failure->setModal(false);
    m_failure->show();
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
