#include <dayvextest.h>

#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <libical/ical.h>
#include <sys/stat.h>

namespace {

QString file(const char *name) { return QStringLiteral(DAYVEX_TEST_DATA "/") + QLatin1String(name); }

ImportOptions window2027()
{
    ImportOptions options;
    options.windowFrom = QDate(2027, 1, 1);
    options.windowTo = QDate(2027, 12, 31);
    options.keepSeries = false; // each occurrence of 2027 a record of its own
    return options;
}

std::shared_ptr<Schedule> byDescription(DayvexData &data, const QString &description)
{
    for (const auto &s : *data.Schedules())
        if (s->Description == description)
            return s;
    return nullptr;
}

QStringList startsOf(DayvexData &data, const QString &uid)
{
    QStringList starts;
    for (const auto &s : *data.Schedules())
        if (s->Tag == uid)
            starts << s->StartDate.toDateTime().toString(QStringLiteral("MM-dd hh:mm"));
    starts.sort();
    return starts;
}

// Sets properties by name: "T.Name" on the to-do, "Name" on the appointment.
void setFields(Schedule &s, ToDo &t, const QVariantMap &fields)
{
    for (auto it = fields.begin(); it != fields.end(); ++it) {
        const bool todo = it.key().startsWith("T.");
        const QMetaObject &meta = todo ? ToDo::staticMetaObject : Schedule::staticMetaObject;
        const QMetaProperty property = meta.property(meta.indexOfProperty(it.key().mid(todo ? 2 : 0).toLatin1()));
        QVERIFY2(property.writeOnGadget(todo ? static_cast<void *>(&t) : &s, it.value()), qPrintable(it.key()));
    }
}

} // namespace

class tst_ICalendar : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        resetSharedSettings();
        setClockSource([] { return QDateTime(QDate(2026, 11, 23), QTime(10, 0)); });
    }

    void readsAConferenceProgramme()
    {
        DayvexData data;
        const ExchangeReport report = importICalendar(file("conference.ics"), data, window2027());
        QVERIFY2(report.fileRead && report.skipped == 0, qPrintable(report.summary()));

        const auto keynote = byDescription(data, "Opening keynote");
        QVERIFY(keynote);
        Schedules expected; // lightsteelblue #b0c4de as 0x00BBGGRR
        expected.Add(keynote->Key, "Anna Rossi", at(2027, 3, 1, 9, 0), at(2027, 3, 1, 10, 30), "marco@example.org",
                     "Marco Ferri", "Talk, Plenary", "Opening keynote", "Sala Grande", at(2027, 3, 1, 8, 45),
                     "keynote-2027@conference.example", 0xDEC4B0);
        // what no member holds stays with the record, the organizer's address too
        expected.Item(1)->Extra = "ORGANIZER;CN=Anna Rossi:mailto:anna.rossi@conference.example\r\n"
                                  "ATTENDEE;CN=Marco Ferri;ROLE=REQ-PARTICIPANT:mailto:marco@example.org\r\n";
        QCOMPARE(fieldsOf(*keynote), fieldsOf(*expected.Item(1)));

        QCOMPARE(byDescription(data, "Lunch")->StartDate, at(2027, 3, 1, 13, 0));           // 12:00 UTC
        QCOMPARE(byDescription(data, "Lunch")->EndDate, at(2027, 3, 1, 14, 0));             // DURATION
        QCOMPARE(byDescription(data, "Call with the New York office")->StartDate, at(2027, 3, 1, 16, 0));
        const auto holiday = byDescription(data, "Free day");
        QCOMPARE(holiday->StartDate, at(2027, 3, 2, 0, 0));
        QCOMPARE(holiday->EndDate, at(2027, 3, 2, 23, 59));

        // weekly from 1 March, six times, one left out and one moved; 29 March is summer time in Rome
        QCOMPARE(startsOf(data, "standup@conference.example"),
                 QStringList({"03-01 08:30", "03-08 08:30", "03-22 11:00", "03-29 08:30", "04-05 08:30"}));
        // a shift ending on a later day, earlier; a bare date-time trigger; Strauß and Strauss both read
        QCOMPARE(byDescription(data, "Night shift")->EndDate, at(2027, 3, 5, 9, 0));
        QCOMPARE(byDescription(data, "Night shift")->ReminderDate, at(2027, 3, 3, 16, 0));
        QVERIFY(byDescription(data, "Stage setup"));
        QCOMPARE(report.appointments, 11);
        QVERIFY(data.Schedules()->Places()->find("Room 2"));
        QVERIFY(data.Schedules()->Categories()->Count() > 0);
        QVERIFY(data.Users()->Count() >= 1);

        // read again, nothing is added; the window may end on the last day a date holds
        ImportOptions toTheEnd = window2027();
        toTheEnd.windowTo = QDate(9999, 12, 31);
        const ExchangeReport again = importICalendar(file("conference.ics"), data, toTheEnd);
        QCOMPARE(again.appointments, 0);
        QCOMPARE(again.alreadyPresent, report.appointments);
        QCOMPARE(data.Schedules()->Count(), report.appointments);
    }

    void readsToDos()
    {
        DayvexData data;
        const ExchangeReport report = importICalendar(file("todos.ics"), data, window2027());
        QVERIFY2(report.fileRead && report.skipped == 0, qPrintable(report.summary()));
        QCOMPARE(report.todos, 3);
        const auto todos = data.ToDoS();
        ToDoS expected; // reminded an hour before the due time
        expected.Add(todos->Item(1)->Key, "Bianchi", "Write the quarterly report", "Figures from finance, then the summary.",
                     at(2027, 3, 5, 18, 0), 1, "Reporting", false, Date(), at(2027, 3, 5, 17, 0),
                     "todo-report@tasks.example");
        expected.Item(1)->Extra = "ORGANIZER;CN=Bianchi:mailto:bianchi@tasks.example\r\n";
        QCOMPARE(fieldsOf(*todos->Item(1)), fieldsOf(*expected.Item(1)));
        const auto tickets = todos->Item(2);
        QCOMPARE(tickets->DueTo, at(2027, 2, 20));
        QCOMPARE(tickets->Done, true);
        QCOMPARE(tickets->DateDone, at(2027, 2, 15, 10, 30));
        const auto someday = todos->Item(3);
        QCOMPARE(someday->DueTo, Date());
        QCOMPARE(someday->Priority, qint16(0));
        QCOMPARE(todos->ActiveProjects()->Count(), 1);
    }

    // Each row changes fields of a plain appointment and to-do; exported and read back, they must come back whole.
    void passesThroughUnchanged_data()
    {
        columns<QVariantMap, QVariantMap>("fields", "expected");
        const auto date = [](Date d) { return QVariant::fromValue(d); };
        const auto row = [](const char *name, const QVariantMap &fields, const QVariantMap &expected = {}) {
            QTest::newRow(name) << fields << expected;
        };
        row("overnight shift", {{"StartDate", date(at(2027, 3, 1, 17, 0))}, {"EndDate", date(at(2027, 3, 3, 9, 0))}});
        row("whole days", {{"StartDate", date(at(2027, 7, 15))}, {"EndDate", date(at(2027, 7, 16, 23, 59))}});
        row("the night the clocks go back", {{"StartDate", date(at(2027, 10, 31, 2, 30))},
                                             {"EndDate", date(at(2027, 10, 31, 3, 15))}});
        row("commas, semicolons, codes, an address for owner",
            {{"Description", "Riunione, con virgole; e punti"}, {"Contact", "Ferri"}, {"ContactCode", "C042"}, {"Color", qint32(0xC0FFEE)},
             {"Owner", "m.rossi@example.org"}, {"T.LongDesc", "About the loan\nand the account"}, {"T.Priority", QVariant::fromValue<qint16>(3)}});
        row("done to-do", {{"T.Done", true}, {"T.DateDone", date(at(2027, 1, 20, 9, 15))}, {"T.Project", "Casa"}});
        row("blanks and control characters",
            {{"Description", "  two\tspaced \x01 end\r\n"}, {"Place", " Sala "}, {"Contact", "\tFerri"}, {"T.LongDesc", " x "}});
        row("category list", {{"Category", "a, b"}, {"T.Project", "p,q"}});
        row("category with a bare comma", {{"Category", "a,b ,"}});
        row("body", {{"Body", "Agenda:\n1. budget\n2. plans"}});
        row("system colour", {{"Color", qint32(0x80000005)}});
        row("reminder a century ahead", {{"ReminderDate", date(at(1920, 1, 1))}});
        row("reminder not a number", {{"ReminderDate", date(Date(qQNaN()))}}, {{"ReminderDate", date(Date())}});
        row("before 1899", {{"StartDate", date(at(1850, 6, 1, 22, 0))}, {"EndDate", date(at(1850, 6, 3, 8, 30))},
                            {"ReminderDate", date(at(1850, 6, 1, 21, 45))}, {"T.DueTo", date(at(1850, 6, 1, 12, 0))},
                            {"T.ReminderDate", date(at(1850, 6, 1, 11, 0))}});
        row("after 3000", {{"StartDate", date(at(5000, 5, 2, 10, 0))}, {"EndDate", date(at(5000, 5, 2, 11, 0))},
                           {"ReminderDate", date(at(5000, 5, 2, 9, 0))}});
        row("kept properties", {{"Contact", "Ferri"}, {"T.Extra", "DTSTART:20270301T080000Z\r\n"},
                                {"Extra", "ATTENDEE;CN=Ann:mailto:ann@example.org\r\nURL:https://example.org/x\r\nX-ROOM:42\r\n"}});
        row("organizer address", {{"Owner", "Anna"}, {"Extra", "ORGANIZER;CN=Anna:mailto:anna@example.org\r\n"}});
        row("organizer no longer the owner", {{"Owner", "Bruno"}, {"Extra", "ORGANIZER;CN=Anna:mailto:a@x.org\r\n"}},
            {{"Extra", ""}});
        row("to-do reminder without due date", {{"T.DueTo", date(Date())}, {"T.ReminderDate", date(at(2027, 3, 1, 8, 0))}});
        row("done date on an open to-do", {{"T.Done", false}, {"T.DateDone", date(at(2027, 2, 1, 9, 0))}});
    }

    void passesThroughUnchanged()
    {
        QFETCH(QVariantMap, fields);
        QFETCH(QVariantMap, expected);
        Schedule s;
        ToDo t;
        setFields(s, t, {{"Key", "1"}, {"Tag", "s@x"}, {"Owner", "Rossi"}, {"Description", "Meeting"},
                         {"StartDate", QVariant::fromValue(at(2027, 3, 1, 9, 0))},
                         {"EndDate", QVariant::fromValue(at(2027, 3, 1, 10, 30))},
                         {"ReminderDate", QVariant::fromValue(at(2027, 3, 1, 8, 45))}, {"T.Key", "1"}, {"T.Tag", "t@x"},
                         {"T.ShortDesc", "Call"}, {"T.DueTo", QVariant::fromValue(at(2027, 3, 5, 17, 0))},
                         {"T.ReminderDate", QVariant::fromValue(at(2027, 3, 5, 16, 30))}});
        setFields(s, t, fields);
        DayvexData data, copy;
        *data.Schedules()->Add(s) = s; // as given, without Add's end correction
        data.ToDoS()->Add(t);
        const ExchangeReport read = importICalendarData(exportICalendarData(data), copy, window2027());
        QVERIFY2(read.fileRead && read.skipped == 0, qPrintable(read.summary()));
        setFields(s, t, expected);
        QCOMPARE(fieldsOf(*copy.Schedules()->Item(1)), fieldsOf(s));
        QCOMPARE(fieldsOf(*copy.ToDoS()->Item(1)), fieldsOf(t));
    }

    // Past a bound, or cancelled, an import changes nothing and says why, quickly.
    void boundsStopTheImport_data()
    {
        columns<QByteArray, int, QString>("rule", "bound", "message");
        const QByteArray daily = "FREQ=DAILY", ancient = "FREQ=MINUTELY;COUNT=2000000000";
        QTest::newRow("file size") << daily << 0 << "larger than 150 bytes";
        QTest::newRow("records") << daily << 1 << "more than 50 appointments";
        QTest::newRow("rule steps") << ancient << 2 << "take more than 100000 steps";
        QTest::newRow("time") << ancient << 3 << "longer than 1 ms";
        QTest::newRow("cancelled after the first of two") << daily << 4 << "cancelled";
    }

    void boundsStopTheImport()
    {
        QFETCH(QByteArray, rule);
        QFETCH(int, bound);
        ImportOptions options = window2027();
        QList<int> calls;
        switch (bound) {
        case 0: options.maxFileBytes = 150; break;
        case 1: options.maxRecords = 50; break;
        case 2: options.maxRuleSteps = 100000; break;
        case 3: options.maxMilliseconds = 1; options.maxRuleSteps = 1LL << 40; break;
        case 4: options.progress = [&](int done, int total) { calls << done << total; return false; }; break;
        }
        DayvexData data;
        data.Schedules()->Add("7", "Rossi", at(2026, 12, 1, 9, 0), at(2026, 12, 1, 10, 0), "", "", "", "Here", "", Date());
        const QString before = contents(data);
        const QByteArray file = "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:a\r\nDTSTART:20270301T080000Z\r\nEND:VEVENT\r\n"
                                "BEGIN:VEVENT\r\nUID:r\r\nDTSTART:19000101T080000Z\r\nRRULE:" + rule
                                + "\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n";
        QElapsedTimer clock;
        clock.start();
        const ExchangeReport report = importICalendarData(file, data, options);
        QVERIFY2(clock.elapsed() < 20000, "a bound must stop the work early");
        QVERIFY(!report.fileRead);
        QFETCH(QString, message);
        QVERIFY2(report.summary().contains(message), qPrintable(report.summary()));
        QCOMPARE(contents(data), before);
        if (bound == 4)
            QCOMPARE(calls, QList<int>({1, 2}));
    }

    // Only regular files are read and written: a FIFO would block, a device never end.
    void refusesFilesThatAreNotRegular()
    {
        QTemporaryDir dir;
        const QString fifo = dir.filePath("pipe.ics");
        QCOMPARE(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        DayvexData data;
        data.Schedules()->Add("1", "", at(2027, 3, 1, 9, 0), at(2027, 3, 1, 10, 0), "", "", "", "A", "", Date());
        for (const QString &path : {fifo, dir.path()}) {
            const ExchangeReport read = importICalendar(path, data);
            QVERIFY(!read.fileRead && read.summary().contains("not a regular file"));
            const ExchangeReport written = exportICalendar(data, path);
            QVERIFY(!written.fileRead && written.summary().contains("not a regular file"));
        }
        QVERIFY(QFileInfo(fifo).exists() && !QFileInfo(fifo).isFile());
        // a cancelled export writes nothing
        ExportOptions cancel;
        cancel.progress = [](int, int) { return false; };
        QVERIFY(!exportICalendar(data, dir.filePath("a.ics"), cancel).fileRead);
        QVERIFY(!QFile::exists(dir.filePath("a.ics")));
    }

    // A record whose date cannot be written is left out, and its half-built component freed (the sanitizer checks).
    void exportLeavesOutBadDates()
    {
        DayvexData data;
        data.Schedules()->Add("1", "", at(2027, 3, 1, 9, 0), at(2027, 3, 1, 10, 0), "", "", "", "A", "", Date())->EndDate = Date(1e9);
        data.Schedules()->Add("2", "", at(2027, 3, 1, 9, 0), at(2027, 3, 1, 10, 0), "", "", "", "B", "", Date());
        data.ToDoS()->Add("1", "", "T", "", Date(-1e9), 0, "", false, Date(), Date());
        ExchangeReport report;
        QVERIFY(exportICalendarData(data, &report).contains("SUMMARY:B"));
        QCOMPARE(report.skipped, 2);
    }

    // What libical's checks and python3-icalendar read of an export, field by field.
    void otherParsersReadTheExport()
    {
        DayvexData data;
        auto s = data.Schedules()->Add("1", "Anna", at(2027, 3, 1, 9, 0), at(2027, 3, 3, 8, 0), "", "", "a, b",
                                       "Night shift", "", at(2027, 3, 1, 8, 45), "s@x");
        s->EndDate = at(2027, 3, 3, 8, 0); // past Add's correction
        s->Body = "Line one\nline two";
        s->Extra = "ATTENDEE;CN=Ann:mailto:ann@example.org\r\nX-ROOM:42\r\n";
        data.Schedules()->Add("2", "", at(2027, 7, 15), at(2027, 7, 16, 23, 59), "", "", "", "Summer days", "", Date(), "d@x");
        data.ToDoS()->Add("1", "", "Call", "", at(2027, 3, 5, 17, 0), 3, "p", true, at(2027, 3, 2, 9, 0),
                          at(2027, 3, 5, 16, 30), "t@x");
        const QByteArray bytes = exportICalendarData(data);
        QVERIFY(bytes.contains("TZID=") && bytes.contains("BEGIN:VTIMEZONE"));
        // The zone as from 2027, not its whole history.
        QVERIFY(bytes.indexOf("END:VTIMEZONE") - bytes.indexOf("BEGIN:VTIMEZONE") < 2000);
        icalcomponent *parsed = icalcomponent_new_from_string(bytes.constData());
        QVERIFY(parsed);
        const bool valid = icalrestriction_check(parsed);
        const QByteArray checked = icalcomponent_as_ical_string(parsed);
        icalcomponent_free(parsed);
        QVERIFY2(valid && !checked.contains("X-LIC-ERROR"), checked.constData());

        if (QProcess::execute("/usr/bin/python3", {"-c", "import icalendar"}) != 0)
            QSKIP("/usr/bin/python3 cannot import icalendar (Debian's python3-icalendar): the python reading is not checked");
        QTemporaryDir dir;
        QProcess python;
        python.start("/usr/bin/python3", {DAYVEX_TEST_SOURCE "/icalfields.py", writeFile(dir.filePath("out.ics"), bytes)});
        QVERIFY(python.waitForFinished(60000));
        QVERIFY2(python.exitCode() == 0, python.readAllStandardError().constData());
        QCOMPARE(QString::fromUtf8(python.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts),
                 QStringList({"s@x|Night shift|Line one\\nline two|a,b|20270301T080000Z|20270303T070000Z|-900",
                              "d@x|Summer days|||20270715|20270717|",
                              "t@x|Call||p||20270305T160000Z|-1800"}));
    }

    // Bad files change nothing that was there; what can be read is read and the rest reported.
    void badInput()
    {
        QFile broken(file("broken.ics")), conference(file("conference.ics"));
        QVERIFY(broken.open(QIODevice::ReadOnly) && conference.open(QIODevice::ReadOnly));
        const QByteArray conferenceBytes = conference.readAll();
        const QStringList notICalendar{"not an iCalendar file"};
        // second and tag: the description and UID of the one appointment read, when checked
        const struct { QByteArray bytes; bool fileRead; int appointments; QStringList messages; QString second; QString tag; } inputs[] = {
            {"Subject: minutes\n\nNothing to see.\n", false, 0, notICalendar, {}},
            {QByteArray(), false, 0, notICalendar, {}},
            {QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), false, 0, notICalendar, {}},
            {conferenceBytes.left(conferenceBytes.indexOf("SUMMARY:Free day")), true, 3, {"ends inside a component"}, {}},
            // days from 1 March to the end of the window, the good one, the rest reported
            {broken.readAll(), true, 306 + 1, {"no DTSTART", "repeats without end", "outside the years 100 to 9999"}, {}},
            {"BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:l1\r\nDTSTART:20270301T090000Z\r\n"
             "SUMMARY:Caff\xe8 con Luc\xed" "a\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n",
             true, 1, {"read as Latin-1"}, QString::fromUtf8("Caffè con Lucía")},
            // a UID with a bare CR in it, which no other program would keep
            {"BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:u1\rUID:2\x01\r\nDTSTART:20270301T090000Z\r\n"
             "END:VEVENT\r\nEND:VCALENDAR\r\n", true, 1, {}, {}, "u1UID:2"}};
        for (const auto &input : inputs) {
            DayvexData data;
            data.Schedules()->Add("7", "Rossi", at(2026, 12, 1, 9, 0), at(2026, 12, 1, 10, 0), "", "", "Mine",
                                  "Already here", "Ufficio", Date());
            const QString before = contents(data);
            const ExchangeReport report = importICalendarData(input.bytes, data, window2027());
            QCOMPARE(report.fileRead, input.fileRead);
            QCOMPARE(report.appointments, input.appointments);
            QCOMPARE(data.Schedules()->Count(), 1 + input.appointments);
            for (const QString &message : input.messages)
                QVERIFY2(report.summary().contains(message), qPrintable(report.summary()));
            if (!input.fileRead)
                QCOMPARE(contents(data), before);
            QCOMPARE(data.Schedules()->Item(1)->Description, "Already here");
            if (!input.second.isEmpty())
                QCOMPARE(data.Schedules()->Item(2)->Description, input.second);
            if (!input.tag.isEmpty())
                QCOMPARE(data.Schedules()->Item(2)->Tag, input.tag);
        }
    }

    void failedAddLeavesDataAsItWas()
    {
        DayvexData data;
        // the next key would pass 2147483647: the import fails part-way and takes back what it added
        data.Schedules()->Add("2147483646", "", at(2026, 12, 1, 9, 0), at(2026, 12, 1, 10, 0), "", "", "", "Last",
                              "", Date());
        data.Users()->Add("Rossi");
        const QString before = contents(data);
        const ExchangeReport report = importICalendar(file("conference.ics"), data, window2027());
        QVERIFY(!report.fileRead);
        QVERIFY2(report.summary().contains("nothing was imported"), qPrintable(report.summary()));
        QCOMPARE(contents(data), before);
        QCOMPARE(data.Schedules()->Count(), 1);
    }
};

QTEST_MAIN(tst_ICalendar)
#include "tst_icalendar.moc"
