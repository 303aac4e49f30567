#include "zntdayvex_p.h"

#include "monthcalendar.h"

#include <dayvex/editing/appointmentcommands.h>
#include <dayvex/editing/todocommands.h>

#include <dayvex/layout/timegrid.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/platform/error.h>
#include <dayvex/views/agendagrid.h>
#include <dayvex/views/detailpane.h>

#include <QAction>
#include <QMenu>

namespace dayvex {

void zntDayvexPrivate::runGestureCommand(Command command)
{
    QAction *entry = nullptr;
    switch (command) {
    case Command::NewAppointment: entry = m_mnNuovo; break;
    case Command::ModifyAppointment: entry = m_mnModifica; break;
    case Command::DeleteAppointment: entry = m_mnElimina; break;
    case Command::NewToDo: entry = m_mnNuovaAttivita; break;
    case Command::ModifyToDo: entry = m_mnModificaAttivita; break;
    case Command::DeleteToDo: entry = m_mnEliminaAttivita; break;
    case Command::MarkToDoDone: entry = m_mnuAttivitaCompleta; break;
    }
    // A gesture runs the command even when the menu last showed the entry disabled.
    emit entry->triggered(entry->isChecked());
}

void zntDayvexPrivate::popUpAppointmentMenu(bool onAppointment, const QPoint &globalPos)
{
    m_mnNuovo->setEnabled(true);
    m_mnModifica->setEnabled(onAppointment);
    m_mnElimina->setEnabled(onAppointment);
    m_mnAppuntamento->popup(globalPos);
}

void zntDayvexPrivate::popUpToDoMenu(bool holdsToDo, bool done, const QPoint &globalPos)
{
    m_mnuAttivitaCompleta->setEnabled(holdsToDo && !done);
    m_mnNuovaAttivita->setEnabled(true);
    m_mnModificaAttivita->setEnabled(holdsToDo);
    m_mnEliminaAttivita->setEnabled(holdsToDo);
    m_mnuAttivita->popup(globalPos);
}

std::pair<Date, Date> zntDayvexPrivate::selectedSlots() const
{
    // The calendar's day at the time of the grid's current row, up to the end of
    // the last row selected with it (Modern's Shift+arrows, a drag over slots).
    const Date day = Date::fromDate(m_calendar->selectedDate());
    const auto startOf = [&](int row) {
        const SlotLabel label = m_lista->rowLabel(row);
        return proposedStart(day, label.hour, label.minutes, settings().DateFormat);
    };
    const Date start = startOf(m_lista->currentRow());
    const auto [first, last] = m_lista->selectedSlotRows();
    if (first == last)
        return {start, start};
    return {startOf(first), startOf(last).addMinutes(gridStartAndStep().second)};
}

void zntDayvexPrivate::gridCellChosen()
{
    const int view = selectedTab();
    const std::optional<Date> day = clickedDate(view, Date::fromDate(m_calendar->selectedDate()), dayFirst(),
                                                m_lista->currentRow(), m_lista->currentColumn());
    if (!day)
        return;
    m_calendar->setSelectedDate(day->toDate());
    if (view == zntPlanShowMonth)
        selectView();
}

void zntDayvexPrivate::selectionMoved()
{
    // Reached from clicks and keys too: nothing a handler throws goes further.
    runLoggingErrors("zntDayvex", [this] {
        callHostHandler("selectionChanged", [this] { emit q->selectionChanged(); });
    });
}

bool zntDayvexPrivate::selectionStillThere()
{
    const ViewSelection &selection = m_gestures->selection();
    const std::shared_ptr<DayvexData> plan = q->Plan();
    const QString key = q->selectedKey();
    if (selection.kind == ViewSelection::Kind::None || key.isEmpty()) {
        qCWarning(lcDayvex, "zntDayvex: no appointment or to-do is selected");
        return false;
    }
    const bool there = plan
                       && (selection.kind == ViewSelection::Kind::Appointment ? bool(plan->Schedules()->find(key))
                                                                              : bool(plan->ToDoS()->find(key)));
    if (!there) {
        qCWarning(lcDayvex, "zntDayvex: the selected record %s is gone", qPrintable(key));
        m_gestures->select(selection.kind, QString());
    }
    return there;
}

void zntDayvexPrivate::openDay(Date day)
{
    q->setStartDay(day);
    q->Refresh(zntPlanShowDay);
}

void zntDayvexPrivate::dropVanishedSelection()
{
    const ViewSelection &selection = m_gestures->selection();
    const QString key = q->selectedKey();
    const std::shared_ptr<DayvexData> plan = q->Plan();
    if (selection.kind == ViewSelection::Kind::None || key.isEmpty())
        return;
    const bool there = plan
                       && (selection.kind == ViewSelection::Kind::Appointment ? bool(plan->Schedules()->find(key))
                                                                              : bool(plan->ToDoS()->find(key)));
    if (there)
        return;
    // The pane would go on showing a record that no longer exists.
    m_frShowApp->hide();
    m_gestures->select(selection.kind, QString());
}

void zntDayvexPrivate::runOnSelection(void (AppointmentCommands::*appointment)(const QString &, Date),
                                      void (ToDoCommands::*todo)(const QString &))
{
    runLoggingErrors("zntDayvex", [&] {
        const bool isToDo = m_gestures->selection().kind == ViewSelection::Kind::ToDo;
        if (!(isToDo ? bool(todo) : bool(appointment))) {
            qCWarning(lcDayvex, "zntDayvex: the command takes a to-do and none is selected");
            return;
        }
        if (!selectionStillThere())
            return;
        const QString key = q->selectedKey();
        if (isToDo)
            (m_todos.get()->*todo)(key);
        else
            (m_appointments.get()->*appointment)(key, m_gestures->selection().occurrence);
    });
}

} // namespace dayvex
