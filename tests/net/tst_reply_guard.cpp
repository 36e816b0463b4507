#include <QTest>

#include "net/http_client.h"
#include "net/log_failure.h"
#include "net/reply_guard.h"
#include "net/scripted_server.h"
#include "support/log_capture.h"

using namespace std::chrono_literals;
using Ending = ScriptedAnswer::Ending;

Q_DECLARE_METATYPE(ScriptedAnswer)

class TestReplyGuard final : public QObject
{
    Q_OBJECT

private slots:
    void init() { ReplyGuard::setPatience({300ms, 900ms}); }
    void lateRepliesAreDropped()
    {
        auto replies = std::make_unique<ReplyGuard>();
        QStringList calls;
        const auto add = [&](const QString &text) { calls += text; };
        const std::function<void(const QString &)> silent = replies->guard(add);
        const std::function<void(const QString &)> logged = replies->guard("getFileList", add);
        silent("first");
        logged("second");
        replies.reset();
        LogCapture log;
        silent("late");
        logged("late");
        QCOMPARE(calls, QStringList({"first", "second"}));
        QCOMPARE(log.lines(), QStringList("dialog is destoryed, exit getFileList."));
    }
    void patienceEnds_data()
    {
        QTest::addColumn<ScriptedAnswer>("scripted");
        QTest::addColumn<int>("least"); // ms
        QTest::addColumn<bool>("succeeds");
        const QByteArray head = "HTTP/1.1 200 OK\r\nContent-Length: 30\r\n\r\n";
        QTest::newRow("no answer") << ScriptedAnswer{} << 300 << false;
        QTest::newRow("half an answer") << ScriptedAnswer{head + "half"} << 300 << false;
        QTest::newRow("a trickle that ends in time")
            << ScriptedAnswer{head + QByteArray(18, 'x'), Ending::Trickle} << 400 << true;
        QTest::newRow("a trickle without end")
            << ScriptedAnswer{head, Ending::Trickle} << 900 << false;
    }
    // The request is over then, and holds no connection.
    void patienceEnds()
    {
        QFETCH(ScriptedAnswer, scripted);
        QFETCH(int, least);
        QFETCH(bool, succeeds);
        ScriptedServer server([&](const ReceivedRequest &) { return scripted; });
        m_calls.clear();
        QElapsedTimer clock;
        clock.start();
        const PendingReply reply = ask(server);
        m_replies.limitWait(reply);
        QVERIFY(reply.isPending());
        QTRY_VERIFY(!m_calls.isEmpty());
        QVERIFY2(clock.elapsed() >= least * 9 / 10 && clock.elapsed() < least + 500,
                 qPrintable(QString::number(clock.elapsed())));
        QVERIFY(!reply.isPending());
        QCOMPARE(m_calls,
                 QStringList(succeeds ? "success" : "4 The server did not answer in time"));
        if (!succeeds) {
            QTRY_COMPARE(server.openConnections(), 0);
        }
    }
    void abandonedRequestsAreNeverHeardOf()
    {
        ScriptedServer server([](const ReceivedRequest &) { return ScriptedAnswer{}; });
        m_calls.clear();
        m_replies.limitWait(ask(server));
        m_replies.limitWait(ask(server));
        QTRY_COMPARE(server.requests().size(), 2);
        m_replies.abandon();
        QTRY_COMPARE(server.openConnections(), 0);
        QTest::qWait(400);
        QCOMPARE(m_calls, QStringList());
    }
    void failuresAreLoggedInTheirForms()
    {
        LogCapture log;
        logFailure("getFileList", 203, "Not Found");
        logAddressFailure("getPlayInfo", "Not Found", 203);
        QCOMPARE(log.lines(), QStringList({"getFileList fail : 203  => \"Not Found\"",
                                           "getPlayInfo fail :  \"Not Found\"  => 203"}));
    }

private:
    PendingReply ask(ScriptedServer &server)
    {
        return HttpClient(server.url())
            .success(m_replies.guard([this](const QString &) { m_calls += "success"; }))
            .fail(m_replies.guard("step",
                                  [this](const QString &error, int code) {
                                      m_calls += QString("%1 %2").arg(code).arg(error);
                                  }))
            .get();
    }

    QStringList m_calls;
    ReplyGuard m_replies;
};

QTEST_GUILESS_MAIN(TestReplyGuard)
#include "tst_reply_guard.moc"
