#include <limits>

#include <QtTest>

#include "application_database.h"
#include "db/dq/dq_query.h"
#include "warnings.h"

namespace {
const QString kLongAgo = QStringLiteral("2020-02-03 04:05:06");
}

class TestHistoryAndFolders final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_database = std::make_unique<ApplicationDatabase>(); }
    void cleanup();

    void watchedShare_data();
    void watchedShare();
    void historyMergesNothing();
    void theLastSavedIsTheNewest();
    void theNewestIsNewestAfterTheClockWasSetBack();
    void listsOnlyTheCurrentUsersHistory();
    void clearsOnlyTheCurrentUsersHistory();
    void removesOneHistoryRow();
    void folderSettingsKeepTheirTimes();
    void clearsSkipPositions();
    void clearsEveryFolder();
    void aFolderThatIsNotStoredLoadsAsEmpty();
    void aTableIsClearedWhollyOrNotAtAll();
    void rowsThatAreNotStoredKeepTheirKey();

private:
    std::unique_ptr<ApplicationDatabase> m_database;
};

void TestHistoryAndFolders::cleanup()
{
    m_database.reset();
    QVERIFY(!database());
}

void TestHistoryAndFolders::watchedShare_data()
{
    QTest::addColumn<QVariant>("position");
    QTest::addColumn<QVariant>("duration");
    QTest::addColumn<double>("share");
    constexpr int kMost = std::numeric_limits<int>::max();
    QTest::newRow("a third") << QVariant(100) << QVariant(300) << 100.0 / 300;
    QTest::newRow("the end") << QVariant(300) << QVariant(300) << 1.0;
    QTest::newRow("behind the end") << QVariant(301) << QVariant(300) << 1.0;
    QTest::newRow("before the start") << QVariant(-1) << QVariant(300) << 0.0;
    QTest::newRow("no duration") << QVariant(100) << QVariant(0) << 0.0;
    QTest::newRow("a negative duration") << QVariant(100) << QVariant(-5) << 0.0;
    QTest::newRow("both negative") << QVariant(-100) << QVariant(-5) << 0.0;
    QTest::newRow("nothing known") << QVariant() << QVariant() << 0.0;
    QTest::newRow("position unknown") << QVariant() << QVariant(300) << 0.0;
    QTest::newRow("the greatest") << QVariant(kMost) << QVariant(1) << 1.0;
}

void TestHistoryAndFolders::watchedShare()
{
    QFETCH(QVariant, position);
    QFETCH(QVariant, duration);
    PlayHistory history = played("v1");
    history.playPosition = position;
    history.duration = duration;
    savePlayHistory(history);
    PlayHistory stored;
    QVERIFY(loadPlayHistory(utf8("v1"), stored));
    QTEST(stored.playPercentage.value(), "share");
    QCOMPARE(stored.playPosition.get(), QVariant(position.toInt()));
    QCOMPARE(stored.duration.get(), QVariant(duration.toInt()));
}

void TestHistoryAndFolders::historyMergesNothing()
{
    PlayHistory history = played("v1");
    history.name = utf8("片名");
    savePlayHistory(history);
    PlayHistory stored;
    QVERIFY(loadPlayHistory(utf8("v1"), stored));
    QCOMPARE(stored.id.value(), history.id.value());

    PlayHistory bare = played("v1");
    savePlayHistory(bare);
    QVERIFY(loadPlayHistory(utf8("v1"), stored));
    QVERIFY(stored.name.isNull());
    QCOMPARE(stored.id.value(), 2);
    QCOMPARE(dqQuery<PlayHistory>().count(), 1);
    QVERIFY(!loadPlayHistory(utf8("v2"), stored));
    QCOMPARE(stored.id.value(), 2);
}

void TestHistoryAndFolders::theLastSavedIsTheNewest()
{
    PlayHistory a = played("a");
    PlayHistory b = played("b");
    PlayHistory c = played("c");
    for (int round = 0; round < 20; ++round) {
        savePlayHistory(a);
        savePlayHistory(b);
        savePlayHistory(c);
        QCOMPARE(listedFiles(), utf8("c b a"));
        savePlayHistory(b);
        QCOMPARE(listedFiles(), utf8("b c a"));
    }
    // A row that SQLite has stamped itself, to the second, comes before what is saved after it.
    QVERIFY(
        m_database->execute(utf8("INSERT INTO PlayHistory (fileId, userId) VALUES ('d', 'u1')")));
    savePlayHistory(a);
    QCOMPARE(listedFiles().left(1), utf8("a"));
}

void TestHistoryAndFolders::theNewestIsNewestAfterTheClockWasSetBack()
{
    QVERIFY(m_database->execute(utf8("INSERT INTO PlayHistory (fileId, userId, updateTime) "
                                     "VALUES ('future', 'u2', '2096-01-01 00:00:00')")));
    QVERIFY(m_database->execute(utf8("UPDATE PlayHistory SET userId='u1'")));
    PlayHistory history = played("now");
    savePlayHistory(history);
    QCOMPARE(listedFiles(), utf8("now future"));
}

void TestHistoryAndFolders::listsOnlyTheCurrentUsersHistory()
{
    QCOMPARE(listedFiles(), QString());
    PlayHistory mine = played("mine", "u1");
    PlayHistory other = played("other", "u2");
    savePlayHistory(mine);
    savePlayHistory(other);
    QCOMPARE(listedFiles(), utf8("mine"));
    AppSettings().setCurUserId(utf8("u2"));
    QCOMPARE(listedFiles(), utf8("other"));
}

void TestHistoryAndFolders::clearsOnlyTheCurrentUsersHistory()
{
    PlayHistory mine = played("mine", "u1");
    PlayHistory alsoMine = played("alsoMine", "u1");
    PlayHistory other = played("other", "u2");
    savePlayHistory(mine);
    savePlayHistory(other);
    savePlayHistory(alsoMine);
    clearPlayHistory();
    QCOMPARE(listedFiles(), QString());
    QCOMPARE(dqQuery<PlayHistory>().count(), 1);
    QVERIFY(loadPlayHistory(utf8("other"), mine));
}

void TestHistoryAndFolders::removesOneHistoryRow()
{
    PlayHistory a = played("a");
    PlayHistory b = played("b");
    savePlayHistory(a);
    savePlayHistory(b);
    removePlayHistory(a.id.value());
    removePlayHistory(4711);
    QCOMPARE(listedFiles(), utf8("b"));
}

void TestHistoryAndFolders::folderSettingsKeepTheirTimes()
{
    FolderSetting setting;
    loadFolderSetting(utf8("f1"), setting);
    QVERIFY(setting.id.isNull());
    setting.folderId = utf8("f1");
    setting.skipHeadPos = 90;
    saveFolderSetting(setting);

    FolderSetting stored;
    loadFolderSetting(utf8("f1"), stored);
    QVERIFY(isNow(stored.createTime.value()));
    QCOMPARE(stored.updateTime.value(), stored.createTime.value());

    QVERIFY(m_database->execute(
        utf8("UPDATE VideoFolderSetting SET createTime='%1', updateTime='%1'").arg(kLongAgo)));
    loadFolderSetting(utf8("f1"), stored);
    stored.skipTailPos = 30;
    saveFolderSetting(stored);
    FolderSetting again;
    loadFolderSetting(utf8("f1"), again);
    QCOMPARE(again.skipHeadPos.value(), 90);
    QCOMPARE(again.skipTailPos.value(), 30);
    QCOMPARE(again.createTime.value(), dqDateTimeFromText(kLongAgo));
    QVERIFY(isNow(again.updateTime.value()));
}

void TestHistoryAndFolders::clearsSkipPositions()
{
    FolderSetting setting;
    setting.folderId = utf8("f1");
    setting.skipHeadPos = 90;
    setting.skipTailPos = 30;
    setting.sortBy = utf8("name");
    saveFolderSetting(setting);
    clearSkipPositions(utf8("f1"));
    clearSkipPositions(utf8("f2"));
    FolderSetting stored;
    loadFolderSetting(utf8("f1"), stored);
    QCOMPARE(stored.skipHeadPos.get(), QVariant(0));
    QCOMPARE(stored.skipTailPos.get(), QVariant(0));
    QCOMPARE(stored.sortBy.value(), utf8("name"));
    QCOMPARE(dqQuery<FolderSetting>().count(), 1);
}

void TestHistoryAndFolders::clearsEveryFolder()
{
    for (const char *folder : {"f1", "f2"}) {
        FolderSetting setting;
        setting.folderId = utf8(folder);
        setting.userId = utf8(folder);
        saveFolderSetting(setting);
    }
    clearFolderSettings();
    QCOMPARE(dqQuery<FolderSetting>().count(), 0);
}

void TestHistoryAndFolders::aFolderThatIsNotStoredLoadsAsEmpty()
{
    FolderSetting setting;
    setting.folderId = utf8("f1");
    setting.skipHeadPos = 90;
    saveFolderSetting(setting);
    loadFolderSetting(utf8("f2"), setting);
    QVERIFY(setting.id.isNull());
    QVERIFY(setting.folderId.isNull());
    QVERIFY(setting.skipHeadPos.isNull());
}

void TestHistoryAndFolders::aTableIsClearedWhollyOrNotAtAll()
{
    for (const char *key : {"a", "b", "c"}) {
        PlayHistory history = played(key);
        savePlayHistory(history);
        FolderSetting setting;
        setting.folderId = utf8(key);
        saveFolderSetting(setting);
    }
    const QString trigger = utf8("CREATE TRIGGER keep%1 BEFORE DELETE ON %1 WHEN old.%2='b' "
                                 "BEGIN SELECT RAISE(ABORT, 'kept'); END");
    QVERIFY(m_database->execute(trigger.arg(utf8("PlayHistory"), utf8("fileId"))));
    QVERIFY(m_database->execute(trigger.arg(utf8("VideoFolderSetting"), utf8("folderId"))));
    {
        const Warnings warnings;
        clearPlayHistory();
        clearFolderSettings();
        QCOMPARE(Warnings::texts().filter(utf8("kept")).size(), 2);
    }
    QCOMPARE(listedFiles(), utf8("c b a"));
    QCOMPARE(dqQuery<FolderSetting>().count(), 3);
    QVERIFY(m_database->execute(utf8("DROP TRIGGER keepPlayHistory")));
    clearPlayHistory();
    QCOMPARE(listedFiles(), QString());
}

void TestHistoryAndFolders::rowsThatAreNotStoredKeepTheirKey()
{
    m_database->letCommitsFail("PlayHistory");
    QVERIFY(
        m_database->execute(utf8("CREATE TRIGGER breakFolder AFTER INSERT ON VideoFolderSetting "
                                 "BEGIN INSERT INTO Broken VALUES (1); END")));
    const Warnings warnings;
    PlayHistory history = played("v");
    savePlayHistory(history);
    QVERIFY(history.id.isNull());
    FolderSetting setting;
    setting.folderId = utf8("f");
    saveFolderSetting(setting);
    QVERIFY(setting.id.isNull());
    QCOMPARE(dqQuery<PlayHistory>().count() + dqQuery<FolderSetting>().count(), 0);
}

QTEST_GUILESS_MAIN(TestHistoryAndFolders)
#include "tst_history_and_folders.moc"
