#include "player/session/subtitle_fetcher.h"

#include <utility>

#include <QFile>

#include "api/records/file_records.h"
#include "api/records/subtitle_records.h"
#include "api/session/patient_reading.h"
#include "api/session/session.h"
#include "net/http_downloader.h"
#include "net/log_failure.h"
#include "player/session/subtitle_files.h"
#include "player/session/subtitle_folder.h"

namespace {

constexpr int LargestFile = 20 * 1024 * 1024; // bytes
constexpr int LookedAt = 64 * 1024;           // bytes

void logFailedDownload(const QString &error)
{
    logFailure(QStringLiteral("subtitle download"), -1, error);
}

bool holdsSubtitles(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) && isSubtitleContent(file.read(LookedAt));
}

} // namespace

SubtitleFetcher::SubtitleFetcher(UserInfo user, QString videoId, QObject *parent)
    : QObject(parent), m_user(std::move(user)), m_videoId(std::move(videoId))
{
    connect(&Session::instance().reachability(), &Reachability::returned, this,
            &SubtitleFetcher::onReturned);
}

SubtitleFetcher::~SubtitleFetcher()
{
    cancel();
}

void SubtitleFetcher::fetch(const OfferedSubtitle &subtitle)
{
    cancel();
    if (!subtitle.isTranscoded()) {
        requestAddress(subtitle);
    } else if (subtitle.url.isEmpty()) {
        requestTranscoded(subtitle);
    } else {
        download(subtitle, Address::Old);
    }
}

void SubtitleFetcher::cancel()
{
    m_replies.abandon();
    delete m_download;
    m_lost.reset();
}

void SubtitleFetcher::onReturned()
{
    if (m_lost) {
        fetch(OfferedSubtitle(*m_lost));
    }
}

ApiFailure SubtitleFetcher::losing(const OfferedSubtitle &subtitle, const QString &operation)
{
    return [this, subtitle, operation](const QString &error, int code) {
        logFailure(operation, code, error);
        m_lost = subtitle;
    };
}

void SubtitleFetcher::requestAddress(const OfferedSubtitle &subtitle)
{
    const auto success = [this, subtitle](const GetDownloadUrlResp &reply) {
        OfferedSubtitle addressed = subtitle;
        addressed.url = reply.url;
        download(addressed, Address::New);
    };
    const auto ask = [id = subtitle.id, success = m_replies.guard(success)](
                         const OpenApiClient &client, const ApiFailure &failed) {
        return client.downloadUrl(id, success, failed);
    };
    readPatiently(m_replies, OpenApiClient(m_user).inTurn(RequestTurn::Soon), ask,
                  losing(subtitle, QStringLiteral("getDownloadUrl")));
}

void SubtitleFetcher::requestTranscoded(const OfferedSubtitle &subtitle)
{
    const auto success = [this, id = subtitle.id](const VideoPlayInfo &reply) {
        const QList<OfferedSubtitle> offered = transcodedSubtitles(reply.subtitles);
        if (const OfferedSubtitle *found = findOffered(offered, id)) {
            download(*found, Address::New);
        } else {
            logFailedDownload(QStringLiteral("it is not offered any more"));
        }
    };
    const auto ask = [id = m_videoId, success = m_replies.guard(success)](
                         const OpenApiClient &client, const ApiFailure &failed) {
        return client.playInfo(id, success, failed);
    };
    readPatiently(m_replies, OpenApiClient(m_user).inTurn(RequestTurn::Soon), ask,
                  losing(subtitle, QStringLiteral("getPlayInfo")));
}

void SubtitleFetcher::download(const OfferedSubtitle &subtitle, Address address)
{
    if (!m_folder) {
        m_folder = std::make_unique<SubtitleFolder>();
    }
    if (m_folder->path().isEmpty()) {
        logFailedDownload(m_folder->errorString());
        return;
    }
    const QString path = subtitlePath(m_folder->path(), subtitle);
    auto *download = new HttpDownLoader(subtitle.url, path, this);
    m_download = download;
    download->setLargest(LargestFile);
    connect(download, &HttpDownLoader::downFinished, this,
            [this, id = subtitle.id, path] { onDownloaded(id, path); });
    connect(download, &HttpDownLoader::error, this,
            [this, subtitle, address](const QString &error) {
                endDownload();
                logFailedDownload(error);
                if (address == Address::Old) {
                    requestTranscoded(subtitle);
                } else {
                    m_lost = subtitle;
                }
            });
    download->start();
}

void SubtitleFetcher::onDownloaded(const QString &id, const QString &path)
{
    endDownload();
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    if (holdsSubtitles(path)) {
        emit fetched(id, path);
    } else {
        QFile::remove(path);
        logFailedDownload(QStringLiteral("these are no subtitles"));
    }
}

void SubtitleFetcher::endDownload()
{
    m_download->deleteLater();
    m_download = nullptr;
}
