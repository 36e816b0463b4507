#include "player/session/subtitle_fetcher.h"

#include <QFile>

#include "api/records/file_records.h"
#include "api/session/open_api_client.h"
#include "net/http_downloader.h"
#include "net/log_failure.h"
#include "player/session/subtitle_files.h"

SubtitleFetcher::SubtitleFetcher(QObject *parent) : QObject(parent) {}

SubtitleFetcher::~SubtitleFetcher()
{
    cancel();
    for (const QString &path : qAsConst(m_paths)) {
        QFile::remove(path);
    }
}

void SubtitleFetcher::fetch(const UserInfo &user, const FileItem &subtitle)
{
    cancel();
    const int generation = m_generation;
    const auto success = [this, generation, subtitle](const GetDownloadUrlResp &reply) {
        if (generation == m_generation) {
            download(reply.url, subtitle);
        }
    };
    const auto fail = [](const QString &error, int code) {
        logFailure(QStringLiteral("getDownloadUrl"), code, error);
    };
    OpenApiClient(user).downloadUrl(subtitle.file_id, m_replies.guard(success), fail);
}

void SubtitleFetcher::cancel()
{
    ++m_generation;
    delete m_download;
}

void SubtitleFetcher::download(const QString &url, const FileItem &subtitle)
{
    const QString path = subtitleTempPath(subtitle);
    m_paths.insert(path);
    m_download = new HttpDownLoader(url, path, this);
    connect(m_download, &HttpDownLoader::downFinished, this, [this, id = subtitle.file_id, path] {
        m_download->deleteLater();
        m_download = nullptr;
        emit fetched(id, path);
    });
    connect(m_download, &HttpDownLoader::error, this, [this](const QString &error) {
        logFailure(QStringLiteral("subtitle download"), -1, error);
        m_download->deleteLater();
        m_download = nullptr;
    });
    m_download->start();
}
