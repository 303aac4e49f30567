#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/editing/editinghost.h>
#include <dayvex/model/hostevents.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/date.h>
#include <dayvex/reminders/reminderhost.h>
#include <dayvex/views/viewselection.h>

#include <QDate>
#include <QWidget>

#include <functional>
#include <memory>

class QAction;
class QLabel;
class QMenu;
class QPrinter;
class QTabBar;
class QTimer;

namespace dayvex {

class AgendaGrid;
class AlarmScan;
class AppointmentBox;
class AppointmentCommands;
class CommandFlag;
class ToDoCommands;
class DayList;
class DetailPane;
class ItemGestures;
class StatusLine;
class MonthCalendar;
class PropertyBag;
class ToDoGrid;

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
class DAYVEX_EXPORT zntDayvex : public QWidget, private EditingHost, private ReminderHost
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

    bool DisableReminderPopUp() const override { return m_disableReminderPopUp; }
    void setDisableReminderPopUp(bool value);
    bool DisableMenu() const { return m_disableMenu; }
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
    Date StartDay() const { return m_startDay; }
    void setStartDay(Date value);
    bool MultiUserEnabled() const;
    void setMultiUserEnabled(bool value);
    bool ContactCodeEnabled() const;
    void setContactCodeEnabled(bool value);
    QString ReminderSoundFile() const override { return m_reminderSoundFile; }
    void setReminderSoundFile(const QString &value);
    QString DefaultOwner() const;
    void setDefaultOwner(const QString &value);
    // The running state of the alarm timer.
    bool GlobalAlarmsEnable() const;
    void setGlobalAlarmsEnable(bool value);
    // Shared. Reloads the language texts at once; menu captions follow at the next load.
    QString LanguageFileName() const;
    void setLanguageFileName(const QString &value);
    qint16 CurrentView() const { return m_currentView; }

    // Forces a complete repaint of a object. Style selects a view (the default
    // keeps the current one); RebuildFrame is accepted and has no effect.
    void Refresh(zntPlanShowType Style = zntPlanShowDefault, bool RebuildFrame = false);

    // The container's life cycle.
    void InitProperties();
    void ReadProperties(PropertyBag &bag);
    void WriteProperties(PropertyBag &bag) const;

    // Internal to the component: the raise operations of the event protocol.
    // The Before events start with both flags false and hand back the host's answer.
    BeforeAnswer raiseBefore(EventId id, std::shared_ptr<Schedule> &mSca) override;
    BeforeAnswer raiseBefore(EventId id, std::shared_ptr<ToDo> &mToDo) override;
    BeforeAnswer raiseReminderAlarm(std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder) override;
    void RaiseTodoAdded(std::shared_ptr<ToDo> &mToDo) override;
    void RaiseToDoChanged(std::shared_ptr<ToDo> &mToDo) override;
    void RaiseValidateToDo(std::shared_ptr<ToDo> &mToDo, bool &Cancel) override;
    void RaiseToDoDeleted(std::shared_ptr<ToDo> &mToDo) override;
    void RaiseAlarmChange(std::shared_ptr<Schedule> &mSca) override;
    void RaiseToDoAlarmChange(std::shared_ptr<ToDo> &mToDo) override;

    // Internal to the component: what the commands act on, as the gestures left it.
    const ViewSelection &viewSelection() const { return m_selection; }

    // Internal to the component: the appointment commands, as the menu entries
    // and gestures run them. They throw dayvex::Error to a direct caller.
    void mnNuovo_Click();
    void mnModifica_Click();
    void mnElimina_Click();
    // Internal to the component: the to-do commands, on the to-do of the list's current row.
    void mnuAttivitaCompleta_Click();
    void mnNuovaAttivita_Click();
    void mnModificaAttivita_Click();
    void mnEliminaAttivita_Click();
    // Internal to the component: one tick of the alarm timer, as the Timer child runs it.
    // Throws dayvex::Error 5 when a due alarm's record is gone.
    void scanAlarms();
    // True while a New or Modify command of either kind waits for its editor.
    bool commandInProgress() const;

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
    // The form's view of DayStepMinutes and StartDay; values the host API would
    // not take (a step that is no qint16, a day outside the years 100 to 9999) are ignored.
    int dayStepMinutesOnForm() const { return DayStepMinutes(); }
    void setDayStepMinutesFromForm(int value);
    QDate startDayOnForm() const;
    void setStartDayFromForm(const QDate &value);

    // What the commands and editors ask of the control.
    std::shared_ptr<DayvexData> editedPlan() const override { return Plan(); }
    QWidget *dialogParent() const override;
    void redraw() override;
    void refillToDoList() override { refillToDos(); }
    QWidget *reminderOwner() override { return this; }
    void showToDoDone(const QString &key) override;
    QString currentToDoKey() const;
    void RaiseScheduleAdded(std::shared_ptr<Schedule> &mSca) override;
    void RaiseScheduleChanged(std::shared_ptr<Schedule> &mSca) override;
    void RaiseScheduleDeleted(std::shared_ptr<Schedule> &mSca) override;
    void RaiseValidateSchedule(std::shared_ptr<Schedule> &mSca, bool &Cancel) override;
    void RaiseContactCodeChange(QString &Value) override;
    void RaiseContactCodeLostFocus(QString &Value, QString &ContactDescription, bool &Cancel) override;
    void RaiseContactCodeDoubleClick(QString &Value, QString &ContactDescription) override;
    void connectCommands();

    // The view switch of the tab strip, then the drawing steps of the views.
    void selectView();
    int selectedTab() const;
    bool dayFirst() const;
    int print(QPrinter *printer, int view);
    void rebuildTimeRows();
    void refillToDos();
    void drawAppointments();
    void drawView(int view);
    void showNow();
    void rebuildAlarms();
    void onCalendarDateClicked(const QDate &date);
    void onCalendarSelectionChanged();
    // Runs a drawing step started by the user, where no host call could catch its error.
    template <typename Step>
    void runFromUser(Step step);

    // The gestures of the grids, the boxes, the day lists and the detail pane.
    void connectGestures();
    void watchBox(AppointmentBox *box);
    void watchDayList(DayList *list);
    // select makes the gesture's appointment the selected one; false when there is none.
    void watchAppointmentGestures(const ItemGestures *gestures, std::function<bool()> select);
    void onListaReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos);
    void listaClickAction();
    void showBoxDetails(AppointmentBox *box);
    bool selectDayLine(int index);
    void showDayListDetails(int index);
    void showToDoDetails(int row);
    void onToDoReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos);
    void popUpAppointmentMenu(bool onAppointment, const QPoint &globalPos);
    // Runs a command entry point whatever the menu's enabled state.
    static void runCommand(QAction *entry);

    void createChildren();
    void createMenus();
    void applyMenuCaptions();
    void layOutChildren();
    void markChanged(const char *name);

    // Per instance.
    bool m_disableReminderPopUp = false;
    bool m_disableMenu = false;
    bool m_captionsApplied = false; // the language texts are on the menus and lists
    Date m_startDay;
    QString m_reminderSoundFile;
    qint16 m_currentView = 0;
    bool m_inResize = false;
    ViewSelection m_selection;
    // The flag outlives the commands, which end the waits of their editors.
    std::unique_ptr<CommandFlag> m_commandRunning;
    std::unique_ptr<AppointmentCommands> m_appointments;
    std::unique_ptr<ToDoCommands> m_todos;
    std::unique_ptr<AlarmScan> m_alarmScan;

    // Children, named as the host and the language file know them.
    AgendaGrid *m_lista = nullptr;
    ToDoGrid *m_daFare = nullptr;
    MonthCalendar *m_calendar = nullptr;
    QTabBar *m_tipoVis = nullptr;
    QLabel *m_thisDay = nullptr;
    StatusLine *m_statusBar = nullptr;
    DetailPane *m_frShowApp = nullptr;
    QTimer *m_timer = nullptr;

    QMenu *m_mnAppuntamento = nullptr;
    QAction *m_mnNuovo = nullptr;
    QAction *m_mnModifica = nullptr;
    QAction *m_mnElimina = nullptr;
    QMenu *m_mnuAttivita = nullptr;
    QAction *m_mnuAttivitaCompleta = nullptr;
    QAction *m_mnuSep1 = nullptr;
    QAction *m_mnNuovaAttivita = nullptr;
    QAction *m_mnModificaAttivita = nullptr;
    QAction *m_mnEliminaAttivita = nullptr;
    QAction *m_mnStampa = nullptr;         // print preview of the view
    QAction *m_mnStampaAttivita = nullptr; // print preview of the to-do list
};

} // namespace dayvex

Q_DECLARE_METATYPE(std::shared_ptr<dayvex::DayvexData>)
