// Fills every record from hostile JSON. The first byte of an input chooses the record, the rest is
// the text that a server would have sent.

#include <cstdlib>

#include <QJsonDocument>

#include "api/records/account_records.h"
#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "api/records/video_records.h"
#include "app/environment/file_list_state.h"

namespace {

void require(bool holds)
{
    if (!holds)
        abort();
}

// Whatever has come in, a record has all its keys, and what it writes it reads back.
template <class Record>
void fill(const QByteArray &text)
{
    const auto record = recordFromText<Record>(QString::fromUtf8(text));
    const QJsonObject object = record.toJson();
    require(object.size() == Record::staticMetaObject.propertyCount());
    require(recordFromText<Record>(recordToText(record)).toJson() == object);

    Record twice = record;
    twice.fromJson(QJsonDocument::fromJson(text).object());
    require(twice.toJson().size() == object.size());
}

template <class... Records>
struct RecordList
{
    using Fill = void (*)(const QByteArray &);
    static constexpr Fill fills[] = {fill<Records>...};
};

using AllRecords =
    RecordList<FileItem, FileItems, VideoMetaData, FileListReq, GetFileReq, GetFileDownloadUrlReq,
               GetDownloadUrlResp, VideoPreviewPlayInfoReq, VideoPreviewPlayInfoResp,
               VideoPreviewPlayInfo, Meta, LiveTranscodingTask, CreateFolderReq, FileUpdateReq,
               FileUpdateResp, FileCopyReq, FileCopyResp, FileMoveReq, FileMoveResp, FileTrashReq,
               FileTrashResp, FileDeleteReq, FileDeleteResp, CreateFileReq, CreateFilePartInfo,
               CreateFileResp, PartInfo, StreamInfo, DriveInfo, SpaceInfo, SpaceInfoItem, VipInfo,
               UserInfoResp, AccessTokenResp, QrcodeResponse, QueryScanQrCodeResp, ClientUserEntity,
               FileListState>;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray text(reinterpret_cast<const char *>(data + 1), int(size - 1));
    AllRecords::fills[data[0] % std::size(AllRecords::fills)](text);
    return 0;
}
