#include "dragging.h"

#include <algorithm>
#include <cmath>

namespace dayvex {

namespace {
qint64 minutesBetween(Date a, Date b)
{
    return qint64(std::llround((b.value() - a.value()) * 1440.0));
}

// The nearest whole step of the day, counted from midnight.
Date onStep(Date moment, int step)
{
    const int minute = moment.minuteOfDay();
    const int snapped = int(std::lround(double(minute) / step)) * step;
    return moment.addMinutes(snapped - minute);
}
} // namespace

GridSlot slotAt(const DragGrid &grid, QPointF pos)
{
    GridSlot slot;
    const int days = int(grid.columnLefts.size()) - 1;
    while (slot.day + 1 < days && pos.x() >= grid.columnLefts[size_t(slot.day + 1)])
        ++slot.day;
    const int row = grid.rowHeight > 0 ? int(std::floor((pos.y() - grid.top) / grid.rowHeight)) : 0;
    slot.minute = grid.firstMinute + std::clamp(row, 0, std::max(0, grid.rows - 1)) * grid.step;
    return slot;
}

Date slotStart(const DragGrid &grid, GridSlot slot)
{
    return grid.firstDay.addDays(slot.day).addMinutes(slot.minute);
}

DragPart dragPartAt(int boxTop, int boxHeight, int y, int edge)
{
    const int depth = std::min(edge, boxHeight / 3);
    if (y < boxTop + depth)
        return DragPart::Start;
    if (y >= boxTop + boxHeight - depth)
        return DragPart::End;
    return DragPart::Move;
}

std::pair<Date, Date> draggedTimes(DragPart part, Date start, Date end, Date from, Date to, int step)
{
    switch (part) {
    case DragPart::Move: {
        if (from == to)
            return {start, end}; // not moved yet: an appointment off the steps stays where it is
        const Date moved = onStep(start.addMinutes(minutesBetween(from, to)), step);
        return {moved, moved.addMinutes(minutesBetween(start, end))};
    }
    case DragPart::Start:
        return {std::min(to, end.addMinutes(-step)), end};
    case DragPart::End:
        return {start, std::max(to.addMinutes(step), start.addMinutes(step))};
    }
    return {start, end};
}

QRect slotRect(const DragGrid &grid, int day, int fromMinute, int toMinute)
{
    const int days = int(grid.columnLefts.size()) - 1;
    if (day < 0 || day >= days || grid.step <= 0)
        return {};
    const double perMinute = grid.rowHeight / grid.step;
    const int first = grid.firstMinute;
    const int last = grid.firstMinute + grid.rows * grid.step;
    const double top = grid.top + (std::clamp(fromMinute, first, last) - first) * perMinute;
    const double bottom = grid.top + (std::clamp(toMinute, first, last) - first) * perMinute;
    const int left = grid.columnLefts[size_t(day)];
    return QRect(left, int(std::lround(top)), grid.columnLefts[size_t(day + 1)] - left,
                 std::max(1, int(std::lround(bottom - top))));
}

} // namespace dayvex
