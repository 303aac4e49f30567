#include "agendagrid.h"

#include <dayvex/platform/twips.h>
#include <dayvex/platform/color.h>
#include <dayvex/platform/format.h>

#include <dayvex/views/cachedtextdelegate.h>
#include <dayvex/layout/textfit.h>

#include <QHeaderView>
#include <QStyleOptionHeader>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QContextMenuEvent>
#include <QCursor>
#include <QKeyEvent>
#include <QLocale>
#include <QPainter>
#include <QScopeGuard>
#include <QScrollBar>
#include <QStyledItemDelegate>

#include <functional>
#include <map>

namespace dayvex {

namespace {
constexpr double TimeColumnWidth = 400;
constexpr int MonthRows = 12;
constexpr int GridColumns = 9;
// The date of a month view's date cell.
constexpr int CellDateRole = Qt::UserRole + 1;
// The month cell caption as the design has it, then shorter forms for narrow cells.
const QStringList MonthCaptionFormats{QStringLiteral("ddd d mmm"), QStringLiteral("d mmm"), QStringLiteral("ddd d"),
                                      QStringLiteral("d")};

QColor todayTint(const QPalette &palette)
{
    QColor tint = palette.color(QPalette::Highlight);
    tint.setAlpha(28);
    return tint;
}

// Month captions cut to the shortest form that fits, and the marks of today.
class AgendaCellDelegate : public CachedTextDelegate
{
public:
    explicit AgendaCellDelegate(AgendaGrid *grid)
        : CachedTextDelegate(grid)
        , m_grid(grid)
    {
    }

    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        if (index.column() == m_grid->todayColumn())
            painter->fillRect(option.rect, todayTint(option.palette));
        CachedTextDelegate::paint(painter, option, index);
        if (isToday(index)) {
            painter->save();
            painter->setPen(QPen(option.palette.color(QPalette::Highlight), 2));
            painter->drawRect(QRectF(option.rect).adjusted(1, 1, -1, -1));
            painter->restore();
        }
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        const QVariant date = index.data(CellDateRole);
        if (!date.isValid())
            return;
        if (isToday(index))
            option->font.setBold(true);
        const double room = option->rect.width() - 2 * (m_grid->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1);
        option->text = formatDate(Date(date.toDouble()), captionFormat(option->font, room));
    }

private:
    // One caption form for the whole month, the longest in which every date fits
    // (in bold, as today is shown), so that the cells read alike.
    QString captionFormat(QFont font, double room) const
    {
        const QVariant first = m_grid->model()->index(0, 2).data(CellDateRole);
        if (room == m_formatRoom && first == m_formatFirst)
            return m_format;
        font.setBold(true);
        const QFontMetricsF metrics(font);
        std::vector<QStringList> forms;
        for (int row = 0; row < m_grid->rowCount(); row += 2) {
            for (int column = 2; column < m_grid->columnCount(); ++column) {
                const QVariant date = m_grid->model()->index(row, column).data(CellDateRole);
                if (!date.isValid())
                    continue;
                QStringList texts;
                for (const QString &format : MonthCaptionFormats)
                    texts << formatDate(Date(date.toDouble()), format);
                forms.push_back(texts);
            }
        }
        const int form = firstFormThatFitsAll(forms, room, [&metrics](const QString &text) {
            return metrics.horizontalAdvance(text);
        });
        m_formatRoom = room;
        m_formatFirst = first;
        m_format = MonthCaptionFormats[form];
        return m_format;
    }

    mutable double m_formatRoom = -1;
    mutable QVariant m_formatFirst;
    mutable QString m_format;

    bool isToday(const QModelIndex &index) const
    {
        const QVariant date = index.data(CellDateRole);
        return date.isValid() && Date(date.toDouble()) == m_grid->today();
    }

    AgendaGrid *m_grid;
};

// The cells, which tell a screen reader the slot's time and day or the date's day and appointments.
class AgendaCells : public QStandardItemModel
{
public:
    AgendaCells(int rows, int columns, AgendaGrid *grid)
        : QStandardItemModel(rows, columns, grid)
        , m_grid(grid)
    {
    }
    QVariant data(const QModelIndex &index, int role) const override
    {
        if (role == Qt::AccessibleTextRole && index.isValid())
            return m_grid->cellDescription(index.row(), index.column());
        return QStandardItemModel::data(index, role);
    }

private:
    AgendaGrid *m_grid;
};

// The all-day strip: a surface whose drawing and clicks the grid handles, as it does its boxes'.
class AllDayStrip : public QWidget
{
public:
    AllDayStrip(QWidget *parent, std::function<void(QPainter &, const QRect &)> paint,
                std::function<void(const QPoint &)> clicked)
        : QWidget(parent)
        , m_paint(std::move(paint))
        , m_clicked(std::move(clicked))
    {
        setObjectName(QStringLiteral("allDayStrip"));
    }

protected:
    void paintEvent(QPaintEvent *event) override
    {
        QPainter painter(this);
        m_paint(painter, event->rect());
    }
    void mouseReleaseEvent(QMouseEvent *event) override
    {
        if (event->button() == Qt::LeftButton)
            m_clicked(event->position().toPoint());
    }

private:
    std::function<void(QPainter &, const QRect &)> m_paint;
    std::function<void(const QPoint &)> m_clicked;
};
// Paints the first count boxes that are shown and meet area, each at its place.
void paintBoxes(QPainter &painter, const QRect &area, const std::vector<AppointmentBox *> &boxes, int count)
{
    for (int i = 0; i < count; ++i) {
        AppointmentBox *box = boxes[size_t(i)];
        if (box->isHidden() || !area.intersects(box->geometry()))
            continue;
        painter.save();
        painter.translate(box->pos());
        painter.setFont(box->font());
        box->paintBox(painter);
        painter.restore();
    }
}
// The day headings, each painted in its own text colour (today's stands out).
// Qt paints a section with a copy of the header's palette that the colour is set
// in, and the style keeps the section's picture in the pixmap cache under that
// palette: a new copy per paint would add pictures to the cache at every redraw,
// until it pushes out everything else. One palette per colour is kept instead, so
// that a section painted again finds its picture.
class HeadingHeader : public QHeaderView
{
public:
    using QHeaderView::QHeaderView;

protected:
    void initStyleOptionForIndex(QStyleOptionHeader *option, int logicalIndex) const override
    {
        QHeaderView::initStyleOptionForIndex(option, logicalIndex);
        const QPalette &own = palette();
        const QBrush text = option->palette.brush(QPalette::ButtonText);
        if (text.style() != Qt::SolidPattern || option->palette.brush(QPalette::Button) != own.brush(QPalette::Button)
            || option->palette.brush(QPalette::Window) != own.brush(QPalette::Window))
            return;
        if (m_paletteKey != own.cacheKey()) {
            m_palettes.clear();
            m_paletteKey = own.cacheKey();
        }
        const QRgb colour = text.color().rgba();
        auto kept = m_palettes.find(colour);
        if (kept == m_palettes.end()) {
            QPalette withText = own;
            withText.setBrush(QPalette::ButtonText, text);
            kept = m_palettes.emplace(colour, withText).first;
        }
        option->palette = kept->second;
    }

private:
    mutable std::map<QRgb, QPalette> m_palettes;
    mutable qint64 m_paletteKey = 0;
};

} // namespace

AgendaGrid::AgendaGrid(QWidget *parent)
    : ViewGrid(parent)
    , m_cells(new AgendaCells(0, 3, this))
{
    setObjectName(QStringLiteral("Lista"));
    setHorizontalHeader(new HeadingHeader(Qt::Horizontal, this));
    horizontalHeader()->setSectionsClickable(true); // as the header a table makes for itself
    setModel(m_cells);
    verticalHeader()->hide();
    horizontalHeader()->hide();
    horizontalHeader()->setMinimumSectionSize(0);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    horizontalHeader()->setDefaultAlignment(Qt::AlignCenter);
    horizontalHeader()->setHighlightSections(false);
    verticalHeader()->setMinimumSectionSize(0);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    m_headingHeight = verticalHeader()->defaultSectionSize();
    horizontalHeader()->setFixedHeight(m_headingHeight);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setVerticalScrollMode(QAbstractItemView::ScrollPerItem);
    // The hour figures are large for their narrow column: clip rather than elide them.
    setTextElideMode(Qt::ElideNone);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setItemDelegate(new AgendaCellDelegate(this));

    m_nowLine = new QWidget(viewport());
    m_nowLine->setObjectName(QStringLiteral("nowLine"));
    m_nowLine->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_nowLine->setAutoFillBackground(true);
    // A child of the viewport would take its Base role, white: the line fills with its own colour.
    m_nowLine->setBackgroundRole(QPalette::Window);
    QPalette red = m_nowLine->palette();
    red.setColor(QPalette::Window, QColor(0xd0, 0x20, 0x20));
    m_nowLine->setPalette(red);
    m_nowLine->hide();

    m_strip = new AllDayStrip(
        this, [this](QPainter &painter, const QRect &rect) { paintAllDay(painter, rect); },
        [this](const QPoint &pos) { allDayClicked(pos); });
    m_strip->hide();
    connect(horizontalScrollBar(), &QScrollBar::valueChanged, this, [this] { placeAllDay(); });
}

void AgendaGrid::keyPressEvent(QKeyEvent *event)
{
    if (m_slotPress.isValid() && event->key() == Qt::Key_Escape) {
        endSlotDrag(true);
        return;
    }
    if (m_modern) {
        if (event->key() == Qt::Key_F10 && event->modifiers() == Qt::ShiftModifier) {
            // The other menu key: what the menu key does.
            QContextMenuEvent menu(QContextMenuEvent::Keyboard, QPoint(), QCursor::pos());
            contextMenuEvent(&menu);
            return;
        }
        if (event->modifiers() == Qt::ShiftModifier && m_days > 0 && currentIndex().isValid()
            && (event->key() == Qt::Key_Down || event->key() == Qt::Key_Up)) {
            extendSlots(event->key() == Qt::Key_Down ? 1 : -1);
            return;
        }
        const bool control = event->modifiers() & Qt::ControlModifier;
        if (control && (event->key() == Qt::Key_Down || event->key() == Qt::Key_Up)) {
            emit appointmentStepped(event->key() == Qt::Key_Down ? 1 : -1);
            return;
        }
        if (!control && currentIndex().isValid()
            && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Delete)) {
            emit cellKeyPressed(event->key());
            return;
        }
    }
    const QModelIndex before = currentIndex();
    ViewGrid::keyPressEvent(event);
    skipTimeLabels(before);
    if (currentIndex() != before)
        emit keyboardMoved();
}

void AgendaGrid::focusInEvent(QFocusEvent *event)
{
    ViewGrid::focusInEvent(event);
    skipTimeLabels(QModelIndex());
}

void AgendaGrid::skipTimeLabels(const QModelIndex &before)
{
    // Modern: the keyboard's cell is a day's slot, never the hour and minute
    // labels; Left from the first day stays on it.
    const QModelIndex at = currentIndex();
    if (!m_modern || m_days <= 0 || !at.isValid() || at.column() >= 2 || columnCount() <= 2)
        return;
    const QModelIndex slot = before.isValid() && before.column() >= 2 ? before : model()->index(at.row(), 2);
    selectionModel()->setCurrentIndex(slot, QItemSelectionModel::ClearAndSelect);
}

std::pair<int, int> AgendaGrid::selectedSlotRows() const
{
    int first = currentRow();
    int last = first;
    if (selectionModel()) {
        for (const QModelIndex &index : selectionModel()->selectedIndexes()) {
            if (index.column() == currentColumn()) {
                first = qMin(first, index.row());
                last = qMax(last, index.row());
            }
        }
    }
    return {first, last};
}

void AgendaGrid::extendSlots(int direction)
{
    // The end away from the current row stays put: the selection grows or shrinks at the current one.
    const auto [first, last] = selectedSlotRows();
    selectSlots(currentRow() == first ? last : first, qBound(0, currentRow() + direction, rowCount() - 1));
}

std::optional<Date> AgendaGrid::monthDayAt(int row, int column) const
{
    if (m_days > 0 || row < 0 || column < 0)
        return std::nullopt;
    std::optional<Date> date = monthCellDate(row, column);
    if (!date && row > 0)
        date = monthCellDate(row - 1, column);
    return date;
}

DragGrid AgendaGrid::dragGrid() const
{
    DragGrid grid;
    grid.firstDay = m_firstDay;
    grid.step = m_step;
    grid.firstMinute = m_firstMinute;
    for (int day = 0; day < m_days && 2 + day < columnCount(); ++day)
        grid.columnLefts.push_back(columnViewportPosition(2 + day));
    if (!grid.columnLefts.empty())
        grid.columnLefts.push_back(columnViewportPosition(1 + m_days) + columnWidth(1 + m_days));
    if (rowCount() > 0) {
        grid.top = rowViewportPosition(0);
        grid.rowHeight = rowHeight(0);
        grid.rows = rowCount();
    }
    return grid;
}

void AgendaGrid::setDragEditing(bool on, QWidget *bounds)
{
    m_dragEditing = on;
    m_dragBounds = bounds;
}

void AgendaGrid::selectSlots(int anchor, int row)
{
    const QModelIndex current = model()->index(row, currentColumn());
    selectionModel()->setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    selectionModel()->select(QItemSelection(model()->index(anchor, current.column()), current),
                             QItemSelectionModel::ClearAndSelect);
    scrollTo(current);
}

void AgendaGrid::mousePressEvent(QMouseEvent *event)
{
    ViewGrid::mousePressEvent(event);
    const QModelIndex pressed = indexAt(event->position().toPoint());
    const bool onSlot = m_dragEditing && m_days > 0 && event->button() == Qt::LeftButton && pressed.column() >= 2;
    m_slotPress = onSlot ? pressed : QModelIndex();
    m_slotDragging = false;
}

void AgendaGrid::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_slotPress.isValid() || !(event->buttons() & Qt::LeftButton)) {
        ViewGrid::mouseMoveEvent(event);
        return;
    }
    if (m_dragBounds && !m_dragBounds->rect().contains(m_dragBounds->mapFromGlobal(event->globalPosition().toPoint()))) {
        endSlotDrag(true);
        return;
    }
    const int row = rowAt(event->position().toPoint().y());
    if (row < 0)
        return;
    m_slotDragging = m_slotDragging || row != m_slotPress.row();
    if (currentColumn() != m_slotPress.column())
        selectionModel()->setCurrentIndex(m_slotPress, QItemSelectionModel::NoUpdate);
    selectSlots(m_slotPress.row(), row);
}

void AgendaGrid::mouseReleaseEvent(QMouseEvent *event)
{
    const bool dragged = m_slotDragging && m_slotPress.isValid();
    m_slotPress = QModelIndex();
    m_slotDragging = false;
    if (dragged)
        emit slotsDragged(); // not a click: the view's own release would narrow the selection to one cell
    else
        ViewGrid::mouseReleaseEvent(event);
}

void AgendaGrid::endSlotDrag(bool cancelled)
{
    if (cancelled && m_slotPress.isValid())
        selectSlots(m_slotPress.row(), m_slotPress.row());
    m_slotPress = QModelIndex();
    m_slotDragging = false;
}

void AgendaGrid::paintEvent(QPaintEvent *event)
{
    ViewGrid::paintEvent(event);
    QPainter painter(viewport());
    if (m_modern && m_days > 0 && rowCount() > 0) {
        // The hours outside the working day, shaded under the boxes of the day columns (the month has none).
        QColor offHours = palette().color(QPalette::WindowText);
        offHours.setAlpha(14);
        const double minute = double(rowHeight(0)) / qMax<qint16>(1, m_step);
        for (int column = 2; column < columnCount(); ++column) {
            const DayColumnGeometry day{columnViewportPosition(column), columnWidth(column),
                                        double(rowViewportPosition(0)), minute};
            if (m_workStart > 0)
                painter.fillRect(segmentRect(day, 0, m_workStart, 0, 1, 1), offHours);
            if (m_workEnd < 1440)
                painter.fillRect(segmentRect(day, m_workEnd, 1440, 0, 1, 1), offHours);
        }
    }
    // The boxes over the cells, in drawing order.
    paintBoxes(painter, event->rect(), m_boxes, m_boxCount);
    for (const Marker &marker : m_markers) {
        if (!event->rect().intersects(marker.rect))
            continue;
        painter.setPen(palette().color(QPalette::Mid));
        painter.setBrush(palette().color(QPalette::Button));
        painter.drawRoundedRect(QRectF(marker.rect).adjusted(1.5, 1.5, -1.5, -1.5), 3, 3);
        painter.setPen(palette().color(QPalette::ButtonText));
        painter.drawText(marker.rect, Qt::AlignHCenter | Qt::AlignTop, QStringLiteral("+%1").arg(marker.count));
    }
}

AppointmentBox *AgendaGrid::boxAtCell(int row, int column) const
{
    const QPoint middle = visualRect(model()->index(row, column)).center();
    for (int i = 0; i < m_boxCount; ++i)
        if (m_boxes[size_t(i)]->isVisible() && m_boxes[size_t(i)]->geometry().contains(middle))
            return m_boxes[size_t(i)];
    return nullptr;
}

std::optional<Date> AgendaGrid::markerDayAt(const QPoint &pos) const
{
    for (const Marker &marker : m_markers)
        if (marker.rect.contains(pos))
            return marker.day;
    return std::nullopt;
}

void AgendaGrid::setModern(bool on)
{
    m_modern = on;
    m_markers.clear();
    // The strip grows under the headings, which keep to their top.
    horizontalHeader()->setDefaultAlignment(on ? Qt::AlignHCenter | Qt::AlignTop : Qt::AlignCenter);
    for (AppointmentBox *bar : m_bars)
        bar->setModern(on);
    for (const Day &day : m_lists)
        day.list->setModern(on);
    if (!on)
        showAllDay({});
    for (AppointmentBox *box : m_boxes)
        box->setModern(on);
    viewport()->update();
}

void AgendaGrid::showSegments(const std::vector<AgendaEntry> &entries, std::vector<DaySegment> segments)
{
    std::vector<AgendaEntry> perSegment;
    perSegment.reserve(segments.size());
    for (const DaySegment &segment : segments)
        perSegment.push_back(entries[size_t(segment.appointment)]);
    showBoxes(perSegment);
    m_segments = std::move(segments);
}

void AgendaGrid::stretchRows(int workRows)
{
    // A line of the box text and a little air, or the working day across the viewport.
    const int least = fontMetrics().height() + 6;
    const int wanted = qMax(least, workRows > 0 ? viewport()->height() / workRows : least);
    if (verticalHeader()->defaultSectionSize() != wanted || (rowCount() > 0 && rowHeight(0) != wanted)) {
        verticalHeader()->setMinimumSectionSize(qMin(least, wanted));
        verticalHeader()->setDefaultSectionSize(wanted);
        for (int row = 0; row < rowCount(); ++row)
            setRowHeight(row, wanted);
    }
}

void AgendaGrid::placeSegments(qint16 step, int workStart, int workEnd)
{
    m_step = qMax<qint16>(1, step);
    m_firstMinute = 0;
    m_workStart = workStart;
    m_workEnd = workEnd;
    m_markers.clear();
    fitHeadings();
    // First the strip: its height moves the viewport that the boxes are placed on.
    placeAllDay();
    if (rowCount() == 0)
        return;
    // Boxes narrower than a few characters tell nothing: such a group shows a "+N".
    const int readable = fontMetrics().averageCharWidth() * 5;
    const double minute = double(rowHeight(0)) / m_step;
    const int count = qMin(m_boxCount, int(m_segments.size()));
    // Each day column gets its own packing, sized to its width.
    std::vector<DaySegment> dayParts;
    std::vector<int> boxOf;
    auto placeDay = [&](int day) {
        const int column = 2 + day;
        if (dayParts.empty() || column >= columnCount())
            return;
        const DayColumnGeometry geometry{columnViewportPosition(column) + 1, columnWidth(column) - 2,
                                         double(rowViewportPosition(0)), minute};
        const ColumnLayout layout = packColumns(dayParts, readableColumns(geometry.width, readable));
        for (size_t i = 0; i < dayParts.size(); ++i) {
            AppointmentBox *box = m_boxes[size_t(boxOf[i])];
            const ColumnPlace &place = layout.places[i];
            if (place.hidden) {
                box->hide();
                continue;
            }
            box->setGeometry(segmentRect(geometry, dayParts[i].startMinute, dayParts[i].endMinute, place.column,
                                         place.span, place.columns));
            box->show();
        }
        for (const OverflowMarker &marker : layout.markers)
            m_markers.push_back({segmentRect(geometry, marker.startMinute, marker.endMinute, marker.column, 1,
                                             marker.columns),
                                 marker.count, m_firstDay.addDays(marker.day)});
    };
    viewport()->setUpdatesEnabled(false);
    for (int i = 0; i < count; ++i) {
        if (!dayParts.empty() && dayParts.front().day != m_segments[size_t(i)].day) {
            placeDay(dayParts.front().day);
            dayParts.clear();
            boxOf.clear();
        }
        dayParts.push_back(m_segments[size_t(i)]);
        boxOf.push_back(i);
    }
    if (!dayParts.empty())
        placeDay(dayParts.front().day);
    for (int i = count; i < m_boxCount; ++i)
        m_boxes[size_t(i)]->hide();
    viewport()->setUpdatesEnabled(true);
}

void AgendaGrid::showAllDay(const std::vector<AgendaEntry> &entries)
{
    const int count = int(entries.size());
    for (int i = 0; i < count; ++i) {
        if (size_t(i) == m_bars.size()) {
            auto *bar = new AppointmentBox(m_strip);
            bar->setObjectName(QStringLiteral("allDayBar"));
            bar->setModern(m_modern);
            m_bars.push_back(bar);
            emit boxCreated(bar);
        }
        m_bars[size_t(i)]->setEntry(entries[size_t(i)]);
    }
    for (int i = count; i < m_barCount; ++i)
        m_bars[size_t(i)]->hide();
    m_barCount = count;
    if (count == 0)
        m_stripExpanded = false;
    placeAllDay();
}

void AgendaGrid::placeAllDay()
{
    m_stripMarkers.clear();
    m_stripToggle = QRect();
    const bool shown = m_modern && m_barCount > 0 && m_days > 0 && hasHeadingRow();
    if (!shown && !m_stripShown)
        return;
    const int barHeight = QFontMetrics(AppointmentBox::boxFont()).height() + 4;
    if (shown) {
        std::vector<DateRange> spans;
        spans.reserve(size_t(m_barCount));
        for (int i = 0; i < m_barCount; ++i)
            spans.push_back({m_bars[size_t(i)]->entry().start, m_bars[size_t(i)]->entry().end});
        const int most = qMax(AllDayRows, height() / 2 / barHeight);
        m_allDay = stackAllDay(spans, m_firstDay, m_days, m_stripExpanded ? most : AllDayRows);
    } else {
        m_allDay = {};
    }
    m_stripShown = shown && m_allDay.rows > 0;
    const int stripHeight = m_stripShown ? m_allDay.rows * barHeight + 3 : 0;
    if (horizontalHeader()->height() != m_headingHeight + stripHeight) {
        horizontalHeader()->setFixedHeight(m_headingHeight + stripHeight);
        updateGeometries();
    }
    if (!m_stripShown) {
        m_strip->hide();
        return;
    }
    const QRect viewportArea = viewport()->geometry();
    m_strip->setGeometry(viewportArea.left(), horizontalHeader()->geometry().top() + m_headingHeight,
                         viewportArea.width(), stripHeight);
    for (int i = 0; i < m_barCount; ++i)
        m_bars[size_t(i)]->hide();
    const auto dayLeft = [this](int day) { return columnViewportPosition(2 + day); };
    const auto dayRight = [this](int day) { return columnViewportPosition(2 + day) + columnWidth(2 + day); };
    for (const AllDayBar &bar : m_allDay.bars) {
        if (bar.hidden || 2 + bar.lastDay >= columnCount())
            continue;
        AppointmentBox *box = m_bars[size_t(bar.appointment)];
        box->setGeometry(QRect(QPoint(dayLeft(bar.firstDay) + 2, 1 + bar.row * barHeight),
                               QPoint(dayRight(bar.lastDay) - 3, (bar.row + 1) * barHeight - 1)));
        box->show();
    }
    const int lastRow = (m_allDay.rows - 1) * barHeight + 1;
    bool anyHidden = false;
    for (size_t day = 0; day < m_allDay.hidden.size() && 2 + int(day) < columnCount(); ++day) {
        if (m_allDay.hidden[day] == 0)
            continue;
        anyHidden = true;
        m_stripMarkers.emplace_back(QRect(dayLeft(int(day)) + 2, lastRow, columnWidth(2 + int(day)) - 5, barHeight - 2),
                                    m_allDay.hidden[day]);
    }
    if (anyHidden || (m_stripExpanded && m_allDay.rows > AllDayRows))
        m_stripToggle = QRect(0, lastRow, qMax(barHeight, dayLeft(0) - 2), barHeight - 2);
    m_strip->show();
    m_strip->update();
}

void AgendaGrid::paintAllDay(QPainter &painter, const QRect &rect)
{
    painter.fillRect(rect, palette().color(QPalette::Base));
    painter.setPen(palette().color(QPalette::Mid));
    for (int day = 0; day < m_days && 2 + day < columnCount(); ++day) {
        const int x = columnViewportPosition(2 + day) - 1;
        painter.drawLine(x, 0, x, m_strip->height());
    }
    painter.drawLine(0, m_strip->height() - 1, m_strip->width(), m_strip->height() - 1);
    paintBoxes(painter, rect, m_bars, m_barCount);
    const auto drawMarker = [&](const QRect &area, const QString &text) {
        painter.setPen(palette().color(QPalette::Mid));
        painter.setBrush(palette().color(QPalette::Button));
        painter.drawRoundedRect(QRectF(area).adjusted(0.5, 0.5, -0.5, -0.5), 3, 3);
        painter.setPen(palette().color(QPalette::ButtonText));
        painter.drawText(area, Qt::AlignCenter, text);
    };
    for (const auto &[area, count] : m_stripMarkers)
        drawMarker(area, QStringLiteral("+%1").arg(count));
    if (!m_stripToggle.isNull())
        drawMarker(m_stripToggle, m_stripExpanded ? QStringLiteral("\u25B4") : QStringLiteral("\u25BE"));
}

void AgendaGrid::allDayClicked(const QPoint &pos)
{
    bool onMarker = m_stripToggle.contains(pos);
    for (const auto &marker : m_stripMarkers)
        onMarker = onMarker || marker.first.contains(pos);
    if (!onMarker)
        return;
    m_stripExpanded = !m_stripExpanded;
    // The new height moves the viewport, whose resize has everything placed again.
    placeAllDay();
}

void AgendaGrid::resizeEvent(QResizeEvent *event)
{
    // A grid resized while hidden gets this event only when it is shown, after
    // its parent's resize has run: placing boxes before then would measure the
    // viewport of the old size.
    ViewGrid::resizeEvent(event);
    emit viewportResized();
}

void AgendaGrid::setTwipsWidth(int column, double twips)
{
    setColumnWidth(column, qMax(0, TwipsScale::of(this).toPixels(twips)));
}

void AgendaGrid::setDayColumns(double dayColumn)
{
    setSelectionMode(QAbstractItemView::SingleSelection);
    setColumnCount(3);
    setColumnHidden(0, false);
    setColumnHidden(1, false);
    setTwipsWidth(2, dayColumn);
}

void AgendaGrid::setWeekColumns(qint32 dayColumn)
{
    setSelectionMode(QAbstractItemView::SingleSelection);
    setColumnCount(GridColumns);
    setColumnHidden(0, false);
    setColumnHidden(1, false);
    for (int column = 2; column < GridColumns; ++column)
        setTwipsWidth(column, dayColumn);
}

void AgendaGrid::setMonthLayout(double gridWidth, double gridHeight)
{
    setHeadingRow(false);
    // A clicked cell moves the date; it is no selection to paint.
    setSelectionMode(QAbstractItemView::NoSelection);
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
    m_headings = days;
    QStringList labels{QStringLiteral(" "), QStringLiteral(" ")};
    labels << days;
    m_cells->setHorizontalHeaderLabels(labels);
    m_shortHeadings = false;
    markTodayHeading();
}

void AgendaGrid::fitHeadings()
{
    if (!m_modern || !hasHeadingRow() || m_headings.isEmpty())
        return;
    // Every heading whole, or every one as its day's number: the row reads alike.
    QFont font = horizontalHeader()->font();
    font.setBold(true);
    const QFontMetrics metrics(font);
    bool fits = true;
    for (int i = 0; i < m_headings.size() && 2 + i < columnCount(); ++i)
        fits = fits && metrics.horizontalAdvance(m_headings[i]) + 6 <= columnWidth(2 + i);
    if (fits != m_shortHeadings)
        return;
    m_shortHeadings = !fits;
    for (int i = 0; i < m_headings.size() && 2 + i < columnCount(); ++i)
        if (QStandardItem *heading = horizontalHeaderItem(2 + i))
            heading->setText(fits ? m_headings[i] : m_headings[i].section(QLatin1Char(' '), -1));
}

void AgendaGrid::markTodayHeading()
{
    if (!hasHeadingRow())
        return;
    for (int column = 2; column < columnCount(); ++column) {
        QStandardItem *heading = horizontalHeaderItem(column);
        if (!heading)
            continue;
        QFont font = heading->font();
        font.setBold(column == m_todayColumn);
        heading->setFont(font);
        heading->setForeground(column == m_todayColumn ? palette().color(QPalette::Highlight)
                                                       : palette().color(QPalette::ButtonText));
    }
}

void AgendaGrid::setColumnDays(Date first, int days)
{
    m_firstDay = first.datePart();
    m_days = days;
}

void AgendaGrid::showNow(Date now, Date dayStart, qint16 step)
{
    m_today = now.datePart();
    const double offset = m_today.value() - m_firstDay.value();
    m_todayColumn = m_days > 0 && offset >= 0 && offset < m_days ? 2 + int(offset) : -1;
    markTodayHeading();
    viewport()->update();

    const TwipsScale scale = TwipsScale::of(this);
    const std::optional<double> y =
        m_todayColumn >= 0 && m_todayColumn < columnCount() && rowCount() > 0
            ? nowLineOffset(now, dayStart, step, rowCount(), scale.toTwips(rowHeight(0)))
            : std::nullopt;
    if (!y) {
        m_nowLine->hide();
        return;
    }
    const int top = rowViewportPosition(0) + scale.toPixels(*y);
    m_nowLine->setGeometry(columnViewportPosition(m_todayColumn), top - 1, columnWidth(m_todayColumn), 2);
    m_nowLine->setVisible(top >= 0 && top < viewport()->height());
    m_nowLine->raise();
}

QRect AgendaGrid::nowLine() const
{
    return m_nowLine->isVisible() ? m_nowLine->geometry() : QRect();
}

bool AgendaGrid::showsTimeRows(const std::vector<SlotLabel> &labels) const
{
    if (labels.empty() || labels.size() != size_t(rowCount()))
        return false;
    for (size_t row = 0; row < labels.size(); ++row) {
        const QStandardItem *hour = item(int(row), 0);
        const QStandardItem *minutes = item(int(row), 1);
        if (!hour || !minutes || hour->text() != labels[row].hour || minutes->text() != labels[row].minutes)
            return false;
    }
    return true;
}

QString AgendaGrid::cellDescription(int row, int column) const
{
    const QLocale locale;
    // A month's list row is read as the date above it.
    if (const std::optional<Date> date = monthDayAt(row, column)) {
        int count = 0;
        for (int i = 0; i < m_listCount; ++i)
            if (m_lists[size_t(i)].day == *date)
                count += m_lists[size_t(i)].list->count();
        return tr("%1, %2").arg(locale.toString(date->toDate(), QStringLiteral("dddd d MMMM yyyy")),
                                count == 1 ? tr("1 appointment") : tr("%1 appointments").arg(count));
    }
    const SlotLabel label = rowLabel(row);
    if (label.hour.isEmpty() && label.minutes.isEmpty())
        return item(row, column) ? item(row, column)->text() : QString();
    const QString time = label.hour.rightJustified(2, QLatin1Char('0')) + QLatin1Char(':')
                         + (label.minutes.isEmpty() ? QStringLiteral("00") : label.minutes);
    if (column < 2 || m_days <= 0 || !m_firstDay.isValid())
        return time;
    // The slot, then what stands on it: a reader walking the cells hears the appointments too.
    QStringList parts{locale.toString(m_firstDay.addDays(column - 2).toDate(), QStringLiteral("dddd d MMMM")), time};
    const QRect cell = visualRect(model()->index(row, column));
    for (int i = 0; i < m_boxCount; ++i)
        if (m_boxes[size_t(i)]->isVisible() && m_boxes[size_t(i)]->geometry().intersects(cell))
            parts << m_boxes[size_t(i)]->accessibleText();
    return parts.join(QStringLiteral(", "));
}

SlotLabel AgendaGrid::rowLabel(int row) const
{
    const auto cell = [this, row](int column) {
        const QStandardItem *item = row >= 0 ? this->item(row, column) : nullptr;
        return item ? item->text() : QString();
    };
    return {cell(0), cell(1)};
}

void AgendaGrid::setTimeRows(const std::vector<SlotLabel> &labels)
{
    setTwipsWidth(0, TimeColumnWidth);
    setTwipsWidth(1, TimeColumnWidth);
    // Rows with the same labels stay: new ones would be laid out and their
    // texts shaped again. The selection goes either way; Modern keeps the
    // keyboard's place, or the next arrow would start again from midnight.
    const QModelIndex current = currentIndex();
    const auto keepPlace = qScopeGuard([this, current] {
        if (m_modern && current.isValid() && current.row() < rowCount() && current.column() < columnCount())
            selectionModel()->setCurrentIndex(model()->index(current.row(), current.column()),
                                              QItemSelectionModel::NoUpdate);
    });
    if (showsTimeRows(labels)) {
        selectionModel()->clear();
        return;
    }
    clearSpans();
    setRowCount(0);
    setRowCount(int(labels.size()));

    QFont hourFont = font();
    hourFont.setPointSize(14);
    for (int row = 0; row < rowCount(); ++row) {
        // The time columns label the rows; a click there selects nothing.
        auto *hour = new QStandardItem(labels[size_t(row)].hour);
        hour->setFont(hourFont);
        hour->setTextAlignment(Qt::AlignHCenter | Qt::AlignTop);
        hour->setFlags(Qt::ItemIsEnabled);
        setItem(row, 0, hour);
        auto *minutes = new QStandardItem(labels[size_t(row)].minutes);
        minutes->setTextAlignment(Qt::AlignCenter);
        minutes->setFlags(Qt::ItemIsEnabled);
        setItem(row, 1, minutes);
    }
    for (const RowRun &run : hourRuns(labels))
        setSpan(run.first, 0, run.count, 1);
}

std::optional<Date> AgendaGrid::monthCellDate(int row, int column) const
{
    const QVariant date = m_cells->index(row, column).data(CellDateRole);
    return date.isValid() ? std::optional<Date>(Date(date.toDouble())) : std::nullopt;
}

bool AgendaGrid::showMonthDates(Date from, Date shown)
{
    static const QString cellFormat = QStringLiteral("ddd d mmm");
    const QStandardItem *first = item(0, 2);
    if (first && first->text() == formatDate(from, cellFormat))
        return false;

    const QString shownMonth = formatDate(shown, QStringLiteral("mmmm"));
    const QColor face = oleColor(SystemColor::ButtonFace, palette());
    const QColor inMonth = oleColor(SystemColor::ButtonText, palette());
    const QColor otherMonth = oleColor(SystemColor::GrayText, palette());
    for (int row = 0; row < qMin(rowCount(), MonthRows); row += 2) {
        for (int column = 2; column < qMin(columnCount(), GridColumns); ++column) {
            const Date day = from.addDays((row / 2) * 7 + (column - 2));
            auto *cell = new QStandardItem(formatDate(day, cellFormat));
            cell->setData(day.value(), CellDateRole);
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
        box->setModern(m_modern);
        m_boxes.push_back(box);
        emit boxCreated(box);
    }
    return m_boxes[size_t(index)];
}

AgendaGrid::Day &AgendaGrid::dayListAt(int index)
{
    if (size_t(index) == m_lists.size()) {
        auto *list = new DayList(index, viewport());
        list->hide();
        list->setModern(m_modern);
        // One selected line across all days.
        connect(list, &DayList::pressed, this, [this](DayList *pressed) {
            for (const Day &day : m_lists) {
                if (day.list != pressed)
                    day.list->clearSelection();
            }
        });
        m_lists.push_back({list, Date()});
        emit dayListCreated(list);
    }
    return m_lists[size_t(index)];
}

void AgendaGrid::clearItems()
{
    m_markers.clear();
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

void AgendaGrid::showDayLists(std::vector<AgendaEntry> entries, const std::vector<Date> &days)
{
    clearItems();
    const auto dayOf = [&](std::vector<AgendaEntry>::iterator entry) {
        return days.empty() ? entry->start.datePart() : days[size_t(entry - entries.begin())];
    };
    // A list per day: the next one begins with the first appointment of a later day.
    for (auto first = entries.begin(); first != entries.end();) {
        const Date day = dayOf(first);
        auto last = first + 1;
        while (last != entries.end() && !(day < dayOf(last)))
            ++last;
        Day &list = dayListAt(m_listCount++);
        list.day = day;
        list.list->setAccessibleName(QLocale().toString(day.toDate(), QStringLiteral("dddd d MMMM")));
        // Lines laid out day by day (days given) may go on from an earlier day.
        list.list->setEntries({std::make_move_iterator(first), std::make_move_iterator(last)},
                              days.empty() ? Date() : day);
        first = last;
    }
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
    m_step = qMax<qint16>(1, step);
    m_firstMinute = dayStart.minuteOfDay();
    std::vector<BoxInput> inputs;
    inputs.reserve(size_t(m_boxCount));
    for (int i = 0; i < m_boxCount; ++i) {
        const AgendaEntry &entry = m_boxes[size_t(i)]->entry();
        inputs.push_back({entry.times(), week ? weekdayFromMonday(entry.start) - 1 : 0});
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
        // The pool's order is the drawing order already.
        box->show();
    }
    viewport()->setUpdatesEnabled(true);
}

void AgendaGrid::placeDayLists(Date from)
{
    for (int i = 0; i < m_listCount; ++i) {
        const Day &day = m_lists[size_t(i)];
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
