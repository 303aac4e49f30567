#include "timegrid.h"

#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <algorithm>
#include <cmath>

namespace dayvex {

namespace {
Date timeOf(const QString &text)
{
    // "hh:mm" as clockSpan writes it, read directly: the general reader costs more
    // than the rest of placing a box, and a crowded week places a thousand of them.
    const auto digit = [&text](qsizetype i) {
        const char16_t c = text.at(i).unicode();
        return c >= u'0' && c <= u'9' ? int(c - u'0') : -1;
    };
    if (text.size() == 5 && text.at(2) == QLatin1Char(':') && digit(0) >= 0 && digit(1) >= 0 && digit(3) >= 0
        && digit(4) >= 0) {
        const int hour = digit(0) * 10 + digit(1);
        const int minute = digit(3) * 10 + digit(4);
        if (hour < 24 && minute < 60)
            return Date::fromTime(QTime(hour, minute));
    }
    const std::optional<Date> t = parseDate(text, DateOrder::DayMonthYear);
    return t ? t->timePart() : Date();
}
} // namespace

qint32 slotCount(QString &start, QString &end, qint16 &step)
{
    if (!isDate(start))
        start = QStringLiteral("08:00");
    if (!isDate(end))
        end = QStringLiteral("20:00");
    if (step <= 0)
        step = 30;
    const Date last = timeOf(end);
    Date t = timeOf(start);
    qint32 count = 0;
    while (t < last) {
        t = t.addMinutes(step);
        ++count;
    }
    return count + 1;
}

std::vector<SlotLabel> slotLabels(const QString &start, qint16 step, qint32 count)
{
    std::vector<SlotLabel> labels;
    labels.reserve(size_t(qMax(0, count)));
    Date t = timeOf(start);
    for (qint32 i = 0; i < count; ++i) {
        labels.push_back({formatDate(t, QStringLiteral("H")), formatDate(t, QStringLiteral("h:nn")).right(2)});
        t = t.addMinutes(step);
    }
    return labels;
}

std::vector<RowRun> hourRuns(const std::vector<SlotLabel> &labels)
{
    std::vector<RowRun> runs;
    for (size_t row = 0; row < labels.size();) {
        size_t next = row + 1;
        while (next < labels.size() && labels[next].hour == labels[row].hour)
            ++next;
        if (next - row > 1)
            runs.push_back({qint32(row), qint32(next - row)});
        row = next;
    }
    return runs;
}

qint32 timeRow(Date time, Date dayStart, qint16 step, bool week)
{
    if (step <= 0)
        throw Error::invalidArgument(QStringLiteral("a slot of %1 minutes").arg(step));
    const double n = std::nearbyint((time.finiteOrEmpty().value() - dayStart.finiteOrEmpty().value()) * 1450.0
                                    + step / 2.0);
    if (std::fabs(n / step) > 32767)
        throw Error::overflow(QStringLiteral("row of %1 passes the grid").arg(time.value()));
    return qint32(std::trunc(n / step)) + (week ? 2 : 0);
}

std::optional<double> nowLineOffset(Date time, Date dayStart, qint16 step, qint32 slotRows, double rowHeight)
{
    if (step <= 0 || !time.isValid() || !dayStart.isValid())
        return std::nullopt;
    // In whole milliseconds: a day fraction would put 20:30 a hair before 20:30.
    const double minutes = (time.toTime().msecsSinceStartOfDay() - dayStart.toTime().msecsSinceStartOfDay()) / 60000.0;
    if (!(minutes >= 0 && minutes < double(slotRows) * step))
        return std::nullopt;
    return minutes / step * rowHeight;
}

namespace {
constexpr int OccupancyRows = 101;

// Per row and day: how many boxes cover it, and how much of the column the boxes
// placed so far have taken, in whole twips. Wide enough for any screen and plan.
struct Occupancy
{
    std::array<std::array<qint64, 7>, OccupancyRows> boxes{};
    std::array<std::array<double, 7>, OccupancyRows> used{};

    static size_t checked(qint32 row)
    {
        if (row < 0 || row >= OccupancyRows)
            throw Error::subscriptOutOfRange(QStringLiteral("row %1 is past the grid's 101 rows").arg(row));
        return size_t(row);
    }
    static size_t checkedDay(int day)
    {
        if (day < 0 || day > 6)
            throw Error::subscriptOutOfRange(QStringLiteral("day %1 is none of the week's seven").arg(day));
        return size_t(day);
    }
    qint64 &count(qint32 row, int day) { return boxes[checked(row)][checkedDay(day)]; }
    double &taken(qint32 row, int day) { return used[checked(row)][checkedDay(day)]; }
};

struct Rows
{
    qint32 start;
    qint32 end;
};

Rows boxRows(const BoxInput &box, const GridGeometry &g, bool shortEnd)
{
    const Date start = timeOf(box.times.left(5));
    const Date end = timeOf(box.times.right(5));
    qint32 rStart = timeRow(start, g.dayStart, g.step, false);
    if (rStart < 0)
        rStart = 0;
    qint32 rEnd = timeRow(end, g.dayStart, g.step, false) - (shortEnd ? 1 : 0);
    if (g.week) {
        rStart += 2;
        rEnd += 2;
    }
    if (rEnd <= rStart)
        rEnd = rStart + 1;
    return {rStart, rEnd};
}
} // namespace

std::vector<BoxPlacement> placeBoxes(const std::vector<BoxInput> &boxes, const GridGeometry &g)
{
    Occupancy occupancy;
    std::vector<BoxPlacement> placed(boxes.size());
    const double bottom = g.top + g.height - 30;
    const qint32 firstVisible = g.topRow + (g.week ? 1 : 0);

    for (size_t i = 0; i < boxes.size(); ++i) {
        BoxPlacement &p = placed[i];
        const Rows rows = boxRows(boxes[i], g, false);
        if (firstVisible > rows.start)
            p.top = g.top + (g.week ? g.rowHeight : 0) + 30;
        else
            p.top = g.top + (rows.start - g.topRow) * g.rowHeight + 30;
        if (bottom < p.top)
            p.visible = false;
        if (g.topRow < rows.end && p.visible) {
            p.height = g.top + 40 + (rows.end - g.topRow) * g.rowHeight - p.top;
            if (p.top + p.height > bottom)
                p.height = g.top + g.height - p.top - 30;
        } else {
            p.visible = false;
        }
        if (p.visible) {
            for (qint32 r = rows.start; r < rows.end; ++r)
                ++occupancy.count(r, boxes[i].day);
        }
    }

    for (size_t i = 0; i < boxes.size(); ++i) {
        BoxPlacement &p = placed[i];
        const int day = boxes[i].day;
        const Rows rows = boxRows(boxes[i], g, true);
        qint64 maxCount = 1;
        qint32 maxRow = 0;
        for (qint32 r = rows.start; r < rows.end; ++r) {
            if (occupancy.count(r, day) > maxCount) {
                maxCount = occupancy.count(r, day);
                maxRow = r;
            }
        }
        const double columnPos = g.colPos[Occupancy::checkedDay(day) + 2];
        const double columnWidth = g.colWidth[Occupancy::checkedDay(day) + 2];
        if (maxCount > 1) {
            p.width = g.colWidth[2] / double(maxCount) + 10;
            for (qint32 r = rows.start; r < rows.end; ++r) {
                const double share = columnWidth / double(maxCount);
                double &used = occupancy.taken(r, day);
                used = std::nearbyint(used + share);
                p.left = g.left + columnPos + occupancy.taken(maxRow, day) + 30 - share;
            }
        } else {
            p.left = g.left + columnPos + 30;
            p.width = columnWidth;
        }
    }
    return placed;
}

QString appointmentLine(Date start, Date end, bool multiUser, const QString &owner, const QString &place,
                        const QString &contact, const QString &description)
{
    return appointmentLine(clockSpan(start, end), multiUser, owner, place, contact, description);
}

QString appointmentLine(const QString &times, bool multiUser, const QString &owner, const QString &place,
                        const QString &contact, const QString &description)
{
    QString line = times + QLatin1Char(' ');
    if (multiUser)
        line += owner + QStringLiteral(": ");
    return line + place.trimmed() + QStringLiteral(" | ") + contact + QStringLiteral(" | ") + description;
}

QString clockSpan(Date start, Date end)
{
    // Written directly: a box per appointment in view asks for this on every redraw.
    char16_t text[12]; // "hh:mm-hh:mm-"
    char16_t *out = text;
    for (const Date date : {start, end}) {
        const QTime time = date.finiteOrEmpty().toTime();
        for (const int part : {time.hour(), time.minute()}) {
            *out++ = char16_t(u'0' + part / 10);
            *out++ = char16_t(u'0' + part % 10);
            *out++ = u':';
        }
        out[-1] = u'-';
    }
    return QString(reinterpret_cast<const QChar *>(text), 11);
}

Date monthFirstCell(Date selected, bool dayFirst)
{
    // The first of the month is read back from text, as the date on show is written.
    const Date first = dayFirst
        ? toDate(QStringLiteral("01/") + formatDate(selected, QStringLiteral("mm/yyyy")), DateOrder::DayMonthYear)
        : toDate(formatDate(selected, QStringLiteral("mm/01/yyyy")), DateOrder::MonthDayYear);
    return first.addDays(1 - weekdayFromMonday(first));
}

QStringList weekHeadings(Date monday)
{
    QStringList headings;
    for (int day = 0; day < 7; ++day) {
        const Date d = monday.addDays(day);
        headings << formatDate(d, QStringLiteral("ddd")) + QLatin1Char(' ') + QString::number(d.toDate().day());
    }
    return headings;
}

QString viewCaption(int view, Date selected)
{
    if (view == 1)
        return formatDate(selected, QStringLiteral("dddd dd"));
    return formatDate(selected, QStringLiteral("mmmm")) + QLatin1Char(' ') + formatDate(selected, QStringLiteral("yyyy"));
}

MonthCell monthCellOf(Date day, Date from)
{
    const qint32 offset = qint32(std::floor(day.datePart().value() - from.datePart().value()));
    const qint32 week = offset >= 0 ? offset / 7 : (offset - 6) / 7;
    return {week, offset - week * 7 + 2};
}

qint32 sectionAt(const std::vector<double> &starts, const std::vector<double> &sizes, double pos)
{
    // The last section starting at or before pos; a hidden one gives way to the next.
    const auto after = std::upper_bound(starts.begin(), starts.end(), pos);
    if (after == starts.begin())
        return -1;
    const auto index = qint32(after - starts.begin()) - 1;
    return pos < starts[size_t(index)] + sizes[size_t(index)] ? index : -1;
}

std::optional<Date> clickedDate(int view, Date shown, bool dayFirst, qint32 row, qint32 column)
{
    if (column < 2 || row < 0)
        return std::nullopt;
    if (view == 2)
        return viewRange(2, shown, dayFirst).from.addDays(column - 2);
    if (view == 3)
        return monthFirstCell(shown, dayFirst).addDays(7 * (qint64(row) / 2) + (qint64(column) - 2));
    return std::nullopt;
}

MonthRowHeights monthRowHeights(double gridHeight, double captionHeight)
{
    const double week = std::max(0.0, (gridHeight - 100) / 6);
    const double dateRow = std::min(captionHeight, week / 2);
    return {dateRow, week - dateRow};
}

DateRange viewRange(int view, Date selected, bool dayFirst)
{
    const Date day = selected.datePart();
    switch (view) {
    case 1:
        return {day, day.addDays(1)};
    case 2: {
        const Date monday = day.addDays(1 - weekdayFromMonday(day));
        return {monday, monday.addDays(7)};
    }
    default: {
        const Date from = monthFirstCell(selected, dayFirst);
        return {from, from.addDays(35)};
    }
    }
}

Date proposedStart(Date day, const QString &hour, const QString &minutes, const QString &dateFormat)
{
    const QString text = formatDate(day, dateFormat) + QLatin1Char(' ') + formatNumber(val(hour), QStringLiteral("00"))
                         + QLatin1Char(':') + formatNumber(val(minutes), QStringLiteral("00"));
    const DateOrder order = dateFormat.startsWith(QLatin1Char('m'), Qt::CaseInsensitive) ? DateOrder::MonthDayYear
                                                                                          : DateOrder::DayMonthYear;
    return toDate(text, order);
}

} // namespace dayvex
