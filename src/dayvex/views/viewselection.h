#pragma once

#include <dayvex/platform/date.h>

#include <QString>

namespace dayvex {

// What the appointment and to-do commands act on, as the last gestures left it.
struct ViewSelection
{
    enum class Kind { None, Appointment, ToDo };
    Kind kind = Kind::None;     // which of the two keys was chosen last

    qint32 listaRow = -1;       // the grid's current cell: a new appointment's proposed time
    qint32 listaColumn = -1;
    QString appointmentKey;     // the appointment last clicked, in a box or a day list
    Date occurrence;            // its start when it is an occurrence of a series; empty otherwise
    QString toDoKey;            // the to-do of the to-do grid's current row
    qint32 pressedListIndex = -1; // the day list last pressed (0-based) and its line then
    qint32 pressedLineIndex = -1;
};

} // namespace dayvex
