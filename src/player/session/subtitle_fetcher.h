#pragma once

#include <memory>
#include <optional>

#include <QObject>
#include <QPointer>

#include "api/session/open_api_client.h"
#include "db/tables/user_info.h"
#include "net/reply_guard.h"
#include "player/session/offered_subtitle.h"

class HttpDownLoader;
class SubtitleFolder;

// Downloads subtitle files of one video to temporary files that nobody else can read, one at a
// time: a later request takes the place of an earlier one. Failures, files that are too large and
// files that are something else are logged and add nothing; what could not be had is asked for
// again when the server is back. The files are removed with this object.
class SubtitleFetcher final : public QObject
{
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(SubtitleFetcher)

public:
    SubtitleFetcher(UserInfo user, QString videoId, QObject *parent = nullptr);
    ~SubtitleFetcher() override;

    // Asks for the address of a file of the drive. That of a transcoded one is asked for, once,
    // when there is none or it works no longer.
    void fetch(const OfferedSubtitle &subtitle);
    void cancel();

signals:
    void fetched(const QString &id, const QString &path);

private:
    enum class Address { Old, New };

    ApiFailure losing(const OfferedSubtitle &subtitle, const QString &operation);
    void requestAddress(const OfferedSubtitle &subtitle);
    void requestTranscoded(const OfferedSubtitle &subtitle);
    void download(const OfferedSubtitle &subtitle, Address address);
    void onDownloaded(const QString &id, const QString &path);
    void endDownload();
    void onReturned();

    const UserInfo m_user;
    const QString m_videoId;
    QPointer<HttpDownLoader> m_download;
    std::unique_ptr<SubtitleFolder> m_folder; // once it is needed
    std::optional<OfferedSubtitle> m_lost;
    ReplyGuard m_replies;
};
