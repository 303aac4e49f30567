#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/keyedcollection.h>

#include <cmath>
#include <vector>

namespace dayvex {

/// Internal to the component: the pending reminders, kept in due-time order.
class DAYVEX_CORE_EXPORT Alarms : public KeyedCollection<Alarm>
{
public:
    /// The key of a record's alarm: the kind letter ("S" appointment, "T" to-do)
    /// followed by the record's trimmed key.
    static QString keyFor(QChar kind, const QString &recordKey);

    /// Inserts after every alarm due no later than AlarmDateTime (stable), stored
    /// under sKey; Key and sKey are expected to be the same text. Returns the new
    /// alarm; throws Error 457 when sKey is already stored.
    std::shared_ptr<Alarm> Add(const QString &Key, const QString &AlarmType,
                               const QString &AlarmEventKey, Date AlarmDateTime, bool AlarmChanged,
                               const QString &sKey, const QString &Tag = QString());

    /// Sets the alarm of a record (kind "S" appointment, "T" to-do) to due: any
    /// alarm it had is dropped, and one is added when due is later than the zero date
    /// (and finite: see isPending).
    void setFor(QChar kind, const QString &recordKey, Date due);

    /// The order of the list: by due time, a NaN due time after every number, so
    /// that the order is total whatever a host stored.
    static bool dueBefore(Date a, Date b)
    {
        if (std::isnan(a.value()))
            return false;
        return std::isnan(b.value()) || a < b;
    }
    /// Whether a reminder date asks for an alarm: a finite moment after the empty date.
    static bool isPending(Date due) { return std::isfinite(due.value()) && due.value() > 0.0; }

    /// Removes the alarm at position (from 1). A missing alarm is not an error here.
    void Remove(qint32 position);
    /// Removes the alarm stored under key (case ignored). A missing alarm is not an error here.
    void Remove(const QString &key);

    /// The list of every appointment's and to-do's reminder, as Add would build it
    /// one by one, in O(n log n). Of records whose keys differ only in case, the first keeps the alarm.
    template <typename ScheduleRange, typename ToDoRange>
    static std::shared_ptr<Alarms> fromRecords(const ScheduleRange &schedules, const ToDoRange &todos);

    /// fromRecords for a redraw: current itself when the records' keys and
    /// reminder dates are still those it was built from and its alarms are still
    /// as built, a new list otherwise. The check is one pass that allocates nothing.
    template <typename ScheduleRange, typename ToDoRange>
    static std::shared_ptr<Alarms> rebuilt(const std::shared_ptr<Alarms> &current, const ScheduleRange &schedules,
                                           const ToDoRange &todos);

private:
    // A record with a pending reminder, as the list was built from it.
    struct Source
    {
        QChar kind;
        QString recordKey; // shares the record's text, so any change to that text detaches from it
        Date due;
        qint32 position = -1; // of its alarm, from 0; -1 when a key differing only in case took the alarm
        QString alarmKey;     // shares the alarm's Key
    };
    struct BuiltFrom
    {
        std::vector<Source> sources; // in record order, appointments first
        quint64 revision = 0;
        QString types[2]; // "S" and "T", one text shared by every alarm of the kind
        const QString &typeOf(QChar kind) const { return types[kind == QLatin1Char('S') ? 0 : 1]; }
    };

    template <typename Range>
    static void collect(std::vector<Source> &sources, QChar kind, const Range &records);
    template <typename Range>
    static bool sameSources(std::vector<Source>::const_iterator &source, std::vector<Source>::const_iterator end,
                            QChar kind, const Range &records);
    static std::shared_ptr<Alarms> build(std::vector<Source> sources);
    // The same text object: no character of it can have changed while one holds it.
    static bool sameText(const QString &a, const QString &b)
    {
        return a.constData() == b.constData() && a.size() == b.size();
    }
    bool alarmsAsBuilt() const;

    std::unique_ptr<BuiltFrom> m_builtFrom; // null unless fromRecords built this list
};

template <typename Range>
void Alarms::collect(std::vector<Source> &sources, QChar kind, const Range &records)
{
    for (const auto &record : records) {
        if (isPending(record->ReminderDate))
            sources.push_back({kind, record->Key, record->ReminderDate, -1, QString()});
    }
}

template <typename Range>
bool Alarms::sameSources(std::vector<Source>::const_iterator &source, std::vector<Source>::const_iterator end,
                         QChar kind, const Range &records)
{
    for (const auto &record : records) {
        if (!isPending(record->ReminderDate))
            continue;
        if (source == end || source->kind != kind || !sameText(source->recordKey, record->Key)
            || source->due.value() != record->ReminderDate.value())
            return false;
        ++source;
    }
    return true;
}

template <typename ScheduleRange, typename ToDoRange>
std::shared_ptr<Alarms> Alarms::fromRecords(const ScheduleRange &schedules, const ToDoRange &todos)
{
    std::vector<Source> sources;
    collect(sources, QLatin1Char('S'), schedules);
    collect(sources, QLatin1Char('T'), todos);
    return build(std::move(sources));
}

template <typename ScheduleRange, typename ToDoRange>
std::shared_ptr<Alarms> Alarms::rebuilt(const std::shared_ptr<Alarms> &current, const ScheduleRange &schedules,
                                        const ToDoRange &todos)
{
    if (current && current->m_builtFrom && current->m_builtFrom->revision == current->revision()) {
        const std::vector<Source> &sources = current->m_builtFrom->sources;
        auto source = sources.cbegin();
        if (sameSources(source, sources.cend(), QLatin1Char('S'), schedules)
            && sameSources(source, sources.cend(), QLatin1Char('T'), todos) && source == sources.cend()
            && current->alarmsAsBuilt())
            return current;
    }
    return fromRecords(schedules, todos);
}

} // namespace dayvex
