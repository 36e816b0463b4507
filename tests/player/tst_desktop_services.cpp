#include <csignal>

#include <QAction>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusVirtualObject>
#include <QProcess>
#include <QtTest>

#include "app/environment/app_settings.h"
#include "player/desktop/expected_place.h"
#include "player/mpv/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/window/player_window.h"
#include "support/fault_on.h"
#include "support/test_main.h"

namespace {

const QString First = "show/1.mkv";
const QString Second = "show/2.mkv";
const clips::Clip Long{60};
const char ScreenSaver[] = "org.freedesktop.ScreenSaver";
const char PowerManagement[] = "org.freedesktop.PowerManagement";
const char Portal[] = "org.freedesktop.portal.Desktop";
const QString PlayerName = "org.mpris.MediaPlayer2.moravu";
const QString PlayerPath = "/org/mpris/MediaPlayer2";

// A service of a desktop that keeps the screen on; a connection, and so a program, of its own.
class StandIn final : public QDBusVirtualObject
{
public:
    explicit StandIn(const char *name, bool answers = true)
        : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name))
        , m_answers(answers)
    {
        m_bus.registerVirtualObject("/org/freedesktop", this, QDBusConnection::SubPath);
        m_bus.registerService(name);
    }
    ~StandIn() override { QDBusConnection::disconnectFromBus(m_bus.name()); }

    QString introspect(const QString & /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection & /*bus*/) override
    {
        m_calls << call.interface().section('.', -1) + "." + call.member();
        if (call.member() != "Inhibit") {
            const QVariant cookie = call.arguments().value(0, call.path());
            m_granted.removeOne(cookie.toString());
            return true;
        }
        m_unanswered << call;
        if (m_answers) {
            answer();
        }
        return true;
    }
    // Grants all that was asked for.
    void answer()
    {
        for (const QDBusMessage &call : qAsConst(m_unanswered)) {
            const QString number = QString::number(++m_number);
            const QString request = "/org/freedesktop/portal/desktop/request/" + number;
            const bool isPortal = call.interface().contains("portal");
            m_granted << (isPortal ? request : number);
            m_bus.send(call.createReply(isPortal ? QVariant::fromValue(QDBusObjectPath(request))
                                                 : QVariant(uint(m_number))));
        }
        m_unanswered.clear();
    }

    int asked() const
    {
        return m_calls.filter("Inhibit.Inhibit").size() +
               m_calls.filter("ScreenSaver.Inhibit").size();
    }
    QStringList granted() const { return m_granted; }

private:
    QDBusConnection m_bus;
    bool m_answers;
    int m_number = 0;
    QStringList m_calls;
    QStringList m_granted; // and not given back
    QList<QDBusMessage> m_unanswered;
};

} // namespace

// What the player has to do with the desktop, on a bus of its own.
class TestDesktopServices final : public QObject
{
    Q_OBJECT

public slots:
    void onSeeked(qlonglong position) { m_seeked << position; }
    void onChanged(const QString & /*interface*/, const QVariantMap &changes,
                   const QStringList & /*invalidated*/)
    {
        m_changes << changes.keys();
    }

private slots:
    void init() { m_player = std::make_unique<PlayerFixture>(/*withThumbnails=*/true); }
    void cleanup() { m_player.reset(); }

    void keepsTheScreenOnOnlyWhileAVideoPlays_data()
    {
        QTest::addColumn<QByteArray>("service");
        for (const char *service :
             {ScreenSaver, PowerManagement, "org.freedesktop.PowerManagement.Inhibit", Portal}) {
            QTest::newRow(service) << QByteArray(service);
        }
    }
    void keepsTheScreenOnOnlyWhileAVideoPlays()
    {
        QFETCH(QByteArray, service);
        const StandIn desktop(service.constData());
        m_player->addClip(First, Long);
        m_player->addClip(Second, Long);
        m_player->open(First);
        QCOMPARE(desktop.asked(), 0);
        QTRY_COMPARE(desktop.granted().size(), 1);
        m_player->press("playPause");
        QTRY_COMPARE(desktop.granted().size(), 0);
        m_player->press("playPause");
        QTRY_COMPARE(desktop.granted().size(), 1);
        QVERIFY(m_player->step("next", "2.mkv"));
        QVERIFY(m_player->waitFor(1));
        QCOMPARE(desktop.asked(), 2); // held through the change of videos
        m_player->close();
        QTRY_COMPARE(desktop.granted().size(), 0);
    }

    void letsGoWhereNothingPlaysAnyMore()
    {
        const StandIn desktop(ScreenSaver);
        m_player->addFile("show/broken.mkv", "x");
        m_player->open("show/broken.mkv");
        QTRY_VERIFY(!m_player->part("videoNotice")->isHidden());
        m_player->server().addFault(FaultOn("openFile/list").always().status(500));
        m_player->addClip("alone/film.mkv");
        m_player->open("alone/film.mkv");
        QTRY_COMPARE(desktop.asked(), 1);
        QTRY_COMPARE(desktop.granted().size(), 0); // it came to its end, and nothing follows
        QCOMPARE(desktop.asked(), 1);
    }

    void givesBackWhatComesTooLate_data()
    {
        QTest::addColumn<bool>("isClosed");
        QTest::newRow("paused meanwhile") << false;
        QTest::newRow("closed meanwhile") << true;
    }
    void givesBackWhatComesTooLate()
    {
        QFETCH(bool, isClosed);
        StandIn slow(ScreenSaver, false);
        m_player->addClip(First, Long);
        m_player->open(First);
        QTRY_COMPARE(slow.asked(), 1);
        if (isClosed) {
            m_player->close();
        } else {
            m_player->mpv()->pause();
            QVERIFY(QTest::qWaitFor([this] { return m_player->mpv()->isPaused(); }));
            QTest::qWait(0);
        }
        slow.answer();
        QCOMPARE(slow.granted().size(), 1);
        QTRY_COMPARE(slow.granted().size(), 0);
    }

    void passesOverASilentServiceAndFindsOneThatCameBack()
    {
        StandIn silent(ScreenSaver, false);
        auto other = std::make_unique<StandIn>(PowerManagement);
        m_player->addClip(First, Long);
        m_player->open(First);
        QTRY_COMPARE(other->granted().size(), 1);
        silent.answer();
        QTRY_COMPARE(silent.granted().size(), 0); // one is enough
        other.reset();
        QTRY_COMPARE(silent.asked(), 2);
        other = std::make_unique<StandIn>(PowerManagement);
        QTRY_COMPARE(other->granted().size(), 1);
    }

    void aBusThatHangsHoldsNobodyUp()
    {
        const StandIn desktop(ScreenSaver);
        m_player->addClip(First, Long);
        kill(s_daemon, SIGSTOP);
        m_player->open(First);
        const bool hasPlayed = m_player->waitFor(1);
        m_player->window()->findChild<QAction *>("desktopControls")->trigger();
        kill(s_daemon, SIGCONT);
        QVERIFY(hasPlayed);
        QTRY_COMPARE(desktop.granted().size(), 1);
    }

    void isSeenAndSteeredByOtherPrograms()
    {
        m_player->addClip(First, Long);
        m_player->addClip(Second, Long);
        QDBusConnection bus = QDBusConnection::sessionBus();
        bus.connect(QString(), PlayerPath, QString(), "Seeked", this, SLOT(onSeeked(qlonglong)));
        bus.connect(QString(), PlayerPath, "org.freedesktop.DBus.Properties", "PropertiesChanged",
                    this, SLOT(onChanged(QString, QVariantMap, QStringList)));
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        QTRY_COMPARE(playerctl({"status"}), "Playing");
        // The picture's address comes with the folder's list.
        const QStringList shown{"metadata", "--format",
                                "{{title}} {{mpris:length}} {{mpris:artUrl}}"};
        QTRY_VERIFY(playerctl(shown).startsWith("1.mkv 60000000 http://127.0.0.1:"));

        playerctl({"play-pause"});
        QTRY_COMPARE(playerctl({"status"}), "Paused");
        playerctl({"position", "30"});
        QTRY_VERIFY(m_seeked.contains(30000000));
        QTRY_COMPARE(playerctl({"position"}), "30.000000");
        playerctl({"position", "5+"});
        QTRY_COMPARE(m_player->secondLabelled(), 35);
        m_player->press("volume");
        QVERIFY(m_player->mpv()->isMute());
        playerctl({"volume", "0.5"});
        QTRY_COMPARE(m_player->mpv()->volume(), 50);
        QVERIFY(!m_player->mpv()->isMute());
        QCOMPARE(playerctl({"volume"}), "0.500000");
        playerctl({"next"});
        QTRY_COMPARE(playerctl({"metadata", "title"}), "2.mkv");
        QTRY_VERIFY(m_changes.contains("Metadata") && m_changes.contains("PlaybackStatus") &&
                    m_changes.contains("Volume"));
        QVERIFY(!m_changes.contains("Position"));
    }

    void answersWhatMprisAsks()
    {
        m_player->addClip(First, Long);
        m_player->open(First);
        QVERIFY(m_player->waitFor(1));
        QTRY_VERIFY(isRegistered(PlayerName));
        const QVariantMap player = properties("org.mpris.MediaPlayer2.Player");
        QCOMPARE(player.keys().join(' '),
                 QString("CanControl CanGoNext CanGoPrevious CanPause CanPlay CanSeek MaximumRate "
                         "Metadata MinimumRate PlaybackStatus Position Rate Volume"));
        QCOMPARE(player["CanGoNext"], QVariant(false)); // it is alone in its folder
        QCOMPARE(player["Rate"], QVariant(1.0));
        set("org.mpris.MediaPlayer2.Player", "Rate", 16.0);
        QTRY_COMPARE(m_player->mpv()->getProperty("speed"), player["MaximumRate"]);
        QVERIFY(player["Position"].toLongLong() >= 1000000);
        const QVariantMap root = properties("org.mpris.MediaPlayer2");
        QCOMPARE(root["Identity"], QVariant("青柚云盘"));
        QCOMPARE(root["CanRaise"], QVariant(true));

        QCOMPARE(call("Player", "OpenUri", {"http://127.0.0.1/film.mkv"}).errorName(),
                 QString("org.freedesktop.DBus.Error.NotSupported"));
        call("Player", "SetPosition",
             {QVariant::fromValue(QDBusObjectPath("/another")), qlonglong(40000000)});
        QVERIFY(m_player->mpv()->position() < 40);
        for (const bool isFull : {true, false}) {
            set("org.mpris.MediaPlayer2", "Fullscreen", isFull);
            QTRY_COMPARE(m_player->window()->isFullScreen(), isFull);
            QTRY_COMPARE(properties("org.mpris.MediaPlayer2")["Fullscreen"], QVariant(isFull));
        }
        call("Player", "Stop", {});
        QTRY_COMPARE(properties("org.mpris.MediaPlayer2.Player")["PlaybackStatus"],
                     QVariant("Paused"));
        m_player->window()->showMinimized();
        call(QString(), "Raise", {});
        QTRY_VERIFY(!m_player->window()->isMinimized());
        call(QString(), "Quit", {});
        QTRY_VERIFY(!m_player->window());
        QTRY_VERIFY(!isRegistered(PlayerName));
    }

    void isHiddenWhereTheUserWantsThat()
    {
        m_player->addClip(First, Long);
        m_player->open(First);
        QTRY_VERIFY(isRegistered(PlayerName));
        auto *const entry = m_player->window()->findChild<QAction *>("desktopControls");
        entry->trigger();
        QTRY_VERIFY(!isRegistered(PlayerName));
        QVERIFY(!AppSettings().desktopControls());
        entry->trigger();
        QTRY_VERIFY(isRegistered(PlayerName));
    }

    void aSecondProgramHasANameOfItsOwn()
    {
        const StandIn first(PlayerName.toLatin1());
        m_player->addClip(First, Long);
        m_player->open(First);
        QTRY_VERIFY(isRegistered(PlayerName + ".instance" +
                                 QString::number(QCoreApplication::applicationPid())));
    }

    void knowsAJumpFromPlayingOn()
    {
        ExpectedPlace standing;
        standing.tell(10, 0);
        QVERIFY(!standing.isOff(10.2, 0.3));
        QVERIFY(standing.isOff(10.4, 0.3));
        QVERIFY(standing.isOff(9.6, 0.3));
        ExpectedPlace fast;
        fast.tell(0, 1e9);
        QVERIFY(fast.isOff(0, 0.3));
    }

public:
    static inline pid_t s_daemon = 0;

private:
    static bool isRegistered(const QString &name)
    {
        return QDBusConnection::sessionBus().interface()->isServiceRegistered(name);
    }
    // The player answers on this thread.
    static QDBusMessage answered(const QDBusMessage &message)
    {
        const QDBusPendingCall answer = QDBusConnection::sessionBus().asyncCall(message);
        const bool isDone = QTest::qWaitFor([&answer] { return answer.isFinished(); }, LongestWait);
        return isDone ? answer.reply() : QDBusMessage();
    }
    static QDBusMessage call(const QString &part, const QString &method, const QVariantList &with)
    {
        const QString interface = "org.mpris.MediaPlayer2" + (part.isEmpty() ? part : "." + part);
        QDBusMessage message =
            QDBusMessage::createMethodCall(PlayerName, PlayerPath, interface, method);
        message.setArguments(with);
        return answered(message);
    }
    static QVariantMap properties(const QString &interface)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            PlayerName, PlayerPath, "org.freedesktop.DBus.Properties", "GetAll");
        message.setArguments({interface});
        return qdbus_cast<QVariantMap>(answered(message).arguments().value(0));
    }
    static void set(const QString &interface, const QString &property, const QVariant &value)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            PlayerName, PlayerPath, "org.freedesktop.DBus.Properties", "Set");
        message.setArguments({interface, property, QVariant::fromValue(QDBusVariant(value))});
        answered(message);
    }
    static QString playerctl(const QStringList &arguments)
    {
        QProcess process;
        process.start("playerctl", QStringList{"--player=moravu"} + arguments);
        const bool isDone = QTest::qWaitFor(
            [&process] { return process.state() == QProcess::NotRunning; }, LongestWait);
        return isDone ? QString::fromUtf8(process.readAllStandardOutput()).trimmed() : QString();
    }

    std::unique_ptr<PlayerFixture> m_player;
    QVector<qlonglong> m_seeked;
    QStringList m_changes;
};

int main(int argc, char *argv[])
{
    QProcess daemon;
    daemon.start("dbus-daemon", {"--session", "--nofork", "--print-address=1"});
    if (!daemon.waitForReadyRead(LongestWait)) {
        qFatal("no bus could be started");
    }
    qputenv("DBUS_SESSION_BUS_ADDRESS", daemon.readLine().trimmed());
    TestDesktopServices::s_daemon = pid_t(daemon.processId());
    const int result = runTest<TestDesktopServices, QApplication>(argc, argv);
    daemon.kill();
    daemon.waitForFinished();
    return result;
}

#include "tst_desktop_services.moc"
