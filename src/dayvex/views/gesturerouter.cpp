#include "gesturerouter.h"

#include <QApplication>

#include <QAccessible>
#include <QScrollBar>

#include <algorithm>

#include "agendagrid.h"
#include "appointmentbox.h"
#include "boxdrag.h"
#include "daylist.h"
#include "detailpane.h"
#include "itemgestures.h"
#include "todogrid.h"

#include <dayvex/i18n/language.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/error.h>

namespace dayvex {

using Command = GestureHost::Command;

template <typename Step>
void GestureRouter::runFromUser(Step step)
{
    runLoggingErrors("zntDayvex", step);
}

GestureRouter::GestureRouter(GestureHost &host, QWidget *surface, AgendaGrid *grid, ToDoGrid *todos,
                             DetailPane *pane)
    : m_host(host), m_surface(surface), m_grid(grid), m_todos(todos), m_pane(pane)
    , m_drag(new BoxDrag(grid, surface))
{
    connect(m_drag, &BoxDrag::dropped, this, [this](const QString &key, Date start, Date end, Date occurrence) {
        runFromUser([&] { m_host.dropAppointment(key, start, end, occurrence); });
    });
    // Slots dragged over propose a new appointment over them, as New does over selected slots.
    connect(m_grid, &AgendaGrid::slotsDragged, this,
            [this] { runFromUser([this] { m_host.runGestureCommand(Command::NewAppointment); }); });
    connect(m_grid, &AgendaGrid::released, this, [this](const QPoint &pos, Qt::MouseButton button, const QPoint &global) {
        runFromUser([&] { onGridReleased(pos, button, global); });
    });
    connect(m_grid, &AgendaGrid::doubleClickedAt, this, [this] {
        runFromUser([this] {
            m_host.gridCellChosen();
            if (!m_host.menusDisabled())
                m_host.runGestureCommand(Command::NewAppointment);
        });
    });
    connect(m_grid, &AgendaGrid::keyboardMoved, this, [this] {
        // The arrow keys move the date on show as a click on the cell would.
        m_selection.listaRow = m_grid->currentRow();
        m_selection.listaColumn = m_grid->currentColumn();
        runFromUser([this] { m_host.gridCellChosen(); });
    });
    connect(m_grid, &AgendaGrid::cellKeyPressed, this, [this](int key) { runFromUser([&] { onCellKey(key); }); });
    connect(m_grid, &AgendaGrid::appointmentStepped, this,
            [this](int direction) { runFromUser([&] { stepAppointment(direction); }); });
    connect(m_grid, &AgendaGrid::boxCreated, this, [this](AppointmentBox *box) { watchBox(box); });
    connect(m_grid, &AgendaGrid::dayListCreated, this, [this](DayList *list) { watchDayList(list); });

    connect(m_todos, &ToDoGrid::released, this, [this](const QPoint &pos, Qt::MouseButton button, const QPoint &global) {
        runFromUser([&] { onToDoReleased(pos, button, global); });
    });
    connect(m_todos, &ToDoGrid::doubleClickedAt, this, [this](const QPoint &pos) {
        if (m_host.menusDisabled())
            return;
        // A double click on a to-do changes it; one below the rows makes a new one.
        m_host.runGestureCommand(m_todos->keyAt(m_todos->cellAt(pos).first).isEmpty() ? Command::NewToDo
                                                                                      : Command::ModifyToDo);
    });
    connect(m_todos, &ToDoGrid::hovered, this, [this] {
        if (m_pane->isVisible())
            m_pane->hide();
    });
    connect(m_todos, &ToDoGrid::enterPressed, this, [this](int row) {
        select(ViewSelection::Kind::ToDo, m_todos->keyAt(row));
        if (!m_selection.toDoKey.isEmpty())
            m_host.runGestureCommand(Command::ModifyToDo);
    });
    connect(m_todos, &ToDoGrid::deletePressed, this, [this](int row) {
        select(ViewSelection::Kind::ToDo, m_todos->keyAt(row));
        if (!m_selection.toDoKey.isEmpty())
            m_host.runGestureCommand(Command::DeleteToDo);
    });
    // Modern: Space marks the row done (a done one stays so), Insert adds one, as the menu's entries do.
    connect(m_todos, &ToDoGrid::spacePressed, this, [this](int row) {
        if (!m_host.modernGestures() || m_todos->isDone(row))
            return;
        select(ViewSelection::Kind::ToDo, m_todos->keyAt(row));
        if (!m_selection.toDoKey.isEmpty())
            m_host.runGestureCommand(Command::MarkToDoDone);
    });
    connect(m_todos, &ToDoGrid::insertPressed, this, [this] {
        if (m_host.modernGestures())
            m_host.runGestureCommand(Command::NewToDo);
    });

    connect(m_pane, &DetailPane::clicked, this, [this] {
        // The pane stands over the to-do list when it shows a to-do.
        m_host.runGestureCommand(m_todos->x() <= m_pane->x() ? Command::ModifyToDo : Command::ModifyAppointment);
    });
}

void GestureRouter::select(const AgendaEntry &entry)
{
    select(ViewSelection::Kind::Appointment, entry.key, entry.series ? entry.start : Date());
}

void GestureRouter::select(ViewSelection::Kind kind, const QString &key, Date occurrence)
{
    QString &held = kind == ViewSelection::Kind::ToDo ? m_selection.toDoKey : m_selection.appointmentKey;
    const ViewSelection::Kind chosen = key.isEmpty() ? ViewSelection::Kind::None : kind;
    if (kind == ViewSelection::Kind::Appointment) {
        const bool sameOccurrence = m_selection.occurrence == occurrence;
        m_selection.occurrence = occurrence;
        if (held == key && m_selection.kind == chosen && sameOccurrence)
            return;
    } else if (held == key && m_selection.kind == chosen) {
        return;
    }
    held = key;
    m_selection.kind = chosen;
    m_host.selectionMoved();
    // A screen reader follows the selection to the box that shows it.
    if (chosen == ViewSelection::Kind::Appointment)
        for (int i = 0; i < m_grid->boxCount(); ++i)
            if (m_grid->box(i)->isVisible() && m_grid->box(i)->entry().key == key) {
                QAccessibleEvent selected(m_grid->box(i), QAccessible::Selection);
                QAccessible::updateAccessibility(&selected);
                break;
            }
}

void GestureRouter::setDragEditing(bool on)
{
    m_drag->setEnabled(on);
    m_grid->setDragEditing(on, m_surface);
}

void GestureRouter::watchBox(AppointmentBox *box)
{
    m_drag->watch(box);
    const ItemGestures *gestures = box->gestures();
    connect(gestures, &ItemGestures::clicked, this, [this, box] { runFromUser([&] { showBoxDetails(box); }); });
    watchAppointmentGestures(gestures, [this, box] {
        select(box->entry());
        return true;
    });
}

void GestureRouter::watchDayList(DayList *list)
{
    m_drag->watch(list);
    connect(list, &DayList::pressed, this, [this](DayList *pressed, int line) {
        m_selection.pressedListIndex = pressed->index();
        m_selection.pressedLineIndex = line;
    });
    connect(list, &DayList::stepped, this, [this](int direction) { runFromUser([&] { stepAppointment(direction); }); });
    connect(list, &DayList::moreClicked, this,
            [this](DayList *more) { runFromUser([&] { m_host.openDay(m_grid->dayListDate(more->index())); }); });
    const ItemGestures *gestures = list->gestures();
    connect(gestures, &ItemGestures::clicked, this,
            [this, list] { runFromUser([&] { showDayListDetails(list->index()); }); });
    watchAppointmentGestures(gestures, [this, list] { return selectDayLine(list->index()); });
}

void GestureRouter::watchAppointmentGestures(const ItemGestures *gestures, std::function<bool()> select)
{
    // The item acted on is the one the gesture is on, whatever was clicked before.
    const auto onSelected = [this, select](Command command) {
        runFromUser([&] {
            if (select())
                m_host.runGestureCommand(command);
        });
    };
    connect(gestures, &ItemGestures::doubleClicked, this, [this, onSelected] {
        onSelected(Command::ModifyAppointment);
        m_pane->hide();
    });
    // Delete is the only key of a box or a day's list, but in Modern.
    connect(gestures, &ItemGestures::enterPressed, this, [this, onSelected] {
        if (m_host.modernGestures()) {
            // What the pane shows is the record before the editor: it would outlive the change.
            m_pane->hide();
            onSelected(Command::ModifyAppointment);
        }
    });
    connect(gestures, &ItemGestures::deletePressed, this, [this, onSelected] {
        if (m_host.modernGestures())
            m_pane->hide();
        onSelected(Command::DeleteAppointment);
    });
    // Offered whatever DisableMenu says, unlike the grid's own menu.
    connect(gestures, &ItemGestures::rightReleased, this, [this, select](const QPoint &global) {
        runFromUser([&] { select(); });
        m_host.popUpAppointmentMenu(true, global);
    });
}

void GestureRouter::onGridReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos)
{
    // A "+N" marker stands for the boxes its day column has no room for: the day view shows them.
    if (button == Qt::LeftButton) {
        if (const std::optional<Date> day = m_grid->markerDayAt(pos)) {
            m_host.openDay(*day);
            return;
        }
    }
    const auto [row, column] = m_grid->cellAt(pos);
    // The menu key over a box (a mouse there reaches the box): the box's menu, as its right click.
    if (button == Qt::RightButton && m_host.modernGestures() && row >= 0 && column >= 0) {
        if (const AppointmentBox *box = m_grid->boxAtCell(row, column)) {
            select(box->entry());
            m_host.popUpAppointmentMenu(true, globalPos);
            return;
        }
    }
    if (row >= 0 && column >= 0)
        m_grid->setCurrentCell(row, column);
    m_selection.listaRow = m_grid->currentRow();
    m_selection.listaColumn = m_grid->currentColumn();
    m_host.gridCellChosen();
    // popup() returns at once: the redrawn day shows while the menu is open.
    if (button == Qt::RightButton && !m_host.menusDisabled())
        m_host.popUpAppointmentMenu(false, globalPos);
}

void GestureRouter::onCellKey(int key)
{
    const bool enter = key != Qt::Key_Delete;
    const int row = m_grid->currentRow();
    const int column = m_grid->currentColumn();
    // The appointment at the cell: a box in the day and week views, the day's first line in the month.
    const AgendaEntry *held = nullptr;
    if (const std::optional<Date> day = m_grid->monthCellDate(row, column)) {
        for (int i = 0; i < m_grid->dayListCount(); ++i)
            if (m_grid->dayListDate(i) == *day && !m_grid->dayListEntries(i).empty())
                held = &m_grid->dayListEntries(i).front();
    } else if (const AppointmentBox *box = m_grid->boxAtCell(row, column)) {
        held = &box->entry();
    }
    if (held && !held->key.isEmpty()) {
        select(*held);
        m_host.runGestureCommand(enter ? Command::ModifyAppointment : Command::DeleteAppointment);
    } else if (enter) {
        // A new one over the cell, as the menu's entry proposes it.
        m_host.gridCellChosen();
        m_host.runGestureCommand(Command::NewAppointment);
    }
}

void GestureRouter::stepAppointment(int direction)
{
    std::vector<AppointmentBox *> shown;
    for (int i = 0; i < m_grid->boxCount(); ++i)
        if (m_grid->box(i)->isVisible())
            shown.push_back(m_grid->box(i));
    if (shown.empty()) {
        stepDayLine(direction);
        return;
    }
    // In time order, then left to right: the order a person reads the day in.
    std::stable_sort(shown.begin(), shown.end(), [](const AppointmentBox *a, const AppointmentBox *b) {
        if (a->entry().start != b->entry().start)
            return a->entry().start < b->entry().start;
        return a->x() < b->x();
    });
    // The box with the focus, else the selected appointment's first: the parts of
    // one appointment over several days, or a series' occurrences, share its key.
    auto at = std::find(shown.begin(), shown.end(), QApplication::focusWidget());
    if (at == shown.end())
        at = std::find_if(shown.begin(), shown.end(), [this](const AppointmentBox *box) {
            return box->entry().key == m_selection.appointmentKey;
        });
    if (at == shown.end())
        at = direction > 0 ? shown.begin() : shown.end() - 1;
    else if ((direction > 0 && at + 1 == shown.end()) || (direction < 0 && at == shown.begin()))
        return;
    else
        at += direction;
    AppointmentBox *box = *at;
    // Out of sight, the grid scrolls to it as the user's own scrolling would.
    const int rowHeight = qMax(1, m_grid->rowHeight(0));
    if (box->y() < 0 || box->y() + rowHeight > m_grid->viewport()->height()) {
        QScrollBar *bar = m_grid->verticalScrollBar();
        bar->setSliderPosition(bar->value() + box->y() / rowHeight - 1);
        bar->triggerAction(QAbstractSlider::SliderMove);
    }
    box->setFocus(Qt::TabFocusReason);
    showBoxDetails(box);
    QAccessibleEvent focused(box, QAccessible::Focus);
    QAccessible::updateAccessibility(&focused);
}

void GestureRouter::stepDayLine(int direction)
{
    // The month's lines day by day, each day's in its own (time) order.
    std::vector<std::pair<int, int>> lines; // list, line
    for (int i = 0; i < m_grid->dayListCount(); ++i)
        if (m_grid->dayList(i)->isVisible())
            for (int line = 0; line < m_grid->dayList(i)->count(); ++line)
                lines.emplace_back(i, line);
    std::stable_sort(lines.begin(), lines.end(), [this](const auto &a, const auto &b) {
        return m_grid->dayListDate(a.first) < m_grid->dayListDate(b.first);
    });
    if (lines.empty())
        return;
    // The line with the focus, else the selected appointment's first.
    auto at = lines.end();
    if (auto *focused = qobject_cast<DayList *>(QApplication::focusWidget()); focused && focused->currentRow() >= 0)
        at = std::find(lines.begin(), lines.end(), std::pair(focused->index(), focused->currentRow()));
    if (at == lines.end())
        at = std::find_if(lines.begin(), lines.end(), [this](const auto &l) {
            return m_grid->dayListEntries(l.first)[size_t(l.second)].key == m_selection.appointmentKey;
        });
    if (at == lines.end()) {
        // From the grid's current day: its first line on, or its last one back.
        const QModelIndex cell = m_grid->currentIndex();
        const std::optional<Date> day = cell.isValid() ? m_grid->monthDayAt(cell.row(), cell.column()) : std::nullopt;
        // Down: the first line of that day or later; Up: the last one of that day or earlier.
        const auto past = [&](const std::pair<int, int> &l) {
            const Date lineDay = m_grid->dayListDate(l.first);
            return !day ? direction > 0 : direction > 0 ? !(lineDay < *day) : *day < lineDay;
        };
        const auto first = std::find_if(lines.begin(), lines.end(), past);
        if (direction > 0 ? first == lines.end() : first == lines.begin())
            return;
        at = direction > 0 ? first : first - 1;
    } else if ((direction > 0 && at + 1 == lines.end()) || (direction < 0 && at == lines.begin())) {
        return;
    } else {
        at += direction;
    }
    // One selected line across all days, as a click leaves it.
    for (int i = 0; i < m_grid->dayListCount(); ++i)
        if (i != at->first)
            m_grid->dayList(i)->clearSelection();
    DayList *list = m_grid->dayList(at->first);
    list->setFocus(Qt::TabFocusReason);
    list->setCurrentRow(at->second);
    showDayListDetails(at->first);
}

void GestureRouter::showBoxDetails(AppointmentBox *box)
{
    const AgendaEntry &entry = box->entry();
    select(entry);
    // Beside the box, within the grid: the box stays in sight, the calendar uncovered.
    const QRect item(box->mapTo(m_surface, QPoint(0, 0)), box->size());
    m_pane->showAt(m_pane->areaBeside(item, m_grid->geometry()), detail::boxCaption(entry), detail::boxText(entry));
}

bool GestureRouter::selectDayLine(int index)
{
    const DayList *list = m_grid->dayList(index);
    const int line = list->currentRow();
    const std::vector<AgendaEntry> &entries = m_grid->dayListEntries(index);
    if (line < 0 || size_t(line) >= entries.size())
        return false;
    select(entries[size_t(line)]);
    return true;
}

void GestureRouter::showDayListDetails(int index)
{
    if (!selectDayLine(index))
        return;
    const DayList *list = m_grid->dayList(index);
    const QString line = list->lineText(list->currentRow());
    // The day's date text is its first appointment's.
    const QRect cell(list->mapTo(m_surface, QPoint(0, 0)), list->size());
    m_pane->showAt(m_host.modernGestures() ? m_pane->areaBeside(cell, m_grid->geometry())
                                           : m_pane->areaAt(cell.topLeft()),
                   detail::listCaption(m_grid->dayListEntries(index).front().dates(), line), detail::listText(line));
}

void GestureRouter::showToDoDetails(int row)
{
    const QString key = m_todos->keyAt(row);
    select(ViewSelection::Kind::ToDo, key);
    const std::shared_ptr<DayvexData> plan = m_host.settings().Plan;
    if (key.isEmpty() || !plan || !plan->ToDoS()->find(key))
        return; // a row the host has emptied since the last refill
    const std::shared_ptr<ToDo> todo = plan->ToDoS()->Item(key);
    // Above the list, on its left edge: no row is covered, and the pane's left
    // edge tells a click on it that it shows a to-do.
    // At the top of the clicked row, or in Modern above the list, covering no row.
    const QPoint rowTop(m_todos->mapTo(m_surface, QPoint(0, 0)).x(),
                        m_todos->viewport()->mapTo(m_surface, QPoint(0, m_todos->rowViewportPosition(row))).y());
    m_pane->showAt(m_host.modernGestures() ? m_pane->areaAbove(m_todos->geometry(), m_surface->rect())
                                           : m_pane->areaAt(rowTop),
                   m_host.language().text(Text::ToDo),
                   detail::toDoText(*todo, m_host.settings().DateFormat, m_host.language()));
}

void GestureRouter::onToDoReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos)
{
    const int row = m_todos->cellAt(pos).first;
    if (button == Qt::LeftButton) {
        if (row >= 0)
            showToDoDetails(row);
        return;
    }
    if (button != Qt::RightButton || m_host.menusDisabled())
        return;
    const QString key = m_todos->keyAt(row);
    const bool holdsToDo = !key.isEmpty();
    const bool done = m_todos->isDone(row);
    m_todos->clearSelection();
    if (row >= 0)
        m_todos->setCurrentCell(row, holdsToDo ? 1 : 0, QItemSelectionModel::NoUpdate);
    if (holdsToDo)
        m_todos->selectionModel()->select(QItemSelection(m_todos->model()->index(row, 1),
                                                         m_todos->model()->index(row, m_todos->columnCount() - 1)),
                                          QItemSelectionModel::Select);
    select(ViewSelection::Kind::ToDo, key);
    m_host.popUpToDoMenu(holdsToDo, done, globalPos);
}

} // namespace dayvex
