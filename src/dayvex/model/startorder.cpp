#include "startorder.h"

#include "schedules.h"

#include <algorithm>
#include <cmath>

namespace dayvex {

void StartOrder::stretch(const Seen &seen)
{
    // Only an end after its start draws past the start; the queries filter the rest.
    if (std::isfinite(seen.start) && std::isfinite(seen.end) && seen.start < seen.end)
        m_longest = std::max(m_longest, seen.end - seen.start);
}

void StartOrder::rebuild()
{
    const size_t count = size_t(m_records->Count());
    m_seen.clear();
    m_seen.reserve(count);
    m_slots.clear();
    m_slots.reserve(count);
    m_longest = 0;
    for (size_t i = 0; i < count; ++i) {
        const Seen seen = seenOf(*m_records->at(i));
        m_seen.push_back(seen);
        if (!std::isnan(seen.start))
            m_slots.push_back({seen.start, quint32(i)});
        stretch(seen);
    }
    std::sort(m_slots.begin(), m_slots.end(), before);
    m_built = true;
}

void StartOrder::place(size_t position)
{
    const Slot slot{m_seen[position].start, quint32(position)};
    if (std::isnan(slot.start))
        return;
    m_slots.insert(std::upper_bound(m_slots.begin(), m_slots.end(), slot, before), slot);
    stretch(m_seen[position]);
}

void StartOrder::unplace(size_t position)
{
    const Slot slot{m_seen[position].start, quint32(position)};
    if (std::isnan(slot.start))
        return;
    const auto it = std::lower_bound(m_slots.begin(), m_slots.end(), slot, before);
    if (it != m_slots.end() && it->position == slot.position)
        m_slots.erase(it);
}

void StartOrder::shift(size_t from, int by)
{
    for (Slot &slot : m_slots) {
        if (slot.position >= from)
            slot.position = quint32(qint64(slot.position) + by);
    }
}

void StartOrder::inserted(size_t position)
{
    if (!m_built)
        return;
    if (position + 1 < size_t(m_records->Count()))
        shift(position, 1); // ties stay in collection order: the positions after it move on
    m_seen.insert(m_seen.begin() + qsizetype(position), seenOf(*m_records->at(position)));
    place(position);
}

void StartOrder::erased(size_t position)
{
    if (!m_built)
        return;
    unplace(position);
    m_seen.erase(m_seen.begin() + qsizetype(position));
    if (position < m_seen.size())
        shift(position + 1, -1);
}

void StartOrder::verify()
{
    if (!m_built)
        rebuild();
    // A host may have changed any record in place without a word: one pass reads
    // every start and end and finds the series, and allocates nothing once the
    // order exists and the plan holds no more series than before.
    m_changed.clear();
    m_series.clear();
    m_moved.clear();
    const size_t count = m_seen.size();
    for (size_t i = 0; i < count; ++i) {
        const std::shared_ptr<Schedule> &record = m_records->at(i);
        if (!(seenOf(*record) == m_seen[i]))
            m_changed.push_back(quint32(i));
        if (!record->Recurrence.isEmpty())
            m_series.push_back(record);
        if (!record->SeriesKey.isEmpty())
            m_moved.push_back(record);
    }
    // Each record placed anew moves part of the order; past a few, sorting it all is cheaper.
    if (m_changed.size() > 32) {
        rebuild();
        return;
    }
    for (const quint32 i : m_changed) {
        unplace(i);
        m_seen[i] = seenOf(*m_records->at(i));
        place(i);
    }
}

std::vector<std::shared_ptr<Schedule>> StartOrder::startingIn(Date from, Date to) const
{
    std::vector<std::shared_ptr<Schedule>> found;
    auto it = std::lower_bound(m_slots.begin(), m_slots.end(), from.value(),
                               [](const Slot &slot, double value) { return slot.start < value; });
    for (; it != m_slots.end() && it->start < to.value(); ++it)
        found.push_back(m_records->at(it->position));
    return found;
}

} // namespace dayvex
