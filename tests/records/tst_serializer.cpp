#include <QTest>

#include "api/records/account_records.h"
#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "api/records/subtitle_records.h"
#include "api/records/video_records.h"

namespace {

// The keys that a fresh record sends, each with the sign of its value: # a number, ? yes or no,
// [] a list, {} a record, ! null (a date-time), none for a text.
template <class Record>
QString fieldsOf()
{
    static const char *const signs[] = {"!", "?", "#", "", "[]", "{}"};
    QStringList fields;
    const QJsonObject object = Record().toJson();
    for (auto field = object.begin(); field != object.end(); ++field) {
        fields += field.key() + signs[field.value().type()];
    }
    return fields.join(' ');
}

} // namespace

class TestSerializer final : public QObject
{
    Q_OBJECT

private slots:
    void everyRecordHasItsFields()
    {
        QCOMPARE(fieldsOf<FileItem>(),
                 "category channel content_hash content_hash_name content_type created_at deleted "
                 "description domain_id download_url drive_id encrypt_mode file_extension file_id "
                 "hidden local_created_at local_modified_at location meta mime_type name "
                 "parent_file_id punish_flag# revision_id size starred? status thumbnail trashed "
                 "trashed_at type updated_at url user_meta user_tags video_media_metadata{}");
        QCOMPARE(fieldsOf<FileItems>(), "items[] next_marker");
        QCOMPARE(fieldsOf<VideoMetaData>(),
                 "duration height# time videoMediaAudioStream videoMediaVideoStream width#");
        QCOMPARE(
            fieldsOf<FileListReq>(),
            "category drive_id fields image_thumbnail_width# limit# marker order_by "
            "order_direction parent_file_id type video_thumbnail_time# video_thumbnail_width#");
        QCOMPARE(fieldsOf<GetFileReq>(),
                 "category drive_id file_id image_thumbnail_width# video_thumbnail_time# "
                 "video_thumbnail_width#");
        QCOMPARE(fieldsOf<GetFileDownloadUrlReq>(), "drive_id expire_sec# file_id");
        QCOMPARE(fieldsOf<GetDownloadUrlResp>(), "expiration string url");
        QCOMPARE(fieldsOf<VideoPreviewPlayInfoReq>(),
                 "category drive_id file_id get_subtitle_info? only_vip? template_id "
                 "url_expire_sec#");
        QCOMPARE(fieldsOf<VideoPreviewPlayInfoResp>(),
                 "domain_id drive_id file_id video_preview_play_info{}");
        QCOMPARE(fieldsOf<VideoPreviewPlayInfo>(), "category live_transcoding_task_list[] meta{}");
        QCOMPARE(fieldsOf<Meta>(), "duration# height# width#");
        QCOMPARE(fieldsOf<LiveTranscodingTask>(),
                 "stage status template_height# template_id template_name template_width# url");
        QCOMPARE(fieldsOf<VideoPreviewSubtitlesResp>(), "video_preview_play_info{}");
        QCOMPARE(fieldsOf<VideoPreviewSubtitles>(), "live_transcoding_subtitle_task_list[]");
        QCOMPARE(fieldsOf<LiveTranscodingSubtitleTask>(), "language status url");
        QCOMPARE(fieldsOf<CreateFolderReq>(), "check_name_mode drive_id name parent_file_id type");
        QCOMPARE(fieldsOf<FileUpdateReq>(), "drive_id file_id name");
        QCOMPARE(fieldsOf<FileUpdateResp>(),
                 "category content_hash created_at! drive_id file_extension file_id name size# "
                 "type updated_at!");
        QCOMPARE(fieldsOf<FileCopyReq>(), "auto_rename drive_id file_id to_parent_file_id");
        QCOMPARE(fieldsOf<FileCopyResp>(), "async_task_id drive_id file_id");
        QCOMPARE(fieldsOf<FileMoveReq>(),
                 "check_name_mode drive_id file_id new_name to_parent_file_id");
        QCOMPARE(fieldsOf<FileMoveResp>(), "async_task_id drive_id exist? file_id");
        QCOMPARE(fieldsOf<FileTrashReq>(), "drive_id file_id");
        QCOMPARE(fieldsOf<FileTrashResp>(), "async_task_id drive_id file_id");
        QCOMPARE(fieldsOf<FileDeleteReq>(), "drive_id file_id");
        QCOMPARE(fieldsOf<FileDeleteResp>(), "async_task_id drive_id file_id");
        QCOMPARE(fieldsOf<CreateFileReq>(),
                 "check_name_mode content_hash content_hash_name drive_id local_created_at! "
                 "local_modified_at! name parallel_upload? parent_file_id part_info_list[] "
                 "pre_hash proof_code proof_version size# type video_thumbnail_time#");
        QCOMPARE(fieldsOf<CreateFilePartInfo>(), "part_number# part_size# upload_url");
        QCOMPARE(fieldsOf<CreateFileResp>(),
                 "available? drive_id exist? file_id file_name parent_file_id part_info_list[] "
                 "rapid_upload? status upload_id");
        QCOMPARE(fieldsOf<PartInfo>(), "part_number# part_size# upload_url");
        QCOMPARE(fieldsOf<StreamInfo>(),
                 "content_hash content_hash_name content_md5 part_info_list[] pre_hash proof_code "
                 "proof_version size");
        QCOMPARE(fieldsOf<DriveInfo>(),
                 "avatar default_drive_id nick_name phone status user_data user_id");
        QCOMPARE(fieldsOf<SpaceInfo>(), "personal_space_info{}");
        QCOMPARE(fieldsOf<SpaceInfoItem>(), "total_size# used_size#");
        QCOMPARE(fieldsOf<VipInfo>(), "expire identity promotedAt");
        QCOMPARE(fieldsOf<UserInfoResp>(), "avatar id name phone");
        QCOMPARE(fieldsOf<AccessTokenResp>(), "accessToken expiresIn# refreshToken tokenType");
        QCOMPARE(fieldsOf<QrcodeResponse>(), "code# msg qrCodeUrl sid");
        QCOMPARE(fieldsOf<QueryScanQrCodeResp>(), "authCode status");
        QCOMPARE(fieldsOf<ClientUserEntity>(),
                 "appVersion brand device deviceId model nickname osType# osVersion "
                 "part_info_list[] refreshToken token tokenExpiresIn# userAvatar userId username");
    }

    void aFreshRecordSendsEveryFieldEmpty()
    {
        QCOMPARE(recordToText(FileMoveResp()),
                 "{\"async_task_id\":\"\",\"drive_id\":\"\",\"exist\":false,\"file_id\":\"\"}");
        QCOMPARE(recordToText(SpaceInfo()),
                 "{\"personal_space_info\":{\"total_size\":0,\"used_size\":0}}");
    }

    void convertsLikeAVariant_data()
    {
        QTest::addColumn<QString>("json");
        QTest::addColumn<QString>("size");
        QTest::addColumn<int>("punishFlag");
        QTest::addColumn<bool>("starred");
        const auto row = [](const char *name, const QString &json, const QString &size,
                            int punishFlag = 1, bool starred = true) {
            QTest::newRow(name) << json << size << punishFlag << starred;
        };
        row("an unknown key", "{\"sizes\":\"9\"}", "old");
        row("number for a text", "{\"size\":5368709120}", "5368709120");
        row("fraction for a text", "{\"size\":1.5}", "1.5");
        row("bool for a text", "{\"size\":true}", "true");
        row("list for a text", "{\"size\":[\"1\",\"2\"]}", "");
        row("text for a number", "{\"punish_flag\":\"7\"}", "old", 7);
        row("word for a number", "{\"punish_flag\":\"x\"}", "old", 0);
        row("fraction for a number", "{\"punish_flag\":2.4}", "old", 2);
        row("object for a number", "{\"punish_flag\":{\"a\":1}}", "old", 0);
        row("word for a bool", "{\"starred\":\"false\"}", "old", 1, false);
        row("null empties", "{\"size\":null,\"punish_flag\":null,\"starred\":null}", "", 0, false);
    }
    void convertsLikeAVariant()
    {
        QFETCH(QString, json);
        FileItem item;
        item.size = "old";
        item.punish_flag = 1;
        item.starred = true;
        item.fromJson(objectFromText(json));
        QTEST(item.size, "size");
        QTEST(item.punish_flag, "punishFlag");
        QTEST(item.starred, "starred");
    }

    void hostileTextsDoNoHarm()
    {
        const auto nameIn = [](const QString &value) {
            return recordFromText<FileItem>("{\"name\":" + value + '}').name;
        };
        QCOMPARE(nameIn(QString(1000, '[') + QString(1000, ']')), "");
        QCOMPARE(nameIn(QString(100000, '[')), "");
        QCOMPARE(nameIn(QString(400, '9')), "");
        QCOMPARE(nameIn('"' + QString(QChar(0xd83d)) + '"'), "?");
        QCOMPARE(nameIn("\"cut"), "");
    }

    void onlyAnObjectFillsARecord()
    {
        GetDownloadUrlResp response;
        response.url = "kept";
        for (const QJsonValue &value :
             {QJsonValue(QJsonArray{"url"}), QJsonValue("{\"url\":\"x\"}"), QJsonValue(1),
              QJsonValue(), QJsonValue(QJsonValue::Undefined)}) {
            response.fromJson(value);
            QCOMPARE(response.url, "kept");
        }
    }

    void listsAppendAndNullChangesNoListOrRecord()
    {
        auto page = recordFromText<FileItems>("{\"items\":[{\"name\":\"a\"}]}");
        page.fromJson(objectFromText("{\"next_marker\":\"m\"}"));
        page.fromJson(objectFromText("{\"items\":[]}"));
        QCOMPARE(page.items.size(), 1);
        QCOMPARE(page.next_marker, "m");
        page.fromJson(objectFromText("{\"items\":null}"));
        QCOMPARE(page.items.size(), 1);

        StreamInfo info;
        const QList<QString> once{"a", "2", QString(), QString()};
        for (const QList<QString> &held : {once, once + once}) {
            info.fromJson(objectFromText("{\"part_info_list\":[\"a\",2,null,{\"b\":1}]}"));
            QCOMPARE(info.part_info_list, held);
        }

        auto space = recordFromText<SpaceInfo>("{\"personal_space_info\":{\"used_size\":7}}");
        space.fromJson(QJsonObject{{"personal_space_info", "no record"}});
        QCOMPARE(space.personal_space_info.used_size, 7);
        space.fromJson(QJsonObject{{"personal_space_info", QJsonValue::Null}});
        QCOMPARE(space.personal_space_info.used_size, 7);
    }

    void nestedRecordsAndListsRoundTrip()
    {
        const QString json =
            R"({"domain_id":"d","drive_id":"","file_id":"f","video_preview_play_info":{)"
            R"("category":"live","live_transcoding_task_list":[{"stage":"","status":"finished",)"
            R"("template_height":1080,"template_id":"FHD","template_name":"",)"
            R"("template_width":1920,"url":"http://x/?a=1&b=青"},{"stage":"","status":"running",)"
            R"("template_height":0,"template_id":"QHD","template_name":"","template_width":0,)"
            R"("url":""}],"meta":{"duration":1425.125,"height":1080,"width":1920}}})";
        QCOMPARE(recordToText(recordFromText<VideoPreviewPlayInfoResp>(json)), json);
    }

    void timesAndLargeNumbersStayExact()
    {
        const auto response = recordFromText<FileUpdateResp>(
            R"({"created_at":"2026-11-22T19:52:11.123Z","updated_at":"yesterday"})");
        QCOMPARE(response.created_at, QDateTime({2026, 11, 22}, {19, 52, 11, 123}, Qt::UTC));
        QVERIFY(!response.updated_at.isValid());
        QCOMPARE(response.toJson().value("created_at").toString(), "2026-11-22T19:52:11.123Z");
        const QString json =
            R"({"personal_space_info":{"total_size":9007199254740991,"used_size":5368709121}})";
        QCOMPARE(recordToText(recordFromText<SpaceInfo>(json)), json);
    }
};

QTEST_GUILESS_MAIN(TestSerializer)
#include "tst_serializer.moc"
