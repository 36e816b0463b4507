#include <QRegularExpression>
#include <QTest>

#include "login/qr_image.h"
#include "login/scanned.h"

class TestQrImage final : public QObject
{
    Q_OBJECT

private slots:
    void isReadBack_data()
    {
        QTest::addColumn<QString>("content");
        QTest::newRow("an empty sid") << "https://www.aliyundrive.com/o/oauth/authorize?sid=";
        QTest::newRow("Chinese text") << "http://127.0.0.1/登录?sid=青柚";
        QTest::newRow("a very long sid") << "http://127.0.0.1/?sid=" + QString(900, 'x');
    }
    void isReadBack()
    {
        if (!canScan()) {
            QSKIP("zbarimg is not installed");
        }
        QFETCH(QString, content);
        // Four pixels to the module, on a white ground.
        const QImage symbol = qrImage(content);
        QImage page(symbol.size() * 4 + QSize(40, 40), QImage::Format_RGB888);
        page.fill(Qt::white);
        for (int y = 0; y < symbol.height() * 4; ++y) {
            for (int x = 0; x < symbol.width() * 4; ++x) {
                page.setPixel(x + 20, y + 20, symbol.pixel(x / 4, y / 4));
            }
        }
        QCOMPARE(scanned(page), content);
    }
    void isOnePixelPerModule()
    {
        const QImage image = qrImage("https://www.aliyundrive.com/");
        QCOMPARE(image.format(), QImage::Format_RGB888);
        QCOMPARE(image.size(), QSize(29, 29)); // version 3: medium correction of 28 bytes
        // The finder pattern begins in the first pixel: there is no quiet zone.
        for (int x = 0; x < 7; ++x) {
            QCOMPARE(image.pixel(x, 0), 0xff000000);
        }
        QCOMPARE(image.pixel(7, 0), 0xffffffff);
        QCOMPARE(image.pixel(1, 1), 0xffffffff);
    }
    void isNullForWhatCannotBeDrawn()
    {
        QVERIFY(qrImage(QString()).isNull());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("No QR symbol holds"));
        QVERIFY(qrImage(QString(5000, 'x')).isNull());
    }
};

QTEST_GUILESS_MAIN(TestQrImage)
#include "tst_qr_image.moc"
