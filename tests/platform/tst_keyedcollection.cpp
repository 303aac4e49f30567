#include <dayvextest.h>
#include <dayvex/platform/keyedcollection.h>

namespace {
struct Thing
{
    QString name;
};

// The template's insertion operations are for the collection classes; expose them here.
class Collection : public dayvex::KeyedCollection<Thing>
{
public:
    using KeyedCollection::append;
    using KeyedCollection::insertBefore;
    std::shared_ptr<Thing> add(const QString &name, const QString &key = QString())
    {
        auto item = std::make_shared<Thing>(Thing{name});
        append(item, key);
        return item;
    }
    QStringList names() const
    {
        QStringList out;
        for (const auto &item : *this)
            out << item->name;
        return out;
    }
};

} // namespace

class tst_KeyedCollection : public QObject
{
    Q_OBJECT
private slots:
    void positionsAndKeys()
    {
        Collection c;
        const auto a = c.add("a", "Alpha");
        c.add("unkeyed");
        c.add("b", "5");
        QCOMPARE(c.Count(), 3);
        QCOMPARE(c.Item(1), a); // the same shared record comes back
        QCOMPARE(c.Item("ALPHA")->name, "a");
        QCOMPARE(c.Item("5")->name, "b");  // the text 5 is a key...
        QCOMPARE(c.Item(2)->name, "unkeyed"); // ...a number a position
        QCOMPARE(c.names(), QStringList({"a", "unkeyed", "b"}));
        QVERIFY(!c.find("missing"));
    }

    void errors_data()
    {
        QTest::addColumn<int>("which");
        QTest::addColumn<int>("number");
        QTest::newRow("duplicate key, other case") << 0 << 457;
        QTest::newRow("position 0") << 1 << 5;
        QTest::newRow("position past the end") << 2 << 5;
        QTest::newRow("absent key") << 3 << 5;
        QTest::newRow("remove absent key") << 4 << 5;
        QTest::newRow("insert before absent key") << 5 << 5;
        QTest::newRow("empty key finds nothing") << 6 << 5;
    }

    void errors()
    {
        QFETCH(int, which);
        Collection c;
        c.add("a", "Key");
        c.add("b");
        const std::function<void()> calls[] = {
            [&] { c.add("dup", "KEY"); },
            [&] { c.Item(0); },
            [&] { c.Item(3); },
            [&] { c.Item("nope"); },
            [&] { c.Remove("nope"); },
            [&] { c.insertBefore(std::make_shared<Thing>(), "new", "nope"); },
            [&] { c.Item(""); },
        };
        QTEST(errorNumber(calls[which]), "number");
        QCOMPARE(c.names(), QStringList({"a", "b"})); // a failed call changes nothing
    }

    void insertBefore()
    {
        Collection c;
        c.add("a", "A");
        c.add("c", "C");
        c.insertBefore(std::make_shared<Thing>(Thing{"b"}), "B", "c");
        c.insertBefore(std::make_shared<Thing>(Thing{"first"}), QString(), "a");
        QCOMPARE(c.names(), QStringList({"first", "a", "b", "c"}));
        QCOMPARE(c.Item("b")->name, "b");
    }
};

QTEST_GUILESS_MAIN(tst_KeyedCollection)
#include "tst_keyedcollection.moc"
