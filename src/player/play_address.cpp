#include "player/play_address.h"

#include <QDebug>

#include "api/records/file_records.h"
#include "api/records/video_records.h"
#include "api/session/open_api_client.h"
#include "net/guarded.h"
#include "player/video_quality.h"

namespace {

void logFailure(const char *operation, int code, const QString &error)
{
    qDebug().nospace().noquote() << operation << " fail : " << code << " =>" << error;
}

} // namespace

PlayAddress::PlayAddress(QObject *parent) : QObject(parent) {}

void PlayAddress::request(const UserInfo &user, const FileItem &file, const QString &wantedQuality)
{
    const int generation = ++m_generation;
    m_entries.clear();
    m_current = -1;
    m_wanted = wantedQuality;
    m_sourceWidth = file.video_media_metadata.width;
    m_sourceHeight = file.video_media_metadata.height;
    const auto success = [this, generation, user, file](const VideoPreviewPlayInfoResp &reply) {
        if (generation != m_generation)
            return;
        takePlayInfo(reply.video_preview_play_info);
        requestSource(user, file);
    };
    const auto fail = [this, generation](const QString &error, int code) {
        logFailure("getPlayInfo", code, error);
        if (generation == m_generation)
            emit unavailable();
    };
    OpenApiClient(user).playInfo(file.file_id, guarded(this, success), guarded(this, fail));
}

void PlayAddress::takePlayInfo(const VideoPreviewPlayInfo &info)
{
    for (const LiveTranscodingTask &task : info.live_transcoding_task_list)
        m_entries.append({task.template_id, task.template_width, task.template_height, task.url});
    if (info.meta.width > 0 && info.meta.height > 0) {
        m_sourceWidth = info.meta.width;
        m_sourceHeight = info.meta.height;
    }
}

void PlayAddress::requestSource(const UserInfo &user, const FileItem &file)
{
    const int generation = m_generation;
    const auto success = [this, generation](const GetDownloadUrlResp &reply) {
        if (generation != m_generation)
            return;
        m_entries.append({sourceQualityId(), m_sourceWidth, m_sourceHeight, reply.url});
        finish();
    };
    const auto fail = [this, generation](const QString &error, int code) {
        logFailure("getDownloadUrl", code, error);
        if (generation == m_generation)
            finish();
    };
    OpenApiClient(user).downloadUrl(file.file_id, guarded(this, success), guarded(this, fail));
}

void PlayAddress::finish()
{
    m_current = choosePlayable(m_entries, m_wanted);
    emit ready();
}

QString PlayAddress::currentId() const
{
    return m_current < 0 ? QString() : m_entries.at(m_current).id;
}

QString PlayAddress::currentUrl() const
{
    return m_current < 0 ? QString() : m_entries.at(m_current).url;
}

bool PlayAddress::choose(const QString &id)
{
    m_wanted = id;
    for (int i = 0; i < m_entries.size(); ++i) {
        if (m_entries.at(i).id == id && !m_entries.at(i).url.isEmpty()) {
            m_current = i;
            return true;
        }
    }
    return false;
}
