#include <dayvextest.h>
#include <dayvex/model/alarms.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>

#include <cmath>
#include <limits>

namespace {
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

QStringList keys(const Alarms &alarms)
{
    QStringList out;
    for (const auto &alarm : alarms)
        out << alarm->Key;
    return out;
}
} // namespace

enum class Change { None, KeyAssigned, KeyEditedInPlace, ReminderMoved, ReminderCleared, RecordAdded, RecordRemoved,
                    AlarmSnoozed, AlarmShowing, AlarmTagged, AlarmRemoved, ToDoKeyChanged };

class tst_Alarms : public QObject
{
    Q_OBJECT
private slots:
    void keptInDueOrder()
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
    }

    void removeAndDuplicates()
    {
        Alarms alarms;
        addAlarm(alarms, "S1", 10.0);
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

    void rebuiltFromRecords()
    {
        Schedules schedules;
        ToDoS todos;
        schedules.Add(" 1", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36863.3));
        schedules.Add("2", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date());
        schedules.Add("3", "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(36863.2));
        todos.Add("1", "", "", "", Date(), 0, "", false, Date(), Date(36863.3));

        // the same order as adding each reminder with Add: by due time, stable
        const auto rebuilt = Alarms::fromRecords(schedules, todos);
        QCOMPARE(keys(*rebuilt), QStringList({"S3", "S1", "T1"}));
        QCOMPARE(rebuilt->Item("T1")->AlarmType, "T");
        QCOMPARE(rebuilt->Item("S1")->AlarmEventKey, " 1");
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

        // A host's NaN or infinite reminder asks for no alarm, like the empty date.
        Schedules schedules;
        ToDoS todos;
        for (const double due : {nan, std::numeric_limits<double>::infinity(), 36863.3, -std::numeric_limits<double>::infinity()})
            schedules.Add(schedules.NewKey(), "", Date(36863.4), Date(36863.5), "", "", "", "", "", Date(due));
        QCOMPARE(keys(*Alarms::fromRecords(schedules, todos)), QStringList({"S3"}));
        alarms.setFor('T', "9", Date(nan));
        QVERIFY(!alarms.find("T9"));
    }

    void rebuildKeepsAnUnchangedList_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<bool>("reused");
        QTest::newRow("nothing changed") << Change::None << true;
        QTest::newRow("key assigned") << Change::KeyAssigned << false;
        QTest::newRow("key edited in place") << Change::KeyEditedInPlace << false;
        QTest::newRow("reminder moved") << Change::ReminderMoved << false;
        QTest::newRow("reminder cleared") << Change::ReminderCleared << false;
        QTest::newRow("record added") << Change::RecordAdded << false;
        QTest::newRow("record removed") << Change::RecordRemoved << false;
        QTest::newRow("alarm snoozed") << Change::AlarmSnoozed << false;
        QTest::newRow("alarm showing") << Change::AlarmShowing << false;
        QTest::newRow("alarm tagged") << Change::AlarmTagged << false;
        QTest::newRow("alarm removed") << Change::AlarmRemoved << false;
        QTest::newRow("to-do key changed") << Change::ToDoKeyChanged << false;
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
        }

        const auto again = Alarms::rebuilt(built, schedules, todos);
        QTEST(again == built, "reused");
        QCOMPARE(described(*again), described(*Alarms::fromRecords(schedules, todos)));
        // A list given up is left as it was: a snoozed alarm keeps its new time.
        if (change == Change::AlarmSnoozed)
            QCOMPARE(snoozed->AlarmDateTime.value(), 36900.0);
    }
};

QTEST_GUILESS_MAIN(tst_Alarms)
#include "tst_alarms.moc"
