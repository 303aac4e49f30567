#include <dayvextest.h>
#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <cmath>
#include <limits>

Q_DECLARE_METATYPE(dayvex::DateOrder)

class tst_Format : public QObject
{
    Q_OBJECT
private slots:
    void formatDate_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("expected");
        // Sunday 3 December 2000, 09:05:07
        QTest::newRow("date") << "dd/mm/yyyy" << "03/12/2000";
        QTest::newRow("short tokens") << "d/m/yy" << "3/12/00";
        QTest::newRow("names") << "ddd d mmm" << "Sun 3 Dec";
        QTest::newRow("long names") << "dddd dd mmmm" << "Sunday 03 December";
        QTest::newRow("m after hour is minutes") << "hh:mm" << "09:05";
        QTest::newRow("m after hour, no padding") << "h:m" << "9:5";
        QTest::newRow("hour then seconds") << "dd/mm/yyyy hh:ss" << "03/12/2000 09:07";
        QTest::newRow("n is minutes") << "hh.nn" << "09.05";
        QTest::newRow("capital H") << "H" << "9";
        QTest::newRow("right two of h:nn") << "h:nn" << "9:05";
        QTest::newRow("month after date token") << "mm/01/yyyy" << "12/01/2000";
        QTest::newRow("literals") << "\"day\" d \\m" << "day 3 m";
    }

    void formatDate()
    {
        QFETCH(QString, pattern);
        const Date date = Date::fromDateTime(QDateTime(QDate(2000, 12, 3), QTime(9, 5, 7)));
        QTEST(dayvex::formatDate(date, pattern, QLocale(QLocale::English)), "expected");
        // What a host may store that is no moment shows as the empty date.
        const QString empty = dayvex::formatDate(Date(), pattern, QLocale(QLocale::English));
        QCOMPARE(dayvex::formatDate(Date(std::nan("")), pattern, QLocale(QLocale::English)), empty);
        QCOMPARE(dayvex::formatDate(Date(-std::numeric_limits<double>::infinity()), pattern, QLocale(QLocale::English)), empty);
        QVERIFY_THROWS_EXCEPTION(dayvex::Error, dayvex::formatDate(Date(1e7), pattern));
    }

    void formatNumber_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QString>("expected");
        QTest::newRow("#0") << 12.0 << "#0" << "12";
        QTest::newRow("half away from zero") << 2.5 << "#0" << "3";
        QTest::newRow("negative half") << -2.5 << "#0" << "-3";
        QTest::newRow("00 pads") << 9.0 << "00" << "09";
        QTest::newRow("thirteen digits") << 42.0 << "0000000000000" << "0000000000042";
        QTest::newRow("past 32 bits") << 2147483648.0 << "#0" << "2147483648";
    }

    void formatNumber()
    {
        QFETCH(double, value);
        QFETCH(QString, pattern);
        QTEST(dayvex::formatNumber(value, pattern), "expected");
    }

    void val_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<double>("expected");
        QTest::newRow("leading number") << "12abc" << 12.0;
        QTest::newRow("no number") << "x" << 0.0;
        QTest::newRow("blanks anywhere") << " 1 2\t3" << 123.0;
        QTest::newRow("decimal") << "3.75 h" << 3.75;
        QTest::newRow("exponent") << "1e3" << 1000.0;
        QTest::newRow("D exponent") << "2D2" << 200.0;
        QTest::newRow("dangling exponent") << "5e" << 5.0;
        QTest::newRow("hex") << "&H1F" << 31.0;
        QTest::newRow("octal") << "&O17" << 15.0;
        QTest::newRow("second point stops") << "1.2.3" << 1.2;
    }

    void val()
    {
        QFETCH(QString, text);
        QTEST(dayvex::val(text), "expected");
    }

    void parseDate_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<DateOrder>("order");
        QTest::addColumn<QDateTime>("expected"); // invalid: refused
        const DateOrder dmy = DateOrder::DayMonthYear, mdy = DateOrder::MonthDayYear;
        const QDate day0(1899, 12, 30);
        QTest::newRow("hh:mm") << "08:30" << dmy << QDateTime(day0, QTime(8, 30));
        QTest::newRow("h:mm") << "8:30" << dmy << QDateTime(day0, QTime(8, 30));
        QTest::newRow("seconds") << "08:30:15" << dmy << QDateTime(day0, QTime(8, 30, 15));
        QTest::newRow("pm") << "8:30 PM" << dmy << QDateTime(day0, QTime(20, 30));
        QTest::newRow("12 am") << "12:00 am" << dmy << QDateTime(day0, QTime(0, 0));
        QTest::newRow("day first") << "03/12/2000" << dmy << QDateTime(QDate(2000, 12, 3), QTime(0, 0));
        QTest::newRow("month first") << "03/12/2000" << mdy << QDateTime(QDate(2000, 3, 12), QTime(0, 0));
        QTest::newRow("dashes") << "3-12-2000" << dmy << QDateTime(QDate(2000, 12, 3), QTime(0, 0));
        QTest::newRow("points") << "3.12.2000" << dmy << QDateTime(QDate(2000, 12, 3), QTime(0, 0));
        QTest::newRow("swapped when invalid") << "25/12/2000" << mdy << QDateTime(QDate(2000, 12, 25), QTime(0, 0));
        QTest::newRow("year first") << "2000-12-03" << mdy << QDateTime(QDate(2000, 12, 3), QTime(0, 0));
        QTest::newRow("two-digit year") << "1/2/29" << dmy << QDateTime(QDate(2029, 2, 1), QTime(0, 0));
        QTest::newRow("two-digit year, last century") << "1/2/30" << dmy << QDateTime(QDate(1930, 2, 1), QTime(0, 0));
        QTest::newRow("date and time") << "03/12/2000 14:30" << dmy << QDateTime(QDate(2000, 12, 3), QTime(14, 30));
        QTest::newRow("hour out of range") << "25:99" << dmy << QDateTime();
        QTest::newRow("minutes out of range") << "10:60" << dmy << QDateTime();
        QTest::newRow("letters") << "abc" << dmy << QDateTime();
        QTest::newRow("empty") << "" << dmy << QDateTime();
        QTest::newRow("31 February") << "31/02/2000" << dmy << QDateTime();
        QTest::newRow("mixed separators") << "3/12-2000" << dmy << QDateTime();
        QTest::newRow("time glued to date") << "3/12/200014:30" << dmy << QDateTime();
        QTest::newRow("13 pm") << "13:00 pm" << dmy << QDateTime();
    }

    void parseDate()
    {
        QFETCH(QString, text);
        QFETCH(DateOrder, order);
        QFETCH(QDateTime, expected);
        const std::optional<Date> date = dayvex::parseDate(text, order);
        QCOMPARE(date.has_value(), expected.isValid());
        if (date)
            QCOMPARE(date->toDateTime(), expected);
        else
            QVERIFY_THROWS_EXCEPTION(Error, dayvex::toDate(text, order));
    }

    void localeOrder_data()
    {
        QTest::addColumn<QLocale>("locale");
        QTest::addColumn<DateOrder>("order");
        QTest::newRow("Italian") << QLocale(QLocale::Italian, QLocale::Italy) << DateOrder::DayMonthYear;
        QTest::newRow("US") << QLocale(QLocale::English, QLocale::UnitedStates) << DateOrder::MonthDayYear;
        QTest::newRow("Japanese") << QLocale(QLocale::Japanese, QLocale::Japan) << DateOrder::YearMonthDay;
    }

    void localeOrder()
    {
        QFETCH(QLocale, locale);
        QTEST(localeDateOrder(locale), "order");
    }

    void weekday()
    {
        // 27 November 2000 was a Monday, 3 December 2000 a Sunday
        QCOMPARE(weekdayFromMonday(Date::fromDate(QDate(2000, 11, 27))), 1);
        QCOMPARE(weekdayFromMonday(Date::fromDate(QDate(2000, 12, 3))), 7);
    }
};

QTEST_GUILESS_MAIN(tst_Format)
#include "tst_format.moc"
