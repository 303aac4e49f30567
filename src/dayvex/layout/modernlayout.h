#pragma once

// The geometry of the Modern presentation's day and week views, free of widgets:
// appointments cut into the days they touch, overlaps laid side by side so that
// no box ever covers another, and minutes mapped onto a grid of the whole day.

#include <dayvex/dayvex_export.h>
#include <dayvex/layout/timegrid.h>
#include <dayvex/model/records.h>

#include <QRect>

#include <memory>
#include <vector>

namespace dayvex {

class Schedules;
class StartOrder;

// The appointments that cover any moment of [range.from, range.to), by start
// and for equal starts in collection order. An appointment whose end is not
// after its start covers its start alone; NaN and out-of-range dates are left out.
DAYVEX_CORE_EXPORT std::vector<std::shared_ptr<Schedule>> appointmentsOverlapping(const Schedules &schedules,
                                                                             const DateRange &range);
// The same from an order already verified: no pass over the records.
DAYVEX_CORE_EXPORT std::vector<std::shared_ptr<Schedule>> appointmentsOverlapping(const StartOrder &order,
                                                                             const DateRange &range);

// One day's part of an appointment.
struct DaySegment
{
    int appointment = 0; // index into the appointments given
    int day = 0;         // 0 for the first day of the view
    int startMinute = 0; // after that day's midnight
    int endMinute = 0;   // startMinute < endMinute <= 1440
    friend bool operator==(const DaySegment &, const DaySegment &) = default;
};

// The parts of the appointments on the days first .. first + days - 1, by day,
// then start, then longer first. An appointment crossing midnight gives one part
// per day it touches, each at its true times. A part shorter than minimumMinutes
// is lengthened to it (moved up when that would pass midnight), so that a box
// drawn from it has room for a line; appointments whose dates are no valid
// moment are left out.
DAYVEX_CORE_EXPORT std::vector<DaySegment> daySegments(const std::vector<std::shared_ptr<Schedule>> &appointments,
                                                  Date first, int days, int minimumMinutes);

// Where a segment stands across its day column: columns equal parts, of which it
// takes span from column on. hidden: the day is too narrow, and it is counted in
// its group's overflow marker instead.
struct ColumnPlace
{
    int column = 0;
    int span = 1;
    int columns = 1;
    bool hidden = false;
};

// The "+N" marker of a group with hidden segments: the last column of the group
// from its first start to its last end.
struct OverflowMarker
{
    int day = 0;
    int startMinute = 0;
    int endMinute = 0;
    int column = 0;
    int columns = 1;
    int count = 0;
};

struct ColumnLayout
{
    std::vector<ColumnPlace> places; // one per segment, in the segments' order
    std::vector<OverflowMarker> markers;
};

// Segments that overlap, directly or through others, form a group. Each takes
// the leftmost column free at its start and widens to the right over the columns
// that stay free for its whole span. A group that needs more than maxColumns
// (at least 1) keeps maxColumns - 1 columns of boxes and hides the rest behind
// one marker in the last column. Segments must come as daySegments orders them.
DAYVEX_CORE_EXPORT ColumnLayout packColumns(const std::vector<DaySegment> &segments, int maxColumns);

// A day column of the grid in pixels: its left edge and width, the y of 00:00
// (negative when scrolled down) and the height of one minute.
struct DayColumnGeometry
{
    int left = 0;
    int width = 0;
    double midnightY = 0;
    double minuteHeight = 1;
};

// The rectangle of a segment or marker. Edges are rounded from the exact
// positions, so neighbours share an edge and never overlap by a pixel.
DAYVEX_CORE_EXPORT QRect segmentRect(const DayColumnGeometry &day, int startMinute, int endMinute, int column,
                                int span, int columns);

// The most columns a day column of width pixels holds at readable pixels each; at least 1.
DAYVEX_CORE_EXPORT int readableColumns(int width, int readable);

// Whether an appointment belongs above the time columns, in the all-day strip:
// it runs from a midnight to a later midnight, or lasts 24 hours or more on the
// wall clock. Unusable dates never do.
DAYVEX_CORE_EXPORT bool coversWholeDays(Date start, Date end);

// A bar of the all-day strip over the days firstDay .. lastDay of the view.
struct AllDayBar
{
    int appointment = 0; // index into the spans given
    int firstDay = 0;
    int lastDay = 0;
    int row = 0;
    bool hidden = false; // beyond the rows the strip shows: counted per day instead
    friend bool operator==(const AllDayBar &, const AllDayBar &) = default;
};

struct AllDayLayout
{
    std::vector<AllDayBar> bars; // those that touch the view, by first day, then longer first
    std::vector<int> hidden;     // per day of the view, the hidden bars over it
    int rows = 0;                // the rows the strip shows, the "+N" row included
};

// Stacks the spans over the days first .. first + days - 1: each bar runs from
// the first to the last day it touches (an end at midnight does not touch that
// day) and takes the lowest row free on all of them. When more than maxRows rows
// (at least 1) are needed, maxRows - 1 rows keep their bars and the last row
// counts per day the bars that were left out.
DAYVEX_CORE_EXPORT AllDayLayout stackAllDay(const std::vector<DateRange> &spans, Date first, int days, int maxRows);

} // namespace dayvex
