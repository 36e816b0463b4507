#include <functional>

#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QtTest>

#include "db/dq/dq_index.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_sqlite_statement.h"
#include "memory_database.h"
#include "sample_models.h"
#include "warnings.h"

using Description = std::function<void(DQQuery &)>;
Q_DECLARE_METATYPE(Description)

namespace {

QString utf8(const char *text)
{
    return QString::fromUtf8(text);
}

/// Executes with every placeholder bound to NULL.
bool executes(const MemoryDatabase &memory, const QString &sql)
{
    QSqlQuery query(memory.connection.database());
    if (!query.prepare(sql))
        return false;
    const int placeholders = query.boundValues().size();
    for (int i = 0; i < placeholders; ++i)
        query.bindValue(i, QVariant());
    return query.exec();
}

} // namespace

class TestStatement final : public QObject
{
    Q_OBJECT

private slots:
    void writesAndExecutes_data();
    void writesAndExecutes();
    void queries_data();
    void queries();
    void columnsWithoutATypeAreLeftOut();
    void insertsAndReplacesRows();
    void everyPartOfAQueryIsWritten();
    void literals_data();
    void literals();
    void existsTableFindsTheTableAndNothingElse();
    void namesItsDriver();
};

void TestStatement::writesAndExecutes_data()
{
    QTest::addColumn<QString>("sql");
    QTest::addColumn<QString>("expected");
    const DQSqliteStatement builder;
    const DQModelMetaInfo &film = *dqMetaInfo<Film>();

    QTest::newRow("create a table") << builder.createTableIfNotExists(*dqMetaInfo<Director>())
                                    << utf8("CREATE TABLE IF NOT EXISTS Director  (\n"
                                            "id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                                            "name TEXT NOT NULL UNIQUE\n"
                                            ");");
    QTest::newRow("create a table with defaults and a foreign key")
        << builder.createTableIfNotExists(film)
        << utf8("CREATE TABLE IF NOT EXISTS Films  (\n"
                "id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                "title TEXT NOT NULL UNIQUE,\n"
                "year INTEGER DEFAULT 1895 ,\n"
                "rating DOUBLE ,\n"
                "added DATETIME NOT NULL DEFAULT CURRENT_TIMESTAMP ,\n"
                "director INTEGER ,\n"
                "FOREIGN KEY(director) REFERENCES Director(id)\n"
                ");");
    const DQIndex index{utf8("byYear"), &film, {utf8("year"), utf8("title")}};
    QTest::newRow("create an index")
        << builder.createIndexIfNotExists(index)
        << utf8("CREATE INDEX IF NOT EXISTS byYear on Films (year,title);");
    QTest::newRow("drop an index")
        << builder.dropIndexIfExists(utf8("byYear")) << utf8("DROP INDEX IF EXISTS byYear;");
    QTest::newRow("insert") << builder.insertInto(film, {utf8("added"), utf8("title")})
                            << utf8("INSERT INTO Films (added,title) values (:added,:title);");
    QTest::newRow("replace") << builder.replaceInto(film, {utf8("id")})
                             << utf8("REPLACE INTO Films (id) values (:id);");
    QTest::newRow("exists") << builder.existsTable(film)
                            << utf8("SELECT name FROM sqlite_master WHERE type='table' and "
                                    "name ='Films'");
    QTest::newRow("drop a table") << builder.dropTable(film) << utf8("drop table Films;");
}

void TestStatement::writesAndExecutes()
{
    QFETCH(QString, sql);
    QTEST(sql, "expected");
    MemoryDatabase memory;
    QVERIFY(memory.create<Film>());
    // NULL is refused where the model says so; anything else would be a fault in the text.
    const bool insertsNull =
        sql.startsWith(QLatin1String("INSERT")) || sql.startsWith(QLatin1String("REPLACE"));
    QCOMPARE(executes(memory, sql), !insertsNull);
    if (insertsNull) {
        QSqlQuery query(memory.connection.database());
        QVERIFY(query.prepare(sql));
    }
}

void TestStatement::queries_data()
{
    QTest::addColumn<Description>("describe");
    QTest::addColumn<QString>("select");
    QTest::addColumn<QString>("deletion");
    QTest::addColumn<bool>("isAccepted"); // the selection, by SQLite

    const auto row = [](const char *name, const Description &describe, const char *select,
                        const char *condition = "", bool isAccepted = true) {
        QTest::newRow(name) << describe << utf8(select)
                            << utf8("DELETE FROM Films %1;").arg(utf8(condition)) << isAccepted;
    };
    const DQWhere recent = DQWhere(utf8("year")) > 2000;

    row(
        "everything", [](DQQuery &) {}, "SELECT ALL * FROM Films ;");
    row(
        "a condition", [=](DQQuery &q) { q.filter(recent); },
        "SELECT ALL * FROM Films WHERE year > :arg0 ;", "WHERE year > :arg0 ");
    row(
        "an empty condition", [](DQQuery &q) { q.filter(DQWhere()); }, "SELECT ALL * FROM Films ;");
    row(
        "orderings keep their order",
        [](DQQuery &q) { q.orderBy(utf8("year desc")).orderBy(utf8("title")); },
        "SELECT ALL * FROM Films ORDER BY year desc,title ;");
    row(
        "a limit", [](DQQuery &q) { q.limit(1); }, "SELECT ALL * FROM Films LIMIT 1 ;");
    row(
        "no limit below 1", [](DQQuery &q) { q.limit(-1); }, "SELECT ALL * FROM Films ;");
    row(
        "a limit stands before an ordering", [](DQQuery &q) { q.limit(1).orderBy(utf8("year")); },
        "SELECT ALL * FROM Films LIMIT 1 ORDER BY year ;", "", false);
    row(
        "columns",
        [](DQQuery &q) {
            q.resultFields({utf8("title"), utf8("year")});
        },
        "SELECT ALL title,year FROM Films ;");
    row(
        "a function", [](DQQuery &q) { q.resultFunction(utf8("count")); },
        "SELECT ALL count(*) FROM Films ;");
    row(
        "a function of a column",
        [=](DQQuery &q) {
            q.resultFunction(utf8("max")).resultFields({utf8("year")}).filter(recent);
        },
        "SELECT ALL max(year) FROM Films WHERE year > :arg0 ;", "WHERE year > :arg0 ");
}

void TestStatement::queries()
{
    QFETCH(Description, describe);
    QFETCH(bool, isAccepted);
    const DQSqliteStatement builder;
    DQQuery query = dqQuery<Film>();
    describe(query);
    const QString select = builder.select(query);
    const QString deletion = builder.deleteFrom(query);
    QTEST(select, "select");
    QTEST(deletion, "deletion");
    MemoryDatabase memory;
    QVERIFY(memory.create<Film>());
    QCOMPARE(executes(memory, select), isAccepted);
    QVERIFY(executes(memory, deletion));
}

void TestStatement::columnsWithoutATypeAreLeftOut()
{
    const Warnings warnings;
    MemoryDatabase memory;
    QVERIFY(memory.create<EveryType>());
    QCOMPARE(Warnings::texts(),
             QStringList{utf8("EveryType::hour - DQField<QTime> is not supported yet")});
    QCOMPARE(DQSqliteStatement().createTableIfNotExists(*dqMetaInfo<EveryType>()),
             utf8("CREATE TABLE IF NOT EXISTS EveryType  (\n"
                  "id INTEGER PRIMARY KEY AUTOINCREMENT,\n"
                  "flag BOOLEAN ,\n"
                  "number INTEGER ,\n"
                  "natural INTEGER ,\n"
                  "big INTEGER ,\n"
                  "bigNatural INTEGER ,\n"
                  "real DOUBLE ,\n"
                  "text TEXT ,\n"
                  "texts TEXT ,\n"
                  "bytes BLOB ,\n"
                  "day DATE ,\n"
                  "moment DATETIME \n"
                  ");"));
}

void TestStatement::insertsAndReplacesRows()
{
    MemoryDatabase memory;
    QVERIFY(memory.create<Film>());
    const DQSqliteStatement builder;
    const QStringList columns{utf8("id"), utf8("title"), utf8("year")};
    const auto write = [&memory](const QString &sql, int year) {
        QSqlQuery query(memory.connection.database());
        query.prepare(sql);
        query.bindValue(utf8(":id"), 7);
        query.bindValue(utf8(":title"), utf8("it's :year"));
        query.bindValue(utf8(":year"), year);
        return query.exec();
    };
    const QString insert = builder.insertInto(*dqMetaInfo<Film>(), columns);
    QVERIFY(write(insert, 1927));
    QVERIFY(!write(insert, 1928)); // the row is there
    QVERIFY(write(builder.replaceInto(*dqMetaInfo<Film>(), columns), 1931));
    QVERIFY(!write(builder.insertIntoVerb(*dqMetaInfo<Film>(), columns, utf8("INSERT")), 1932));
    const DQList<Film> films = dqQuery<Film>().call();
    QCOMPARE(films.size(), 1);
    QCOMPARE(films.first().id.value(), 7);
    QCOMPARE(films.first().title.value(), utf8("it's :year"));
    QCOMPARE(films.first().year.value(), 1931);
}

void TestStatement::everyPartOfAQueryIsWritten()
{
    const DQSqliteStatement builder;
    QCOMPARE(builder.limitAndOffset(5, 0), utf8("LIMIT 5"));
    QCOMPARE(builder.limitAndOffset(5, 3), utf8("LIMIT 5 OFFSET 3"));
    DQQuery query = dqQuery<Film>();
    query.filter(DQWhere(utf8("year")) > 1930).orderBy(utf8("year desc")).orderBy(utf8("id"));
    query.resultFunction(utf8("max")).resultFields({utf8("year"), utf8("id")});
    QCOMPARE(builder.selectResultColumn(query), utf8("max(year,id)"));
    QCOMPARE(builder.selectCore(query),
             utf8("SELECT ALL max(year,id) FROM Films WHERE year > :arg0"));
    QCOMPARE(builder.orderBy(query), utf8("ORDER BY year desc,id"));
    MemoryDatabase memory;
    QVERIFY(memory.create<Film>());
    QVERIFY(executes(memory, builder.selectCore(query) + QLatin1Char(' ') + builder.orderBy(query) +
                                 QLatin1Char(' ') + builder.limitAndOffset(5, 3)));
}

void TestStatement::literals_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("trim");
    QTest::addColumn<QString>("literal");
    QTest::newRow("a number") << QVariant(3) << false << utf8("3");
    QTest::newRow("a fraction") << QVariant(0.5) << false << utf8("0.5");
    QTest::newRow("text") << QVariant(utf8("it's")) << false << utf8("'it''s'");
    QTest::newRow("blanks stay") << QVariant(utf8(" a ")) << false << utf8("' a '");
    QTest::newRow("blanks go") << QVariant(utf8(" a ")) << true << utf8("'a'");
    QTest::newRow("a character") << QVariant(QChar(QLatin1Char('\''))) << false << utf8("''''");
    QTest::newRow("empty text") << QVariant(utf8("")) << false << utf8("''");
}

void TestStatement::literals()
{
    QFETCH(QVariant, value);
    QFETCH(bool, trim);
    const QString literal = DQSqliteStatement().formatValue(value, trim);
    QTEST(literal, "literal");
    const MemoryDatabase memory;
    QSqlQuery query(memory.connection.database());
    QVERIFY(query.exec(utf8("SELECT ") + literal) && query.next());
    const QString expected = trim ? value.toString().trimmed() : value.toString();
    QCOMPARE(query.value(0).toString(), expected);
}

void TestStatement::existsTableFindsTheTableAndNothingElse()
{
    MemoryDatabase memory;
    const auto exists = [&memory](const DQModelMetaInfo &model) {
        QSqlQuery query(memory.connection.database());
        return query.exec(DQSqliteStatement().existsTable(model)) && query.next();
    };
    QVERIFY(!exists(*dqMetaInfo<Film>()));
    QVERIFY(memory.create<Film>());
    QVERIFY(exists(*dqMetaInfo<Film>()));
    QVERIFY(!exists(*dqMetaInfo<Director>()));
}

void TestStatement::namesItsDriver()
{
    QCOMPARE(DQSqliteStatement().driverName(), utf8("SQLITE"));
}

QTEST_GUILESS_MAIN(TestStatement)
#include "tst_statement.moc"
