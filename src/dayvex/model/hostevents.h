#pragma once

#include <QtGlobal>

namespace dayvex {

// Dispatch ids of the control's events; hosts written for the control rely on them.
enum class EventId : qint32 {
    ContactCodeChange = 1,
    ContactCodeLostFocus = 2,
    ContactCodeDoubleClick = 3,
    BeforeScheduleAdd = 4,
    ScheduleAdded = 5,
    BeforeScheduleDelete = 6,
    ScheduleDeleted = 7,
    BeforeScheduleChange = 8,
    ScheduleChanged = 9,
    TodoAdded = 10,
    BeforeTodoAdd = 11, // declared for hosts, never raised: a new to-do raises BeforeTodoChange
    ToDoDeleted = 12,
    BeforeTodoDelete = 13,
    ToDoChanged = 14,
    BeforeTodoChange = 15,
    AlarmChange = 16,
    ToDoAlarmChange = 17,
    BeforeTodoSetComplete = 18,
    DateSelected = 19,
    ReminderAlarm = 20,
    ValidateSchedule = 21,
    ValidateToDo = 22,
};

// The host's answer to a "Before" event. Cancel is tested first and wins.
struct BeforeAnswer
{
    bool ExternalHandled = false;
    bool Cancel = false;
};

} // namespace dayvex
