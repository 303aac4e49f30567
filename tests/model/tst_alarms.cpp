#include <dayvex/model/alarms.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>

#include <QTest>

#include <cmath>
#include <limits>

using namespace dayvex;

namespace {
std::shared_ptr<Alarm> addAlarm(Alarms &alarms, const QString &key, double due, bool changed = false)
{
    return alarms.Add(key, key.left(1), key.mid(1), Date(due), changed, key);
}

QStringList keys(const Alarms &alarms)
{
    QStringList out;
    for (const auto &alarm : alarms)
        out << alarm->Key;
    return out;
}
} // namespace

class tst_Alarms : public QObject
{
    Q_OBJECT
private slots:
    void keptInDueOrder();
    void removeAndDuplicates();
    void rebuiltFromRecords();
    void oddDueTimes();
};

void tst_Alarms::keptInDueOrder()
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

void tst_Alarms::removeAndDuplicates()
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

void tst_Alarms::rebuiltFromRecords()
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

void tst_Alarms::oddDueTimes()
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

QTEST_GUILESS_MAIN(tst_Alarms)
#include "tst_alarms.moc"
