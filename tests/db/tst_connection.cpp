#include <ctime>

#include <QSqlError>
#include <QTest>

#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "memory_database.h"
#include "sample_models.h"
#include "support/log_capture.h"

namespace {

Genre genre(const QString &name, int rank)
{
    Genre record;
    record.name = name;
    record.rank = rank;
    return record;
}

// "id name rank, ..." in row order.
QString genres()
{
    QStringList rows;
    const DQList<Genre> all = dqQuery<Genre>().call();
    for (const Genre &row : all) {
        rows.append(row.id.get().toString() + ' ' + row.name.value() + ' ' +
                    row.rank.get().toString());
    }
    return rows.join(", ");
}

} // namespace

class TestConnection final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_memory = std::make_unique<MemoryDatabase>();
        QVERIFY(m_memory->create<Genre>());
        QCOMPARE(genres(), "1 drama 2, 2 comedy 1"); // what a new table starts with
        QVERIFY(dqQuery<Genre>().remove());
        QVERIFY(m_memory->connection.exec("DELETE FROM sqlite_sequence"));
    }
    void cleanup() { m_memory.reset(); }

    void onlySqliteOpens()
    {
        DQConnection connection;
        const LogCapture log; // Qt's own warnings come first
        QVERIFY(!connection.open(QSqlDatabase::addDatabase("qsqlite", "lower case")));
        QVERIFY(!connection.isOpen());
        QCOMPARE(log.warnings().last(), "Only QSQLITE dirver is supported.");
        QSqlDatabase::removeDatabase("lower case");
    }

    void modelsAreAddedOnceAndTheirTablesDropped()
    {
        DQConnection &connection = m_memory->connection;
        QVERIFY(connection.addModel(dqMetaInfo<Film>())); // has no table
        QVERIFY(!connection.addModel(dqMetaInfo<Film>()));
        QVERIFY(!connection.addModel(nullptr));
        QVERIFY(!DQConnection().addModel(dqMetaInfo<Film>()));
        QVERIFY(connection.dropTables());
        QCOMPARE(connection.database().tables(), QStringList{"sqlite_sequence"});
        QVERIFY(connection.createTables() && connection.createTables());
        QCOMPARE(genres(), "1 drama 2, 2 comedy 1");
    }

    void aTableThatCannotBeCreatedEndsTheCreation()
    {
        DQConnection &connection = m_memory->connection;
        connection.addModel(dqMetaInfo<Director>());
        connection.addModel(dqMetaInfo<Film>());
        QVERIFY(connection.exec("CREATE INDEX Director ON Genre (rank)"));
        const LogCapture log;
        QVERIFY(!connection.createTables());
        QVERIFY(log.warnings().value(0).startsWith(
            "DQConnection::createTables() - Failed to create table for Director . "
            "Error : there is already an index named Director"));
        QCOMPARE(log.warnings().value(1), connection.lastQuery().lastQuery());
        QCOMPARE(log.warnings().size(), 2);
        QCOMPARE(connection.database().tables(), (QStringList{"Genre", "sqlite_sequence"}));
    }

    void savingInsertsThenReplaces()
    {
        Genre drama = genre("drama", 1);
        QVERIFY(drama.save());
        QCOMPARE(drama.id.value(), 1);
        drama.rank = 2;
        QVERIFY(drama.save());
        QCOMPARE(m_memory->connection.lastQuery().lastQuery(),
                 "REPLACE INTO Genre (id,name,rank) values (:id,:name,:rank);");
        QCOMPARE(genres(), "1 drama 2");
        QVERIFY(drama.save(true)); // a new row
        QCOMPARE(drama.id.value(), 2);
        QCOMPARE(genres(), "1 drama 2, 2 drama 2");
    }

    void nullFieldsTakeTheirDefault()
    {
        QVERIFY(m_memory->create<Film>());
        Film film;
        film.title = QString("Arrival of a Train");
        QVERIFY(film.save());
        Film loaded;
        QVERIFY(loaded.load(dqColumn(&Film::id) == 1));
        QCOMPARE(loaded.year.value(), 1895);
        QVERIFY(loaded.rating.isNull());
        QVERIFY(qAbs(loaded.added.value().secsTo(QDateTime::currentDateTime())) <= 2);

        // With all fields null is written as well, and the key is a field like any other.
        loaded.year.clear();
        QVERIFY(loaded.save(true, true));
        QCOMPARE(loaded.id.value(), 1);
        QVERIFY(film.load(dqColumn(&Film::id) == 1));
        QVERIFY(film.year.isNull());
        QCOMPARE(dqQuery<Film>().count(), 1);
    }

    void aRefusedSaveChangesNothing()
    {
        Genre forbidden = genre("forbidden", 1); // by clean()
        Genre nameless = genre(QString(), 1);
        const LogCapture log;
        QVERIFY(!forbidden.save() && !nameless.save());
        QVERIFY(forbidden.id.isNull() && nameless.id.isNull());
        QCOMPARE(log.warnings().size(), 2);
        QCOMPARE(log.warnings().at(0), "Failed : REPLACE INTO Genre (rank) values (:rank);");
        QVERIFY(log.warnings().at(1).contains("NOT NULL constraint failed: Genre.name"));
        QCOMPARE(genres(), "");
    }

    void everyTypeSurvives()
    {
        QTest::ignoreMessage(QtWarningMsg, "EveryType::hour - DQField<QTime> is not supported yet");
        QVERIFY(m_memory->create<EveryType>());
        EveryType record;
        record.flag = true;
        record.number = std::numeric_limits<int>::min();
        record.natural = std::numeric_limits<uint>::max();
        record.big = std::numeric_limits<qlonglong>::min();
        record.bigNatural = qulonglong(std::numeric_limits<qlonglong>::max());
        record.real = 0.1;
        record.text = QString("三体 'quoted' \"twice\"");
        record.texts = QStringList{"a,b", "\"&\""};
        record.bytes = QByteArray("\0\xff", 2);
        record.day = QDate(2026, 2, 28);
        record.moment = QDateTime({2026, 11, 22}, {19, 52, 11, 7}, Qt::UTC);
        QVERIFY(record.save());

        EveryType loaded;
        QVERIFY(loaded.load(dqColumn(&EveryType::id) == 1));
        const DQModelMetaInfo &model = *record.metaInfo();
        for (const QString &name : model.fieldNames()) {
            QCOMPARE(model.value(loaded, name), model.value(record, name));
        }
    }

    void loadingAndRemovingNeedARow()
    {
        QVERIFY(genre("drama", 1).save() && genre("comedy", 2).save());
        Genre record = genre("drama", 7);
        QVERIFY(!record.load(dqColumn(&Genre::id) == 4711));
        QCOMPARE(record.name.value(), "drama");
        const QString before = m_memory->connection.lastQuery().lastQuery();
        QVERIFY(!record.remove());
        QCOMPARE(m_memory->connection.lastQuery().lastQuery(), before);
        record.id = 1;
        QVERIFY(record.remove());
        QCOMPARE(m_memory->connection.lastQuery().lastQuery(),
                 "DELETE FROM Genre WHERE id = :arg0 ;");
        QCOMPARE(genres(), "2 comedy 2");
    }

    void countCountsOrIsZero()
    {
        QVERIFY(genre("drama", 1).save() && genre("comedy", 2).save());
        QCOMPARE(dqQuery<Genre>().count(), 2);
        QCOMPARE(dqQuery<Genre>().filter(dqColumn(&Genre::rank) > 1).count(), 1);
        const LogCapture log;
        DQQuery refused = dqQuery<Genre>();
        refused.limit(1).orderBy("rank");
        QVERIFY(!refused.exec() && !refused.next());
        const QString sql = "SELECT ALL * FROM Genre LIMIT 1 ORDER BY rank ;";
        QCOMPARE(log.warnings().value(0), "Failed : " + sql);
        QCOMPARE(m_memory->connection.lastQuery().lastQuery(), sql);
        QVERIFY(m_memory->connection.lastQuery().lastError().isValid());
        QCOMPARE(refused.call().size() + refused.count(), 0);
    }

    void rowsAreReadOneByOne()
    {
        QVERIFY(genre("drama", 2).save() && genre("comedy", 1).save());
        DQQuery query = dqQuery<Genre>().orderBy("rank");
        Genre record;
        QVERIFY(!query.recordTo(record));
        QVERIFY(query.exec());
        QString names;
        while (query.next() && query.recordTo(record)) {
            names += record.name.value() + ' ';
        }
        QCOMPARE(names, "comedy drama ");
        QVERIFY(!query.recordTo(record));
    }

    void columnsThatATableLacksStay()
    {
        DQConnection &connection = m_memory->connection;
        QVERIFY(connection.exec("CREATE TABLE Films (title TEXT, rating TEXT, id INTEGER)"));
        QVERIFY(connection.exec("INSERT INTO Films VALUES ('M', 'good', 5)"));
        QVERIFY(m_memory->create<Film>());
        Film film;
        film.year = 1931;
        film.rating = 8.3;
        QVERIFY(film.load(dqColumn(&Film::title) == "M"));
        QCOMPARE(film.id.value(), 5);
        QCOMPARE(film.title.value(), "M");
        QCOMPARE(film.year.value(), 1931);
        QVERIFY(film.rating.isNull()); // what the field cannot represent
    }

    void copiesOfAQueryAreIndependent()
    {
        QVERIFY(genre("drama", 1).save() && genre("comedy", 2).save());
        DQQuery all = dqQuery<Genre>();
        DQQuery first = all;
        first.filter(dqColumn(&Genre::rank) == 1);
        QVERIFY(all.exec() && all.next());
        QCOMPARE(first.count(), 1);
        DQQuery copy = all; // while the rows are being read
        QVERIFY(!copy.next() && copy.exec() && copy.next());
        QVERIFY(all.next() && !all.next());
        copy = first;
        QVERIFY(!copy.next());
        QCOMPARE(copy.count(), 1);
        QCOMPARE(all.count(), 2);
        QCOMPARE(all.call().size(), 2);
    }

    void transactionsAreKeptTogetherOrNotAtAll_data()
    {
        QTest::addColumn<bool>("innerCommits");
        QTest::addColumn<bool>("outerCommits");
        QTest::addColumn<QString>("kept");
        QTest::newRow("both commit") << true << true << "1 outer 1, 2 inner 2";
        QTest::newRow("the outer one does not") << true << false << "";
        QTest::newRow("the inner one does not") << false << true << "";
    }
    void transactionsAreKeptTogetherOrNotAtAll()
    {
        QFETCH(bool, innerCommits);
        QFETCH(bool, outerCommits);
        QFETCH(QString, kept);
        {
            DQTransaction outer(m_memory->connection);
            QVERIFY(genre("outer", 1).save());
            {
                DQTransaction inner(m_memory->connection);
                QVERIFY(genre("inner", 2).save());
                QVERIFY(!innerCommits || inner.commit());
            }
            QCOMPARE(outerCommits && outer.commit(), !kept.isEmpty());
            QVERIFY(kept.isEmpty() || !outer.commit());
        }
        QCOMPARE(genres(), kept);
        QVERIFY(DQTransaction(m_memory->connection).commit());
    }

    void whatSqliteRolledBackItselfWarnsOnce()
    {
        DQConnection &connection = m_memory->connection;
        QVERIFY(connection.exec("CREATE TRIGGER refuse BEFORE INSERT ON Genre "
                                "BEGIN SELECT RAISE(ROLLBACK, 'refused'); END"));
        const LogCapture log;
        {
            const DQTransaction transaction(connection);
            QVERIFY(!genre("drama", 1).save());
        }
        QCOMPARE(log.warnings().size(), 2); // the statement and the reason
        QVERIFY(log.warnings().at(1).contains("refused"));
        QVERIFY(DQTransaction(connection).commit());
    }

    void dateTimesThatSqliteStampedAreFound()
    {
        QVERIFY(m_memory->create<Film>());
        QVERIFY(m_memory->connection.exec("INSERT INTO Films (title) VALUES ('M')"));
        Film film;
        QVERIFY(film.load(dqColumn(&Film::title) == "M"));
        const QDateTime stamp = film.added.value();
        QVERIFY(film.save()); // as SQLite writes it
        const QString text = stamp.toUTC().toString("yyyy-MM-dd hh:mm:ss");
        const DQColumn<QDateTime> added = dqColumn(&Film::added);
        for (const DQWhere &where :
             {added == stamp, added<stamp.addMSecs(1), added> stamp.addMSecs(-1),
              DQWhere("added =", text)}) {
            QCOMPARE(dqQuery<Film>().filter(where).count(), 1);
        }
    }

    void aTimeThatNeverCameIsNull()
    {
        qputenv("TZ", "America/New_York");
        tzset();
        const QDateTime leftOut(QDate(2026, 3, 8), QTime(2, 30));
        qunsetenv("TZ");
        tzset();
        QVERIFY(!leftOut.isNull() && !leftOut.isValid());
        Film film;
        film.added = leftOut;
        QVERIFY(film.added.isNull() && dqToSql(leftOut).isNull());
    }

    void whatHasNoModelOrConnectionDoesNothing()
    {
        QVERIFY(genre("drama", 1).save());
        DQModel record;
        QVERIFY(!record.remove());
        record.id = 1;
        const LogCapture log;
        QVERIFY(!record.save() && !record.load({}) && !record.remove());
        QCOMPARE(log.warnings().size(), 3);
        DQQuery query = dqQuery<Genre>();
        QVERIFY(query.exec() && query.next() && !query.recordTo(record));
        DQQuery nothing(nullptr, m_memory->connection);
        QVERIFY(!nothing.exec() && !nothing.remove());
        query.finish();
        m_memory.reset();
        Genre drama = genre("drama", 1);
        QVERIFY(!drama.save() && !drama.load({}) && !query.exec() && !query.remove());
        QCOMPARE(query.count() + query.call().size(), 0);
        QVERIFY(!DQConnection().createTables() && !DQConnection().dropTables());
        QVERIFY(!DQTransaction(DQConnection()).isActive());
    }

private:
    std::unique_ptr<MemoryDatabase> m_memory;
};

QTEST_GUILESS_MAIN(TestConnection)
#include "tst_connection.moc"
