#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <QString>

class QPagedPaintDevice;

namespace dayvex {

class DayvexData;

// What goes on paper: the three views, numbered as the view tabs, and the to-do list.
enum class PrintedView { Day = 1, Week = 2, Month = 3, ToDoList = 4 };

struct DAYVEX_EXPORT PrintOptions
{
    PrintedView view = PrintedView::Week;
    Date shown;                 // the day on show; its view's range is printed
    QString dayStart = QStringLiteral("08:00");
    QString dayEnd = QStringLiteral("20:00");
    qint16 step = 30;
    bool multiUser = true;
    bool dayFirst = true;
    QString dateFormat = QStringLiteral("dd/mm/yyyy");
    bool showDoneToDos = true;
};

// Draws the view on the device's pages (a QPrinter or a QPdfWriter), on the
// page size and orientation it is set to: a heading naming the range, then the
// grid laid out in twips by the same functions as the screen's. A day or week
// fills one page; the to-do list breaks over as many as it needs, repeating its
// column heading. Returns the number of pages drawn.
DAYVEX_EXPORT int printAgenda(QPagedPaintDevice &device, DayvexData &data, const PrintOptions &options);

} // namespace dayvex
