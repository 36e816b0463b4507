#pragma once

#include <QObject>
#include <QPointer>
#include <QSet>

#include "db/tables/user_info.h"
#include "net/reply_guard.h"

class FileItem;
class HttpDownLoader;

// Downloads subtitle files of the drive to temporary files, one at a time: a later request takes
// the place of an earlier one. Failures are logged and add nothing. The files are removed with
// this object.
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

    QPointer<HttpDownLoader> m_download;
    QSet<QString> m_paths;
    int m_generation = 0;
    ReplyGuard m_replies;
};
