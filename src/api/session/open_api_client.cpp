#include "api/session/open_api_client.h"

#include "api/records/account_records.h"
#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "api/records/subtitle_records.h"
#include "api/records/video_records.h"
#include "api/session/api_request.h"
#include "app/environment/app_settings.h"
#include "db/tables/user_info.h"
#include "net/http_reply.h"

namespace {

constexpr int HttpOk = 200;
constexpr int WholeListLimit = 200;
constexpr int ImageThumbnailWidth = 90;
constexpr int VideoThumbnailTime = 120000;
constexpr int VideoThumbnailWidth = 180;
constexpr int PlayUrlSeconds = 14400;
constexpr int DownloadUrlSeconds = 115200;

constexpr qint64 LongestPage = qint64(16) << 20;

const QString ListPath = QStringLiteral("/adrive/v1.0/openFile/list");

FileListReq listRequest(const QString &driveId, const QString &parentFileId, int limit)
{
    FileListReq request;
    request.drive_id = driveId;
    request.fields = QStringLiteral("*");
    request.limit = limit;
    request.parent_file_id = parentFileId;
    return request;
}

void orderByName(FileListReq &request)
{
    request.order_by = QStringLiteral("name");
    request.order_direction = QStringLiteral("ASC");
    request.image_thumbnail_width = ImageThumbnailWidth;
    request.video_thumbnail_time = VideoThumbnailTime;
    request.video_thumbnail_width = VideoThumbnailWidth;
}

void orderBySettings(FileListReq &request)
{
    const AppSettings settings;
    request.order_by = settings.fileListOrderBy();
    request.order_direction = settings.fileOrderDirection();
}

template <class Request>
Request fileRequest(const QString &driveId, const QString &fileId)
{
    Request request;
    request.drive_id = driveId;
    request.file_id = fileId;
    return request;
}

} // namespace

OpenApiClient::OpenApiClient(const UserInfo &user)
    : m_userId(user.userId.value()), m_driveId(user.driveId.value())
{
}

OpenApiClient OpenApiClient::forAccessToken(const QString &accessToken)
{
    OpenApiClient client;
    client.m_accessToken = accessToken;
    return client;
}

OpenApiClient OpenApiClient::whenRefused(const ApiRefusalHandler &refused) const
{
    OpenApiClient client = *this;
    client.m_refused = refused;
    if (m_refused) {
        client.m_refused = [before = m_refused, refused](const ApiRefusal &refusal) {
            before(refusal);
            refused(refusal);
        };
    }
    return client;
}

OpenApiClient OpenApiClient::inTurn(RequestTurn turn) const
{
    OpenApiClient client = *this;
    client.m_turn = turn;
    return client;
}

template <class Response>
ApiSuccess<QString> OpenApiClient::parsed(const ApiSuccess<Response> &success) const
{
    return [success, refused = m_refused](const QString &reply) {
        const QJsonValue body = objectFromText(reply);
        if (refused && !body.isObject()) {
            refused({HttpOk, {}, {}, ApiTrouble::NotJson});
        }
        if (success) {
            Response record;
            record.fromJson(body);
            success(record);
        }
    };
}

PendingReply OpenApiClient::userInfo(const ApiSuccess<UserInfoResp> &success,
                                     const ApiFailure &fail) const
{
    return send(CallKind::Reading, QStringLiteral("/oauth/users/info"), std::nullopt,
                parsed(success), fail);
}

PendingReply OpenApiClient::driveInfo(const ApiSuccess<DriveInfo> &success,
                                      const ApiFailure &fail) const
{
    return driveInfoText(parsed(success), fail);
}

PendingReply OpenApiClient::driveInfoText(const ApiSuccess<QString> &success,
                                          const ApiFailure &fail) const
{
    return postEmpty(QStringLiteral("/adrive/v1.0/user/getDriveInfo"), success, fail);
}

PendingReply OpenApiClient::spaceInfo(const ApiSuccess<SpaceInfo> &success,
                                      const ApiFailure &fail) const
{
    return postEmpty(QStringLiteral("/adrive/v1.0/user/getSpaceInfo"), parsed(success), fail);
}

PendingReply OpenApiClient::vipInfo(const ApiSuccess<VipInfo> &success,
                                    const ApiFailure &fail) const
{
    return postEmpty(QStringLiteral("/adrive/v1.0/user/getVipInfo"), parsed(success), fail);
}

PendingReply OpenApiClient::createFolder(const QString &parentFileId, const QString &name,
                                         const ApiSuccess<CreateFileResp> &success,
                                         const ApiFailure &fail) const
{
    CreateFolderReq request;
    request.drive_id = m_driveId;
    request.parent_file_id = parentFileId;
    request.name = name;
    request.type = QStringLiteral("folder");
    request.check_name_mode = QStringLiteral("auto_rename");
    return change(QStringLiteral("/adrive/v1.0/openFile/create"), request, parsed(success), fail);
}

PendingReply OpenApiClient::listFolders(const QString &parentFileId,
                                        const ApiSuccess<FileItems> &success,
                                        const ApiFailure &fail) const
{
    return listFoldersPaged(parentFileId, QString(), success, fail);
}

PendingReply OpenApiClient::listFoldersPaged(const QString &parentFileId, const QString &marker,
                                             const ApiSuccess<FileItems> &success,
                                             const ApiFailure &fail) const
{
    FileListReq request = listRequest(m_driveId, parentFileId, WholeListLimit);
    request.marker = marker;
    request.type = QStringLiteral("folder");
    orderBySettings(request);
    return post(ListPath, request, parsed(success), fail);
}

PendingReply OpenApiClient::listVideos(const QString &parentFileId,
                                       const ApiSuccess<FileItems> &success,
                                       const ApiFailure &fail) const
{
    return listVideosPaged(parentFileId, WholeListLimit, QString(), success, fail);
}

PendingReply OpenApiClient::listVideosPaged(const QString &parentFileId, int limit,
                                            const QString &marker,
                                            const ApiSuccess<FileItems> &success,
                                            const ApiFailure &fail) const
{
    FileListReq request = listRequest(m_driveId, parentFileId, limit);
    request.marker = marker;
    request.type = QStringLiteral("file");
    request.category = QStringLiteral("video");
    orderByName(request);
    return post(ListPath, request, parsed(success), fail);
}

PendingReply OpenApiClient::listAllByName(const QString &parentFileId,
                                          const ApiSuccess<FileItems> &success,
                                          const ApiFailure &fail) const
{
    return listAllByNamePaged(parentFileId, QString(), success, fail);
}

PendingReply OpenApiClient::listAllByNamePaged(const QString &parentFileId, const QString &marker,
                                               const ApiSuccess<FileItems> &success,
                                               const ApiFailure &fail) const
{
    FileListReq request = listRequest(m_driveId, parentFileId, WholeListLimit);
    request.marker = marker;
    orderByName(request);
    return post(ListPath, request, parsed(success), fail);
}

PendingReply OpenApiClient::listFiles(const QString &parentFileId, int limit, const QString &marker,
                                      const ApiSuccess<FileItems> &success,
                                      const ApiFailure &fail) const
{
    FileListReq request = listRequest(m_driveId, parentFileId, limit);
    request.marker = marker;
    request.image_thumbnail_width = ImageThumbnailWidth;
    orderBySettings(request);
    return post(ListPath, request, parsed(success), fail);
}

PendingReply OpenApiClient::playInfo(const QString &fileId,
                                     const ApiSuccess<VideoPlayInfo> &success,
                                     const ApiFailure &fail) const
{
    auto request = fileRequest<VideoPreviewPlayInfoReq>(m_driveId, fileId);
    request.category = QStringLiteral("live_transcoding");
    request.get_subtitle_info = true;
    request.url_expire_sec = PlayUrlSeconds;
    return post(QStringLiteral("/adrive/v1.0/openFile/getVideoPreviewPlayInfo"), request,
                parsed(success), fail);
}

PendingReply OpenApiClient::fileDetails(const QString &fileId, const ApiSuccess<FileItem> &success,
                                        const ApiFailure &fail) const
{
    auto request = fileRequest<GetFileReq>(m_driveId, fileId);
    request.category = QStringLiteral("live_transcoding");
    request.video_thumbnail_time = VideoThumbnailTime;
    request.video_thumbnail_width = VideoThumbnailWidth;
    request.image_thumbnail_width = ImageThumbnailWidth;
    return post(QStringLiteral("/adrive/v1.0/openFile/get"), request, parsed(success), fail);
}

PendingReply OpenApiClient::downloadUrl(const QString &fileId,
                                        const ApiSuccess<GetDownloadUrlResp> &success,
                                        const ApiFailure &fail) const
{
    auto request = fileRequest<GetFileDownloadUrlReq>(m_driveId, fileId);
    request.expire_sec = DownloadUrlSeconds;
    return post(QStringLiteral("/adrive/v1.0/openFile/getDownloadUrl"), request, parsed(success),
                fail);
}

PendingReply OpenApiClient::rename(const QString &fileId, const QString &name,
                                   const ApiSuccess<FileUpdateResp> &success,
                                   const ApiFailure &fail) const
{
    auto request = fileRequest<FileUpdateReq>(m_driveId, fileId);
    request.name = name;
    return change(QStringLiteral("/adrive/v1.0/openFile/update"), request, parsed(success), fail);
}

PendingReply OpenApiClient::copy(const QString &fileId, const QString &toParentFileId,
                                 const ApiSuccess<FileCopyResp> &success,
                                 const ApiFailure &fail) const
{
    auto request = fileRequest<FileCopyReq>(m_driveId, fileId);
    request.to_parent_file_id = toParentFileId;
    return change(QStringLiteral("/adrive/v1.0/openFile/copy"), request, parsed(success), fail);
}

PendingReply OpenApiClient::move(const QString &fileId, const QString &toParentFileId,
                                 const ApiSuccess<FileMoveResp> &success,
                                 const ApiFailure &fail) const
{
    auto request = fileRequest<FileMoveReq>(m_driveId, fileId);
    request.to_parent_file_id = toParentFileId;
    request.check_name_mode = QStringLiteral("auto_rename");
    return change(QStringLiteral("/adrive/v1.0/openFile/move"), request, parsed(success), fail);
}

PendingReply OpenApiClient::trash(const QString &fileId, const ApiSuccess<FileTrashResp> &success,
                                  const ApiFailure &fail) const
{
    return change(QStringLiteral("/adrive/v1.0/openFile/recyclebin/trash"),
                  fileRequest<FileTrashReq>(m_driveId, fileId), parsed(success), fail);
}

PendingReply OpenApiClient::remove(const QString &fileId, const ApiSuccess<FileDeleteResp> &success,
                                   const ApiFailure &fail) const
{
    return change(QStringLiteral("/adrive/v1.0/openFile/delete"),
                  fileRequest<FileDeleteReq>(m_driveId, fileId), parsed(success), fail);
}

PendingReply OpenApiClient::post(const QString &path, const QSerializer &request,
                                 const ApiSuccess<QString> &success, const ApiFailure &fail) const
{
    return send(CallKind::Reading, path, recordToText(request), success, fail);
}

PendingReply OpenApiClient::change(const QString &path, const QSerializer &request,
                                   const ApiSuccess<QString> &success, const ApiFailure &fail) const
{
    return send(CallKind::Changing, path, recordToText(request), success, fail);
}

PendingReply OpenApiClient::postEmpty(const QString &path, const ApiSuccess<QString> &success,
                                      const ApiFailure &fail) const
{
    return send(CallKind::Reading, path, QStringLiteral("{}"), success, fail);
}

PendingReply OpenApiClient::send(CallKind kind, const QString &path,
                                 const std::optional<QString> &body,
                                 const ApiSuccess<QString> &success, const ApiFailure &fail) const
{
    const qint64 limit = path == ListPath ? LongestPage : LongestReply;
    return ApiRequest::send(
        {m_userId, m_accessToken, path, body, kind, m_turn, limit, success, fail, m_refused});
}
