#include "api/session/open_api_client.h"

#include "api/records/account_records.h"
#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "api/records/video_records.h"
#include "api/session/api_request.h"
#include "app/environment/app_settings.h"
#include "db/tables/user_info.h"

namespace {

constexpr int wholeListLimit = 200;
constexpr int imageThumbnailWidth = 90;
constexpr int videoThumbnailTime = 120000;
constexpr int videoThumbnailWidth = 180;
constexpr int playUrlSeconds = 14400;
constexpr int downloadUrlSeconds = 115200;

const QString listPath = QStringLiteral("/adrive/v1.0/openFile/list");

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
    request.image_thumbnail_width = imageThumbnailWidth;
    request.video_thumbnail_time = videoThumbnailTime;
    request.video_thumbnail_width = videoThumbnailWidth;
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

template <class Response>
std::function<void(const QString &)> parsed(const ApiSuccess<Response> &success)
{
    return [success](const QString &reply) {
        if (success) {
            success(recordFromText<Response>(reply));
        }
    };
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

void OpenApiClient::userInfo(const ApiSuccess<UserInfoResp> &success, const ApiFailure &fail) const
{
    sendApiRequest({m_userId, m_accessToken, QStringLiteral("/oauth/users/info"), std::nullopt,
                    parsed(success), fail});
}

void OpenApiClient::driveInfo(const ApiSuccess<DriveInfo> &success, const ApiFailure &fail) const
{
    driveInfoText(parsed(success), fail);
}

void OpenApiClient::driveInfoText(const ApiSuccess<QString> &success, const ApiFailure &fail) const
{
    postEmpty(QStringLiteral("/adrive/v1.0/user/getDriveInfo"), success, fail);
}

void OpenApiClient::spaceInfo(const ApiSuccess<SpaceInfo> &success, const ApiFailure &fail) const
{
    postEmpty(QStringLiteral("/adrive/v1.0/user/getSpaceInfo"), parsed(success), fail);
}

void OpenApiClient::vipInfo(const ApiSuccess<VipInfo> &success, const ApiFailure &fail) const
{
    postEmpty(QStringLiteral("/adrive/v1.0/user/getVipInfo"), parsed(success), fail);
}

void OpenApiClient::createFolder(const QString &parentFileId, const QString &name,
                                 const ApiSuccess<CreateFileResp> &success,
                                 const ApiFailure &fail) const
{
    CreateFolderReq request;
    request.drive_id = m_driveId;
    request.parent_file_id = parentFileId;
    request.name = name;
    request.type = QStringLiteral("folder");
    request.check_name_mode = QStringLiteral("auto_rename");
    post(QStringLiteral("/adrive/v1.0/openFile/create"), request, parsed(success), fail);
}

void OpenApiClient::listFolders(const QString &parentFileId, const ApiSuccess<FileItems> &success,
                                const ApiFailure &fail) const
{
    listFoldersPaged(parentFileId, QString(), success, fail);
}

void OpenApiClient::listFoldersPaged(const QString &parentFileId, const QString &marker,
                                     const ApiSuccess<FileItems> &success,
                                     const ApiFailure &fail) const
{
    FileListReq request = listRequest(m_driveId, parentFileId, wholeListLimit);
    request.marker = marker;
    request.type = QStringLiteral("folder");
    orderBySettings(request);
    post(listPath, request, parsed(success), fail);
}

void OpenApiClient::listVideos(const QString &parentFileId, const ApiSuccess<FileItems> &success,
                               const ApiFailure &fail) const
{
    listVideosPaged(parentFileId, wholeListLimit, QString(), success, fail);
}

void OpenApiClient::listVideosPaged(const QString &parentFileId, int limit, const QString &marker,
                                    const ApiSuccess<FileItems> &success,
                                    const ApiFailure &fail) const
{
    FileListReq request = listRequest(m_driveId, parentFileId, limit);
    request.marker = marker;
    request.type = QStringLiteral("file");
    request.category = QStringLiteral("video");
    orderByName(request);
    post(listPath, request, parsed(success), fail);
}

void OpenApiClient::listAllByName(const QString &parentFileId, const ApiSuccess<FileItems> &success,
                                  const ApiFailure &fail) const
{
    FileListReq request = listRequest(m_driveId, parentFileId, wholeListLimit);
    orderByName(request);
    post(listPath, request, parsed(success), fail);
}

void OpenApiClient::listFiles(const QString &parentFileId, int limit, const QString &marker,
                              const ApiSuccess<FileItems> &success, const ApiFailure &fail) const
{
    FileListReq request = listRequest(m_driveId, parentFileId, limit);
    request.marker = marker;
    request.image_thumbnail_width = imageThumbnailWidth;
    orderBySettings(request);
    post(listPath, request, parsed(success), fail);
}

void OpenApiClient::playInfo(const QString &fileId,
                             const ApiSuccess<VideoPreviewPlayInfoResp> &success,
                             const ApiFailure &fail) const
{
    auto request = fileRequest<VideoPreviewPlayInfoReq>(m_driveId, fileId);
    request.category = QStringLiteral("live_transcoding");
    request.get_subtitle_info = true;
    request.url_expire_sec = playUrlSeconds;
    post(QStringLiteral("/adrive/v1.0/openFile/getVideoPreviewPlayInfo"), request, parsed(success),
         fail);
}

void OpenApiClient::fileDetails(const QString &fileId, const ApiSuccess<FileItem> &success,
                                const ApiFailure &fail) const
{
    auto request = fileRequest<GetFileReq>(m_driveId, fileId);
    request.category = QStringLiteral("live_transcoding");
    request.video_thumbnail_time = videoThumbnailTime;
    request.video_thumbnail_width = videoThumbnailWidth;
    request.image_thumbnail_width = imageThumbnailWidth;
    post(QStringLiteral("/adrive/v1.0/openFile/get"), request, parsed(success), fail);
}

void OpenApiClient::downloadUrl(const QString &fileId,
                                const ApiSuccess<GetDownloadUrlResp> &success,
                                const ApiFailure &fail) const
{
    auto request = fileRequest<GetFileDownloadUrlReq>(m_driveId, fileId);
    request.expire_sec = downloadUrlSeconds;
    post(QStringLiteral("/adrive/v1.0/openFile/getDownloadUrl"), request, parsed(success), fail);
}

void OpenApiClient::rename(const QString &fileId, const QString &name,
                           const ApiSuccess<FileUpdateResp> &success, const ApiFailure &fail) const
{
    auto request = fileRequest<FileUpdateReq>(m_driveId, fileId);
    request.name = name;
    post(QStringLiteral("/adrive/v1.0/openFile/update"), request, parsed(success), fail);
}

void OpenApiClient::copy(const QString &fileId, const QString &toParentFileId,
                         const ApiSuccess<FileCopyResp> &success, const ApiFailure &fail) const
{
    auto request = fileRequest<FileCopyReq>(m_driveId, fileId);
    request.to_parent_file_id = toParentFileId;
    post(QStringLiteral("/adrive/v1.0/openFile/copy"), request, parsed(success), fail);
}

void OpenApiClient::move(const QString &fileId, const QString &toParentFileId,
                         const ApiSuccess<FileMoveResp> &success, const ApiFailure &fail) const
{
    auto request = fileRequest<FileMoveReq>(m_driveId, fileId);
    request.to_parent_file_id = toParentFileId;
    request.check_name_mode = QStringLiteral("auto_rename");
    post(QStringLiteral("/adrive/v1.0/openFile/move"), request, parsed(success), fail);
}

void OpenApiClient::trash(const QString &fileId, const ApiSuccess<FileTrashResp> &success,
                          const ApiFailure &fail) const
{
    post(QStringLiteral("/adrive/v1.0/openFile/recyclebin/trash"),
         fileRequest<FileTrashReq>(m_driveId, fileId), parsed(success), fail);
}

void OpenApiClient::remove(const QString &fileId, const ApiSuccess<FileDeleteResp> &success,
                           const ApiFailure &fail) const
{
    post(QStringLiteral("/adrive/v1.0/openFile/delete"),
         fileRequest<FileDeleteReq>(m_driveId, fileId), parsed(success), fail);
}

void OpenApiClient::post(const QString &path, const QSerializer &request,
                         const ApiSuccess<QString> &success, const ApiFailure &fail) const
{
    sendApiRequest({m_userId, m_accessToken, path, recordToText(request), success, fail});
}

void OpenApiClient::postEmpty(const QString &path, const ApiSuccess<QString> &success,
                              const ApiFailure &fail) const
{
    sendApiRequest({m_userId, m_accessToken, path, QStringLiteral("{}"), success, fail});
}
