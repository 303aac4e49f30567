#include "zntdayvex.h"

#include <dayvex/layout/controllayout.h>
#include "monthcalendar.h"
#include "propertybag.h"
#include "statusline.h"
#include <dayvex/platform/twips.h>

#include <dayvex/editing/appointmentcommands.h>
#include <dayvex/editing/commandflag.h>
#include <dayvex/editing/todocommands.h>
#include <dayvex/i18n/language.h>
#include <dayvex/reminders/alarmscan.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/format.h>
#include <dayvex/views/agendagrid.h>
#include <dayvex/layout/appointmentorder.h>
#include <dayvex/views/detailpane.h>
#include <dayvex/views/todogrid.h>
#include <dayvex/printing/agendaprint.h>
#include <dayvex/printing/printpreview.h>

#include <QCoreApplication>
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
#include <QPrinter>

#include <limits>

// A host's event: the signal with its arguments, under the host-handler guard.
#define DAYVEX_RAISE(event, ...) callHostHandler(#event, [&] { emit event(__VA_ARGS__); })

namespace dayvex {

namespace {
// The alarm timer ticks every few seconds; it starts enabled, as designed.
constexpr int AlarmTimerInterval = 5000;
} // namespace

std::pair<QString, QString> zntDayvex::dateFormatsFor(const QLocale &locale)
{
    // How the locale writes 3 December 2000 tells whether it puts the day first.
    const QString sample = locale.toString(QDate(2000, 12, 3), QLocale::ShortFormat);
    if (val(sample.left(2)) == 3.0)
        return {QStringLiteral("dd/mm/yyyy"), QStringLiteral("dd/mm/yyyy hh:ss")};
    return {QStringLiteral("mm/dd/yyyy"), QStringLiteral("mm/dd/yyyy hh:ss")};
}

zntDayvex::zntDayvex(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("zntDayvex"));
    // Start-up: the date order of the locale, and a fresh shared Plan. A second
    // control therefore empties what the first one shows until the host sets Plan.
    SharedSettings &shared = sharedSettings();
    std::tie(shared.DateFormat, shared.DateTimeFormat) = dateFormatsFor(QLocale());
    shared.Plan = std::make_shared<DayvexData>();

    m_commandRunning = std::make_unique<CommandFlag>();
    m_appointments = std::make_unique<AppointmentCommands>(*static_cast<EditingHost *>(this), *m_commandRunning);
    m_todos = std::make_unique<ToDoCommands>(*static_cast<EditingHost *>(this), *m_commandRunning);
    m_alarmScan = std::make_unique<AlarmScan>(*static_cast<ReminderHost *>(this));
    createChildren();
    createMenus();
    connectGestures();
    connectCommands();
    // A control made by code generated from a form gets no other call before the
    // form's assignments, which must land on a freshly initialised control.
    InitProperties();
}

zntDayvex::~zntDayvex() = default;

void zntDayvex::createChildren()
{
    m_tipoVis = new QTabBar(this);
    m_tipoVis->setObjectName(QStringLiteral("TipoVis"));
    m_tipoVis->setDrawBase(false);
    for (const char *caption : {"1 giorno", "7 giorni", "30 giorni"})
        m_tipoVis->addTab(QString::fromUtf8(caption));

    m_thisDay = new QLabel(QStringLiteral("Wendesday 30"), this);
    m_thisDay->setObjectName(QStringLiteral("ThisDay"));
    m_thisDay->setFont(QFont(QStringLiteral("Arial"), 11, QFont::Bold));
    m_thisDay->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    m_lista = new AgendaGrid(this);
    m_daFare = new ToDoGrid(this);

    m_calendar = new MonthCalendar(this);
    m_calendar->setObjectName(QStringLiteral("Calendar"));

    connect(m_tipoVis, &QTabBar::currentChanged, this, [this] { runFromUser([this] { selectView(); }); });
    connect(m_calendar, &MonthCalendar::dateClicked, this,
            [this](const QDate &date) { runFromUser([this, date] { onCalendarDateClicked(date); }); });
    connect(m_calendar, &MonthCalendar::selectionChanged, this,
            [this] { runFromUser([this] { onCalendarSelectionChanged(); }); });
    // The boxes follow the rows they stand on.
    connect(m_lista->verticalScrollBar(), &QScrollBar::valueChanged, this,
            [this] { runFromUser([this] { drawView(selectedTab()); }); });
    connect(m_lista, &AgendaGrid::viewportResized, this, [this] { runFromUser([this] { drawView(selectedTab()); }); });

    m_statusBar = new StatusLine(this);
    // The line of the current time moves with the clock.
    connect(m_statusBar, &StatusLine::ticked, this, [this] { runFromUser([this] { showNow(); }); });

    m_frShowApp = new DetailPane(this);

    m_timer = new QTimer(this);
    m_timer->setObjectName(QStringLiteral("Timer"));
    m_timer->setInterval(AlarmTimerInterval);
    connect(m_timer, &QTimer::timeout, this, [this] { m_alarmScan->tickFromTimer(); });
    m_timer->start();
}

void zntDayvex::createMenus()
{
    auto action = [](QMenu *menu, const char *name, const char *caption) {
        QAction *a = menu->addAction(QString::fromUtf8(caption));
        a->setObjectName(QString::fromUtf8(name));
        return a;
    };
    m_mnAppuntamento = new QMenu(QStringLiteral("Appuntamento"), this);
    m_mnAppuntamento->setObjectName(QStringLiteral("mnAppuntamento"));
    m_mnNuovo = action(m_mnAppuntamento, "mnNuovo", "Nuovo Appuntamento");
    m_mnModifica = action(m_mnAppuntamento, "mnModifica", "Modifica appuntamento");
    m_mnElimina = action(m_mnAppuntamento, "mnElimina", "Elimina appuntamento");
    m_mnAppuntamento->addSeparator();
    m_mnStampa = action(m_mnAppuntamento, "mnStampa", "Print…");

    m_mnuAttivita = new QMenu(QString::fromUtf8("Attività"), this);
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

void zntDayvex::applyMenuCaptions()
{
    m_mnNuovaAttivita->setText(text(Text::mnuAddToDo));
    m_mnNuovo->setText(text(Text::MnuAddAppointemnt));
    m_mnElimina->setText(text(Text::mnuDeleteAppointment));
    m_mnEliminaAttivita->setText(text(Text::mnuDeleteToDo));
    m_mnModifica->setText(text(Text::mnuChangeAppointment));
    m_mnModificaAttivita->setText(text(Text::mnuChangeToDo));
    m_mnuAttivitaCompleta->setText(text(Text::mnuDoneToDo));
}

void zntDayvex::markChanged(const char *name)
{
    DAYVEX_RAISE(PropertyChanged, QString::fromLatin1(name));
}

// ---- properties ----

void zntDayvex::setDisableReminderPopUp(bool value)
{
    m_disableReminderPopUp = value;
    markChanged("DisableReminderPopUp");
}

void zntDayvex::setDisableMenu(bool value)
{
    m_disableMenu = value;
    markChanged("DisableMenu");
}

QString zntDayvex::DayStartTime() const { return sharedSettings().DayStartTime; }

void zntDayvex::setDayStartTime(const QString &value)
{
    if (!isDate(value))
        return;
    sharedSettings().DayStartTime = value;
    markChanged("DayStartTime");
}

QString zntDayvex::DayEndTime() const { return sharedSettings().DayEndTime; }

void zntDayvex::setDayEndTime(const QString &value)
{
    if (!isDate(value))
        return;
    sharedSettings().DayEndTime = value;
    markChanged("DayEndTime");
}

qint16 zntDayvex::DayStepMinutes() const { return sharedSettings().DayStepMinutes; }

void zntDayvex::setDayStepMinutes(qint16 value)
{
    if (value <= 4 || value >= 180)
        return;
    sharedSettings().DayStepMinutes = value;
    markChanged("DayStepMinutes");
}

std::shared_ptr<DayvexData> zntDayvex::Plan() const { return sharedSettings().Plan; }

void zntDayvex::setPlan(std::shared_ptr<DayvexData> value)
{
    sharedSettings().Plan = std::move(value);
    markChanged("Plan");
}

void zntDayvex::setStartDay(Date value)
{
    m_startDay = value;
    m_calendar->setSelectedDate(value.toDate());
    drawAppointments();
    rebuildTimeRows();
    refillToDos();
    markChanged("StartDay");
}

void zntDayvex::setDayStepMinutesFromForm(int value)
{
    if (value < std::numeric_limits<qint16>::min() || value > std::numeric_limits<qint16>::max())
        return;
    setDayStepMinutes(qint16(value));
}

QDate zntDayvex::startDayOnForm() const
{
    return m_startDay.isValid() ? m_startDay.toDate() : QDate();
}

void zntDayvex::setStartDayFromForm(const QDate &value)
{
    if (value.isValid() && value >= QDate(100, 1, 1) && value <= QDate(9999, 12, 31))
        setStartDay(Date::fromDate(value));
}

bool zntDayvex::MultiUserEnabled() const { return sharedSettings().MultiUserEnabled; }

void zntDayvex::setMultiUserEnabled(bool value)
{
    sharedSettings().MultiUserEnabled = value;
    markChanged("MultiUserEnabled");
}

bool zntDayvex::ContactCodeEnabled() const { return sharedSettings().ContactCodeEnabled; }

void zntDayvex::setContactCodeEnabled(bool value)
{
    sharedSettings().ContactCodeEnabled = value;
    markChanged("ContactCodeEnabled");
}

void zntDayvex::setReminderSoundFile(const QString &value)
{
    m_reminderSoundFile = value;
    markChanged("ReminderSoundFile");
}

QString zntDayvex::DefaultOwner() const { return sharedSettings().DefaultOwner; }

void zntDayvex::setDefaultOwner(const QString &value)
{
    sharedSettings().DefaultOwner = value;
    markChanged("DefaultOwner");
}

bool zntDayvex::GlobalAlarmsEnable() const { return m_timer->isActive(); }

void zntDayvex::setGlobalAlarmsEnable(bool value)
{
    if (value)
        m_timer->start();
    else
        m_timer->stop();
    markChanged("GlobalAlarmsEnable");
}

QString zntDayvex::LanguageFileName() const { return sharedSettings().LanguageFileName; }

void zntDayvex::setLanguageFileName(const QString &value)
{
    sharedSettings().LanguageFileName = value;
    LoadLanguage();
    markChanged("LanguageFileName");
}

// ---- persistence ----

void zntDayvex::InitProperties()
{
    SharedSettings &shared = sharedSettings();
    shared.DayStartTime = QStringLiteral("08:00");
    shared.DayEndTime = QStringLiteral("20:00");
    shared.DayStepMinutes = 30;
    m_startDay = today();
    shared.MultiUserEnabled = true;
    shared.ContactCodeEnabled = true;
    m_reminderSoundFile.clear();
    shared.DefaultOwner.clear();
    shared.LanguageFileName.clear();
    m_disableReminderPopUp = false;
    m_disableMenu = false;
}

void zntDayvex::ReadProperties(PropertyBag &propertyBag)
{
    auto read = [&propertyBag](const char *name, const QVariant &defaultValue) {
        return std::pair{propertyBag.ReadProperty(QString::fromLatin1(name), defaultValue), QString::fromLatin1(name)};
    };
    auto text = [&](const char *name, const QString &defaultValue) {
        const auto [value, key] = read(name, defaultValue);
        return bag::toText(value, key);
    };
    auto flag = [&](const char *name, bool defaultValue) {
        const auto [value, key] = read(name, defaultValue);
        return bag::toBool(value, key);
    };

    // Loaded values bypass the assignment rules: a saved step outside 5..179 stands.
    SharedSettings &shared = sharedSettings();
    shared.DayStartTime = text("DayStartTime", QStringLiteral("08:00"));
    shared.DayEndTime = text("DayEndTime", QStringLiteral("20:00"));
    {
        const auto [value, key] = read("DayStepMinutes", 30);
        shared.DayStepMinutes = bag::toInt16(value, key);
    }
    {
        const auto [value, key] = read("StartDay", today().value());
        const Date day(bag::toDouble(value, key));
        if (!day.isValid())
            throw Error::overflow(QStringLiteral("property \"StartDay\" holds %1").arg(day.value()));
        m_startDay = day;
    }
    shared.MultiUserEnabled = flag("MultiUserEnabled", true);
    shared.ContactCodeEnabled = flag("ContactCodeEnabled", true);
    m_reminderSoundFile = text("ReminderSoundFile", QString());
    shared.DefaultOwner = text("DefaultOwner", QString());
    if (flag("GlobalAlarmsEnable", true))
        m_timer->start();
    else
        m_timer->stop();
    shared.LanguageFileName = text("LanguageFileName", QString());
    m_disableMenu = flag("DisableMenu", false);
    m_disableReminderPopUp = flag("DisableReminderPopUp", false);

    if (m_lista->columnCount() > 0)
        m_lista->setColumnWidth(0, TwipsScale::of(this).toPixels(500));
    LoadLanguage();
    applyMenuCaptions();
    m_captionsApplied = true;
    m_calendar->setSelectedDate(m_startDay.toDate());
    rebuildTimeRows();
    refillToDos();
    m_selection.pressedListIndex = -1;
    m_selection.pressedLineIndex = -1;
}

bool zntDayvex::event(QEvent *event)
{
    // A control built from a form gets its properties by assignment and is never
    // read: like a read one, it takes the language texts before it is first laid
    // out and shown.
    if (event->type() == QEvent::Polish && !m_captionsApplied) {
        LoadLanguage();
        applyMenuCaptions();
        refillToDos();
        m_captionsApplied = true;
    }
    return QWidget::event(event);
}

void zntDayvex::WriteProperties(PropertyBag &bag) const
{
    const SharedSettings &shared = sharedSettings();
    auto write = [&bag](const char *name, const QVariant &value, const QVariant &defaultValue) {
        bag.WriteProperty(QString::fromLatin1(name), value, defaultValue);
    };
    write("DayStartTime", shared.DayStartTime, QStringLiteral("08:00"));
    write("DayEndTime", shared.DayEndTime, QStringLiteral("20:00"));
    write("DayStepMinutes", int(shared.DayStepMinutes), 30);
    write("StartDay", m_startDay.value(), 0.0);
    write("MultiUserEnabled", shared.MultiUserEnabled, true);
    write("ContactCodeEnabled", shared.ContactCodeEnabled, true);
    write("ReminderSoundFile", m_reminderSoundFile, QString());
    write("DefaultOwner", shared.DefaultOwner, QString());
    write("GlobalAlarmsEnable", m_timer->isActive(), true);
    write("LanguageFileName", shared.LanguageFileName, QString());
    write("DisableMenu", m_disableMenu, false);
    write("DisableReminderPopUp", m_disableReminderPopUp, false);
}

// ---- events ----

// Emits one Before signal with both flags false and hands back what the host left in them.
template <typename Record>
static BeforeAnswer askHost(zntDayvex *control, const char *event,
                            void (zntDayvex::*signal)(std::shared_ptr<Record> &, bool &, bool &),
                            std::shared_ptr<Record> &record)
{
    BeforeAnswer answer;
    callHostHandler(event, [&] { (control->*signal)(record, answer.ExternalHandled, answer.Cancel); });
    return answer;
}

#define DAYVEX_ASK(event, record) \
    case EventId::event: return askHost(this, #event, &zntDayvex::event, record)

BeforeAnswer zntDayvex::raiseBefore(EventId id, std::shared_ptr<Schedule> &mSca)
{
    switch (id) {
    DAYVEX_ASK(BeforeScheduleAdd, mSca);
    DAYVEX_ASK(BeforeScheduleDelete, mSca);
    DAYVEX_ASK(BeforeScheduleChange, mSca);
    default:
        throw Error::invalidArgument(QStringLiteral("event %1 is no Before event of an appointment").arg(qint32(id)));
    }
}

BeforeAnswer zntDayvex::raiseBefore(EventId id, std::shared_ptr<ToDo> &mToDo)
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

BeforeAnswer zntDayvex::raiseReminderAlarm(std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder)
{
    BeforeAnswer answer;
    DAYVEX_RAISE(ReminderAlarm, alrm, FormReminder, answer.ExternalHandled, answer.Cancel);
    return answer;
}

void zntDayvex::RaiseTodoAdded(std::shared_ptr<ToDo> &mToDo) { DAYVEX_RAISE(TodoAdded, mToDo); }
void zntDayvex::RaiseToDoChanged(std::shared_ptr<ToDo> &mToDo) { DAYVEX_RAISE(ToDoChanged, mToDo); }
void zntDayvex::RaiseToDoDeleted(std::shared_ptr<ToDo> &mToDo) { DAYVEX_RAISE(ToDoDeleted, mToDo); }
void zntDayvex::RaiseAlarmChange(std::shared_ptr<Schedule> &mSca) { DAYVEX_RAISE(AlarmChange, mSca); }
void zntDayvex::RaiseToDoAlarmChange(std::shared_ptr<ToDo> &mToDo) { DAYVEX_RAISE(ToDoAlarmChange, mToDo); }
void zntDayvex::RaiseValidateToDo(std::shared_ptr<ToDo> &mToDo, bool &Cancel) { DAYVEX_RAISE(ValidateToDo, mToDo, Cancel); }
void zntDayvex::RaiseScheduleAdded(std::shared_ptr<Schedule> &mSca) { DAYVEX_RAISE(ScheduleAdded, mSca); }
void zntDayvex::RaiseScheduleChanged(std::shared_ptr<Schedule> &mSca) { DAYVEX_RAISE(ScheduleChanged, mSca); }
void zntDayvex::RaiseScheduleDeleted(std::shared_ptr<Schedule> &mSca) { DAYVEX_RAISE(ScheduleDeleted, mSca); }
void zntDayvex::RaiseContactCodeChange(QString &Value) { DAYVEX_RAISE(ContactCodeChange, Value); }

void zntDayvex::RaiseValidateSchedule(std::shared_ptr<Schedule> &mSca, bool &Cancel)
{
    DAYVEX_RAISE(ValidateSchedule, mSca, Cancel);
}

void zntDayvex::RaiseContactCodeLostFocus(QString &Value, QString &ContactDescription, bool &Cancel)
{
    DAYVEX_RAISE(ContactCodeLostFocus, Value, ContactDescription, Cancel);
}

void zntDayvex::RaiseContactCodeDoubleClick(QString &Value, QString &ContactDescription)
{
    DAYVEX_RAISE(ContactCodeDoubleClick, Value, ContactDescription);
}

// ---- commands ----

QWidget *zntDayvex::dialogParent() const
{
    return window();
}

void zntDayvex::redraw()
{
    Refresh();
}

bool zntDayvex::commandInProgress() const
{
    return m_commandRunning->isSet();
}

void zntDayvex::connectCommands()
{
    connect(m_mnNuovo, &QAction::triggered, this, [this] { runFromUser([this] { mnNuovo_Click(); }); });
    connect(m_mnModifica, &QAction::triggered, this, [this] { runFromUser([this] { mnModifica_Click(); }); });
    connect(m_mnElimina, &QAction::triggered, this, [this] { runFromUser([this] { mnElimina_Click(); }); });
    connect(m_mnuAttivitaCompleta, &QAction::triggered, this,
            [this] { runFromUser([this] { mnuAttivitaCompleta_Click(); }); });
    connect(m_mnNuovaAttivita, &QAction::triggered, this, [this] { runFromUser([this] { mnNuovaAttivita_Click(); }); });
    connect(m_mnModificaAttivita, &QAction::triggered, this,
            [this] { runFromUser([this] { mnModificaAttivita_Click(); }); });
    connect(m_mnEliminaAttivita, &QAction::triggered, this,
            [this] { runFromUser([this] { mnEliminaAttivita_Click(); }); });
    connect(m_mnStampa, &QAction::triggered, this, [this] {
        openPrintPreview(this, [this](QPrinter *printer) { runFromUser([&] { printView(printer); }); });
    });
    connect(m_mnStampaAttivita, &QAction::triggered, this, [this] {
        openPrintPreview(this, [this](QPrinter *printer) { runFromUser([&] { printToDoList(printer); }); });
    });
}

int zntDayvex::printView(QPrinter *printer)
{
    const int tab = selectedTab();
    return print(printer, tab >= zntPlanShowDay && tab <= zntPlanShowMonth ? tab : int(zntPlanShowWeek));
}

int zntDayvex::printToDoList(QPrinter *printer)
{
    return print(printer, int(PrintedView::ToDoList));
}

int zntDayvex::print(QPrinter *printer, int view)
{
    if (!printer)
        throw Error::invalidArgument(QStringLiteral("no printer"));
    const std::shared_ptr<DayvexData> plan = Plan();
    if (!plan)
        return 0;
    const SharedSettings &shared = sharedSettings();
    PrintOptions options;
    options.view = PrintedView(view);
    options.shown = Date::fromDate(m_calendar->selectedDate());
    options.dayStart = shared.DayStartTime;
    options.dayEnd = shared.DayEndTime;
    options.step = shared.DayStepMinutes;
    options.multiUser = shared.MultiUserEnabled;
    options.dayFirst = dayFirst();
    options.dateFormat = shared.DateFormat;
    return printAgenda(*printer, *plan, options);
}

void zntDayvex::scanAlarms()
{
    m_alarmScan->tick();
}

QString zntDayvex::currentToDoKey() const
{
    return m_daFare->keyAt(m_daFare->currentRow());
}

void zntDayvex::showToDoDone(const QString &key)
{
    m_daFare->showDone(key);
}

void zntDayvex::mnuAttivitaCompleta_Click()
{
    m_todos->markDone(currentToDoKey());
}

void zntDayvex::mnNuovaAttivita_Click()
{
    m_todos->newToDo();
}

void zntDayvex::mnModificaAttivita_Click()
{
    m_todos->modify(currentToDoKey());
}

void zntDayvex::mnEliminaAttivita_Click()
{
    m_todos->remove(currentToDoKey());
}

void zntDayvex::mnNuovo_Click()
{
    // The calendar's day at the time of the grid's current row.
    const int row = m_lista->currentRow();
    const auto cell = [this, row](int column) {
        const QStandardItem *item = row >= 0 ? m_lista->item(row, column) : nullptr;
        return item ? item->text() : QString();
    };
    m_appointments->newAppointment(proposedStart(Date::fromDate(m_calendar->selectedDate()), cell(0), cell(1),
                                                 sharedSettings().DateFormat));
}

void zntDayvex::mnModifica_Click()
{
    m_appointments->modify(m_selection.appointmentKey);
}

void zntDayvex::mnElimina_Click()
{
    m_appointments->remove(m_selection.appointmentKey);
}

// ---- layout ----

void zntDayvex::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    m_inResize = true;
    const TwipsScale scale = TwipsScale::of(this);
    switch (resizeAction(scale.toTwips(width()), scale.toTwips(height()))) {
    case ResizeAction::Collapsed:
        return; // a collapsed control lays nothing out and stays in resize
    case ResizeAction::GrowHeight:
        resize(width(), scale.toPixels(ControlMinimum::Height + ControlMinimum::Margin));
        return;
    case ResizeAction::GrowWidth:
        resize(scale.toPixels(ControlMinimum::Width + ControlMinimum::Margin), height());
        return;
    case ResizeAction::LayOut:
        break;
    }
    layOutChildren();
    // A complete pass rebuilds the selected view from scratch.
    m_currentView = zntPlanShowDefault;
    runFromUser([this] { selectView(); });
    m_inResize = false;
}

// ---- views ----

template <typename Step>
void zntDayvex::runFromUser(Step step)
{
    runLoggingErrors("zntDayvex", step);
}

int zntDayvex::selectedTab() const
{
    return m_tipoVis->currentIndex() + 1;
}

bool zntDayvex::dayFirst() const
{
    return sharedSettings().DateFormat.left(1).toUpper() == QLatin1String("D");
}

void zntDayvex::Refresh(zntPlanShowType Style, bool RebuildFrame)
{
    Q_UNUSED(RebuildFrame);
    if (Style != zntPlanShowDefault) {
        if (Style < zntPlanShowDay || Style > zntPlanShowMonth)
            throw Error::invalidArgument(QStringLiteral("view style %1 is none of 0 to 3").arg(qint32(Style)));
        {
            const QSignalBlocker block(m_tipoVis);
            m_tipoVis->setCurrentIndex(Style - 1);
        }
        selectView();
    }
    QCoreApplication::processEvents();
    if (m_currentView == zntPlanShowDay || m_currentView == zntPlanShowWeek)
        rebuildTimeRows();
    refillToDos();
    drawAppointments();
    drawView(m_currentView);
    rebuildAlarms();
}

void zntDayvex::selectView()
{
    const TwipsScale scale = TwipsScale::of(this);
    const double gridWidth = scale.toTwips(m_lista->width());
    const Date shown = Date::fromDate(m_calendar->selectedDate());
    const int tab = selectedTab();
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
        if (m_lista->rowCount() > 0)
            m_lista->setCurrentCell(0, qMax(0, m_lista->currentColumn()), QItemSelectionModel::NoUpdate);
        break;
    default:
        m_currentView = zntPlanShowDay;
        m_lista->setHeadingRow(false);
        m_lista->setDayColumns(dayViewColumnWidth(gridWidth));
        rebuildTimeRows();
        break;
    }
    if (m_inResize)
        drawView(tab);
    else
        onCalendarSelectionChanged();
}

void zntDayvex::rebuildTimeRows()
{
    if (selectedTab() == zntPlanShowMonth)
        return;
    SharedSettings &shared = sharedSettings();
    QString start = shared.DayStartTime;
    QString end = shared.DayEndTime;
    // A step of 0 or less comes back as 30 and stays so.
    const qint32 count = slotCount(start, end, shared.DayStepMinutes);
    m_lista->setTimeRows(slotLabels(start, shared.DayStepMinutes, count));
    if (m_currentView == zntPlanShowWeek)
        m_lista->setHeadingRow(true);
}

void zntDayvex::refillToDos()
{
    const std::shared_ptr<DayvexData> plan = Plan();
    const std::shared_ptr<ToDoS> todos = plan ? plan->ToDoS() : std::make_shared<ToDoS>();
    m_daFare->fill(*todos, {text(Text::PriorityShort), text(Text::Project), text(Text::ToDo)});
}

void zntDayvex::drawAppointments()
{
    const int view = selectedTab();
    const Date shown = Date::fromDate(m_calendar->selectedDate());
    const DateRange range = viewRange(view, shown, dayFirst());
    m_thisDay->setText(viewCaption(view, shown));
    m_lista->setColumnDays(range.from, view == zntPlanShowDay ? 1 : view == zntPlanShowWeek ? 7 : 0);
    if (view == zntPlanShowWeek)
        m_lista->setWeekHeading(weekHeadings(range.from));
    else if (view == zntPlanShowMonth)
        m_lista->showMonthDates(range.from, shown);

    std::vector<AgendaEntry> entries;
    if (const std::shared_ptr<DayvexData> plan = Plan()) {
        const SharedSettings &shared = sharedSettings();
        const std::vector<std::shared_ptr<Schedule>> shown = appointmentsStartingIn(*plan->Schedules(), range);
        entries.reserve(shown.size());
        for (const std::shared_ptr<Schedule> &s : shown)
            entries.emplace_back(*s, shared.MultiUserEnabled, shared.DateFormat);
    }
    if (view == zntPlanShowMonth)
        m_lista->showDayLists(std::move(entries));
    else
        m_lista->showBoxes(entries);
    drawView(view);
}

namespace {
// The first slot's time and the slot length that the rows were built with.
std::pair<Date, qint16> slotStartAndStep()
{
    const SharedSettings &shared = sharedSettings();
    const std::optional<Date> start = parseDate(shared.DayStartTime);
    return {start ? start->timePart() : Date::fromTime(QTime(8, 0)),
            shared.DayStepMinutes > 0 ? shared.DayStepMinutes : qint16(30)};
}
} // namespace

void zntDayvex::drawView(int view)
{
    if (view == zntPlanShowMonth) {
        m_lista->placeDayLists(monthFirstCell(Date::fromDate(m_calendar->selectedDate()), dayFirst()));
    } else if (view == zntPlanShowDay || view == zntPlanShowWeek) {
        const auto [dayStart, step] = slotStartAndStep();
        m_lista->placeBoxes(view == zntPlanShowWeek, dayStart, step);
    }
    showNow();
}

void zntDayvex::showNow()
{
    const auto [dayStart, step] = slotStartAndStep();
    m_lista->showNow(now(), dayStart, step);
}

void zntDayvex::rebuildAlarms()
{
    if (const std::shared_ptr<DayvexData> plan = Plan())
        plan->setAlarms(Alarms::rebuilt(plan->Alarms(), *plan->Schedules(), *plan->ToDoS()));
}

void zntDayvex::onCalendarDateClicked(const QDate &date)
{
    drawAppointments();
    Date NewDate = Date::fromDate(date);
    DAYVEX_RAISE(DateSelected, NewDate);
}

void zntDayvex::onCalendarSelectionChanged()
{
    drawAppointments();
}

// ---- gestures ----

void zntDayvex::runCommand(QAction *entry)
{
    // A gesture runs the command even when the menu last showed the entry disabled.
    emit entry->triggered(entry->isChecked());
}

void zntDayvex::connectGestures()
{
    connect(m_lista, &AgendaGrid::released, this, [this](const QPoint &pos, Qt::MouseButton button, const QPoint &global) {
        runFromUser([&] { onListaReleased(pos, button, global); });
    });
    connect(m_lista, &AgendaGrid::doubleClickedAt, this, [this] {
        runFromUser([this] {
            listaClickAction();
            if (!m_disableMenu)
                runCommand(m_mnNuovo);
        });
    });
    connect(m_lista, &AgendaGrid::keyboardMoved, this, [this] {
        // The arrow keys move the date on show as a click on the cell would.
        m_selection.listaRow = m_lista->currentRow();
        m_selection.listaColumn = m_lista->currentColumn();
        runFromUser([this] { listaClickAction(); });
    });
    connect(m_lista, &AgendaGrid::boxCreated, this, &zntDayvex::watchBox);
    connect(m_lista, &AgendaGrid::dayListCreated, this, &zntDayvex::watchDayList);

    connect(m_daFare, &ToDoGrid::released, this, [this](const QPoint &pos, Qt::MouseButton button, const QPoint &global) {
        runFromUser([&] { onToDoReleased(pos, button, global); });
    });
    connect(m_daFare, &ToDoGrid::doubleClickedAt, this, [this](const QPoint &pos) {
        if (m_disableMenu)
            return;
        // A double click on a to-do changes it; one below the rows makes a new one.
        runCommand(m_daFare->keyAt(m_daFare->cellAt(pos).first).isEmpty() ? m_mnNuovaAttivita : m_mnModificaAttivita);
    });
    connect(m_daFare, &ToDoGrid::hovered, this, [this] {
        if (m_frShowApp->isVisible())
            m_frShowApp->hide();
    });
    connect(m_daFare, &ToDoGrid::enterPressed, this, [this](int row) {
        m_selection.toDoKey = m_daFare->keyAt(row);
        if (!m_selection.toDoKey.isEmpty())
            runCommand(m_mnModificaAttivita);
    });
    connect(m_daFare, &ToDoGrid::deletePressed, this, [this](int row) {
        m_selection.toDoKey = m_daFare->keyAt(row);
        if (!m_selection.toDoKey.isEmpty())
            runCommand(m_mnEliminaAttivita);
    });

    connect(m_frShowApp, &DetailPane::clicked, this, [this] {
        // The pane stands over the to-do list when it shows a to-do.
        runCommand(m_daFare->x() <= m_frShowApp->x() ? m_mnModificaAttivita : m_mnModifica);
    });
}

void zntDayvex::watchBox(AppointmentBox *box)
{
    const ItemGestures *gestures = box->gestures();
    connect(gestures, &ItemGestures::clicked, this, [this, box] { runFromUser([&] { showBoxDetails(box); }); });
    watchAppointmentGestures(gestures, [this, box] {
        m_selection.appointmentKey = box->entry().key;
        return true;
    });
}

void zntDayvex::watchDayList(DayList *list)
{
    connect(list, &DayList::pressed, this, [this](DayList *pressed, int line) {
        m_selection.pressedListIndex = pressed->index();
        m_selection.pressedLineIndex = line;
    });
    const ItemGestures *gestures = list->gestures();
    connect(gestures, &ItemGestures::clicked, this,
            [this, list] { runFromUser([&] { showDayListDetails(list->index()); }); });
    watchAppointmentGestures(gestures, [this, list] { return selectDayLine(list->index()); });
}

void zntDayvex::watchAppointmentGestures(const ItemGestures *gestures, std::function<bool()> select)
{
    // The item acted on is the one the gesture is on, whatever was clicked before.
    connect(gestures, &ItemGestures::doubleClicked, this, [this, select] {
        runFromUser([&] {
            if (select())
                runCommand(m_mnModifica);
        });
        m_frShowApp->hide();
    });
    connect(gestures, &ItemGestures::enterPressed, this, [this, select] {
        runFromUser([&] {
            if (select())
                runCommand(m_mnModifica);
        });
    });
    connect(gestures, &ItemGestures::deletePressed, this, [this, select] {
        runFromUser([&] {
            if (select())
                runCommand(m_mnElimina);
        });
    });
    // Offered whatever DisableMenu says, unlike the grid's own menu.
    connect(gestures, &ItemGestures::rightReleased, this, [this, select](const QPoint &global) {
        runFromUser([&] { select(); });
        popUpAppointmentMenu(true, global);
    });
}

void zntDayvex::popUpAppointmentMenu(bool onAppointment, const QPoint &globalPos)
{
    m_mnNuovo->setEnabled(true);
    m_mnModifica->setEnabled(onAppointment);
    m_mnElimina->setEnabled(onAppointment);
    m_mnAppuntamento->popup(globalPos);
}

void zntDayvex::onListaReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos)
{
    const auto [row, column] = m_lista->cellAt(pos);
    if (row >= 0 && column >= 0)
        m_lista->setCurrentCell(row, column);
    m_selection.listaRow = m_lista->currentRow();
    m_selection.listaColumn = m_lista->currentColumn();
    listaClickAction();
    QCoreApplication::processEvents();
    if (button == Qt::RightButton && !m_disableMenu)
        popUpAppointmentMenu(false, globalPos);
}

void zntDayvex::listaClickAction()
{
    const int view = selectedTab();
    const std::optional<Date> day = clickedDate(view, Date::fromDate(m_calendar->selectedDate()), dayFirst(),
                                                m_lista->currentRow(), m_lista->currentColumn());
    if (!day)
        return;
    m_calendar->setSelectedDate(day->toDate());
    if (view == zntPlanShowMonth)
        selectView();
}

void zntDayvex::showBoxDetails(AppointmentBox *box)
{
    const AgendaEntry &entry = box->entry();
    m_selection.appointmentKey = entry.key;
    // Beside the box, within the grid: the box stays in sight, the calendar uncovered.
    const QRect item(box->mapTo(this, QPoint(0, 0)), box->size());
    m_frShowApp->showAt(m_frShowApp->areaBeside(item, m_lista->geometry()), detail::boxCaption(entry),
                        detail::boxText(entry));
}

bool zntDayvex::selectDayLine(int index)
{
    const DayList *list = m_lista->dayList(index);
    const int line = list->currentRow();
    const std::vector<AgendaEntry> &entries = m_lista->dayListEntries(index);
    if (line < 0 || size_t(line) >= entries.size())
        return false;
    m_selection.appointmentKey = entries[size_t(line)].key;
    return true;
}

void zntDayvex::showDayListDetails(int index)
{
    if (!selectDayLine(index))
        return;
    const DayList *list = m_lista->dayList(index);
    const QString text = list->lineText(list->currentRow());
    // The day's date text is its first appointment's.
    const QRect cell(list->mapTo(this, QPoint(0, 0)), list->size());
    m_frShowApp->showAt(m_frShowApp->areaBeside(cell, m_lista->geometry()),
                        detail::listCaption(m_lista->dayListEntries(index).front().dates(), text),
                        detail::listText(text));
}

void zntDayvex::showToDoDetails(int row)
{
    const QString key = m_daFare->keyAt(row);
    m_selection.toDoKey = key;
    const std::shared_ptr<DayvexData> plan = Plan();
    if (key.isEmpty() || !plan || !plan->ToDoS()->find(key))
        return; // a row the host has emptied since the last refill
    const std::shared_ptr<ToDo> todo = plan->ToDoS()->Item(key);
    // Above the list, on its left edge: no row is covered, and the pane's left
    // edge tells a click on it that it shows a to-do.
    m_frShowApp->showAt(m_frShowApp->areaAbove(m_daFare->geometry(), rect()), text(Text::ToDo),
                        detail::toDoText(*todo, sharedSettings().DateFormat));
}

void zntDayvex::onToDoReleased(const QPoint &pos, Qt::MouseButton button, const QPoint &globalPos)
{
    const int row = m_daFare->cellAt(pos).first;
    if (button == Qt::LeftButton) {
        if (row >= 0)
            showToDoDetails(row);
        return;
    }
    if (button != Qt::RightButton || m_disableMenu)
        return;
    const QString key = m_daFare->keyAt(row);
    const bool holdsToDo = !key.isEmpty();
    const bool done = m_daFare->isDone(row);
    m_mnuAttivitaCompleta->setEnabled(holdsToDo && !done);
    m_mnNuovaAttivita->setEnabled(true);
    m_mnModificaAttivita->setEnabled(holdsToDo);
    m_mnEliminaAttivita->setEnabled(holdsToDo);
    m_daFare->clearSelection();
    if (row >= 0)
        m_daFare->setCurrentCell(row, holdsToDo ? 1 : 0, QItemSelectionModel::NoUpdate);
    if (holdsToDo)
        m_daFare->selectionModel()->select(QItemSelection(m_daFare->model()->index(row, 1),
                                                          m_daFare->model()->index(row, m_daFare->columnCount() - 1)),
                                           QItemSelectionModel::Select);
    m_selection.toDoKey = key;
    m_mnuAttivita->popup(globalPos);
}

void zntDayvex::layOutChildren()
{
    const TwipsScale scale = TwipsScale::of(this);
    LayoutDesign design;
    const QSize month = m_calendar->monthSizeHint();
    design.monthWidth = scale.toTwips(month.width());
    design.calendarHeight = scale.toTwips(month.height());
    design.tabsHeight = scale.toTwips(m_tipoVis->sizeHint().height());
    design.listaTop = design.tabsTop + design.tabsHeight;
    design.statusHeight = scale.toTwips(m_statusBar->sizeHint().height());
    design.thisDayHeight = design.tabsHeight;

    const ControlLayout l = layOutControl(scale.toTwips(width()), scale.toTwips(height()), design);
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
    place(m_tipoVis, l.tipoVis);
    m_tipoVis->setStyleSheet(QStringLiteral("QTabBar::tab { width: %1px; }").arg(qMax(0, scale.toPixels(l.tabWidth))));
    const Text captions[] = {Text::Day, Text::Week, Text::Month};
    for (int tab = 0; tab < 3; ++tab)
        m_tipoVis->setTabText(tab, l.tabCaptions ? text(captions[tab]) : QString());
}

} // namespace dayvex
