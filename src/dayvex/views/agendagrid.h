#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/views/appointmentbox.h>
#include <dayvex/views/daylist.h>
#include <dayvex/layout/dragging.h>
#include <dayvex/layout/modernlayout.h>
#include <dayvex/layout/timegrid.h>
#include <dayvex/views/viewgrid.h>

#include <QPersistentModelIndex>
#include <QPointer>
#include <QStandardItemModel>

#include <optional>
#include <vector>

namespace dayvex {

// The grid of the day, week and month views. In the day and week views its rows
// are time slots and its columns 0 and 1 the hour and minutes; the week view's
// fixed heading row is the horizontal header. In the month view rows 0, 2 ... 10
// carry the dates of six weeks and the odd rows the days' appointment lists.
// Appointment boxes and day lists are children of the viewport, placed over the
// cells; they are pooled, so a redraw reuses the widgets of the last one.
class AgendaGrid : public ViewGrid
{
    Q_OBJECT
public:
    explicit AgendaGrid(QWidget *parent = nullptr);

    // The cells, as a table of items.
    using ViewGrid::rowCount;
    using ViewGrid::columnCount;
    void setRowCount(int rows) { m_cells->setRowCount(rows); }
    void setColumnCount(int columns) { m_cells->setColumnCount(columns); }
    QStandardItem *item(int row, int column) const { return m_cells->item(row, column); }
    void setItem(int row, int column, QStandardItem *item) { m_cells->setItem(row, column, item); }
    QStandardItem *horizontalHeaderItem(int column) const { return m_cells->horizontalHeaderItem(column); }

    // Column layouts, widths in twips.
    void setDayColumns(double dayColumn);
    void setWeekColumns(qint32 dayColumn);
    // 12 rows and 9 columns; the time columns hidden, the days sharing the width.
    void setMonthLayout(double gridWidth, double gridHeight);

    // The fixed heading row of the week view.
    bool hasHeadingRow() const;
    void setHeadingRow(bool on);
    void setWeekHeading(const QStringList &days);

    // Rebuilds the time rows, one per label.
    void setTimeRows(const std::vector<SlotLabel> &labels);
    // What a screen reader hears of a cell: a slot's day and time and the
    // appointments on it, a month date with its count of appointments.
    QString cellDescription(int row, int column) const;
    // What a row's time columns show; empty texts for a row without them.
    SlotLabel rowLabel(int row) const;
    // The first and last rows selected in the current column (Modern's Shift+Up
    // and Shift+Down extend the selection); the current row alone otherwise.
    std::pair<int, int> selectedSlotRows() const;

    // Writes the date cells of the month from from on, greying the days whose
    // month name differs from shown's. Does nothing when the first cell already
    // shows from. Returns whether the cells were written.
    bool showMonthDates(Date from, Date shown);
    // The date of a month view's date cell; none for any other cell.
    std::optional<Date> monthCellDate(int row, int column) const;
    // The day of a month view's cell, its date cell or the list below it; none elsewhere.
    std::optional<Date> monthDayAt(int row, int column) const;

    // Replaces the boxes (day and week views) or the day lists (month view) of
    // the last drawing. Entries are expected in order of start.
    void showBoxes(const std::vector<AgendaEntry> &entries);
    // days, when given, names the day of each entry (entries in order of those
    // days); otherwise each goes to its start's day.
    void showDayLists(std::vector<AgendaEntry> entries, const std::vector<Date> &days = {});
    // Hides every box and list.
    void clearItems();

    // Places the boxes of the day or week view from the rows of their times, or
    // the lists of the month view (from: the date of the first cell).
    void placeBoxes(bool week, Date dayStart, qint16 step);
    void placeDayLists(Date from);

    // The days in the day columns, from column 2 on (one in the day view, seven
    // in the week view; none in the month view, whose cells know their dates).
    void setColumnDays(Date first, int days);
    // Marks today's column, heading and month cell, and draws the line of the
    // current time across today's column; none when today is not on show.
    void showNow(Date now, Date dayStart, qint16 step);
    // Today's day column, or -1.
    int todayColumn() const { return m_todayColumn; }
    Date today() const { return m_today; }
    // The line of the current time, in viewport pixels; null when not shown.
    QRect nowLine() const;

    // What is on show, in drawing order.
    int boxCount() const { return m_boxCount; }
    AppointmentBox *box(int index) const { return m_boxes[size_t(index)]; }
    int dayListCount() const { return m_listCount; }
    DayList *dayList(int index) const { return m_lists[size_t(index)].list; }
    Date dayListDate(int index) const { return m_lists[size_t(index)].day; }
    const std::vector<AgendaEntry> &dayListEntries(int index) const { return m_lists[size_t(index)].list->entries(); }

    // The day and week grid as a dragging pointer sees it, in viewport pixels.
    DragGrid dragGrid() const;
    // DragEditing: a drag over empty slots of one day selects them all, and
    // slotsDragged() follows on release; Esc or leaving bounds cancels it.
    void setDragEditing(bool on, QWidget *bounds);

    // The geometry of the grid as the box placer sees it, in viewport twips.
    GridGeometry boxGeometry(bool week) const;

    // The Modern presentation of the day and week views: rows from 00:00, a box
    // per day segment beside (never over) the others, the off-hours shaded.
    void setModern(bool on);
    bool isModern() const { return m_modern; }
    // Replaces the boxes by one per segment, showing the entry of its appointment.
    void showSegments(const std::vector<AgendaEntry> &entries, std::vector<DaySegment> segments);
    // Places the segments' boxes on rows of step minutes from 00:00; the minutes
    // outside workStart .. workEnd are shaded as off-hours.
    void placeSegments(qint16 step, int workStart, int workEnd);
    // Row heights that let the working rows fill the viewport, down to what a line of text needs.
    void stretchRows(int workRows);
    // The shown box over the middle of a cell, as the keyboard finds the appointment at the current cell.
    AppointmentBox *boxAtCell(int row, int column) const;
    // The "+N" markers of the last placing: where each stands and how many boxes it stands for.
    struct Marker
    {
        QRect rect;
        int count = 0;
        Date day;
    };
    // The day of the "+N" marker under pos, in viewport pixels.
    std::optional<Date> markerDayAt(const QPoint &pos) const;
    const std::vector<Marker> &overflowMarkers() const { return m_markers; }

    // Modern: the appointments that cover whole days, as bars in a strip between
    // the day headings and the time rows; none hides the strip. The strip shows
    // AllDayRows rows, then "+N" per day; a click on a "+N" opens it to all its
    // rows (up to half the grid), and a click on its toggle closes it again.
    static constexpr int AllDayRows = 3;
    void showAllDay(const std::vector<AgendaEntry> &entries);
    QWidget *allDayStrip() const { return m_strip; }
    int allDayBarCount() const { return m_barCount; }
    AppointmentBox *allDayBar(int index) const { return m_bars[size_t(index)]; }
    const AllDayLayout &allDayLayout() const { return m_allDay; }

signals:
    void boxCreated(dayvex::AppointmentBox *box);
    void dayListCreated(dayvex::DayList *list);
    // The grid has its new size and its viewport too: what stands on the cells must be placed again.
    void viewportResized();
    // The keyboard moved the current cell.
    void keyboardMoved();
    // Enter or Delete on the current cell, and Ctrl+Down or Ctrl+Up (direction 1
    // or -1) for the next or previous appointment in time.
    void cellKeyPressed(int key);
    void appointmentStepped(int direction);
    // DragEditing: slots of one day were dragged over; they are the selection.
    void slotsDragged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void skipTimeLabels(const QModelIndex &before);
    struct Day
    {
        DayList *list = nullptr;
        Date day;
    };

    AppointmentBox *boxAt(int index);
    void extendSlots(int direction);
    void selectSlots(int anchor, int row);
    void endSlotDrag(bool cancelled);
    Day &dayListAt(int index);
    void markTodayHeading();
    bool showsTimeRows(const std::vector<SlotLabel> &labels) const;
    void setTwipsWidth(int column, double twips);
    void placeAllDay();
    // Modern: the headings shortened to the day's number when a column is too narrow for them.
    void fitHeadings();
    void paintAllDay(QPainter &painter, const QRect &rect);
    void allDayClicked(const QPoint &pos);

    QStandardItemModel *m_cells;
    std::vector<AppointmentBox *> m_boxes;
    int m_boxCount = 0;
    std::vector<Day> m_lists;
    int m_listCount = 0;

    Date m_firstDay;
    int m_days = 0;
    Date m_today;
    int m_todayColumn = -1;
    QWidget *m_nowLine = nullptr;
    bool m_modern = false;
    std::vector<DaySegment> m_segments;
    std::vector<Marker> m_markers;
    int m_workStart = 0;
    int m_workEnd = 1440;
    qint16 m_step = 30;
    int m_firstMinute = 0; // at the first time row's top

    bool m_dragEditing = false;
    QPointer<QWidget> m_dragBounds;
    QPersistentModelIndex m_slotPress; // where a drag over slots started
    bool m_slotDragging = false;

    int m_headingHeight = 0;
    QStringList m_headings;
    bool m_shortHeadings = false;
    QWidget *m_strip = nullptr;
    std::vector<AppointmentBox *> m_bars;
    int m_barCount = 0;
    AllDayLayout m_allDay;
    bool m_stripExpanded = false;
    bool m_stripShown = false;
    // In strip pixels: the "+N" of each day with hidden bars, and the toggle.
    std::vector<std::pair<QRect, int>> m_stripMarkers;
    QRect m_stripToggle;
};

} // namespace dayvex
