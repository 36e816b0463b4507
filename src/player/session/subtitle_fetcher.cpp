#include "player/session/subtitle_fetcher.h"

#include <QFile>
#include <QTemporaryDir>

#include "api/records/file_records.h"
#include "api/session/open_api_client.h"
#include "net/http_downloader.h"
#include "net/log_failure.h"
#include "player/session/subtitle_files.h"

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

SubtitleFetcher::SubtitleFetcher(QObject *parent) : QObject(parent) {}

SubtitleFetcher::~SubtitleFetcher()
{
    cancel();
}

void SubtitleFetcher::fetch(const UserInfo &user, const FileItem &subtitle)
{
    cancel();
    const auto success = [this, subtitle](const GetDownloadUrlResp &reply) {
        download(reply.url, subtitle);
    };
    const auto fail = [](const QString &error, int code) {
        logFailure(QStringLiteral("getDownloadUrl"), code, error);
    };
    m_replies.limitWait(
        OpenApiClient(user).downloadUrl(subtitle.file_id, m_replies.guard(success), fail));
}

void SubtitleFetcher::cancel()
{
    m_replies.abandon();
    delete m_download;
}

void SubtitleFetcher::download(const QString &url, const FileItem &subtitle)
{
    if (!m_folder) {
        m_folder = std::make_unique<QTemporaryDir>(subtitleFolderTemplate());
    }
    if (!m_folder->isValid()) {
        logFailedDownload(m_folder->errorString());
        return;
    }
    const QString path = subtitlePath(m_folder->path(), subtitle);
    auto *download = new HttpDownLoader(url, path, this);
    m_download = download;
    download->setLargest(LargestFile);
    connect(download, &HttpDownLoader::downFinished, this,
            [this, id = subtitle.file_id, path] { onDownloaded(id, path); });
    connect(download, &HttpDownLoader::error, this, [this](const QString &error) {
        endDownload();
        logFailedDownload(error);
    });
    download->start();
}

void SubtitleFetcher::onDownloaded(const QString &fileId, const QString &path)
{
    endDownload();
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner);
    if (holdsSubtitles(path)) {
        emit fetched(fileId, path);
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
