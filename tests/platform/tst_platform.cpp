#include <dayvextest.h>
#include <dayvex/platform/color.h>
#include <dayvex/platform/format.h>
#include <dayvex/platform/keyedcollection.h>

#include <cmath>
#include <limits>

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

class tst_Platform : public QObject
{
    Q_OBJECT
private slots:
    void conversion()
    {
        const std::pair<double, QDateTime> moments[] = {
            {0.0, QDateTime(QDate(1899, 12, 30), QTime(0, 0))},
            {36863.0, QDateTime(QDate(2000, 12, 3), QTime(0, 0))},
            {36863.5, QDateTime(QDate(2000, 12, 3), QTime(12, 0))},
            {-1.25, QDateTime(QDate(1899, 12, 29), QTime(6, 0))}, // before the zero date: the day first, then the time
            {Date::MinValue, QDateTime(QDate(100, 1, 1), QTime(0, 0))},
            {2958465.0 + 86399.0 / 86400.0, QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59))}};
        for (const auto &[value, dateTime] : moments) {
            const Date date(value);
            QCOMPARE(date.toDateTime(), dateTime);
            QCOMPARE(Date::fromDateTime(dateTime).value(), value);
            QCOMPARE(date.datePart().toDate(), dateTime.date());
            QCOMPARE(date.timePart().toTime(), dateTime.time());
        }
    }

    void minuteArithmetic()
    {
        // 7 minutes is not a whole number of binary fractions of a day
        Date date = Date::fromDateTime(QDateTime(QDate(2026, 1, 1), QTime(8, 0)));
        for (int i = 0; i < 100000; ++i)
            date = date.addMinutes(7);
        QCOMPARE(date.toDateTime(), QDateTime(QDate(2026, 1, 1), QTime(8, 0)).addSecs(7 * 60 * 100000LL));
        QCOMPARE(date.addMinutes(-15).toDateTime(), date.toDateTime().addSecs(-15 * 60));
        // and across the zero date, where the day and the time part have other signs
        const Date evening(-1.75); // 29 December 1899 18:00
        QCOMPARE(evening.addMinutes(6 * 60).value(), 0.0);
        QCOMPARE(evening.addMinutes(7 * 60).toDateTime(), QDateTime(QDate(1899, 12, 30), QTime(1, 0)));
        QCOMPARE(Date(0.25).addMinutes(-12 * 60).value(), -1.75);
    }

    // Dates past the years, and counts whose milliseconds 64 bits cannot hold, are out of range.
    void outOfRange()
    {
        for (const auto &[value, number] : {std::pair{Date::MinValue - 1, 6}, std::pair{Date::MaxValue, 6},
                                            std::pair{std::numeric_limits<double>::infinity(), 6},
                                            std::pair{std::nan(""), 5}}) {
            const Date date(value);
            QVERIFY(!date.isValid());
            QCOMPARE(errorNumber([&] { date.toDateTime(); }), number);
        }
        QVERIFY_THROWS_EXCEPTION(dayvex::Error, Date(Date::MaxValue - 0.5).addDays(1));
        constexpr qint64 Min = std::numeric_limits<qint64>::min();
        constexpr qint64 Max = std::numeric_limits<qint64>::max();
        const Date start(36526);
        for (const qint64 count : {Min, Max, qint64(Date::MaxValue)}) // the last just past the years
            QCOMPARE(errorNumber([&] { start.addDays(count); }), int(dayvex::Error::Overflow));
        for (const qint64 count : {Min, Max})
            QCOMPARE(errorNumber([&] { start.addMinutes(count); }), int(dayvex::Error::Overflow));
        for (const qint64 count : {Min, Max / 1000}) // the second: the sum overflows
            QCOMPARE(errorNumber([&] { start.addSeconds(count); }), int(dayvex::Error::Overflow));
    }

    // Sunday 3 December 2000, 09:05:07 in each pattern; what a host may store that is
    // no moment shows as the empty date.
    void formatDate()
    {
        const Date date = Date::fromDateTime(QDateTime(QDate(2000, 12, 3), QTime(9, 5, 7)));
        const QLocale english(QLocale::English);
        const std::pair<QString, QString> written[] = {
            {"dd/mm/yyyy", "03/12/2000"}, {"d/m/yy", "3/12/00"}, {"ddd d mmm", "Sun 3 Dec"},
            {"dddd dd mmmm", "Sunday 03 December"},
            {"hh:mm", "09:05"}, {"h:m", "9:5"}, {"hh.nn", "09.05"}, // m after an hour is minutes, as is n
            {"dd/mm/yyyy hh:ss", "03/12/2000 09:07"}, {"H", "9"}, {"h:nn", "9:05"},
            {"mm/01/yyyy", "12/01/2000"}, // m after a date token is the month
            {"\"day\" d \\m", "day 3 m"}};
        for (const auto &[pattern, expected] : written) {
            QCOMPARE(dayvex::formatDate(date, pattern, english), expected);
            const QString empty = dayvex::formatDate(Date(), pattern, english);
            QCOMPARE(dayvex::formatDate(Date(std::nan("")), pattern, english), empty);
            QCOMPARE(dayvex::formatDate(Date(-std::numeric_limits<double>::infinity()), pattern, english), empty);
            QVERIFY_THROWS_EXCEPTION(dayvex::Error, dayvex::formatDate(Date(1e7), pattern));
        }
    }

    void formatNumber()
    {
        QCOMPARE(dayvex::formatNumber(12, "#0"), "12");
        QCOMPARE(dayvex::formatNumber(2.5, "#0"), "3"); // half away from zero
        QCOMPARE(dayvex::formatNumber(-2.5, "#0"), "-3");
        QCOMPARE(dayvex::formatNumber(9, "00"), "09");
        QCOMPARE(dayvex::formatNumber(42, "0000000000000"), "0000000000042");
        QCOMPARE(dayvex::formatNumber(2147483648.0, "#0"), "2147483648"); // past 32 bits
    }

    void val()
    {
        QCOMPARE(dayvex::val("12abc"), 12.0);
        QCOMPARE(dayvex::val("x"), 0.0);
        QCOMPARE(dayvex::val(" 1 2\t3"), 123.0); // blanks anywhere
        QCOMPARE(dayvex::val("3.75 h"), 3.75);
        QCOMPARE(dayvex::val("1e3"), 1000.0);
        QCOMPARE(dayvex::val("2D2"), 200.0);
        QCOMPARE(dayvex::val("5e"), 5.0); // a dangling exponent
        QCOMPARE(dayvex::val("&H1F"), 31.0);
        QCOMPARE(dayvex::val("&O17"), 15.0);
        QCOMPARE(dayvex::val("1.2.3"), 1.2); // the second point stops it
    }

    void parseDate()
    {
        const DateOrder dmy = DateOrder::DayMonthYear, mdy = DateOrder::MonthDayYear;
        const QDate day0(1899, 12, 30), dec3(2000, 12, 3);
        const struct { const char *text; DateOrder order; QDateTime read; } texts[] = {
            {"08:30", dmy, QDateTime(day0, QTime(8, 30))}, {"08:30:15", dmy, QDateTime(day0, QTime(8, 30, 15))},
            {"8:30 PM", dmy, QDateTime(day0, QTime(20, 30))}, {"12:00 am", dmy, QDateTime(day0, QTime(0, 0))},
            {"03/12/2000", mdy, QDateTime(QDate(2000, 3, 12), QTime(0, 0))},
            {"3-12-2000", dmy, QDateTime(dec3, QTime(0, 0))}, {"3.12.2000", dmy, QDateTime(dec3, QTime(0, 0))},
            {"25/12/2000", mdy, QDateTime(QDate(2000, 12, 25), QTime(0, 0))}, // swapped when invalid
            {"2000-12-03", mdy, QDateTime(dec3, QTime(0, 0))},                 // the year first
            {"1/2/29", dmy, QDateTime(QDate(2029, 2, 1), QTime(0, 0))},
            {"1/2/30", dmy, QDateTime(QDate(1930, 2, 1), QTime(0, 0))}, // two digits from 30: the last century
            {"03/12/2000 14:30", dmy, QDateTime(dec3, QTime(14, 30))}};
        for (const auto &t : texts) {
            const std::optional<Date> date = dayvex::parseDate(t.text, t.order);
            QVERIFY2(date.has_value(), t.text);
            QCOMPARE(date->toDateTime(), t.read);
        }
        // Refused, toDate throwing: mixed separators, a time glued to the date, 13 pm.
        for (const char *text : {"10:60", "abc", "", "31/02/2000", "3/12-2000", "3/12/200014:30", "13:00 pm"}) {
            QVERIFY2(!dayvex::parseDate(text, dmy).has_value(), text);
            QVERIFY_THROWS_EXCEPTION(Error, dayvex::toDate(text, dmy));
        }
    }

    // Box text on any colour reads at 4.5:1 at least; the ratio itself by two known pairs.
    void textContrast()
    {
        QCOMPARE(qRound(contrastRatio(Qt::black, Qt::white) * 10), 210);
        QCOMPARE(qRound(contrastRatio(QColor(0x77, 0x77, 0x77), Qt::white) * 100), 448);
        for (int r = 0; r < 256; r += 17)
            for (int g = 0; g < 256; g += 17)
                for (int b = 0; b < 256; b += 17)
                    QVERIFY2(contrastRatio(contrastingText(QColor(r, g, b)), QColor(r, g, b)) >= 4.5,
                             qPrintable(QColor(r, g, b).name()));
    }

    // Buttons that stand together get distinct mnemonics, word initials first.
    void mnemonics_data()
    {
        columns<QStringList, QStringList>("captions", "expected");
        QTest::newRow("kept, initials, then any letter")
            << QStringList{"&Open", "Snooze", "Save", "Ops"} << QStringList{"&Open", "&Snooze", "S&ave", "O&ps"};
        QTest::newRow("reminder buttons") << QStringList{"remind me in 5 minutes", "don't remind anymore"}
                                          << QStringList{"&remind me in 5 minutes", "&don't remind anymore"};
        QTest::newRow("a plain ampersand is no mnemonic, case folds")
            << QStringList{"a&&b", "A", "b"} << QStringList{"&a&&b", "A", "&b"};
        QTest::newRow("nothing free") << QStringList{"x", "X", ""} << QStringList{"&x", "X", ""};
    }

    void mnemonics()
    {
        QFETCH(QStringList, captions);
        QTEST(withMnemonics(captions), "expected");
    }

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
        QVERIFY(!c.find("missing"));
        c.insertBefore(std::make_shared<Thing>(Thing{"before b"}), "B", "5");
        c.insertBefore(std::make_shared<Thing>(Thing{"first"}), QString(), "Alpha");
        QCOMPARE(c.names(), QStringList({"first", "a", "unkeyed", "before b", "b"}));
        QCOMPARE(c.Item("b")->name, "before b");
    }

    void errors()
    {
        Collection c;
        c.add("a", "Key");
        c.add("b");
        const std::pair<int, std::function<void()>> calls[] = {
            {457, [&] { c.add("dup", "KEY"); }}, // a duplicate key in another case
            {5, [&] { c.Item(0); }},
            {5, [&] { c.Item(3); }},
            {5, [&] { c.Item("nope"); }},
            {5, [&] { c.Remove("nope"); }},
            {5, [&] { c.insertBefore(std::make_shared<Thing>(), "new", "nope"); }},
            {5, [&] { c.Item(""); }}, // the empty key finds nothing
        };
        for (const auto &[number, call] : calls) {
            QCOMPARE(errorNumber(call), number);
            QCOMPARE(c.names(), QStringList({"a", "b"})); // a failed call changes nothing
        }
    }
};

QTEST_GUILESS_MAIN(tst_Platform)
#include "tst_platform.moc"
