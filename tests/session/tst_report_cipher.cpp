#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include "api/session/report_cipher.h"

namespace {

const QByteArray ReportKey = QByteArrayLiteral("Qm3vT8pLxR2nWk7ZcY4hJdFs");

QByteArray decryptedByCommand(const QByteArray &cipher, const QByteArray &key)
{
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("enc"), QStringLiteral("-d"), QStringLiteral("-aes-192-ecb"),
                   QStringLiteral("-K"), QString::fromLatin1(key.toHex())});
    openssl.write(cipher);
    openssl.closeWriteChannel();
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) {
        return QByteArrayLiteral("openssl: ") + openssl.readAllStandardError();
    }
    return openssl.readAllStandardOutput();
}

} // namespace

class TestReportCipher final : public QObject
{
    Q_OBJECT

private slots:
    // FIPS-197, appendix C.2.
    void matchesThePublishedVector()
    {
        const QByteArray key =
            QByteArray::fromHex("000102030405060708090a0b0c0d0e0f1011121314151617");
        const QByteArray plain = QByteArray::fromHex("00112233445566778899aabbccddeeff");
        const QByteArray cipher = encryptAes192(plain, key);
        QCOMPARE(cipher.left(16).toHex(), QByteArrayLiteral("dda97ca4864cdfe06eaf70a0ec0d7191"));
        QCOMPARE(cipher.size(), 32);
    }
    void isReadByAnotherImplementation_data()
    {
        QTest::addColumn<QByteArray>("plain");
        QTest::addColumn<int>("cipherSize");
        QTest::newRow("a byte less than a block") << QByteArray(15, 'x') << 16;
        QTest::newRow("a whole block gains a block of padding") << QByteArray(16, 'x') << 32;
        QTest::newRow("zero bytes") << QByteArray(1000, '\0') << 1008;
    }
    void isReadByAnotherImplementation()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("openssl")).isEmpty()) {
            QSKIP("the openssl command is not installed");
        }
        QFETCH(QByteArray, plain);
        const QByteArray cipher = encryptAes192(plain, ReportKey);
        QTEST(cipher.size(), "cipherSize");
        QCOMPARE(decryptedByCommand(cipher, ReportKey), plain);
    }
    void refusesAKeyOfAnotherSize()
    {
        QTest::ignoreMessage(QtWarningMsg, "AES-192 needs a key of 24 bytes, got 16");
        QVERIFY(encryptAes192(QByteArrayLiteral("text"), QByteArray(16, 'k')).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestReportCipher)
#include "tst_report_cipher.moc"
