#include "zntdayvex_p.h"

#include <dayvex/layout/controllayout.h>
#include "monthcalendar.h"
#include "statusline.h"
#include <dayvex/platform/twips.h>

#include <dayvex/editing/appointmentcommands.h>
#include <dayvex/exchange/series.h>
#include <dayvex/editing/commandflag.h>
#include <dayvex/editing/todocommands.h>
#include <dayvex/i18n/language.h>
#include <dayvex/reminders/alarmscan.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/model/startorder.h>
#include <dayvex/platform/format.h>
#include <dayvex/views/agendagrid.h>
#include <dayvex/layout/appointmentorder.h>
#include <dayvex/views/detailpane.h>
#include <dayvex/views/todogrid.h>
#include <dayvex/printing/agendaprint.h>
#include <dayvex/printing/printpreview.h>

#include <QCoreApplication>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QSignalBlocker>

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QResizeEvent>
#include <QTabBar>
#include <QStandardItem>
#include <QTimer>
#include <QToolButton>
#include <QPrinter>

#include <limits>

// A host's event: the control's signal with its arguments, under the host-handler guard.
// The host's policy, when it has one, answers first; the signal's handlers see its answer.
#define DAYVEX_RAISE(event, ...)                                                                                      \
    callHostHandler(#event, [&] {                                                                                      \
        if (m_policy)                                                                                                  \
            m_policy->event(__VA_ARGS__);                                                                              \
        emit q->event(__VA_ARGS__);                                                                                    \
    })

namespace dayvex {

namespace {
// The alarm timer ticks every few seconds; it starts enabled, as designed.
constexpr int AlarmTimerInterval = 5000;

// The first slot's time and the slot length that the rows were built with.
std::pair<Date, qint16> slotStartAndStep(const SharedSettings &shared)
{
    const std::optional<Date> start = parseDate(shared.DayStartTime);
    return {start ? start->timePart() : Date::fromTime(QTime(8, 0)),
            shared.DayStepMinutes > 0 ? shared.DayStepMinutes : qint16(30)};
}

// The working day in minutes after midnight, from DayStartTime to DayEndTime.
std::pair<int, int> workingMinutes(const SharedSettings &shared)
{
    const std::optional<Date> start = parseDate(shared.DayStartTime);
    const std::optional<Date> end = parseDate(shared.DayEndTime);
    const int from = start ? start->minuteOfDay() : 8 * 60;
    const int to = end ? end->minuteOfDay() : 20 * 60;
    return {from, qMax(from, to)};
}
} // namespace

std::pair<Date, qint16> zntDayvexPrivate::gridStartAndStep() const
{
    const auto [start, step] = slotStartAndStep(settings());
    return {modern() ? Date() : start, step};
}

void zntDayvexPrivate::applyPresentation()
{
    m_lista->setModern(modern());
    m_daFare->setStretchDescription(modern());
    m_pinnedToDayStart = true;
    applyShortcuts();
    // The share of the width changes with the presentation.
    relayOut();
    runFromUser([this] {
        rebuildTimeRows();
        drawAppointments();
    });
}

void zntDayvexPrivate::showCaption()
{
    // Modern cuts a caption wider than its place with "…", whole in the tooltip.
    const QString shown = modern() ? m_thisDay->fontMetrics().elidedText(m_caption, Qt::ElideRight, m_thisDay->width())
                                   : m_caption;
    m_thisDay->setText(shown);
    m_thisDay->setToolTip(shown != m_caption ? m_caption : QString());
}

void zntDayvexPrivate::relayOut()
{
    if (q->isVisible()) {
        QResizeEvent resize(q->size(), q->size());
        QCoreApplication::sendEvent(q, &resize);
    }
}

zntDayvexPrivate::zntDayvexPrivate(zntDayvex *control)
    : q(control),
      m_ownSettings(instancesShareState() ? nullptr : std::make_unique<SharedSettings>()),
      m_ownLanguage(instancesShareState() ? nullptr : std::make_unique<LanguageTable>()),
      m_settings(m_ownSettings ? m_ownSettings.get() : &sharedSettings()),
      m_language(m_ownLanguage ? m_ownLanguage.get() : &sharedLanguage()),
      m_commandRunning(std::make_unique<CommandFlag>()),
      m_appointments(std::make_unique<AppointmentCommands>(*this, *m_commandRunning)),
      m_todos(std::make_unique<ToDoCommands>(*this, *m_commandRunning)),
      m_alarmScan(std::make_unique<AlarmScan>(*this))
{
}

zntDayvexPrivate::~zntDayvexPrivate() = default;

std::shared_ptr<DayvexData> zntDayvexPrivate::editedPlan() const { return q->Plan(); }

void zntDayvexPrivate::watchPlan()
{
    const std::shared_ptr<DayvexData> wanted = m_autoRefresh ? q->Plan() : nullptr;
    if (wanted == m_watchedPlan.lock() && (!wanted || m_planWatch))
        return;
    QObject::disconnect(m_planWatch);
    m_watchedPlan = wanted;
    if (!wanted)
        return;
    m_planWatch = QObject::connect(wanted->changes(), &DataChanges::changed, q, [this] {
        // Controls that share state may have been handed another plan since.
        if (q->Plan() != m_watchedPlan.lock()) {
            watchPlan();
            return;
        }
        runFromUser([this] { q->Refresh(); });
    });
}

void zntDayvexPrivate::scrollToBox(const std::shared_ptr<Schedule> &appointment)
{
    const int view = selectedTab();
    if ((view != zntPlanShowDay && view != zntPlanShowWeek) || m_lista->rowCount() == 0)
        return;
    // A box off the rows on show is not placed at all: scroll by the rows of its times.
    const bool week = view == zntPlanShowWeek;
    const auto [dayStart, step] = gridStartAndStep();
    const auto rowOf = [&](Date time) {
        return qBound(0, int(timeRow(time.timePart(), dayStart, step, week)), m_lista->rowCount() - 1);
    };
    // Its last row, then its first: the start stays in sight when both do not fit.
    m_lista->scrollTo(m_lista->model()->index(rowOf(appointment->EndDate), 0));
    m_lista->scrollTo(m_lista->model()->index(rowOf(appointment->StartDate), 0));
}

void zntDayvexPrivate::loadLanguage()
{
    m_language->load(m_settings->LanguageFileName);
}
QWidget *zntDayvexPrivate::reminderOwner() { return q; }

void zntDayvexPrivate::openAlarmRecord(const Alarm &alarm)
{
    if (alarm.Key.startsWith(QLatin1Char('S')))
        m_appointments->modify(alarm.AlarmEventKey);
    else
        m_todos->modify(alarm.AlarmEventKey);
}

void zntDayvexPrivate::createChildren()
{
    m_tipoVis = new QTabBar(q);
    m_tipoVis->setObjectName(QStringLiteral("TipoVis"));
    m_tipoVis->setDrawBase(false);
    for (const char *caption : {"1 giorno", "7 giorni", "30 giorni"})
        m_tipoVis->addTab(QString::fromUtf8(caption));

    m_thisDay = new QLabel(QStringLiteral("Wendesday 30"), q);
    m_thisDay->setObjectName(QStringLiteral("ThisDay"));
    m_thisDay->setFont(QFont(QStringLiteral("Arial"), 11, QFont::Bold));
    m_thisDay->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    // Modern: steps the calendar and the to-do list aside, and back.
    m_sideToggle = new QToolButton(q);
    m_sideToggle->setObjectName(QStringLiteral("SideToggle"));
    m_sideToggle->setAutoRaise(true);
    m_sideToggle->hide();
    QObject::connect(m_sideToggle, &QToolButton::clicked, q, [this] { q->setSideColumnCollapsed(!m_sideCollapsed); });

    m_lista = new AgendaGrid(q);
    m_lista->setAccessibleName(QObject::tr("Appointments"));
    m_daFare = new ToDoGrid(q);
    m_daFare->setAccessibleName(QObject::tr("To do activities"));

    m_calendar = new MonthCalendar(q);
    m_calendar->setObjectName(QStringLiteral("Calendar"));

    QObject::connect(m_tipoVis, &QTabBar::currentChanged, q, [this] { runFromUser([this] { selectView(); }); });
    QObject::connect(m_calendar, &MonthCalendar::dateClicked, q,
            [this](const QDate &date) { runFromUser([this, date] { onCalendarDateClicked(date); }); });
    QObject::connect(m_calendar, &MonthCalendar::selectionChanged, q,
            [this] { runFromUser([this] { onCalendarSelectionChanged(); }); });
    // The boxes follow the rows they stand on.
    QObject::connect(m_lista->verticalScrollBar(), &QScrollBar::valueChanged, q,
                     [this] { runFromUser([this] { drawView(selectedTab()); }); });
    // Only the user's own scrolling lets go of the working day's start: a value
    // the scroll bar clamps while the rows change height is none of theirs.
    QObject::connect(m_lista->verticalScrollBar(), &QScrollBar::actionTriggered, q,
                     [this] { m_pinnedToDayStart = false; });
    QObject::connect(m_lista, &AgendaGrid::keyboardMoved, q, [this] { m_pinnedToDayStart = false; });
    QObject::connect(m_lista, &AgendaGrid::viewportResized, q, [this] { runFromUser([this] { drawView(selectedTab()); }); });

    m_statusBar = new StatusLine(*m_settings, q);
    // The line of the current time moves with the clock.
    QObject::connect(m_statusBar, &StatusLine::ticked, q, [this] { runFromUser([this] { showNow(); }); });

    m_frShowApp = new DetailPane(q);

    m_timer = new QTimer(q);
    m_timer->setObjectName(QStringLiteral("Timer"));
    m_timer->setInterval(AlarmTimerInterval);
    QObject::connect(m_timer, &QTimer::timeout, q, [this] { m_alarmScan->tickFromTimer(); });
    m_timer->start();
}

void zntDayvexPrivate::createMenus()
{
    auto action = [](QMenu *menu, const char *name, const char *caption) {
        QAction *a = menu->addAction(QString::fromUtf8(caption));
        a->setObjectName(QString::fromUtf8(name));
        return a;
    };
    m_mnAppuntamento = new QMenu(QStringLiteral("Appuntamento"), q);
    m_mnAppuntamento->setObjectName(QStringLiteral("mnAppuntamento"));
    m_mnNuovo = action(m_mnAppuntamento, "mnNuovo", "Nuovo Appuntamento");
    m_mnModifica = action(m_mnAppuntamento, "mnModifica", "Modifica appuntamento");
    m_mnElimina = action(m_mnAppuntamento, "mnElimina", "Elimina appuntamento");
    m_mnAppuntamento->addSeparator();
    m_mnStampa = action(m_mnAppuntamento, "mnStampa", "Print…");

    m_mnuAttivita = new QMenu(QString::fromUtf8("Attività"), q);
    m_mnuAttivita->setObjectName(QString::fromUtf8("mnuAttività"));
    m_mnuAttivitaCompleta = action(m_mnuAttivita, "mnuAttivitàCompleta", "Segna come completata");
    m_mnuSep1 = m_mnuAttivita->addSeparator();
    m_mnuSep1->setObjectName(QStringLiteral("mnuSep1"));
    m_mnNuovaAttivita = action(m_mnuAttivita, "mnNuovaAttività", "Nuova attività");
    m_mnModificaAttivita = action(m_mnuAttivita, "mnModificaAttività", "Modifica attività");
    m_mnEliminaAttivita = action(m_mnuAttivita, "mnEliminaAttività", "Elimina attività");
    m_mnuAttivita->addSeparator();
    m_mnStampaAttivita = action(m_mnuAttivita, "mnStampaAttività", "Print…");
}

void zntDayvexPrivate::applyMenuCaptions()
{
    m_mnNuovaAttivita->setText(language().text(Text::mnuAddToDo));
    m_mnNuovo->setText(language().text(Text::MnuAddAppointemnt));
    m_mnElimina->setText(language().text(Text::mnuDeleteAppointment));
    m_mnEliminaAttivita->setText(language().text(Text::mnuDeleteToDo));
    m_mnModifica->setText(language().text(Text::mnuChangeAppointment));
    m_mnModificaAttivita->setText(language().text(Text::mnuChangeToDo));
    m_mnuAttivitaCompleta->setText(language().text(Text::mnuDoneToDo));
    applyShortcuts();
}

// ---- events ----

// Emits one Before signal with both flags false and hands back what the host left in them.
template <typename Record>
static BeforeAnswer askHost(zntDayvex *control, HostPolicy *policy, const char *event,
                            void (zntDayvex::*signal)(std::shared_ptr<Record> &, bool &, bool &),
                            void (HostPolicy::*decide)(std::shared_ptr<Record> &, bool &, bool &),
                            std::shared_ptr<Record> &record)
{
    BeforeAnswer answer;
    callHostHandler(event, [&] {
        if (policy)
            (policy->*decide)(record, answer.ExternalHandled, answer.Cancel);
        (control->*signal)(record, answer.ExternalHandled, answer.Cancel);
    });
    return answer;
}

#define DAYVEX_ASK(event, record) \
    case EventId::event: return askHost(q, m_policy, #event, &zntDayvex::event, &HostPolicy::event, record)

BeforeAnswer zntDayvexPrivate::raiseBefore(EventId id, std::shared_ptr<Schedule> &mSca)
{
    switch (id) {
    DAYVEX_ASK(BeforeScheduleAdd, mSca);
    DAYVEX_ASK(BeforeScheduleDelete, mSca);
    DAYVEX_ASK(BeforeScheduleChange, mSca);
    default:
        throw Error::invalidArgument(QStringLiteral("event %1 is no Before event of an appointment").arg(qint32(id)));
    }
}

BeforeAnswer zntDayvexPrivate::raiseBefore(EventId id, std::shared_ptr<ToDo> &mToDo)
{
    switch (id) {
    DAYVEX_ASK(BeforeTodoAdd, mToDo);
    DAYVEX_ASK(BeforeTodoDelete, mToDo);
    DAYVEX_ASK(BeforeTodoChange, mToDo);
    DAYVEX_ASK(BeforeTodoSetComplete, mToDo);
    default:
        throw Error::invalidArgument(QStringLiteral("event %1 is no Before event of a to-do").arg(qint32(id)));
    }
}
#undef DAYVEX_ASK

BeforeAnswer zntDayvexPrivate::raiseReminderAlarm(std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder)
{
    BeforeAnswer answer;
    DAYVEX_RAISE(ReminderAlarm, alrm, FormReminder, answer.ExternalHandled, answer.Cancel);
    return answer;
}

// The plan's journal keeps a change before the host hears of it.
#define DAYVEX_JOURNAL(record, removed)                                                                                \
    if (const std::shared_ptr<DayvexData> plan = q->Plan())                                                            \
        plan->journalChange(record, removed);

void zntDayvexPrivate::RaiseTodoAdded(std::shared_ptr<ToDo> &mToDo) { DAYVEX_JOURNAL(mToDo, false) DAYVEX_RAISE(TodoAdded, mToDo); }
void zntDayvexPrivate::RaiseToDoChanged(std::shared_ptr<ToDo> &mToDo) { DAYVEX_JOURNAL(mToDo, false) DAYVEX_RAISE(ToDoChanged, mToDo); }
void zntDayvexPrivate::RaiseToDoDeleted(std::shared_ptr<ToDo> &mToDo) { DAYVEX_JOURNAL(mToDo, true) DAYVEX_RAISE(ToDoDeleted, mToDo); }
void zntDayvexPrivate::RaiseAlarmChange(std::shared_ptr<Schedule> &mSca) { DAYVEX_JOURNAL(mSca, false) DAYVEX_RAISE(AlarmChange, mSca); }
void zntDayvexPrivate::RaiseToDoAlarmChange(std::shared_ptr<ToDo> &mToDo) { DAYVEX_JOURNAL(mToDo, false) DAYVEX_RAISE(ToDoAlarmChange, mToDo); }
void zntDayvexPrivate::RaiseValidateToDo(std::shared_ptr<ToDo> &mToDo, bool &Cancel) { DAYVEX_RAISE(ValidateToDo, mToDo, Cancel); }
void zntDayvexPrivate::RaiseScheduleAdded(std::shared_ptr<Schedule> &mSca) { DAYVEX_JOURNAL(mSca, false) DAYVEX_RAISE(ScheduleAdded, mSca); }
void zntDayvexPrivate::RaiseScheduleChanged(std::shared_ptr<Schedule> &mSca) { DAYVEX_JOURNAL(mSca, false) DAYVEX_RAISE(ScheduleChanged, mSca); }
void zntDayvexPrivate::RaiseScheduleDeleted(std::shared_ptr<Schedule> &mSca) { DAYVEX_JOURNAL(mSca, true) DAYVEX_RAISE(ScheduleDeleted, mSca); }
void zntDayvexPrivate::RaiseContactCodeChange(QString &Value) { DAYVEX_RAISE(ContactCodeChange, Value); }

void zntDayvexPrivate::RaiseValidateSchedule(std::shared_ptr<Schedule> &mSca, bool &Cancel)
{
    DAYVEX_RAISE(ValidateSchedule, mSca, Cancel);
}

void zntDayvexPrivate::RaiseContactCodeLostFocus(QString &Value, QString &ContactDescription, bool &Cancel)
{
    DAYVEX_RAISE(ContactCodeLostFocus, Value, ContactDescription, Cancel);
}

void zntDayvexPrivate::RaiseContactCodeDoubleClick(QString &Value, QString &ContactDescription)
{
    DAYVEX_RAISE(ContactCodeDoubleClick, Value, ContactDescription);
}

// ---- commands ----

QWidget *zntDayvexPrivate::dialogParent() const
{
    return q->window();
}

void zntDayvexPrivate::redraw()
{
    q->Refresh();
}

bool zntDayvexPrivate::commandInProgress() const
{
    return m_commandRunning->isSet();
}

void zntDayvexPrivate::connectCommands()
{
    QObject::connect(m_mnNuovo, &QAction::triggered, q, [this] { runFromUser([this] { q->mnNuovo_Click(); }); });
    QObject::connect(m_mnModifica, &QAction::triggered, q, [this] { runFromUser([this] { q->mnModifica_Click(); }); });
    QObject::connect(m_mnElimina, &QAction::triggered, q, [this] { runFromUser([this] { q->mnElimina_Click(); }); });
    QObject::connect(m_mnuAttivitaCompleta, &QAction::triggered, q,
            [this] { runFromUser([this] { q->mnuAttivitaCompleta_Click(); }); });
    QObject::connect(m_mnNuovaAttivita, &QAction::triggered, q, [this] { runFromUser([this] { q->mnNuovaAttivita_Click(); }); });
    QObject::connect(m_mnModificaAttivita, &QAction::triggered, q,
            [this] { runFromUser([this] { q->mnModificaAttivita_Click(); }); });
    QObject::connect(m_mnEliminaAttivita, &QAction::triggered, q,
            [this] { runFromUser([this] { q->mnEliminaAttivita_Click(); }); });
    QObject::connect(m_mnStampa, &QAction::triggered, q, [this] {
        openPrintPreview(q, [this](QPrinter *printer) { runFromUser([&] { q->printView(printer); }); });
    });
    QObject::connect(m_mnStampaAttivita, &QAction::triggered, q, [this] {
        openPrintPreview(q, [this](QPrinter *printer) { runFromUser([&] { q->printToDoList(printer); }); });
    });
}

int zntDayvexPrivate::print(QPrinter *printer, int view)
{
    if (!printer)
        throw Error::invalidArgument(QStringLiteral("no printer"));
    const std::shared_ptr<DayvexData> plan = q->Plan();
    if (!plan)
        return 0;
    const SharedSettings &shared = settings();
    PrintOptions options;
    options.view = PrintedView(view);
    options.shown = Date::fromDate(m_calendar->selectedDate());
    options.dayStart = shared.DayStartTime;
    options.dayEnd = shared.DayEndTime;
    options.step = shared.DayStepMinutes;
    options.multiUser = shared.MultiUserEnabled;
    options.modern = modern();
    options.dayFirst = dayFirst();
    options.dateFormat = shared.DateFormat;
    return printAgenda(*printer, *plan, options, language());
}

void zntDayvexPrivate::scanAlarms()
{
    m_alarmScan->tick();
}

QString zntDayvexPrivate::currentToDoKey() const
{
    return m_daFare->keyAt(m_daFare->currentRow());
}

void zntDayvexPrivate::showToDoDone(const QString &key)
{
    m_daFare->showDone(key);
}

// ---- views ----

int zntDayvexPrivate::selectedTab() const
{
    return m_tipoVis->currentIndex() + 1;
}

bool zntDayvexPrivate::dayFirst() const
{
    return settings().DateFormat.left(1).toUpper() == QLatin1String("D");
}

void zntDayvexPrivate::selectView()
{
    const TwipsScale scale = TwipsScale::of(q);
    const double gridWidth = scale.toTwips(m_lista->width());
    const Date shown = Date::fromDate(m_calendar->selectedDate());
    const int tab = selectedTab();
    // Another view starts at the working day; a resize keeps the scroll where it is.
    if (tab != m_currentView && !m_inResize)
        m_pinnedToDayStart = true;
    switch (tab) {
    case zntPlanShowMonth:
        if (m_currentView == zntPlanShowMonth)
            break;
        m_lista->clearItems();
        m_lista->setMonthLayout(gridWidth, scale.toTwips(m_lista->height()));
        m_lista->showMonthDates(monthFirstCell(shown, dayFirst()), shown);
        m_currentView = zntPlanShowMonth;
        break;
    case zntPlanShowWeek:
        m_currentView = zntPlanShowWeek;
        m_lista->setWeekColumns(weekViewColumnWidth(gridWidth));
        rebuildTimeRows();
        m_lista->setWeekHeading(weekHeadings(viewRange(zntPlanShowWeek, shown, dayFirst()).from));
        if (m_lista->rowCount() > 0) {
            // Modern: the current cell at the working day's start, where the grid scrolls.
            const int row = modern() ? qMin(workingMinutes(settings()).first / gridStartAndStep().second,
                                            m_lista->rowCount() - 1)
                                     : 0;
            m_lista->setCurrentCell(row, qMax(0, m_lista->currentColumn()), QItemSelectionModel::NoUpdate);
        }
        break;
    default:
        m_currentView = zntPlanShowDay;
        // Modern: the day's heading, under which its all-day strip stands.
        m_lista->setHeadingRow(modern());
        m_lista->setDayColumns(dayViewColumnWidth(gridWidth));
        rebuildTimeRows();
        break;
    }
    if (m_inResize)
        drawView(tab);
    else
        onCalendarSelectionChanged();
    if (m_currentView != m_announcedView) {
        m_announcedView = m_currentView;
        callHostHandler("currentViewChanged", [this] { emit q->currentViewChanged(m_currentView); });
    }
}

void zntDayvexPrivate::rebuildTimeRows()
{
    if (selectedTab() == zntPlanShowMonth)
        return;
    SharedSettings &shared = settings();
    QString start = shared.DayStartTime;
    QString end = shared.DayEndTime;
    // A step of 0 or less comes back as 30 and stays so.
    const qint32 count = slotCount(start, end, shared.DayStepMinutes);
    if (modern()) {
        // The whole day, whatever the working hours.
        const qint16 step = shared.DayStepMinutes > 0 ? shared.DayStepMinutes : qint16(30);
        m_lista->setTimeRows(slotLabels(QStringLiteral("00:00"), step, (1440 + step - 1) / step));
    } else {
        m_lista->setTimeRows(slotLabels(start, shared.DayStepMinutes, count));
    }
    if (m_currentView == zntPlanShowWeek)
        m_lista->setHeadingRow(true);
}

void zntDayvexPrivate::refillToDos()
{
    const std::shared_ptr<DayvexData> plan = q->Plan();
    const std::shared_ptr<ToDoS> todos = plan ? plan->ToDoS() : std::make_shared<ToDoS>();
    // Modern: the keyboard's row stays on its to-do, wherever the refill put it.
    const QString current = modern() ? m_daFare->keyAt(m_daFare->currentIndex().row()) : QString();
    const int column = m_daFare->currentIndex().column();
    m_daFare->fill(*todos, {language().text(Text::PriorityShort), language().text(Text::Project), language().text(Text::ToDo)});
    if (!current.isEmpty()) {
        for (int row = 0; row < m_daFare->model()->rowCount(); ++row)
            if (m_daFare->keyAt(row) == current) {
                m_daFare->selectionModel()->setCurrentIndex(m_daFare->model()->index(row, qMax(0, column)),
                                                            QItemSelectionModel::NoUpdate);
                break;
            }
    }
}

void zntDayvexPrivate::drawAppointments()
{
    const int view = selectedTab();
    const Date shown = Date::fromDate(m_calendar->selectedDate());
    const DateRange range = viewRange(view, shown, dayFirst());
    m_caption = viewCaption(view, shown);
    showCaption();
    m_lista->setColumnDays(range.from, view == zntPlanShowDay ? 1 : view == zntPlanShowWeek ? 7 : 0);
    if (view == zntPlanShowWeek)
        m_lista->setWeekHeading(weekHeadings(range.from));
    else if (view == zntPlanShowDay && modern())
        m_lista->setWeekHeading({weekHeadings(range.from).constFirst()});
    else if (view == zntPlanShowMonth) {
        m_lista->showMonthDates(range.from, shown);
        // Modern: the keyboard's cell is the day on show, so that an arrow or
        // Enter starts from it and not from a cell the month's change moved.
        const MonthCell cell = monthCellOf(shown, monthFirstCell(shown, dayFirst()));
        if (modern() && cell.week * 2 + 1 < m_lista->rowCount() && cell.column < m_lista->columnCount())
            m_lista->setCurrentCell(cell.week * 2 + 1, cell.column, QItemSelectionModel::NoUpdate);
    }

    std::vector<AgendaEntry> entries;
    const bool segmented = modern() && view != zntPlanShowMonth;
    if (modern() && view == zntPlanShowMonth) {
        // Six weeks, each appointment on every day it touches.
        const DateRange weeks{range.from, range.from.addDays(42)};
        std::vector<Date> days;
        if (const std::shared_ptr<DayvexData> plan = q->Plan()) {
            const SharedSettings &shared = settings();
            const StartOrder &order = plan->Schedules()->verifiedOrder();
            const std::vector<std::shared_ptr<Schedule>> shown =
                withOccurrences(appointmentsOverlapping(order, weeks), order, weeks, true);
            for (const DaySegment &part : daySegments(shown, weeks.from, 42, 1)) {
                entries.emplace_back(*shown[size_t(part.appointment)], shared.MultiUserEnabled, shared.DateFormat);
                days.push_back(weeks.from.addDays(part.day));
            }
        }
        m_lista->showAllDay({});
        m_lista->showDayLists(std::move(entries), days);
        drawView(view);
        return;
    }
    if (const std::shared_ptr<DayvexData> plan = q->Plan()) {
        const SharedSettings &shared = settings();
        // The one pass over the records of this redraw.
        const StartOrder &order = plan->Schedules()->verifiedOrder();
        std::vector<std::shared_ptr<Schedule>> shown = withOccurrences(
            segmented ? appointmentsOverlapping(order, range) : appointmentsStartingIn(order, range), order, range,
            segmented);
        if (segmented) {
            // Whole days go to the strip above the time columns, the rest to the columns at their times.
            std::vector<AgendaEntry> wholeDays;
            std::erase_if(shown, [&](const std::shared_ptr<Schedule> &s) {
                if (!coversWholeDays(s->StartDate, s->EndDate))
                    return false;
                wholeDays.emplace_back(*s, shared.MultiUserEnabled, shared.DateFormat);
                return true;
            });
            m_lista->showAllDay(wholeDays);
        }
        entries.reserve(shown.size());
        for (const std::shared_ptr<Schedule> &s : shown)
            entries.emplace_back(*s, shared.MultiUserEnabled, shared.DateFormat);
        if (segmented) {
            // A box is at least a third of a row high, so a short appointment keeps a line.
            const int step = gridStartAndStep().second;
            m_lista->showSegments(entries, daySegments(shown, range.from, view == zntPlanShowDay ? 1 : 7,
                                                       qMax(5, step / 2)));
            drawView(view);
            return;
        }
    }
    m_lista->showAllDay({});
    if (segmented)
        m_lista->showSegments({}, {});
    else if (view == zntPlanShowMonth)
        m_lista->showDayLists(std::move(entries));
    else
        m_lista->showBoxes(entries);
    drawView(view);
}


void zntDayvexPrivate::drawView(int view)
{
    if (view == zntPlanShowMonth) {
        m_lista->placeDayLists(monthFirstCell(Date::fromDate(m_calendar->selectedDate()), dayFirst()));
    } else if ((view == zntPlanShowDay || view == zntPlanShowWeek) && modern()) {
        const auto [from, to] = workingMinutes(settings());
        const qint16 step = gridStartAndStep().second;
        m_lista->stretchRows(qMax(1, (to - from + step - 1) / step));
        if (m_pinnedToDayStart && m_lista->isVisible() && m_lista->rowCount() > 0) {
            // The working day from the grid's top, through every resize, until the user scrolls.
            m_lista->scrollTo(m_lista->model()->index(qMin(from / step, m_lista->rowCount() - 1), 0),
                              QAbstractItemView::PositionAtTop);
        }
        m_lista->placeSegments(step, from, to);
    } else if (view == zntPlanShowDay || view == zntPlanShowWeek) {
        const auto [dayStart, step] = slotStartAndStep(settings());
        m_lista->placeBoxes(view == zntPlanShowWeek, dayStart, step);
    }
    showNow();
}

void zntDayvexPrivate::showNow()
{
    const auto [dayStart, step] = gridStartAndStep();
    m_lista->showNow(now(), dayStart, step);
}

void zntDayvexPrivate::rebuildAlarms()
{
    if (const std::shared_ptr<DayvexData> plan = q->Plan())
        plan->setAlarms(Alarms::rebuilt(plan->Alarms(), *plan->Schedules(), *plan->ToDoS()));
}

void zntDayvexPrivate::onCalendarDateClicked(const QDate &date)
{
    drawAppointments();
    Date NewDate = Date::fromDate(date);
    DAYVEX_RAISE(DateSelected, NewDate);
}

void zntDayvexPrivate::onCalendarSelectionChanged()
{
    drawAppointments();
}

void zntDayvexPrivate::layOutChildren()
{
    const TwipsScale scale = TwipsScale::of(q);
    LayoutDesign design;
    const QSize month = m_calendar->monthSizeHint();
    design.monthWidth = scale.toTwips(month.width());
    design.calendarHeight = scale.toTwips(month.height());
    design.tabsHeight = scale.toTwips(m_tipoVis->sizeHint().height());
    design.listaTop = design.tabsTop + design.tabsHeight;
    design.statusHeight = scale.toTwips(m_statusBar->sizeHint().height());
    design.thisDayHeight = design.tabsHeight;
    if (modern()) {
        // Room for the longest day caption of a year, taken from the tabs: a caption is never cut.
        const QFontMetrics metrics(m_thisDay->font());
        int widest = 0;
        for (int month = 1; month <= 12; ++month)
            for (int day = 22; day <= 28; ++day)
                widest = qMax(widest, metrics.horizontalAdvance(
                                          viewCaption(zntPlanShowDay, Date::fromDate(QDate(2026, month, day)))));
        design.thisDayWidth = qMax(design.thisDayWidth, scale.toTwips(widest + metrics.averageCharWidth() * 2));
        const QFontMetrics tabText(m_tipoVis->font());
        int caption = 0;
        for (const Text text : {Text::Day, Text::Week, Text::Month})
            caption = qMax(caption, tabText.horizontalAdvance(language().text(text)));
        design.tabCaptionWidth = scale.toTwips(caption + tabText.averageCharWidth() * 3);
    }

    const ControlLayout l = layOutControl(scale.toTwips(q->width()), scale.toTwips(q->height()), design, modern(),
                                          m_sideCollapsed);
    auto place = [&scale](QWidget *w, const TwipsRect &r) {
        w->setGeometry(scale.toPixels(r.left), scale.toPixels(r.top), scale.toPixels(r.width),
                       scale.toPixels(r.height));
    };
    place(m_statusBar, l.status);
    m_statusBar->panel(0)->setFixedWidth(qMax(0, scale.toPixels(l.statusFirstPanel)));
    m_calendar->setMonthColumns(l.calendarMonths);
    place(m_calendar, l.calendar);
    place(m_lista, l.lista);
    place(m_daFare, l.daFare); // its description column stretches to what the others leave
    place(m_thisDay, l.thisDay);
    showCaption();
    place(m_tipoVis, l.tipoVis);
    m_calendar->setVisible(l.sideShown);
    m_daFare->setVisible(l.sideShown);
    m_sideToggle->setVisible(modern());
    if (modern()) {
        place(m_sideToggle, l.sideToggle);
        m_sideToggle->setArrowType(l.sideShown ? Qt::RightArrow : Qt::LeftArrow);
        const QString action = l.sideShown ? QObject::tr("Hide the calendar and the to-do list")
                                           : QObject::tr("Show the calendar and the to-do list");
        m_sideToggle->setToolTip(action);
        m_sideToggle->setAccessibleName(action); // an arrow alone reads as nothing
    }
    m_tipoVis->setStyleSheet(QStringLiteral("QTabBar::tab { width: %1px; }").arg(qMax(0, scale.toPixels(l.tabWidth))));
    const Text captions[] = {Text::Day, Text::Week, Text::Month};
    for (int tab = 0; tab < 3; ++tab)
        m_tipoVis->setTabText(tab, l.tabCaptions ? language().text(captions[tab]) : QString());
}

} // namespace dayvex
