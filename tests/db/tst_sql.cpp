#include <QPoint>
#include <QSqlQuery>
#include <QTest>

#include "db/dq/dq_index.h"
#include "db/dq/dq_query.h"
#include "db/dq/dq_sqlite_statement.h"
#include "memory_database.h"
#include "sample_models.h"
#include "support/log_capture.h"

namespace {

void addFilm(const QString &title, int year, const QVariant &rating)
{
    Film film;
    film.title = title;
    film.year = year;
    film.rating = rating;
    QVERIFY(film.save());
}

QString yearsFound(const DQWhere &where)
{
    QStringList years;
    const DQList<Film> films = dqQuery<Film>().filter(where).orderBy("year").call();
    for (const Film &film : films) {
        years.append(QString::number(film.year.value()));
    }
    return years.join(' ');
}

QString sqlOf(const DQWhere &where)
{
    DQBindings bindings;
    const QString sql = where.toSql(bindings);
    return bindings.size() == sql.count(":arg") ? sql : "values without a place";
}

DQWhere column(const char *name)
{
    return DQWhere(QString(name));
}

} // namespace

// The text of conditions and statements, each executed or at least understood by SQLite.
class TestSql final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_memory = std::make_unique<MemoryDatabase>();
        QVERIFY(m_memory->create<Film>());
        addFilm("Nosferatu", 1922, 7.9);
        addFilm("Metropolis", 1927, QVariant());
        addFilm("M", 1931, 8.3);
        addFilm("Gilda", 1946, 0.0);
    }
    void cleanup() { m_memory.reset(); }

    void everyOperatorInBothForms_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<DQWhere>("where");
        QTest::addColumn<QString>("years"); // of the films found
        QTest::addColumn<QString>("operand");
        const auto row = [](const char *text, const QVariant &value, const DQWhere &where,
                            const QString &years, const QString &operand = ":arg0") {
            QTest::newRow(text) << value << where << years << operand;
        };
        const DQColumn<QString> title = dqColumn(&Film::title);
        const DQColumn<int> year = dqColumn(&Film::year);
        const DQColumn<double> rating = dqColumn(&Film::rating);
        row("title =", "M", title == "M", "1931");
        row("rating =", QVariant(), column("rating") == QVariant(), ""); // null equals nothing
        row("title <>", "M", title != "M", "1922 1927 1946");
        row("year <", 1931, year < 1931, "1922 1927");
        row("year <=", 1927, year <= 1927, "1922 1927");
        row("year >", 1931, year > 1931, "1946");
        row("year >=", 1931, year >= 1931, "1931 1946");
        row("title like", "m%", title.like("m%"), "1927 1931");
        row("title glob", "M*s", title.glob("M*s"), "1927");
        row("rating is", QVariant(), rating.isNull(), "1927");
        row("rating is not", QVariant(), rating.isNotNull(), "1922 1931 1946");
        row("year in", QVariantList{1922, 1946}, year.in({1922, 1946}), "1922 1946",
            "(:arg0,:arg1)");
        row("id in", QVariantList(), dqColumn(&Film::id).in({}), "", "()");
        row("year not in", QVariantList{1922}, year.notIn({1922}), "1927 1931 1946", "(:arg0)");
        row("year between", QVariantList{1925, 1935}, year.between(1925, 1935), "1927 1931",
            ":arg0 and :arg1");
        row("year %", 2, column("year") % 2, "1927 1931");
        row("year /", 1930, column("year") / 1930, "1931 1946");
        row("rating *", 5, column("rating") * 5, "1922 1931");
        row("rating and", 5, DQWhere("rating AND", 5), "1922 1931");
        row("rating or", 5, DQWhere("  rating   or ", 5), "1922 1927 1931 1946");
    }
    void everyOperatorInBothForms()
    {
        QFETCH(QVariant, value);
        QFETCH(DQWhere, where);
        QFETCH(QString, operand);
        const QString text = QTest::currentDataTag();
        for (const DQWhere &form : {where, DQWhere(text, value)}) {
            QCOMPARE(sqlOf(form).toLower(), text + ' ' + operand);
            QTEST(yearsFound(form), "years");
        }
    }

    void conditionsCombine_data()
    {
        QTest::addColumn<DQWhere>("where");
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("years");
        const auto row = [](const char *name, const DQWhere &where, const QString &sql,
                            const QString &years) { QTest::newRow(name) << where << sql << years; };
        const DQWhere old = column("year") < 1930;
        const DQWhere isM = column("title") == "M";
        row("nothing", DQWhere(), "", "1922 1927 1931 1946");
        row("a column alone", column("rating"), "rating", "1922 1931");
        row("and", old && isM, "(year < :arg0) and (title = :arg1)", "");
        row("nested", isM || (old && column("year").between(1920, 1925)),
            "(title = :arg0) or ((year < :arg1) and (year between :arg2 and :arg3))", "1922 1931");
        row("an empty left side", DQWhere() && isM, "title = :arg0", "1931");
        row("an empty right side", isM || DQWhere(), "title = :arg0", "1931");
        row("arithmetic", column("year") % 5 * 2 == 2, "((year % :arg0) * :arg1) = :arg2",
            "1931 1946");
        row("a text without blanks", DQWhere("year>=", 1931), "year >= :arg0", "1931 1946");
        row("a value is never SQL", column("title") == "' or 1=1 --", "title = :arg0", "");
    }
    void conditionsCombine()
    {
        QFETCH(DQWhere, where);
        QTEST(sqlOf(where), "sql");
        QTEST(yearsFound(where), "years");
    }

    void messagesShowTheValues()
    {
        QCOMPARE((column("title") == "M" || (column("id") < 3 && column("id").isNull())).toString(),
                 "( title = \"M\" ) or ( ( id < 3 ) and ( id is  ) )");
        QCOMPARE(DQWhere("id BETWEEN", QVariantList{1, 5}).toString(), "id BETWEEN 1 and 5");
        QCOMPARE(column("id").in({1, 2}).toString() + DQWhere().toString(), "id in (1,2)");
    }

    void whatIsNotUnderstoodMatchesNothing()
    {
        const QString unparsed = "DQWhere() : can not parse ";
        const QString unsupported = "DQWhereDataPriv - Unsupported type";
        const std::vector<std::tuple<QString, QVariant, QString>> conditions{
            {"", 1, unparsed},
            {"= id", 1, unparsed + "= id"},
            {"id", 1, unparsed + "id"},
            {"id; drop table Films; --", 1, unparsed + "id; drop table Films; --"},
            {"id in", 1, unparsed + "id in"},
            {"id between", QVariantList{1}, unparsed + "id between"},
            {"id <>", QPoint(), unsupported},
            {"id <>", QVariantList{1}, unsupported}};
        for (const auto &[text, value, warning] : conditions) {
            const LogCapture log;
            const DQWhere where(text, value);
            QVERIFY(dqQuery<Film>().filter(where).remove());
            QCOMPARE(log.warnings(), QStringList{warning});
            QCOMPARE(yearsFound(where || column("year") < 1947), "1922 1927 1931 1946");
        }
    }

    void whatIsNotUnderstoodSpoilsWhatItStandsIn()
    {
        const LogCapture log; // the texts and the empty conditions warn
        const DQWhere year = column("year");
        const DQWhere garbage("year ?", 1);
        const QVariant point = QPoint();
        for (const DQWhere &where :
             {garbage, garbage != 5, garbage * 2 < 5, year > garbage, garbage.isNotNull(),
              garbage.in({0}), year * point != 3, year * 5 != point, (year * point) != (year * 5),
              year != DQWhere(), DQWhere() * 5 != 1}) {
            QCOMPARE(sqlOf(where), "0");
            QVERIFY(dqQuery<Film>().filter(where).remove());
            QCOMPARE(dqQuery<Film>().count(), 4);
        }
        QCOMPARE(sqlOf((year > 1 || garbage) != 5), "((year > :arg0) or 0) <> :arg1");
        QCOMPARE(sqlOf((garbage != 5) && year > 1930), "0 and (year > :arg0)");
        QCOMPARE(sqlOf(year > 1940 || garbage != 5), "(year > :arg0) or 0");
    }

    void statements_data()
    {
        QTest::addColumn<QString>("sql");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, const QString &sql, const QString &expected) {
            QTest::newRow(name) << sql << expected;
        };
        const DQSqliteStatement sql;
        const DQModelMetaInfo &film = *dqMetaInfo<Film>();
        const LogCapture log; // a column without a type warns
        row("a table with a foreign key to itself",
            sql.createTableIfNotExists(*dqMetaInfo<Director>()),
            "CREATE TABLE IF NOT EXISTS Director  (\nid INTEGER PRIMARY KEY AUTOINCREMENT,\n"
            "name TEXT NOT NULL UNIQUE,\nteacher INTEGER ,\n"
            "FOREIGN KEY(teacher) REFERENCES Director(id)\n);");
        row("constraints in any order", sql.createTableIfNotExists(film),
            "CREATE TABLE IF NOT EXISTS Films  (\nid INTEGER PRIMARY KEY AUTOINCREMENT,\n"
            "title TEXT NOT NULL UNIQUE,\nyear INTEGER DEFAULT 1895 ,\nrating DOUBLE ,\n"
            "added DATETIME NOT NULL DEFAULT CURRENT_TIMESTAMP ,\ndirector INTEGER DEFAULT 0 ,\n"
            "second INTEGER DEFAULT 0.5 ,\nFOREIGN KEY(director) REFERENCES Director(id),\n"
            "FOREIGN KEY(second) REFERENCES Director(id)\n);");
        row("every type that SQLite has", sql.createTableIfNotExists(*dqMetaInfo<EveryType>()),
            "CREATE TABLE IF NOT EXISTS EveryType  (\nid INTEGER PRIMARY KEY AUTOINCREMENT,\n"
            "flag BOOLEAN ,\nnumber INTEGER ,\nnatural INTEGER ,\nbig INTEGER ,\n"
            "bigNatural INTEGER ,\nreal DOUBLE ,\ntext TEXT ,\ntexts TEXT ,\nbytes BLOB ,\n"
            "day DATE ,\nmoment DATETIME \n);");
        row("drop a table", sql.dropTable(film), "drop table Films;");
        row("an index", sql.createIndexIfNotExists({"byYear", &film, {"year", "title"}}),
            "CREATE INDEX IF NOT EXISTS byYear on Films (year,title);");
        row("drop an index", sql.dropIndexIfExists("byYear"), "DROP INDEX IF EXISTS byYear;");
        row("insert", sql.insertInto(film, {"added", "title"}),
            "INSERT INTO Films (added,title) values (:added,:title);");
        row("replace", sql.replaceInto(film, {"id"}), "REPLACE INTO Films (id) values (:id);");
        row("exists", sql.existsTable(film),
            "SELECT name FROM sqlite_master WHERE type='table' and name ='Films'");
        const DQWhere recent = column("year") > 2000;
        row("everything", sql.select(dqQuery<Film>()), "SELECT ALL * FROM Films ;");
        row("an empty condition, no limit", sql.select(dqQuery<Film>().filter({}).limit(-1)),
            "SELECT ALL * FROM Films ;");
        row("orderings", sql.select(dqQuery<Film>().orderBy("year desc").orderBy("title")),
            "SELECT ALL * FROM Films ORDER BY year desc,title ;");
        row("a limit", sql.select(dqQuery<Film>().filter(recent).limit(1)),
            "SELECT ALL * FROM Films WHERE year > :arg0 LIMIT 1 ;");
        row("SQLite refuses a limit before an ordering",
            sql.select(dqQuery<Film>().limit(1).orderBy("year")),
            "SELECT ALL * FROM Films LIMIT 1 ORDER BY year ;");
        row("columns", sql.select(dqQuery<Film>().resultFields({"title", "year"})),
            "SELECT ALL title,year FROM Films ;");
        row("a function of columns",
            sql.select(dqQuery<Film>().resultFunction("max").resultFields({"year", "id"})),
            "SELECT ALL max(year,id) FROM Films ;");
        row("delete", sql.deleteFrom(dqQuery<Film>().filter(recent).limit(1).orderBy("year")),
            "DELETE FROM Films WHERE year > :arg0 ;");
        row("delete all", sql.deleteFrom(dqQuery<Film>()), "DELETE FROM Films ;");
        row("an offset", "SELECT 1 " + sql.limitAndOffset(5, 3), "SELECT 1 LIMIT 5 OFFSET 3");
    }
    void statements()
    {
        QFETCH(QString, sql);
        QTEST(sql, "expected");
        const bool isRefused = QByteArray(QTest::currentDataTag()).startsWith("SQLite refuses");
        QCOMPARE(QSqlQuery(m_memory->connection.database()).prepare(sql), !isRefused);
    }

    void literals()
    {
        const DQSqliteStatement sql;
        QCOMPARE(sql.formatValue(0.5, false), "0.5");
        QCOMPARE(sql.formatValue(" it's ", false), "' it''s '");
        QCOMPARE(sql.formatValue(" it's ", true), "'it''s'");
        QCOMPARE(sql.formatValue(QChar('\''), false), "''''");
        QCOMPARE(sql.driverName(), "SQLITE");
    }

private:
    std::unique_ptr<MemoryDatabase> m_memory;
};

QTEST_GUILESS_MAIN(TestSql)
#include "tst_sql.moc"
