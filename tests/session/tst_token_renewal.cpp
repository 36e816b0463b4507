#include <QElapsedTimer>
#include <QPointer>
#include <QTest>
#include <QTimer>

#include "api/records/account_records.h"
#include "api/session/open_api_client.h"
#include "api/session/session.h"
#include "app/environment/app_settings.h"
#include "db/tables/operations.h"
#include "net/guarded.h"
#include "session/drive_fixture.h"

namespace {

constexpr int longAgo = 30 * 86400;
const QString tokenPath = QStringLiteral("/app/oauth/accessToken");
const QString drivePath = QStringLiteral("/adrive/v1.0/user/getDriveInfo");
const QString failureText = QStringLiteral("获取授权信息失败");

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

UserInfo stored(const QString &userId)
{
    UserInfo user;
    loadUserInfo(userId, user);
    return user;
}

localdrive::Fault onTokens()
{
    localdrive::Fault fault;
    fault.path = tokenPath.toStdString();
    return fault;
}

localdrive::Fault onDriveInfo(int status, int count)
{
    localdrive::Fault fault;
    fault.path = drivePath.toStdString();
    fault.status = status;
    fault.count = count;
    return fault;
}

} // namespace

class TestTokenRenewal final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void aValidTokenIsUsedAsItIs();
    void anExpiredTokenIsRenewedFirst();
    void theRefreshTokenIsEncoded();
    void aTokenWithoutLifetimeIsNotRenewedAgain();
    void operationsShareARenewal();
    void theNewPairBelongsToTheOperationsUser();
    void aSwitchOfUsersDuringARenewalMixesNothing();
    void twoUsersRenewAtOnce();
    void aRefreshDuringARenewalSharesIt();
    void aFailedRenewalShowsOnceAndUsesTheOldToken_data();
    void aFailedRenewalShowsOnceAndUsesTheOldToken();
    void aBackendThatIsDownIsAFailedRenewal();
    void aRenewalThatFailedIsNotTriedAgain();
    void aPartialReplyKeepsTheRest();
    void aFrozenBackendIsLeftAfterFifteenSeconds();
    void aRejectedTokenIsRenewedAndTheRequestRepeated();
    void aSecondRejectionReachesTheCaller();
    void aRejectionAfterAFailedRenewalReachesTheCaller();
    void aRejectedRequestOfAnotherUserIsNotRepeated();
    void aSwitchOfUsersAfterARejectionStopsTheRepetition();
    void aTokenRenewedMeanwhileIsTakenWithoutAnotherRenewal();
    void aLogoutDuringTheRenewalEndsTheOperation();
    void aLoginDuringTheRenewalWins();
    void aDialogOpenedDuringTheRenewalIsServed();
    void aCallerMayGoDuringTheRenewal();
    void quittingDuringTheRenewalKeepsTheNewPair();

private:
    std::unique_ptr<DriveFixture> m_drive;
    QStringList m_shown;
};

void TestTokenRenewal::init()
{
    m_drive = std::make_unique<DriveFixture>(2);
    m_shown.clear();
    Session::instance().setNotifier([this](const QString &message) { m_shown.append(message); });
}

void TestTokenRenewal::cleanup()
{
    Session::instance().setNotifier({});
    m_drive.reset();
}

void TestTokenRenewal::aValidTokenIsUsedAsItIs()
{
    const UserInfo user = m_drive->logIn(0, 7100);
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(outcome.successes, 1);
    QCOMPARE(m_drive->server().requests().size(), std::size_t(1));
}

void TestTokenRenewal::anExpiredTokenIsRenewedFirst()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    LogCapture log;
    Outcome outcome;
    ask(user, outcome);
    QCOMPARE(outcome.calls(), 0);
    QTRY_COMPARE(outcome.successes, 1);

    const auto requests = m_drive->server().requests();
    QCOMPARE(requests.size(), std::size_t(2));
    QCOMPARE(text(requests[0].method), QStringLiteral("GET"));
    QCOMPARE(text(requests[0].path), tokenPath);
    const std::multimap<std::string, std::string> query{
        {"refreshToken", user.refreshToken.value().toStdString()}, {"alphaTestNum", ""}};
    QCOMPARE(requests[0].query, query);

    const UserInfo renewed = stored(user.userId.value());
    QVERIFY(renewed.accessToken.value() != user.accessToken.value());
    QVERIFY(renewed.refreshToken.value() != user.refreshToken.value());
    QVERIFY(qAbs(renewed.updateTime.value().secsTo(QDateTime::currentDateTimeUtc())) < 5);
    QCOMPARE(renewed.driveId.value(), user.driveId.value());
    QCOMPARE(header(requests[1], "authorization"),
             QStringLiteral("Bearer ") + renewed.accessToken.value());
    QVERIFY(log.lines().contains(QStringLiteral("Refresh token success.")));
    QVERIFY(m_shown.isEmpty());

    // The caller's copy of the user has gone stale; its next operation takes the stored token.
    ask(user, outcome);
    QTRY_COMPARE(outcome.successes, 2);
    QCOMPARE(m_drive->requests(tokenPath).size(), std::size_t(1));
}

void TestTokenRenewal::theRefreshTokenIsEncoded()
{
    UserInfo user = m_drive->logIn(0, longAgo);
    const QString token = QStringLiteral("a+b&c=d %2B/青");
    QVERIFY(storeTokens(user.userId.value(), user.accessToken.value(), token, QString(), -1));
    user = stored(user.userId.value());
    Outcome outcome;
    m_drive->server().revokeTokens(0);
    ask(user, outcome);
    QTRY_COMPARE(outcome.calls(), 1);
    const auto requests = m_drive->requests(tokenPath);
    QCOMPARE(requests.size(), std::size_t(1));
    QCOMPARE(requests[0].query.size(), std::size_t(2));
    QCOMPARE(text(requests[0].query.find("refreshToken")->second), token);
}

void TestTokenRenewal::aTokenWithoutLifetimeIsNotRenewedAgain()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault fault = onTokens();
    fault.body = R"({"accessToken": "a2", "refreshToken": "r2", "tokenType": "Bearer"})";
    m_drive->server().addFault(fault);
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(outcome.calls(), 1);
    QCOMPARE(stored(user.userId.value()).accessToken.value(), QStringLiteral("a2"));
    QCOMPARE(stored(user.userId.value()).tokenExpiresIn.value(), 0);
    m_drive->server().clearRequests();
    AppSettings().setCurUserId(QString());
    ask(user, outcome);
    QTRY_COMPARE(outcome.calls(), 2);
    QVERIFY(m_drive->requests(tokenPath).empty());
}

void TestTokenRenewal::operationsShareARenewal()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(300);
    m_drive->server().addFault(slow);
    Outcome outcomes[20];
    for (int i = 0; i < 10; ++i) {
        ask(user, outcomes[i]);
    }
    // More of them start in the middle of the wait.
    QTimer::singleShot(150, this, [&] {
        for (int i = 10; i < 20; ++i) {
            ask(user, outcomes[i]);
        }
    });
    for (const Outcome &outcome : outcomes) {
        QTRY_COMPARE(outcome.successes, 1);
        QCOMPARE(outcome.failures, 0);
    }
    QCOMPARE(m_drive->requests(tokenPath).size(), std::size_t(1));
    QCOMPARE(m_drive->requests(drivePath).size(), std::size_t(20));
}

void TestTokenRenewal::theNewPairBelongsToTheOperationsUser()
{
    const UserInfo expired = m_drive->logIn(0, longAgo);
    const UserInfo current = m_drive->logIn(1);
    Outcome outcome;
    ask(expired, outcome);
    QTRY_COMPARE(outcome.successes, 1);
    QCOMPARE(outcome.userId, expired.userId.value());
    QVERIFY(stored(expired.userId.value()).accessToken.value() != expired.accessToken.value());
    QCOMPARE(stored(current.userId.value()).accessToken.value(), current.accessToken.value());
    QCOMPARE(AppSettings().curUserId(), current.userId.value());
}

void TestTokenRenewal::aSwitchOfUsersDuringARenewalMixesNothing()
{
    const UserInfo second = m_drive->logIn(1);
    const UserInfo first = m_drive->logIn(0, longAgo);
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(300);
    m_drive->server().addFault(slow);
    Outcome ofFirst;
    Outcome ofSecond;
    ask(first, ofFirst);
    QTimer::singleShot(100, this, [&] {
        AppSettings().setCurUserId(second.userId.value());
        ask(second, ofSecond);
    });
    QTRY_COMPARE(ofSecond.successes, 1);
    QCOMPARE(ofFirst.calls(), 0);
    QTRY_COMPARE(ofFirst.successes, 1);
    QCOMPARE(ofFirst.userId, first.userId.value());
    QCOMPARE(ofSecond.userId, second.userId.value());
    QCOMPARE(stored(second.userId.value()).accessToken.value(), second.accessToken.value());
    QVERIFY(stored(first.userId.value()).accessToken.value() != first.accessToken.value());
}

void TestTokenRenewal::twoUsersRenewAtOnce()
{
    const UserInfo first = m_drive->logIn(0, longAgo);
    const UserInfo second = m_drive->logIn(1, longAgo);
    localdrive::Fault slow = onTokens();
    slow.count = 2;
    slow.delay = localdrive::Milliseconds(200);
    m_drive->server().addFault(slow);
    Outcome ofFirst;
    Outcome ofSecond;
    ask(first, ofFirst);
    ask(second, ofSecond);
    QTRY_COMPARE(ofFirst.successes + ofSecond.successes, 2);
    QCOMPARE(ofFirst.userId, first.userId.value());
    QCOMPARE(ofSecond.userId, second.userId.value());
    QCOMPARE(m_drive->requests(tokenPath).size(), std::size_t(2));
}

void TestTokenRenewal::aRefreshDuringARenewalSharesIt()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(300);
    m_drive->server().addFault(slow);
    QList<int> order;
    for (int i = 0; i < 3; ++i) {
        QTimer::singleShot(i * 80, this, [&order, &user, i] {
            Session::instance().renewTokens(
                user.userId.value(), [&order, i](bool renewed) { order << (renewed ? i : -1); });
        });
    }
    QTRY_COMPARE(order.size(), 3);
    QCOMPARE(order, (QList<int>{0, 1, 2}));
    QCOMPARE(m_drive->requests(tokenPath).size(), std::size_t(1));
}

void TestTokenRenewal::aFailedRenewalShowsOnceAndUsesTheOldToken_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("wire");
    QTest::addColumn<QByteArray>("body");
    const int whole = int(localdrive::Break::None);
    QTest::newRow("backend error") << 500 << whole << QByteArray();
    QTest::newRow("refresh token refused") << 401 << whole << QByteArray();
    QTest::newRow("cut before the reply")
        << 0 << int(localdrive::Break::CloseBeforeReply) << QByteArray();
    QTest::newRow("cut inside the reply")
        << 0 << int(localdrive::Break::CloseInsideBody) << QByteArray();
    QTest::newRow("empty reply") << 0 << whole << QByteArray("");
    QTest::newRow("reply without token") << 0 << whole << QByteArray("{\"refreshToken\": \"r\"}");
    QTest::newRow("reply that is no JSON") << 0 << whole << QByteArray("<html>");
}

void TestTokenRenewal::aFailedRenewalShowsOnceAndUsesTheOldToken()
{
    QFETCH(int, status);
    QFETCH(int, wire);
    QFETCH(QByteArray, body);
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault fault = onTokens();
    fault.count = -1;
    fault.status = status;
    fault.wire = localdrive::Break(wire);
    if (!body.isNull()) {
        fault.body = body.toStdString();
    }
    m_drive->server().addFault(fault);
    Outcome outcomes[3];
    for (Outcome &outcome : outcomes) {
        ask(user, outcome);
    }
    for (const Outcome &outcome : outcomes) {
        QTRY_COMPARE(outcome.successes, 1);
    }
    QCOMPARE(m_shown, QStringList{failureText});
    const UserInfo after = stored(user.userId.value());
    QCOMPARE(after.accessToken.value(), user.accessToken.value());
    QCOMPARE(after.refreshToken.value(), user.refreshToken.value());
    QCOMPARE(after.updateTime.value(), user.updateTime.value());
}

void TestTokenRenewal::aBackendThatIsDownIsAFailedRenewal()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    // A port that nobody listens on any more: the connection is refused.
    localdrive::Server backend;
    QVERIFY(backend.start());
    qputenv("MORAVU_BACKEND_BASE", QByteArray::fromStdString(backend.baseUrl()));
    backend.stop();
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(outcome.successes, 1);
    QCOMPARE(m_shown, QStringList{failureText});
    QVERIFY(m_drive->requests(tokenPath).empty());
    QCOMPARE(stored(user.userId.value()).refreshToken.value(), user.refreshToken.value());
}

void TestTokenRenewal::aRenewalThatFailedIsNotTriedAgain()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    m_drive->server().revokeTokens(0);
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(outcome.calls(), 1);
    QCOMPARE(outcome.code, 204);
    QCOMPARE(m_shown, QStringList{failureText});
    QCOMPARE(m_drive->requests(tokenPath).size(), std::size_t(1));
    QCOMPARE(m_drive->requests(drivePath).size(), std::size_t(1));
}

void TestTokenRenewal::aPartialReplyKeepsTheRest()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault fault = onTokens();
    fault.body = R"({"accessToken": "a2", "expiresIn": 60})";
    m_drive->server().addFault(fault);
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(stored(user.userId.value()).accessToken.value(), QStringLiteral("a2"));
    const UserInfo after = stored(user.userId.value());
    QCOMPARE(after.refreshToken.value(), user.refreshToken.value());
    QCOMPARE(after.tokenType.value(), user.tokenType.value());
    QCOMPARE(after.tokenExpiresIn.value(), 60);
    QTRY_COMPARE(outcome.calls(), 1);
}

void TestTokenRenewal::aFrozenBackendIsLeftAfterFifteenSeconds()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault fault = onTokens();
    fault.wire = localdrive::Break::Freeze;
    m_drive->server().addFault(fault);
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
    QCOMPARE(m_shown, QStringList{failureText});
    QCOMPARE(stored(user.userId.value()).refreshToken.value(), user.refreshToken.value());
}

void TestTokenRenewal::aRejectedTokenIsRenewedAndTheRequestRepeated()
{
    const UserInfo user = m_drive->logIn(0);
    m_drive->server().addFault(onDriveInfo(401, 1));
    LogCapture log;
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(outcome.calls(), 1);
    QCOMPARE(outcome.successes, 1);
    const auto requests = m_drive->server().requests();
    QCOMPARE(requests.size(), std::size_t(3));
    QCOMPARE(text(requests[1].path), tokenPath);
    QCOMPARE(requests[2].method, requests[0].method);
    QCOMPARE(requests[2].path, requests[0].path);
    QCOMPARE(requests[2].body, requests[0].body);
    QCOMPARE(header(requests[2], "authorization"),
             QStringLiteral("Bearer ") + stored(user.userId.value()).accessToken.value());
    QVERIFY(header(requests[2], "authorization") != header(requests[0], "authorization"));
    QCOMPARE(log.lines().filter(QStringLiteral("repeat request")).size(), 1);
}

void TestTokenRenewal::aSecondRejectionReachesTheCaller()
{
    const UserInfo user = m_drive->logIn(0);
    m_drive->server().addFault(onDriveInfo(401, -1));
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(outcome.calls(), 1);
    QTest::qWait(100);
    QCOMPARE(outcome.failures, 1);
    QCOMPARE(outcome.code, 204);
    QCOMPARE(m_drive->requests(tokenPath).size(), std::size_t(1));
    QCOMPARE(m_drive->requests(drivePath).size(), std::size_t(2));
    QVERIFY(m_shown.isEmpty());
}

void TestTokenRenewal::aRejectionAfterAFailedRenewalReachesTheCaller()
{
    const UserInfo user = m_drive->logIn(0);
    m_drive->server().addFault(onDriveInfo(401, -1));
    localdrive::Fault down = onTokens();
    down.status = 503;
    m_drive->server().addFault(down);
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(outcome.calls(), 1);
    QCOMPARE(outcome.code, 204);
    QCOMPARE(m_shown, QStringList{failureText});
    QCOMPARE(m_drive->requests(drivePath).size(), std::size_t(1));
}

void TestTokenRenewal::aRejectedRequestOfAnotherUserIsNotRepeated()
{
    const UserInfo other = m_drive->logIn(0);
    const UserInfo current = m_drive->logIn(1);
    m_drive->server().addFault(onDriveInfo(401, 1));
    Outcome outcome;
    ask(other, outcome);
    QTRY_COMPARE(outcome.failures, 1);
    QCOMPARE(outcome.code, 204);
    QCOMPARE(m_drive->server().requests().size(), std::size_t(1));
    QCOMPARE(stored(current.userId.value()).accessToken.value(), current.accessToken.value());
}

void TestTokenRenewal::aSwitchOfUsersAfterARejectionStopsTheRepetition()
{
    const UserInfo second = m_drive->logIn(1);
    const UserInfo first = m_drive->logIn(0);
    m_drive->server().addFault(onDriveInfo(401, 1));
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(300);
    m_drive->server().addFault(slow);
    Outcome outcome;
    ask(first, outcome);
    QTimer::singleShot(150, this, [&] { AppSettings().setCurUserId(second.userId.value()); });
    QTRY_COMPARE(outcome.calls(), 1);
    QCOMPARE(AppSettings().curUserId(), second.userId.value());
    QCOMPARE(outcome.code, 204);
    QCOMPARE(m_drive->requests(drivePath).size(), std::size_t(1));
    // The new pair is kept all the same.
    QVERIFY(stored(first.userId.value()).accessToken.value() != first.accessToken.value());
    ask(first, outcome);
    QTRY_COMPARE(outcome.successes, 1);
}

void TestTokenRenewal::aTokenRenewedMeanwhileIsTakenWithoutAnotherRenewal()
{
    const UserInfo user = m_drive->logIn(0);
    localdrive::Fault rejection = onDriveInfo(401, 1);
    rejection.delay = localdrive::Milliseconds(300);
    m_drive->server().addFault(rejection);
    Outcome outcome;
    ask(user, outcome);
    QTRY_COMPARE(m_drive->requests(drivePath).size(), std::size_t(1));
    const localdrive::Tokens fresh = m_drive->server().loginDirectly(0);
    QVERIFY(storeTokens(user.userId.value(), text(fresh.accessToken), text(fresh.refreshToken),
                        QString(), 7200));
    QTRY_COMPARE(outcome.successes, 1);
    QVERIFY(m_drive->requests(tokenPath).empty());
    QCOMPARE(header(m_drive->requests(drivePath)[1], "authorization"),
             QStringLiteral("Bearer ") + text(fresh.accessToken));
}

void TestTokenRenewal::aLogoutDuringTheRenewalEndsTheOperation()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(200);
    m_drive->server().addFault(slow);
    Outcome outcome;
    ask(user, outcome);
    QTimer::singleShot(100, this, [&] { removeUser(user.userId.value()); });
    QTRY_COMPARE(outcome.failures, 1);
    QCOMPARE(outcome.code, -1);
    QVERIFY(m_drive->requests(drivePath).empty());
    QCOMPARE(countUsers(), 0);
    QVERIFY(m_shown.isEmpty());
}

void TestTokenRenewal::aLoginDuringTheRenewalWins()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(200);
    m_drive->server().addFault(slow);
    Outcome outcome;
    ask(user, outcome);
    UserInfo again;
    QTimer::singleShot(100, this, [&] { again = m_drive->logIn(0); });
    QTRY_COMPARE(outcome.successes, 1);
    QCOMPARE(stored(user.userId.value()).accessToken.value(), again.accessToken.value());
    QCOMPARE(stored(user.userId.value()).refreshToken.value(), again.refreshToken.value());
}

// As a dialog that the user opens meanwhile: its loop runs above the renewal's wait.
void TestTokenRenewal::aDialogOpenedDuringTheRenewalIsServed()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(300);
    m_drive->server().addFault(slow);
    Outcome ofPage;
    Outcome ofDialog;
    ask(user, ofPage);
    bool served = false;
    QTimer::singleShot(100, this, [&] {
        QEventLoop dialog;
        QTimer::singleShot(5000, &dialog, &QEventLoop::quit);
        QTimer watch;
        connect(&watch, &QTimer::timeout, &dialog, [&] {
            served = ofPage.calls() + ofDialog.calls() == 2;
            if (served) {
                dialog.quit();
            }
        });
        watch.start(20);
        ask(user, ofDialog);
        dialog.exec();
    });
    QTRY_COMPARE_WITH_TIMEOUT(ofPage.successes + ofDialog.successes, 2, 8000);
    QVERIFY2(served, "served only after the dialog was closed");
    QCOMPARE(m_drive->requests(tokenPath).size(), std::size_t(1));
    QVERIFY(stored(user.userId.value()).refreshToken.value() != user.refreshToken.value());
}

void TestTokenRenewal::aCallerMayGoDuringTheRenewal()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(200);
    m_drive->server().addFault(slow);
    QPointer<QObject> page = new QObject;
    int calls = 0;
    OpenApiClient(user).driveInfo(guarded(page, [&](const DriveInfo &) { ++calls; }), {});
    QTimer::singleShot(100, page, [page] { page->deleteLater(); });
    QTRY_COMPARE(m_drive->requests(drivePath).size(), std::size_t(1));
    QTest::qWait(100);
    QVERIFY(page.isNull());
    QCOMPARE(calls, 0);
}

void TestTokenRenewal::quittingDuringTheRenewalKeepsTheNewPair()
{
    const UserInfo user = m_drive->logIn(0, longAgo);
    localdrive::Fault slow = onTokens();
    slow.delay = localdrive::Milliseconds(300);
    m_drive->server().addFault(slow);
    Outcome outcome;
    QTimer::singleShot(0, this, [&] { ask(user, outcome); });
    QTimer::singleShot(100, QCoreApplication::instance(), &QCoreApplication::quit);
    QElapsedTimer clock;
    clock.start();
    QCoreApplication::exec();
    QVERIFY(clock.elapsed() < 2000);
    QVERIFY(stored(user.userId.value()).refreshToken.value() != user.refreshToken.value());
}

QTEST_GUILESS_MAIN(TestTokenRenewal)
#include "tst_token_renewal.moc"
