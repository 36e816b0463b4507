#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>

#include "db/dq/dq_query.h"
#include "db/tables/database.h"
#include "db/tables/operations.h"

class TestTables final : public QObject
{
    Q_OBJECT

private slots:
    void userSavedTwiceIsOneRow();
};

void TestTables::userSavedTwiceIsOneRow()
{
    const QTemporaryDir dir;
    Database file(dir.filePath(QStringLiteral("moravu.db")));
    UserInfo user;
    user.userId = QStringLiteral("u1");
    user.nickname = QStringLiteral("甲");
    saveUserInfo(user);
    user.nickname = QStringLiteral("乙");
    saveUserInfo(user);
    QCOMPARE(countUsers(), 1);
    UserInfo loaded;
    QVERIFY(loadUserInfo(QStringLiteral("u1"), loaded));
    QCOMPARE(loaded.nickname.value(), QStringLiteral("乙"));
    QVERIFY(qAbs(loaded.updateTime.value().secsTo(QDateTime::currentDateTime())) < 5);
}

QTEST_GUILESS_MAIN(TestTables)
#include "tst_tables.moc"
