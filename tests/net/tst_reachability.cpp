#include <QSignalSpy>
#include <QTcpServer>
#include <QTest>

#include "net/reachability.h"

using namespace std::chrono_literals;

class TestReachability final : public QObject
{
    Q_OBJECT

private slots:
    void eachLossIsFollowedByOneReturn()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const quint16 port = server.serverPort();
        const QUrl url(QString("http://127.0.0.1:%1/path").arg(port));
        server.close();
        Reachability reachability(20ms, 50ms);
        QSignalSpy returns(&reachability, &Reachability::returned);
        reachability.onReplied();
        reachability.onLost(url);
        reachability.onLost(url);
        QTest::qWait(200);
        QCOMPARE(returns.size(), 0);
        QVERIFY(server.listen(QHostAddress::LocalHost, port));
        QTRY_COMPARE(returns.size(), 1);

        // A reply is a return as well, and no try follows it.
        reachability.onLost(url);
        reachability.onReplied();
        QCOMPARE(returns.size(), 1);
        QTRY_COMPARE(returns.size(), 2);
        QTest::qWait(100);
        QCOMPARE(returns.size(), 2);
    }
    // Those who ask again would else ask a server that takes connections and answers none, and so
    // without end.
    void theIntervalsGrowUntilAReply()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        const QUrl url(QString("http://127.0.0.1:%1").arg(server.serverPort()));
        Reachability reachability(20ms, 1h);
        int returns = 0;
        connect(&reachability, &Reachability::returned, this, [&] {
            ++returns;
            reachability.onLost(url);
        });
        reachability.onLost(url);
        QTRY_VERIFY(returns >= 3);
        QTest::qWait(500);
        QVERIFY2(returns <= 6, qPrintable(QString::number(returns)));
        const int before = returns;
        reachability.onReplied();
        QTRY_VERIFY(returns >= before + 3);
    }
};

QTEST_GUILESS_MAIN(TestReachability)
#include "tst_reachability.moc"
