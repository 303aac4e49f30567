#pragma once

// The control's insides: its children, the commands and editors it drives, and
// the event raising the commands and reminders ask of it. Not installed.

#include "zntdayvex.h"

#include <dayvex/editing/editinghost.h>
#include <dayvex/i18n/language.h>
#include <dayvex/layout/timegrid.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/model/hostevents.h>
#include <dayvex/reminders/reminderhost.h>
#include <dayvex/views/gesturerouter.h>

#include <functional>
#include <QKeySequence>
#include <QList>
#include <QSet>

#include <memory>
#include <vector>

class QAction;
class QLabel;
class QToolButton;
class QMenu;
class QTabBar;
class QTimer;

namespace dayvex {

class AgendaGrid;
class AlarmScan;
class OccurrenceCache;
class StartOrder;
class AppointmentCommands;
class CommandFlag;
class ToDoCommands;
class DetailPane;
class StatusLine;
class MonthCalendar;
class ToDoGrid;

class zntDayvexPrivate final : public EditingHost, public ReminderHost, public GestureHost
{
public:
    explicit zntDayvexPrivate(zntDayvex *control);
    ~zntDayvexPrivate() override;

    static zntDayvexPrivate *get(zntDayvex *control) { return control->d.get(); }
    static const zntDayvexPrivate *get(const zntDayvex *control) { return control->d.get(); }

    // What the commands and reminders ask of the control.
    BeforeAnswer raiseBefore(EventId id, std::shared_ptr<Schedule> &mSca) override;
    BeforeAnswer raiseBefore(EventId id, std::shared_ptr<ToDo> &mToDo) override;
    BeforeAnswer raiseReminderAlarm(std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder) override;
    Date remindedStart(const Schedule &appointment, Date due) const override;
    Date nextSeriesReminder(const Schedule &series) const override;
    SeriesParts splitSeries(const Schedule &series, Date at, qint64 minutes) const override;
    void RaiseTodoAdded(std::shared_ptr<ToDo> &mToDo) override;
    void RaiseToDoChanged(std::shared_ptr<ToDo> &mToDo) override;
    void RaiseValidateToDo(std::shared_ptr<ToDo> &mToDo, bool &Cancel) override;
    void RaiseToDoDeleted(std::shared_ptr<ToDo> &mToDo) override;
    void RaiseAlarmChange(std::shared_ptr<Schedule> &mSca) override;
    void RaiseToDoAlarmChange(std::shared_ptr<ToDo> &mToDo) override;
    void RaiseScheduleAdded(std::shared_ptr<Schedule> &mSca) override;
    void RaiseScheduleChanged(std::shared_ptr<Schedule> &mSca) override;
    void RaiseScheduleDeleted(std::shared_ptr<Schedule> &mSca) override;
    void RaiseValidateSchedule(std::shared_ptr<Schedule> &mSca, bool &Cancel) override;
    void RaiseContactCodeChange(QString &Value) override;
    void RaiseContactCodeLostFocus(QString &Value, QString &ContactDescription, bool &Cancel) override;
    void RaiseContactCodeDoubleClick(QString &Value, QString &ContactDescription) override;
    bool DisableReminderPopUp() const override { return m_disableReminderPopUp; }
    // The settings and language texts this control reads: the process-wide ones,
    // or its own when instances do not share state.
    const SharedSettings &settings() const override { return *m_settings; }
    SharedSettings &settings() { return *m_settings; }
    const LanguageTable &language() const override { return *m_language; }
    // Fills the language table from the control's LanguageFileName.
    void loadLanguage();
    // Follows the change announcements of the current Plan while AutoRefresh is on.
    void watchPlan();
    // Scrolls the time grid so that the rows of appointment's times show.
    void scrollToBox(const std::shared_ptr<Schedule> &appointment);
    QString ReminderSoundFile() const override { return m_reminderSoundFile; }
    std::shared_ptr<DayvexData> editedPlan() const override;
    QWidget *dialogParent() const override;
    void redraw() override;
    void refillToDoList() override { refillToDos(); }
    QWidget *reminderOwner() override;
    void showToDoDone(const QString &key) override;

    // What the commands act on, as the gestures left it.
    const ViewSelection &viewSelection() const { return m_gestures->selection(); }
    // One tick of the alarm timer, as the Timer child runs it. Throws
    // dayvex::Error 5 when a due alarm's record is gone.
    void scanAlarms();
    // True while a New or Modify command of either kind waits for its editor.
    bool commandInProgress() const;
    QString currentToDoKey() const;

    // The view switch of the tab strip, then the drawing steps of the views.
    void selectView();
    int selectedTab() const;
    bool dayFirst() const;
    int print(QPrinter *printer, int view);
    void rebuildTimeRows();
    void refillToDos();
    void drawAppointments();
    // shown, as a scan of the range found it (starting in it, or overlapping it),
    // with the series in all in their place: each series' occurrences in the
    // range, the record itself at its own start and copies at the others' (their
    // RecurrenceId set), in order of start. Nothing of it is stored.
    std::vector<std::shared_ptr<Schedule>> withOccurrences(std::vector<std::shared_ptr<Schedule>> shown,
                                                                  const StartOrder &all, DateRange range,
                                                                  bool overlapping);
    void drawView(int view);
    void showNow();
    void rebuildAlarms();
    void onCalendarDateClicked(const QDate &date);
    void onCalendarSelectionChanged();
    void applyCaptions();
    // Runs a drawing step started by the user, where no host call could catch its error.
    template <typename Step>
    void runFromUser(Step step);

    // What the gestures ask of the control.
    bool menusDisabled() const override { return m_disableMenu; }
    bool modernGestures() const override { return modern(); }
    bool modernReminders() const override { return modern(); }
    bool storesTrueEnd() const override { return modern(); }
    bool keyboardMnemonics() const override { return modern(); }
    void openAlarmRecord(const Alarm &alarm) override;
    void openDay(Date day) override;
    void runGestureCommand(Command command) override;
    void popUpAppointmentMenu(bool onAppointment, const QPoint &globalPos) override;
    void popUpToDoMenu(bool holdsToDo, bool done, const QPoint &globalPos) override;
    void gridCellChosen() override;
    // Start and end proposed for a new appointment by the grid's selected slots.
    std::pair<Date, Date> selectedSlots() const;
    void selectionMoved() override;
    void dropAppointment(const QString &key, Date start, Date end, Date occurrence) override;
    QUndoStack *undoStack() const override { return m_undo; }
    void undoStepDropped(const QString &why) override;
    // Builds the undo stack and its signals to the control.
    void createHistory();
    // Takes a step back (or forward again); a step the host vetoes stays where it was.
    void takeStep(bool back);
    void applyDragEditing();
    // A key of the control's own, only while the focus is in it: the host's keys stay the host's.
    QAction *controlShortcut(const char *name, const QList<QKeySequence> &keys, std::function<void()> run);
    // A new plan: the steps of the old one no longer apply.
    void planReplaced();
    // The selected record, when the plan still holds it; warns and selects nothing when it is gone.
    bool selectionStillThere();
    // After a redraw: a selected record that was deleted is selected no more, and its detail pane closes.
    void dropVanishedSelection();
    // Runs the command of the selected record's kind on it, when the plan still
    // holds it; a kind without a command (nullptr) only warns. Errors are logged.
    void runOnSelection(void (AppointmentCommands::*appointment)(const QString &, Date),
                        void (ToDoCommands::*todo)(const QString &));

    void createChildren();
    void createMenus();
    void connectCommands();
    void applyMenuCaptions();
    void layOutChildren();

    zntDayvex *const q;
    std::unique_ptr<SharedSettings> m_ownSettings;
    std::unique_ptr<LanguageTable> m_ownLanguage;
    SharedSettings *const m_settings;
    LanguageTable *const m_language;

    // Per instance.
    bool m_disableReminderPopUp = false;
    bool m_disableMenu = false;
    bool m_captionsApplied = false; // the language texts are on the menus and lists
    bool m_autoRefresh = false;
    int m_presentation = 0; // a zntDayvex::PresentationStyle
    bool m_sideCollapsed = false;
    bool m_dragEditing = false;
    std::unique_ptr<OccurrenceCache> m_occurrences;
    QUndoStack *m_undo = nullptr;
    // Modern's keyboard: the actions of the control's shortcuts, enabled in Modern only.
    std::vector<QAction *> m_shortcuts;
    std::vector<QAction *> m_historyShortcuts; // undo and redo: Modern or DragEditing
    void createShortcuts();
    void applyShortcuts();
    // The previous (-1) or next (1) day, week or month, as the view shows.
    void movePeriod(int direction);
    // The events already warned of for a queued connection.
    QSet<int> m_warnedQueued;
    // Lays the children out as a resize does.
    void relayOut();
    // The caption above the view: the view's, cut to its place in Modern.
    QString m_caption = QStringLiteral("Wendesday 30");
    void showCaption();
    // The Modern grid keeps DayStartTime at its top until the user scrolls it.
    bool m_pinnedToDayStart = true;
    bool modern() const { return m_presentation == zntDayvex::Modern; }
    // Lays the views out again after Presentation changed.
    void applyPresentation();
    // The time of the first grid row (00:00 in Modern) and the minutes of a row.
    std::pair<Date, qint16> gridStartAndStep() const;
    HostPolicy *m_policy = nullptr;
    // The plan whose change announcements redraw the control, while AutoRefresh is on.
    QMetaObject::Connection m_planWatch;
    std::weak_ptr<DayvexData> m_watchedPlan;
    Date m_startDay;
    QString m_reminderSoundFile;
    qint16 m_currentView = 0;
    qint16 m_announcedView = 0; // the view currentViewChanged last told of
    bool m_inResize = false;
    // The flag outlives the commands, which end the waits of their editors.
    std::unique_ptr<CommandFlag> m_commandRunning;
    std::unique_ptr<AppointmentCommands> m_appointments;
    std::unique_ptr<ToDoCommands> m_todos;
    std::unique_ptr<AlarmScan> m_alarmScan;
    // Made once the views exist; gone before them, with its connections.
    std::unique_ptr<GestureRouter> m_gestures;

    // Children, named as the host and the language file know them.
    AgendaGrid *m_lista = nullptr;
    ToDoGrid *m_daFare = nullptr;
    MonthCalendar *m_calendar = nullptr;
    QTabBar *m_tipoVis = nullptr;
    QLabel *m_thisDay = nullptr;
    QToolButton *m_sideToggle = nullptr;
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

template <typename Step>
void zntDayvexPrivate::runFromUser(Step step)
{
    runLoggingErrors("zntDayvex", step);
}

} // namespace dayvex
