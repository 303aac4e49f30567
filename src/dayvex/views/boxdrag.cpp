#include "boxdrag.h"

#include "agendagrid.h"
#include "appointmentbox.h"
#include "daylist.h"

#include <dayvex/platform/error.h>

#include <QApplication>
#include <QKeyEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QToolTip>

#include <cmath>
#include <tuple>

namespace dayvex {

BoxDrag::BoxDrag(AgendaGrid *grid, QWidget *bounds)
    : QObject(grid)
    , m_grid(grid)
    , m_bounds(bounds)
    , m_ghost(new QWidget(grid->viewport()))
{
    m_ghost->setObjectName(QStringLiteral("dropGhost"));
    m_ghost->setAttribute(Qt::WA_TransparentForMouseEvents);
    m_ghost->setStyleSheet(QStringLiteral("background: rgba(40, 110, 220, 70); border: 2px dashed rgb(40, 110, 220);"));
    m_ghost->hide();
}

void BoxDrag::setEnabled(bool on)
{
    m_enabled = on;
    if (!on && m_pressed)
        end();
}

void BoxDrag::watch(AppointmentBox *box)
{
    box->installEventFilter(this);
    box->setMouseTracking(true); // the edges show a resize cursor
}

void BoxDrag::watch(DayList *list)
{
    list->viewport()->installEventFilter(this);
}

bool BoxDrag::eventFilter(QObject *watched, QEvent *event)
{
    // Nothing thrown may cross Qt's delivery of the event, which would skip Qt's own
    // clean-up: a drag whose dates would leave the years 100 to 9999 ends there,
    // logged, and its release is no click.
    bool taken = false, failed = true;
    runLoggingErrors("zntDayvex", [&] {
        taken = filterEvent(watched, event);
        failed = false;
    });
    if (!failed)
        return taken;
    end();
    m_swallowRelease = true;
    return true;
}

bool BoxDrag::filterEvent(QObject *watched, QEvent *event)
{
    if (!m_enabled)
        return false;
    const bool ours = qobject_cast<AppointmentBox *>(watched) || qobject_cast<DayList *>(watched->parent());
    if (!ours && event->type() != QEvent::KeyPress)
        return false; // the application's other events, seen while a drag waits for Esc
    switch (event->type()) {
    case QEvent::KeyPress:
        if (m_active && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
            end();
            m_swallowRelease = true;
            return true;
        }
        return false;
    case QEvent::MouseButtonPress: {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        m_swallowRelease = false;
        if (mouse->button() != Qt::LeftButton)
            return false;
        if (auto *box = qobject_cast<AppointmentBox *>(watched))
            return pressBox(box, mouse);
        if (auto *list = qobject_cast<DayList *>(watched->parent()))
            return pressLine(list, mouse);
        return false;
    }
    case QEvent::MouseMove: {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        if (m_pressed && (mouse->buttons() & Qt::LeftButton))
            return move(static_cast<QWidget *>(watched), mouse);
        if (auto *box = qobject_cast<AppointmentBox *>(watched); box && mouse->buttons() == Qt::NoButton)
            hover(box, mouse);
        return false;
    }
    case QEvent::MouseButtonRelease:
        if (std::exchange(m_swallowRelease, false))
            return true;
        return release();
    default:
        return false;
    }
}

DragPart BoxDrag::partAt(AppointmentBox *box, QPoint viewportPos) const
{
    const QPoint top = box->mapTo(m_grid->viewport(), QPoint(0, 0));
    const DragPart part = dragPartAt(top.y(), box->height(), viewportPos.y(), EdgePixels);
    // A box of one day of a longer appointment: only the day it starts or ends on has that edge.
    const DragGrid grid = m_grid->dragGrid();
    const Date day = slotStart(grid, slotAt(grid, QPointF(top.x() + box->width() / 2.0, top.y()))).datePart();
    const AgendaEntry &entry = box->entry();
    if (part == DragPart::Start && entry.start.datePart() != day)
        return DragPart::Move;
    if (part == DragPart::End && entry.end.datePart() != day && entry.end != day.addDays(1))
        return DragPart::Move;
    return part;
}

void BoxDrag::hover(AppointmentBox *box, const QMouseEvent *event)
{
    if (box->parentWidget() != m_grid->viewport())
        return;
    const QPoint at = box->mapTo(m_grid->viewport(), event->position().toPoint());
    if (partAt(box, at) == DragPart::Move)
        box->unsetCursor();
    else
        box->setCursor(Qt::SizeVerCursor);
}

bool BoxDrag::pressBox(AppointmentBox *box, const QMouseEvent *event)
{
    // The all-day strip's bars stay where they are.
    if (box->parentWidget() != m_grid->viewport() || m_grid->dragGrid().columnLefts.empty())
        return false;
    const QPoint at = box->mapTo(m_grid->viewport(), event->position().toPoint());
    const DragGrid grid = m_grid->dragGrid();
    m_press = Press{box->entry().key, box->entry().start, box->entry().end, partAt(box, at),
                    slotStart(grid, slotAt(grid, at)), Date(), false, at, box->entry().series};
    m_pressed = true;
    return false; // the press still selects the box
}

bool BoxDrag::pressLine(DayList *list, const QMouseEvent *event)
{
    const QPoint pos = event->position().toPoint();
    const int line = list->indexAt(pos).row();
    if (line < 0 || line >= list->count() || list->moreLine().contains(pos))
        return false;
    const AgendaEntry &entry = list->entries()[size_t(line)];
    m_press = Press{entry.key, entry.start, entry.end, DragPart::Move, Date(), m_grid->dayListDate(list->index()),
                    true, list->viewport()->mapTo(m_grid->viewport(), pos), entry.series};
    m_pressed = true;
    return false;
}

bool BoxDrag::move(QWidget *source, const QMouseEvent *event)
{
    const QPoint at = source->mapTo(m_grid->viewport(), event->position().toPoint());
    if (!m_active) {
        if ((at - m_press.at).manhattanLength() < QApplication::startDragDistance())
            return false;
        m_active = true;
        qApp->installEventFilter(this); // Esc, wherever the focus is
    }
    if (m_bounds && !m_bounds->rect().contains(m_bounds->mapFromGlobal(event->globalPosition().toPoint()))) {
        end();
        m_swallowRelease = true;
        return true;
    }
    propose(at);
    const QLocale locale;
    const QString when = locale.toString(m_start.toDateTime(), QStringLiteral("ddd d MMM, HH:mm"))
                         + QStringLiteral(" – ")
                         + locale.toString(m_end.toDateTime(), m_end.datePart() == m_start.datePart()
                                                                   ? QStringLiteral("HH:mm")
                                                                   : QStringLiteral("ddd d MMM, HH:mm"));
    QToolTip::showText(event->globalPosition().toPoint(), when, m_grid);
    return true;
}

void BoxDrag::propose(QPoint at)
{
    if (m_press.month) {
        const QModelIndex cell = m_grid->indexAt(at);
        const std::optional<Date> day = m_grid->monthDayAt(cell.row(), cell.column());
        const qint64 days = day ? qint64(std::llround(day->value() - m_press.fromDay.value())) : 0;
        m_start = m_press.start.addDays(days);
        m_end = m_press.end.addDays(days);
        m_ghost->setGeometry(day ? m_grid->visualRect(cell) : QRect());
    } else {
        const DragGrid grid = m_grid->dragGrid();
        std::tie(m_start, m_end) = draggedTimes(m_press.part, m_press.start, m_press.end, m_press.fromSlot,
                                                slotStart(grid, slotAt(grid, at)), grid.step);
        const int day = int(std::llround(m_start.datePart().value() - grid.firstDay.value()));
        const int to = m_end.datePart() == m_start.datePart() ? m_end.minuteOfDay() : 1440;
        m_ghost->setGeometry(slotRect(grid, day, m_start.minuteOfDay(), to));
    }
    m_ghost->setVisible(!m_ghost->geometry().isEmpty());
    m_ghost->raise();
}

bool BoxDrag::release()
{
    if (!m_pressed)
        return false;
    const bool active = m_active;
    const Press press = m_press;
    const Date start = m_start, end = m_end;
    this->end();
    if (!active)
        return false; // a click, the box's own business
    if (!(start == press.start && end == press.end))
        emit dropped(press.key, start, end, press.series ? press.start : Date());
    return true;
}

void BoxDrag::end()
{
    if (m_active)
        qApp->removeEventFilter(this);
    m_pressed = false;
    m_active = false;
    m_ghost->hide();
    QToolTip::hideText();
}

} // namespace dayvex
