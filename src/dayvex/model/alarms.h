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

    /// fromRecords for a redraw. When the records' keys and reminder dates are
    /// still those the list was built from and its alarms still read as built,
    /// current itself, found so by one pass that allocates nothing. When a few
    /// records were added, removed or given another key or reminder since, by the
    /// host or by the control's own commands (the control's own setFor and Remove
    /// included), current brought in step with them in place. A new list otherwise,
    /// among others when the host changed an alarm: current is then left as it was.
    template <typename ScheduleRange, typename ToDoRange>
    static std::shared_ptr<Alarms> rebuilt(const std::shared_ptr<Alarms> &current, const ScheduleRange &schedules,
                                           const ToDoRange &todos);

private:
    // A record with a pending reminder, as the list was built from it.
    struct Source
    {
        QChar kind;
        QString recordKey; // shares the record's text, so any change to that text detaches from it
        Date due;          // NaN once its alarm was taken out of the list: the record must be read again
        const void *record = nullptr; // the record itself, to tell an added or removed one from a changed one
        Alarm *alarm = nullptr; // null when a key differing only in case took the alarm, or it was taken out
        QString alarmKey;       // shares the alarm's Key
    };
    struct BuiltFrom
    {
        std::vector<Source> sources; // in record order, appointments first
        quint64 revision = 0;
        QString types[2]; // "S" and "T", one text shared by every alarm of the kind
        bool keysClash = false; // two records' keys differ only in case: only a new list settles which one wins
        std::vector<Alarm *> unsourced; // alarms put in the list since, not from a record
        const QString &typeOf(QChar kind) const { return types[kind == QLatin1Char('S') ? 0 : 1]; }
    };

    template <typename Range>
    static void collect(std::vector<Source> &sources, QChar kind, const Range &records)
    {
        collectFrom(sources, kind, records.begin(), records.end());
    }
    template <typename Iterator>
    static void collectFrom(std::vector<Source> &sources, QChar kind, Iterator record, Iterator last);
    // Walks the records from record on beside the sources from source on; at the
    // first pending reminder that is not the next source, stops with record there.
    template <typename Iterator>
    static bool sameSources(std::vector<Source>::const_iterator &source, std::vector<Source>::const_iterator end,
                            QChar kind, Iterator &record, Iterator last);
    static std::shared_ptr<Alarms> build(std::vector<Source> sources);
    // The same text object: no character of it can have changed while one holds it.
    static bool sameText(const QString &a, const QString &b)
    {
        return a.constData() == b.constData() && a.size() == b.size();
    }
    // Brings the list in step with the records' reminders now, when few changed:
    // the first kept sources as built, then tail; false, with the list untouched,
    // when a new list must settle it.
    bool follow(size_t kept, const std::vector<Source> &tail);
    // Where an alarm due at due goes among those of equal due: after the ones of
    // the records before it, sources[0 .. before).
    qsizetype placeFor(Date due, const std::vector<Source> &sources, size_t before) const;
    void entryInserted(size_t index) override;
    void entryErased(size_t index, const Pointer &alarm) override;
    bool alarmsAsBuilt() const;

    std::unique_ptr<BuiltFrom> m_builtFrom; // null unless fromRecords built this list
    bool m_following = false; // the list's own changes, which the bookkeeping needs no telling of
};

template <typename Iterator>
void Alarms::collectFrom(std::vector<Source> &sources, QChar kind, Iterator record, Iterator last)
{
    for (; record != last; ++record) {
        if (isPending((*record)->ReminderDate))
            sources.push_back({kind, (*record)->Key, (*record)->ReminderDate, &**record, nullptr, QString()});
    }
}

template <typename Iterator>
bool Alarms::sameSources(std::vector<Source>::const_iterator &source, std::vector<Source>::const_iterator end,
                         QChar kind, Iterator &record, Iterator last)
{
    for (; record != last; ++record) {
        const auto &r = *record;
        if (!isPending(r->ReminderDate))
            continue;
        if (source == end || source->kind != kind || source->record != &*r || !sameText(source->recordKey, r->Key)
            || source->due.value() != r->ReminderDate.value())
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
    if (current && current->m_builtFrom && current->m_builtFrom->revision == current->revision()
        && current->alarmsAsBuilt()) {
        const std::vector<Source> &sources = current->m_builtFrom->sources;
        auto source = sources.cbegin();
        auto schedule = schedules.begin();
        auto todo = todos.begin();
        if (sameSources(source, sources.cend(), QLatin1Char('S'), schedule, schedules.end())
            && sameSources(source, sources.cend(), QLatin1Char('T'), todo, todos.end()) && source == sources.cend()
            && current->m_builtFrom->unsourced.empty())
            return current;
        // The records before the first difference are as the list was built from
        // them: only the rest is read again, so an appointment added last costs
        // what it adds, not a copy of every source.
        std::vector<Source> tail;
        collectFrom(tail, QLatin1Char('S'), schedule, schedules.end());
        collectFrom(tail, QLatin1Char('T'), todo, todos.end());
        const size_t kept = size_t(source - sources.cbegin());
        if (current->follow(kept, tail))
            return current;
        std::vector<Source> wanted(sources.cbegin(), source);
        wanted.insert(wanted.end(), std::make_move_iterator(tail.begin()), std::make_move_iterator(tail.end()));
        for (Source &s : wanted) {
            s.alarm = nullptr;
            s.alarmKey.clear();
        }
        return build(std::move(wanted));
    }
    return fromRecords(schedules, todos);
}

} // namespace dayvex
