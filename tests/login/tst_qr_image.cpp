#include "login/qr_image.h"

#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {

// What zbarimg reads in the picture, drawn four pixels to the module on a white ground.
QString decoded(const QImage &symbol)
{
    QImage page(symbol.size() * 4 + QSize(40, 40), QImage::Format_RGB888);
    page.fill(Qt::white);
    for (int y = 0; y < symbol.height() * 4; ++y) {
        for (int x = 0; x < symbol.width() * 4; ++x) {
            page.setPixel(x + 20, y + 20, symbol.pixel(x / 4, y / 4));
        }
    }
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("code.png"));
    page.save(file);
    QProcess zbar;
    zbar.start(QStringLiteral("zbarimg"), {QStringLiteral("-q"), QStringLiteral("--raw"), file});
    zbar.waitForFinished();
    return QString::fromUtf8(zbar.readAllStandardOutput()).trimmed();
}

} // namespace

class TestQrImage final : public QObject
{
    Q_OBJECT

private slots:
    void isReadBack_data();
    void isReadBack();
    void isOnePixelPerModule();
    void isNullForWhatCannotBeDrawn();
};

void TestQrImage::isReadBack_data()
{
    QTest::addColumn<QString>("content");
    QTest::newRow("a login address") << QStringLiteral(
        "https://www.aliyundrive.com/o/oauth/authorize?sid=0123456789abcdef0123456789abcdef");
    QTest::newRow("an empty sid") << QStringLiteral(
        "https://www.aliyundrive.com/o/oauth/authorize?sid=");
    QTest::newRow("Chinese text") << QStringLiteral("http://127.0.0.1/登录?sid=青柚");
    QTest::newRow("a very long sid")
        << QStringLiteral("http://127.0.0.1/?sid=") + QString(900, u'x');
}

void TestQrImage::isReadBack()
{
    if (QStandardPaths::findExecutable(QStringLiteral("zbarimg")).isEmpty()) {
        QSKIP("zbarimg is not installed");
    }
    QFETCH(QString, content);
    QCOMPARE(decoded(qrImage(content)), content);
}

void TestQrImage::isOnePixelPerModule()
{
    const QImage image = qrImage(QStringLiteral("https://www.aliyundrive.com/"));
    QCOMPARE(image.format(), QImage::Format_RGB888);
    QCOMPARE(image.width(), image.height());
    QCOMPARE((image.width() - 17) % 4, 0);
    // The finder pattern begins in the first pixel: there is no quiet zone.
    for (int x = 0; x < 7; ++x) {
        QCOMPARE(image.pixel(x, 0), 0xff000000);
    }
    QCOMPARE(image.pixel(7, 0), 0xffffffff);
    QCOMPARE(image.pixel(1, 1), 0xffffffff);
}

void TestQrImage::isNullForWhatCannotBeDrawn()
{
    QVERIFY(qrImage(QString()).isNull());
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("No QR symbol holds")));
    QVERIFY(qrImage(QString(5000, u'x')).isNull());
}

QTEST_GUILESS_MAIN(TestQrImage)
#include "tst_qr_image.moc"
