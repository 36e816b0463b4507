#include <QtTest>

#include <nlohmann/json.hpp>

#include "drive_client.h"
#include "localdrive/byte_range.h"
#include "localdrive/crypto.h"
#include "localdrive/file_ids.h"

using namespace localdrive;

class IdsTest final : public QObject
{
    Q_OBJECT

private slots:
    void areTheSameInEveryRun();
    void moveWithFolders();
    void stateHoldsOnlyWhatDiffers();
    void readsRanges_data();
    void readsRanges();
    void decryptsReports_data();
    void decryptsReports();
    void base64UrlComesBack();
};

void IdsTest::areTheSameInEveryRun()
{
    FileIds first("secret", "1");
    FileIds second("secret", "1");
    second.idFor("something else first");
    QCOMPARE(first.idFor("a/b"), second.idFor("a/b"));
    QCOMPARE(first.idFor("a/b").size(), std::size_t{40});
    QVERIFY(first.idFor("a/b") != FileIds("secret", "2").idFor("a/b"));
    QVERIFY(first.idFor("a/b") != FileIds("other", "1").idFor("a/b"));
}

void IdsTest::moveWithFolders()
{
    FileIds ids("secret", "1");
    const std::string folder = ids.idFor("show");
    const std::string episode = ids.idFor("show/Ep01");
    const std::string neighbour = ids.idFor("showroom");
    ids.moved("show", "films/old");
    QCOMPARE(ids.pathFor(folder).value(), std::string("films/old"));
    QCOMPARE(ids.pathFor(episode).value(), std::string("films/old/Ep01"));
    QCOMPARE(ids.pathFor(neighbour).value(), std::string("showroom"));
    QVERIFY(ids.idFor("show/Ep01") != episode);

    ids.removed("films");
    QVERIFY(!ids.pathFor(episode));
    QVERIFY(ids.idFor("films/old/Ep01") != episode);
}

void IdsTest::stateHoldsOnlyWhatDiffers()
{
    FileIds ids("secret", "1");
    const std::string moved = ids.idFor("a");
    const std::string removed = ids.idFor("b");
    ids.idFor("untouched");
    ids.moved("a", "c");
    ids.removed("b");
    const nlohmann::json expected = {{"moved", {{moved, "c"}}}, {"retired", {removed}}};
    QCOMPARE(ids.state(), expected);

    FileIds later("secret", "1");
    later.restore(ids.state());
    QCOMPARE(later.idFor("c"), moved);
    QVERIFY(later.idFor("b") != removed);
    QVERIFY(later.idFor("a") != moved);
}

void IdsTest::readsRanges_data()
{
    QTest::addColumn<QString>("header");
    QTest::addColumn<qint64>("size");
    QTest::addColumn<int>("verdict");
    QTest::addColumn<qint64>("first");
    QTest::addColumn<qint64>("last");
    const auto row = [](const char *header, qint64 size, RangeVerdict verdict, qint64 first = 0,
                        qint64 last = 0) {
        QTest::newRow(qPrintable(QStringLiteral("%1 of %2").arg(QLatin1String(header)).arg(size)))
            << QString::fromLatin1(header) << size << static_cast<int>(verdict) << first << last;
    };
    row("bytes=0-0", 10, RangeVerdict::Part, 0, 0);
    row("bytes=3-5", 10, RangeVerdict::Part, 3, 5);
    row("bytes=3-", 10, RangeVerdict::Part, 3, 9);
    row("bytes=-4", 10, RangeVerdict::Part, 6, 9);
    row("bytes=-40", 10, RangeVerdict::Part, 0, 9);
    row("bytes=9-40", 10, RangeVerdict::Part, 9, 9);
    row("bytes=5000000000-5000000001", 6000000000, RangeVerdict::Part, 5000000000, 5000000001);
    row("bytes=0-99999999999999999999", 10, RangeVerdict::Part, 0, 9);
    row("bytes=10-", 10, RangeVerdict::Unsatisfiable);
    row("bytes=99999999999999999999-", 10, RangeVerdict::Unsatisfiable);
    row("bytes=-0", 10, RangeVerdict::Unsatisfiable);
    row("bytes=0-", 0, RangeVerdict::Unsatisfiable);
    row("bytes=-1", 0, RangeVerdict::Unsatisfiable);
    row("", 10, RangeVerdict::Whole);
    row("bytes=5-3", 10, RangeVerdict::Whole);
    row("bytes=-", 10, RangeVerdict::Whole);
    row("bytes=a-b", 10, RangeVerdict::Whole);
    row("bytes=0-1,3-4", 10, RangeVerdict::Whole);
    row("lines=0-1", 10, RangeVerdict::Whole);
}

void IdsTest::readsRanges()
{
    QFETCH(QString, header);
    QFETCH(qint64, size);
    QFETCH(int, verdict);
    QFETCH(qint64, first);
    QFETCH(qint64, last);
    ByteRange range;
    QCOMPARE(static_cast<int>(readRange(utf8(header), size, range)), verdict);
    if (verdict == static_cast<int>(RangeVerdict::Part)) {
        QCOMPARE(static_cast<qint64>(range.first), first);
        QCOMPARE(static_cast<qint64>(range.last), last);
    }
}

void IdsTest::decryptsReports_data()
{
    QTest::addColumn<QByteArray>("hex");
    QTest::addColumn<bool>("isReadable");
    QTest::addColumn<QByteArray>("plain");
    // Made by openssl enc -aes-192-ecb with the report key.
    QTest::newRow("a short text") << QByteArray("e31501a53c36d9e9701f14914f1f1ee2") << true
                                  << QByteArray(R"({"userId":"1"})");
    QTest::newRow("a whole block gains another")
        << QByteArray("56f4a4f25b5fe0c43606a2bcf76147488382779c151df4893af69db9bde2488b") << true
        << QByteArray(R"({"a":"12345678"})");
    QTest::newRow("a broken block") << QByteArray("0011") << false << QByteArray();
    QTest::newRow("no hex") << QByteArray(32, 'z') << false << QByteArray();
    QTest::newRow("wrong padding") << QByteArray(32, '0') << false << QByteArray();
    QTest::newRow("nothing") << QByteArray() << false << QByteArray();
}

void IdsTest::decryptsReports()
{
    QFETCH(QByteArray, hex);
    QFETCH(bool, isReadable);
    QFETCH(QByteArray, plain);
    const std::optional<std::string> report = decryptReport(hex.toStdString());
    QCOMPARE(report.has_value(), isReadable);
    QCOMPARE(report.value_or(std::string()), plain.toStdString());
}

void IdsTest::base64UrlComesBack()
{
    std::string data;
    for (int length = 0; length < 70; ++length) {
        QCOMPARE(fromBase64Url(toBase64Url(data)).value(), data);
        data += static_cast<char>(length * 37 + 200);
    }
}

QTEST_GUILESS_MAIN(IdsTest)
#include "tst_localdrive_ids.moc"
