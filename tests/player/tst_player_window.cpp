#include <clocale>

#include <QApplication>
#include <QSignalSpy>
#include <QtTest>

#include "db/tables/operations.h"
#include "player/mpv_widget.h"
#include "player/player_fixture.h"
#include "player/player_window.h"

// The player with the real libmpv, fed by the local drive.
class TestPlayerWindow final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_player = std::make_unique<PlayerFixture>(); }
    void cleanup() { m_player.reset(); }

    void playsAndSavesItsPosition();

private:
    std::unique_ptr<PlayerFixture> m_player;
};

void TestPlayerWindow::playsAndSavesItsPosition()
{
    m_player->addClip(QStringLiteral("show/Ep01.mkv"), {20});
    QSignalSpy saved(&m_player->host(), &PlayerHost::historyUpdated);
    m_player->open(QStringLiteral("show/Ep01.mkv"));
    QVERIFY(m_player->window());
    QCOMPARE(m_player->timeText(), QStringLiteral("00:00:00/00:00:00"));
    QTRY_VERIFY(m_player->hasReached(2));
    QVERIFY(m_player->timeText().endsWith(QStringLiteral("/00:00:20")));
    QVERIFY(qAbs(m_player->secondShown() - m_player->secondLabelled()) <= 1);
    QCOMPARE(m_player->window()->windowTitle(), QStringLiteral("Ep01.mkv"));

    m_player->window()->close();
    QTRY_VERIFY(!m_player->window());
    const PlayHistory row = m_player->storedHistory(QStringLiteral("show/Ep01.mkv"));
    QVERIFY(row.playPosition.value() >= 2);
    QVERIFY(row.playPosition.value() < 10);
    QCOMPARE(row.duration.value(), 20);
    QVERIFY(saved.count() >= 1);
}

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    std::setlocale(LC_NUMERIC, "C");
    TestPlayerWindow test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_player_window.moc"
