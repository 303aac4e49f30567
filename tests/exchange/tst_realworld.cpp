#include <dayvextest.h>
#include <dayvex/exchange/icalendar.h>
#include <dayvex/exchange/series.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/records.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/model/todos.h>

namespace {

QString clock(Date d)
{
    return d.isEmpty() ? QString() : d.toDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm"));
}

// What a reader of the file sees of an appointment, on Rome's wall clock:
// subject|start|end|rule|exception dates|place|description|reminder
QString line(const Schedule &s)
{
    return QStringList{s.Description, clock(s.StartDate),   clock(s.EndDate), s.Recurrence, s.ExceptionDates, s.Place,
                       s.Body,        clock(s.ReminderDate)}
        .join('|')
        .replace('\n', QLatin1String("\\n"));
}

} // namespace

// Files other programs wrote, kept unchanged in tests/data/realworld (see SOURCES.md);
// what each should give was read off the file by hand.
class tst_RealWorld : public QObject
{
    Q_OBJECT
private slots:
    void init() { resetSharedSettings(); }

    void imports_data()
    {
        // counts: the report's first line; notes: words some entry must hold;
        // records: the first appointment and, when given, the last; occurrences: appointments
        // when read as single occurrences from 1990 to 2020
        columns<QString, QString, QStringList, QStringList, int>("file", "counts", "notes", "records", "occurrences");
        const auto row = [](const char *file, const char *counts, const QStringList &notes, const QStringList &records,
                            int occurrences = -1) {
            QTest::newRow(file) << QString::fromLatin1(file) << QString::fromLatin1(counts) << notes << records
                                << (occurrences < 0 ? QString::fromLatin1(counts).section(' ', 0, 0).toInt()
                                                    : occurrences);
        };
        const char *one = "1 appointment, 0 to-dos, 0 already present, 0 skipped";
        // No DTEND: the control's one step (30 minutes) long. 08:00 EDT is 14:00 in Rome.
        row("america_new_york.ics", one, {"DTSTART appears 2 times"},
            {"an event with a custom tz name|2014-08-29 14:00|2014-08-29 14:30|||||"});
        row("encoding.ics", one, {},
            {QString::fromUtf8("Non-ASCII Test: ÄÖÜ äöü €|2010-10-10 12:00|2010-10-10 14:00|||Tribstrül|"
                               "icalendar should be able to handle non-ascii: €äüöÄÜÖ.|")});
        // Google: 12:00 in New York is 18:00 here; the UNTIL stays as written, in UTC. Fridays and
        // Saturdays from 7 September to 19 October 2013, 11 and 12 October left out: 11.
        row("issue_112_missing_tzinfo_on_exdate.ics", one, {},
            {"Market East Live!|2013-09-07 18:00|2013-09-07 23:00|FREQ=WEEKLY;UNTIL=20131025T035959Z;BYDAY=FR,SA|"
             "20131011T180000,20131012T180000|12th and Market Streets (weather permitting)|The Fieldhouse and Hard "
             "Rock Cafe are working with PhillyRising to provide live entertainment on Friday and Saturday afternoons "
             "throughout the Summer.|"},
            11);
        // Meetup: 18:30 in Washington is past midnight here, in summer and (November, EST) in winter alike.
        row("issue_53_parsing_failure.ics", "3 appointments, 0 to-dos, 0 already present, 0 skipped", {},
            {"DevOps DC Meetup|2012-07-13 00:30|2012-07-13 03:30|||Fathom Creative, Inc. (1333 14th Street Northwest, "
             "WashingtonD.C., DC 20005)|DevOpsDC\\nThursday, July 12 at 6:30 PM\\n\\nThis will be a joint meetup / "
             "hack night with the DC jQuery Users Group.   The idea behind the hack night:  Small teams consisting of "
             "at least 1 member...\\n\\nDetails: http://www.meetup.com/DevOpsDC/events/47635522/|",
             "DevOps DC Meetup|2012-11-14 00:30|2012-11-14 03:30|||CustomInk, LLC (7902 Westpark Drive, McLean, VA "
             "22102)|DevOpsDC\\nTuesday, November 13 at 6:30 PM\\n\\n \\n\\nDetails: "
             "http://www.meetup.com/DevOpsDC/events/47635552/|"});
        // Old Mozilla: two calendars in one file, folds broken by empty lines.
        row("multiple.ics", "3 appointments, 0 to-dos, 0 already present, 0 skipped", {"empty lines", "2 calendars"},
            {"Christmas Day|2003-12-25 00:00|2003-12-25 23:59|||||",
             "Christmas again!|2003-12-25 00:00|2003-12-25 23:59|||||"});
        // 08:00 in Fiji's winter (+12) is 22:00 of the day before here.
        row("pacific_fiji.ics", one, {"DTSTART appears 2 times"},
            {"an event with a custom tz name|2014-08-28 22:00|2014-08-28 22:30|||||"});
        // Floating times with exceptions in UTC: taken on the series' clock, 97 days. Vienna's
        // zone is not in the file; it keeps Rome's time: Tuesdays to 3 July (08:00 UTC) less 5, 10.
        row("recurrence.ics", "2 appointments, 0 to-dos, 0 already present, 0 skipped", {},
            {"A recurring event with exdates|1996-04-01 01:00|1996-04-01 02:00|FREQ=DAILY;COUNT=100|"
             "19960402T010000,19960403T010000,19960404T010000|||",
             "A Recurring event with multiple exdates, one per line.|2012-03-27 10:00|2012-03-27 18:00|"
             "FREQ=WEEKLY;UNTIL=20120703T080000Z;BYDAY=TU|20120403T100000,20120410T100000,20120417T100000,"
             "20120501T100000,20120529T100000|||"},
            107);
        row("time.ics", "0 appointments, 0 to-dos, 0 already present, 0 skipped", {}, {});
        // "SUMMARY=testevent" is no property: no subject, and a note.
        row("timezone_rdate.ics", one, {"a line that cannot be read, left out", "SUMMARY=testevent"},
            {"|2012-02-13 10:00|2012-02-13 10:30|||||"});
        // Exchange: a zone whose two parts start together in 1601.
        row("timezone_same_start.ics", one, {}, {"Test 4|2017-02-24 21:00|2017-02-24 21:30|||||"});
        row("timezone_same_start_and_offset.ics", one, {"no END:VCALENDAR"},
            {"this is an event|2017-02-24 04:00|2017-02-24 04:30|||||"});
        row("timezoned.ics", one, {},
            {"artsprint 2012|2012-02-13 10:00|2012-02-17 18:00|||aka bild, wien|sprinting at the artsprint|"});
        // Weekdays from Friday 28 October 2016 to 2020: 218 weeks, 1090 days.
        row("x_location.ics", one, {},
            {"Daily Sync|2016-10-28 14:00|2016-10-28 14:30|FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR||Roadstar 16\\n12764 "
             "Happyville\\nDenmark|Some Description|"},
            1090);
    }

    // Read as the file stands, then exported and read again: the same records.
    void imports()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, records);
        DayvexData data;
        const ExchangeReport report = importICalendar(QStringLiteral(DAYVEX_TEST_DATA "/realworld/") + file, data);
        QVERIFY2(report.fileRead, qPrintable(report.summary()));
        QTEST(report.summary().section('\n', 0, 0), "counts");
        QFETCH(QStringList, notes);
        for (const QString &note : notes)
            QVERIFY2(report.summary().section('\n', 1).contains(note), qPrintable(report.summary()));
        const auto schedules = data.Schedules();
        QStringList read;
        if (schedules->Count() > 0)
            read << line(*schedules->Item(1));
        if (records.size() > 1)
            read << line(*schedules->Item(schedules->Count()));
        QCOMPARE(read, records);

        DayvexData copy;
        const ExchangeReport again = importICalendarData(exportICalendarData(data), copy);
        QVERIFY2(again.fileRead && again.skipped == 0, qPrintable(again.summary()));
        QCOMPARE(copy.Schedules()->Count(), schedules->Count());
        QCOMPARE(copy.ToDoS()->Count(), data.ToDoS()->Count());
        for (qint32 i = 1; i <= schedules->Count(); ++i) {
            Schedule expected = *schedules->Item(i);
            QVERIFY2(!expected.Extra.contains("X-LIC-ERROR"), "what cannot be read is reported, not written out again");
            if (expected.Tag.isEmpty()) // a component without UID gets one on export
                expected.Tag = QStringLiteral("S-%1@dayvex").arg(expected.Key);
            QCOMPARE(fieldsOf(*copy.Schedules()->Item(i)), fieldsOf(expected));
        }
        for (qint32 i = 1; i <= data.ToDoS()->Count(); ++i)
            QCOMPARE(fieldsOf(*copy.ToDoS()->Item(i)), fieldsOf(*data.ToDoS()->Item(i)));

        // Read as single occurrences from 1990 to 2020, and each series as the views walk it: the same starts.
        ImportOptions window;
        window.windowFrom = QDate(1990, 1, 1);
        window.windowTo = QDate(2020, 12, 31);
        window.keepSeries = false;
        DayvexData expanded;
        importICalendar(QStringLiteral(DAYVEX_TEST_DATA "/realworld/") + file, expanded, window);
        QTEST(expanded.Schedules()->Count(), "occurrences");
        QStringList single, walked;
        for (const auto &s : *expanded.Schedules())
            single << s->Tag + ' ' + clock(s->StartDate);
        for (const auto &s : *schedules)
            for (Date start : occurrenceStarts(*s, at(1990, 1, 1), at(2021, 1, 1), {}, 5000))
                walked << s->Tag + ' ' + clock(start);
        single.sort();
        walked.sort();
        QCOMPARE(walked, single);
    }
};

QTEST_GUILESS_MAIN(tst_RealWorld)
#include "tst_realworld.moc"
