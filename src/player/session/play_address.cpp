#include "player/session/play_address.h"

#include <chrono>
#include <utility>

#include <QUrl>

#include "api/records/subtitle_records.h"
#include "api/session/api_failure.h"
#include "api/session/open_api_client.h"
#include "api/session/patient_reading.h"
#include "app/environment/video_quality.h"
#include "net/log_failure.h"
#include "net/web_address.h"

namespace {

// The drive lets its addresses live 15 minutes or longer.
constexpr std::chrono::minutes Life(10);

} // namespace

PlayAddress::PlayAddress(UserInfo user, const FileItem &file)
    : m_user(std::move(user))
    , m_file(file)
    , m_duration(static_cast<int>(file.video_media_metadata.duration.toDouble()))
    , m_sourceWidth(file.video_media_metadata.width)
    , m_sourceHeight(file.video_media_metadata.height)
{
}

PlayAddress::~PlayAddress()
{
    m_replies.abandon();
}

void PlayAddress::fetchAhead()
{
    request(Purpose::Ahead);
}

void PlayAddress::open()
{
    m_isOpen = true;
    if (m_answer == Answer::Known && !m_life.hasExpired()) {
        emit ready();
    } else if (m_answer != Answer::Awaited || m_replies.isHeldBack()) {
        renew(); // in its present turn
    }
}

void PlayAddress::renew()
{
    m_isOpen = true;
    request(isForSource() ? Purpose::Source : Purpose::Opening);
}

void PlayAddress::openSource()
{
    m_isOpen = true;
    request(Purpose::Source);
}

bool PlayAddress::isStale() const
{
    const bool isAnswered = m_answer == Answer::Known || m_answer == Answer::Refused;
    return isAnswered && m_life.hasExpired();
}

// What is still under way is about addresses that nobody wants any more.
void PlayAddress::request(Purpose purpose)
{
    m_replies.abandon();
    m_purpose = purpose;
    m_answer = Answer::Awaited;
    m_entries.clear();
    m_subtitles.clear();
    m_refusal.reset();
    m_reason.clear();
    if (purpose == Purpose::Source) {
        requestSource();
    } else {
        requestPlayInfo();
    }
}

OpenApiClient PlayAddress::client()
{
    const auto turn = m_purpose == Purpose::Ahead ? RequestTurn::Ahead : RequestTurn::Now;
    return OpenApiClient(m_user).inTurn(turn).whenRefused(
        m_replies.guard([this](const ApiRefusal &refusal) { m_refusal = refusal; }));
}

void PlayAddress::requestPlayInfo()
{
    const auto success = [this](const VideoPlayInfo &reply) {
        onPlayInfo(reply);
        requestSource();
    };
    const auto fail = [this](const QString &error, int code) {
        onFailure(QStringLiteral("getPlayInfo"), code, error);
        onAnswer(Answer::Refused);
    };
    const auto ask = [this, success = m_replies.guard(success)](const OpenApiClient &client,
                                                                const ApiFailure &failed) {
        m_refusal.reset();
        return client.playInfo(m_file.file_id, success, failed);
    };
    readPatiently(m_replies, client(), ask, fail);
}

void PlayAddress::onPlayInfo(const VideoPlayInfo &reply)
{
    m_subtitles = transcodedSubtitles(reply.subtitles);
    const VideoPreviewPlayInfo &info = reply.streams.video_preview_play_info;
    for (const LiveTranscodingTask &task : info.live_transcoding_task_list) {
        m_entries.append({task.template_id, task.template_width, task.template_height, task.url});
    }
    if (info.meta.width > 0 && info.meta.height > 0) {
        m_sourceWidth = info.meta.width;
        m_sourceHeight = info.meta.height;
    }
    if (info.meta.duration > 0) {
        m_duration = static_cast<int>(info.meta.duration);
    }
}

void PlayAddress::requestSource()
{
    const auto success = [this](const GetDownloadUrlResp &reply) {
        if (!reply.url.isEmpty()) {
            m_entries.append({sourceQualityId(), m_sourceWidth, m_sourceHeight, reply.url});
        } else if (m_refusal) {
            m_reason = troubleText(m_refusal->trouble);
        }
        onAnswer(Answer::Known);
    };
    const auto fail = [this](const QString &error, int code) {
        onFailure(QStringLiteral("getDownloadUrl"), code, error);
        onAnswer(m_purpose == Purpose::Ahead ? Answer::Refused : Answer::Known);
    };
    const auto ask = [this, success = m_replies.guard(success)](const OpenApiClient &client,
                                                                const ApiFailure &failed) {
        m_refusal.reset();
        return client.downloadUrl(m_file.file_id, success, failed);
    };
    readPatiently(m_replies, client(), ask, fail);
}

void PlayAddress::onFailure(const QString &operation, int code, const QString &error)
{
    m_reason = troubleText(troubleOf(code, m_refusal));
    if (m_purpose != Purpose::Ahead) {
        logAddressFailure(operation, error, code);
    }
}

void PlayAddress::onAnswer(Answer answer)
{
    m_answer = answer;
    m_life.setRemainingTime(Life);
    if (!m_isOpen) {
        return;
    }
    if (answer == Answer::Known) {
        emit ready();
    } else if (m_purpose == Purpose::Ahead) {
        renew();
    } else {
        emit unavailable();
    }
}

void PlayAddress::want(const QString &qualityId)
{
    m_wanted = qualityId;
}

int PlayAddress::current() const
{
    return choosePlayable(m_entries, m_wanted);
}

QString PlayAddress::currentId() const
{
    const int index = current();
    return index < 0 ? QString() : m_entries.at(index).id;
}

QString PlayAddress::currentUrl() const
{
    const int index = current();
    return index < 0 ? QString() : m_entries.at(index).url;
}

bool PlayAddress::isPlayable() const
{
    return mayBeAsked(QUrl(currentUrl()));
}

QList<MenuEntry> PlayAddress::menu() const
{
    const int chosen = current();
    QList<MenuEntry> lines;
    for (int i = 0; i < m_entries.size(); ++i) {
        const QualityEntry &entry = m_entries.at(i);
        MenuEntry line{entry.text(), entry.id, i == chosen};
        line.enabled = !entry.url.isEmpty();
        lines.append(line);
    }
    return lines;
}
