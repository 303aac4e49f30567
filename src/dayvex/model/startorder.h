#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>

#include <cstring>
#include <memory>
#include <vector>

namespace dayvex {

class Schedules;

/// Internal to the component: the appointments of a Schedules by start, equal
/// starts in collection order, for the range queries of a redraw; with the
/// series and the occurrences moved out of them. Schedules::verifiedOrder()
/// hands it out true to the records as they are at that moment.
class DAYVEX_CORE_EXPORT StartOrder
{
public:
    /// The appointments that start within [from, to), by start.
    std::vector<std::shared_ptr<Schedule>> startingIn(Date from, Date to) const;
    /// The longest time, in days, from a start to an end after it: an appointment
    /// that reaches into [from, to) starts within [from - longest(), to).
    double longest() const { return m_longest; }
    /// The series (a Recurrence), in collection order.
    const std::vector<std::shared_ptr<Schedule>> &series() const { return m_series; }
    /// The occurrences changed on their own (a SeriesKey), in collection order.
    const std::vector<std::shared_ptr<Schedule>> &moved() const { return m_moved; }

private:
    friend class Schedules;

    // A record's start and end as the order last saw them, bit for bit: a NaN
    // stored again reads the same, and -0.0 differs from 0.0 as nothing else does.
    struct Seen
    {
        double start;
        double end;
        bool operator==(const Seen &other) const { return std::memcmp(this, &other, sizeof(Seen)) == 0; }
    };
    struct Slot
    {
        double start;
        quint32 position; // from 0
    };
    static Seen seenOf(const Schedule &record) { return {record.StartDate.value(), record.EndDate.value()}; }
    static bool before(const Slot &a, const Slot &b)
    {
        return a.start < b.start || (a.start == b.start && a.position < b.position);
    }

    void rebuild();
    void place(size_t position);   // adds the slot of seen[position]
    void unplace(size_t position); // drops it
    void shift(size_t from, int by);
    void stretch(const Seen &seen);
    void inserted(size_t position);
    void erased(size_t position);
    void verify();

    const Schedules *m_records = nullptr;
    bool m_built = false;
    std::vector<Seen> m_seen;  // in collection order
    std::vector<Slot> m_slots; // by start; NaN starts have none
    double m_longest = 0;
    std::vector<std::shared_ptr<Schedule>> m_series;
    std::vector<std::shared_ptr<Schedule>> m_moved;
    std::vector<quint32> m_changed;
};

} // namespace dayvex
