#pragma once

#include <dayvex/i18n/language.h>
#include <dayvex/platform/date.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/views/viewselection.h>

#include <QObject>
#include <QPoint>

#include <functional>

namespace dayvex {

class AgendaEntry;
class AgendaGrid;
class AppointmentBox;
class BoxDrag;
class DayList;
class DetailPane;
class ItemGestures;
class ToDoGrid;

// What the gestures ask of the control that holds the views: its commands and
// menus, and the date on show.
class GestureHost
{
public:
    enum class Command { NewAppointment, ModifyAppointment, DeleteAppointment, NewToDo, ModifyToDo, DeleteToDo,
                         MarkToDoDone };

    virtual ~GestureHost() = default;
    virtual bool menusDisabled() const = 0;
    // Modern: Enter opens an appointment, and the detail pane stands beside a day's
    // list and above the to-do list; otherwise they keep the control's own rules.
    virtual bool modernGestures() const = 0;
    // Shows day alone, in the day view: what a "+N" marker opens.
    virtual void openDay(Date day) = 0;
    // The control's settings (its plan among them) and language texts.
    virtual const SharedSettings &settings() const = 0;
    virtual const LanguageTable &language() const = 0;
    // Runs the command of a menu entry whatever the menu last showed it as.
    virtual void runGestureCommand(Command command) = 0;
    virtual void popUpAppointmentMenu(bool onAppointment, const QPoint &globalPos) = 0;
    virtual void popUpToDoMenu(bool holdsToDo, bool done, const QPoint &globalPos) = 0;
    // The grid's current cell was chosen by a click or the arrow keys.
    virtual void gridCellChosen() = 0;
    // The selected appointment or to-do is another one.
    virtual void selectionMoved() = 0;
    // DragEditing: a drag moved or resized the appointment of key to start .. end.
    virtual void dropAppointment(const QString &key, Date start, Date end, Date occurrence) = 0;
};

// Turns the clicks, keys and menus on the grids, boxes, day lists and detail
// pane into the selection and the host's commands. surface is the widget the
// detail pane is placed in.
class GestureRouter : public QObject
{
public:
    GestureRouter(GestureHost &host, QWidget *surface, AgendaGrid *grid, ToDoGrid *todos, DetailPane *pane);

    // What the commands act on, as the gestures left it.
    ViewSelection &selection() { return m_selection; }
    const ViewSelection &selection() const { return m_selection; }
    // Makes key of that kind the selected record (an empty key selects nothing)
    // and tells the host when that is a change.
    void select(ViewSelection::Kind kind, const QString &key, Date occurrence = {});
    // The box's or line's appointment, with its occurrence when it is one of a series.
    void select(const AgendaEntry &entry);
    // DragEditing: boxes and month lines can be dragged, and empty slots dragged over.
    void setDragEditing(bool on);

private:
    void watchBox(AppointmentBox *box);
    void watchDayList(DayList *list);
    // select makes the gesture's appointment the selected one; false when there is none.
    void watchAppointmentGestures(const ItemGestures *gestures, std::function<bool()> select);
    void onGridReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos);
    void showBoxDetails(AppointmentBox *box);
    // Modern's keys in the grid: Enter opens the appointment at the current cell
    // or proposes a new one there, Delete deletes it; a step selects the next or
    // previous appointment in time.
    void onCellKey(int key);
    void stepAppointment(int direction);
    void stepDayLine(int direction);
    bool selectDayLine(int index);
    void showDayListDetails(int index);
    void showToDoDetails(int row);
    void onToDoReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos);
    template <typename Step>
    static void runFromUser(Step step);

    GestureHost &m_host;
    QWidget *m_surface;
    AgendaGrid *m_grid;
    ToDoGrid *m_todos;
    DetailPane *m_pane;
    BoxDrag *m_drag;
    ViewSelection m_selection;
};

} // namespace dayvex
