#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/date.h>

#include <QDate>
#include <QTime>
#include <QVariant>
#include <QVariantMap>
#include <QWidget>

#include <memory>
#include <utility>

class QLocale;
class QSettings;
class QPrinter;
class QUndoStack;

namespace dayvex {

class zntDayvexPrivate;

/// The host's store of the control's design-time properties. A value equal to
/// its default is not stored, so a reader sees the default again.
class DAYVEX_EXPORT PropertyBag
{
public:
    virtual ~PropertyBag();
    /// The value stored under name, or defaultValue when none is.
    virtual QVariant ReadProperty(const QString &name, const QVariant &defaultValue) = 0;
    /// Stores value under name; a value equal to defaultValue removes the entry instead.
    virtual void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) = 0;
};

/// Properties kept in memory, for hosts with a store of their own and for tests.
class DAYVEX_EXPORT MemoryPropertyBag : public PropertyBag
{
public:
    /// An empty bag: every read yields its default.
    MemoryPropertyBag() = default;
    /// A bag holding values, by property name.
    explicit MemoryPropertyBag(QVariantMap values) : m_values(std::move(values)) {}

    /// The value stored under name, or defaultValue when none is.
    QVariant ReadProperty(const QString &name, const QVariant &defaultValue) override;
    /// Stores value under name; a value equal to defaultValue removes the entry instead.
    void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) override;

    /// Every stored value, by property name.
    QVariantMap values() const { return m_values; }

private:
    QVariantMap m_values;
};

/// Properties kept in a group of a QSettings file.
class DAYVEX_EXPORT SettingsPropertyBag : public PropertyBag
{
public:
    /// A bag reading and writing the keys of group in settings, which must outlive it.
    explicit SettingsPropertyBag(QSettings &settings, const QString &group = QStringLiteral("zntDayvex"));

    /// The value of name in the group, or defaultValue when the settings have none.
    QVariant ReadProperty(const QString &name, const QVariant &defaultValue) override;
    /// Sets name in the group to value; a value equal to defaultValue removes the key instead.
    void WriteProperty(const QString &name, const QVariant &value, const QVariant &defaultValue) override;

private:
    QSettings &m_settings;
    QString m_group;
};

/// Reading typed values from a bag: a value of the wrong kind (text where a
/// number belongs) throws dayvex::Error 13 naming the property; a number too
/// large for its type throws 6.
namespace bag {
/// value as a Boolean: a Boolean, "true" or "false" in any case, or a number (non-zero is true).
/// Throws Error 13 for anything else.
DAYVEX_EXPORT bool toBool(const QVariant &value, const QString &name);
/// value as a number rounded half to even; throws Error 13 when it is no number, 6 outside -32768 to 32767.
DAYVEX_EXPORT qint16 toInt16(const QVariant &value, const QString &name);
/// value as a finite number, text trimmed; throws Error 13 for a Boolean, other text, NaN or an infinity.
DAYVEX_EXPORT double toDouble(const QVariant &value, const QString &name);
/// value as text; throws Error 13 for a list, a map or anything else that has no text.
DAYVEX_EXPORT QString toText(const QVariant &value, const QString &name);
} // namespace bag

/// Whether every control in the process shares Plan, the properties marked
/// shared and the language texts: true unless setInstancesShareState(false) was called.
DAYVEX_EXPORT bool instancesShareState();
/// With false, each control made afterwards keeps its own Plan, settings and
/// language texts, and creating one never touches another. Call it before the
/// first control is made: controls that exist keep what they had (a warning in
/// the dayvex log says so).
DAYVEX_EXPORT void setInstancesShareState(bool share);

/// The control's 22 events as virtual functions, for a host that prefers an
/// interface to signals. Each is called synchronously, with the same references,
/// just before the signal of the same name, so a connected handler sees (and may
/// overrule) what the policy answered. Every default does nothing.
class DAYVEX_EXPORT HostPolicy
{
public:
    virtual ~HostPolicy();
    /// As zntDayvex::ContactCodeChange.
    virtual void ContactCodeChange(QString &Value);
    /// As zntDayvex::ContactCodeLostFocus.
    virtual void ContactCodeLostFocus(QString &Value, QString &ContactDescription, bool &Cancel);
    /// As zntDayvex::ContactCodeDoubleClick.
    virtual void ContactCodeDoubleClick(QString &Value, QString &ContactDescription);
    /// As zntDayvex::BeforeScheduleAdd.
    virtual void BeforeScheduleAdd(std::shared_ptr<Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    /// As zntDayvex::ScheduleAdded.
    virtual void ScheduleAdded(std::shared_ptr<Schedule> &mSca);
    /// As zntDayvex::BeforeScheduleDelete.
    virtual void BeforeScheduleDelete(std::shared_ptr<Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    /// As zntDayvex::ScheduleDeleted.
    virtual void ScheduleDeleted(std::shared_ptr<Schedule> &mSca);
    /// As zntDayvex::BeforeScheduleChange.
    virtual void BeforeScheduleChange(std::shared_ptr<Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    /// As zntDayvex::ScheduleChanged.
    virtual void ScheduleChanged(std::shared_ptr<Schedule> &mSca);
    /// As zntDayvex::TodoAdded.
    virtual void TodoAdded(std::shared_ptr<ToDo> &mToDo);
    /// As zntDayvex::BeforeTodoAdd.
    virtual void BeforeTodoAdd(std::shared_ptr<ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    /// As zntDayvex::ToDoDeleted.
    virtual void ToDoDeleted(std::shared_ptr<ToDo> &mToDo);
    /// As zntDayvex::BeforeTodoDelete.
    virtual void BeforeTodoDelete(std::shared_ptr<ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    /// As zntDayvex::ToDoChanged.
    virtual void ToDoChanged(std::shared_ptr<ToDo> &mToDo);
    /// As zntDayvex::BeforeTodoChange.
    virtual void BeforeTodoChange(std::shared_ptr<ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    /// As zntDayvex::AlarmChange.
    virtual void AlarmChange(std::shared_ptr<Schedule> &mSca);
    /// As zntDayvex::ToDoAlarmChange.
    virtual void ToDoAlarmChange(std::shared_ptr<ToDo> &mToDo);
    /// As zntDayvex::BeforeTodoSetComplete.
    virtual void BeforeTodoSetComplete(std::shared_ptr<ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    /// As zntDayvex::DateSelected.
    virtual void DateSelected(Date &NewDate);
    /// As zntDayvex::ReminderAlarm.
    virtual void ReminderAlarm(std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder, bool &ExternalHandled,
                               bool &Cancel);
    /// As zntDayvex::ValidateSchedule.
    virtual void ValidateSchedule(std::shared_ptr<Schedule> &mSca, bool &Cancel);
    /// As zntDayvex::ValidateToDo.
    virtual void ValidateToDo(std::shared_ptr<ToDo> &mToDo, bool &Cancel);
};

/// The view styles; also the tab numbers of TipoVis and the values of CurrentView.
enum zntPlanShowType : qint16 {
    zntPlanShowDefault = 0, ///< Keep the view on show.
    zntPlanShowDay = 1,     ///< One day in time rows.
    zntPlanShowWeek = 2,    ///< Seven days in time rows, with a heading row.
    zntPlanShowMonth = 3,   ///< Five weeks of day cells, each with a list of its appointments.
};

/// The agenda control: day, week and month views of the appointments of a
/// DayvexData beside a month calendar, a to-do list, reminders, and the menus and
/// editors that change them, telling the host of every change through its events.
///
/// It starts as InitProperties() leaves it; a host that keeps the control's
/// properties calls ReadProperties() after construction. The host assigns its
/// DayvexData to Plan and calls Refresh(). Properties marked shared are the same
/// for every control in the process.
class DAYVEX_EXPORT zntDayvex : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(bool DisableReminderPopUp READ DisableReminderPopUp WRITE setDisableReminderPopUp NOTIFY
                   disableReminderPopUpChanged)
    Q_PROPERTY(bool DisableMenu READ DisableMenu WRITE setDisableMenu NOTIFY disableMenuChanged)
    Q_PROPERTY(QString DayStartTime READ DayStartTime WRITE setDayStartTime NOTIFY dayStartTimeChanged)
    Q_PROPERTY(QString DayEndTime READ DayEndTime WRITE setDayEndTime NOTIFY dayEndTimeChanged)
    // Qt Designer edits neither qint16 nor Date: a form sees DayStepMinutes as an
    // int and StartDay as a QDate, through setters that keep the host API's rules.
    Q_PROPERTY(
        int DayStepMinutes READ dayStepMinutesOnForm WRITE setDayStepMinutesFromForm NOTIFY dayStepMinutesChanged)
    Q_PROPERTY(std::shared_ptr<dayvex::DayvexData> Plan READ Plan WRITE setPlan NOTIFY planChanged DESIGNABLE false)
    Q_PROPERTY(QDate StartDay READ startDayOnForm WRITE setStartDayFromForm NOTIFY startDayChanged)
    Q_PROPERTY(bool MultiUserEnabled READ MultiUserEnabled WRITE setMultiUserEnabled NOTIFY multiUserEnabledChanged)
    Q_PROPERTY(
        bool ContactCodeEnabled READ ContactCodeEnabled WRITE setContactCodeEnabled NOTIFY contactCodeEnabledChanged)
    Q_PROPERTY(
        QString ReminderSoundFile READ ReminderSoundFile WRITE setReminderSoundFile NOTIFY reminderSoundFileChanged)
    Q_PROPERTY(QString DefaultOwner READ DefaultOwner WRITE setDefaultOwner NOTIFY defaultOwnerChanged)
    Q_PROPERTY(
        bool GlobalAlarmsEnable READ GlobalAlarmsEnable WRITE setGlobalAlarmsEnable NOTIFY globalAlarmsEnableChanged)
    Q_PROPERTY(QString LanguageFileName READ LanguageFileName WRITE setLanguageFileName NOTIFY languageFileNameChanged)
    Q_PROPERTY(qint16 CurrentView READ CurrentView NOTIFY currentViewChanged DESIGNABLE false)
    Q_PROPERTY(bool AutoRefresh READ AutoRefresh WRITE setAutoRefresh NOTIFY autoRefreshChanged)
    Q_PROPERTY(PresentationStyle Presentation READ Presentation WRITE setPresentation NOTIFY presentationChanged)
    Q_PROPERTY(bool SideColumnCollapsed READ SideColumnCollapsed WRITE setSideColumnCollapsed NOTIFY
                   sideColumnCollapsedChanged)
    Q_PROPERTY(bool DragEditing READ DragEditing WRITE setDragEditing NOTIFY dragEditingChanged)

public:
    /// A control as InitProperties() leaves it, with a new empty shared Plan.
    explicit zntDayvex(QWidget *parent = nullptr);
    ~zntDayvex() override;

    /// True when due reminders raise ReminderAlarm but show no pop-up.
    bool DisableReminderPopUp() const;
    /// Sets DisableReminderPopUp.
    void setDisableReminderPopUp(bool value);
    /// True when the grids' context menus and double clicks run no command.
    bool DisableMenu() const;
    /// Sets DisableMenu.
    void setDisableMenu(bool value);
    /// Shared. The time of the first row of the day and week views, as text ("08:00").
    QString DayStartTime() const;
    /// Sets DayStartTime; a text that is no date or time is ignored.
    void setDayStartTime(const QString &value);
    /// Shared. The time of the last row of the day and week views, as text ("20:00").
    QString DayEndTime() const;
    /// Sets DayEndTime; a text that is no date or time is ignored.
    void setDayEndTime(const QString &value);
    /// Shared. The minutes of one time row.
    qint16 DayStepMinutes() const;
    /// Sets DayStepMinutes; values outside 5 to 179 are ignored.
    void setDayStepMinutes(qint16 value);
    /// Shared; never saved. The data the control shows and changes.
    std::shared_ptr<DayvexData> Plan() const;
    /// Sets Plan. Assigning it redraws nothing: call Refresh().
    void setPlan(std::shared_ptr<DayvexData> value);
    /// The day on show and selected in the month calendar.
    Date StartDay() const;
    /// Shows value's day in every view and the calendar.
    void setStartDay(Date value);
    /// Shared. True when texts show each appointment's owner.
    bool MultiUserEnabled() const;
    /// Sets MultiUserEnabled.
    void setMultiUserEnabled(bool value);
    /// Shared. True when the appointment editor shows the contact code and contact fields.
    bool ContactCodeEnabled() const;
    /// Sets ContactCodeEnabled.
    void setContactCodeEnabled(bool value);
    /// The sound file a reminder plays; empty for the default sound.
    QString ReminderSoundFile() const;
    /// Sets ReminderSoundFile.
    void setReminderSoundFile(const QString &value);
    /// Shared. The owner of new appointments.
    QString DefaultOwner() const;
    /// Sets DefaultOwner.
    void setDefaultOwner(const QString &value);
    /// The running state of the alarm timer.
    bool GlobalAlarmsEnable() const;
    /// Starts or stops the alarm timer.
    void setGlobalAlarmsEnable(bool value);
    /// Shared. The language file of captions and messages; empty for the default one.
    QString LanguageFileName() const;
    /// Sets LanguageFileName and reloads the language texts at once; menu
    /// captions follow at the next ReadProperties() or first show.
    void setLanguageFileName(const QString &value);
    /// The view drawn last, a zntPlanShowType; 0 before the first.
    qint16 CurrentView() const;

    /// How the day and week views picture the appointments.
    enum PresentationStyle {
        /// The control's own layout, as hosts have always had it: rows from
        /// DayStartTime to DayEndTime, boxes by start, partial overlaps laid over one another.
        Classic = 0,
        /// The whole day in rows, shaded outside DayStartTime to DayEndTime and
        /// scrolled to DayStartTime; every appointment at its true times on each day
        /// it touches; overlapping boxes side by side, never covering, with a "+N"
        /// where a day column is too narrow; the subject first in each box.
        Modern = 1,
    };
    Q_ENUM(PresentationStyle)

    /// Classic by default.
    PresentationStyle Presentation() const;
    /// Sets Presentation and redraws the view on show; values other than Classic and Modern are ignored.
    void setPresentation(PresentationStyle value);

    /// False by default. True in Modern: the month calendar and the to-do list
    /// step aside and the view takes the whole width; the button at the right end
    /// of the tab row ("SideToggle") switches it. Classic ignores it.
    bool SideColumnCollapsed() const;
    /// Sets SideColumnCollapsed and lays the children out again.
    void setSideColumnCollapsed(bool value);

    /// False by default: the mouse only selects and opens. True: in the day and
    /// week views a box dragged moves the appointment (snapped to DayStepMinutes,
    /// across the week's days), its top or bottom edge dragged changes its start
    /// or end, and a drag over empty slots proposes a new appointment over them;
    /// in the month view a line dragged to another day moves it there at the same
    /// time. Esc, or the pointer leaving the control, cancels a drag. A drop raises
    /// BeforeScheduleChange with a copy of the record carrying the new times (and
    /// the reminder moved by as much as the start), then ValidateSchedule with the
    /// same copy; then the record takes them and ScheduleChanged follows, and
    /// AlarmChange when the reminder moved. Cancel in either ends it with nothing
    /// changed; ExternalHandled leaves the change to the host, and no more is raised.
    bool DragEditing() const;
    /// Sets DragEditing.
    void setDragEditing(bool value);

    /// The changes made with the control's own commands, menus, editors, keys and
    /// drags, newest last, for a host's Edit menu (QUndoStack::createUndoAction()).
    /// Changes a host makes through Plan are not on it. Undoing or redoing a step
    /// is a change like any other: it raises the same Before, Validate and after
    /// events, and a host's Cancel leaves the data and the stack as they were. A
    /// step whose record has since been changed or removed another way is dropped
    /// from the stack, with undoStepDropped(), rather than applied.
    QUndoStack *undoStack() const;
    /// Whether undo() or redo() has a step to take.
    bool canUndo() const;
    bool canRedo() const; ///< See canUndo().

    /// False by default: the host calls Refresh() after changing Plan's records.
    /// True: the control redraws once per turn of the event loop after records
    /// are added or removed through Plan's collections, a part of it is replaced,
    /// or the host calls DayvexData::markChanged().
    bool AutoRefresh() const;
    /// Sets AutoRefresh.
    void setAutoRefresh(bool value);

    /// Sets the interface whose functions are called with each event, before its
    /// signal; null for none. The control does not own it: it must outlive the
    /// control or be unset first.
    void setHostPolicy(HostPolicy *policy);
    /// The interface set by setHostPolicy(), or null.
    HostPolicy *hostPolicy() const;

    /// Sets StartDay to midnight of day, as a form generated by uic calls it;
    /// an invalid day or one outside the years 100 to 9999 is ignored.
    void setStartDay(const QDate &day) { setStartDayFromForm(day); }
    /// Sets DayStartTime to time, as "hh:mm"; an invalid time is ignored.
    void setDayStartTime(const QTime &time);
    /// Sets DayEndTime to time, as "hh:mm"; an invalid time is ignored.
    void setDayEndTime(const QTime &time);

    /// Forces a complete repaint of the control. Style selects a view (the
    /// default keeps the current one; other values than 0 to 3 throw
    /// dayvex::Error 5); RebuildFrame is accepted and has no effect.
    void Refresh(zntPlanShowType Style = zntPlanShowDefault, bool RebuildFrame = false);

    /// Puts every saved property back to its default.
    void InitProperties();
    /// Loads the saved properties from bag, without the assignment rules, and
    /// redraws the calendar, time rows and to-do list. A stored value of the wrong
    /// kind throws dayvex::Error 13, one out of range 6.
    void ReadProperties(PropertyBag &bag);
    /// Saves the properties to bag; a value equal to its default is not stored.
    void WriteProperties(PropertyBag &bag) const;

    /// New appointment at the calendar's day and the time of the grid's current
    /// row, as the menu entry runs it. Throws dayvex::Error to a direct caller.
    void mnNuovo_Click();
    /// Opens the selected appointment in the editor. Throws dayvex::Error to a direct caller.
    void mnModifica_Click();
    /// Deletes the selected appointment after asking. Throws dayvex::Error to a direct caller.
    void mnElimina_Click();
    /// Marks the to-do of the list's current row done.
    void mnuAttivitaCompleta_Click();
    /// New to-do, in the to-do editor.
    void mnNuovaAttivita_Click();
    /// Opens the to-do of the list's current row in the editor.
    void mnModificaAttivita_Click();
    /// Deletes the to-do of the list's current row after asking.
    void mnEliminaAttivita_Click();
    /// Prints the view on show (the day, week or month of the date on show) on
    /// printer, as it is set up (page size, orientation, or a PDF file). Returns
    /// the number of pages; a null printer throws dayvex::Error 5.
    int printView(QPrinter *printer);
    /// Prints the to-do list as printView() prints the view.
    int printToDoList(QPrinter *printer);

    /// What selectedKey() names.
    enum class SelectedKind {
        None,        ///< Nothing is selected.
        Appointment, ///< An appointment of Plan's Schedules.
        ToDo,        ///< A to-do of Plan's ToDoS.
    };
    Q_ENUM(SelectedKind)

    /// Whether the selected record is an appointment or a to-do, or none is.
    SelectedKind selectedKind() const;
    /// The key of the selected record, as a click, a key or select() left it; empty for none.
    QString selectedKey() const;
    /// Selects the appointment or to-do stored under key: an appointment's day comes
    /// on show, a to-do becomes the list's current row. False, with a warning in the
    /// dayvex log, when the plan holds no such record.
    bool select(const QString &key, SelectedKind kind = SelectedKind::Appointment);
    /// Selects nothing.
    void clearSelection();

    /// The control's minimum size, below which a resize grows it again.
    QSize minimumSizeHint() const override;
    /// Room for a readable week beside a month and the to-do list.
    QSize sizeHint() const override;

    /// The date and date-time formats that start-up picks for a locale: day
    /// first when the locale writes 3 December 2000 starting with "3", month
    /// first otherwise.
    static std::pair<QString, QString> dateFormatsFor(const QLocale &locale);

public slots:
    // The commands for a host's own buttons and shortcuts. Each checks the
    // selection first: with none, or one the host has removed, it does nothing
    // but warn in the dayvex log. Errors, a host handler's included, go to that log too.

    /// New appointment, as mnNuovo_Click() proposes it.
    void newAppointment();
    /// Opens the selected appointment or to-do in its editor.
    void modifySelected();
    /// Deletes the selected appointment or to-do after asking.
    void deleteSelected();
    /// New to-do, in the to-do editor.
    void newToDo();
    /// Marks the selected to-do done.
    void markSelectedDone();
    /// Takes back the last change on undoStack(); Ctrl+Z in the control, in Modern or with DragEditing.
    void undo();
    /// Makes the last change taken back again; Ctrl+Shift+Z or Ctrl+Y.
    void redo();

signals:
    /// An accepted property assignment, with the property's name.
    void PropertyChanged(const QString &name);

    // The 22 events, in dispatch-id order. Parameters are references: a directly
    // connected handler may rewrite them and the control reads them back. In the
    // Before events, Cancel stops the change and ExternalHandled tells the
    // control that the host made it.

    /// The contact code field of the appointment editor changed.
    void ContactCodeChange(QString &Value);
    /// The contact code field lost focus: the host may fill ContactDescription or Cancel the move.
    void ContactCodeLostFocus(QString &Value, QString &ContactDescription, bool &Cancel);
    /// The contact code field was double clicked: the host may fill in a contact.
    void ContactCodeDoubleClick(QString &Value, QString &ContactDescription);
    /// An appointment is about to be added.
    void BeforeScheduleAdd(std::shared_ptr<dayvex::Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    /// An appointment was added.
    void ScheduleAdded(std::shared_ptr<dayvex::Schedule> &mSca);
    /// An appointment is about to be deleted.
    void BeforeScheduleDelete(std::shared_ptr<dayvex::Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    /// An appointment was deleted.
    void ScheduleDeleted(std::shared_ptr<dayvex::Schedule> &mSca);
    /// An appointment is about to be changed.
    void BeforeScheduleChange(std::shared_ptr<dayvex::Schedule> &mSca, bool &ExternalHandled, bool &Cancel);
    /// An appointment was changed.
    void ScheduleChanged(std::shared_ptr<dayvex::Schedule> &mSca);
    /// A to-do was added.
    void TodoAdded(std::shared_ptr<dayvex::ToDo> &mToDo);
    /// Declared for hosts and never raised: a new to-do raises BeforeTodoChange.
    void BeforeTodoAdd(std::shared_ptr<dayvex::ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    /// A to-do was deleted.
    void ToDoDeleted(std::shared_ptr<dayvex::ToDo> &mToDo);
    /// A to-do is about to be deleted.
    void BeforeTodoDelete(std::shared_ptr<dayvex::ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    /// A to-do was changed.
    void ToDoChanged(std::shared_ptr<dayvex::ToDo> &mToDo);
    /// A to-do is about to be added or changed.
    void BeforeTodoChange(std::shared_ptr<dayvex::ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    /// An appointment's reminder was changed from its pop-up, or moved with it by a drag.
    void AlarmChange(std::shared_ptr<dayvex::Schedule> &mSca);
    /// A to-do's reminder was changed from its pop-up.
    void ToDoAlarmChange(std::shared_ptr<dayvex::ToDo> &mToDo);
    /// A to-do is about to be marked done.
    void BeforeTodoSetComplete(std::shared_ptr<dayvex::ToDo> &mToDo, bool &ExternalHandled, bool &Cancel);
    /// A day was clicked in the month calendar.
    void DateSelected(dayvex::Date &NewDate);
    /// A reminder is due: the host may show its own FormReminder, take it over or Cancel it.
    void ReminderAlarm(std::shared_ptr<dayvex::Alarm> &alrm, QWidget *&FormReminder, bool &ExternalHandled,
                       bool &Cancel);
    /// The appointment editor is about to save: the host may Cancel the save.
    void ValidateSchedule(std::shared_ptr<dayvex::Schedule> &mSca, bool &Cancel);
    /// The to-do editor is about to save: the host may Cancel the save.
    void ValidateToDo(std::shared_ptr<dayvex::ToDo> &mToDo, bool &Cancel);

    // Each property's own change signal, after PropertyChanged, with the value as
    // the property reads it; for bindings, QML and Qt's property system.

    void disableReminderPopUpChanged(bool value);        ///< DisableReminderPopUp was assigned.
    void disableMenuChanged(bool value);                 ///< DisableMenu was assigned.
    void dayStartTimeChanged(const QString &value);      ///< DayStartTime took a new text.
    void dayEndTimeChanged(const QString &value);        ///< DayEndTime took a new text.
    void dayStepMinutesChanged(int value);               ///< DayStepMinutes took a new step.
    void planChanged();                                  ///< Plan was assigned.
    void startDayChanged(const QDate &value);            ///< StartDay was assigned.
    void multiUserEnabledChanged(bool value);            ///< MultiUserEnabled was assigned.
    void contactCodeEnabledChanged(bool value);          ///< ContactCodeEnabled was assigned.
    void reminderSoundFileChanged(const QString &value); ///< ReminderSoundFile was assigned.
    void defaultOwnerChanged(const QString &value);      ///< DefaultOwner was assigned.
    void globalAlarmsEnableChanged(bool value);          ///< The alarm timer was started or stopped.
    void languageFileNameChanged(const QString &value);  ///< LanguageFileName was assigned.
    void currentViewChanged(qint16 view); ///< Another view is drawn, a zntPlanShowType.
    void autoRefreshChanged(bool value);  ///< AutoRefresh was assigned.
    /// Presentation was assigned.
    void presentationChanged(dayvex::zntDayvex::PresentationStyle value);
    void sideColumnCollapsedChanged(bool value); ///< SideColumnCollapsed was assigned.
    void dragEditingChanged(bool value);         ///< DragEditing was assigned.
    void canUndoChanged(bool canUndo);           ///< undo() has or no longer has a step to take.
    void canRedoChanged(bool canRedo);           ///< redo() has or no longer has a step to take.
    /// A step of undoStack() was dropped: why says which, and that its record changed since.
    void undoStepDropped(const QString &why);
    /// Another appointment or to-do is selected, or none is.
    void selectionChanged();

protected:
    /// Takes the language texts before the first show of a control that was never read.
    bool event(QEvent *event) override;
    /// Lays the children out in the control's size and redraws the view on show.
    void resizeEvent(QResizeEvent *event) override;
    /// The events hand their answers back through reference parameters, which
    /// only a direct connection can: in a build with DAYVEX_CHECK_CONNECTIONS a
    /// queued or blocking-queued connection to one of them is warned of once, in
    /// the "dayvex" logging category. Otherwise it does nothing.
    void connectNotify(const QMetaMethod &signal) override;

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
