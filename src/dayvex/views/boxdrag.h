#pragma once

#include <dayvex/layout/dragging.h>
#include <dayvex/platform/date.h>

#include <QObject>
#include <QPoint>
#include <QPointer>

class QMouseEvent;

namespace dayvex {

class AgendaGrid;
class AppointmentBox;
class DayList;

// DragEditing on the grid's appointments: a box dragged moves its appointment
// and its top or bottom edge changes its start or end (day and week views); a
// line of a month's day dragged to another day moves it there at the same time.
// A ghost shows where it lands and a tooltip the times; Esc, or the pointer
// leaving bounds, cancels it. A drop that changes the times is announced by
// dropped(); the records are the host's business.
class BoxDrag : public QObject
{
    Q_OBJECT
public:
    BoxDrag(AgendaGrid *grid, QWidget *bounds);

    void setEnabled(bool on);
    bool isEnabled() const { return m_enabled; }
    bool isDragging() const { return m_active; }
    void watch(AppointmentBox *box);
    void watch(DayList *list);

    // How deep a box's top and bottom edges are, in pixels.
    static constexpr int EdgePixels = 5;

signals:
    // occurrence: the start of the occurrence dragged when the box stands for one of a series.
    void dropped(const QString &key, dayvex::Date start, dayvex::Date end, dayvex::Date occurrence);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool filterEvent(QObject *watched, QEvent *event);
    struct Press
    {
        QString key;
        Date start, end;
        DragPart part = DragPart::Move;
        Date fromSlot;    // day and week: the slot pressed
        Date fromDay;     // month: the day of the list pressed
        bool month = false;
        QPoint at;        // in the grid's viewport
        bool series = false; // an occurrence of a series, starting at start
    };

    bool pressBox(AppointmentBox *box, const QMouseEvent *event);
    bool pressLine(DayList *list, const QMouseEvent *event);
    bool move(QWidget *source, const QMouseEvent *event);
    bool release();
    void hover(AppointmentBox *box, const QMouseEvent *event);
    DragPart partAt(AppointmentBox *box, QPoint viewportPos) const;
    // Where the drag proposes the appointment now, and where its ghost goes.
    void propose(QPoint viewportPos);
    void end();

    AgendaGrid *m_grid;
    QPointer<QWidget> m_bounds;
    QWidget *m_ghost;
    bool m_enabled = false;
    bool m_pressed = false;
    bool m_active = false;
    bool m_swallowRelease = false;
    Press m_press;
    Date m_start, m_end; // what the drag proposes
};

} // namespace dayvex
