#pragma once

#include <functional>
#include <optional>

#include <QString>

#include "api/session/request_turn.h"
#include "net/pending_reply.h"

class CreateFileResp;
class DriveInfo;
class FileCopyResp;
class FileDeleteResp;
class FileItem;
class FileItems;
class FileMoveResp;
class FileTrashResp;
class FileUpdateResp;
class GetDownloadUrlResp;
class QSerializer;
class SpaceInfo;
class UserInfo;
class UserInfoResp;
class VipInfo;
enum class CallKind;
struct ApiRefusal;
struct VideoPlayInfo;

// The error's text and Qt's numeric network error, -1 for a failure before anything was sent.
using ApiFailure = std::function<void(const QString &error, int code)>;

// What the server said beside an error, for callers who tell the user more than that it failed:
// see api_failure.h.
using ApiRefusalHandler = std::function<void(const ApiRefusal &refusal)>;

// The reply; fields that it lacked, or all when it was no JSON object, are empty.
template <class Response>
using ApiSuccess = std::function<void(const Response &)>;

// The operations of the Open API for one user. A value: it may go as soon as it was called.
//
// Each operation sends its request and later calls exactly one of the two callbacks once, never
// from inside the call, on the interface thread; either may be empty. Abandoning the reply that is
// returned calls neither. The callbacks outlive their
// caller unless they are guarded, and wait for the server without end unless the reply that is
// returned is awaited (net/reply_guard.h does both). The user's tokens are read anew at each
// operation; one that has run out is renewed before the request is sent. A request that the server
// turns away for its token is repeated once with a renewed one; nothing else is, and what changes
// the drive reaches the server once. A user whom the server refused as
// too fast is held back for a while. An operation of a user who is not stored (any more) fails.
class OpenApiClient final
{
public:
    explicit OpenApiClient(const UserInfo &user);

    // For a token whose user is not known yet: it is sent as it is and never renewed.
    [[nodiscard]] static OpenApiClient forAccessToken(const QString &accessToken);

    // The same user's operations. `refused` runs just before `fail` when the server answered with
    // an error status. It also runs, with ApiTrouble::NotJson, just before a `success` whose reply
    // was no JSON object: an empty page of a list is then no empty folder. Handlers that were given
    // before run, too.
    [[nodiscard]] OpenApiClient whenRefused(const ApiRefusalHandler &refused) const;
    // The same user's operations, for when the server holds that user back; Now unless it is told.
    [[nodiscard]] OpenApiClient inTurn(RequestTurn turn) const;

    PendingReply userInfo(const ApiSuccess<UserInfoResp> &success, const ApiFailure &fail) const;
    PendingReply driveInfo(const ApiSuccess<DriveInfo> &success, const ApiFailure &fail) const;
    PendingReply spaceInfo(const ApiSuccess<SpaceInfo> &success, const ApiFailure &fail) const;
    PendingReply vipInfo(const ApiSuccess<VipInfo> &success, const ApiFailure &fail) const;

    // The drive information's reply as it came, for a caller that logs it.
    PendingReply driveInfoText(const ApiSuccess<QString> &success, const ApiFailure &fail) const;

    // A name that is taken is changed by the server.
    PendingReply createFolder(const QString &parentFileId, const QString &name,
                              const ApiSuccess<CreateFileResp> &success,
                              const ApiFailure &fail) const;

    // The first 200 folders, in the file list's order.
    PendingReply listFolders(const QString &parentFileId, const ApiSuccess<FileItems> &success,
                             const ApiFailure &fail) const;
    // 200 folders from `marker` on: empty for the first, then the last page's next_marker.
    PendingReply listFoldersPaged(const QString &parentFileId, const QString &marker,
                                  const ApiSuccess<FileItems> &success,
                                  const ApiFailure &fail) const;
    // The first 200 videos, by name.
    PendingReply listVideos(const QString &parentFileId, const ApiSuccess<FileItems> &success,
                            const ApiFailure &fail) const;
    // Videos by name; `marker` is empty for the first page, then the last page's next_marker.
    PendingReply listVideosPaged(const QString &parentFileId, int limit, const QString &marker,
                                 const ApiSuccess<FileItems> &success,
                                 const ApiFailure &fail) const;
    // The first 200 entries of any kind, by name.
    PendingReply listAllByName(const QString &parentFileId, const ApiSuccess<FileItems> &success,
                               const ApiFailure &fail) const;
    // As above, page by page.
    PendingReply listAllByNamePaged(const QString &parentFileId, const QString &marker,
                                    const ApiSuccess<FileItems> &success,
                                    const ApiFailure &fail) const;
    // One page of a folder in the order of the settings; `marker` as above.
    PendingReply listFiles(const QString &parentFileId, int limit, const QString &marker,
                           const ApiSuccess<FileItems> &success, const ApiFailure &fail) const;

    PendingReply playInfo(const QString &fileId, const ApiSuccess<VideoPlayInfo> &success,
                          const ApiFailure &fail) const;
    PendingReply fileDetails(const QString &fileId, const ApiSuccess<FileItem> &success,
                             const ApiFailure &fail) const;
    PendingReply downloadUrl(const QString &fileId, const ApiSuccess<GetDownloadUrlResp> &success,
                             const ApiFailure &fail) const;

    PendingReply rename(const QString &fileId, const QString &name,
                        const ApiSuccess<FileUpdateResp> &success, const ApiFailure &fail) const;
    PendingReply copy(const QString &fileId, const QString &toParentFileId,
                      const ApiSuccess<FileCopyResp> &success, const ApiFailure &fail) const;
    PendingReply move(const QString &fileId, const QString &toParentFileId,
                      const ApiSuccess<FileMoveResp> &success, const ApiFailure &fail) const;
    // To the recycle bin.
    PendingReply trash(const QString &fileId, const ApiSuccess<FileTrashResp> &success,
                       const ApiFailure &fail) const;
    // For good.
    PendingReply remove(const QString &fileId, const ApiSuccess<FileDeleteResp> &success,
                        const ApiFailure &fail) const;

private:
    OpenApiClient() = default;

    template <class Response>
    ApiSuccess<QString> parsed(const ApiSuccess<Response> &success) const;

    PendingReply post(const QString &path, const QSerializer &request,
                      const ApiSuccess<QString> &success, const ApiFailure &fail) const;
    PendingReply postEmpty(const QString &path, const ApiSuccess<QString> &success,
                           const ApiFailure &fail) const;
    PendingReply change(const QString &path, const QSerializer &request,
                        const ApiSuccess<QString> &success, const ApiFailure &fail) const;
    PendingReply send(CallKind kind, const QString &path, const std::optional<QString> &body,
                      const ApiSuccess<QString> &success, const ApiFailure &fail) const;

    QString m_userId;
    QString m_driveId;
    QString m_accessToken;
    ApiRefusalHandler m_refused;
    RequestTurn m_turn = RequestTurn::Now;
};
