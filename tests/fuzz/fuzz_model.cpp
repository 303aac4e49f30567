// Random sequences of object-model operations decoded from the input: Add,
// Remove, Item, NewKey and Clear on every collection and on the alarm list.
// dayvex::Error is the only failure allowed; after each step every collection
// must still agree with itself.

#include "fuzzinput.h"

#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/error.h>

#include <cmath>
#include <vector>

using namespace dayvex;

namespace {

// Few distinct keys, so that duplicates, case and blanks meet often.
QString key(FuzzInput &in)
{
    static const char *const Keys[] = {"1", "2", "10", " 1", "a", "A", "", " ", "2147483647", "2147483646.6",
                                       "&H7FFFFFFF", "-3", "1e9", "1,5", "é", "É", "x y"};
    const uint8_t pick = in.byte();
    if (pick < 200)
        return QString::fromUtf8(Keys[pick % (sizeof(Keys) / sizeof(*Keys))]);
    return in.text(12);
}

Date date(FuzzInput &in)
{
    static const double Dates[] = {0.0, 1.0, -1.5, 36526.25, 46000.75, 2958465.99, -657434.0, 1e7, -1e7};
    const uint8_t pick = in.byte();
    if (pick < 128)
        return Date(Dates[pick % (sizeof(Dates) / sizeof(*Dates))]);
    return Date(in.raw<double>()); // NaN, infinities and all
}

template <typename Collection>
void checkCollection(const Collection &collection, bool foundByKey)
{
    qint32 position = 0;
    for (const auto &item : collection) {
        ++position;
        FUZZ_CHECK(item);
        FUZZ_CHECK(collection.Item(position) == item);
        if (foundByKey && !item->Key.isEmpty()) // an empty key stores the item without one
            FUZZ_CHECK(collection.find(item->Key) == item);
    }
    FUZZ_CHECK(position == collection.Count());
}

void checkAlarms(const Alarms &alarms, bool ordered)
{
    checkCollection(alarms, false);
    if (!ordered)
        return;
    const std::shared_ptr<Alarm> *previous = nullptr;
    for (const auto &alarm : alarms) {
        if (previous)
            FUZZ_CHECK(!Alarms::dueBefore(alarm->AlarmDateTime, (*previous)->AlarmDateTime));
        previous = &alarm;
    }
}

template <typename Collection>
void removeOrRead(Collection &collection, FuzzInput &in)
{
    switch (in.byte() % 4) {
    case 0: collection.Remove(qint32(in.byte()) - 2); break;
    case 1: collection.Remove(key(in)); break;
    case 2: collection.Item(qint32(in.byte()) - 2); break;
    default: collection.Item(key(in)); break;
    }
}

bool alarmsOrdered = true;

void step(DayvexData &data, FuzzInput &in)
{
    const uint8_t op = in.byte();
    switch (op % 12) {
    case 0:
        data.Schedules()->Add(key(in), in.text(8), date(in), date(in), in.text(4), in.text(4), in.text(6), in.text(8),
                              in.text(6), date(in), in.text(4), in.raw<qint32>());
        break;
    case 1: {
        const QString newKey = data.Schedules()->NewKey();
        FUZZ_CHECK(!data.Schedules()->find(newKey));
        data.Schedules()->Add(newKey, {}, date(in), date(in), {}, {}, {}, {}, {}, date(in));
        break;
    }
    case 2: removeOrRead(*data.Schedules(), in); break;
    case 3:
        data.ToDoS()->Add(key(in), in.text(8), in.text(8), in.text(8), date(in), in.raw<qint16>(), in.text(6),
                          in.byte() & 1, date(in), date(in), in.text(4));
        break;
    case 4: {
        const QString newKey = data.ToDoS()->NewKey();
        FUZZ_CHECK(!data.ToDoS()->find(newKey));
        data.ToDoS()->Add(newKey, {}, {}, {}, date(in), 0, {}, false, {}, date(in));
        break;
    }
    case 5: removeOrRead(*data.ToDoS(), in); break;
    case 6:
        if (in.byte() & 1)
            data.Users()->Add(key(in), in.text(4));
        else
            removeOrRead(*data.Users(), in);
        break;
    case 7: {
        const uint8_t which = in.byte() % 3;
        if (which == 0) {
            data.Schedules()->Places()->Add(key(in));
            removeOrRead(*data.Schedules()->Places(), in);
        } else if (which == 1) {
            data.Schedules()->Categories()->Add(key(in));
            removeOrRead(*data.Schedules()->Categories(), in);
        } else {
            data.ToDoS()->ActiveProjects()->Add(key(in));
            removeOrRead(*data.ToDoS()->ActiveProjects(), in);
        }
        break;
    }
    case 8: {
        const QString alarmKey = key(in);
        const QString storedKey = in.byte() & 1 ? alarmKey : key(in);
        // Stored under another key than its Key, an alarm misleads later inserts
        // (the list finds its place by Key): the order holds no longer.
        if (storedKey.compare(alarmKey, Qt::CaseInsensitive) != 0)
            alarmsOrdered = false;
        data.Alarms()->Add(alarmKey, in.text(1), key(in), date(in), in.byte() & 1, storedKey);
        break;
    }
    case 9:
        if (in.byte() & 1)
            data.Alarms()->setFor(in.byte() & 1 ? 'S' : 'T', key(in), date(in));
        else
            removeOrRead(*data.Alarms(), in);
        break;
    case 10:
        // Rebuilt from the records, the list equals what Add builds one by one.
        data.setAlarms(Alarms::fromRecords(*data.Schedules(), *data.ToDoS()));
        alarmsOrdered = true;
        break;
    default:
        data.Clear();
        alarmsOrdered = true;
        break;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    resetSharedSettings();
    sharedSettings().DayStepMinutes = qint16(1 + (size ? data[0] : 0) % 120);
    DayvexData plan;
    alarmsOrdered = true;
    FuzzInput in(data, size);
    for (int steps = 0; !in.atEnd() && steps < 200; ++steps) {
        try {
            step(plan, in);
        } catch (const Error &) {
            // refused, as the object model may refuse
        }
        checkCollection(*plan.Schedules(), true);
        checkCollection(*plan.ToDoS(), true);
        checkCollection(*plan.Users(), false);
        checkCollection(*plan.Schedules()->Places(), false);
        checkCollection(*plan.Schedules()->Categories(), false);
        checkCollection(*plan.ToDoS()->ActiveProjects(), false);
        checkAlarms(*plan.Alarms(), alarmsOrdered);
    }
    return 0;
}
