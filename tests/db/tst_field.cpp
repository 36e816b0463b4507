#include <limits>

#include <QPoint>
#include <QtTest>

#include "db/dq/dq_escape.h"
#include "sample_models.h"
#include "warnings.h"

class TestField final : public QObject
{
    Q_OBJECT

private slots:
    void aFieldIsNullUntilSet();
    void setConvertsOrRefuses_data();
    void setConvertsOrRefuses();
    void nullTextIsNullAndEmptyTextIsAValue();
    void assignmentFromVariantReturnsWhatIsStored();
    void aModelMayReferenceItself();
    void twoModelsOfOneTableWarnOnce();
    void streamFillsRecordsInColumnOrder();
    void streamRefusesAModelWithoutColumns();
    void listRefusesRecordsOfAnotherModel();
    void listsHaveNothingBesideTheirRecords();
    void sharedListsSeparateWhenChanged();
    void escaping_data();
    void escaping();
    void malformedEscapesAreKept_data();
    void malformedEscapesAreKept();
    void stringListsSurviveAsText_data();
    void stringListsSurviveAsText();
};

void TestField::aFieldIsNullUntilSet()
{
    Film film;
    QVERIFY(film.id.isNull());
    QVERIFY(film.title.isNull());
    QVERIFY(film.title.get().isNull());
    QCOMPARE(film.year.value(), 0);
    QVERIFY(film.title.set(QStringLiteral("M")));
    QCOMPARE(film.title.get(), QVariant(QStringLiteral("M")));
    film.title.clear();
    QVERIFY(film.title.isNull());

    DQBaseField untyped;
    QVERIFY(untyped.set(QPoint(1, 2)));
    QCOMPARE(untyped.get(), QVariant(QPoint(1, 2)));
}

void TestField::setConvertsOrRefuses_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QVariant>("stored"); // invalid: refused
    const auto text = [](const char *utf8) { return QVariant(QString::fromUtf8(utf8)); };
    const QString number = QStringLiteral("number");
    const QString moment = QStringLiteral("moment");
    QTest::newRow("a number stays") << number << QVariant(7) << QVariant(7);
    QTest::newRow("a database integer becomes an int") << number << QVariant(7LL) << QVariant(7);
    QTest::newRow("digits become an int") << number << text("7") << QVariant(7);
    QTest::newRow("a word is no int") << number << text("seven") << QVariant();
    QTest::newRow("an int has 32 bits")
        << number << QVariant(std::numeric_limits<int>::max() + 1LL) << QVariant();
    QTest::newRow("a uint is not negative")
        << QStringLiteral("natural") << QVariant(-1) << QVariant();
    QTest::newRow("an integer becomes a double")
        << QStringLiteral("real") << QVariant(2) << QVariant(2.0);
    QTest::newRow("a number becomes text") << QStringLiteral("text") << QVariant(2) << text("2");
    QTest::newRow("a word is no date-time") << moment << text("yesterday") << QVariant();
    for (const char *malformed :
         {"abcd-11-22 10:00:00", "2026x11x22 10:00:00", "2026-11-22?10:00:00",
          "2026-11-22 10.00.00", "2026-11-22 10:00:61", "2026-11-22 10:00:00 noon"}) {
        QTest::newRow(malformed) << moment << text(malformed) << QVariant();
    }
    QTest::newRow("SQLite's time stamp is UTC")
        << moment << text("2026-11-22 19:52:11")
        << QVariant(QDateTime(QDate(2026, 11, 22), QTime(19, 52, 11), Qt::UTC));
}

void TestField::setConvertsOrRefuses()
{
    QFETCH(QString, column);
    QFETCH(QVariant, value);
    QFETCH(QVariant, stored);
    EveryType record;
    const DQModelMetaInfo &model = *record.metaInfo();
    QCOMPARE(model.setValue(record, column, value), stored.isValid());
    QCOMPARE(model.value(record, column), stored);
    if (stored.isValid())
        QCOMPARE(model.value(record, column).userType(), stored.userType());
}

void TestField::nullTextIsNullAndEmptyTextIsAValue()
{
    Film film;
    film.title = QStringLiteral("");
    QVERIFY(!film.title.isNull());
    film.title = QString();
    QVERIFY(film.title.isNull());
    film.added = QDateTime();
    QVERIFY(film.added.isNull());
}

void TestField::assignmentFromVariantReturnsWhatIsStored()
{
    Film film;
    film.year = 1931;
    DQBaseField &year = film.year;
    QCOMPARE((year = QVariant(QStringLiteral("1927"))), QVariant(1927));
    QCOMPARE((year = QVariant(QStringLiteral("soon"))), QVariant(1927));
}

void TestField::aModelMayReferenceItself()
{
    const DQModelMetaInfo *person = dqMetaInfo<Person>();
    QCOMPARE(person->foreignKeys()
                 .first()
                 .clause.value(DQConstraint::ForeignKey)
                 .value<DQModelMetaInfo *>(),
             person);
}

class FirstTwin final : public DQTable<FirstTwin>
{
public:
    static constexpr DQNames names{"FirstTwin", "Twin"};
};

class SecondTwin final : public DQTable<SecondTwin>
{
public:
    static constexpr DQNames names{"SecondTwin", "Twin"};
};

void TestField::twoModelsOfOneTableWarnOnce()
{
    const Warnings warnings;
    dqMetaInfo<FirstTwin>();
    QCOMPARE(Warnings::texts(), QStringList());
    dqMetaInfo<SecondTwin>();
    dqMetaInfo<SecondTwin>();
    QCOMPARE(Warnings::texts(),
             QStringList{QStringLiteral("Table with same name is detected! : Twin ")});
}

void TestField::streamFillsRecordsInColumnOrder()
{
    DQList<Genre> list;
    DQStream stream(dqMetaInfo<Genre>(), list);
    stream << QStringLiteral("drama") << 2 << QStringLiteral("comedy") << QVariant()
           << QStringLiteral("unfinished");
    QCOMPARE(list.size(), 2);
    QVERIFY(list.at(0).id.isNull());
    QCOMPARE(list.at(0).name.value(), QStringLiteral("drama"));
    QCOMPARE(list.at(0).rank.value(), 2);
    QCOMPARE(list.at(1).name.value(), QStringLiteral("comedy"));
    QVERIFY(list.at(1).rank.isNull());
}

void TestField::streamRefusesAModelWithoutColumns()
{
    DQSharedList list;
    DQStream stream(list);
    QTest::ignoreMessage(QtWarningMsg,
                         "DQStream::setModel() do not support model with single field of id.");
    QVERIFY(!stream.setModel(dqMetaInfo<OnlyKey>()));
    stream << 1;
    QCOMPARE(list.size(), 0);
    QVERIFY(stream.setModel(dqMetaInfo<Director>()));
    stream << QStringLiteral("Lang");
    QCOMPARE(list.size(), 1);
}

void TestField::listRefusesRecordsOfAnotherModel()
{
    DQSharedList mixed;
    Genre genre;
    genre.rank = 3;
    mixed.append(std::make_shared<const Genre>(genre));
    mixed.append(std::make_shared<const Film>());
    const DQList<Genre> genres(mixed);
    QCOMPARE(genres.at(0).rank.value(), 3);
    QTest::ignoreMessage(QtWarningMsg, "DQList::at() - Can not convert Film to Genre");
    QVERIFY(genres.at(1).name.isNull());
}

void TestField::listsHaveNothingBesideTheirRecords()
{
    const DQList<Genre> none;
    const Warnings warnings;
    QVERIFY(none.first().name.isNull());
    QVERIFY(none.at(-1).id.isNull());
    QVERIFY(none.record(0).id.isNull());
    QVERIFY(none.copyOf(0)->id.isNull());
    const QString warning =
        QStringLiteral("DQSharedList::record() - There is no record %1 among 0");
    QCOMPARE(Warnings::texts(),
             (QStringList{warning.arg(0), warning.arg(-1), warning.arg(0), warning.arg(0)}));
}

void TestField::sharedListsSeparateWhenChanged()
{
    DQList<Genre> list;
    list.append(Genre());
    DQList<Genre> copy = list;
    copy.append(Genre());
    QCOMPARE(list.size(), 1);
    QCOMPARE(copy.size(), 2);
}

void TestField::escaping_data()
{
    QTest::addColumn<QString>("plain");
    QTest::addColumn<QString>("escaped");
    QTest::newRow("nothing to do") << QStringLiteral("三体") << QStringLiteral("三体");
    QTest::newRow("a quote") << QStringLiteral("a\"b") << QStringLiteral("a&quot;b");
    QTest::newRow("an ampersand") << QStringLiteral("a&b") << QStringLiteral("a&amp;b");
    QTest::newRow("an entity as text") << QStringLiteral("&quot;") << QStringLiteral("&amp;quot;");
    QTest::newRow("nothing") << QString() << QString();
}

void TestField::escaping()
{
    QFETCH(QString, plain);
    QFETCH(QString, escaped);
    QCOMPARE(dqEscape(plain), escaped);
    QCOMPARE(dqUnescape(escaped), plain);
}

void TestField::malformedEscapesAreKept_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("a bare ampersand") << QStringLiteral("a & b");
    QTest::newRow("another entity") << QStringLiteral("&lt;");
    QTest::newRow("a cut entity") << QStringLiteral("&amp;&quot");
    QTest::newRow("a bare quote") << QStringLiteral("a\"b");
}

void TestField::malformedEscapesAreKept()
{
    QFETCH(QString, text);
    const Warnings warnings;
    QCOMPARE(dqUnescape(text), text);
    QCOMPARE(Warnings::texts(), QStringList{QStringLiteral("Invalid escaped string : ") + text});
}

void TestField::stringListsSurviveAsText_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << QStringList() << QStringLiteral("");
    QTest::newRow("one that is empty") << QStringList{QString()} << QStringLiteral("\"\"");
    QTest::newRow("plain ones") << QStringList{QStringLiteral("a"), QStringLiteral("b")}
                                << QStringLiteral("\"a\",\"b\"");
    QTest::newRow("separators inside")
        << QStringList{QStringLiteral("a\",\"b"), QStringLiteral("&")}
        << QStringLiteral("\"a&quot;,&quot;b\",\"&amp;\"");
}

void TestField::stringListsSurviveAsText()
{
    QFETCH(QStringList, list);
    QFETCH(QString, text);
    QCOMPARE(dqStringListToText(list), text);
    QCOMPARE(dqStringListFromText(text), list);
}

QTEST_APPLESS_MAIN(TestField)
#include "tst_field.moc"
