#include <dayvextest.h>
#include <dayvex/exchange/series.h>
#include <dayvex/exchange/icalendar.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/records.h>
#include <dayvex/model/schedules.h>

#include <QElapsedTimer>
#include <QScopeGuard>

#include <map>

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
        QTest::newRow("a rule that names no day, its start left out: the extra date alone")
            << series(monday, "FREQ=MONTHLY;BYMONTHDAY=31;BYDAY=2TU", "20270324T170000", "20270322T090000")
            << at(2027, 3, 1) << at(2027, 5, 1) << QStringList{"2027-03-24 17:00"};
        QTest::newRow("every hour from 1900, seen in 2027: a jump, not a walk")
            << series(at(1900, 1, 1, 0, 30), "FREQ=HOURLY") << at(2027, 3, 22, 7) << at(2027, 3, 22, 10)
            << QStringList{"2027-03-22 07:30", "2027-03-22 08:30", "2027-03-22 09:30"};
        QTest::newRow("every 5 hours, months on: the rule's own phase")
            << series(at(2026, 1, 5, 9, 30), "FREQ=HOURLY;INTERVAL=5;BYDAY=MO,WE") << at(2026, 8, 19)
            << at(2026, 8, 19, 12) << QStringList{"2026-08-19 00:30", "2026-08-19 05:30", "2026-08-19 10:30"};
        QTest::newRow("every 4 hours at 8 and 20, seen from 06:00: the day's 08:00 stays")
            << series(at(2025, 12, 10, 8), "FREQ=HOURLY;INTERVAL=4;BYHOUR=8,20") << at(2025, 12, 17, 6)
            << at(2025, 12, 17, 21) << QStringList{"2025-12-17 08:00", "2025-12-17 20:00"};
        QTest::newRow("every second of each 366th day: too costly for libical, the start alone")
            << series(at(2027, 3, 1), "FREQ=SECONDLY;BYYEARDAY=366") << at(2027, 3, 1) << at(2029, 1, 1)
            << QStringList{"2027-03-01 00:00"};
        QTest::newRow("a 31st of December that is its last Friday: the years that have one")
            << series(at(2027, 3, 22, 9), "FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=31;BYDAY=-1FR") << at(2027, 3, 1)
            << at(2031, 1, 1)
            << QStringList{"2027-12-31 09:00"};
        // Rules that name no time that can come, or that libical looks for until 2582: the start alone.
        for (const auto &[name, rule] : {std::pair{"the 31st of February", "FREQ=MONTHLY;BYMONTH=2;BYMONTHDAY=31"},
                                         {"a 31st that is a second Tuesday", "FREQ=MONTHLY;BYMONTHDAY=31;BYDAY=2TU"},
                                         {"hourly on each month's last day", "FREQ=HOURLY;BYMONTHDAY=-1"},
                                         {"every third month from March, in February",
                                          "FREQ=MONTHLY;INTERVAL=3;BYMONTH=2;BYDAY=2TU"},
                                         {"the second of a month's one 31st",
                                          "FREQ=MONTHLY;INTERVAL=10;BYMONTHDAY=31;BYSETPOS=2"},
                                         {"the second of a month's one day, whatever its hours",
                                          "FREQ=MONTHLY;BYSETPOS=2;BYHOUR=8,20"},
                                         {"the second of its one last Sunday", "FREQ=MONTHLY;BYDAY=-1SU;BYSETPOS=2"}})
            QTest::newRow(name) << series(at(2027, 3, 22, 9), rule) << at(2027, 3, 1) << at(2029, 1, 1)
                                << QStringList{"2027-03-22 09:00"};
        QTest::newRow("every third month from March, in June: the second Tuesdays")
            << series(at(2027, 3, 22, 9), "FREQ=MONTHLY;INTERVAL=3;BYMONTH=6;BYDAY=2TU") << at(2027, 3, 1)
            << at(2028, 7, 1) << QStringList{"2027-06-08 09:00", "2028-06-13 09:00"};
        QTest::newRow("hourly on February's 366th day: none, and no search until 2582")
            << series(at(2027, 3, 24, 9), "FREQ=HOURLY;BYYEARDAY=366;BYMONTH=2") << at(2027, 3, 1)
            << at(2029, 1, 1) << QStringList{};
        QTest::newRow("a month's last working day")
            << series(monday, "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1") << at(2027, 3, 22) << at(2027, 5, 1)
            << QStringList{"2027-03-31 09:00", "2027-04-30 09:00"};
        QTest::newRow("a last Sunday on the 29th of February: leap years that have one")
            << series(at(2027, 3, 22, 9), "FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=29;BYDAY=-1SU") << at(2027, 3, 1)
            << at(2041, 1, 1) << QStringList{"2032-02-29 09:00"};
        QTest::newRow("daily in 1876, where the numbers run backwards within a day: the clock's order")
            << series(at(1876, 7, 6, 9), "FREQ=DAILY") << at(1876, 7, 6, 6) << at(1876, 7, 8)
            << QStringList{"1876-07-06 09:00", "1876-07-07 09:00"};
        QTest::newRow("two billion seconds from 1900: bounded, nothing in 2027")
            << series(at(1900, 1, 1), "FREQ=SECONDLY;COUNT=2000000000") << at(2027, 3, 22) << at(2027, 3, 23)
            << QStringList{};
        QTest::newRow("a whole-day series' day left out at London's midnight, 01:00 here")
            << series(at(2027, 3, 1), "FREQ=WEEKLY", {}, "20270308T010000,20270314T230000") << at(2027, 3, 1)
            << at(2027, 3, 23) << QStringList{"2027-03-01 00:00", "2027-03-22 00:00"};
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

    // A frequent rule seen through any range, and its reminders, has the same
    // times as through one wide range: whatever point a walk begins at.
    void sameTimesWhateverTheRange_data()
    {
        columns<Schedule, Date>("series", "from");
        QTest::newRow("every 4 hours at 8 and 20 on some weekdays, begun at noon")
            << series(at(2025, 12, 9, 12), "FREQ=HOURLY;INTERVAL=4;BYDAY=MO,WE,FR;BYHOUR=8,20") << at(2025, 12, 14);
        QTest::newRow("every 7 minutes at 8 and 20 on some weekdays, begun on a Saturday")
            << series(at(2026, 1, 31, 7, 15), "FREQ=MINUTELY;INTERVAL=7;BYHOUR=8,20;BYDAY=MO,WE,FR")
            << at(2026, 2, 20);
        QTest::newRow("hourly at 9, 13 and 17") << series(at(2025, 12, 1, 9), "FREQ=HOURLY;BYHOUR=9,13,17")
                                               << at(2026, 3, 2);
        QTest::newRow("every 50 seconds in minute 5") << series(at(2026, 1, 1, 0, 5), "FREQ=SECONDLY;INTERVAL=50;BYMINUTE=5")
                                                      << at(2026, 1, 3);
    }

    void sameTimesWhateverTheRange()
    {
        QFETCH(Schedule, series);
        QFETCH(Date, from);
        series.ReminderLead = 0;
        const Date to = from.addDays(9);
        const std::vector<Date> whole = occurrenceStarts(series, from, to);
        QVERIFY(whole.size() > 4);
        std::vector<Date> pieces;
        for (Date at = from; at < to; at = at.addMinutes(313)) {
            const std::vector<Date> piece = occurrenceStarts(series, at, std::min(to, at.addMinutes(313)));
            pieces.insert(pieces.end(), piece.begin(), piece.end());
        }
        QCOMPARE(texts(pieces), texts(whole));
        for (Date start : whole) {
            QCOMPARE(texts(occurrenceStarts(series, start, start.addSeconds(1))), texts({start}));
            QCOMPARE(texts({nextReminder(series, start.addSeconds(-61))}), texts({start}));
        }
    }

    // "This and the following" from at, moved by minutes: the ended series and
    // the new one show the old occurrences, the later ones moved, and end where it did.
    void split_data()
    {
        columns<Schedule, Date, int, QStringList>("series", "cut", "minutes", "starts");
        const Date monday = at(2027, 3, 22, 9);
        QTest::newRow("COUNT shared out") << series(monday, "FREQ=DAILY;COUNT=4") << at(2027, 3, 24, 9) << 0
                                          << QStringList{"2027-03-22 09:00", "2027-03-23 09:00", "2027-03-24 09:00",
                                                         "2027-03-25 09:00"};
        QTest::newRow("UNTIL moved with the rest")
            << series(monday, "FREQ=DAILY;UNTIL=20270325T090000") << at(2027, 3, 24, 9) << 60
            << QStringList{"2027-03-22 09:00", "2027-03-23 09:00", "2027-03-24 10:00", "2027-03-25 10:00"};
        QTest::newRow("UNTIL before an extra date")
            << series(monday, "FREQ=WEEKLY;UNTIL=20270329T090000", "20270420T090000") << at(2027, 4, 20, 9) << 0
            << QStringList{"2027-03-22 09:00", "2027-03-29 09:00", "2027-04-20 09:00"};
        QTest::newRow("UTC UNTIL before an extra date")
            << series(monday, "FREQ=WEEKLY;UNTIL=20270329T070000Z", "20270420T090000") << at(2027, 4, 20, 9) << 0
            << QStringList{"2027-03-22 09:00", "2027-03-29 09:00", "2027-04-20 09:00"};
        QTest::newRow("COUNT before an extra date")
            << series(monday, "FREQ=DAILY;COUNT=2", "20270330T090000") << at(2027, 3, 30, 9) << 0
            << QStringList{"2027-03-22 09:00", "2027-03-23 09:00", "2027-03-30 09:00"};
        // Moved a day on, the rule's weekdays and days of the month move along.
        QTest::newRow("weekdays a day on")
            << series(monday, "FREQ=WEEKLY;BYDAY=MO,WE;COUNT=5") << at(2027, 3, 29, 9) << 24 * 60
            << QStringList{"2027-03-22 09:00", "2027-03-24 09:00", "2027-03-30 09:00", "2027-04-01 09:00",
                           "2027-04-06 09:00"};
        QTest::newRow("day of the month a day back")
            << series(monday, "FREQ=MONTHLY;BYMONTHDAY=22;COUNT=3") << at(2027, 4, 22, 9) << -24 * 60
            << QStringList{"2027-03-22 09:00", "2027-04-21 09:00", "2027-05-21 09:00"};
    }

    void split()
    {
        QFETCH(Schedule, series);
        QFETCH(Date, cut);
        QFETCH(int, minutes);
        const SeriesSplit split = splitSeriesAt(series, cut, minutes);
        Schedule following = split.following;
        following.StartDate = cut.addMinutes(minutes);
        std::vector<Date> starts = occurrenceStarts(split.ended, at(2027, 3, 1), at(2027, 6, 1));
        for (Date d : occurrenceStarts(following, at(2027, 3, 1), at(2027, 6, 1)))
            starts.push_back(d);
        QTEST(texts(starts), "starts");
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

    // One reminder per occurrence: the next one after a moment, and the
    // occurrence a reminder due (or snoozed) at a moment is for.
    void remindersPerOccurrence_data()
    {
        columns<qint32, Date, QString, Date, QString>("lead", "after", "next", "due", "occurrence");
        // Weekly on Mondays at 09:00 from 1 March, 6 times, 15 March left out.
        QTest::newRow("from the reminder before the start") << qint32(Schedule::NoLead) << at(2027, 3, 1, 8, 45)
                                                            << "2027-03-08 08:45" << at(2027, 3, 8, 8, 45)
                                                            << "2027-03-08 09:00";
        QTest::newRow("skips the day left out, snoozed past the start")
            << qint32(Schedule::NoLead) << at(2027, 3, 8, 8, 45) << "2027-03-22 08:45" << at(2027, 3, 8, 10)
            << "2027-03-08 09:00";
        QTest::newRow("a lead of its own: a day before") << qint32(86400) << at(2027, 3, 1) << "2027-03-07 09:00"
                                                        << at(2027, 3, 21, 9) << "2027-03-22 09:00";
        QTest::newRow("after the last: none") << qint32(Schedule::NoLead) << at(2027, 4, 5, 8, 45) << ""
                                              << at(2030, 1, 1) << "2027-03-01 09:00";
    }

    void remindersPerOccurrence()
    {
        QFETCH(qint32, lead);
        QFETCH(Date, after);
        QFETCH(Date, due);
        Schedule s = series(at(2027, 3, 1, 9), "FREQ=WEEKLY;COUNT=6", {}, "20270315T090000");
        s.ReminderDate = at(2027, 3, 1, 8, 45);
        s.ReminderLead = lead;
        const Date next = nextReminder(s, after);
        QTEST(next.isEmpty() ? QString() : texts({next}).join(','), "next");
        QTEST(texts({remindedOccurrence(s, due)}).join(','), "occurrence");
    }

    // Files from elsewhere: a London whole-day series with a week left out at
    // London's midnight in UTC, read in Rome; a timed series with two reminders.
    // The day stays left out, the reminder comes before each occurrence from
    // the next one on, and the second reminder goes out again on export.
    void importedSeriesKeepTheirDaysAndReminders()
    {
        setClockSource([] { return QDateTime(QDate(2027, 7, 1), QTime(12, 0)); });
        const auto restore = qScopeGuard([] { setClockSource({}); });
        const QByteArray file = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//elsewhere//EN\r\n"
                                "BEGIN:VEVENT\r\nUID:gym@london\r\nDTSTAMP:20270101T000000Z\r\n"
                                "DTSTART;VALUE=DATE:20270628\r\nDTEND;VALUE=DATE:20270629\r\n"
                                "RRULE:FREQ=WEEKLY;COUNT=4\r\nEXDATE:20270704T230000Z\r\nSUMMARY:Gym\r\nEND:VEVENT\r\n"
                                "BEGIN:VEVENT\r\nUID:standup@x\r\nDTSTAMP:20270101T000000Z\r\n"
                                "DTSTART;TZID=Europe/Rome:20270607T090000\r\nDURATION:PT15M\r\n"
                                "RRULE:FREQ=WEEKLY\r\nSUMMARY:Standup\r\n"
                                "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:a\r\nTRIGGER:-PT15M\r\nEND:VALARM\r\n"
                                "BEGIN:VALARM\r\nACTION:AUDIO\r\nTRIGGER:-P1D\r\nEND:VALARM\r\n"
                                "END:VEVENT\r\nEND:VCALENDAR\r\n";
        const auto check = [](DayvexData &data) {
            std::map<QString, std::shared_ptr<Schedule>> by;
            for (const auto &s : *data.Schedules())
                by[s->Description] = s;
            const auto gym = by["Gym"];
            QCOMPARE(texts(occurrenceStarts(*gym, at(2027, 6, 1), at(2027, 8, 1))),
                     QStringList({"2027-06-28 00:00", "2027-07-12 00:00", "2027-07-19 00:00"}));
            const auto standup = by["Standup"];
            QCOMPARE(standup->ReminderLead, 900);
            QCOMPARE(texts({standup->ReminderDate}), QStringList{"2027-07-05 08:45"});
            QCOMPARE(standup->Extra.count("BEGIN:VALARM"), 1);
            QVERIFY(standup->Extra.contains("TRIGGER:-P1D"));
        };
        DayvexData read;
        QCOMPARE(importICalendarData(file, read).appointments, 2);
        check(read);
        DayvexData again;
        QCOMPARE(importICalendarData(exportICalendarData(read), again).appointments, 2);
        check(again);
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
        QCOMPARE(importICalendarData(file, whole).appointments, 3);
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
        window.keepSeries = false;
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
