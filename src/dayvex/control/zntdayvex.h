#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/date.h>

#include <QDate>
#include <QWidget>

#include <memory>
#include <utility>

class QLocale;
class QPrinter;

namespace dayvex {

class PropertyBag;
class zntDayvexPrivate;

// The view styles; also the tab numbers of TipoVis and the values of CurrentView.
enum zntPlanShowType : qint16 {
    zntPlanShowDefault = 0,
    zntPlanShowDay = 1,
    zntPlanShowWeek = 2,
    zntPlanShowMonth = 3,
};

// The agenda control. It starts as InitProperties() leaves it; a host that
// keeps the control's properties calls ReadProperties() after construction. The
// host assigns its DayvexData to Plan and calls Refresh(). Settings marked shared live in sharedSettings() and are the same
// for every instance in the process.
class DAYVEX_EXPORT zntDayvex : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(bool DisableReminderPopUp READ DisableReminderPopUp WRITE setDisableReminderPopUp)
    Q_PROPERTY(bool DisableMenu READ DisableMenu WRITE setDisableMenu)
    Q_PROPERTY(QString DayStartTime READ DayStartTime WRITE setDayStartTime)
    Q_PROPERTY(QString DayEndTime READ DayEndTime WRITE setDayEndTime)
    // Qt Designer edits neither qint16 nor Date: a form sees DayStepMinutes as an
    // int and StartDay as a QDate, through setters that keep the host API's rules.
    Q_PROPERTY(int DayStepMinutes READ dayStepMinutesOnForm WRITE setDayStepMinutesFromForm)
    Q_PROPERTY(std::shared_ptr<dayvex::DayvexData> Plan READ Plan WRITE setPlan DESIGNABLE false)
    Q_PROPERTY(QDate StartDay READ startDayOnForm WRITE setStartDayFromForm)
    Q_PROPERTY(bool MultiUserEnabled READ MultiUserEnabled WRITE setMultiUserEnabled)
    Q_PROPERTY(bool ContactCodeEnabled READ ContactCodeEnabled WRITE setContactCodeEnabled)
    Q_PROPERTY(QString ReminderSoundFile READ ReminderSoundFile WRITE setReminderSoundFile)
    Q_PROPERTY(QString DefaultOwner READ DefaultOwner WRITE setDefaultOwner)
    Q_PROPERTY(bool GlobalAlarmsEnable READ GlobalAlarmsEnable WRITE setGlobalAlarmsEnable)
    Q_PROPERTY(QString LanguageFileName READ LanguageFileName WRITE setLanguageFileName)
    Q_PROPERTY(qint16 CurrentView READ CurrentView DESIGNABLE false)

public:
    explicit zntDayvex(QWidget *parent = nullptr);
    ~zntDayvex() override;

    bool DisableReminderPopUp() const;
    void setDisableReminderPopUp(bool value);
    bool DisableMenu() const;
    void setDisableMenu(bool value);
    // Shared. Texts that are no date or time are ignored.
    QString DayStartTime() const;
    void setDayStartTime(const QString &value);
    QString DayEndTime() const;
    void setDayEndTime(const QString &value);
    // Shared. Values outside 5 to 179 are ignored.
    qint16 DayStepMinutes() const;
    void setDayStepMinutes(qint16 value);
    // Shared; never saved. Assigning it redraws nothing: call Refresh().
    std::shared_ptr<DayvexData> Plan() const;
    void setPlan(std::shared_ptr<DayvexData> value);
    Date StartDay() const;
    void setStartDay(Date value);
    bool MultiUserEnabled() const;
    void setMultiUserEnabled(bool value);
    bool ContactCodeEnabled() const;
    void setContactCodeEnabled(bool value);
    QString ReminderSoundFile() const;
    void setReminderSoundFile(const QString &value);
    QString DefaultOwner() const;
    void setDefaultOwner(const QString &value);
    // The running state of the alarm timer.
    bool GlobalAlarmsEnable() const;
    void setGlobalAlarmsEnable(bool value);
    // Shared. Reloads the language texts at once; menu captions follow at the next load.
    QString LanguageFileName() const;
    void setLanguageFileName(const QString &value);
    qint16 CurrentView() const;

    // Forces a complete repaint of a object. Style selects a view (the default
    // keeps the current one); RebuildFrame is accepted and has no effect.
    void Refresh(zntPlanShowType Style = zntPlanShowDefault, bool RebuildFrame = false);

    // The container's life cycle.
    void InitProperties();
    void ReadProperties(PropertyBag &bag);
    void WriteProperties(PropertyBag &bag) const;

    // The appointment commands, as the menu entries and gestures run them: New
    // at the selected day and row, Modify and Delete on the selected appointment.
    // They throw dayvex::Error to a direct caller.
    void mnNuovo_Click();
    void mnModifica_Click();
    void mnElimina_Click();
    // The to-do commands, on the to-do of the list's current row.
    void mnuAttivitaCompleta_Click();
    void mnNuovaAttivita_Click();
    void mnModificaAttivita_Click();
    void mnEliminaAttivita_Click();
    // Prints the view on show (the day, week or month of the date on show) or
    // the to-do list on printer's pages, as it is set up (page size,
    // orientation, or a PDF file). Returns the number of pages.
    int printView(QPrinter *printer);
    int printToDoList(QPrinter *printer);

    // The date formats that start-up picks for a locale: day first when the
    // locale writes 3 December 2000 starting with "3", month first otherwise.
    static std::pair<QString, QString> dateFormatsFor(const QLocale &locale);

signals:
    // The host's property-changed notification, with the property's name.
    void PropertyChanged(const QString &name);

    // The 22 events, in dispatch-id order. Parameters are references: a directly
    // connected handler may rewrite them and the control reads them back.
    void ContactCodeChange(QString &Value);
    void ContactCodeLostFocus(QString &Value, QString &ContactDescription, bool &Cancel);
    void ContactCodeDoubleClick(QString &Value, QString &ContactDescription);
    void BeforeScheduleAdd(std::shared_ptr<dayvex::Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    void ScheduleAdded(std::shared_ptr<dayvex::Schedule> &mSca);
    void BeforeScheduleDelete(std::shared_ptr<dayvex::Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    void ScheduleDeleted(std::shared_ptr<dayvex::Schedule> &mSca);
    void BeforeScheduleChange(std::shared_ptr<dayvex::Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    void ScheduleChanged(std::shared_ptr<dayvex::Schedule> &mSca);
    void TodoAdded(std::shared_ptr<dayvex::ToDo> &mToDo);
    void BeforeTodoAdd(std::shared_ptr<dayvex::ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    void ToDoDeleted(std::shared_ptr<dayvex::ToDo> &mToDo);
    void BeforeTodoDelete(std::shared_ptr<dayvex::ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    void ToDoChanged(std::shared_ptr<dayvex::ToDo> &mToDo);
    void BeforeTodoChange(std::shared_ptr<dayvex::ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    void AlarmChange(std::shared_ptr<dayvex::Schedule> &mSca);
    void ToDoAlarmChange(std::shared_ptr<dayvex::ToDo> &mToDo);
    void BeforeTodoSetComplete(std::shared_ptr<dayvex::ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    void DateSelected(dayvex::Date &NewDate);
    void ReminderAlarm(std::shared_ptr<dayvex::Alarm> &alrm, QWidget *&FormReminder, bool &ExternalHandled,
                       bool &Cancel);
    void ValidateSchedule(std::shared_ptr<dayvex::Schedule> &mSca, bool &Cancel);
    void ValidateToDo(std::shared_ptr<dayvex::ToDo> &mToDo, bool &Cancel);

protected:
    bool event(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    friend class zntDayvexPrivate;

    // The form's view of DayStepMinutes and StartDay; values the host API would
    // not take (a step that is no qint16, a day outside the years 100 to 9999) are ignored.
    int dayStepMinutesOnForm() const { return DayStepMinutes(); }
    void setDayStepMinutesFromForm(int value);
    QDate startDayOnForm() const;
    void setStartDayFromForm(const QDate &value);
    void markChanged(const char *name);
    // Applies a property's assignment rule; an accepted value is stored and announced.
    bool assign(const char *name, const QVariant &value);

    std::unique_ptr<zntDayvexPrivate> d;
};

} // namespace dayvex

Q_DECLARE_METATYPE(std::shared_ptr<dayvex::DayvexData>)
