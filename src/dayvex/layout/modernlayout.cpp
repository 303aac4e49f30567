#include "modernlayout.h"

#include <dayvex/model/schedules.h>
#include <dayvex/model/startorder.h>

#include <QDateTime>

#include <algorithm>
#include <cmath>

namespace dayvex {

namespace {

bool usable(Date date)
{
    return std::isfinite(date.value()) && date.isValid();
}

// The moment an appointment ends for drawing: its end, or its start when the end is not after it.
Date drawnEnd(const Schedule &s)
{
    return usable(s.EndDate) && s.StartDate < s.EndDate ? s.EndDate : s.StartDate;
}

// Minutes from a to b on the wall clock the dates store: a day is always 1440
// minutes, whatever the time zone does to the clocks that night.
qint64 wallMinutes(const QDateTime &a, const QDateTime &b)
{
    return a.date().daysTo(b.date()) * 1440
           + (b.time().msecsSinceStartOfDay() - a.time().msecsSinceStartOfDay()) / 60000;
}

} // namespace

std::vector<std::shared_ptr<Schedule>> appointmentsOverlapping(const StartOrder &order, const DateRange &range)
{
    // Whatever reaches into the range starts at most the longest length before it;
    // a second more keeps the subtraction's rounding on the safe side.
    const Date earliest(range.from.value() - order.longest() - 1.0 / 86400);
    std::vector<std::shared_ptr<Schedule>> shown = order.startingIn(earliest, range.to);
    std::erase_if(shown, [&range](const std::shared_ptr<Schedule> &s) {
        if (!usable(s->StartDate))
            return true;
        const Date end = drawnEnd(*s);
        // An appointment of no length still shows at its start.
        return !(range.from < end || (end == s->StartDate && !(s->StartDate < range.from)));
    });
    return shown;
}

std::vector<std::shared_ptr<Schedule>> appointmentsOverlapping(const Schedules &schedules, const DateRange &range)
{
    return appointmentsOverlapping(schedules.verifiedOrder(), range);
}

std::vector<DaySegment> daySegments(const std::vector<std::shared_ptr<Schedule>> &appointments, Date first,
                                    int days, int minimumMinutes)
{
    std::vector<DaySegment> segments;
    if (!usable(first) || days <= 0)
        return segments;
    const QDateTime firstMidnight = first.datePart().toDateTime();
    minimumMinutes = std::clamp(minimumMinutes, 1, 1440);
    for (size_t i = 0; i < appointments.size(); ++i) {
        const Schedule &s = *appointments[i];
        if (!usable(s.StartDate))
            continue;
        // Minutes from the first day's midnight, on the wall clock the dates store.
        const qint64 start = wallMinutes(firstMidnight, s.StartDate.toDateTime());
        const qint64 end = std::max(start, wallMinutes(firstMidnight, drawnEnd(s).toDateTime()));
        const qint64 firstDay = std::max<qint64>(0, start >= 0 ? start / 1440 : -1);
        for (qint64 day = firstDay; day < days; ++day) {
            const qint64 dayStart = day * 1440;
            if (start >= dayStart + 1440)
                continue;
            if (end <= dayStart && !(end == start && start >= dayStart))
                break;
            DaySegment part;
            part.appointment = int(i);
            part.day = int(day);
            part.startMinute = int(std::clamp<qint64>(start - dayStart, 0, 1439));
            part.endMinute = int(std::clamp<qint64>(end - dayStart, part.startMinute, 1440));
            if (part.endMinute - part.startMinute < minimumMinutes) {
                part.endMinute = std::min(1440, part.startMinute + minimumMinutes);
                part.startMinute = std::min(part.startMinute, part.endMinute - minimumMinutes);
            }
            segments.push_back(part);
            if (end <= dayStart + 1440)
                break;
        }
    }
    std::stable_sort(segments.begin(), segments.end(), [](const DaySegment &a, const DaySegment &b) {
        if (a.day != b.day)
            return a.day < b.day;
        if (a.startMinute != b.startMinute)
            return a.startMinute < b.startMinute;
        return a.endMinute > b.endMinute;
    });
    return segments;
}

ColumnLayout packColumns(const std::vector<DaySegment> &segments, int maxColumns)
{
    maxColumns = std::max(1, maxColumns);
    ColumnLayout out;
    out.places.resize(segments.size());
    size_t groupBegin = 0;
    while (groupBegin < segments.size()) {
        // The group: every segment reached through overlaps from the first one.
        size_t groupEnd = groupBegin + 1;
        int groupLast = segments[groupBegin].endMinute;
        while (groupEnd < segments.size() && segments[groupEnd].day == segments[groupBegin].day
               && segments[groupEnd].startMinute < groupLast) {
            groupLast = std::max(groupLast, segments[groupEnd].endMinute);
            ++groupEnd;
        }
        // Leftmost column free at each start.
        std::vector<int> columnEnds;
        std::vector<std::vector<size_t>> members;
        for (size_t i = groupBegin; i < groupEnd; ++i) {
            size_t column = 0;
            while (column < columnEnds.size() && columnEnds[column] > segments[i].startMinute)
                ++column;
            if (column == columnEnds.size()) {
                columnEnds.push_back(0);
                members.emplace_back();
            }
            columnEnds[column] = segments[i].endMinute;
            members[column].push_back(i);
            out.places[i].column = int(column);
        }
        const int needed = int(columnEnds.size());
        const int shown = needed <= maxColumns ? needed : maxColumns - 1;
        const int columns = needed <= maxColumns ? needed : maxColumns;
        auto freeFor = [&](int column, const DaySegment &s) {
            for (size_t j : members[size_t(column)])
                if (segments[j].startMinute < s.endMinute && s.startMinute < segments[j].endMinute)
                    return false;
            return true;
        };
        OverflowMarker marker{segments[groupBegin].day, segments[groupBegin].startMinute, groupLast, shown, columns, 0};
        for (size_t i = groupBegin; i < groupEnd; ++i) {
            ColumnPlace &place = out.places[i];
            place.columns = columns;
            if (place.column >= shown) {
                place.hidden = true;
                ++marker.count;
                continue;
            }
            while (place.column + place.span < shown && freeFor(place.column + place.span, segments[i]))
                ++place.span;
        }
        if (marker.count > 0)
            out.markers.push_back(marker);
        groupBegin = groupEnd;
    }
    return out;
}

QRect segmentRect(const DayColumnGeometry &day, int startMinute, int endMinute, int column, int span, int columns)
{
    columns = std::max(1, columns);
    const int left = day.left + int(std::lround(double(day.width) * column / columns));
    const int right = day.left + int(std::lround(double(day.width) * (column + span) / columns));
    const int top = int(std::lround(day.midnightY + startMinute * day.minuteHeight));
    const int bottom = int(std::lround(day.midnightY + endMinute * day.minuteHeight));
    return QRect(QPoint(left, top), QPoint(right - 1, bottom - 1));
}

int readableColumns(int width, int readable)
{
    return readable > 0 ? std::max(1, width / readable) : 1;
}

bool coversWholeDays(Date start, Date end)
{
    if (!usable(start) || !usable(end) || !(start < end))
        return false;
    const QDateTime from = start.toDateTime();
    const QDateTime to = end.toDateTime();
    const qint64 minutes = wallMinutes(from, to);
    return minutes >= 1440 || (from.time() == QTime(0, 0) && to.time() == QTime(0, 0) && minutes > 0);
}

AllDayLayout stackAllDay(const std::vector<DateRange> &spans, Date first, int days, int maxRows)
{
    AllDayLayout out;
    if (!usable(first) || days <= 0)
        return out;
    maxRows = std::max(1, maxRows);
    out.hidden.assign(size_t(days), 0);
    const QDate firstDate = first.toDateTime().date();
    for (size_t i = 0; i < spans.size(); ++i) {
        const DateRange &span = spans[i];
        if (!usable(span.from) || !usable(span.to) || span.to < span.from)
            continue;
        const QDateTime from = span.from.toDateTime();
        const QDateTime to = span.to.toDateTime();
        // The last day touched: an end at midnight closes the day before it.
        qint64 last = firstDate.daysTo(to.date());
        if (to.time() == QTime(0, 0) && from < to)
            --last;
        const qint64 begin = firstDate.daysTo(from.date());
        if (last < 0 || begin >= days)
            continue;
        out.bars.push_back({int(i), int(std::max<qint64>(0, begin)), int(std::min<qint64>(days - 1, last)), 0, false});
    }
    std::stable_sort(out.bars.begin(), out.bars.end(), [](const AllDayBar &a, const AllDayBar &b) {
        if (a.firstDay != b.firstDay)
            return a.firstDay < b.firstDay;
        return a.lastDay > b.lastDay;
    });
    // The last day taken in each row so far; bars come by first day, so a row is
    // free for a bar when its last bar ended before the bar's first day.
    std::vector<int> rowEnds;
    for (AllDayBar &bar : out.bars) {
        size_t row = 0;
        while (row < rowEnds.size() && rowEnds[row] >= bar.firstDay)
            ++row;
        if (row == rowEnds.size())
            rowEnds.push_back(-1);
        rowEnds[row] = bar.lastDay;
        bar.row = int(row);
    }
    const int needed = int(rowEnds.size());
    out.rows = std::min(needed, maxRows);
    if (needed > maxRows) {
        for (AllDayBar &bar : out.bars) {
            if (bar.row < maxRows - 1)
                continue;
            bar.hidden = true;
            for (int day = bar.firstDay; day <= bar.lastDay; ++day)
                ++out.hidden[size_t(day)];
        }
    }
    return out;
}

} // namespace dayvex
