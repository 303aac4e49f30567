#include "agendagrid.h"

#include <dayvex/control/twips.h>
#include <dayvex/platform/color.h>
#include <dayvex/platform/format.h>

#include <QHeaderView>
#include <QListWidget>
#include <QScrollBar>

namespace dayvex {

namespace {
constexpr double TimeColumnWidth = 400;
constexpr int MonthRows = 12;
constexpr int GridColumns = 9;
// The placer's edge allowance: boxes stand 30 twips inside the grid's outer edge,
// which the viewport already leaves out.
constexpr double GridEdge = 30;
} // namespace

AgendaGrid::AgendaGrid(QWidget *parent)
    : ViewGrid(0, 3, parent)
{
    setObjectName(QStringLiteral("Lista"));
    verticalHeader()->hide();
    horizontalHeader()->hide();
    horizontalHeader()->setMinimumSectionSize(0);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setDefaultAlignment(Qt::AlignCenter);
    horizontalHeader()->setHighlightSections(false);
    verticalHeader()->setMinimumSectionSize(0);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    horizontalHeader()->setFixedHeight(verticalHeader()->defaultSectionSize());
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    // The hour figures are large for their narrow column: clip rather than elide them.
    setTextElideMode(Qt::ElideNone);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
}

void AgendaGrid::setTwipsWidth(int column, double twips)
{
    setColumnWidth(column, qMax(0, TwipsScale::of(this).toPixels(twips)));
}

void AgendaGrid::setDayColumns(double dayColumn)
{
    setColumnCount(3);
    setColumnHidden(0, false);
    setColumnHidden(1, false);
    setTwipsWidth(2, dayColumn);
}

void AgendaGrid::setWeekColumns(qint32 dayColumn)
{
    setColumnCount(GridColumns);
    setColumnHidden(0, false);
    setColumnHidden(1, false);
    for (int column = 2; column < GridColumns; ++column)
        setTwipsWidth(column, dayColumn);
}

void AgendaGrid::setMonthLayout(double gridWidth, double gridHeight)
{
    setHeadingRow(false);
    clearSpans();
    setRowCount(0);
    setRowCount(MonthRows);
    setColumnCount(GridColumns);
    setColumnHidden(0, true);
    setColumnHidden(1, true);
    for (int column = 2; column < GridColumns; ++column)
        setTwipsWidth(column, qint32((gridWidth - 100) / 7));

    const TwipsScale scale = TwipsScale::of(this);
    const MonthRowHeights heights = monthRowHeights(gridHeight, scale.toTwips(verticalHeader()->defaultSectionSize()));
    for (int row = 0; row < MonthRows; ++row)
        setRowHeight(row, qMax(0, scale.toPixels(row % 2 == 0 ? heights.dateRow : heights.listRow)));
}

bool AgendaGrid::hasHeadingRow() const
{
    return !horizontalHeader()->isHidden();
}

void AgendaGrid::setHeadingRow(bool on)
{
    horizontalHeader()->setVisible(on);
}

void AgendaGrid::setWeekHeading(const QStringList &days)
{
    QStringList labels{QStringLiteral(" "), QStringLiteral(" ")};
    labels << days;
    setHorizontalHeaderLabels(labels);
}

void AgendaGrid::setTimeRows(const std::vector<SlotLabel> &labels)
{
    clearSpans();
    setRowCount(0);
    setTwipsWidth(0, TimeColumnWidth);
    setTwipsWidth(1, TimeColumnWidth);
    setRowCount(int(labels.size()));

    QFont hourFont = font();
    hourFont.setPointSize(14);
    for (int row = 0; row < rowCount(); ++row) {
        auto *hour = new QTableWidgetItem(labels[size_t(row)].hour);
        hour->setFont(hourFont);
        hour->setTextAlignment(Qt::AlignHCenter | Qt::AlignTop);
        setItem(row, 0, hour);
        auto *minutes = new QTableWidgetItem(labels[size_t(row)].minutes);
        minutes->setTextAlignment(Qt::AlignCenter);
        setItem(row, 1, minutes);
    }
    for (const RowRun &run : hourRuns(labels))
        setSpan(run.first, 0, run.count, 1);
}

bool AgendaGrid::showMonthDates(Date from, Date shown)
{
    static const QString cellFormat = QStringLiteral("ddd d mmm");
    const QTableWidgetItem *first = item(0, 2);
    if (first && first->text() == formatDate(from, cellFormat))
        return false;

    const QString shownMonth = formatDate(shown, QStringLiteral("mmmm"));
    const QColor face = oleColor(SystemColor::ButtonFace, palette());
    const QColor inMonth = oleColor(SystemColor::ButtonText, palette());
    const QColor otherMonth = oleColor(SystemColor::GrayText, palette());
    for (int row = 0; row < qMin(rowCount(), MonthRows); row += 2) {
        for (int column = 2; column < qMin(columnCount(), GridColumns); ++column) {
            const Date day = from.addDays((row / 2) * 7 + (column - 2));
            auto *cell = new QTableWidgetItem(formatDate(day, cellFormat));
            cell->setBackground(face);
            cell->setForeground(formatDate(day, QStringLiteral("mmmm")) == shownMonth ? inMonth : otherMonth);
            setItem(row, column, cell);
        }
    }
    return true;
}

AppointmentBox *AgendaGrid::boxAt(int index)
{
    if (size_t(index) == m_boxes.size()) {
        auto *box = new AppointmentBox(viewport());
        box->hide();
        m_boxes.push_back(box);
        emit boxCreated(box);
    }
    return m_boxes[size_t(index)];
}

AgendaGrid::DayList &AgendaGrid::dayListAt(int index)
{
    if (size_t(index) == m_lists.size()) {
        auto *list = new QListWidget(viewport());
        list->setObjectName(QStringLiteral("lstApp"));
        list->setFrameShape(QFrame::NoFrame);
        list->setFont(AppointmentBox::boxFont());
        list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        list->hide();
        m_lists.push_back({list, Date(), {}});
        emit dayListCreated(list);
    }
    return m_lists[size_t(index)];
}

void AgendaGrid::clearItems()
{
    for (int i = 0; i < m_boxCount; ++i)
        m_boxes[size_t(i)]->hide();
    for (int i = 0; i < m_listCount; ++i)
        m_lists[size_t(i)].list->hide();
    m_boxCount = 0;
    m_listCount = 0;
}

void AgendaGrid::showBoxes(const std::vector<AgendaEntry> &entries)
{
    for (int i = 0; i < m_listCount; ++i)
        m_lists[size_t(i)].list->hide();
    m_listCount = 0;
    const int count = int(entries.size());
    for (int i = count; i < m_boxCount; ++i)
        m_boxes[size_t(i)]->hide();
    for (int i = 0; i < count; ++i)
        boxAt(i)->setEntry(entries[size_t(i)]);
    m_boxCount = count;
}

void AgendaGrid::showDayLists(const std::vector<AgendaEntry> &entries)
{
    clearItems();
    int current = -1;
    for (const AgendaEntry &entry : entries) {
        // A list per day: the next one begins with the first appointment of a later day.
        if (current < 0 || m_lists[size_t(current)].day < entry.start.datePart()) {
            DayList &day = dayListAt(++current);
            day.day = entry.start.datePart();
            day.entries.clear();
            day.list->clear();
        }
        DayList &day = m_lists[size_t(current)];
        day.entries.push_back(entry);
        auto *line = new QListWidgetItem(entry.line, day.list);
        if (entry.color != 0)
            line->setBackground(oleColor(quint32(entry.color), palette()));
    }
    m_listCount = current + 1;
}

GridGeometry AgendaGrid::boxGeometry(bool week) const
{
    const TwipsScale scale = TwipsScale::of(this);
    GridGeometry g;
    const double heading = week ? scale.toTwips(horizontalHeader()->height()) : 0;
    g.left = -GridEdge;
    g.top = -GridEdge - heading;
    g.height = scale.toTwips(viewport()->height()) + 2 * GridEdge + heading;
    g.rowHeight = scale.toTwips(rowCount() > 0 ? rowHeight(0) : verticalHeader()->defaultSectionSize());
    g.topRow = qMax(0, rowAt(0)) + (week ? 1 : 0);
    for (int column = 0; column < qMin(columnCount(), GridColumns); ++column) {
        g.colPos[size_t(column)] = scale.toTwips(columnViewportPosition(column));
        g.colWidth[size_t(column)] = scale.toTwips(columnWidth(column));
    }
    g.week = week;
    return g;
}

void AgendaGrid::placeBoxes(bool week, Date dayStart, qint16 step)
{
    GridGeometry g = boxGeometry(week);
    g.dayStart = dayStart;
    g.step = step;
    std::vector<BoxInput> inputs;
    inputs.reserve(size_t(m_boxCount));
    for (int i = 0; i < m_boxCount; ++i) {
        const AgendaEntry &entry = m_boxes[size_t(i)]->entry();
        inputs.push_back({entry.times, week ? weekdayFromMonday(entry.start) - 1 : 0});
    }
    const std::vector<BoxPlacement> placed = dayvex::placeBoxes(inputs, g);

    const TwipsScale scale = TwipsScale::of(this);
    viewport()->setUpdatesEnabled(false);
    for (int i = 0; i < m_boxCount; ++i) {
        AppointmentBox *box = m_boxes[size_t(i)];
        const BoxPlacement &p = placed[size_t(i)];
        if (!p.visible) {
            box->hide();
            continue;
        }
        box->setGeometry(scale.toPixels(p.left), scale.toPixels(p.top), scale.toPixels(p.width),
                         scale.toPixels(p.height));
        box->show();
        box->raise();
    }
    viewport()->setUpdatesEnabled(true);
}

void AgendaGrid::placeDayLists(Date from)
{
    for (int i = 0; i < m_listCount; ++i) {
        const DayList &day = m_lists[size_t(i)];
        day.list->hide();
        const MonthCell cell = monthCellOf(day.day, from);
        const int row = cell.week * 2 + 1;
        if (cell.week < 0 || row >= rowCount() || cell.column >= columnCount())
            continue;
        day.list->setGeometry(QRect(columnViewportPosition(cell.column), rowViewportPosition(row),
                                    columnWidth(cell.column), rowHeight(row)).adjusted(1, 0, -1, -1));
        day.list->show();
        day.list->raise();
    }
}

} // namespace dayvex
