#include <limits>

#include <QTest>

#include "application_database.h"
#include "db/dq/dq_query.h"
#include "support/log_capture.h"

namespace {

FolderSetting folder(const QString &folderId)
{
    FolderSetting setting;
    setting.folderId = folderId;
    setting.userId = folderId;
    setting.skipHeadPos = 90;
    setting.skipTailPos = 30;
    setting.sortBy = QString("name");
    return setting;
}

FolderSetting storedFolder(const QString &folderId)
{
    FolderSetting setting = folder("another");
    loadFolderSetting(folderId, setting);
    return setting;
}

} // namespace

class TestHistoryAndFolders final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_database = std::make_unique<ApplicationDatabase>(); }
    void cleanup()
    {
        m_database.reset();
        QVERIFY(!database());
    }

    void watchedShare_data()
    {
        QTest::addColumn<QVariant>("position");
        QTest::addColumn<QVariant>("duration");
        QTest::addColumn<double>("share");
        const auto row = [](const char *name, const QVariant &position, const QVariant &duration,
                            double share) { QTest::newRow(name) << position << duration << share; };
        row("a third", 100, 300, 100.0 / 300);
        row("behind the end", 301, 300, 1);
        row("before the start", -1, 300, 0);
        row("no duration", 100, 0, 0);
        row("both negative", -100, -5, 0);
        row("nothing known", QVariant(), QVariant(), 0);
        row("position unknown", QVariant(), 300, 0);
        row("the greatest", std::numeric_limits<int>::max(), 1, 1);
    }
    void watchedShare()
    {
        QFETCH(QVariant, position);
        QFETCH(QVariant, duration);
        PlayHistory history = played("v1");
        history.playPosition = position;
        history.duration = duration;
        savePlayHistory(history);
        PlayHistory stored;
        QVERIFY(loadPlayHistory("v1", stored));
        QTEST(stored.playPercentage.value(), "share");
        QCOMPARE(stored.playPosition.get(), QVariant(position.toInt()));
        QCOMPARE(stored.duration.get(), QVariant(duration.toInt()));
    }

    void aVideoKeepsOneRow()
    {
        PlayHistory history = played("v1");
        history.name = QString("片名");
        savePlayHistory(history);
        savePlayHistory(history);
        QCOMPARE(history.id.value(), 1);
        PlayHistory stored;
        QVERIFY(loadPlayHistory("v1", stored));
        QCOMPARE(stored.id.value(), 1);
        QCOMPARE(stored.name.value(), "片名");

        PlayHistory bare = played("v1"); // merges nothing
        savePlayHistory(bare);
        QVERIFY(loadPlayHistory("v1", stored));
        QVERIFY(stored.name.isNull());
        QCOMPARE(stored.id.value(), 2);
        QCOMPARE(dqQuery<PlayHistory>().count(), 1);
        QVERIFY(!loadPlayHistory("v2", stored));
        QCOMPARE(stored.id.value(), 2);
    }

    void theLastSavedIsTheNewest()
    {
        PlayHistory a = played("a");
        PlayHistory b = played("b");
        for (int round = 0; round < 20; ++round) {
            savePlayHistory(a);
            savePlayHistory(b);
            QCOMPARE(listedFiles(), "b a");
        }
        // SQLite's own stamps are whole seconds, and the clock may have been set back.
        QVERIFY(m_database->execute("INSERT INTO PlayHistory (fileId, userId) VALUES ('d', 'u1')"));
        savePlayHistory(a);
        QCOMPARE(listedFiles(), "a b d");
        QVERIFY(m_database->execute("INSERT INTO PlayHistory (fileId, userId, updateTime) "
                                    "VALUES ('future', 'u1', '2096-01-01 00:00:00')"));
        savePlayHistory(b);
        QCOMPARE(listedFiles(), "b future a d");
    }

    void listsAndClearsOnlyTheCurrentUsersHistory()
    {
        for (const char *file : {"a", "b", "c"}) {
            store(played(file));
        }
        PlayHistory other = store(played("other", "u2"));
        removePlayHistory("b");
        removePlayHistory("nobody's");
        QCOMPARE(listedFiles(), "c a");
        clearPlayHistory();
        QCOMPARE(listedFiles(), "");
        AppSettings().setCurUserId("u2");
        QCOMPARE(listedFiles(), "other");
    }

    void findsTheRowsOfManyVideos()
    {
        QStringList wanted;
        for (int number = 0; number < 1200; ++number) {
            wanted << QString("f%1").arg(number);
        }
        for (const char *file : {"f0", "f499", "f500", "f1199", "not wanted"}) {
            store(played(file));
        }
        store(played("f7", "u2"));
        QStringList found = playHistoryOf(played("f0").userId.value(), wanted).keys();
        found.sort();
        QCOMPARE(found.join(' '), "f0 f1199 f499 f500");
        QVERIFY(playHistoryOf("u2", {}).isEmpty());
    }

    void folderSettingsKeepTheirTimes()
    {
        FolderSetting setting = folder("f1");
        saveFolderSetting(setting);
        FolderSetting stored = storedFolder("f1");
        QVERIFY(isNow(stored.createTime.value()));
        QCOMPARE(stored.updateTime.value(), stored.createTime.value());

        QVERIFY(m_database->execute("UPDATE VideoFolderSetting SET createTime='" + LongAgo +
                                    "', updateTime='" + LongAgo + '\''));
        stored = storedFolder("f1");
        stored.skipTailPos = 31;
        saveFolderSetting(stored);
        stored = storedFolder("f1");
        QCOMPARE(stored.skipHeadPos.value(), 90);
        QCOMPARE(stored.skipTailPos.value(), 31);
        QCOMPARE(stored.createTime.value(), dqDateTimeFromText(LongAgo));
        QVERIFY(isNow(stored.updateTime.value()));

        stored = storedFolder("f2"); // that nobody stored
        QVERIFY(stored.id.isNull() && stored.folderId.isNull() && stored.skipHeadPos.isNull());
    }

    void foldersAreCleared()
    {
        for (const char *folderId : {"f1", "f2"}) {
            FolderSetting setting = folder(folderId);
            saveFolderSetting(setting);
        }
        QVERIFY(m_database->execute("UPDATE VideoFolderSetting SET updateTime='" + LongAgo + '\''));
        clearSkipPositions("f1");
        QVERIFY(isNow(storedFolder("f1").updateTime.value()));
        clearSkipPositions("f3");
        FolderSetting former = storedFolder("f1");
        former.id = 2; // that of f2 now
        saveFolderSetting(former);
        QCOMPARE(storedFolder("f1").skipHeadPos.get(), QVariant(0));
        QCOMPARE(storedFolder("f1").skipTailPos.get(), QVariant(0));
        QCOMPARE(storedFolder("f1").sortBy.value(), "name");
        QCOMPARE(storedFolder("f2").skipHeadPos.value(), 90);
        QCOMPARE(dqQuery<FolderSetting>().count(), 2);
        clearFolderSettings();
        QCOMPARE(dqQuery<FolderSetting>().count(), 0);
    }

    void aTableIsClearedWhollyOrNotAtAll()
    {
        for (const char *key : {"a", "b", "c"}) {
            store(played(key));
            FolderSetting setting = folder(key);
            saveFolderSetting(setting);
        }
        const QString trigger = "CREATE TRIGGER keep%1 BEFORE DELETE ON %1 WHEN old.%2='b' "
                                "BEGIN SELECT RAISE(ABORT, 'kept'); END";
        QVERIFY(m_database->execute(trigger.arg("PlayHistory", "fileId")));
        QVERIFY(m_database->execute(trigger.arg("VideoFolderSetting", "folderId")));
        const LogCapture log;
        clearPlayHistory();
        clearFolderSettings();
        QCOMPARE(log.warnings().filter("kept").size(), 2);
        QCOMPARE(listedFiles(), "c b a");
        QCOMPARE(dqQuery<FolderSetting>().count(), 3);
    }

private:
    std::unique_ptr<ApplicationDatabase> m_database;
};

QTEST_GUILESS_MAIN(TestHistoryAndFolders)
#include "tst_history_and_folders.moc"
