#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include "app/environment/data_dir.h"
#include "app/environment/endpoints.h"

class tst_Endpoints final : public QObject
{
    Q_OBJECT

private slots:
    void environmentBeatsSettingsBeatDefaults_data();
    void environmentBeatsSettingsBeatDefaults();
    void helpPagesLieBelowTheWebBase();
};

void tst_Endpoints::environmentBeatsSettingsBeatDefaults_data()
{
    QTest::addColumn<QByteArray>("settings");
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QString>("openApi");
    QTest::addColumn<bool>("warns");

    const QString byDefault = QStringLiteral("https://openapi.alipan.com");
    QTest::newRow("default") << QByteArray() << QByteArray() << byDefault << false;
    QTest::newRow("settings") << QByteArray("http://a.test/base") << QByteArray()
                              << QStringLiteral("http://a.test/base") << false;
    QTest::newRow("environment") << QByteArray("http://a.test") << QByteArray("http://b.test:1")
                                 << QStringLiteral("http://b.test:1") << false;
    QTest::newRow("trailing slashes go") << QByteArray() << QByteArray(" http://b.test:1// ")
                                         << QStringLiteral("http://b.test:1") << false;
    QTest::newRow("no address") << QByteArray("http://a.test") << QByteArray("b.test")
                                << QStringLiteral("http://a.test") << true;
    QTest::newRow("a file") << QByteArray("file:///etc/passwd") << QByteArray() << byDefault
                            << true;
}

void tst_Endpoints::environmentBeatsSettingsBeatDefaults()
{
    QFETCH(QByteArray, settings);
    QFETCH(QByteArray, variable);
    QFETCH(bool, warns);
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("MORAVU_OPENAPI_BASE", variable);
    QFile file(dataDir() + QStringLiteral("/mrsettings.ini"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("openApiBase=" + settings + "\n");
    file.close();
    const QRegularExpression warning(QStringLiteral("^not a web address"));
    if (warns)
        QTest::ignoreMessage(QtWarningMsg, warning);
    const Endpoints addresses = endpoints();
    QTEST(addresses.openApi, "openApi");
    QCOMPARE(addresses.backend, QStringLiteral("http://127.0.0.1:8466"));
}

void tst_Endpoints::helpPagesLieBelowTheWebBase()
{
    QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("MORAVU_OPENAPI_BASE", "");
    qputenv("MORAVU_WEB_BASE", "http://127.0.0.1:1");
    QCOMPARE(endpoints().web, QStringLiteral("http://127.0.0.1:1"));
    QVERIFY(endpoints().helpTv.startsWith(QStringLiteral("http://127.0.0.1:1/")));
}

QTEST_GUILESS_MAIN(tst_Endpoints)
#include "tst_endpoints.moc"
