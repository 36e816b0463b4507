#include <QJsonDocument>
#include <QTest>

#include "api/records/account_records.h"
#include "api/records/change_records.h"
#include "api/records/file_records.h"
#include "api/records/video_records.h"

class tst_Serializer final : public QObject
{
    Q_OBJECT

private slots:
    void fieldsKeepTheirOrder();
    void everyFieldIsSentEvenWhenEmpty();
    void convertsLikeAVariant_data();
    void convertsLikeAVariant();
};

void tst_Serializer::fieldsKeepTheirOrder()
{
    QStringList keys;
    const QMetaObject &metaObject = FileListReq::staticMetaObject;
    for (int i = 0; i < metaObject.propertyCount(); ++i)
        keys += QString::fromLatin1(metaObject.property(i).name());
    QCOMPARE(keys.join(QLatin1Char(' ')),
             QStringLiteral("drive_id fields image_thumbnail_width limit marker category type "
                            "order_by order_direction parent_file_id video_thumbnail_time "
                            "video_thumbnail_width"));
    QCOMPARE(FileItem::staticMetaObject.propertyCount(), 36);
}

void tst_Serializer::everyFieldIsSentEvenWhenEmpty()
{
    QCOMPARE(recordToText(GetFileDownloadUrlReq()),
             QStringLiteral(R"({"drive_id":"","expire_sec":0,"file_id":""})"));
}

void tst_Serializer::convertsLikeAVariant_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("size");
    QTest::addColumn<int>("punishFlag");
    QTest::addColumn<bool>("starred");

    QTest::newRow("number for a text") << R"({"size":5368709120})"
                                       << "5368709120" << 0 << false;
    QTest::newRow("text for a number") << R"({"punish_flag":"7"})"
                                       << "" << 7 << false;
    QTest::newRow("word for a number") << R"({"punish_flag":"x"})"
                                       << "" << 0 << false;
    QTest::newRow("text for a bool") << R"({"starred":"true"})"
                                     << "" << 0 << true;
    QTest::newRow("list for a text") << R"({"size":["1","2"]})"
                                     << "" << 0 << false;
}

void tst_Serializer::convertsLikeAVariant()
{
    QFETCH(QString, json);
    const auto item = recordFromText<FileItem>(json);
    QTEST(item.size, "size");
    QTEST(item.punish_flag, "punishFlag");
    QTEST(item.starred, "starred");
}

QTEST_GUILESS_MAIN(tst_Serializer)
#include "tst_serializer.moc"
