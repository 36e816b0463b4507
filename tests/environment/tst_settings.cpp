#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTest>

#include "app/environment/app_settings.h"
#include "app/environment/data_dir.h"
#include "app/environment/endpoints.h"
#include "app/environment/machine_guid.h"
#include "app/environment/settings_file.h"
#include "support/log_capture.h"
#include "support/temporary_home.h"

namespace {

QString settingsPath()
{
    return dataDir() + "/mrsettings.ini";
}

void writeSettingsFile(const QByteArray &bytes)
{
    QFile file(settingsPath());
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

QByteArray readSettingsFile()
{
    QFile file(settingsPath());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

const QByteArray Binary("\x01\xd9\0\xff\n=[%\r(\"\\x", 13);

void saveEverything()
{
    AppSettings settings;
    settings.setCurUserId("用户, 1");
    settings.setDelToRecycle(false);
    settings.saveWindowState(Binary, QByteArray());
    FileListState list;
    list.sortIndex = 2;
    list.sortOrder = 1;
    list.fileTypeList = "视频 \"mkv\"\\";
    list.columnSizeList = {360, 112};
    settings.saveFileListState(list);
    settings.setFileListOrderBy("size");
    settings.setFileOrderDirection("ASC");
    settings.setVideoQuality("OrgHD");
    PlayerState player;
    player.geometry = Binary;
    player.splitterState = "splitter";
    player.showVideoList = true;
    settings.savePlayerState(player);
}

// Everything the settings say, as a text that two processes can compare.
QString everything()
{
    const AppSettings settings;
    QByteArray geometry("default");
    QByteArray state("default");
    settings.readWindowState(geometry, state);
    FileListState list;
    settings.readFileListState(list);
    PlayerState player;
    player.geometry = "default";
    settings.readPlayerState(player);
    return QStringList{settings.curUserId(),
                       settings.delToRecycle() ? "recycle" : "delete",
                       geometry.toPercentEncoding(),
                       state.toPercentEncoding(),
                       recordToText(list),
                       settings.fileListOrderBy(),
                       settings.fileOrderDirection(),
                       settings.videoQuality(),
                       player.geometry.toPercentEncoding(),
                       player.splitterState,
                       player.showVideoList ? "shown" : "hidden"}
        .join('\n');
}

const QString Defaults =
    "\nrecycle\ndefault\ndefault\n"
    "{\"columnSizeList\":[],\"fileTypeList\":\"\",\"sortIndex\":0,\"sortOrder\":0}\n"
    "updated_at\nDESC\nFHD\ndefault\n\nhidden";
const QString Saved = "用户, 1\ndelete\n%01%D9%00%FF%0A%3D%5B%25%0D%28%22%5Cx\n\n"
                      "{\"columnSizeList\":[360,112],\"fileTypeList\":\"视频 \\\"mkv\\\"\\\\\","
                      "\"sortIndex\":2,\"sortOrder\":1}\n"
                      "size\nASC\nOrgHD\n%01%D9%00%FF%0A%3D%5B%25%0D%28%22%5Cx\nsplitter\nshown";

int mode(const QString &path)
{
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0 ? int(status.st_mode & 0777)
                                                                   : -1;
}

// What this program says, run anew.
QString inAnotherProcess(const QString &task, const QString &locale = "C")
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("LC_ALL", locale);
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {task});
    process.waitForFinished();
    return process.readAllStandardOutput();
}

} // namespace

// The settings file, and what else depends on the machine.
class TestSettings final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_home = std::make_unique<TemporaryHome>(); }

    void aFreshProfileHasTheDefaults()
    {
        QCOMPARE(everything(), Defaults);
        QCOMPARE(dataDir(), m_home->path() + "/moravu");
        QVERIFY(QDir(dataDir()).exists());
    }

    void everyProcessReadsWhatWasSaved()
    {
        const AppSettings reader;
        saveEverything();
        QCOMPARE(reader.videoQuality(), "OrgHD");
        QCOMPARE(everything(), Saved);
        QCOMPARE(inAnotherProcess("read", "zh_CN.UTF-8"), Saved);
        QCOMPARE(inAnotherProcess("read"), Saved);
        QVERIFY(readSettingsFile().contains("delToRecycle=false"));
    }

    void onlyKnownChoicesCount()
    {
        AppSettings settings;
        for (const char *quality : {"OrgHD", "QHD", "FHD", "HD", "SD", "LD"}) {
            settings.setVideoQuality(quality);
            QCOMPARE(settings.videoQuality(), quality);
        }
        for (const char *field : {"name", "updated_at", "created_at", "size"}) {
            settings.setFileListOrderBy(field);
            QCOMPARE(settings.fileListOrderBy(), field);
        }
        settings.setVideoQuality("4K");
        settings.setFileListOrderBy("colour");
        settings.setFileOrderDirection("asc");
        QCOMPARE(everything(), Defaults);
    }

    void aPartialListStateKeepsTheRest()
    {
        writeSettingsFile("fileListState=\"{\\\"sortIndex\\\": 3, \\\"sortOrder\\\": \\\"1\\\", "
                          "\\\"x\\\": 5}\"\ndelToRecycle=0\nshowVideoList=1\n");
        FileListState list;
        list.fileTypeList = "kept";
        list.columnSizeList = {1, 2};
        AppSettings().readFileListState(list);
        QCOMPARE(recordToText(list), "{\"columnSizeList\":[1,2],\"fileTypeList\":\"kept\","
                                     "\"sortIndex\":3,\"sortOrder\":1}");
        PlayerState player; // people write digits for yes and no
        AppSettings().readPlayerState(player);
        QVERIFY(player.showVideoList);
        QVERIFY(!AppSettings().delToRecycle());
    }

    void aDamagedFileYieldsDefaultsAndIsMended_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("binary") << Binary.repeated(100);
        QTest::newRow("wrong types")
            << QByteArray("delToRecycle=maybe\ngeometry=text\nstate=7\nfileListState=[1, 2\n"
                          "fileListOrderBy=upda\nfileOrderDirection=DE\nvideoQuality=@Invalid()\n"
                          "player_geometry=@Size(1 2)\nshowVideoList=tru\n");
    }
    void aDamagedFileYieldsDefaultsAndIsMended()
    {
        QFETCH(QByteArray, bytes);
        writeSettingsFile(bytes);
        QCOMPARE(everything(), Defaults);
        saveEverything();
        QCOMPARE(inAnotherProcess("read"), Saved);
    }

    void permissionsAreOnlyTakenAway()
    {
        const QByteArray folder = QFile::encodeName(m_home->filePath("moravu"));
        QVERIFY(mkdir(folder, 0777) == 0 && chmod(folder, 0777) == 0);
        saveEverything();
        QVERIFY(readSettingsFile().contains("videoQuality=OrgHD"));
        QCOMPARE(mode(settingsPath()), 0600);
        QCOMPARE(mode(folder), 0700);
        for (const mode_t given : {0555, 0500, 0000}) {
            QVERIFY(chmod(folder, given) == 0);
            dataDir();
            QCOMPARE(mode(folder), int(given & 0700));
        }
    }

    void whatIsNoFileReadsAsDefaults()
    {
        for (const bool isPipe : {true, false}) {
            init();
            const QString path = settingsPath();
            QVERIFY(isPipe ? mkfifo(QFile::encodeName(path), 0600) == 0 : QDir().mkdir(path));
            const LogCapture log;
            QVERIFY(!isSettingsFileUsable());
            AppSettings().setVideoQuality("FHD"); // nothing waits for the other end
            QCOMPARE(AppSettings().fileOrderDirection(), "DESC");
            QVERIFY(!QFileInfo(path).isFile());
        }
        init();
        AppSettings().setVideoQuality("LD");
        QVERIFY(isSettingsFileUsable());
    }

    void eachProcessHasItsOwnUser()
    {
        AppSettings().setCurUserId("of this process");
        QCOMPARE(inAnotherProcess("log in"), "");
        QSettings(settingsPath(), QSettings::IniFormat).sync();
        QCOMPARE(AppSettings().curUserId(), "of this process");
        QVERIFY(readSettingsFile().contains("curUserId=of another"));
    }

    void environmentBeatsSettingsBeatDefaults_data()
    {
        QTest::addColumn<QByteArray>("settings");
        QTest::addColumn<QByteArray>("variable");
        QTest::addColumn<QString>("address"); // empty: the default
        QTest::addColumn<int>("warnings");
        const auto row = [](const char *name, const char *settings, const char *variable,
                            const QString &address, int warnings = 0) {
            QTest::newRow(name) << QByteArray(settings) << QByteArray(variable) << address
                                << warnings;
        };
        row("default", "", "", "");
        row("settings", "http://a.test/base", "", "http://a.test/base");
        row("environment", "http://a.test", "http://b.test:1", "http://b.test:1");
        row("trailing slashes go", "", " http://b.test:1// ", "http://b.test:1");
        row("no address", "http://a.test", "b.test", "http://a.test", 1);
        row("a file", "file:///etc/passwd", "", "", 1);
    }
    void environmentBeatsSettingsBeatDefaults()
    {
        QFETCH(QByteArray, settings);
        QFETCH(QByteArray, variable);
        QFETCH(QString, address);
        const char *const keys[] = {"openApiBase", "backendBase", "webBase"};
        const char *const variables[] = {"MORAVU_OPENAPI_BASE", "MORAVU_BACKEND_BASE",
                                         "MORAVU_WEB_BASE"};
        QString Endpoints::*const members[] = {&Endpoints::openApi, &Endpoints::backend,
                                               &Endpoints::web};
        QStringList expected{"https://openapi.alipan.com", "http://127.0.0.1:8466",
                             "https://www.aliyundrive.com"};
        for (int set = 0; set < 3; ++set) { // one of them; the others keep their defaults
            init();
            for (int i = 0; i < 3; ++i) {
                qputenv(variables[i], i == set ? variable : QByteArray());
            }
            writeSettingsFile(keys[set] + ('=' + settings) + '\n');
            const LogCapture log;
            const Endpoints read = endpoints();
            for (int i = 0; i < 3; ++i) {
                QCOMPARE(read.*members[i],
                         i == set && !address.isEmpty() ? address : expected.at(i));
            }
            QCOMPARE(read.helpPc, read.web + '/');
            (void)endpoints(); // tells nothing twice
            QTEST(log.warnings().filter("not a web address").size(), "warnings");
        }
    }
    void changedAddressesAreReadAnew()
    {
        qunsetenv("MORAVU_WEB_BASE");
        for (const char *address : {"http://first.test", "http://another.test"}) {
            writeSettingsFile(QByteArray("webBase=") + address + '\n');
            QCOMPARE(endpoints().web, address);
        }
        qputenv("MORAVU_WEB_BASE", "http://third.test");
        QCOMPARE(endpoints().web, "http://third.test");
        qunsetenv("MORAVU_WEB_BASE");
    }

    void theMachineHasOneGuidThatIsNotItsId()
    {
        const QByteArray id = "0123456789abcdef0123456789abcdef";
        QCOMPARE(guidForMachine(id), "01dd2ad9-88a0-5d77-b052-34e2556bfeab");
        QVERIFY(guidForMachine("another") != guidForMachine(id));
        QCOMPARE(machineGuid(), guidForMachine(QSysInfo::machineUniqueId()));
        const QString random = guidForMachine(QByteArray()); // has none: kept once made
        QCOMPARE(guidForMachine(QByteArray()), random);
        const QRegularExpression guid("^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$");
        QVERIFY2(guid.match(random).hasMatch(), qPrintable(random));
        init(); // another user's
        QVERIFY(guidForMachine(QByteArray()) != random);
    }

private:
    std::unique_ptr<TemporaryHome> m_home;
};

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    if (argc == 2 && qstrcmp(argv[1], "read") == 0) {
        fputs(everything().toUtf8().constData(), stdout);
        return 0;
    }
    if (argc == 2 && qstrcmp(argv[1], "log in") == 0) {
        AppSettings().setCurUserId("of another");
        return 0;
    }
    TestSettings test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_settings.moc"
