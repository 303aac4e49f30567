#include <dayvextest.h>

#include <QTemporaryDir>

namespace {

QString file(const char *name) { return QStringLiteral(DAYVEX_TEST_DATA "/") + QLatin1String(name); }

ImportOptions window2027()
{
    ImportOptions options;
    options.windowFrom = QDate(2027, 1, 1);
    options.windowTo = QDate(2027, 12, 31);
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

    void roundTrip()
    {
        DayvexData original;
        auto schedules = original.Schedules();
        schedules->Add("1", "Rossi", at(2027, 3, 1, 9, 0), at(2027, 3, 1, 10, 30), "C042", "Ferri", "Lavoro",
                       "Riunione, con virgole; e punti", "Sala A", at(2027, 3, 1, 8, 45), QString(), 0x00C0FFEE & 0xFFFFFF);
        schedules->Add("2", "", at(2027, 7, 15), at(2027, 7, 16, 23, 59), "", "", "", "Two days off", "", Date());
        schedules->Add("3", "m.rossi@example.org", at(2027, 10, 31, 2, 30), at(2027, 10, 31, 3, 15), "", "Verdi", "",
                       "On the night the clocks go back", "", Date(), "imported-uid@elsewhere", 0x0000FF);
        auto todos = original.ToDoS();
        todos->Add("1", "Bianchi", "Call the bank", "About the loan\nand the account", at(2027, 3, 5, 17, 0), 3, "Casa",
                   false, Date(), at(2027, 3, 5, 17, 30));
        todos->Add("2", "", "Renew the passport", "", at(2027, 2, 1, 12, 0), 0, "", true, at(2027, 1, 20, 9, 15), Date());

        QTemporaryDir dir;
        const QString path = dir.filePath("agenda.ics");
        const ExchangeReport written = exportICalendar(original, path);
        QVERIFY2(written.fileRead, qPrintable(written.summary()));
        QCOMPARE(written.appointments, 3);
        QCOMPARE(written.todos, 2);

        DayvexData copy;
        const ExchangeReport read = importICalendar(path, copy, window2027());
        QVERIFY2(read.fileRead && read.skipped == 0, qPrintable(read.summary()));
        QCOMPARE(copy.Schedules()->Count(), 3);
        QCOMPARE(copy.ToDoS()->Count(), 2);
        for (qint32 i = 1; i <= 3; ++i) {
            Schedule expected = *original.Schedules()->Item(i);
            const auto b = copy.Schedules()->Item(i);
            expected.Key = b->Key;
            if (expected.Tag.isEmpty())
                expected.Tag = QStringLiteral("S-%1@dayvex").arg(i);
            QCOMPARE(fieldsOf(*b), fieldsOf(expected));
        }
        for (qint32 i = 1; i <= 2; ++i) {
            ToDo expected = *original.ToDoS()->Item(i);
            const auto b = copy.ToDoS()->Item(i);
            expected.Key = b->Key;
            expected.Tag = b->Tag;
            QCOMPARE(fieldsOf(*b), fieldsOf(expected));
        }
        // met in the file, joined to their lists
        QVERIFY(copy.Schedules()->Places()->find("Sala A"));
        QVERIFY(copy.Schedules()->Categories()->find("Lavoro"));
        QCOMPARE(copy.ToDoS()->ActiveProjects()->Count(), 1);
        QCOMPARE(copy.Users()->Count(), 3); // Rossi, the address, Bianchi

        // exported again, the imported UIDs come back as they were
        const QByteArray again = exportICalendarData(copy);
        QVERIFY(again.contains("UID:imported-uid@elsewhere"));
        QVERIFY(again.contains("DTSTART;VALUE=DATE:20270715"));
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
                     "Marco Ferri", "Talk", "Opening keynote", "Sala Grande", at(2027, 3, 1, 8, 45),
                     "keynote-2027@conference.example", 0xDEC4B0);
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
        QCOMPARE(report.appointments, 9);
        QVERIFY(data.Schedules()->Places()->find("Room 2"));
        QVERIFY(data.Users()->Count() >= 1);

        // read again, nothing is added
        const ExchangeReport again = importICalendar(file("conference.ics"), data, window2027());
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

    // Bad files change nothing that was there; what can be read is read and the rest reported.
    void badInput()
    {
        QFile broken(file("broken.ics")), conference(file("conference.ics"));
        QVERIFY(broken.open(QIODevice::ReadOnly) && conference.open(QIODevice::ReadOnly));
        const QByteArray conferenceBytes = conference.readAll();
        const QStringList notICalendar{"not an iCalendar file"};
        // second: the description of the one appointment read, when checked
        const struct { QByteArray bytes; bool fileRead; int appointments; QStringList messages; QString second; } inputs[] = {
            {"Subject: minutes\n\nNothing to see.\n", false, 0, notICalendar, {}},
            {QByteArray(), false, 0, notICalendar, {}},
            {QByteArray("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16), false, 0, notICalendar, {}},
            {conferenceBytes.left(conferenceBytes.indexOf("SUMMARY:Free day")), true, 3, {"ends inside a component"}, {}},
            // days from 1 March to the end of the window, the good one, the rest reported
            {broken.readAll(), true, 306 + 1, {"no DTSTART", "repeats without end", "outside the years 100 to 9999"}, {}},
            {"BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VEVENT\r\nUID:l1\r\nDTSTART:20270301T090000Z\r\n"
             "SUMMARY:Caff\xe8 con Luc\xed" "a\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n",
             true, 1, {"read as Latin-1"}, QString::fromUtf8("Caffè con Lucía")}};
        for (const auto &input : inputs) {
            DayvexData data;
            data.Schedules()->Add("7", "Rossi", at(2026, 12, 1, 9, 0), at(2026, 12, 1, 10, 0), "", "", "Mine",
                                  "Already here", "Ufficio", Date());
            const QString before = snapshot(data);
            const ExchangeReport report = importICalendarData(input.bytes, data, window2027());
            QCOMPARE(report.fileRead, input.fileRead);
            QCOMPARE(report.appointments, input.appointments);
            QCOMPARE(data.Schedules()->Count(), 1 + input.appointments);
            for (const QString &message : input.messages)
                QVERIFY2(report.summary().contains(message), qPrintable(report.summary()));
            if (!input.fileRead)
                QCOMPARE(snapshot(data), before);
            QCOMPARE(data.Schedules()->Item(1)->Description, "Already here");
            if (!input.second.isEmpty())
                QCOMPARE(data.Schedules()->Item(2)->Description, input.second);
        }
    }

    void failedAddLeavesDataAsItWas()
    {
        DayvexData data;
        // the next key would pass 2147483647: the import fails part-way and takes back what it added
        data.Schedules()->Add("2147483646", "", at(2026, 12, 1, 9, 0), at(2026, 12, 1, 10, 0), "", "", "", "Last",
                              "", Date());
        data.Users()->Add("Rossi");
        const QString before = snapshot(data);
        const ExchangeReport report = importICalendar(file("conference.ics"), data, window2027());
        QVERIFY(!report.fileRead);
        QVERIFY2(report.summary().contains("nothing was imported"), qPrintable(report.summary()));
        QCOMPARE(snapshot(data), before);
        QCOMPARE(data.Schedules()->Count(), 1);
    }
};

QTEST_MAIN(tst_ICalendar)
#include "tst_icalendar.moc"
