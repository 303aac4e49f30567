#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/editing/appointmenteditor.h>
#include <dayvex/editing/commandflag.h>
#include <dayvex/platform/date.h>

#include <QPointer>
#include <QString>

#include <optional>

namespace dayvex {

class EditingHost;
class Error;

// The New, Modify and Delete commands of the appointment menu. Each asks the
// host first (Cancel ends it, ExternalHandled skips the control's own dialog),
// keeps the appointments and their alarms in step and redraws at the end.
// Errors reach the caller.
class AppointmentCommands
{
public:
    AppointmentCommands(EditingHost &host, CommandFlag &running);
    ~AppointmentCommands();

    // A new appointment starting and ending at proposed.
    // end, when given, proposes a length too (the slots selected or dragged over).
    void newAppointment(Date proposed, std::optional<Date> end = std::nullopt);
    void modify(const QString &key);
    void remove(const QString &key);
    // Gives the appointment of key the times a drag dropped it at. The host sees
    // a copy carrying them, first in BeforeScheduleChange (Cancel ends it there;
    // ExternalHandled leaves the change to the host, and nothing more is raised),
    // then in ValidateSchedule (Cancel ends it). The record then takes the times,
    // its reminder moves by as much as its start, and ScheduleChanged follows,
    // then AlarmChange when the reminder moved. False when nothing changed.
    bool reschedule(const QString &key, Date start, Date end);

    // The open editor (AppForm), if any.
    AppointmentEditor *editor() const { return m_editor; }

    // Error 0x8004000A: an externally handled appointment without a description.
    static Error invalidSchedule();

private:
    // Shows the editor and waits; false when the control went away meanwhile.
    bool runEditor(const RunningCommand &running, const QString &formKey, const Schedule &values);

    EditingHost &m_host;
    // Set from the start of a New or Modify (of either kind) until its editor is
    // gone; a New or Modify asked for meanwhile is refused quietly.
    CommandFlag &m_running;
    QPointer<AppointmentEditor> m_editor;
};


} // namespace dayvex
