#include <ctime>

#include <QSqlError>
#include <QtTest>

#include "db/dq/dq_index.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_transaction.h"
#include "memory_database.h"
#include "sample_models.h"
#include "warnings.h"

namespace {

QString utf8(const char *text)
{
    return QString::fromUtf8(text);
}

Genre genre(const char *name, int rank)
{
    Genre record;
    record.name = utf8(name);
    record.rank = rank;
    return record;
}

/// "id name rank, ..." in row order.
QString genres()
{
    QStringList rows;
    const DQList<Genre> all = dqQuery<Genre>().call();
    for (const Genre &row : all) {
        rows.append(QStringLiteral("%1 %2 %3")
                        .arg(row.id.get().toString(), row.name.value(),
                             row.rank.isNull() ? utf8("-") : row.rank.get().toString()));
    }
    return rows.join(utf8(", "));
}

} // namespace

class TestConnection final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void onlySqliteOpens();
    void modelsAreAddedOnce();
    void newTablesHoldTheirInitialData();
    void initialDataGoesToTheTableThatWasMade();
    void aTableThatCanNotBeCreatedEndsTheCreation();
    void tablesAreDropped();
    void indexesAreCreatedAndDropped();

    void savingInsertsThenReplaces();
    void forceInsertMakesANewRow();
    void nullFieldsTakeTheirDefault();
    void allFieldsAreWrittenWhenAsked();
    void replacingByAUniqueValueMovesTheRow();
    void whatIsNotCleanIsNotSaved();
    void aFailedSaveChangesNothing();
    void everyTypeSurvives();

    void loadingNothingLeavesTheRecord();
    void removingNeedsAKey();
    void countCountsOrIsZero();
    void aFailedQueryIsTheLastOne();
    void rowsAreReadOneByOne();
    void columnsThatATableLacksStay();
    void copiesOfAQueryAreIndependent();
    void transactionsAreKeptTogetherOrNotAtAll();
    void whatSqliteRolledBackItselfWarnsOnce();
    void dateTimesThatSqliteStampedAreFound();
    void aTimeThatNeverCameIsNull();
    void aRecordOfNoModelDoesNothing();
    void aClosedConnectionDoesNothing();

private:
    std::unique_ptr<MemoryDatabase> m_memory;
};

void TestConnection::init()
{
    m_memory = std::make_unique<MemoryDatabase>();
    QVERIFY(m_memory->create<Genre>());
    QVERIFY(dqQuery<Genre>().remove());
    QVERIFY(m_memory->connection.exec(utf8("DELETE FROM sqlite_sequence")));
}

void TestConnection::cleanup()
{
    m_memory.reset();
}

void TestConnection::onlySqliteOpens()
{
    DQConnection connection;
    QTest::ignoreMessage(QtWarningMsg, "Only QSQLITE dirver is supported.");
    QVERIFY(!connection.open(QSqlDatabase()));
    QVERIFY(!connection.isOpen());
    {
        const Warnings warnings; // Qt's own come first
        const QString name = utf8("lower case");
        QVERIFY(!connection.open(QSqlDatabase::addDatabase(utf8("qsqlite"), name)));
        QCOMPARE(Warnings::texts().last(), utf8("Only QSQLITE dirver is supported."));
        QSqlDatabase::removeDatabase(name);
    }
    QVERIFY(!connection.isOpen());
    QVERIFY(connection.open(m_memory->connection.database()));
    QVERIFY(connection.isOpen());
}

void TestConnection::modelsAreAddedOnce()
{
    QVERIFY(m_memory->connection.addModel(dqMetaInfo<Film>()));
    QVERIFY(!m_memory->connection.addModel(dqMetaInfo<Film>()));
    QVERIFY(!m_memory->connection.addModel(nullptr));
    QVERIFY(!DQConnection().addModel(dqMetaInfo<Film>()));
}

void TestConnection::newTablesHoldTheirInitialData()
{
    QVERIFY(m_memory->connection.dropTables());
    QVERIFY(m_memory->connection.createTables());
    QCOMPARE(genres(), utf8("1 drama 2, 2 comedy 1"));
    QVERIFY(m_memory->connection.createTables());
    QCOMPARE(genres(), utf8("1 drama 2, 2 comedy 1"));
}

void TestConnection::initialDataGoesToTheTableThatWasMade()
{
    const DQQuery here(dqMetaInfo<Genre>(), m_memory->connection);
    MemoryDatabase other(utf8("other"));
    QVERIFY(other.create<Genre>()); // the model's records live there from now on
    QVERIFY(m_memory->connection.dropTables());
    QVERIFY(m_memory->connection.createTables());
    QCOMPARE(DQQuery(here).count(), 2);
    QCOMPARE(dqQuery<Genre>().count(), 2);
    QVERIFY(genre("noir", 3).save());
    QCOMPARE(DQQuery(here).count(), 2);
    QCOMPARE(dqQuery<Genre>().count(), 3);
}

void TestConnection::aTableThatCanNotBeCreatedEndsTheCreation()
{
    DQConnection &connection = m_memory->connection;
    connection.addModel(dqMetaInfo<Director>());
    connection.addModel(dqMetaInfo<Unbuildable>());
    connection.addModel(dqMetaInfo<Film>());
    {
        const Warnings warnings;
        QVERIFY(!connection.createTables());
        QCOMPARE(Warnings::texts().size(), 2);
        QVERIFY(Warnings::texts().at(0).startsWith(
            utf8("DQConnection::createTables() - Failed to create table for UnbuildableModel . "
                 "Error : near \"words\": syntax error")));
        QCOMPARE(Warnings::texts().at(1), utf8("CREATE TABLE IF NOT EXISTS Unbuildable  (\n"
                                               "id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                                               "name TEXT DEFAULT two words \n);"));
        QCOMPARE(connection.lastQuery().lastQuery(), Warnings::texts().at(1));
    }
    QCOMPARE(connection.database().tables(),
             (QStringList{utf8("Genre"), utf8("sqlite_sequence"), utf8("Director")}));
}

void TestConnection::tablesAreDropped()
{
    m_memory->connection.addModel(dqMetaInfo<Film>()); // has no table
    QVERIFY(m_memory->connection.dropTables());
    QVERIFY(!m_memory->connection.database().tables().contains(utf8("Genre")));
}

void TestConnection::indexesAreCreatedAndDropped()
{
    const DQIndex index{utf8("byRank"), dqMetaInfo<Genre>(), {utf8("rank"), utf8("name")}};
    QVERIFY(m_memory->connection.createIndex(index));
    QVERIFY(m_memory->connection.createIndex(index));
    QSqlQuery query = m_memory->connection.newQuery();
    const QString find = utf8("SELECT sql FROM sqlite_master WHERE type='index'");
    QVERIFY(m_memory->connection.exec(query, find) && query.next());
    QCOMPARE(query.value(0).toString(), utf8("CREATE INDEX byRank on Genre (rank,name)"));
    query.finish();
    QVERIFY(m_memory->connection.dropIndex(index.name));
    QVERIFY(m_memory->connection.exec(query, find) && !query.next());
}

void TestConnection::savingInsertsThenReplaces()
{
    Genre drama = genre("drama", 1);
    QVERIFY(drama.save());
    QCOMPARE(drama.id.value(), 1);
    drama.rank = 2;
    QVERIFY(drama.save());
    QCOMPARE(drama.id.value(), 1);
    QCOMPARE(genres(), utf8("1 drama 2"));
    QCOMPARE(m_memory->connection.lastQuery().lastQuery(), utf8("SELECT ALL * FROM Genre ;"));
    QVERIFY(drama.save());
    QCOMPARE(m_memory->connection.lastQuery().lastQuery(),
             utf8("REPLACE INTO Genre (id,name,rank) values (:id,:name,:rank);"));
}

void TestConnection::forceInsertMakesANewRow()
{
    Genre drama = genre("drama", 1);
    QVERIFY(drama.save());
    QVERIFY(drama.save(true));
    QCOMPARE(drama.id.value(), 2);
    QCOMPARE(genres(), utf8("1 drama 1, 2 drama 1"));
}

void TestConnection::nullFieldsTakeTheirDefault()
{
    QVERIFY(m_memory->create<Film>());
    Film film;
    film.title = utf8("Arrival of a Train");
    QVERIFY(film.save());
    Film loaded;
    QVERIFY(loaded.load(dqColumn(&Film::title) == film.title.value()));
    QCOMPARE(loaded.year.value(), 1895);
    QVERIFY(loaded.rating.isNull());
    QVERIFY(qAbs(loaded.added.value().secsTo(QDateTime::currentDateTime())) <= 2);
}

void TestConnection::allFieldsAreWrittenWhenAsked()
{
    QVERIFY(m_memory->create<Film>());
    Film film;
    film.title = utf8("M");
    film.added = QDateTime::currentDateTime();
    QVERIFY(film.save(false, true));
    QCOMPARE(film.id.value(), 1);
    Film loaded;
    QVERIFY(loaded.load(dqColumn(&Film::id) == 1));
    QVERIFY(loaded.year.isNull());
    // The key is a field like any other then: it is written, and the row replaced.
    QVERIFY(film.save(true, true));
    QCOMPARE(film.id.value(), 1);
    QCOMPARE(dqQuery<Film>().count(), 1);
}

void TestConnection::replacingByAUniqueValueMovesTheRow()
{
    QVERIFY(m_memory->create<Film>());
    for (const char *title : {"M", "Gilda"}) {
        Film film;
        film.title = utf8(title);
        film.year = 1931;
        QVERIFY(film.save());
    }
    Film again;
    again.title = utf8("M");
    QVERIFY(again.save());
    QCOMPARE(again.id.value(), 3);
    const DQList<Film> films = dqQuery<Film>().call();
    QCOMPARE(films.size(), 2);
    QCOMPARE(films.at(0).title.value(), utf8("Gilda"));
    QCOMPARE(films.at(1).title.value(), utf8("M"));
    QCOMPARE(films.at(1).year.value(), 1895);
}

void TestConnection::whatIsNotCleanIsNotSaved()
{
    Genre forbidden = genre("forbidden", 1);
    QVERIFY(!forbidden.save());
    QVERIFY(forbidden.id.isNull());
    QCOMPARE(dqQuery<Genre>().count(), 0);
}

void TestConnection::aFailedSaveChangesNothing()
{
    Genre nameless;
    nameless.rank = 1;
    const Warnings warnings;
    QVERIFY(!nameless.save());
    QVERIFY(nameless.id.isNull());
    QCOMPARE(Warnings::texts().value(0),
             utf8("Failed : REPLACE INTO Genre (rank) values (:rank);"));
    QVERIFY(Warnings::texts().value(1).contains(utf8("NOT NULL constraint failed: Genre.name")));
    QCOMPARE(m_memory->connection.lastQuery().lastError().type(), QSqlError::ConnectionError);
    QCOMPARE(dqQuery<Genre>().count(), 0);
}

void TestConnection::everyTypeSurvives()
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
    record.text = utf8("三体 'quoted' \"twice\"");
    record.texts = QStringList{utf8("a,b"), utf8("\"&\"")};
    record.bytes = QByteArray("\0\xff", 2);
    record.day = QDate(2026, 2, 28);
    record.moment = QDateTime(QDate(2026, 11, 22), QTime(19, 52, 11, 7), Qt::UTC);
    QVERIFY(record.save());

    EveryType loaded;
    QVERIFY(loaded.load(dqColumn(&EveryType::id) == 1));
    const DQModelMetaInfo &model = *record.metaInfo();
    for (const QString &name : model.fieldNames())
        QCOMPARE(model.value(loaded, name), model.value(record, name));
}

void TestConnection::loadingNothingLeavesTheRecord()
{
    Genre record = genre("drama", 7);
    QVERIFY(!record.load(dqColumn(&Genre::id) == 4711));
    QCOMPARE(record.name.value(), utf8("drama"));
    QVERIFY(record.id.isNull());
}

void TestConnection::removingNeedsAKey()
{
    Genre drama = genre("drama", 1);
    Genre comedy = genre("comedy", 2);
    QVERIFY(drama.save() && comedy.save());
    Genre stranger = genre("drama", 1);
    const QString before = m_memory->connection.lastQuery().lastQuery();
    QVERIFY(!stranger.remove());
    QCOMPARE(m_memory->connection.lastQuery().lastQuery(), before);
    QVERIFY(drama.remove());
    QCOMPARE(m_memory->connection.lastQuery().lastQuery(),
             utf8("DELETE FROM Genre WHERE id = :arg0 ;"));
    QCOMPARE(genres(), utf8("2 comedy 2"));
}

void TestConnection::countCountsOrIsZero()
{
    QCOMPARE(dqQuery<Genre>().count(), 0);
    for (int rank = 1; rank <= 3; ++rank)
        QVERIFY(genre("drama", rank).save());
    QCOMPARE(dqQuery<Genre>().count(), 3);
    QCOMPARE(dqQuery<Genre>().filter(dqColumn(&Genre::rank) > 1).count(), 2);
    QVERIFY(m_memory->connection.dropTables());
    QTest::ignoreMessage(QtWarningMsg, "Failed : SELECT ALL count(*) FROM Genre ;");
    QCOMPARE(dqQuery<Genre>().count(), 0);
}

void TestConnection::aFailedQueryIsTheLastOne()
{
    const QString sql = utf8("SELECT ALL * FROM Genre LIMIT 1 ORDER BY rank ;");
    DQQuery query = dqQuery<Genre>();
    query.limit(1).orderBy(utf8("rank"));
    const Warnings warnings;
    QVERIFY(!query.exec());
    QVERIFY(!query.next());
    QCOMPARE(query.call().size(), 0);
    QCOMPARE(Warnings::texts().value(0), utf8("Failed : ") + sql);
    QCOMPARE(m_memory->connection.lastQuery().lastQuery(), sql);
    QVERIFY(m_memory->connection.lastQuery().lastError().isValid());
}

void TestConnection::rowsAreReadOneByOne()
{
    QVERIFY(genre("drama", 2).save() && genre("comedy", 1).save());
    DQQuery query = dqQuery<Genre>();
    Genre record;
    QVERIFY(!query.recordTo(record));
    QVERIFY(query.orderBy(utf8("rank")).exec());
    QStringList names;
    while (query.next()) {
        QVERIFY(query.recordTo(record));
        names.append(record.name.value());
    }
    QCOMPARE(names, (QStringList{utf8("comedy"), utf8("drama")}));
    QVERIFY(!query.recordTo(record));
}

void TestConnection::columnsThatATableLacksStay()
{
    DQConnection &connection = m_memory->connection;
    QVERIFY(connection.exec(utf8("CREATE TABLE Films (title TEXT, colour TEXT, id INTEGER)")));
    QVERIFY(connection.exec(utf8("INSERT INTO Films VALUES ('M', 'grey', 5)")));
    QVERIFY(m_memory->create<Film>());
    Film film;
    film.year = 1931;
    QVERIFY(film.load(dqColumn(&Film::title) == utf8("M")));
    QCOMPARE(film.id.value(), 5);
    QCOMPARE(film.title.value(), utf8("M"));
    QCOMPARE(film.year.value(), 1931);
}

void TestConnection::copiesOfAQueryAreIndependent()
{
    QVERIFY(genre("drama", 1).save() && genre("comedy", 2).save());
    DQQuery all = dqQuery<Genre>();
    DQQuery first = all;
    first.filter(dqColumn(&Genre::rank) == 1);
    QVERIFY(all.exec() && all.next());
    QCOMPARE(first.count(), 1);
    QVERIFY(all.next());
    QVERIFY(!all.next());
    QCOMPARE(all.count(), 2);

    QVERIFY(all.exec());
    DQQuery copy = all; // while the rows are being read
    QVERIFY(!copy.next());
    QVERIFY(all.next());
    QVERIFY(copy.exec() && copy.next());
    QVERIFY(all.next());
    QVERIFY(!all.next());
    copy = first;
    QVERIFY(!copy.next());
    QCOMPARE(copy.count(), 1);
}

void TestConnection::transactionsAreKeptTogetherOrNotAtAll()
{
    const DQConnection &connection = m_memory->connection;
    {
        const DQTransaction dropped(connection);
        QVERIFY(genre("dropped", 1).save());
    }
    QCOMPARE(genres(), QString());
    {
        DQTransaction outer(connection);
        {
            DQTransaction inner(connection);
            QVERIFY(genre("kept", 1).save());
            QVERIFY(inner.commit());
        }
        QVERIFY(outer.commit());
        QVERIFY(!outer.commit());
    }
    QCOMPARE(genres(), utf8("1 kept 1"));
    {
        DQTransaction outer(connection);
        {
            const DQTransaction inner(connection);
            QVERIFY(genre("half", 2).save());
        }
        QVERIFY(!outer.commit());
    }
    QCOMPARE(genres(), utf8("1 kept 1"));
    DQTransaction next(connection);
    QVERIFY(next.commit());
}

void TestConnection::whatSqliteRolledBackItselfWarnsOnce()
{
    DQConnection &connection = m_memory->connection;
    QVERIFY(connection.exec(utf8("CREATE TRIGGER refuse BEFORE INSERT ON Genre "
                                 "BEGIN SELECT RAISE(ROLLBACK, 'refused'); END")));
    const Warnings warnings;
    {
        const DQTransaction transaction(connection);
        QVERIFY(transaction.isActive());
        QVERIFY(!genre("drama", 1).save());
    }
    QCOMPARE(Warnings::texts().size(), 2); // the statement and the reason
    QVERIFY(Warnings::texts().at(1).contains(utf8("refused")));
    DQTransaction next(connection);
    QVERIFY(next.isActive() && next.commit());
}

void TestConnection::dateTimesThatSqliteStampedAreFound()
{
    QVERIFY(m_memory->create<Film>());
    DQConnection &connection = m_memory->connection;
    QVERIFY(connection.exec(utf8("INSERT INTO Films (title) VALUES ('M')")));
    Film film;
    QVERIFY(film.load(dqColumn(&Film::title) == utf8("M")));
    const QDateTime stamp = film.added.value();
    const auto count = [](const DQWhere &where) { return dqQuery<Film>().filter(where).count(); };
    QCOMPARE(count(dqColumn(&Film::added) == stamp), 1);
    QCOMPARE(count(dqColumn(&Film::added) >= stamp), 1);
    QCOMPARE(count(dqColumn(&Film::added) <= stamp), 1);
    QCOMPARE(count(dqColumn(&Film::added) < stamp.addMSecs(1)), 1);
    QCOMPARE(count(dqColumn(&Film::added) > stamp.addMSecs(-1)), 1);
    QCOMPARE(count(dqColumn(&Film::added) != stamp), 0);
    QVERIFY(film.save());
    QSqlQuery query = connection.newQuery();
    QVERIFY(connection.exec(query, utf8("SELECT added FROM Films")) && query.next());
    QCOMPARE(query.value(0).toString(), stamp.toUTC().toString(utf8("yyyy-MM-dd hh:mm:ss")));
}

void TestConnection::aTimeThatNeverCameIsNull()
{
    qputenv("TZ", "America/New_York");
    tzset();
    const auto restore = qScopeGuard([] {
        qunsetenv("TZ");
        tzset();
    });
    const QDateTime leftOut(QDate(2026, 3, 8), QTime(2, 30));
    QVERIFY(!leftOut.isNull() && !leftOut.isValid());
    QTest::ignoreMessage(QtWarningMsg, "EveryType::hour - DQField<QTime> is not supported yet");
    QVERIFY(m_memory->create<EveryType>());
    EveryType record;
    record.number = 1;
    record.moment = leftOut;
    QVERIFY(record.moment.isNull());
    QVERIFY(record.save());
    const DQColumn<QDateTime> moment = dqColumn(&EveryType::moment);
    QCOMPARE(dqQuery<EveryType>().filter(moment.isNull()).count(), 1);
    QCOMPARE(dqQuery<EveryType>().filter(moment >= leftOut).count(), 0);
    QVERIFY(dqToSql(leftOut).isNull());
}

void TestConnection::aRecordOfNoModelDoesNothing()
{
    DQModel record;
    const Warnings warnings;
    QVERIFY(!record.save());
    QVERIFY(!record.load(DQWhere()));
    QVERIFY(!record.remove());
    record.id = 1;
    QVERIFY(!record.remove());
    QCOMPARE(Warnings::texts().size(), 3); // none for the null key
    QVERIFY(genre("drama", 1).save());
    DQQuery query = dqQuery<Genre>();
    QVERIFY(query.exec() && query.next());
    QVERIFY(!query.recordTo(record));
    DQQuery nothing(nullptr, m_memory->connection);
    QVERIFY(!nothing.exec());
    QVERIFY(!nothing.remove());
    QCOMPARE(nothing.count(), 0);
    QCOMPARE(DQQuery(nullptr).call().size(), 0);
}

void TestConnection::aClosedConnectionDoesNothing()
{
    DQQuery query = dqQuery<Genre>();
    m_memory.reset();
    Genre record = genre("drama", 1);
    QVERIFY(!record.save());
    QVERIFY(!record.load(DQWhere()));
    QVERIFY(!query.exec());
    QVERIFY(!query.remove());
    QCOMPARE(dqQuery<Genre>().count(), 0);
    QCOMPARE(query.call().size(), 0);
    QVERIFY(!DQConnection().createTables());
    QVERIFY(!DQConnection().dropTables());
    QVERIFY(!DQTransaction(DQConnection()).isActive());
}

QTEST_GUILESS_MAIN(TestConnection)
#include "tst_connection.moc"
