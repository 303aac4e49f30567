#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <QPointF>
#include <QRect>

#include <utility>
#include <vector>

namespace dayvex {

// A day or week grid as a pointer sees it, in viewport pixels: day columns side
// by side, then rows of step minutes from firstMinute on.
struct DragGrid
{
    std::vector<int> columnLefts; // each day column's left edge, then the last one's right edge
    Date firstDay;                // the day of the first column
    double top = 0;               // the first row's top
    double rowHeight = 1;
    int firstMinute = 0;          // minutes after midnight at the first row's top
    int rows = 0;
    int step = 30;
};

// A slot of the grid: a day column (from 0) and its minutes after midnight.
struct GridSlot
{
    int day = 0;
    int minute = 0;
    friend bool operator==(const GridSlot &, const GridSlot &) = default;
};

// The slot under pos: the column and the row it falls in, each clamped to the
// grid, so that a pointer beyond an edge keeps to the nearest slot.
DAYVEX_CORE_EXPORT GridSlot slotAt(const DragGrid &grid, QPointF pos);
// The moment a slot starts.
DAYVEX_CORE_EXPORT Date slotStart(const DragGrid &grid, GridSlot slot);

// What a press on a box takes hold of: its top edge (the start), its bottom
// edge (the end), or the whole box. The edges are edge pixels deep, never more
// than a third of the box each, so that a short box can still be moved.
enum class DragPart { Move, Start, End };
DAYVEX_CORE_EXPORT DragPart dragPartAt(int boxTop, int boxHeight, int y, int edge);

// The times a drag proposes for an appointment from start to end, pressed in
// the slot starting at from and now over the slot starting at to. A move keeps
// the length and lands the start on a whole step; a drag of an edge puts it on
// the slot's start (Start) or end (End), at least a step from the other edge.
DAYVEX_CORE_EXPORT std::pair<Date, Date> draggedTimes(DragPart part, Date start, Date end, Date from, Date to,
                                                      int step);

// Where the minutes from .. to of a day column stand, cut to the rows: the ghost of a drop.
DAYVEX_CORE_EXPORT QRect slotRect(const DragGrid &grid, int day, int fromMinute, int toMinute);

} // namespace dayvex
