#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include "app/environment/app_settings.h"
#include "app/environment/data_dir.h"

namespace {

const QString settingsPath()
{
    return dataDir() + QStringLiteral("/mrsettings.ini");
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

const QByteArray binary("\x01\xd9\0\xff\n=[%\r(\"\\x", 13);

FileListState sampleListState()
{
    FileListState state;
    state.sortIndex = 2;
    state.sortOrder = 1;
    state.fileTypeList = QStringLiteral("视频 \"mkv\"\\");
    state.columnSizeList = {360, 112, 180, 90};
    return state;
}

PlayerState samplePlayerState()
{
    PlayerState state;
    state.geometry = binary;
    state.splitterState = QByteArray("splitter");
    state.showVideoList = true;
    return state;
}

void saveEverything(AppSettings &settings)
{
    settings.setCurUserId(QStringLiteral("用户, 1"));
    settings.setDelToRecycle(false);
    settings.saveWindowState(binary, QByteArray());
    settings.saveFileListState(sampleListState());
    settings.setFileListOrderBy(QStringLiteral("size"));
    settings.setFileOrderDirection(QStringLiteral("ASC"));
    settings.setVideoQuality(QStringLiteral("OrgHD"));
    settings.savePlayerState(samplePlayerState());
}

// Everything the settings say, as lines that two processes can compare.
QString everything(const AppSettings &settings)
{
    QByteArray geometry("default");
    QByteArray state("default");
    settings.readWindowState(geometry, state);
    FileListState listState;
    settings.readFileListState(listState);
    PlayerState playerState;
    playerState.geometry = "default";
    settings.readPlayerState(playerState);
    const QStringList lines{settings.curUserId(),
                            QString::number(settings.delToRecycle()),
                            QString::fromLatin1(geometry.toHex()),
                            QString::fromLatin1(state.toHex()),
                            recordToText(listState),
                            settings.fileListOrderBy(),
                            settings.fileOrderDirection(),
                            settings.videoQuality(),
                            QString::fromLatin1(playerState.geometry.toHex()),
                            QString::fromLatin1(playerState.splitterState.toHex()),
                            QString::number(playerState.showVideoList)};
    return lines.join(QLatin1Char('\n'));
}

const QString emptyListState =
    QStringLiteral(R"({"columnSizeList":[],"fileTypeList":"","sortIndex":0,"sortOrder":0})");

QString defaults()
{
    const QString defaultBytes = QString::fromLatin1(QByteArray("default").toHex());
    return QStringList{QString(),
                       QStringLiteral("1"),
                       defaultBytes,
                       defaultBytes,
                       emptyListState,
                       QStringLiteral("updated_at"),
                       QStringLiteral("DESC"),
                       QStringLiteral("FHD"),
                       defaultBytes,
                       QString(),
                       QStringLiteral("0")}
        .join(QLatin1Char('\n'));
}

// This program run anew as a reader or a writer of the settings.
QString runProcess(const QString &task, const QString &locale = {})
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!locale.isEmpty())
        environment.insert(QStringLiteral("LC_ALL"), locale);
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {task});
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput());
}

} // namespace

class tst_AppSettings final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void aFreshProfileHasTheDefaults();
    void objectsSeeEachOthersWrites();
    void processesSeeEachOthersWritesWithTheRightTypes();
    void chineseSurvivesEveryLocale_data();
    void chineseSurvivesEveryLocale();
    void aPartialListStateKeepsTheRest();
    void digitsServeAsBools();
    void aDamagedFileYieldsDefaultsAndIsMended_data();
    void aDamagedFileYieldsDefaultsAndIsMended();
    void aFileCutAnywhereYieldsUsableValues();
    void fileAndDirectoryBelongToTheirOwnerOnly();
    void theMachineHasOneGuidThatIsNotItsId();

private:
    std::unique_ptr<QTemporaryDir> m_home;
};

void tst_AppSettings::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    qputenv("HOME", m_home->path().toLocal8Bit());
}

void tst_AppSettings::aFreshProfileHasTheDefaults()
{
    QCOMPARE(everything(AppSettings()), defaults());
    QCOMPARE(dataDir(), m_home->path() + QStringLiteral("/moravu"));
    QVERIFY(QDir(dataDir()).exists());
}

void tst_AppSettings::objectsSeeEachOthersWrites()
{
    AppSettings reader;
    AppSettings writer;
    QCOMPARE(reader.videoQuality(), QStringLiteral("FHD"));
    writer.setVideoQuality(QStringLiteral("LD"));
    QCOMPARE(reader.videoQuality(), QStringLiteral("LD"));
}

void tst_AppSettings::processesSeeEachOthersWritesWithTheRightTypes()
{
    {
        AppSettings settings;
        saveEverything(settings);
    }
    const QString saved = everything(AppSettings());
    QVERIFY(saved.startsWith(QStringLiteral("用户, 1\n0\n")));
    QCOMPARE(runProcess(QStringLiteral("read")), saved);
    QVERIFY(readSettingsFile().contains("delToRecycle=false"));

    runProcess(QStringLiteral("write"));
    QCOMPARE(AppSettings().videoQuality(), QStringLiteral("SD"));
    QCOMPARE(AppSettings().fileListOrderBy(), QStringLiteral("size"));
}

void tst_AppSettings::chineseSurvivesEveryLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::newRow("Chinese") << QStringLiteral("zh_CN.UTF-8");
    QTest::newRow("plain C") << QStringLiteral("C");
}

void tst_AppSettings::chineseSurvivesEveryLocale()
{
    QFETCH(QString, locale);
    {
        AppSettings settings;
        saveEverything(settings);
    }
    QCOMPARE(runProcess(QStringLiteral("read"), locale), everything(AppSettings()));
}

void tst_AppSettings::aPartialListStateKeepsTheRest()
{
    writeSettingsFile(R"(fileListState="{\"sortIndex\": 3, \"sortOrder\": \"1\", \"x\": 5}")");
    FileListState state;
    state.fileTypeList = QStringLiteral("kept");
    state.columnSizeList = {1, 2};
    AppSettings().readFileListState(state);
    QCOMPARE(recordToText(state),
             QStringLiteral(
                 R"({"columnSizeList":[1,2],"fileTypeList":"kept","sortIndex":3,"sortOrder":1})"));
}

void tst_AppSettings::digitsServeAsBools()
{
    writeSettingsFile("delToRecycle=0\nshowVideoList=1\n");
    PlayerState state;
    AppSettings().readPlayerState(state);
    QVERIFY(state.showVideoList);
    QVERIFY(!AppSettings().delToRecycle());
}

void tst_AppSettings::aDamagedFileYieldsDefaultsAndIsMended_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("binary") << binary.repeated(100);
    QTest::newRow("wrong types") << QByteArray(
        "delToRecycle=maybe\ngeometry=text\nstate=7\nfileListState=[1, 2\n"
        "fileListOrderBy=upda\nfileOrderDirection=DE\nvideoQuality=@Invalid()\n"
        "player_geometry=@Size(1 2)\nshowVideoList=tru\n");
}

void tst_AppSettings::aDamagedFileYieldsDefaultsAndIsMended()
{
    QFETCH(QByteArray, bytes);
    writeSettingsFile(bytes);
    QCOMPARE(everything(AppSettings()), defaults());
    {
        AppSettings settings;
        saveEverything(settings);
    }
    QCOMPARE(runProcess(QStringLiteral("read")), everything(AppSettings()));
    QVERIFY(everything(AppSettings()) != defaults());
}

void tst_AppSettings::aFileCutAnywhereYieldsUsableValues()
{
    {
        AppSettings settings;
        saveEverything(settings);
    }
    const QStringList saved = everything(AppSettings()).split(QLatin1Char('\n'));
    const QStringList fallbacks = defaults().split(QLatin1Char('\n'));
    const QByteArray whole = readSettingsFile();
    for (int length = 0; length < whole.size(); length += 3) {
        // Qt keeps what it knows of a file by its name: every cut gets a home of its own.
        init();
        writeSettingsFile(whole.left(length));
        const QStringList read = everything(AppSettings()).split(QLatin1Char('\n'));
        QCOMPARE(read.size(), saved.size());
        // A user's id may be any text: what is left of it counts.
        for (int i = 1; i < read.size(); ++i) {
            QVERIFY2(read.at(i) == saved.at(i) || read.at(i) == fallbacks.at(i),
                     qPrintable(QStringLiteral("cut at %1: %2").arg(length).arg(read.at(i))));
        }
    }
}

void tst_AppSettings::fileAndDirectoryBelongToTheirOwnerOnly()
{
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                        QFile::WriteOther | QFile::ExeOther;
    QVERIFY(QDir().mkpath(m_home->filePath(QStringLiteral("moravu"))));
    {
        AppSettings settings;
        saveEverything(settings);
    }
    QVERIFY(readSettingsFile().contains("videoQuality=OrgHD"));
    QCOMPARE(QFile::permissions(settingsPath()) & others, QFile::Permissions());
    QCOMPARE(QFile::permissions(dataDir()) & others, QFile::Permissions());
}

void tst_AppSettings::theMachineHasOneGuidThatIsNotItsId()
{
    const QString guid = machineGuid();
    QVERIFY2(QRegularExpression(QStringLiteral("^[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$"))
                 .match(guid)
                 .hasMatch(),
             qPrintable(guid));
    QCOMPARE(runProcess(QStringLiteral("guid")), guid);
    QVERIFY(QString(guid).remove(QLatin1Char('-')).toLatin1() != QSysInfo::machineUniqueId());
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QString task = application.arguments().value(1);
    if (task == QLatin1String("read")) {
        const AppSettings settings;
        fputs(everything(settings).toUtf8().constData(), stdout);
        return 0;
    }
    if (task == QLatin1String("write")) {
        AppSettings().setVideoQuality(QStringLiteral("SD"));
        return 0;
    }
    if (task == QLatin1String("guid")) {
        fputs(machineGuid().toUtf8().constData(), stdout);
        return 0;
    }
    tst_AppSettings test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_app_settings.moc"
