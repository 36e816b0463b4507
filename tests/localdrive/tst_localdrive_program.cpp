#include <csignal>

#include <httplib.h>

#include <QtTest>

namespace {

void writeFile(const QString &path, const QByteArray &content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

int statusOfLogin(int port, const QByteArray &secret)
{
    httplib::Client client("127.0.0.1", port);
    const httplib::Headers headers = {{"Authorization", "Bearer " + secret.toStdString()}};
    const auto reply = client.Post("/control/accounts/0/login", headers, "{}", "application/json");
    return reply ? reply->status : 0;
}

} // namespace

class TestProgram final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("HOME"), m_folder->path());
        m_program.setProcessEnvironment(environment);
    }
    void servesAFolderUntilItIsEnded_data()
    {
        QTest::addColumn<int>("end");
        QTest::newRow("from its terminal") << SIGINT;
        QTest::newRow("by another program") << SIGTERM;
    }
    void servesAFolderUntilItIsEnded()
    {
        QFETCH(int, end);
        const QString portFile = m_folder->filePath(QStringLiteral("port"));
        m_program.start(m_path,
                        {QStringLiteral("--drive"), m_folder->path(), QStringLiteral("--port-file"),
                         portFile, QStringLiteral("--secret-file"), m_folder->filePath("secret")});
        QVERIFY(m_program.waitForReadyRead(10000));
        const QByteArray line = m_program.readLine().trimmed();
        QVERIFY2(line.startsWith("listening on http://127.0.0.1:"), line.constData());
        const int port = line.mid(line.lastIndexOf(':') + 1).toInt();
        QFile file(portFile);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll().trimmed().toInt(), port);
        QFile secret(m_folder->filePath("secret"));
        QVERIFY(secret.open(QIODevice::ReadOnly));
        QCOMPARE(int(secret.permissions() & 0x77), 0); // nothing for others
        QCOMPARE(statusOfLogin(port, secret.readAll().trimmed()), 200);
        QCOMPARE(statusOfLogin(port, "other"), 401);
        const std::string code(32, '0');
        const auto confirmed =
            httplib::Client("127.0.0.1", port).Post("/scan/" + code + "/confirm");
        QCOMPARE(confirmed ? confirmed->status : 0, 403); // its owner has the secret

        QProcess second;
        second.start(m_path, {QStringLiteral("--port"), QString::number(port)});
        QVERIFY(second.waitForFinished(10000));
        QCOMPARE(second.exitCode(), 1);
        QVERIFY(second.readAllStandardError().contains("is taken"));

        QCOMPARE(::kill(pid_t(m_program.processId()), end), 0);
        QVERIFY(m_program.waitForFinished(5000));
        QCOMPARE(m_program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_program.exitCode(), 0);
    }
    void refusesArguments_data()
    {
        QTest::addColumn<QStringList>("arguments");
        const auto row = [](const char *name, const char *arguments) {
            QTest::newRow(name) << QString::fromLatin1(arguments).split(QLatin1Char(' '));
        };
        row("another address", "--host 0.0.0.0");
        row("a folder that is not there", "--drive /nowhere/at/all");
        row("an impossible port", "--port 70000");
        row("an unknown option", "--nonsense");
    }
    void refusesArguments()
    {
        QFETCH(QStringList, arguments);
        m_program.start(m_path, arguments);
        QVERIFY(m_program.waitForFinished(10000));
        QVERIFY(m_program.exitCode() != 0);
        QVERIFY(!m_program.readAllStandardError().isEmpty());
    }
    void keepsALibraryThatIsComplete()
    {
        const QDir library(m_folder->filePath(QStringLiteral("library")));
        QVERIFY(library.mkpath(QStringLiteral("drives/1")));
        writeFile(library.filePath(QStringLiteral("complete")), "1\n");
        m_program.start(m_path, {QStringLiteral("--make-library"), library.path()});
        QVERIFY(m_program.waitForFinished(10000));
        QCOMPARE(m_program.exitCode(), 0);
        QVERIFY(QDir(library.filePath(QStringLiteral("drives/1"))).isEmpty());
    }

private:
    const QString m_path = QStringLiteral(LOCALDRIVE_PROGRAM);
    std::unique_ptr<QTemporaryDir> m_folder;
    QProcess m_program;
};

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_localdrive_program.moc"
