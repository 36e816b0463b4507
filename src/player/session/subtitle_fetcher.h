#pragma once

#include <memory>

#include <QObject>
#include <QPointer>

#include "db/tables/user_info.h"
#include "net/reply_guard.h"

class FileItem;
class HttpDownLoader;
class QTemporaryDir;

// Downloads subtitle files of the drive to temporary files that nobody else can read, one at a
// time: a later request takes the place of an earlier one. Failures, files that are too large and
// files that are something else are logged and add nothing. The files are removed with this object.
class SubtitleFetcher final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SubtitleFetcher)

public:
    explicit SubtitleFetcher(QObject *parent = nullptr);
    ~SubtitleFetcher() override;

    void fetch(const UserInfo &user, const FileItem &subtitle);
    void cancel();

signals:
    void fetched(const QString &fileId, const QString &path);

private:
    void download(const QString &url, const FileItem &subtitle);
    void onDownloaded(const QString &fileId, const QString &path);
    void endDownload();

    QPointer<HttpDownLoader> m_download;
    std::unique_ptr<QTemporaryDir> m_folder; // once it is needed
    ReplyGuard m_replies;
};
