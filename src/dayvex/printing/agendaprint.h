#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <QString>

class QPagedPaintDevice;

namespace dayvex {

class DayvexData;

/// What goes on paper: the three views, numbered as the view tabs, and the to-do list.
enum class PrintedView {
    Day = 1,        ///< One day's time grid.
    Week = 2,       ///< The time grid of the week, Monday to Sunday.
    Month = 3,      ///< The month, in weeks from Monday to Sunday.
    ToDoList = 4    ///< The to-do list.
};

/// What printAgenda prints and how, as the control shows it.
struct DAYVEX_EXPORT PrintOptions
{
    PrintedView view = PrintedView::Week;           ///< The view to print.
    Date shown;                                     ///< The day on show; its view's range is printed.
    QString dayStart = QStringLiteral("08:00");     ///< The first row of the time grid, "hh:mm"; unreadable: "08:00".
    QString dayEnd = QStringLiteral("20:00");       ///< The last row of the time grid, "hh:mm"; unreadable: "20:00".
    qint16 step = 30;                               ///< Minutes per row of the time grid; 0 or less: 30.
    bool multiUser = true;                          ///< Whether an appointment's line names its owner.
    bool dayFirst = true;                           ///< Whether dateFormat writes the day before the month.
    QString dateFormat = QStringLiteral("dd/mm/yyyy"); ///< How dates are written in headings and to-dos.
    bool showDoneToDos = true;                      ///< Whether the to-do list includes to-dos that are done.
    /// As the Modern presentation draws them: the day and week grids from the
    /// earliest to the latest appointment (at least dayStart to dayEnd, the hours
    /// outside shaded), every appointment at its true times on each day it
    /// touches, overlaps side by side, whole days in a strip above; the month
    /// lists an appointment on every day it touches.
    bool modern = false;
};

/// Draws the view on the device's pages (a QPrinter or a QPdfWriter), on the
/// page size and orientation it is set to: a heading naming the range, then the
/// grid laid out in twips by the same functions as the screen's. A day or week
/// fills one page; the to-do list breaks over as many as it needs, repeating its
/// column heading. Returns the number of pages drawn.
DAYVEX_EXPORT int printAgenda(QPagedPaintDevice &device, DayvexData &data, const PrintOptions &options);

} // namespace dayvex
