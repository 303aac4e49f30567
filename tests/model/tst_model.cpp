#include <dayvextest.h>
#include <dayvex/model/alarms.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/model/startorder.h>
#include <dayvex/model/todos.h>
#include <dayvex/layout/modernlayout.h>

#include <algorithm>

#include <cmath>
#include <limits>

namespace {
std::shared_ptr<Schedule> add(Schedules &s, const QString &key, Date start, Date end,
                              const QString &place = QString(), const QString &category = QString())
{
    return s.Add(key, "Rossi", start, end, "", "", category, "", place, Date());
}

std::shared_ptr<Alarm> addAlarm(Alarms &alarms, const QString &key, double due, bool changed = false)
{
    return alarms.Add(key, key.left(1), key.mid(1), Date(due), changed, key);
}

// Everything a host can see of the alarms, in list order.
QStringList described(const Alarms &alarms)
{
    QStringList out;
    for (const auto &a : alarms)
        out << QStringLiteral("%1|%2|%3|%4|%5|%6|%7")
                   .arg(a->Key, a->AlarmType, a->AlarmEventKey)
                   .arg(a->AlarmDateTime.value())
                   .arg(a->AlarmChanged)
                   .arg(a->Showing)
                   .arg(a->Tag);
    return out;
}

QStringList keysOf(const std::vector<std::shared_ptr<Schedule>> &records)
{
    QStringList out;
    for (const auto &record : records)
        out << record->Key;
    return out;
}

// What a redraw showed before there was an order: every record read, by start.
QStringList readAll(const Schedules &schedules, Date from, Date to, bool overlapping)
{
    std::vector<std::shared_ptr<Schedule>> found;
    for (const auto &s : schedules) {
        const double start = s->StartDate.value(), end = s->EndDate.value();
        const bool in = overlapping ? std::isfinite(start) && start < to.value()
                                          && (from.value() < std::max(start, std::isfinite(end) ? end : start)
                                              || (!(start < end) && !(start < from.value())))
                                    : !(start < from.value()) && start < to.value();
        if (in)
            found.push_back(s);
    }
    std::stable_sort(found.begin(), found.end(), [](const auto &a, const auto &b) { return a->StartDate < b->StartDate; });
    return keysOf(found);
}

QStringList keys(const Alarms &alarms)
{
    QStringList out;
    for (const auto &alarm : alarms)
        out << alarm->Key;
    return out;
}
} // namespace

class tst_Model : public QObject
{
    Q_OBJECT
public:
    enum class Edit { None, StartMovedIn, StartMovedOut, StartToNaN, EndLengthened, BecameSeries, MovedOccurrence,
                      AddedSorted, Removed, ManyMoved, SwappedStarts };
    Q_ENUM(Edit)
    enum class Change { None, KeyAssigned, KeyEditedInPlace, ReminderMoved, ReminderCleared, RecordAdded,
                        RecordRemoved, AlarmSnoozed, AlarmShowing, AlarmTagged, AlarmRemoved, ToDoKeyChanged,
                        TieAddedLast, TieAddedFirst, SetByControl, AddedByHost, KeysClash, ManyAdded,
                        RemovedAndAdded };
    Q_ENUM(Change)

private slots:
    void init() { resetSharedSettings(); }

    void newKey_data()
    {
        columns<QStringList, QStringList, QString>("keys", "removed", "expected");
        QTest::newRow("empty") << QStringList() << QStringList() << "1";
        QTest::newRow("mixed") << QStringList{"3", "10", "x"} << QStringList() << "11";
        QTest::newRow("leading numbers") << QStringList{"12abc", "7"} << QStringList() << "13";
        QTest::newRow("half to even") << QStringList{"2.5"} << QStringList() << "3";
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

    // An end not after the start, by the clock, is moved one step past it.
    void endCorrection()
    {
        const auto stored = [](int step, Date start, Date end) {
            sharedSettings().DayStepMinutes = qint16(step);
            Schedules schedules;
            return add(schedules, "1", start, end)->EndDate.toDateTime();
        };
        const auto on = [](int day, int hour, int minute) { return at(2026, 11, day, hour, minute); };
        QCOMPARE(stored(30, on(2, 9, 0), on(2, 10, 0)), on(2, 10, 0).toDateTime());
        QCOMPARE(stored(30, on(2, 14, 30), on(2, 14, 30)), on(2, 15, 0).toDateTime());
        QCOMPARE(stored(45, on(2, 14, 30), on(2, 9, 0)), on(2, 15, 15).toDateTime());
        QCOMPARE(stored(30, on(2, 23, 0), on(3, 9, 0)), on(2, 23, 30).toDateTime()); // next day, earlier clock
        QCOMPARE(stored(30, on(2, 9, 0), on(3, 10, 0)), on(3, 10, 0).toDateTime());  // next day, later clock
        QCOMPARE(stored(90, on(2, 23, 0), on(2, 23, 0)), on(3, 0, 30).toDateTime()); // the step crosses midnight
        QCOMPARE(stored(30, on(2, 9, 0), on(2, 9, 0).addSeconds(40)), on(2, 9, 30).toDateTime()); // seconds ignored
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

        // Added by hand: a place already there is returned but not stored; projects may repeat.
        Places places;
        const auto sala = places.Add("Sala A", "1");
        const auto again = places.Add("SALA A", "2");
        QVERIFY(sala != again);
        QCOMPARE(places.Item("sala a"), sala);
        QCOMPARE(again->Tag, "2");
        ActiveProjects projects;
        projects.Add("Sito");
        projects.Add("Sito");
        QCOMPARE(projects.Count(), 2);
        QCOMPARE(errorNumber([&] { projects.Item("Sito"); }), 5);
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

    // A blank name is invalid, the same name in another case or with blanks is there already;
    // a name is kept as given, and users are found by position only.
    void users()
    {
        Users users;
        users.Add("Rossi");
        QCOMPARE(errorNumber([&] { users.Add("   "); }), -2147221502);
        QCOMPARE(errorNumber([&] { users.Add(""); }), -2147221502);
        QCOMPARE(errorNumber([&] { users.Add("  rossi "); }), -2147221503);
        users.Add(" Bianchi", "tag");
        QCOMPARE(users.Count(), 2);
        QCOMPARE(users.Item(2)->Key, " Bianchi");
        QCOMPARE(errorNumber([&] { users.Item(" Bianchi"); }), 5);
        QCOMPARE(errorNumber([&] { users.Remove(7); }), -2147221502); // a bad removal is an invalid user
        QCOMPARE(errorNumber([&] { users.Remove("Bianchi"); }), -2147221502);
        users.Remove(2);
        QCOMPARE(users.Count(), 1);
        // A name removed is free again; one still there is not.
        users.Add("BIANCHI ");
        QCOMPARE(errorNumber([&] { users.Add("rossi"); }), -2147221503);
        users.Remove(1);
        users.Add("Rossi");
        QCOMPARE(users.Count(), 2);
    }

    void clearReleases()
    {
        DayvexData data;
        auto schedules = data.Schedules();
        std::weak_ptr<Alarms> alarms = data.Alarms();
        std::weak_ptr<Users> users = data.Users();
        schedules->Add("1", "", Date(36863.4), Date(36863.5), "", "", "", "x", "", Date());
        data.Clear();
        QVERIFY(alarms.expired());
        QVERIFY(users.expired());
        QCOMPARE(data.Schedules()->Count(), 0);
        QVERIFY(data.Schedules() != schedules);
        QCOMPARE(schedules->Count(), 1); // the host's reference keeps its appointments
    }

    void alarmList()
    {
        Alarms alarms;
        addAlarm(alarms, "S1", 10.0);
        addAlarm(alarms, "S2", 9.0);
        addAlarm(alarms, "T1", 10.0);
        const auto cleared = addAlarm(alarms, "S3", 0.0, true);
        QCOMPARE(keys(alarms), QStringList({"S3", "S2", "S1", "T1"}));
        QCOMPARE(cleared->Showing, false);
        QCOMPARE(cleared->AlarmChanged, true);
        QCOMPARE(alarms.Item("s2")->AlarmEventKey, "2");
        for (const char *gone : {"S2", "S3", "T1"})
            alarms.Remove(gone);
        alarms.Remove("S404");
        alarms.Remove(9);
        QCOMPARE(alarms.Count(), 1);
        QVERIFY_THROWS_EXCEPTION(Error, addAlarm(alarms, "S1", 11.0));
        // a Key that differs from the stored key breaks the insertion before it
        alarms.Add("X", "S", "2", Date(12.0), false, "S2");
        QVERIFY_THROWS_EXCEPTION(Error, addAlarm(alarms, "S3", 11.5));
        alarms.Remove("S1");
        QCOMPARE(keys(alarms), QStringList({"X"}));
    }

    void oddDueTimes()
    {
        // A NaN due time sorts after every number, so that the order is total.
        const double nan = std::nan("");
        Alarms alarms;
        addAlarm(alarms, "S1", nan);
        addAlarm(alarms, "S2", 10.0);
        addAlarm(alarms, "S3", nan);
        addAlarm(alarms, "S4", 9.0);
        QCOMPARE(keys(alarms), QStringList({"S4", "S2", "S1", "S3"}));

        // Rebuilt from the records in the order of adding each reminder with Add: by due
        // time, stable. A host's NaN or infinite reminder asks for no alarm, like the empty date.
        Schedules schedules;
        ToDoS todos;
        schedules.Add(" 1", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36863.3));
        schedules.Add("2", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date());
        schedules.Add("3", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36863.2));
        for (const double due : {nan, std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()})
            schedules.Add(schedules.NewKey(), "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(due));
        todos.Add("1", "", "", "", Date(), 0, "", false, Date(), Date(36863.3));
        const auto rebuilt = Alarms::fromRecords(schedules, todos);
        QCOMPARE(keys(*rebuilt), QStringList({"S3", "S1", "T1"}));
        QCOMPARE(rebuilt->Item("T1")->AlarmType, "T");
        QCOMPARE(rebuilt->Item("S1")->AlarmEventKey, " 1");
        alarms.setFor('T', "9", Date(nan));
        QVERIFY(!alarms.find("T9"));
    }

    void startOrderFollowsEdits_data()
    {
        columns<Edit>("edit");
        const QMetaEnum edits = QMetaEnum::fromType<Edit>();
        for (int i = 0; i < edits.keyCount(); ++i)
            QTest::newRow(edits.key(i)) << Edit(edits.value(i));
    }

    // The host edits records in place between two redraws, or adds and removes
    // them: the order answers as reading every record would.
    void startOrderFollowsEdits()
    {
        QFETCH(Edit, edit);
        Schedules schedules;
        for (int i = 0; i < 60; ++i) {
            const Date start = at(2026, 11, 1 + i % 10, 9 + i % 3);
            add(schedules, QString::number(i), start, start.addMinutes(60));
        }
        // No length, at the start of a range below: in it, as one that ends there is not.
        add(schedules, "instant", at(2026, 11, 5, 10), Date())->EndDate = at(2026, 11, 5, 10);
        (void)schedules.verifiedOrder(); // the order of the records as added

        const auto item = [&](int key) { return schedules.Item(QString::number(key)); };
        switch (edit) {
        case Edit::None: break;
        case Edit::StartMovedIn: item(7)->StartDate = at(2026, 11, 3, 8); break;
        case Edit::StartMovedOut: item(2)->StartDate = at(2026, 12, 3, 8); break;
        case Edit::StartToNaN: item(12)->StartDate = Date(std::nan("")); break;
        case Edit::EndLengthened: item(0)->EndDate = at(2026, 11, 6, 12); break;
        case Edit::BecameSeries: item(4)->Recurrence = QStringLiteral("FREQ=DAILY"); break;
        case Edit::MovedOccurrence: item(5)->SeriesKey = QStringLiteral("4"); break;
        case Edit::AddedSorted: {
            auto record = std::make_shared<Schedule>();
            record->Key = QStringLiteral("sorted");
            record->StartDate = at(2026, 11, 3, 10);
            schedules.AddSorted(record);
            break;
        }
        case Edit::Removed: schedules.Remove(QStringLiteral("22")); break;
        case Edit::ManyMoved:
            for (int i = 0; i < 60; i += 2)
                item(i)->StartDate = item(i)->StartDate.addDays(1);
            break;
        case Edit::SwappedStarts: std::swap(item(2)->StartDate, item(13)->StartDate); break;
        }

        const StartOrder &order = schedules.verifiedOrder();
        const std::pair<Date, Date> ranges[] = {{at(2026, 11, 3), at(2026, 11, 4)},
                                                {at(2026, 10, 1), at(2027, 1, 1)},
                                                {at(2026, 11, 5, 10), at(2026, 11, 5, 11)},
                                                {at(2026, 11, 6), at(2026, 11, 7)}};
        for (const auto &[from, to] : ranges) {
            QCOMPARE(keysOf(order.startingIn(from, to)), readAll(schedules, from, to, false));
            QCOMPARE(keysOf(appointmentsOverlapping(order, {from, to})), readAll(schedules, from, to, true));
        }
        QCOMPARE(keysOf(order.series()), edit == Edit::BecameSeries ? QStringList{"4"} : QStringList());
        QCOMPARE(keysOf(order.moved()), edit == Edit::MovedOccurrence ? QStringList{"5"} : QStringList());
    }

    void rebuildKeepsAnUnchangedList_data()
    {
        columns<Change>("change");
        const QMetaEnum changes = QMetaEnum::fromType<Change>();
        for (int i = 0; i < changes.keyCount(); ++i)
            QTest::newRow(changes.key(i)) << Change(changes.value(i));
    }

    void rebuildKeepsAnUnchangedList()
    {
        QFETCH(Change, change);
        Schedules schedules;
        ToDoS todos;
        for (int i = 1; i <= 5; ++i)
            schedules.Add(QString::number(i), "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(i % 2 ? 36863.0 + i : 0));
        schedules.Add("a", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36863.0 + 3)); // due with S3
        todos.Add(" 7 ", "", "", "", Date(), 0, "", false, Date(), Date(36862.5));
        const auto built = Alarms::rebuilt(nullptr, schedules, todos);
        const auto snoozed = built->Item("S3");

        switch (change) {
        case Change::None: break;
        case Change::KeyAssigned: schedules.Item("5")->Key = QStringLiteral("50"); break;
        case Change::KeyEditedInPlace: schedules.Item("1")->Key[0] = QLatin1Char('9'); break;
        case Change::ReminderMoved: schedules.Item("3")->ReminderDate = Date(36870.0); break;
        case Change::ReminderCleared: schedules.Item("1")->ReminderDate = Date(); break;
        case Change::RecordAdded:
            schedules.Add("6", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36860.0));
            break;
        case Change::RecordRemoved: schedules.Remove("1"); break;
        case Change::AlarmSnoozed: snoozed->AlarmDateTime = Date(36900.0); break;
        case Change::AlarmShowing: built->Item("T7")->Showing = true; break;
        case Change::AlarmTagged: built->Item("S5")->Tag = QStringLiteral("host"); break;
        case Change::AlarmRemoved: built->Remove("S1"); break;
        case Change::ToDoKeyChanged: todos.Item(" 7 ")->Key = QStringLiteral("8"); break;
        case Change::TieAddedLast: // due with S3 and Sa, after them in record order
            schedules.Add("b", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36866.0));
            break;
        case Change::TieAddedFirst: { // due with S3 and Sa, before them in record order
            auto first = std::make_shared<Schedule>();
            first->Key = QStringLiteral("0");
            first->StartDate = Date(36860.0);
            first->ReminderDate = Date(36866.0);
            schedules.AddSorted(first);
            break;
        }
        case Change::SetByControl: // a command moves a reminder and its alarm
            schedules.Item("5")->ReminderDate = Date(36866.0);
            built->setFor(QLatin1Char('S'), QStringLiteral("5"), Date(36866.0));
            break;
        case Change::AddedByHost: built->Add("Sx", "S", "x", Date(36861.0), false, "Sx"); break;
        case Change::KeysClash: schedules.Item("5")->Key = QStringLiteral("A"); break; // and "a" has an alarm
        case Change::RemovedAndAdded: // two changes far apart, a to-do's reminder between them
            schedules.Remove("1");
            schedules.Add("6", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36862.5));
            break;
        case Change::ManyAdded:
            for (int i = 10; i < 110; ++i)
                schedules.Add(QString::number(i), "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36800.0 + i % 7));
            break;
        }

        const auto again = Alarms::rebuilt(built, schedules, todos);
        // Changes to the records are followed in place; an alarm the host changed, a
        // clash of keys or many changes at once make a new list.
        QCOMPARE(again == built, change != Change::AlarmSnoozed && change != Change::AlarmShowing
                                     && change != Change::AlarmTagged && change != Change::KeysClash
                                     && change != Change::ManyAdded);
        QCOMPARE(described(*again), described(*Alarms::fromRecords(schedules, todos)));
        QCOMPARE(Alarms::rebuilt(again, schedules, todos), again); // and it knows itself in step
        // A list given up is left as it was: a snoozed alarm keeps its new time.
        if (change == Change::AlarmSnoozed)
            QCOMPARE(snoozed->AlarmDateTime.value(), 36900.0);
    }
};

QTEST_GUILESS_MAIN(tst_Model)
#include "tst_model.moc"
