#include "agendaprint.h"
#include "printpreview.h"

#include <dayvex/i18n/language.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>
#include <dayvex/platform/color.h>
#include <dayvex/platform/format.h>
#include <dayvex/layout/agendaentry.h>
#include <dayvex/layout/appointmentorder.h>
#include <dayvex/layout/modernlayout.h>
#include <dayvex/layout/textfit.h>
#include <dayvex/layout/timegrid.h>
#include <dayvex/layout/todoorder.h>

#include <QFontMetricsF>
#include <QPagedPaintDevice>
#include <QPainter>

namespace dayvex {

namespace {

// Sizes on paper, in twips (1440 to the inch, 20 to the point).
constexpr double HeadingHeight = 560;
constexpr double FooterHeight = 300;
constexpr double HourColumn = 500;
constexpr double MinuteColumn = 400;
constexpr double CellPadding = 40;

QFont paperFont(double points, bool bold = false)
{
    QFont font(QStringLiteral("Arial"));
    font.setStyleHint(QFont::SansSerif);
    font.setPixelSize(qMax(1, qRound(points * 20))); // the painter draws in twips
    font.setBold(bold);
    return font;
}

class PagePainter
{
public:
    PagePainter(QPagedPaintDevice &device, DayvexData &data, const PrintOptions &options,
                const LanguageTable &language)
        : m_device(device), m_data(data), m_options(options), m_painter(&device), m_language(language)
    {
        // One unit is one twip from here on.
        m_painter.scale(device.logicalDpiX() / 1440.0, device.logicalDpiY() / 1440.0);
        m_width = device.width() * 1440.0 / device.logicalDpiX();
        m_height = device.height() * 1440.0 / device.logicalDpiY();
        m_painter.setRenderHint(QPainter::Antialiasing);
    }

    int print()
    {
        switch (m_options.view) {
        case PrintedView::Day:
        case PrintedView::Week:
            if (m_options.modern)
                printModernGrid(m_options.view == PrintedView::Week);
            else
                printTimeGrid(m_options.view == PrintedView::Week);
            break;
        case PrintedView::Month:
            printMonth();
            break;
        case PrintedView::ToDoList:
            printToDos();
            break;
        }
        m_painter.end();
        return m_pages;
    }

private:
    QRectF contentRect() const { return {0, HeadingHeight, m_width, m_height - HeadingHeight - FooterHeight}; }

    void startPage(const QString &heading)
    {
        if (m_pages > 0)
            m_device.newPage();
        ++m_pages;
        m_painter.setPen(Qt::black);
        m_painter.setFont(paperFont(14, true));
        m_painter.drawText(QRectF(0, 0, m_width, HeadingHeight - 120), Qt::AlignLeft | Qt::AlignVCenter, heading);
        m_painter.setFont(paperFont(8));
        m_painter.drawText(QRectF(0, m_height - FooterHeight + 60, m_width, FooterHeight - 60),
                           Qt::AlignRight | Qt::AlignVCenter, QStringLiteral("%1").arg(m_pages));
        m_painter.setPen(QPen(Qt::black, 15));
        m_painter.drawLine(QPointF(0, HeadingHeight - 100), QPointF(m_width, HeadingHeight - 100));
    }

    QString rangeHeading(int view) const
    {
        const DateRange range = viewRange(view, m_options.shown, m_options.dayFirst);
        const QString caption = viewCaption(view, m_options.shown);
        if (view == 3)
            return caption;
        const QString first = formatDate(range.from, m_options.dateFormat);
        const QString last = formatDate(range.to.addDays(-1), m_options.dateFormat);
        return view == 1 ? QStringLiteral("%1  (%2)").arg(caption, first) : QStringLiteral("%1 - %2").arg(first, last);
    }

    std::vector<AgendaEntry> entriesIn(int view) const
    {
        std::vector<AgendaEntry> entries;
        const DateRange range = viewRange(view, m_options.shown, m_options.dayFirst);
        for (const auto &schedule : appointmentsStartingIn(*m_data.Schedules(), range))
            entries.emplace_back(*schedule, m_options.multiUser, m_options.dateFormat);
        return entries;
    }

    void drawBox(const QRectF &box, const AgendaEntry &entry)
    {
        const QColor fill = entry.color != 0 ? oleColor(quint32(entry.color), QPalette())
                                             : QColor(0xff, 0xff, 0xdc); // the screen's tooltip base
        m_painter.setPen(QPen(QColor(0x80, 0x80, 0x80), 10));
        m_painter.setBrush(fill);
        m_painter.drawRect(box);
        m_painter.setBrush(Qt::NoBrush);
        m_painter.setPen(fill.lightnessF() < 0.45 ? Qt::white : Qt::black);
        const QRectF inner = box.adjusted(CellPadding, 10, -CellPadding, -10);
        const QFontMetricsF metrics(m_painter.font(), &m_device);
        const int maxLines = qMax(1, int(inner.height() / metrics.lineSpacing()));
        const FittedText fitted = fitLines(entry.line(), inner.width(), maxLines,
                                           [&metrics](const QString &s) { return metrics.horizontalAdvance(s); });
        m_painter.save();
        m_painter.setClipRect(inner);
        m_painter.drawText(inner, Qt::AlignLeft | Qt::AlignTop, fitted.lines.join(QLatin1Char('\n')));
        m_painter.restore();
    }

    void printTimeGrid(bool week)
    {
        const int view = week ? 2 : 1;
        startPage(rangeHeading(view));
        QString start = m_options.dayStart;
        QString end = m_options.dayEnd;
        qint16 step = m_options.step;
        const qint32 count = slotCount(start, end, step);
        const std::vector<SlotLabel> labels = slotLabels(start, step, count);

        const QRectF area = contentRect();
        const int headingRows = week ? 1 : 0;
        const double rowHeight = area.height() / double(count + headingRows);
        const int days = week ? 7 : 1;
        GridGeometry g;
        g.colPos[0] = 0;
        g.colWidth[0] = HourColumn;
        g.colPos[1] = HourColumn;
        g.colWidth[1] = MinuteColumn;
        const double dayWidth = (area.width() - HourColumn - MinuteColumn) / days;
        for (int c = 2; c < 9; ++c) {
            g.colPos[size_t(c)] = HourColumn + MinuteColumn + (c - 2) * dayWidth;
            g.colWidth[size_t(c)] = c - 2 < days ? dayWidth : 0;
        }
        const double slotsTop = area.top() + headingRows * rowHeight;

        // Grid lines and the time columns.
        m_painter.setPen(QPen(QColor(0xb0, 0xb0, 0xb0), 8));
        for (int row = 0; row <= count; ++row)
            m_painter.drawLine(QPointF(HourColumn, slotsTop + row * rowHeight), QPointF(area.right(), slotsTop + row * rowHeight));
        for (int c = 1; c <= days + 2; ++c) {
            const double x = c < 9 ? g.colPos[size_t(qMin(c, 8))] : area.right();
            m_painter.drawLine(QPointF(c == days + 2 ? area.right() : x, area.top()),
                               QPointF(c == days + 2 ? area.right() : x, area.bottom()));
        }
        m_painter.setPen(Qt::black);
        m_painter.setFont(paperFont(qBound(5.0, rowHeight / 20 * 0.55, 9.0)));
        for (int row = 0; row < count; ++row)
            m_painter.drawText(QRectF(HourColumn, slotsTop + row * rowHeight, MinuteColumn - CellPadding, rowHeight),
                               Qt::AlignRight | Qt::AlignVCenter, labels[size_t(row)].minutes);
        std::vector<bool> merged(size_t(count), false);
        m_painter.setFont(paperFont(qBound(7.0, rowHeight / 20 * 0.9, 14.0), true));
        auto drawHour = [&](qint32 first, qint32 rows) {
            m_painter.drawText(QRectF(0, slotsTop + first * rowHeight, HourColumn - CellPadding, rows * rowHeight),
                               Qt::AlignRight | Qt::AlignTop, labels[size_t(first)].hour);
            m_painter.setPen(QPen(QColor(0xb0, 0xb0, 0xb0), 8));
            m_painter.drawLine(QPointF(0, slotsTop + first * rowHeight), QPointF(HourColumn, slotsTop + first * rowHeight));
            m_painter.setPen(Qt::black);
        };
        for (const RowRun &run : hourRuns(labels)) {
            drawHour(run.first, run.count);
            for (qint32 r = run.first; r < run.first + run.count; ++r)
                merged[size_t(r)] = true;
        }
        for (qint32 row = 0; row < count; ++row)
            if (!merged[size_t(row)])
                drawHour(row, 1);

        const Date monday = viewRange(view, m_options.shown, m_options.dayFirst).from;
        if (week) {
            m_painter.setFont(paperFont(9, true));
            const QStringList headings = weekHeadings(monday);
            for (int d = 0; d < 7; ++d)
                m_painter.drawText(QRectF(g.colPos[size_t(d + 2)], area.top(), dayWidth, rowHeight), Qt::AlignCenter,
                                   headings.value(d));
        }

        // The boxes where the screen would put them in a grid of this size.
        const std::vector<AgendaEntry> entries = entriesIn(view);
        std::vector<BoxInput> inputs;
        for (const AgendaEntry &entry : entries)
            inputs.push_back({entry.times(), week ? int(monday.toDate().daysTo(entry.start.toDate())) : 0});
        g.left = -GridEdge;
        g.top = area.top() - GridEdge;
        g.height = area.height() + 2 * GridEdge;
        g.rowHeight = rowHeight;
        g.topRow = week ? 1 : 0;
        const std::optional<Date> firstSlot = parseDate(start);
        g.dayStart = firstSlot ? firstSlot->timePart() : Date::fromTime(QTime(8, 0));
        g.step = step;
        g.week = week;
        const std::vector<BoxPlacement> placed = placeBoxes(inputs, g);
        m_painter.setFont(paperFont(qBound(5.0, rowHeight / 20 * 0.55, 8.0)));
        for (size_t i = 0; i < placed.size(); ++i) {
            const BoxPlacement &p = placed[i];
            if (p.visible && p.width > 0 && p.height > 0)
                drawBox(QRectF(p.left, p.top, p.width - GridEdge, p.height), entries[i]);
        }
    }

    // A Modern box: the subject in bold, then the times and the place, as many lines as fit.
    void drawModernBox(const QRectF &box, const AgendaEntry &entry, double points)
    {
        const QColor fill = entry.color != 0 ? oleColor(quint32(entry.color), QPalette())
                                             : QColor(0xff, 0xff, 0xdc);
        m_painter.setPen(QPen(QColor(0x80, 0x80, 0x80), 10));
        m_painter.setBrush(fill);
        m_painter.drawRoundedRect(box, 30, 30);
        m_painter.setBrush(Qt::NoBrush);
        m_painter.setPen(contrastingText(fill));
        const QRectF inner = box.adjusted(CellPadding, 10, -CellPadding, -10);
        m_painter.save();
        m_painter.setClipRect(inner);
        double y = inner.top();
        const QStringList lines = entry.modernLines();
        for (int i = 0; i < lines.size(); ++i) {
            const QFont font = paperFont(points, i == 0);
            const QFontMetricsF metrics(font, &m_device);
            if (i > 0 && y + metrics.height() > inner.bottom() + 1)
                break;
            m_painter.setFont(font);
            m_painter.drawText(QPointF(inner.left(), y + metrics.ascent()),
                               metrics.elidedText(lines[i], Qt::ElideRight, inner.width()));
            y += metrics.lineSpacing();
        }
        m_painter.restore();
    }

    void printModernGrid(bool week)
    {
        const int view = week ? 2 : 1;
        startPage(rangeHeading(view));
        const DateRange range = viewRange(view, m_options.shown, m_options.dayFirst);
        const int days = week ? 7 : 1;
        const qint16 step = m_options.step > 0 ? m_options.step : qint16(30);
        const auto minuteOf = [](const QString &text, int fallback) {
            const std::optional<Date> time = parseDate(text);
            return time ? time->minuteOfDay() : fallback;
        };
        const int workStart = minuteOf(m_options.dayStart, 8 * 60);
        const int workEnd = std::max(workStart + step, minuteOf(m_options.dayEnd, 20 * 60));

        std::vector<std::shared_ptr<Schedule>> timed = appointmentsOverlapping(*m_data.Schedules(), range);
        std::vector<AgendaEntry> wholeDays;
        std::vector<DateRange> spans;
        std::erase_if(timed, [&](const std::shared_ptr<Schedule> &s) {
            if (!coversWholeDays(s->StartDate, s->EndDate))
                return false;
            wholeDays.emplace_back(*s, m_options.multiUser, m_options.dateFormat);
            spans.push_back({s->StartDate, s->EndDate});
            return true;
        });
        const std::vector<DaySegment> segments = daySegments(timed, range.from, days, step / 2);
        // Paper does not scroll: the grid reaches out to every appointment, in whole steps.
        int first = workStart;
        int last = workEnd;
        for (const DaySegment &part : segments) {
            first = std::min(first, part.startMinute / step * step);
            last = std::max(last, std::min(1440, (part.endMinute + step - 1) / step * step));
        }

        const QRectF area = contentRect();
        const double headingHeight = 300;
        const QFont barFont = paperFont(8);
        const double barHeight = QFontMetricsF(barFont, &m_device).height() + 60;
        const AllDayLayout strip = stackAllDay(spans, range.from, days, 4);
        const double stripTop = area.top() + headingHeight;
        const double gridTop = stripTop + strip.rows * barHeight + (strip.rows > 0 ? 40 : 0);
        const double minuteHeight = (area.bottom() - gridTop) / double(last - first);
        const double dayLeft = HourColumn + MinuteColumn;
        const double dayWidth = (area.width() - dayLeft) / days;
        const auto yOf = [&](int minute) { return gridTop + (minute - first) * minuteHeight; };

        // Off-hours shading, the rows and the columns.
        const QColor offHours(0xf0, 0xf0, 0xf0);
        if (first < workStart)
            m_painter.fillRect(QRectF(dayLeft, yOf(first), area.width() - dayLeft, yOf(workStart) - yOf(first)), offHours);
        if (last > workEnd)
            m_painter.fillRect(QRectF(dayLeft, yOf(workEnd), area.width() - dayLeft, yOf(last) - yOf(workEnd)), offHours);
        const double rowPoints = qBound(5.0, step * minuteHeight / 20 * 0.55, 9.0);
        for (int minute = first; minute <= last; minute += step) {
            const bool hour = minute % 60 == 0;
            m_painter.setPen(QPen(QColor(0xb0, 0xb0, 0xb0), hour ? 10 : 5));
            m_painter.drawLine(QPointF(hour ? 0 : HourColumn, yOf(minute)), QPointF(area.right(), yOf(minute)));
            if (minute == last)
                break;
            m_painter.setPen(Qt::black);
            m_painter.setFont(paperFont(rowPoints, hour));
            m_painter.drawText(QRectF(0, yOf(minute), (hour ? HourColumn : dayLeft) - CellPadding, step * minuteHeight),
                               Qt::AlignRight | Qt::AlignTop,
                               hour ? QString::number(minute / 60) : QStringLiteral("%1").arg(minute % 60, 2, 10, QLatin1Char('0')));
        }
        m_painter.setPen(QPen(QColor(0xb0, 0xb0, 0xb0), 8));
        for (int d = 0; d <= days; ++d)
            m_painter.drawLine(QPointF(dayLeft + d * dayWidth, area.top()), QPointF(dayLeft + d * dayWidth, area.bottom()));
        m_painter.setPen(Qt::black);
        m_painter.setFont(paperFont(9, true));
        const QStringList headings = weekHeadings(range.from);
        for (int d = 0; d < days; ++d)
            m_painter.drawText(QRectF(dayLeft + d * dayWidth, area.top(), dayWidth, headingHeight), Qt::AlignCenter,
                               headings.value(d));

        // Whole days above the grid, then the boxes side by side in each day.
        for (const AllDayBar &bar : strip.bars)
            if (!bar.hidden)
                drawModernBox(QRectF(dayLeft + bar.firstDay * dayWidth + 20, stripTop + bar.row * barHeight + 10,
                                     (bar.lastDay - bar.firstDay + 1) * dayWidth - 40, barHeight - 20),
                              wholeDays[size_t(bar.appointment)], 7);
        m_painter.setFont(barFont);
        for (int d = 0; d < int(strip.hidden.size()); ++d)
            if (strip.hidden[size_t(d)] > 0)
                m_painter.drawText(QRectF(dayLeft + d * dayWidth, stripTop + (strip.rows - 1) * barHeight, dayWidth, barHeight),
                                   Qt::AlignCenter, QStringLiteral("+%1").arg(strip.hidden[size_t(d)]));
        const double boxPoints = qBound(5.0, step * minuteHeight / 20 * 0.45, 8.0);
        const int readable = int(QFontMetricsF(paperFont(boxPoints), &m_device).averageCharWidth() * 6);
        for (int d = 0; d < days; ++d) {
            std::vector<DaySegment> dayParts;
            for (const DaySegment &part : segments)
                if (part.day == d)
                    dayParts.push_back(part);
            const DayColumnGeometry geometry{int(dayLeft + d * dayWidth) + 20, int(dayWidth) - 40,
                                             yOf(0), minuteHeight};
            const ColumnLayout layout = packColumns(dayParts, readableColumns(geometry.width, readable));
            for (size_t i = 0; i < dayParts.size(); ++i) {
                const ColumnPlace &place = layout.places[i];
                if (!place.hidden)
                    drawModernBox(segmentRect(geometry, dayParts[i].startMinute, dayParts[i].endMinute, place.column,
                                              place.span, place.columns),
                                  AgendaEntry(*timed[size_t(dayParts[i].appointment)], m_options.multiUser,
                                              m_options.dateFormat),
                                  boxPoints);
            }
            for (const OverflowMarker &marker : layout.markers) {
                const QRect rect = segmentRect(geometry, marker.startMinute, marker.endMinute, marker.column, 1,
                                               marker.columns);
                m_painter.setPen(QPen(QColor(0x80, 0x80, 0x80), 10));
                m_painter.setBrush(QColor(0xe8, 0xe8, 0xe8));
                m_painter.drawRoundedRect(rect, 30, 30);
                m_painter.setBrush(Qt::NoBrush);
                m_painter.setPen(Qt::black);
                m_painter.setFont(paperFont(boxPoints, true));
                m_painter.drawText(rect, Qt::AlignHCenter | Qt::AlignTop, QStringLiteral("+%1").arg(marker.count));
            }
        }
    }

    void printMonth()
    {
        startPage(rangeHeading(3));
        const QRectF area = contentRect();
        const Date from = monthFirstCell(m_options.shown, m_options.dayFirst);
        const int month = m_options.shown.toDate().month();
        constexpr int Weeks = 6;
        const double cellWidth = area.width() / 7;
        const double cellHeight = area.height() / Weeks;
        const QFont captionFont = paperFont(8, true);
        const QFont lineFont = paperFont(7);
        const double lineHeight = QFontMetricsF(lineFont, &m_device).lineSpacing();

        std::vector<std::vector<QString>> lines(size_t(Weeks * 7));
        if (m_options.modern) {
            // Each appointment on every day it touches, over all six weeks.
            const std::vector<std::shared_ptr<Schedule>> shown
                = appointmentsOverlapping(*m_data.Schedules(), {from, from.addDays(Weeks * 7)});
            for (const DaySegment &part : daySegments(shown, from, Weeks * 7, 1)) {
                const Schedule &s = *shown[size_t(part.appointment)];
                lines[size_t(part.day)].push_back(formatDate(s.StartDate, QStringLiteral("hh:mm")) + QLatin1Char(' ')
                                                  + s.Description);
            }
        } else {
            for (const AgendaEntry &entry : entriesIn(3)) {
                const MonthCell cell = monthCellOf(entry.start, from);
                if (cell.week >= 0 && cell.week < Weeks)
                    lines[size_t(cell.week * 7 + cell.column - 2)].push_back(
                        formatDate(entry.start, QStringLiteral("hh:mm")) + QLatin1Char(' ') + entry.description);
            }
        }
        for (int week = 0; week < Weeks; ++week) {
            for (int day = 0; day < 7; ++day) {
                const Date date = from.addDays(week * 7 + day);
                const QRectF cell(area.left() + day * cellWidth, area.top() + week * cellHeight, cellWidth, cellHeight);
                m_painter.setPen(QPen(QColor(0xb0, 0xb0, 0xb0), 8));
                m_painter.drawRect(cell);
                const bool inMonth = date.toDate().month() == month;
                m_painter.setPen(inMonth ? Qt::black : QColor(0x90, 0x90, 0x90));
                m_painter.setFont(captionFont);
                const QRectF caption(cell.left() + CellPadding, cell.top() + 20, cell.width() - 2 * CellPadding, 220);
                m_painter.drawText(caption, Qt::AlignLeft | Qt::AlignVCenter,
                                   formatDate(date, QStringLiteral("ddd d mmm")));
                m_painter.setFont(lineFont);
                const std::vector<QString> &day_lines = lines[size_t(week * 7 + day)];
                const int shown = qMax(0, int((cell.height() - 260) / lineHeight));
                const int below = linesBelow(int(day_lines.size()), 0, shown);
                const int drawn = below > 0 ? qMax(0, shown - 1) : int(day_lines.size());
                const QFontMetricsF metrics(lineFont, &m_device);
                for (int i = 0; i < drawn && i < int(day_lines.size()); ++i)
                    m_painter.drawText(QPointF(caption.left(), caption.bottom() + 40 + (i + 1) * lineHeight - metrics.descent()),
                                       metrics.elidedText(day_lines[size_t(i)], Qt::ElideRight, caption.width()));
                if (below > 0)
                    m_painter.drawText(QPointF(caption.left(), caption.bottom() + 40 + (drawn + 1) * lineHeight - metrics.descent()),
                                       m_options.modern ? QStringLiteral("+%1 more").arg(int(day_lines.size()) - drawn)
                                                        : QStringLiteral("+%1").arg(int(day_lines.size()) - drawn));
            }
        }
    }

    void printToDos()
    {
        auto todos = m_data.ToDoS();
        std::vector<std::shared_ptr<ToDo>> records;
        std::vector<qint16> priorities;
        for (const auto &todo : *todos) {
            if (!m_options.showDoneToDos && todo->Done)
                continue;
            records.push_back(todo);
            priorities.push_back(todo->Priority);
        }
        const std::vector<int> order = todoRowOrder(priorities);

        const QString heading = m_language.text(Text::ToDo);
        const QFont font = paperFont(9);
        const double rowHeight = QFontMetricsF(font, &m_device).lineSpacing() + 80;
        const double columns[] = {0, 500, 2600, 0}; // priority, project, description; due date at the right
        const double dueWidth = 1900;
        auto drawColumnHeading = [&](double y) {
            m_painter.setFont(paperFont(9, true));
            m_painter.setPen(Qt::black);
            m_painter.drawText(QRectF(columns[0], y, 480, rowHeight), Qt::AlignVCenter, m_language.text(Text::PriorityShort));
            m_painter.drawText(QRectF(columns[1], y, 2000, rowHeight), Qt::AlignVCenter, m_language.text(Text::Project));
            m_painter.drawText(QRectF(columns[2], y, m_width - columns[2] - dueWidth, rowHeight), Qt::AlignVCenter,
                               m_language.text(Text::ToDo));
            m_painter.drawText(QRectF(m_width - dueWidth, y, dueWidth, rowHeight), Qt::AlignVCenter, m_language.text(Text::DueTo));
            m_painter.setPen(QPen(Qt::black, 10));
            m_painter.drawLine(QPointF(0, y + rowHeight), QPointF(m_width, y + rowHeight));
            return y + rowHeight;
        };

        startPage(heading);
        double y = drawColumnHeading(contentRect().top());
        const double bottom = contentRect().bottom();
        for (const int index : order) {
            if (y + rowHeight > bottom) {
                startPage(heading);
                y = drawColumnHeading(contentRect().top());
            }
            const ToDo &todo = *records[size_t(index)];
            m_painter.setFont(font);
            m_painter.setPen(todo.Done ? QColor(0x80, 0x80, 0x80) : QColor(Qt::black));
            const QFontMetricsF metrics(font, &m_device);
            m_painter.drawText(QRectF(columns[0], y, 480, rowHeight), Qt::AlignVCenter, QString::number(todo.Priority));
            m_painter.drawText(QRectF(columns[1], y, 2000, rowHeight), Qt::AlignVCenter,
                               metrics.elidedText(todo.Project, Qt::ElideRight, 2000));
            const double descriptionWidth = m_width - columns[2] - dueWidth - 100;
            m_painter.drawText(QRectF(columns[2], y, descriptionWidth, rowHeight), Qt::AlignVCenter,
                               metrics.elidedText(todo.ShortDesc, Qt::ElideRight, descriptionWidth));
            QString due;
            if (!todo.DueTo.isEmpty() && todo.DueTo.isValid())
                due = formatDate(todo.DueTo, m_options.dateFormat + QStringLiteral(" hh:mm"));
            m_painter.drawText(QRectF(m_width - dueWidth, y, dueWidth, rowHeight), Qt::AlignVCenter, due);
            m_painter.setPen(QPen(QColor(0xd0, 0xd0, 0xd0), 8));
            m_painter.drawLine(QPointF(0, y + rowHeight), QPointF(m_width, y + rowHeight));
            y += rowHeight;
        }
    }

    QPagedPaintDevice &m_device;
    DayvexData &m_data;
    const PrintOptions &m_options;
    QPainter m_painter;
    const LanguageTable &m_language;
    double m_width = 0;
    double m_height = 0;
    int m_pages = 0;
};

} // namespace

int printAgenda(QPagedPaintDevice &device, DayvexData &data, const PrintOptions &options)
{
    return printAgenda(device, data, options, sharedLanguage());
}

int printAgenda(QPagedPaintDevice &device, DayvexData &data, const PrintOptions &options,
                const LanguageTable &language)
{
    return PagePainter(device, data, options, language).print();
}

} // namespace dayvex
