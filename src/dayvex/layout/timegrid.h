#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <QString>
#include <QStringList>

#include <array>
#include <optional>
#include <vector>

namespace dayvex {

// The arithmetic of the day and week time grid, in twips and rows, free of widgets.

// Slots from start to end in steps of step minutes, both ends included. A start
// or end that is no time is replaced by "08:00" / "20:00", a step of 0 or less by
// 30, all in place (the caller stores them back).
DAYVEX_CORE_EXPORT qint32 slotCount(QString &start, QString &end, qint16 &step);

// The time of each slot row, as the hour column ("H") and the minute column
// (the right two characters of "h:nn") show it.
struct SlotLabel
{
    QString hour;
    QString minutes;
};
// The proposed start of a new appointment: day at the hour and minutes that a
// row's time columns show ("9" and "30" give 09:30; no number reads as 0), as
// the date and time texts are joined and read back.
DAYVEX_CORE_EXPORT Date proposedStart(Date day, const QString &hour, const QString &minutes,
                                      const QString &dateFormat);

DAYVEX_CORE_EXPORT std::vector<SlotLabel> slotLabels(const QString &start, qint16 step, qint32 count);

// Runs of neighbouring rows that show the same hour, as the hour column merges
// them: the first row and the number of rows, for runs of two rows or more.
struct RowRun
{
    qint32 first = 0;
    qint32 count = 0;
    friend bool operator==(const RowRun &, const RowRun &) = default;
};
DAYVEX_CORE_EXPORT std::vector<RowRun> hourRuns(const std::vector<SlotLabel> &labels);

// The grid row of a time of day. The minutes factor is 1450, not 1440: the small
// excess moves late times by under half a slot, and boxes have always landed there.
// In the week view two rows are added for the heading row.
DAYVEX_CORE_EXPORT qint32 timeRow(Date time, Date dayStart, qint16 step, bool week);

// How far below the top of the first slot row the line of the current time
// stands, in twips: slot k covers the step minutes from dayStart + k steps, and
// the line moves through it minute by minute (at 1440 minutes a day, as a clock
// does). None before dayStart or after the last of slotRows rows.
DAYVEX_CORE_EXPORT std::optional<double> nowLineOffset(Date time, Date dayStart, qint16 step, qint32 slotRows,
                                                  double rowHeight);

// The placer's edge allowance: boxes stand this many twips inside the grid's outer edge.
constexpr double GridEdge = 30;

// Where the grid stands and how it is scrolled, in twips.
struct GridGeometry
{
    double left = 0;
    double top = 0;
    double height = 0;
    double rowHeight = 0;     // RowHeight(1)
    qint32 topRow = 0;        // first scrolled row shown (the heading row excluded)
    std::array<double, 9> colPos{};
    std::array<double, 9> colWidth{};
    Date dayStart;
    qint16 step = 30;
    bool week = false;
};

struct BoxInput
{
    QString times;   // "hh:mm-hh:mm": the first five characters start, the last five end
    int day = 0;     // 0 = Monday ... 6 = Sunday (always 0 in the day view)
};

struct BoxPlacement
{
    bool visible = true;
    double left = 0, top = 0, width = 0, height = 0;
};

// Places the boxes of one view in two passes: the first counts, per row and day,
// the visible boxes covering it; the second lays overlapping boxes side by side.
// Throws dayvex::Error 9 for a box whose rows pass row 100.
DAYVEX_CORE_EXPORT std::vector<BoxPlacement> placeBoxes(const std::vector<BoxInput> &boxes, const GridGeometry &grid);

// The box text: "hh:mm-hh:mm ", the owner and ": " when multiUser, the trimmed
// place, " | ", the contact, " | ", the description. The separators are always written.
DAYVEX_CORE_EXPORT QString appointmentLine(Date start, Date end, bool multiUser, const QString &owner,
                                      const QString &place, const QString &contact, const QString &description);
// The same from the span's clockSpan text.
DAYVEX_CORE_EXPORT QString appointmentLine(const QString &times, bool multiUser, const QString &owner,
                                      const QString &place, const QString &contact, const QString &description);
// "hh:mm-hh:mm" of start and end, as formatDate writes each with "hh:mm".
DAYVEX_CORE_EXPORT QString clockSpan(Date start, Date end);

// First day shown and the day after the last, per view (1 day, 2 week, 3 month).
struct DateRange
{
    Date from;
    Date to;
};
DAYVEX_CORE_EXPORT DateRange viewRange(int view, Date selected, bool dayFirst);

// The Monday on or before the first day of the month of selected.
DAYVEX_CORE_EXPORT Date monthFirstCell(Date selected, bool dayFirst);

// The headings of the week's seven day columns from monday on: the locale's
// abbreviated weekday name, a blank and the day of the month ("Mon 27").
DAYVEX_CORE_EXPORT QStringList weekHeadings(Date monday);

// The caption over the grid: "dddd dd" in the day view, "mmmm yyyy" otherwise.
DAYVEX_CORE_EXPORT QString viewCaption(int view, Date selected);

// Where a day stands in the month grid that starts on from: its week (0 to 5)
// and its column (2 = Monday ... 8 = Sunday). The week's date row is 2 * week,
// its list row 2 * week + 1.
struct MonthCell
{
    qint32 week = 0;
    qint32 column = 2;
    friend bool operator==(const MonthCell &, const MonthCell &) = default;
};
DAYVEX_CORE_EXPORT MonthCell monthCellOf(Date day, Date from);

// The section (row or column) whose span [start, start + size) holds pos, for
// sections given in order; hidden sections have size 0. -1 when none holds it.
DAYVEX_CORE_EXPORT qint32 sectionAt(const std::vector<double> &starts, const std::vector<double> &sizes, double pos);

// The date a click on cell (row, column) puts on show: in the week view the day
// of the column, in the month view the day of the cell (rows 2w and 2w + 1 both
// belong to week w). None in the day view and in the time columns 0 and 1.
DAYVEX_CORE_EXPORT std::optional<Date> clickedDate(int view, Date shown, bool dayFirst, qint32 row, qint32 column);

// Heights of the month grid's rows in twips: six weeks share the grid height
// less 100; each week gives its date row what the caption needs and the rest
// to its appointment list.
struct MonthRowHeights
{
    double dateRow = 0;
    double listRow = 0;
};
DAYVEX_CORE_EXPORT MonthRowHeights monthRowHeights(double gridHeight, double captionHeight);

} // namespace dayvex
