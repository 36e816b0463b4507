#pragma once

#include <memory>

#include <QObject>

#include "db/tables/operations.h"
#include "net/reply_guard.h"
#include "player/player_fixture.h"
#include "support/log_capture.h"
#include "support/toasts.h"

// What tests of the playing share: for each function a fixture and the log.
class PlayerTest : public QObject
{
    Q_OBJECT

protected:
    // The outro of the video's folder.
    void skipTail(const QString &path, int tail)
    {
        FolderSetting setting;
        setting.folderId = m_player->item(path).parent_file_id;
        setting.skipTailPos = tail;
        saveFolderSetting(setting);
    }
    // How often libmpv was given an address.
    int loads() const { return m_log->lines().filter("已经获取到播放链接").size(); }

    std::unique_ptr<PlayerFixture> m_player;
    std::unique_ptr<LogCapture> m_log;

private slots:
    void init()
    {
        m_player = std::make_unique<PlayerFixture>();
        m_log = std::make_unique<LogCapture>();
    }
    void cleanup()
    {
        ReplyGuard::setPatience({});
        m_player.reset();
        m_log.reset();
        closeToasts();
    }
};
