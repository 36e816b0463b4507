#include <limits>

#include <QPoint>
#include <QTest>

#include "db/dq/dq_escape.h"
#include "sample_models.h"
#include "support/log_capture.h"

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

// Fields, lists of records, and how values look as text.
class TestField final : public QObject
{
    Q_OBJECT

private slots:
    void aFieldIsNullUntilSet()
    {
        Film film;
        QVERIFY(film.id.isNull() && film.title.isNull() && film.title.get().isNull());
        QCOMPARE(film.year.value(), 0);
        QVERIFY(film.title.set("M"));
        QCOMPARE(film.title.get(), QVariant("M"));
        film.title.clear();
        QVERIFY(film.title.isNull());
        film.title = QString("");
        QVERIFY(!film.title.isNull());
        film.title = QString();
        film.added = QDateTime();
        QVERIFY(film.title.isNull() && film.added.isNull());
        DQBaseField &year = film.year;
        QCOMPARE((year = QVariant("1927")), QVariant(1927));
        QCOMPARE((year = QVariant("soon")), QVariant(1927));
        DQBaseField untyped;
        QVERIFY(untyped.set(QPoint(1, 2)));
        QCOMPARE(untyped.get(), QVariant(QPoint(1, 2)));
    }

    void setConvertsOrRefuses_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QVariant>("stored"); // invalid: refused
        const auto row = [](const char *name, const QString &column, const QVariant &value,
                            const QVariant &stored = {}) {
            QTest::newRow(name) << column << value << stored;
        };
        row("a database integer becomes an int", "number", 7LL, 7);
        row("digits become an int", "number", "7", 7);
        row("a word is no int", "number", "seven");
        row("an int has 32 bits", "number", std::numeric_limits<int>::max() + 1LL);
        row("a uint is not negative", "natural", -1);
        row("the greatest natural", "bigNatural", "18446744073709551615", ~0ULL);
        row("an integer becomes a double", "real", 2, 2.0);
        row("a number becomes text", "text", 2, "2");
        row("a word is no date-time", "moment", "yesterday");
        const auto utc = [](int hour, int msec = 0) {
            return QDateTime({2026, 11, 22}, {hour, 52, 11, msec}, Qt::UTC);
        };
        row("SQLite's time stamp is UTC", "moment", "2026-11-22 19:52:11", utc(19));
        row("ISO 8601", "moment", "2026-11-22T19:52:11.2Z", utc(19, 200));
        row("an offset", "moment", "2026-11-22 19:52:11+08:00", utc(11));
        row("a day", "moment", "2026-11-22", QDateTime({2026, 11, 22}, {0, 0}, Qt::UTC));
        for (const char *malformed :
             {"abcd-11-22 10:00:00", "2026x11x22 10:00:00", "2026-11-22?10:00:00",
              "2026-11-22 10.00.00", "2026-11-22 10:00:61", "2026-11-22 10:00:00 noon"}) {
            row(malformed, "moment", malformed);
        }
    }
    void setConvertsOrRefuses()
    {
        QFETCH(QString, column);
        QFETCH(QVariant, value);
        QFETCH(QVariant, stored);
        EveryType record;
        const DQModelMetaInfo &model = *record.metaInfo();
        QCOMPARE(model.setValue(record, column, value), stored.isValid());
        QCOMPARE(model.value(record, column), stored);
        QCOMPARE(model.value(record, column).userType(), stored.userType());
    }

    void twoModelsOfOneTableWarnOnce()
    {
        dqMetaInfo<FirstTwin>();
        const LogCapture log;
        dqMetaInfo<SecondTwin>();
        dqMetaInfo<SecondTwin>();
        QCOMPARE(log.warnings(), QStringList{"Table with same name is detected! : Twin "});
    }

    void streamFillsRecordsInColumnOrder()
    {
        DQList<Genre> list;
        DQStream stream(dqMetaInfo<Genre>(), list);
        stream << "drama" << 2 << "comedy" << QVariant() << "unfinished";
        QTest::ignoreMessage(QtWarningMsg,
                             "DQStream::setModel() do not support model with single field of id.");
        QVERIFY(!stream.setModel(dqMetaInfo<FirstTwin>()));
        stream << 1;
        QCOMPARE(list.size(), 2);
        QCOMPARE(list.at(0).name.value() + list.at(0).rank.get().toString(), "drama2");
        QCOMPARE(list.at(1).name.value() + list.at(1).rank.get().toString(), "comedy");
    }

    void listsHoldRecordsOfOneModel()
    {
        DQList<Genre> genres;
        Genre genre;
        genre.rank = 3;
        genres.append(genre);
        DQList<Genre> mixed = genres;
        mixed.append(std::make_shared<const Film>());
        QCOMPARE(genres.size(), 1);
        QCOMPARE(mixed.at(0).rank.value(), 3);
        const LogCapture log;
        QVERIFY(mixed.at(1).name.isNull());
        QVERIFY(mixed.at(-1).id.isNull());
        QVERIFY(DQList<Genre>().copyOf(0)->id.isNull());
        QCOMPARE(log.warnings(),
                 (QStringList{"DQList::at() - Can not convert Film to Genre",
                              "DQSharedList::record() - There is no record -1 among 2",
                              "DQSharedList::record() - There is no record 0 among 0"}));
    }

    void stringListsSurviveAsText()
    {
        const QMap<QString, QStringList> lists{
            {"", {}},
            {R"("")", {""}},
            {R"("三体","b")", {"三体", "b"}},
            {R"("a&quot;,&quot;b","&amp;")", {R"(a","b)", "&"}},
            {R"("&amp;quot;")", {"&quot;"}},
        };
        for (auto list = lists.begin(); list != lists.end(); ++list) {
            QCOMPARE(dqStringListToText(*list), list.key());
            QCOMPARE(dqStringListFromText(list.key()), *list);
        }
    }

    void malformedEscapesAreKept()
    {
        for (const QString text : {"a & b", "&lt;", "&amp;&quot", "a\"b"}) {
            const LogCapture log;
            QCOMPARE(dqUnescape(text), text);
            QCOMPARE(dqStringListFromText(text), QStringList{text});
            QCOMPARE(log.warnings().count("Invalid escaped string : " + text), 2);
        }
    }
};

QTEST_GUILESS_MAIN(TestField)
#include "tst_field.moc"
