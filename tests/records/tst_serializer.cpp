#include <QJsonDocument>
#include <QTest>

#include "api/records/account_records.h"
#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "api/records/video_records.h"

namespace {

// A fresh record's JSON against the text, whose keys are sorted.
template <class Record>
void row(const char *json)
{
    QTest::newRow(Record::staticMetaObject.className())
        << recordToText(Record()) << QString::fromUtf8(json);
}

QString keysInOrder(const QMetaObject &metaObject)
{
    QStringList keys;
    for (int i = 0; i < metaObject.propertyCount(); ++i)
        keys += QString::fromLatin1(metaObject.property(i).name());
    return keys.join(QLatin1Char(' '));
}

} // namespace

class tst_Serializer final : public QObject
{
    Q_OBJECT

private slots:
    void aFreshRecordSendsEveryKeyEmpty_data();
    void aFreshRecordSendsEveryKeyEmpty();
    void propertiesKeepTheirOrder();
    void convertsLikeAVariant_data();
    void convertsLikeAVariant();
    void hostileTextsDoNoHarm_data();
    void hostileTextsDoNoHarm();
    void onlyAnObjectFillsARecord_data();
    void onlyAnObjectFillsARecord();
    void absentKeysKeepWhatTheFieldHolds();
    void nullEmptiesANestedRecord();
    void listsAppend();
    void nestedRecordsAndListsRoundTrip();
    void dateTimesRoundTrip();
    void largeNumbersStayExact();
};

void tst_Serializer::aFreshRecordSendsEveryKeyEmpty_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("expected");

    row<FileItem>(
        R"({"category":"","channel":"","content_hash":"","content_hash_name":"","content_type":"","created_at":"","deleted":"","description":"","domain_id":"","download_url":"","drive_id":"","encrypt_mode":"","file_extension":"","file_id":"","hidden":"","local_created_at":"","local_modified_at":"","location":"","meta":"","mime_type":"","name":"","parent_file_id":"","punish_flag":0,"revision_id":"","size":"","starred":false,"status":"","thumbnail":"","trashed":"","trashed_at":"","type":"","updated_at":"","url":"","user_meta":"","user_tags":"","video_media_metadata":{"duration":"","height":0,"time":"","videoMediaAudioStream":"","videoMediaVideoStream":"","width":0}})");
    row<FileItems>(R"({"items":[],"next_marker":""})");
    row<VideoMetaData>(
        R"({"duration":"","height":0,"time":"","videoMediaAudioStream":"","videoMediaVideoStream":"","width":0})");
    row<FileListReq>(
        R"({"category":"","drive_id":"","fields":"","image_thumbnail_width":0,"limit":0,"marker":"","order_by":"","order_direction":"","parent_file_id":"","type":"","video_thumbnail_time":0,"video_thumbnail_width":0})");
    row<GetFileReq>(
        R"({"category":"","drive_id":"","file_id":"","image_thumbnail_width":0,"video_thumbnail_time":0,"video_thumbnail_width":0})");
    row<GetFileDownloadUrlReq>(R"({"drive_id":"","expire_sec":0,"file_id":""})");
    row<GetDownloadUrlResp>(R"({"expiration":"","string":"","url":""})");
    row<VideoPreviewPlayInfoReq>(
        R"({"category":"","drive_id":"","file_id":"","get_subtitle_info":false,"only_vip":false,"template_id":"","url_expire_sec":0})");
    row<VideoPreviewPlayInfoResp>(
        R"({"domain_id":"","drive_id":"","file_id":"","video_preview_play_info":{"category":"","live_transcoding_task_list":[],"meta":{"duration":0,"height":0,"width":0}}})");
    row<VideoPreviewPlayInfo>(
        R"({"category":"","live_transcoding_task_list":[],"meta":{"duration":0,"height":0,"width":0}})");
    row<Meta>(R"({"duration":0,"height":0,"width":0})");
    row<LiveTranscodingTask>(
        R"({"stage":"","status":"","template_height":0,"template_id":"","template_name":"","template_width":0,"url":""})");
    row<CreateFolderReq>(
        R"({"check_name_mode":"","drive_id":"","name":"","parent_file_id":"","type":""})");
    row<FileUpdateReq>(R"({"drive_id":"","file_id":"","name":""})");
    row<FileUpdateResp>(
        R"({"category":"","content_hash":"","created_at":null,"drive_id":"","file_extension":"","file_id":"","name":"","size":0,"type":"","updated_at":null})");
    row<FileCopyReq>(R"({"auto_rename":"","drive_id":"","file_id":"","to_parent_file_id":""})");
    row<FileCopyResp>(R"({"async_task_id":"","drive_id":"","file_id":""})");
    row<FileMoveReq>(
        R"({"check_name_mode":"","drive_id":"","file_id":"","new_name":"","to_parent_file_id":""})");
    row<FileMoveResp>(R"({"async_task_id":"","drive_id":"","exist":false,"file_id":""})");
    row<FileTrashReq>(R"({"drive_id":"","file_id":""})");
    row<FileTrashResp>(R"({"async_task_id":"","drive_id":"","file_id":""})");
    row<FileDeleteReq>(R"({"drive_id":"","file_id":""})");
    row<FileDeleteResp>(R"({"async_task_id":"","drive_id":"","file_id":""})");
    row<CreateFileReq>(
        R"({"check_name_mode":"","content_hash":"","content_hash_name":"","drive_id":"","local_created_at":null,"local_modified_at":null,"name":"","parallel_upload":false,"parent_file_id":"","part_info_list":[],"pre_hash":"","proof_code":"","proof_version":"","size":0,"type":"","video_thumbnail_time":0})");
    row<CreateFilePartInfo>(R"({"part_number":0,"part_size":0,"upload_url":""})");
    row<CreateFileResp>(
        R"({"available":false,"drive_id":"","exist":false,"file_id":"","file_name":"","parent_file_id":"","part_info_list":[],"rapid_upload":false,"status":"","upload_id":""})");
    row<PartInfo>(R"({"part_number":0,"part_size":0,"upload_url":""})");
    row<StreamInfo>(
        R"({"content_hash":"","content_hash_name":"","content_md5":"","part_info_list":[],"pre_hash":"","proof_code":"","proof_version":"","size":""})");
    row<DriveInfo>(
        R"({"avatar":"","default_drive_id":"","nick_name":"","phone":"","status":"","user_data":"","user_id":""})");
    row<SpaceInfo>(R"({"personal_space_info":{"total_size":0,"used_size":0}})");
    row<SpaceInfoItem>(R"({"total_size":0,"used_size":0})");
    row<VipInfo>(R"({"expire":"","identity":"","promotedAt":""})");
    row<UserInfoResp>(R"({"avatar":"","id":"","name":"","phone":""})");
    row<AccessTokenResp>(R"({"accessToken":"","expiresIn":0,"refreshToken":"","tokenType":""})");
    row<QrcodeResponse>(R"({"code":0,"msg":"","qrCodeUrl":"","sid":""})");
    row<QueryScanQrCodeResp>(R"({"authCode":"","status":""})");
    row<ClientUserEntity>(
        R"({"appVersion":"","brand":"","device":"","deviceId":"","model":"","nickname":"","osType":0,"osVersion":"","part_info_list":[],"refreshToken":"","token":"","tokenExpiresIn":0,"userAvatar":"","userId":"","username":""})");
}

void tst_Serializer::aFreshRecordSendsEveryKeyEmpty()
{
    QFETCH(QString, json);
    QTEST(json, "expected");
}

void tst_Serializer::propertiesKeepTheirOrder()
{
    QCOMPARE(keysInOrder(FileListReq::staticMetaObject),
             QStringLiteral("drive_id fields image_thumbnail_width limit marker category type "
                            "order_by order_direction parent_file_id video_thumbnail_time "
                            "video_thumbnail_width"));
    QCOMPARE(keysInOrder(FileItem::staticMetaObject),
             QStringLiteral(
                 "trashed name thumbnail type category hidden status description meta url size "
                 "starred location deleted channel user_tags mime_type parent_file_id drive_id "
                 "file_id file_extension revision_id content_hash content_hash_name encrypt_mode "
                 "domain_id download_url user_meta content_type created_at updated_at "
                 "local_created_at local_modified_at trashed_at punish_flag "
                 "video_media_metadata"));
}

void tst_Serializer::convertsLikeAVariant_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("size");
    QTest::addColumn<int>("punishFlag");
    QTest::addColumn<bool>("starred");

    const QString old = QStringLiteral("old");
    QTest::newRow("nothing") << "{}" << old << 1 << true;
    QTest::newRow("number for a text") << R"({"size":5368709120})"
                                       << "5368709120" << 1 << true;
    QTest::newRow("fraction for a text") << R"({"size":1.5})"
                                         << "1.5" << 1 << true;
    QTest::newRow("bool for a text") << R"({"size":true})"
                                     << "true" << 1 << true;
    QTest::newRow("text for a number") << R"({"punish_flag":"7"})" << old << 7 << true;
    QTest::newRow("word for a number") << R"({"punish_flag":"x"})" << old << 0 << true;
    QTest::newRow("fraction for a number") << R"({"punish_flag":2.4})" << old << 2 << true;
    QTest::newRow("word for a bool") << R"({"starred":"false"})" << old << 1 << false;
    QTest::newRow("number for a bool") << R"({"starred":0})" << old << 1 << false;
    QTest::newRow("list for a text") << R"({"size":["1","2"]})"
                                     << "" << 1 << true;
    QTest::newRow("object for a number") << R"({"punish_flag":{"a":1}})" << old << 0 << true;
    QTest::newRow("null empties") << R"({"size":null,"punish_flag":null,"starred":null})"
                                  << "" << 0 << false;
    QTest::newRow("an unknown key") << R"({"sizes":"9"})" << old << 1 << true;
}

void tst_Serializer::convertsLikeAVariant()
{
    QFETCH(QString, json);
    FileItem item;
    item.size = QStringLiteral("old");
    item.punish_flag = 1;
    item.starred = true;
    item.fromJson(objectFromText(json));
    QTEST(item.size, "size");
    QTEST(item.punish_flag, "punishFlag");
    QTEST(item.starred, "starred");
}

void tst_Serializer::hostileTextsDoNoHarm_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("name");

    const auto named = [](const QString &value) {
        return QStringLiteral("{\"name\":%1}").arg(value);
    };
    QTest::newRow("nested 1,000 deep")
        << named(QString(1000, QLatin1Char('[')) + QString(1000, QLatin1Char(']'))) << QString();
    QTest::newRow("nested 100,000 deep") << named(QString(100000, QLatin1Char('['))) << QString();
    QTest::newRow("a number of 400 digits") << named(QString(400, QLatin1Char('9'))) << QString();
    QTest::newRow("a lone surrogate")
        << named(QLatin1Char('"') + QString(QChar(0xd83d)) + QLatin1Char('"'))
        << QStringLiteral("?");
    QTest::newRow("cut") << QStringLiteral("{\"name\":\"a") << QString();
}

void tst_Serializer::hostileTextsDoNoHarm()
{
    QFETCH(QString, json);
    QTEST(recordFromText<FileItem>(json).name, "name");
}

void tst_Serializer::onlyAnObjectFillsARecord_data()
{
    QTest::addColumn<QJsonValue>("value");
    QTest::newRow("list") << QJsonValue(QJsonArray{QStringLiteral("url")});
    QTest::newRow("text") << QJsonValue(QStringLiteral("{\"url\":\"x\"}"));
    QTest::newRow("number") << QJsonValue(1);
    QTest::newRow("null") << QJsonValue();
    QTest::newRow("nothing") << QJsonValue(QJsonValue::Undefined);
}

void tst_Serializer::onlyAnObjectFillsARecord()
{
    QFETCH(QJsonValue, value);
    GetDownloadUrlResp response;
    response.url = QStringLiteral("kept");
    response.fromJson(value);
    QCOMPARE(response.url, QStringLiteral("kept"));
}

void tst_Serializer::absentKeysKeepWhatTheFieldHolds()
{
    auto page = recordFromText<FileItems>(QStringLiteral(R"({"items":[{"name":"a"}]})"));
    page.fromJson(objectFromText(QStringLiteral(R"({"next_marker":"m"})")));
    QCOMPARE(page.items.size(), 1);
    QCOMPARE(page.next_marker, QStringLiteral("m"));
    page.fromJson(objectFromText(QStringLiteral(R"({"items":[]})")));
    QCOMPARE(page.items.size(), 1);
    page.fromJson(objectFromText(QStringLiteral(R"({"items":null})")));
    QCOMPARE(page.items.size(), 0);
}

void tst_Serializer::nullEmptiesANestedRecord()
{
    const QString key = QStringLiteral("personal_space_info");
    auto space =
        recordFromText<SpaceInfo>(QStringLiteral(R"({"personal_space_info":{"used_size":7}})"));
    space.fromJson(QJsonObject{{key, QStringLiteral("no record")}});
    QCOMPARE(space.personal_space_info.used_size, 7);
    space.fromJson(QJsonObject{{key, QJsonValue::Null}});
    QCOMPARE(space.personal_space_info.used_size, 0);
}

void tst_Serializer::listsAppend()
{
    const QJsonValue object =
        objectFromText(QStringLiteral(R"({"part_info_list":["a",2,null,{"b":1}]})"));
    StreamInfo info;
    info.fromJson(object);
    const QList<QString> once{QStringLiteral("a"), QStringLiteral("2"), QString(), QString()};
    QCOMPARE(info.part_info_list, once);
    info.fromJson(object);
    QCOMPARE(info.part_info_list, once + once);
}

void tst_Serializer::nestedRecordsAndListsRoundTrip()
{
    const QString json = QStringLiteral(
        R"({"domain_id":"d","drive_id":"","file_id":"f","video_preview_play_info":{"category":"live",)"
        R"("live_transcoding_task_list":[{"stage":"","status":"finished","template_height":1080,)"
        R"("template_id":"FHD","template_name":"","template_width":1920,"url":"http://x/?a=1&b=青"},)"
        R"({"stage":"","status":"running","template_height":0,"template_id":"QHD",)"
        R"("template_name":"","template_width":0,"url":""}],)"
        R"("meta":{"duration":1425.125,"height":1080,"width":1920}}})");
    const auto response = recordFromText<VideoPreviewPlayInfoResp>(json);
    QCOMPARE(response.video_preview_play_info.meta.duration, 1425.125);
    QCOMPARE(response.video_preview_play_info.live_transcoding_task_list.at(0).template_id,
             QStringLiteral("FHD"));
    QCOMPARE(recordToText(response), json);
}

void tst_Serializer::dateTimesRoundTrip()
{
    const auto response = recordFromText<FileUpdateResp>(
        QStringLiteral(R"({"created_at":"2026-11-22T19:52:11.123Z","updated_at":"yesterday"})"));
    QCOMPARE(response.created_at, QDateTime({2026, 11, 22}, {19, 52, 11, 123}, Qt::UTC));
    QVERIFY(!response.updated_at.isValid());
    QCOMPARE(response.toJson().value(QStringLiteral("created_at")).toString(),
             QStringLiteral("2026-11-22T19:52:11.123Z"));
}

void tst_Serializer::largeNumbersStayExact()
{
    const QString json = QStringLiteral(
        R"({"personal_space_info":{"total_size":9007199254740991,"used_size":5368709121}})");
    const auto space = recordFromText<SpaceInfo>(json);
    QCOMPARE(space.personal_space_info.total_size, 9007199254740991LL);
    QCOMPARE(recordToText(space), json);
}

QTEST_GUILESS_MAIN(tst_Serializer)
#include "tst_serializer.moc"
