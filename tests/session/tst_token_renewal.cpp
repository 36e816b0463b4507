#include <QElapsedTimer>
#include <QLockFile>
#include <QSqlQuery>
#include <QTest>
#include <QTimer>

#include "api/records/account_records.h"
#include "api/session/open_api_client.h"
#include "api/session/session.h"
#include "app/environment/app_settings.h"
#include "app/environment/data_dir.h"
#include "db/tables/operations.h"
#include "net/reply_guard.h"
#include "session/drive_fixture.h"
#include "support/fault_on.h"

namespace {

constexpr int LongAgo = 30 * 86400;
const std::string TokenPath = "/app/oauth/accessToken";
const std::string DrivePath = "/adrive/v1.0/user/getDriveInfo";
const QString FailureText = "获取授权信息失败";
const char NewPair[] = R"({"accessToken": "a2", "refreshToken": "r2"})";

// How one "drive info" ended; the id it brought is that of the token's owner.
struct Outcome
{
    int successes = 0;
    int failures = 0;
    int code = 0;
    QString userId;

    int calls() const { return successes + failures; }
};

void ask(const UserInfo &user, Outcome &outcome)
{
    OpenApiClient(user).driveInfo(
        [&outcome](const DriveInfo &info) {
            ++outcome.successes;
            outcome.userId = info.user_id;
        },
        [&outcome](const QString &, int code) {
            ++outcome.failures;
            outcome.code = code;
        });
}

UserInfo stored(const UserInfo &user)
{
    UserInfo row;
    loadUserInfo(user.userId.value(), row);
    return row;
}

QStringList tokens(const UserInfo &user)
{
    return {user.accessToken.value(), user.refreshToken.value(), user.tokenType.value(),
            QString::number(user.tokenExpiresIn.value())};
}

} // namespace

// What happens while a renewal is under way.
using Meanwhile = std::function<void(const UserInfo &)>;
Q_DECLARE_METATYPE(Meanwhile)
Q_DECLARE_METATYPE(localdrive::Fault)

class TestTokenRenewal final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_drive = std::make_unique<DriveFixture>(2);
        m_shown.clear();
        Session::instance().setNotifier([this](const QString &text) { m_shown.append(text); });
    }
    void cleanup()
    {
        Session::instance().setNotifier({});
        m_drive.reset();
    }
    void anExpiredTokenIsRenewedFirst()
    {
        const UserInfo current = m_drive->logIn(1, 7100);
        const UserInfo user = m_drive->logIn(0, LongAgo);
        Session::instance().setCurrentUser(current);
        LogCapture log;
        Outcome outcome;
        ask(user, outcome);
        QCOMPARE(outcome.calls(), 0);
        QTRY_COMPARE(outcome.userId, user.userId.value());

        const auto requests = m_drive->server().requests();
        QCOMPARE(requests.size(), std::size_t(3)); // the second one is the backend's
        QCOMPARE(text(requests[0].method + ' ' + requests[0].path), text("GET " + TokenPath));
        const std::multimap<std::string, std::string> query{
            {"refreshToken", user.refreshToken.value().toStdString()}, {"alphaTestNum", ""}};
        QCOMPARE(requests[0].query, query);
        const UserInfo renewed = stored(user);
        QVERIFY(renewed.accessToken.value() != user.accessToken.value());
        QVERIFY(renewed.refreshToken.value() != user.refreshToken.value());
        QVERIFY(qAbs(renewed.updateTime.value().secsTo(QDateTime::currentDateTimeUtc())) < 5);
        QCOMPARE(renewed.driveId.value(), user.driveId.value());
        QCOMPARE(header(requests[2], "authorization"), "Bearer " + renewed.accessToken.value());
        QVERIFY(log.lines().contains("Refresh token success."));
        QVERIFY(m_shown.isEmpty());
        QCOMPARE(tokens(stored(current)), tokens(current));
        QCOMPARE(AppSettings().curUserId(), current.userId.value());

        // A caller's copy of the user goes stale; its next operation takes the stored token. Nor is
        // the other user's renewed, which is valid.
        ask(user, outcome);
        ask(current, outcome);
        QTRY_COMPARE(outcome.successes, 3);
        QCOMPARE(asked(TokenPath), 1);
    }
    void theRefreshTokenIsEncoded()
    {
        const UserInfo user = m_drive->logIn(0, LongAgo);
        const QString token = "a+b&c=d %2B/青";
        QVERIFY(storeTokens(user.userId.value(), "a", token, QString(), -1));
        m_drive->server().revokeTokens(0);
        Outcome outcome;
        ask(user, outcome);
        QTRY_COMPARE(outcome.calls(), 1);
        QCOMPARE(text(m_drive->requests(text(TokenPath))[0].query.find("refreshToken")->second),
                 token);
    }
    void operationsShareARenewal()
    {
        const UserInfo user = m_drive->logIn(0, LongAgo);
        add(FaultOn(TokenPath).delay(300));
        Outcome outcome;
        for (int i = 0; i < 5; ++i) {
            ask(user, outcome);
        }
        // More of them start in the middle of the wait.
        QList<int> order;
        for (int i = 0; i < 3; ++i) {
            QTimer::singleShot(50 + i * 50, this, [&order, &user, &outcome, i] {
                ask(user, outcome);
                Session::instance().renewTokens(user.userId.value(), [&order, i](bool renewed) {
                    order << (renewed ? i : -1);
                });
            });
        }
        QTRY_COMPARE(outcome.successes, 8);
        QCOMPARE(order, (QList<int>{0, 1, 2}));
        QCOMPARE(asked(TokenPath), 1);
        QCOMPARE(asked(DrivePath), 8);
    }
    void aRenewalThatFailsIsSaidOnce_data()
    {
        QTest::addColumn<localdrive::Fault>("fault");
        const auto row = [](const char *name, const FaultOn &fault) {
            QTest::newRow(name) << localdrive::Fault(fault);
        };
        const FaultOn any = FaultOn(TokenPath).always();
        row("backend error", FaultOn(any).status(500));
        row("refused, with a pair in the body", FaultOn(any).status(400).body(NewPair));
        row("cut before the reply", FaultOn(any).closes());
        row("cut inside the reply", FaultOn(any).cuts());
        row("empty reply", FaultOn(any).body(""));
        row("reply without token", FaultOn(any).body(R"({"refreshToken": "r"})"));
        row("reply of 2 MB", FaultOn(any).body(std::string(2 << 20, ' ') + NewPair));
        row("backend down", FaultOn("/nobody"));
    }
    void aRenewalThatFailsIsSaidOnce()
    {
        QFETCH(localdrive::Fault, fault);
        const UserInfo user = m_drive->logIn(0, LongAgo);
        if (fault.path == "/nobody") {
            localdrive::Server backend;
            QVERIFY(backend.start());
            qputenv("MORAVU_BACKEND_BASE", QByteArray::fromStdString(backend.baseUrl()));
        }
        m_drive->server().addFault(fault);
        Outcome outcome;
        for (int i = 0; i < 3; ++i) {
            ask(user, outcome);
        }
        // The old token is sent all the same, and the server decides.
        QTRY_COMPARE(outcome.successes, 3);
        QCOMPARE(m_shown, QStringList{FailureText});
        QCOMPARE(asked(TokenPath), fault.path == "/nobody" ? 0 : 1);
        QCOMPARE(tokens(stored(user)), tokens(user));
        QCOMPARE(stored(user).updateTime.value(), user.updateTime.value());
    }
    // The old pair is spent: losing the new one would end the login.
    void aPairThatCannotBeWrittenIsKept()
    {
        const UserInfo user = m_drive->logIn(0, LongAgo);
        QVERIFY(QSqlQuery().exec("PRAGMA query_only = 1"));
        Outcome outcome;
        ask(user, outcome);
        QTRY_COMPARE(outcome.successes, 1);
        QCOMPARE(m_shown, QStringList());
        QVERIFY(tokens(stored(user)) != tokens(user));
        ask(stored(user), outcome);
        QTRY_COMPARE(outcome.successes, 2);
        QCOMPARE(asked(TokenPath), 1);
    }
    void aPairThatHasNoPlaceIsKept_data()
    {
        QTest::addColumn<bool>("isSaid");
        QTest::addColumn<QString>("take");
        QTest::addColumn<QString>("giveBack");
        QTest::addColumn<QString>("complaint");
        const QString take = "ALTER TABLE UserInfo RENAME TO Away";
        const QString giveBack = "ALTER TABLE Away RENAME TO UserInfo";
        QTest::newRow("for a moment") << false << take << giveBack << "no such table";
        QTest::newRow("until the renewal has failed")
            << true << take << giveBack << "no such table";
        QTest::newRow("for a writer") << false
                                      << "CREATE TRIGGER Held BEFORE INSERT ON UserInfo BEGIN"
                                         " SELECT RAISE(ABORT, 'not now'); END"
                                      << "DROP TRIGGER Held"
                                      << "not now";
    }
    void aPairThatHasNoPlaceIsKept()
    {
        QFETCH(bool, isSaid);
        QFETCH(QString, take);
        QFETCH(QString, giveBack);
        QFETCH(QString, complaint);
        const UserInfo user = m_drive->logIn(0, LongAgo);
        add(FaultOn(TokenPath).delay(300));
        const LogCapture log;
        Outcome outcome;
        ask(user, outcome);
        QTimer watch; // the renewal's wait runs above the test's
        connect(&watch, &QTimer::timeout, this, [&] {
            if (asked(TokenPath) == 1) {
                watch.stop();
                QVERIFY(QSqlQuery().exec(take));
            }
        });
        watch.start(10);
        QTRY_VERIFY(log.contains(complaint) && m_shown.size() == (isSaid ? 1 : 0));
        if (isSaid) {
            QTRY_COMPARE(outcome.calls(), 1);
            const int looks = log.lines().filter(complaint).size();
            QTest::qWait(500); // longer than between two looks
            QCOMPARE(log.lines().filter(complaint).size(), looks);
        }
        QVERIFY(QSqlQuery().exec(giveBack));
        if (isSaid) {
            ask(user, outcome);
        }
        QTRY_VERIFY(outcome.userId == user.userId.value());
        QVERIFY(tokens(stored(user)) != tokens(user));
        QCOMPARE(asked(TokenPath), 1);
    }
    void aBatchOfRefusedRenewalsIsSaidOnce()
    {
        const UserInfo users[] = {m_drive->logIn(1, LongAgo), m_drive->logIn(0, LongAgo)};
        m_drive->server().revokeTokens(0);
        m_drive->server().revokeTokens(1);
        for (const UserInfo &user : users) {
            Outcome outcome;
            ask(user, outcome);
            QTRY_COMPARE(outcome.code, 204);
        }
        QCOMPARE(m_shown, QStringList{FailureText});
        // A failed renewal is not tried again for the same operation.
        QCOMPARE(asked(TokenPath), 2);
        QCOMPARE(asked(DrivePath), 2);
    }
    // However fast they follow each other.
    void failuresThatGoOnAreSaidAgain()
    {
        m_shown.clear();
        Session::instance().setNotifier([this](const QString &text) { m_shown.append(text); },
                                        std::chrono::milliseconds(300));
        const UserInfo user = m_drive->logIn(0, LongAgo);
        add(FaultOn(TokenPath).always().status(500));
        const QDeadlineTimer patience(5000);
        int renewals = 0;
        while (m_shown.size() < 2 && !patience.hasExpired()) {
            Outcome outcome;
            ask(user, outcome);
            QTRY_COMPARE(outcome.calls(), 1);
            ++renewals;
        }
        QCOMPARE(m_shown, QStringList({FailureText, FailureText}));
        QCOMPARE(asked(TokenPath), renewals);
    }
    void aRepetitionWaitsForItsTurn()
    {
        const UserInfo user = m_drive->logIn(0);
        add(FaultOn("getSpaceInfo").status(429));
        add(FaultOn(DrivePath).delay(200).status(401));
        Outcome outcome;
        OpenApiClient(user).spaceInfo({}, {}); // holds the user back for a second
        ask(user, outcome);
        QTRY_COMPARE(outcome.successes, 1);
        const auto refused = m_drive->requests("/adrive/v1.0/user/getSpaceInfo");
        QVERIFY(m_drive->requests(text(DrivePath)).at(1).time - refused.at(0).time >= 950);
    }
    void whatAReplyLacksStaysAsItWas()
    {
        const UserInfo user = m_drive->logIn(0, LongAgo);
        add(FaultOn(DrivePath).always().status(200).body("{}"));
        add(FaultOn(TokenPath).body(R"({"accessToken": "a2", "expiresIn": -1})"));
        Outcome outcome;
        ask(user, outcome);
        QTRY_COMPARE(outcome.calls(), 1);
        QCOMPARE(tokens(stored(user)),
                 (QStringList{"a2", user.refreshToken.value(), "Bearer", "-1"}));
        // A token without a lifetime is not renewed again.
        ask(user, outcome);
        QTRY_COMPARE(outcome.calls(), 2);
        QCOMPARE(asked(TokenPath), 1);
    }
    // A trickle is no answer.
    void aBackendWithoutEndIsLeftAfterFifteenSeconds()
    {
        const UserInfo user = m_drive->logIn(0, LongAgo);
        add(FaultOn(TokenPath).trickles(4));
        int ticks = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this, [&] { ++ticks; });
        ticker.start(100);
        QElapsedTimer clock;
        clock.start();
        const std::clock_t cpuBefore = std::clock();
        Outcome outcome;
        ask(user, outcome);
        QTRY_COMPARE_WITH_TIMEOUT(outcome.successes, 1, 20000);
        const double cpuSeconds = double(std::clock() - cpuBefore) / CLOCKS_PER_SEC;
        // Qt's timer for it is a coarse one: a twentieth to either side.
        QVERIFY2(clock.elapsed() >= 14200 && clock.elapsed() < 17000,
                 qPrintable(QString::number(clock.elapsed())));
        // The interface went on, and the wait slept in between.
        QVERIFY2(ticks > 120, qPrintable(QString::number(ticks)));
        QVERIFY2(cpuSeconds < 3, qPrintable(QString::number(cpuSeconds)));
        QCOMPARE(m_shown, QStringList{FailureText});
    }
    void eventsDuringTheRenewal_data()
    {
        QTest::addColumn<localdrive::Fault>("fault");
        QTest::addColumn<Meanwhile>("event");
        QTest::addColumn<int>("code");            // 0 for a success
        QTest::addColumn<QString>("accessToken"); // empty for any but the old one
        const auto row = [](const char *name, const FaultOn &fault, const Meanwhile &event,
                            int code, const QString &token) {
            QTest::newRow(name) << localdrive::Fault(fault) << event << code << token;
        };
        const auto store = [](const UserInfo &user) {
            QVERIFY(storeTokens(user.userId.value(), "a9", "r9", QString(), 7200));
        };
        const FaultOn slow = FaultOn(TokenPath).delay(300);
        row(
            "the user logs out", slow,
            [](const UserInfo &user) { removeUser(user.userId.value()); }, -1, "none");
        row("the user logs in again", slow, store, 204, "a9");
        row(
            "another user becomes the current one", slow,
            [](const UserInfo &) { AppSettings().setCurUserId("x"); }, 0, "");
        row("another process stores its pair, this one is refused",
            FaultOn(TokenPath).delay(300).status(400), store, 204, "a9");
        row("another process stores its pair a moment after the refusal",
            FaultOn(TokenPath).status(401), store, 204, "a9");
        row(
            "the user logs out a moment after the refusal", FaultOn(TokenPath).status(401),
            [](const UserInfo &user) { removeUser(user.userId.value()); }, -1, "none");
    }
    void eventsDuringTheRenewal()
    {
        QFETCH(localdrive::Fault, fault);
        QFETCH(Meanwhile, event);
        QFETCH(int, code);
        QFETCH(QString, accessToken);
        const UserInfo user = m_drive->logIn(0, LongAgo);
        m_drive->server().addFault(fault);
        add(FaultOn(TokenPath).always().status(500)); // for the pair that the drive does not know
        Outcome outcome;
        ask(user, outcome);
        QTimer::singleShot(150, this, [&] { event(user); });
        QTRY_COMPARE(outcome.calls(), 1);
        QCOMPARE(outcome.code, code);
        QCOMPARE(outcome.userId, code == 0 ? user.userId.value() : QString());
        UserInfo after;
        after.accessToken = QString("none");
        loadUserInfo(user.userId.value(), after);
        QVERIFY(after.accessToken.value() != user.accessToken.value());
        QVERIFY(accessToken.isEmpty() || after.accessToken.value() == accessToken);
        // What failed is the renewal of "r9", if any.
        QCOMPARE(m_shown.size(), accessToken == "a9" ? 1 : 0);
    }
    void thePairOfAnotherProcessIsTaken_data()
    {
        QTest::addColumn<bool>("isRenewing"); // or it stores its pair after ours has failed
        QTest::newRow("while it renews") << true;
        QTest::newRow("after the renewal has failed here") << false;
    }
    void thePairOfAnotherProcessIsTaken()
    {
        QFETCH(bool, isRenewing);
        const UserInfo user = m_drive->logIn(0, LongAgo);
        QLockFile other(dataDir() + "/renewal.lock");
        if (isRenewing) {
            QVERIFY(other.lock());
            QTimer::singleShot(500, this, [&] {
                m_drive->logIn(0);
                other.unlock();
            });
        } else {
            add(FaultOn(TokenPath).status(500));
            add(FaultOn(DrivePath).holds());
        }
        Outcome outcome;
        ask(user, outcome);
        if (!isRenewing) {
            QTRY_COMPARE(asked(DrivePath), 1);
            m_drive->server().revokeTokens(0);
            m_drive->logIn(0);
            m_drive->server().clearFaults();
        }
        QTRY_COMPARE(outcome.userId, user.userId.value());
        QCOMPARE(asked(TokenPath), isRenewing ? 0 : 1);
        QCOMPARE(m_shown.size(), isRenewing ? 0 : 1);
    }
    void usersRenewOneAfterTheOther()
    {
        const UserInfo first = m_drive->logIn(0, LongAgo);
        const UserInfo second = m_drive->logIn(1, LongAgo);
        add(FaultOn(TokenPath).times(2).delay(200));
        Outcome ofFirst;
        Outcome ofSecond;
        ask(first, ofFirst);
        ask(second, ofSecond);
        QTRY_COMPARE(ofFirst.userId, first.userId.value());
        QTRY_COMPARE(ofSecond.userId, second.userId.value());
        const auto renewals = m_drive->requests(text(TokenPath));
        QCOMPARE(renewals.size(), std::size_t(2));
        QVERIFY(renewals[1].time - renewals[0].time >= 190);
    }
    void aRejectedTokenIsRenewedOnce_data()
    {
        QTest::addColumn<int>("rejections");
        QTest::addColumn<int>("secondsAgo");
        QTest::addColumn<bool>("isCurrent");
        QTest::addColumn<bool>("isRefused");
        QTest::addColumn<int>("sent");
        QTest::addColumn<int>("renewals");
        QTest::newRow("once") << 1 << 0 << true << false << 2 << 1;
        QTest::newRow("once, another user's") << 1 << 0 << false << false << 2 << 1;
        QTest::newRow("once, after it had run out and was renewed")
            << 1 << LongAgo << true << false << 2 << 2;
        QTest::newRow("twice") << 2 << 0 << true << false << 2 << 1;
        QTest::newRow("once, and the renewal is refused") << 1 << 0 << true << true << 1 << 1;
    }
    void aRejectedTokenIsRenewedOnce()
    {
        QFETCH(int, rejections);
        QFETCH(int, secondsAgo);
        QFETCH(bool, isCurrent);
        QFETCH(bool, isRefused);
        QFETCH(int, sent);
        const UserInfo user = m_drive->logIn(0, secondsAgo);
        if (!isCurrent) {
            m_drive->logIn(1);
        }
        add(FaultOn(DrivePath).times(rejections).status(401));
        if (isRefused) {
            add(FaultOn(TokenPath).status(503));
        }
        LogCapture log;
        Outcome outcome;
        ask(user, outcome);
        QTRY_COMPARE(outcome.calls(), 1);
        QTest::qWait(50);
        const auto requests = m_drive->requests(text(DrivePath));
        QCOMPARE(int(requests.size()), sent);
        QTEST(asked(TokenPath), "renewals");
        QCOMPARE(outcome.code, rejections < sent ? 0 : 204);
        QCOMPARE(outcome.userId, rejections < sent ? user.userId.value() : QString());
        QCOMPARE(m_shown.size(), isRefused ? 1 : 0);
        QCOMPARE(log.lines().filter("repeat request").size(), sent == 2 && isCurrent ? 1 : 0);
        if (sent == 2) {
            QCOMPARE(requests[1].method + requests[1].body, requests[0].method + requests[0].body);
            QCOMPARE(header(requests[1], "authorization"),
                     "Bearer " + stored(user).accessToken.value());
            QVERIFY(header(requests[1], "authorization") != header(requests[0], "authorization"));
        }
    }
    void aTokenRenewedMeanwhileIsTaken()
    {
        const UserInfo user = m_drive->logIn(0);
        add(FaultOn(DrivePath).delay(300).status(401));
        Outcome outcome;
        ask(user, outcome);
        QTRY_COMPARE(asked(DrivePath), 1);
        const localdrive::Tokens fresh = m_drive->server().loginDirectly(0);
        QVERIFY(storeTokens(user.userId.value(), text(fresh.accessToken), text(fresh.refreshToken),
                            QString(), 7200));
        QTRY_COMPARE(outcome.successes, 1);
        QCOMPARE(asked(TokenPath), 0);
    }
    // As a dialog that the user opens meanwhile: its loop runs above the renewal's wait.
    void aDialogOpenedDuringTheRenewalIsServed()
    {
        const UserInfo user = m_drive->logIn(0, LongAgo);
        const UserInfo other = m_drive->logIn(1, LongAgo);
        add(FaultOn(TokenPath).delay(300));
        Outcome outcome;
        ask(user, outcome);
        bool isServed = false;
        QTimer::singleShot(100, this, [&] {
            QEventLoop dialog;
            QTimer::singleShot(5000, &dialog, &QEventLoop::quit);
            QTimer watch;
            connect(&watch, &QTimer::timeout, &dialog, [&] {
                isServed = outcome.successes == 3;
                if (isServed) {
                    dialog.quit();
                }
            });
            watch.start(20);
            ask(user, outcome);
            ask(other, outcome);
            dialog.exec();
        });
        QTRY_COMPARE_WITH_TIMEOUT(outcome.successes, 3, 8000);
        QVERIFY2(isServed, "served only after the dialog was closed");
        QCOMPARE(asked(TokenPath), 2);
    }
    void quittingDuringTheRenewalKeepsTheNewPairAndStartsNoOther()
    {
        const UserInfo other = m_drive->logIn(1, LongAgo);
        const UserInfo user = m_drive->logIn(0, LongAgo);
        add(FaultOn(TokenPath).delay(300));
        Outcome outcome;
        bool isEnding = false;
        Session::instance().setEnding([&isEnding] { return isEnding; });
        QTimer::singleShot(0, this, [&] {
            ask(user, outcome);
            ask(other, outcome);
        });
        QTimer::singleShot(100, this, [&] {
            isEnding = true;
            QCoreApplication::quit();
        });
        QElapsedTimer clock;
        clock.start();
        QCoreApplication::exec();
        QVERIFY(clock.elapsed() < 2000);
        QVERIFY(stored(user).refreshToken.value() != user.refreshToken.value());
        QCoreApplication::processEvents();
        QCOMPARE(asked(TokenPath), 1);
        isEnding = false; // one that goes on all the same renews as before
        ask(other, outcome);
        QTRY_COMPARE(outcome.userId, other.userId.value());
        Session::instance().setEnding([] { return false; });
    }

private:
    void add(const FaultOn &fault) { m_drive->server().addFault(fault); }
    int asked(const std::string &path) const { return int(m_drive->requests(text(path)).size()); }

    std::unique_ptr<DriveFixture> m_drive;
    QStringList m_shown;
};

QTEST_GUILESS_MAIN(TestTokenRenewal)
#include "tst_token_renewal.moc"
