#include <dayvextest.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/model/todos.h>

namespace {
std::shared_ptr<Schedule> add(Schedules &s, const QString &key, Date start, Date end,
                              const QString &place = QString(), const QString &category = QString())
{
    return s.Add(key, "Rossi", start, end, "", "", category, "", place, Date());
}

} // namespace

class tst_Collections : public QObject
{
    Q_OBJECT
private slots:
    void init() { resetSharedSettings(); }

    void newKey_data()
    {
        QTest::addColumn<QStringList>("keys");
        QTest::addColumn<QStringList>("removed");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty") << QStringList() << QStringList() << "1";
        QTest::newRow("mixed") << QStringList{"3", "10", "x"} << QStringList() << "11";
        QTest::newRow("leading numbers") << QStringList{"12abc", "7"} << QStringList() << "13";
        QTest::newRow("half to even") << QStringList{"2.5"} << QStringList() << "3";
        QTest::newRow("only text") << QStringList{"a", "b"} << QStringList() << "1";
        QTest::newRow("exponent in any case") << QStringList{"1E2", "&h10"} << QStringList() << "101";
        QTest::newRow("largest removed") << QStringList{"3", "10", "x"} << QStringList{"10"} << "4";
        QTest::newRow("smaller removed") << QStringList{"3", "10"} << QStringList{"3"} << "11";
        QTest::newRow("all removed") << QStringList{"3", "10"} << QStringList{"10", "3"} << "1";
        QTest::newRow("twin of largest removed") << QStringList{"10", "10.0", "4"} << QStringList{"10"} << "11";
    }

    void newKey()
    {
        QFETCH(QStringList, keys);
        QFETCH(QStringList, removed);
        QFETCH(QString, expected);
        Schedules schedules;
        ToDoS todos;
        for (const QString &key : keys) {
            add(schedules, key, at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0));
            todos.Add(key, "", "", "", Date(), 0, "", false, Date(), Date());
            (void)schedules.NewKey(); // asked between changes, as the commands do
        }
        for (const QString &key : removed) {
            schedules.Remove(key);
            todos.Remove(key);
        }
        QCOMPARE(schedules.NewKey(), expected);
        QCOMPARE(todos.NewKey(), expected);
        QCOMPARE(schedules.NewKey(), expected); // nothing is reserved
    }

    void newKeyAtTheLimit()
    {
        Schedules schedules;
        ToDoS todos;
        add(schedules, "2147483647", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0));
        todos.Add("2147483647", "", "", "", Date(), 0, "", false, Date(), Date());
        QCOMPARE(errorNumber([&] { schedules.NewKey(); }), int(Error::Overflow));
        QCOMPARE(todos.NewKey(), "2147483648");

        ToDoS beyond; // a key past 32 bits cannot be held as the running maximum
        beyond.Add("9999999999", "", "", "", Date(), 0, "", false, Date(), Date());
        QCOMPARE(errorNumber([&] { beyond.NewKey(); }), int(Error::Overflow));
        beyond.Add("8", "", "", "", Date(), 0, "", false, Date(), Date());
        beyond.Remove("9999999999");
        QCOMPARE(beyond.NewKey(), "9");
    }

    void endCorrection_data()
    {
        QTest::addColumn<int>("step");
        QTest::addColumn<Date>("start");
        QTest::addColumn<Date>("end");
        QTest::addColumn<Date>("stored");
        QTest::newRow("later end kept") << 30 << at(2026, 11, 2, 9, 0) << at(2026, 11, 2, 10, 0) << at(2026, 11, 2, 10, 0);
        QTest::newRow("equal end") << 30 << at(2026, 11, 2, 14, 30) << at(2026, 11, 2, 14, 30) << at(2026, 11, 2, 15, 0);
        QTest::newRow("earlier end") << 45 << at(2026, 11, 2, 14, 30) << at(2026, 11, 2, 9, 0) << at(2026, 11, 2, 15, 15);
        QTest::newRow("next day, earlier clock") << 30 << at(2026, 11, 2, 23, 0) << at(2026, 11, 3, 9, 0) << at(2026, 11, 2, 23, 30);
        QTest::newRow("next day, later clock kept") << 30 << at(2026, 11, 2, 9, 0) << at(2026, 11, 3, 10, 0) << at(2026, 11, 3, 10, 0);
        QTest::newRow("step crosses midnight") << 90 << at(2026, 11, 2, 23, 0) << at(2026, 11, 2, 23, 0) << at(2026, 11, 3, 0, 30);
        QTest::newRow("seconds ignored") << 30 << at(2026, 11, 2, 9, 0) << at(2026, 11, 2, 9, 0).addSeconds(40) << at(2026, 11, 2, 9, 30);
    }

    void endCorrection()
    {
        QFETCH(int, step);
        QFETCH(Date, start);
        QFETCH(Date, end);
        QFETCH(Date, stored);
        sharedSettings().DayStepMinutes = qint16(step);
        Schedules schedules;
        QCOMPARE(add(schedules, "1", start, end)->EndDate.toDateTime(), stored.toDateTime());
    }

    void duplicateChangesNothing()
    {
        Schedules schedules;
        schedules.Categories();
        add(schedules, "1", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0), "Sala A", "Lavoro");
        QCOMPARE(errorNumber([&] { add(schedules, "1", at(2026, 11, 3, 9, 0), at(2026, 11, 3, 10, 0), "Sala B", "Casa"); }),
                 int(Error::DuplicateKey));
        QCOMPARE(schedules.Count(), 1);
        QCOMPARE(schedules.Places()->Count(), 1);
        QCOMPARE(schedules.Categories()->Count(), 1);

        ToDoS todos;
        todos.Add("k", "", "", "", Date(), 0, "", false, Date(), Date());
        QCOMPARE(errorNumber([&] { todos.Add("K", "", "", "", Date(), 0, "", false, Date(), Date()); }),
                 int(Error::DuplicateKey));
    }

    void placesAndCategories()
    {
        Schedules schedules;
        const auto first = add(schedules, "1", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0), "  Sala A ", "Lavoro");
        QCOMPARE(first->Place, "  Sala A "); // the record keeps the text as given
        add(schedules, "2", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0), "sala a", "Lavoro");
        add(schedules, "3", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0), "   ", "");
        QCOMPARE(schedules.Places()->Count(), 1);
        QCOMPARE(schedules.Places()->Item("SALA A")->Key, "Sala A");
        // categories are collected only once the list exists
        QCOMPARE(schedules.Categories()->Count(), 0);
        add(schedules, "4", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0), "", " Casa ");
        QCOMPARE(schedules.Categories()->Count(), 1);
        QCOMPARE(schedules.Categories()->Item(1)->Key, "Casa");

        auto shared = std::make_shared<Categories>(); // a list the host set is used at once
        Schedules other;
        other.setCategories(shared);
        add(other, "1", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0), "", "Sport");
        QCOMPARE(shared->Count(), 1);
    }

    void addSortedIsStable()
    {
        Schedules source, sorted;
        const auto a = add(source, "a", at(2026, 11, 2, 10, 0), at(2026, 11, 2, 11, 0));
        const auto b = add(source, "b", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 11, 0));
        const auto c = add(source, "c", at(2026, 11, 2, 10, 0), at(2026, 11, 2, 10, 30));
        const auto d = add(source, "d", at(2026, 11, 1, 23, 0), at(2026, 11, 1, 23, 30));
        for (const auto &s : source)
            sorted.AddSorted(s);
        QStringList order;
        for (const auto &s : sorted)
            order << s->Key;
        QCOMPARE(order, QStringList({"d", "b", "a", "c"}));
        QCOMPARE(sorted.Item("c"), c); // the same records, not copies
    }

    void recordKeyIsNotCollectionKey()
    {
        Schedules schedules;
        const auto s = add(schedules, "5", at(2026, 11, 2, 9, 0), at(2026, 11, 2, 10, 0));
        s->Key = "6";
        QCOMPARE(schedules.Item("5"), s);
        QCOMPARE(errorNumber([&] { schedules.Item("6"); }), int(Error::InvalidArgument));
        // New keys follow the keys stored, which a change of the record does not move.
        QCOMPARE(schedules.NewKey(), "6");
        s->Key = "60";
        QCOMPARE(schedules.NewKey(), "6");
    }
};

QTEST_GUILESS_MAIN(tst_Collections)
#include "tst_collections.moc"
