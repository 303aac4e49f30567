#pragma once

#include <dayvex/i18n/language.h>
#include <dayvex/model/hostevents.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/records.h>
#include <dayvex/model/sharedsettings.h>

#include <memory>

class QUndoStack;
class QWidget;

namespace dayvex {

// What the commands and editors need of the control: its data, its events and
// its redraw. The control implements it; editing never includes the control.
class EditingHost
{
public:
    virtual ~EditingHost() = default;

    virtual std::shared_ptr<DayvexData> editedPlan() const = 0;
    // The control's settings and language texts: the shared ones, or its own.
    virtual const SharedSettings &settings() const = 0;
    virtual const LanguageTable &language() const = 0;
    // The window that editors and prompts stand over.
    virtual QWidget *dialogParent() const = 0;
    // Modern: a new appointment keeps the end the user entered, on a later day at
    // an earlier clock time too (a night shift, a trip), where the add cuts it to one step.
    virtual bool storesTrueEnd() const = 0;
    // Modern: every button of an editor gets a keyboard mnemonic.
    virtual bool keyboardMnemonics() const = 0;
    // A series reminds before each occurrence: the reminder due next after now,
    // the empty date when no occurrence is left.
    virtual Date nextSeriesReminder(const Schedule &series) const = 0;
    // "This and the following" from at on: the series ended before at, and a new
    // one with the rest of its occurrences moved by minutes (rule and dates only).
    struct SeriesParts
    {
        Schedule ended;
        Schedule following;
    };
    virtual SeriesParts splitSeries(const Schedule &series, Date at, qint64 minutes = 0) const = 0;
    // Redraws the current view from the data.
    virtual void redraw() = 0;
    // Refills the to-do list; greys the row of a to-do marked done.
    virtual void refillToDoList() = 0;
    virtual void showToDoDone(const QString &key) = 0;

    virtual BeforeAnswer raiseBefore(EventId id, std::shared_ptr<Schedule> &mSca) = 0;
    virtual void RaiseScheduleAdded(std::shared_ptr<Schedule> &mSca) = 0;
    virtual void RaiseScheduleChanged(std::shared_ptr<Schedule> &mSca) = 0;
    virtual void RaiseScheduleDeleted(std::shared_ptr<Schedule> &mSca) = 0;
    virtual void RaiseValidateSchedule(std::shared_ptr<Schedule> &mSca, bool &Cancel) = 0;
    virtual void RaiseContactCodeChange(QString &Value) = 0;
    virtual void RaiseContactCodeLostFocus(QString &Value, QString &ContactDescription, bool &Cancel) = 0;
    virtual void RaiseContactCodeDoubleClick(QString &Value, QString &ContactDescription) = 0;

    virtual BeforeAnswer raiseBefore(EventId id, std::shared_ptr<ToDo> &mToDo) = 0;
    virtual void RaiseTodoAdded(std::shared_ptr<ToDo> &mToDo) = 0;
    virtual void RaiseToDoChanged(std::shared_ptr<ToDo> &mToDo) = 0;
    virtual void RaiseToDoDeleted(std::shared_ptr<ToDo> &mToDo) = 0;
    virtual void RaiseValidateToDo(std::shared_ptr<ToDo> &mToDo, bool &Cancel) = 0;
    virtual void RaiseAlarmChange(std::shared_ptr<Schedule> &mSca) = 0;

    // The stack the changes made with the control's commands go on; none keeps no history.
    virtual QUndoStack *undoStack() const = 0;
    // A step of that stack could not be taken: its record changed some other way since.
    virtual void undoStepDropped(const QString &why) = 0;
};

} // namespace dayvex
