#include <QPoint>
#include <QtTest>

#include "db/dq/dq_query.h"
#include "memory_database.h"
#include "sample_models.h"
#include "warnings.h"

namespace {

DQWhere column(const char *name)
{
    return DQWhere(QString::fromLatin1(name));
}

DQWhere fromText(const char *text, const QVariant &value)
{
    return DQWhere(QString::fromLatin1(text), value);
}

} // namespace

class TestWhere final : public QObject
{
    Q_OBJECT

private slots:
    void rendersAndSelects_data();
    void rendersAndSelects();
    void whatIsNotUnderstoodMatchesNothing_data();
    void whatIsNotUnderstoodMatchesNothing();
    void whatIsNotUnderstoodSpoilsWhatItStandsIn_data();
    void whatIsNotUnderstoodSpoilsWhatItStandsIn();
    void columnsOfAModelAreTyped();
    void twelveValuesKeepTheirOrder();
};

namespace {

void row(const char *name, const DQWhere &where, const char *sql, const QVariantList &values,
         const char *message, const char *years)
{
    QTest::newRow(name) << where << QString::fromLatin1(sql) << values
                        << QString::fromLatin1(message) << QString::fromLatin1(years);
}

void addComparisons()
{
    const QString m = QStringLiteral("M");
    row("nothing", DQWhere(), "", {}, "", "1922 1927 1931 1946");
    row("a column alone", column("rating"), "rating", {}, "rating", "1922 1931");
    row("=", column("title") == m, "title = :arg0", {m}, "title = \"M\"", "1931");
    row("<>", column("title") != m, "title <> :arg0", {m}, "title <> \"M\"", "1922 1927 1946");
    row("<", column("year") < 1930, "year < :arg0", {1930}, "year < 1930", "1922 1927");
    row("<=", column("year") <= 1927, "year <= :arg0", {1927}, "year <= 1927", "1922 1927");
    row(">", column("year") > 1931, "year > :arg0", {1931}, "year > 1931", "1946");
    row(">=", column("year") >= 1931, "year >= :arg0", {1931}, "year >= 1931", "1931 1946");
    row("like", column("title").like(QStringLiteral("m%")), "title like :arg0",
        {QStringLiteral("m%")}, "title like \"m%\"", "1927 1931");
    row("glob", column("title").glob(QStringLiteral("m*")), "title glob :arg0",
        {QStringLiteral("m*")}, "title glob \"m*\"", "");
    row("is", column("title").is(m), "title is :arg0", {m}, "title is \"M\"", "1931");
    row("is null", column("rating").isNull(), "rating is :arg0", {QVariant()}, "rating is ",
        "1927");
    row("is not null", column("rating").isNotNull(), "rating is not :arg0", {QVariant()},
        "rating is not ", "1922 1931 1946");
    row("= null matches nothing", column("rating") == QVariant(), "rating = :arg0", {QVariant()},
        "rating = ", "");
}

void addListsAndCombinations()
{
    const QString m = QStringLiteral("M");
    const DQWhere old = column("year") < 1930;
    const DQWhere isM = column("title") == m;
    row("in", column("year").in({1922, 1946, 1999}), "year in (:arg0,:arg1,:arg2)",
        {1922, 1946, 1999}, "year in (1922,1946,1999)", "1922 1946");
    row("in an empty list", column("year").in({}), "year in ()", {}, "year in ()", "");
    row("not in", column("year").notIn({1922}), "year not in (:arg0)", {1922}, "year not in (1922)",
        "1927 1931 1946");
    row("not in an empty list", column("year").notIn({}), "year not in ()", {}, "year not in ()",
        "1922 1927 1931 1946");
    row("between", column("year").between(1925, 1935), "year between :arg0 and :arg1", {1925, 1935},
        "year between 1925 and 1935", "1927 1931");
    row("and", old && isM, "(year < :arg0) and (title = :arg1)", {1930, m},
        "( year < 1930 ) and ( title = \"M\" )", "");
    row("or", old || isM, "(year < :arg0) or (title = :arg1)", {1930, m},
        "( year < 1930 ) or ( title = \"M\" )", "1922 1927 1931");
    row("nested", old && (isM || column("year").between(1920, 1925)),
        "(year < :arg0) and ((title = :arg1) or (year between :arg2 and :arg3))",
        {1930, m, 1920, 1925},
        "( year < 1930 ) and ( ( title = \"M\" ) or ( year between 1920 and 1925 ) )", "1922");
    row("an empty left side", DQWhere() && isM, "title = :arg0", {m}, "title = \"M\"", "1931");
    row("an empty right side", isM || DQWhere(), "title = :arg0", {m}, "title = \"M\"", "1931");
}

void addArithmeticAndTexts()
{
    row("arithmetic", column("year") % 5 * 2 == 2, "((year % :arg0) * :arg1) = :arg2", {5, 2, 2},
        "( ( year % 5 ) * 2 ) = 2", "1931 1946");
    row("division", column("year") / 2 == 961, "(year / :arg0) = :arg1", {2, 961},
        "( year / 2 ) = 961", "1922");
    row("two columns", column("year") > column("id"), "year > id", {}, "year > id",
        "1922 1927 1931 1946");
    row("text =", fromText("id = ", 3), "id = :arg0", {3}, "id = 3", "1931");
    row("text with blanks", fromText("  year   is not ", QVariant()), "year is not :arg0",
        {QVariant()}, "year is not ", "1922 1927 1931 1946");
    row("text without blanks", fromText("year>=", 1931), "year >= :arg0", {1931}, "year >= 1931",
        "1931 1946");
    row("text in", fromText("year IN", QVariantList{1922, 1927}), "year IN (:arg0,:arg1)",
        {1922, 1927}, "year IN (1922,1927)", "1922 1927");
    row("text between", fromText("year between", QVariantList{1925, 1935}),
        "year between :arg0 and :arg1", {1925, 1935}, "year between 1925 and 1935", "1927 1931");
    row("a value is never SQL", column("title") == QStringLiteral("' or 1=1 --"), "title = :arg0",
        {QStringLiteral("' or 1=1 --")}, "title = \"' or 1=1 --\"", "");
}

} // namespace

void TestWhere::rendersAndSelects_data()
{
    QTest::addColumn<DQWhere>("where");
    QTest::addColumn<QString>("sql");
    QTest::addColumn<QVariantList>("values"); // of :arg0, :arg1, ...
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("years"); // of the films found
    addComparisons();
    addListsAndCombinations();
    addArithmeticAndTexts();
}

namespace {

void addFilm(const QString &title, int year, const QVariant &rating)
{
    Film film;
    film.title = title;
    film.year = year;
    film.rating = rating;
    QVERIFY(film.save());
}

void addFilms()
{
    addFilm(QStringLiteral("Nosferatu"), 1922, 7.9);
    addFilm(QStringLiteral("Metropolis"), 1927, QVariant());
    addFilm(QStringLiteral("M"), 1931, 8.3);
    addFilm(QStringLiteral("Gilda"), 1946, 0.0);
}

QString yearsFound(const DQWhere &where)
{
    DQQuery query = dqQuery<Film>();
    const DQList<Film> films = query.filter(where).orderBy(QStringLiteral("year")).call();
    QStringList years;
    for (const Film &film : films)
        years.append(QString::number(film.year.value()));
    return years.join(QLatin1Char(' '));
}

} // namespace

void TestWhere::rendersAndSelects()
{
    QFETCH(DQWhere, where);
    QFETCH(QVariantList, values);
    MemoryDatabase memory;
    QVERIFY(memory.create<Film>());
    addFilms();

    DQBindings bindings;
    QTEST(where.toSql(bindings), "sql");
    QCOMPARE(bindings.size(), values.size());
    for (int i = 0; i < values.size(); ++i) {
        QCOMPARE(bindings.at(i).placeholder, QStringLiteral(":arg%1").arg(i));
        QCOMPARE(bindings.at(i).value, values.at(i));
    }
    QTEST(where.toString(), "message");
    QTEST(yearsFound(where), "years");
}

void TestWhere::whatIsNotUnderstoodMatchesNothing_data()
{
    QTest::addColumn<QString>("text"); // null: a column compared with the value
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("warning");
    const auto text = [](const char *name, const char *where, const QVariant &value) {
        const QString condition = QString::fromLatin1(where);
        QTest::newRow(name) << condition << value
                            << QStringLiteral("DQWhere() : can not parse ") + condition;
    };
    text("nothing", "", 1);
    text("no leading name", "= id", 1);
    text("no operator", "id", 1);
    text("an unknown operator", "id; drop table Films; --", 1);
    text("in without a list", "id in", 1);
    text("between with one value", "id between", QVariantList{1});
    const QString unsupported = QStringLiteral("DQWhereDataPriv - Unsupported type");
    QTest::newRow("a point") << QString() << QVariant(QPoint()) << unsupported;
    QTest::newRow("a list") << QString() << QVariant(QVariantList{1}) << unsupported;
}

void TestWhere::whatIsNotUnderstoodMatchesNothing()
{
    QFETCH(QString, text);
    QFETCH(QVariant, value);
    QFETCH(QString, warning);
    MemoryDatabase memory;
    QVERIFY(memory.create<Film>());
    addFilms();

    const Warnings warnings;
    const DQWhere where = text.isNull() ? column("id") != value : DQWhere(text, value);
    QVERIFY(!where.isEmpty());
    QVERIFY(dqQuery<Film>().filter(where).remove());
    QCOMPARE(Warnings::texts(), QStringList{warning});
    QCOMPARE(dqQuery<Film>().count(), 4);
    QCOMPARE(yearsFound(where || column("year") == 1931), QStringLiteral("1931"));
}

void TestWhere::whatIsNotUnderstoodSpoilsWhatItStandsIn_data()
{
    QTest::addColumn<DQWhere>("where");
    QTest::addColumn<QString>("sql");
    QTest::addColumn<int>("values");
    const auto row = [](const char *name, const DQWhere &where, const char *sql, int values) {
        QTest::newRow(name) << where << QString::fromLatin1(sql) << values;
    };
    const Warnings warnings; // of the texts and the empty conditions
    const DQWhere year = column("year");
    const DQWhere garbage = fromText("year ?", 1);
    row("alone", garbage, "0", 0);
    row("compared", garbage != 5, "0", 0);
    row("in arithmetic", garbage * 2 < 5, "0", 0);
    row("on the right", year > garbage, "0", 0);
    row("like", garbage.like(QStringLiteral("0")), "0", 0);
    row("is not null", garbage.isNotNull(), "0", 0);
    row("in a list", garbage.in({0}), "0", 0);
    row("a product with a point", year * QVariant(QPoint()) != 3, "0", 0);
    row("the value before it is not bound", (year * 5 != QVariant(QPoint())), "0", 0);
    row("nor the value behind it", (year * QVariant(QPoint())) != (year * 5), "0", 0);
    row("a combination compared", (year > 1 || garbage) != 5, "((year > :arg0) or 0) <> :arg1", 2);
    row("below and", (garbage != 5) && year > 1930, "0 and (year > :arg0)", 1);
    row("below or", year > 1940 || garbage != 5, "(year > :arg0) or 0", 1);
    row("compared with an empty condition", year != DQWhere(), "0", 0);
    row("an empty condition compared", DQWhere() != 5, "0", 0);
    row("an empty condition in arithmetic", DQWhere() * 5 != 1, "0", 0);
}

void TestWhere::whatIsNotUnderstoodSpoilsWhatItStandsIn()
{
    QFETCH(DQWhere, where);
    MemoryDatabase memory;
    QVERIFY(memory.create<Film>());
    addFilms();
    const Warnings warnings;
    DQBindings bindings;
    QTEST(where.toSql(bindings), "sql");
    QTEST(bindings.size(), "values");
    QVERIFY(!where.isEmpty());
    QVERIFY(dqQuery<Film>().filter(where && column("year") < 1940).remove());
    if (bindings.isEmpty()) {
        QVERIFY(dqQuery<Film>().filter(where).remove());
        QCOMPARE(dqQuery<Film>().count(), 4);
    }
    QVERIFY(dqQuery<Film>().filter(where).orderBy(QStringLiteral("year")).exec());
}

void TestWhere::columnsOfAModelAreTyped()
{
    static_assert(!std::is_invocable_v<std::equal_to<>, DQColumn<int>, QString>);
    static_assert(!std::is_invocable_v<std::equal_to<>, DQColumn<QString>, int>);
    DQBindings bindings;
    const DQWhere where = dqColumn(&Film::year).between(1920, 1929) &&
                          dqColumn(&Film::title).in({QStringLiteral("M"), QStringLiteral("N")}) &&
                          dqColumn(&Film::id) > 5;
    QCOMPARE(where.toSql(bindings), QStringLiteral("((year between :arg0 and :arg1) and "
                                                   "(title in (:arg2,:arg3))) and (id > :arg4)"));
}

void TestWhere::twelveValuesKeepTheirOrder()
{
    MemoryDatabase memory;
    QVERIFY(memory.create<Film>());
    addFilms();
    QVariantList years;
    for (int year = 1911; year <= 1921; ++year)
        years.append(year);
    years.append(1922);
    const DQWhere where =
        column("year").in(years) && column("title") == QStringLiteral("Nosferatu");
    QCOMPARE(yearsFound(where), QStringLiteral("1922"));
}

QTEST_GUILESS_MAIN(TestWhere)
#include "tst_where.moc"
