#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/keyedcollection.h>

#include <cmath>
#include <vector>

namespace dayvex {

// Internal to the component: the pending reminders, kept in due-time order.
class DAYVEX_EXPORT Alarms : public KeyedCollection<Alarm>
{
public:
    // The key of a record's alarm: the kind letter ("S" appointment, "T" to-do)
    // followed by the record's trimmed key.
    static QString keyFor(QChar kind, const QString &recordKey);

    // Inserts after every alarm due no later than AlarmDateTime (stable), stored
    // under sKey; Key and sKey are expected to be the same text.
    std::shared_ptr<Alarm> Add(const QString &Key, const QString &AlarmType,
                               const QString &AlarmEventKey, Date AlarmDateTime, bool AlarmChanged,
                               const QString &sKey, const QString &Tag = QString());

    // Sets the alarm of a record (kind "S" appointment, "T" to-do) to due: any
    // alarm it had is dropped, and one is added when due is later than the zero date.
    void setFor(QChar kind, const QString &recordKey, Date due);

    // The order of the list: by due time, a NaN due time after every number, so
    // that the order is total whatever a host stored.
    static bool dueBefore(Date a, Date b)
    {
        if (std::isnan(a.value()))
            return false;
        return std::isnan(b.value()) || a < b;
    }
    // Whether a reminder date asks for an alarm: a moment after the empty date.
    static bool isPending(Date due) { return std::isfinite(due.value()) && due.value() > 0.0; }

    // A missing alarm is not an error here.
    void Remove(qint32 position);
    void Remove(const QString &key);

    // The list of every appointment's and to-do's reminder, as Add would build it
    // one by one, in O(n log n).
    template <typename ScheduleRange, typename ToDoRange>
    static std::shared_ptr<Alarms> fromRecords(const ScheduleRange &schedules, const ToDoRange &todos);

private:
    void appendInOrder(std::vector<std::shared_ptr<Alarm>> alarms);
};

template <typename ScheduleRange, typename ToDoRange>
std::shared_ptr<Alarms> Alarms::fromRecords(const ScheduleRange &schedules, const ToDoRange &todos)
{
    std::vector<std::shared_ptr<Alarm>> pending;
    auto collect = [&pending](QChar kind, const QString &key, Date due) {
        if (!isPending(due))
            return;
        auto alarm = std::make_shared<Alarm>();
        alarm->Key = keyFor(kind, key);
        alarm->AlarmType = QString(kind);
        alarm->AlarmEventKey = key;
        alarm->AlarmDateTime = due;
        pending.push_back(std::move(alarm));
    };
    for (const auto &schedule : schedules)
        collect(QLatin1Char('S'), schedule->Key, schedule->ReminderDate);
    for (const auto &todo : todos)
        collect(QLatin1Char('T'), todo->Key, todo->ReminderDate);
    auto list = std::make_shared<Alarms>();
    list->appendInOrder(std::move(pending));
    return list;
}

} // namespace dayvex
