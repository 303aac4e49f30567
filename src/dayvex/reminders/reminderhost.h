#pragma once

#include <dayvex/i18n/language.h>
#include <dayvex/model/hostevents.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/records.h>
#include <dayvex/model/sharedsettings.h>

#include <memory>

class QWidget;

namespace dayvex {

// What the alarm scan and the reminder pop-up need of the control.
class ReminderHost
{
public:
    virtual ~ReminderHost() = default;

    virtual std::shared_ptr<DayvexData> editedPlan() const = 0;
    // The control's settings and language texts: the shared ones, or its own.
    virtual const SharedSettings &settings() const = 0;
    virtual const LanguageTable &language() const = 0;
    // The widget that owns the pop-ups: they go when it goes.
    virtual QWidget *reminderOwner() = 0;
    virtual bool DisableReminderPopUp() const = 0;
    // Modern: a pop-up closed by its frame snoozes; otherwise the alarm stays due.
    virtual bool modernReminders() const = 0;
    virtual QString ReminderSoundFile() const = 0;
    // Opens the record of an alarm in its editor, as Modify does.
    virtual void openAlarmRecord(const Alarm &alarm) = 0;

    // A series reminds before each of its occurrences: the start of the one a
    // reminder due at `due` is for (StartDate for a single appointment), and the
    // reminder due next after now, the empty date when no occurrence is left.
    virtual Date remindedStart(const Schedule &appointment, Date due) const = 0;
    virtual Date nextSeriesReminder(const Schedule &series) const = 0;

    virtual BeforeAnswer raiseReminderAlarm(std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder) = 0;
    virtual void RaiseAlarmChange(std::shared_ptr<Schedule> &mSca) = 0;
    virtual void RaiseToDoAlarmChange(std::shared_ptr<ToDo> &mToDo) = 0;
};

} // namespace dayvex
