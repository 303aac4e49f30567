#include "zntdayvex_p.h"

#include <dayvex/layout/controllayout.h>
#include "monthcalendar.h"
#include "propertybag.h"
#include "statusline.h"
#include <dayvex/platform/twips.h>

#include <dayvex/editing/appointmentcommands.h>
#include <dayvex/editing/commandflag.h>
#include <dayvex/editing/todocommands.h>
#include <dayvex/i18n/language.h>
#include <dayvex/reminders/alarmscan.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/format.h>
#include <dayvex/views/agendagrid.h>
#include <dayvex/layout/appointmentorder.h>
#include <dayvex/views/detailpane.h>
#include <dayvex/views/todogrid.h>
#include <dayvex/printing/agendaprint.h>
#include <dayvex/printing/printpreview.h>

#include <QCoreApplication>
#include <QScrollBar>
#include <QSignalBlocker>

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QResizeEvent>
#include <QTabBar>
#include <QStandardItem>
#include <QTimer>
#include <QPrinter>

#include <limits>


namespace dayvex {

// ---- gestures ----

void zntDayvexPrivate::runCommand(QAction *entry)
{
    // A gesture runs the command even when the menu last showed the entry disabled.
    emit entry->triggered(entry->isChecked());
}

void zntDayvexPrivate::connectGestures()
{
    QObject::connect(m_lista, &AgendaGrid::released, q, [this](const QPoint &pos, Qt::MouseButton button, const QPoint &global) {
        runFromUser([&] { onListaReleased(pos, button, global); });
    });
    QObject::connect(m_lista, &AgendaGrid::doubleClickedAt, q, [this] {
        runFromUser([this] {
            listaClickAction();
            if (!m_disableMenu)
                runCommand(m_mnNuovo);
        });
    });
    QObject::connect(m_lista, &AgendaGrid::keyboardMoved, q, [this] {
        // The arrow keys move the date on show as a click on the cell would.
        m_selection.listaRow = m_lista->currentRow();
        m_selection.listaColumn = m_lista->currentColumn();
        runFromUser([this] { listaClickAction(); });
    });
    QObject::connect(m_lista, &AgendaGrid::boxCreated, q, [this](AppointmentBox *box) { watchBox(box); });
    QObject::connect(m_lista, &AgendaGrid::dayListCreated, q, [this](DayList *list) { watchDayList(list); });

    QObject::connect(m_daFare, &ToDoGrid::released, q, [this](const QPoint &pos, Qt::MouseButton button, const QPoint &global) {
        runFromUser([&] { onToDoReleased(pos, button, global); });
    });
    QObject::connect(m_daFare, &ToDoGrid::doubleClickedAt, q, [this](const QPoint &pos) {
        if (m_disableMenu)
            return;
        // A double click on a to-do changes it; one below the rows makes a new one.
        runCommand(m_daFare->keyAt(m_daFare->cellAt(pos).first).isEmpty() ? m_mnNuovaAttivita : m_mnModificaAttivita);
    });
    QObject::connect(m_daFare, &ToDoGrid::hovered, q, [this] {
        if (m_frShowApp->isVisible())
            m_frShowApp->hide();
    });
    QObject::connect(m_daFare, &ToDoGrid::enterPressed, q, [this](int row) {
        m_selection.toDoKey = m_daFare->keyAt(row);
        if (!m_selection.toDoKey.isEmpty())
            runCommand(m_mnModificaAttivita);
    });
    QObject::connect(m_daFare, &ToDoGrid::deletePressed, q, [this](int row) {
        m_selection.toDoKey = m_daFare->keyAt(row);
        if (!m_selection.toDoKey.isEmpty())
            runCommand(m_mnEliminaAttivita);
    });

    QObject::connect(m_frShowApp, &DetailPane::clicked, q, [this] {
        // The pane stands over the to-do list when it shows a to-do.
        runCommand(m_daFare->x() <= m_frShowApp->x() ? m_mnModificaAttivita : m_mnModifica);
    });
}

void zntDayvexPrivate::watchBox(AppointmentBox *box)
{
    const ItemGestures *gestures = box->gestures();
    QObject::connect(gestures, &ItemGestures::clicked, q, [this, box] { runFromUser([&] { showBoxDetails(box); }); });
    watchAppointmentGestures(gestures, [this, box] {
        m_selection.appointmentKey = box->entry().key;
        return true;
    });
}

void zntDayvexPrivate::watchDayList(DayList *list)
{
    QObject::connect(list, &DayList::pressed, q, [this](DayList *pressed, int line) {
        m_selection.pressedListIndex = pressed->index();
        m_selection.pressedLineIndex = line;
    });
    const ItemGestures *gestures = list->gestures();
    QObject::connect(gestures, &ItemGestures::clicked, q,
            [this, list] { runFromUser([&] { showDayListDetails(list->index()); }); });
    watchAppointmentGestures(gestures, [this, list] { return selectDayLine(list->index()); });
}

void zntDayvexPrivate::watchAppointmentGestures(const ItemGestures *gestures, std::function<bool()> select)
{
    // The item acted on is the one the gesture is on, whatever was clicked before.
    QObject::connect(gestures, &ItemGestures::doubleClicked, q, [this, select] {
        runFromUser([&] {
            if (select())
                runCommand(m_mnModifica);
        });
        m_frShowApp->hide();
    });
    QObject::connect(gestures, &ItemGestures::enterPressed, q, [this, select] {
        runFromUser([&] {
            if (select())
                runCommand(m_mnModifica);
        });
    });
    QObject::connect(gestures, &ItemGestures::deletePressed, q, [this, select] {
        runFromUser([&] {
            if (select())
                runCommand(m_mnElimina);
        });
    });
    // Offered whatever DisableMenu says, unlike the grid's own menu.
    QObject::connect(gestures, &ItemGestures::rightReleased, q, [this, select](const QPoint &global) {
        runFromUser([&] { select(); });
        popUpAppointmentMenu(true, global);
    });
}

void zntDayvexPrivate::popUpAppointmentMenu(bool onAppointment, const QPoint &globalPos)
{
    m_mnNuovo->setEnabled(true);
    m_mnModifica->setEnabled(onAppointment);
    m_mnElimina->setEnabled(onAppointment);
    m_mnAppuntamento->popup(globalPos);
}

void zntDayvexPrivate::onListaReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos)
{
    const auto [row, column] = m_lista->cellAt(pos);
    if (row >= 0 && column >= 0)
        m_lista->setCurrentCell(row, column);
    m_selection.listaRow = m_lista->currentRow();
    m_selection.listaColumn = m_lista->currentColumn();
    listaClickAction();
    // popup() returns at once: the redrawn day shows while the menu is open.
    if (button == Qt::RightButton && !m_disableMenu)
        popUpAppointmentMenu(false, globalPos);
}

void zntDayvexPrivate::listaClickAction()
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

void zntDayvexPrivate::showBoxDetails(AppointmentBox *box)
{
    const AgendaEntry &entry = box->entry();
    m_selection.appointmentKey = entry.key;
    // Beside the box, within the grid: the box stays in sight, the calendar uncovered.
    const QRect item(box->mapTo(q, QPoint(0, 0)), box->size());
    m_frShowApp->showAt(m_frShowApp->areaBeside(item, m_lista->geometry()), detail::boxCaption(entry),
                        detail::boxText(entry));
}

bool zntDayvexPrivate::selectDayLine(int index)
{
    const DayList *list = m_lista->dayList(index);
    const int line = list->currentRow();
    const std::vector<AgendaEntry> &entries = m_lista->dayListEntries(index);
    if (line < 0 || size_t(line) >= entries.size())
        return false;
    m_selection.appointmentKey = entries[size_t(line)].key;
    return true;
}

void zntDayvexPrivate::showDayListDetails(int index)
{
    if (!selectDayLine(index))
        return;
    const DayList *list = m_lista->dayList(index);
    const QString text = list->lineText(list->currentRow());
    // The day's date text is its first appointment's.
    const QRect cell(list->mapTo(q, QPoint(0, 0)), list->size());
    m_frShowApp->showAt(m_frShowApp->areaBeside(cell, m_lista->geometry()),
                        detail::listCaption(m_lista->dayListEntries(index).front().dates(), text),
                        detail::listText(text));
}

void zntDayvexPrivate::showToDoDetails(int row)
{
    const QString key = m_daFare->keyAt(row);
    m_selection.toDoKey = key;
    const std::shared_ptr<DayvexData> plan = q->Plan();
    if (key.isEmpty() || !plan || !plan->ToDoS()->find(key))
        return; // a row the host has emptied since the last refill
    const std::shared_ptr<ToDo> todo = plan->ToDoS()->Item(key);
    // Above the list, on its left edge: no row is covered, and the pane's left
    // edge tells a click on it that it shows a to-do.
    m_frShowApp->showAt(m_frShowApp->areaAbove(m_daFare->geometry(), q->rect()), text(Text::ToDo),
                        detail::toDoText(*todo, sharedSettings().DateFormat));
}

void zntDayvexPrivate::onToDoReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos)
{
    const int row = m_daFare->cellAt(pos).first;
    if (button == Qt::LeftButton) {
        if (row >= 0)
            showToDoDetails(row);
        return;
    }
    if (button != Qt::RightButton || m_disableMenu)
        return;
    const QString key = m_daFare->keyAt(row);
    const bool holdsToDo = !key.isEmpty();
    const bool done = m_daFare->isDone(row);
    m_mnuAttivitaCompleta->setEnabled(holdsToDo && !done);
    m_mnNuovaAttivita->setEnabled(true);
    m_mnModificaAttivita->setEnabled(holdsToDo);
    m_mnEliminaAttivita->setEnabled(holdsToDo);
    m_daFare->clearSelection();
    if (row >= 0)
        m_daFare->setCurrentCell(row, holdsToDo ? 1 : 0, QItemSelectionModel::NoUpdate);
    if (holdsToDo)
        m_daFare->selectionModel()->select(QItemSelection(m_daFare->model()->index(row, 1),
                                                          m_daFare->model()->index(row, m_daFare->columnCount() - 1)),
                                           QItemSelectionModel::Select);
    m_selection.toDoKey = key;
    m_mnuAttivita->popup(globalPos);
}

} // namespace dayvex
