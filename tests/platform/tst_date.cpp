#include <dayvextest.h>
#include <dayvex/platform/date.h>
#include <dayvex/platform/error.h>

#include <cmath>
#include <limits>

using dayvex::Date;

class tst_Date : public QObject
{
    Q_OBJECT
private slots:
    void conversion_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QDateTime>("dateTime");
        QTest::newRow("epoch") << 0.0 << QDateTime(QDate(1899, 12, 30), QTime(0, 0));
        QTest::newRow("3 Dec 2000") << 36863.0 << QDateTime(QDate(2000, 12, 3), QTime(0, 0));
        QTest::newRow("noon") << 36863.5 << QDateTime(QDate(2000, 12, 3), QTime(12, 0));
        QTest::newRow("negative: day first, then time") << -1.25 << QDateTime(QDate(1899, 12, 29), QTime(6, 0));
        QTest::newRow("negative evening") << -1.75 << QDateTime(QDate(1899, 12, 29), QTime(18, 0));
        QTest::newRow("first day") << Date::MinValue << QDateTime(QDate(100, 1, 1), QTime(0, 0));
        QTest::newRow("last second") << 2958465.0 + 86399.0 / 86400.0
                                     << QDateTime(QDate(9999, 12, 31), QTime(23, 59, 59));
    }

    void conversion()
    {
        QFETCH(double, value);
        QFETCH(QDateTime, dateTime);
        const Date date(value);
        QCOMPARE(date.toDateTime(), dateTime);
        QCOMPARE(Date::fromDateTime(dateTime).value(), value);
        QCOMPARE(date.datePart().toDate(), dateTime.date());
        QCOMPARE(date.timePart().toTime(), dateTime.time());
    }

    void outOfRange_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("number");
        QTest::newRow("before year 100") << Date::MinValue - 1 << 6;
        QTest::newRow("year 10000") << Date::MaxValue << 6;
        QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << 6;
        QTest::newRow("NaN") << std::nan("") << 5;
    }

    void outOfRange()
    {
        QFETCH(double, value);
        const Date date(value);
        QVERIFY(!date.isValid());
        QTEST(errorNumber([&] { date.toDateTime(); }), "number");
        QVERIFY_THROWS_EXCEPTION(dayvex::Error, Date(Date::MaxValue - 0.5).addDays(1));
    }

    void minutesDoNotDrift()
    {
        // 7 minutes is not a whole number of binary fractions of a day
        Date date = Date::fromDateTime(QDateTime(QDate(2026, 1, 1), QTime(8, 0)));
        for (int i = 0; i < 100000; ++i)
            date = date.addMinutes(7);
        QCOMPARE(date.toDateTime(), QDateTime(QDate(2026, 1, 1), QTime(8, 0)).addSecs(7 * 60 * 100000LL));
        QCOMPARE(date.addMinutes(-15).toDateTime(), date.toDateTime().addSecs(-15 * 60));
    }

    void arithmeticCrossesZero()
    {
        const Date evening(-1.75); // 29 December 1899 18:00
        QCOMPARE(evening.addMinutes(6 * 60).value(), 0.0);
        QCOMPARE(evening.addMinutes(7 * 60).toDateTime(), QDateTime(QDate(1899, 12, 30), QTime(1, 0)));
        QCOMPARE(Date(0.25).addMinutes(-12 * 60).value(), -1.75);
    }

    void arithmeticPastTheRange_data()
    {
        // Counts whose milliseconds 64 bits cannot hold are out of range like any other.
        QTest::addColumn<int>("unit"); // 0 days, 1 minutes, 2 seconds
        QTest::addColumn<qint64>("count");
        constexpr qint64 Min = std::numeric_limits<qint64>::min();
        constexpr qint64 Max = std::numeric_limits<qint64>::max();
        QTest::newRow("days, least") << 0 << Min;
        QTest::newRow("days, most") << 0 << Max;
        QTest::newRow("days, just past the years") << 0 << qint64(Date::MaxValue);
        QTest::newRow("minutes, least") << 1 << Min;
        QTest::newRow("minutes, most") << 1 << Max;
        QTest::newRow("seconds, least") << 2 << Min;
        QTest::newRow("seconds, sum overflows") << 2 << Max / 1000;
    }

    void arithmeticPastTheRange()
    {
        QFETCH(int, unit);
        QFETCH(qint64, count);
        const Date start(36526);
        QCOMPARE(errorNumber([&] { unit == 0 ? start.addDays(count) : unit == 1 ? start.addMinutes(count) : start.addSeconds(count); }), int(dayvex::Error::Overflow));
    }
};

QTEST_GUILESS_MAIN(tst_Date)
#include "tst_date.moc"
