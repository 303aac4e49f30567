#include <dayvextest.h>
#include <dayvex/exchange/series.h>
#include <dayvex/exchange/icalendar.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/records.h>
#include <dayvex/model/schedules.h>

#include <QElapsedTimer>

Q_DECLARE_METATYPE(dayvex::Schedule)

namespace {
Schedule series(Date start, const QString &rule, const QString &extra = {}, const QString &except = {})
{
    Schedule s;
    s.Key = "s";
    s.StartDate = start;
    s.EndDate = start.addMinutes(60);
    s.Recurrence = rule;
    s.RecurrenceDates = extra;
    s.ExceptionDates = except;
    return s;
}

QStringList texts(const std::vector<Date> &dates)
{
    QStringList out;
    for (Date d : dates)
        out << d.toDateTime().toString("yyyy-MM-dd hh:mm");
    return out;
}
} // namespace

// The occurrences of a series in a range, as the views ask for them, in Rome's wall clock.
class tst_Series : public QObject
{
    Q_OBJECT
private slots:
    void occurrences_data()
    {
        columns<Schedule, Date, Date, QStringList>("series", "from", "to", "starts");
        const Date monday = at(2027, 3, 22, 9);
        QTest::newRow("weekly over the change to summer time: still 09:00")
            << series(monday, "FREQ=WEEKLY") << at(2027, 3, 22) << at(2027, 4, 6)
            << QStringList{"2027-03-22 09:00", "2027-03-29 09:00", "2027-04-05 09:00"};
        QTest::newRow("the 31st skips short months")
            << series(at(2027, 1, 31, 8), "FREQ=MONTHLY;BYMONTHDAY=31") << at(2027, 1, 1) << at(2027, 6, 1)
            << QStringList{"2027-01-31 08:00", "2027-03-31 08:00", "2027-05-31 08:00"};
        QTest::newRow("COUNT ends it") << series(monday, "FREQ=DAILY;COUNT=2") << at(2027, 3, 1) << at(2027, 4, 1)
                                       << QStringList{"2027-03-22 09:00", "2027-03-23 09:00"};
        QTest::newRow("a range after the start, UNTIL")
            << series(monday, "FREQ=WEEKLY;UNTIL=20270412T090000") << at(2027, 4, 1) << at(2027, 5, 1)
            << QStringList{"2027-04-05 09:00", "2027-04-12 09:00"};
        QTest::newRow("extra and excluded dates")
            << series(monday, "FREQ=WEEKLY", "20270324T170000", "20270329T090000") << at(2027, 3, 22)
            << at(2027, 4, 6) << QStringList{"2027-03-22 09:00", "2027-03-24 17:00", "2027-04-05 09:00"};
        QTest::newRow("a rule libical cannot read: the record alone")
            << series(monday, "FREQ=SOMETIMES") << at(2027, 3, 1) << at(2027, 5, 1)
            << QStringList{"2027-03-22 09:00"};
        QTest::newRow("every hour from 1900, seen in 2027: a jump, not a walk")
            << series(at(1900, 1, 1, 0, 30), "FREQ=HOURLY") << at(2027, 3, 22, 7) << at(2027, 3, 22, 10)
            << QStringList{"2027-03-22 07:30", "2027-03-22 08:30", "2027-03-22 09:30"};
        QTest::newRow("two billion seconds from 1900: bounded, nothing in 2027")
            << series(at(1900, 1, 1), "FREQ=SECONDLY;COUNT=2000000000") << at(2027, 3, 22) << at(2027, 3, 23)
            << QStringList{};
    }

    void occurrences()
    {
        QFETCH(Schedule, series);
        QFETCH(Date, from);
        QFETCH(Date, to);
        QElapsedTimer clock;
        clock.start();
        QTEST(texts(occurrenceStarts(series, from, to)), "starts");
        QVERIFY2(clock.elapsed() < 5000, "a series' walk is bounded");
    }

    // An occurrence that stands as a record of its own is not the series' any more.
    void overriddenAndDates()
    {
        const Schedule s = series(at(2027, 3, 22, 9), "FREQ=DAILY");
        QCOMPARE(texts(occurrenceStarts(s, at(2027, 3, 22), at(2027, 3, 25), {at(2027, 3, 23, 9)})),
                 QStringList({"2027-03-22 09:00", "2027-03-24 09:00"}));
        const std::vector<Date> dates = seriesDates("20270301T080000, junk,19000101T000000");
        QCOMPARE(texts(dates), QStringList({"1900-01-01 00:00", "2027-03-01 08:00"}));
        QCOMPARE(seriesDates(seriesDatesText(dates)), dates);
    }

    // A series with its extra and excluded dates, an occurrence of it changed on
    // its own, and a rule libical cannot read: exported and read back whole, as a
    // series; read as occurrences, the same starts the views compute.
    void exchangedWhole()
    {
        DayvexData data;
        Schedule weekly = series(at(2027, 3, 1, 9), "FREQ=WEEKLY;BYDAY=MO,WE;COUNT=8", "20270306T170000",
                                 "20270303T090000");
        data.Schedules()->Add(weekly);
        Schedule moved = series(at(2027, 3, 8, 11), {});
        moved.Key = "o";
        moved.SeriesKey = "s";
        moved.RecurrenceId = at(2027, 3, 8, 9);
        data.Schedules()->Add(moved);
        Schedule odd = series(at(2027, 3, 2, 8), "FREQ=SOMETIMES");
        odd.Key = "u";
        data.Schedules()->Add(odd);
        const QByteArray file = exportICalendarData(data);

        DayvexData whole;
        ImportOptions keep;
        keep.keepSeries = true;
        QCOMPARE(importICalendarData(file, whole, keep).appointments, 3);
        QStringList read;
        for (const auto &s : *whole.Schedules())
            read << QStringList{s->Recurrence, s->RecurrenceDates, s->ExceptionDates,
                                s->SeriesKey.isEmpty() ? QString() : whole.Schedules()->Item(s->SeriesKey)->Recurrence,
                                s->RecurrenceId.isEmpty() ? QString() : texts({s->RecurrenceId}).join(',')}
                        .join('|');
        QCOMPARE(read, QStringList({"FREQ=WEEKLY;COUNT=8;BYDAY=MO,WE|20270306T170000|20270303T090000||",
                                    "|||FREQ=WEEKLY;COUNT=8;BYDAY=MO,WE|2027-03-08 09:00", "FREQ=SOMETIMES||||"}));

        DayvexData expanded;
        ImportOptions window;
        window.windowFrom = QDate(2027, 1, 1);
        window.windowTo = QDate(2027, 12, 31);
        importICalendarData(file, expanded, window);
        QStringList starts;
        for (const auto &s : *expanded.Schedules())
            if (s->Description.isEmpty() && s->StartDate.toDateTime().date().month() == 3)
                starts << texts({s->StartDate}).join(',');
        starts.sort();
        QStringList computed = texts(occurrenceStarts(weekly, at(2027, 1, 1), at(2028, 1, 1), {moved.RecurrenceId}));
        computed << "2027-03-08 11:00" << "2027-03-02 08:00"; // the moved occurrence; the odd rule's record alone
        computed.sort();
        QCOMPARE(starts, computed);
    }
};

QTEST_GUILESS_MAIN(tst_Series)
#include "tst_series.moc"
