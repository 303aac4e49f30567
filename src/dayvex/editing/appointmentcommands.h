#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/editing/appointmenteditor.h>
#include <dayvex/editing/commandflag.h>
#include <dayvex/platform/date.h>

#include <QPointer>
#include <QString>

#include <optional>
#include <utility>
#include <vector>

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
    // occurrence: the start of the occurrence chosen when key is a series; the
    // person then picks which occurrences the command acts on (see README).
    void modify(const QString &key, Date occurrence = {});
    void remove(const QString &key, Date occurrence = {});
    // Gives the appointment of key the times a drag dropped it at. The host sees
    // a copy carrying them, first in BeforeScheduleChange (Cancel ends it there;
    // ExternalHandled leaves the change to the host, and nothing more is raised),
    // then in ValidateSchedule (Cancel ends it). The record then takes the times,
    // its reminder moves by as much as its start, and ScheduleChanged follows,
    // then AlarmChange when the reminder moved. False when nothing changed.
    // occurrence: the start of the occurrence dragged when key is a series; the
    // person then picks which occurrences move: this one (a record of its own,
    // added as New adds), this and the following (a series of their own), or
    // the whole series, its dates moved by as much.
    bool reschedule(const QString &key, Date start, Date end, Date occurrence = {});

    // The open editor (AppForm), if any.
    AppointmentEditor *editor() const { return m_editor; }

    // Error 0x8004000A: an externally handled appointment without a description.
    static Error invalidSchedule();

private:
    // Shows the editor and waits; false when the control went away meanwhile.
    // added, when given, tells whether the editor stored a new record.
    bool runEditor(const RunningCommand &running, const QString &formKey, const Schedule &values,
                   bool *added = nullptr);
    // BeforeScheduleAdd for mSca, then the host's add or the editor on it. False
    // when the host cancelled or the control went away; stored tells whether a record was.
    bool add(const RunningCommand &running, std::shared_ptr<Schedule> mSca, bool *stored = nullptr);

    // The occurrence of series at occurrence as a record of its own, opened as new.
    void addOverride(const RunningCommand &running, const Schedule &series, Date occurrence);
    // Ends series before occurrence and opens a copy starting there as new.
    void splitSeries(const RunningCommand &running, const QString &key, Date occurrence);
    // Asks which occurrences of series, when occurrence names one, and acts on
    // all but the whole series (asked tells whether the question came). running:
    // a Modify's, none for a Delete. True when the command is done.
    bool seriesScopeDone(const RunningCommand *running, const std::shared_ptr<Schedule> &series, Date occurrence,
                         bool &asked);
    // A dragged occurrence of series: false when the whole series moves (start
    // and end then say where it starts and ends), true when done here; moved
    // tells whether anything changed.
    bool rescheduleOccurrence(const std::shared_ptr<Schedule> &series, Date occurrence, Date &start, Date &end,
                              bool &moved);
    // Adds mSca, made by a drag, as a record: BeforeScheduleAdd (ExternalHandled
    // leaves it to the host), ValidateSchedule, then ScheduleAdded. stored tells
    // whether the control stored it; false when the host refused it.
    bool addDropped(std::shared_ptr<Schedule> mSca, bool *stored = nullptr);
    // The host's say on the series of live taking the rule and dates of proposed:
    // BeforeScheduleChange, then ValidateSchedule. The host may change proposed.
    enum class Agreed { No, External, Yes };
    Agreed askSeriesChange(std::shared_ptr<Schedule> &proposed);
    void applySeriesChange(const QString &key, const Schedule &proposed);

    EditingHost &m_host;
    // Set from the start of a New or Modify (of either kind) until its editor is
    // gone; a New or Modify asked for meanwhile is refused quietly.
    CommandFlag &m_running;
    QPointer<AppointmentEditor> m_editor;
};


// The earliest of a series' start and its extra and excluded dates: a split there
// keeps every one of them in the part that goes on.
Date firstDateOf(const Schedule &series);

// The records that stand for occurrences of series key from from on (all when
// from is empty) made to stand for occurrences of series toKey, minutes later, as
// it is made; the host hears of them through announce(), and each is recorded
// for undo when it goes, a host's failure meanwhile notwithstanding. Nothing
// moves when toKey is empty.
class ShiftedOverrides
{
public:
    ShiftedOverrides(EditingHost &host, const QString &key, const QString &toKey, Date from, qint64 minutes);
    ~ShiftedOverrides();
    ShiftedOverrides(const ShiftedOverrides &) = delete;
    ShiftedOverrides &operator=(const ShiftedOverrides &) = delete;
    void announce();

private:
    EditingHost &m_host;
    std::vector<std::pair<std::shared_ptr<Schedule>, Schedule>> m_shifted; // each with the record as it was
};

// A deleted record that stood for an occurrence of a series leaves that
// occurrence out of the series, as it is made: without it the series would show
// the occurrence again at its first time. announce() tells the host of the
// series' change, which is recorded for undo when this goes.
class LeftOutOccurrence
{
public:
    LeftOutOccurrence(EditingHost &host, const Schedule &removed);
    ~LeftOutOccurrence();
    LeftOutOccurrence(const LeftOutOccurrence &) = delete;
    LeftOutOccurrence &operator=(const LeftOutOccurrence &) = delete;
    void announce();

private:
    EditingHost &m_host;
    std::shared_ptr<Schedule> m_series; // null when nothing changed
    std::optional<Schedule> m_before;
};

// Takes the records that stand for occurrences of the series of key (those from
// from on; all when from is empty) out of the plan with their alarms, each
// recorded for undo, and returns them for the caller to tell the host of.
std::vector<std::shared_ptr<Schedule>> takeOutOverrides(EditingHost &host, const QString &key, Date from);

} // namespace dayvex
