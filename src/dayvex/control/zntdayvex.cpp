#include "zntdayvex.h"
#include "zntdayvex_p.h"
#include "propertytable.h"

#include <dayvex/layout/controllayout.h>
#include "monthcalendar.h"
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
#include <QMetaMethod>
#include <QMetaProperty>
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
bool g_instancesShareState = true;
int g_liveControls = 0;
} // namespace

bool instancesShareState() { return g_instancesShareState; }

void setInstancesShareState(bool share)
{
    if (g_liveControls > 0 && share != g_instancesShareState)
        qCWarning(lcDayvex, "setInstancesShareState: %d controls already exist and keep what they share",
                  g_liveControls);
    g_instancesShareState = share;
}

std::pair<QString, QString> zntDayvex::dateFormatsFor(const QLocale &locale)
{
    // How the locale writes 3 December 2000 tells whether it puts the day first.
    const QString sample = locale.toString(QDate(2000, 12, 3), QLocale::ShortFormat);
    if (val(sample.left(2)) == 3.0)
        return {QStringLiteral("dd/mm/yyyy"), QStringLiteral("dd/mm/yyyy hh:ss")};
    return {QStringLiteral("mm/dd/yyyy"), QStringLiteral("mm/dd/yyyy hh:ss")};
}

zntDayvex::zntDayvex(QWidget *parent)
    : QWidget(parent), d(std::make_unique<zntDayvexPrivate>(this))
{
    setObjectName(QStringLiteral("zntDayvex"));
    ++g_liveControls;
    // Start-up: the date order of the locale, and a fresh Plan. While controls
    // share their state, a second one therefore empties what the first one shows
    // until the host sets Plan.
    SharedSettings &shared = d->settings();
    std::tie(shared.DateFormat, shared.DateTimeFormat) = dateFormatsFor(QLocale());
    shared.Plan = std::make_shared<DayvexData>();

    d->createChildren();
    d->createMenus();
    d->m_gestures = std::make_unique<GestureRouter>(*d, this, d->m_lista, d->m_daFare, d->m_frShowApp);
    d->connectCommands();
    d->createShortcuts();
    // A control made by code generated from a form gets no other call before the
    // form's assignments, which must land on a freshly initialised control.
    InitProperties();
}

zntDayvex::~zntDayvex()
{
    --g_liveControls;
    releasePrintPreviews(this);
    // The children go before their connections' receiver: nothing they signal on
    // the way out reaches a half-destroyed control.
    for (QObject *child : findChildren<QObject *>())
        child->disconnect(this);
}

bool zntDayvex::DisableReminderPopUp() const { return d->m_disableReminderPopUp; }
bool zntDayvex::DisableMenu() const { return d->m_disableMenu; }
Date zntDayvex::StartDay() const { return d->m_startDay; }
QString zntDayvex::ReminderSoundFile() const { return d->m_reminderSoundFile; }
qint16 zntDayvex::CurrentView() const { return d->m_currentView; }

void zntDayvex::markChanged(const char *name)
{
    DAYVEX_RAISE(PropertyChanged, QString::fromLatin1(name));
    // Then the property's own notify signal, with the value as its property reads it.
    const QMetaProperty property = metaObject()->property(metaObject()->indexOfProperty(name));
    if (!property.hasNotifySignal())
        return;
    const QMetaMethod notify = property.notifySignal();
    const QVariant value = property.read(this);
    callHostHandler(name, [&] {
        if (notify.parameterCount() == 0)
            notify.invoke(this, Qt::DirectConnection);
        else
            notify.invoke(this, Qt::DirectConnection, QGenericArgument(notify.parameterTypes().at(0).constData(),
                                                                       value.constData()));
    });
}

// ---- properties ----

bool zntDayvex::assign(const char *name, const QVariant &value)
{
    const ControlProperty &row = controlProperty(name);
    if (!row.accepts(value)) {
        qCWarning(lcDayvex, "zntDayvex: %s refuses %s", name, qPrintable(value.toString()));
        return false;
    }
    row.set(*d, value);
    markChanged(name);
    return true;
}

void zntDayvex::setDisableReminderPopUp(bool value) { assign("DisableReminderPopUp", value); }
void zntDayvex::setDisableMenu(bool value) { assign("DisableMenu", value); }
QString zntDayvex::DayStartTime() const { return d->settings().DayStartTime; }
void zntDayvex::setDayStartTime(const QString &value) { assign("DayStartTime", value); }
QString zntDayvex::DayEndTime() const { return d->settings().DayEndTime; }
void zntDayvex::setDayEndTime(const QString &value) { assign("DayEndTime", value); }
qint16 zntDayvex::DayStepMinutes() const { return d->settings().DayStepMinutes; }
void zntDayvex::setDayStepMinutes(qint16 value) { assign("DayStepMinutes", int(value)); }

std::shared_ptr<DayvexData> zntDayvex::Plan() const { return d->settings().Plan; }

void zntDayvex::setPlan(std::shared_ptr<DayvexData> value)
{
    d->settings().Plan = std::move(value);
    d->planReplaced();
    markChanged("Plan");
}

void zntDayvex::setStartDay(Date value)
{
    d->m_startDay = value;
    d->m_calendar->setSelectedDate(value.toDate());
    d->drawAppointments();
    d->rebuildTimeRows();
    d->refillToDos();
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
    return d->m_startDay.isValid() ? d->m_startDay.toDate() : QDate();
}

void zntDayvex::setStartDayFromForm(const QDate &value)
{
    if (value.isValid() && value >= QDate(100, 1, 1) && value <= QDate(9999, 12, 31))
        setStartDay(Date::fromDate(value));
}

bool zntDayvex::MultiUserEnabled() const { return d->settings().MultiUserEnabled; }
void zntDayvex::setMultiUserEnabled(bool value) { assign("MultiUserEnabled", value); }
bool zntDayvex::ContactCodeEnabled() const { return d->settings().ContactCodeEnabled; }
void zntDayvex::setContactCodeEnabled(bool value) { assign("ContactCodeEnabled", value); }
void zntDayvex::setReminderSoundFile(const QString &value) { assign("ReminderSoundFile", value); }
QString zntDayvex::DefaultOwner() const { return d->settings().DefaultOwner; }
void zntDayvex::setDefaultOwner(const QString &value) { assign("DefaultOwner", value); }
HostPolicy::~HostPolicy() = default;
void HostPolicy::ContactCodeChange(QString &) {}
void HostPolicy::ContactCodeLostFocus(QString &, QString &, bool &) {}
void HostPolicy::ContactCodeDoubleClick(QString &, QString &) {}
void HostPolicy::BeforeScheduleAdd(std::shared_ptr<Schedule> &, bool &, bool &) {}
void HostPolicy::ScheduleAdded(std::shared_ptr<Schedule> &) {}
void HostPolicy::BeforeScheduleDelete(std::shared_ptr<Schedule> &, bool &, bool &) {}
void HostPolicy::ScheduleDeleted(std::shared_ptr<Schedule> &) {}
void HostPolicy::BeforeScheduleChange(std::shared_ptr<Schedule> &, bool &, bool &) {}
void HostPolicy::ScheduleChanged(std::shared_ptr<Schedule> &) {}
void HostPolicy::TodoAdded(std::shared_ptr<ToDo> &) {}
void HostPolicy::BeforeTodoAdd(std::shared_ptr<ToDo> &, bool &, bool &) {}
void HostPolicy::ToDoDeleted(std::shared_ptr<ToDo> &) {}
void HostPolicy::BeforeTodoDelete(std::shared_ptr<ToDo> &, bool &, bool &) {}
void HostPolicy::ToDoChanged(std::shared_ptr<ToDo> &) {}
void HostPolicy::BeforeTodoChange(std::shared_ptr<ToDo> &, bool &, bool &) {}
void HostPolicy::AlarmChange(std::shared_ptr<Schedule> &) {}
void HostPolicy::ToDoAlarmChange(std::shared_ptr<ToDo> &) {}
void HostPolicy::BeforeTodoSetComplete(std::shared_ptr<ToDo> &, bool &, bool &) {}
void HostPolicy::DateSelected(Date &) {}
void HostPolicy::ReminderAlarm(std::shared_ptr<Alarm> &, QWidget *&, bool &, bool &) {}
void HostPolicy::ValidateSchedule(std::shared_ptr<Schedule> &, bool &) {}
void HostPolicy::ValidateToDo(std::shared_ptr<ToDo> &, bool &) {}

void zntDayvex::setHostPolicy(HostPolicy *policy) { d->m_policy = policy; }
HostPolicy *zntDayvex::hostPolicy() const { return d->m_policy; }

void zntDayvex::setDayStartTime(const QTime &time)
{
    if (time.isValid())
        setDayStartTime(time.toString(QStringLiteral("hh:mm")));
}

void zntDayvex::setDayEndTime(const QTime &time)
{
    if (time.isValid())
        setDayEndTime(time.toString(QStringLiteral("hh:mm")));
}

zntDayvex::PresentationStyle zntDayvex::Presentation() const { return PresentationStyle(d->m_presentation); }
void zntDayvex::setPresentation(PresentationStyle value) { assign("Presentation", int(value)); }
bool zntDayvex::SideColumnCollapsed() const { return d->m_sideCollapsed; }
void zntDayvex::setSideColumnCollapsed(bool value) { assign("SideColumnCollapsed", value); }

bool zntDayvex::AutoRefresh() const { return d->m_autoRefresh; }
void zntDayvex::setAutoRefresh(bool value) { assign("AutoRefresh", value); }
bool zntDayvex::GlobalAlarmsEnable() const { return d->m_timer->isActive(); }
void zntDayvex::setGlobalAlarmsEnable(bool value) { assign("GlobalAlarmsEnable", value); }
QString zntDayvex::LanguageFileName() const { return d->settings().LanguageFileName; }

void zntDayvex::setLanguageFileName(const QString &value)
{
    controlProperty("LanguageFileName").set(*d, value);
    d->loadLanguage(); // the texts change at once, before the host hears of it
    markChanged("LanguageFileName");
}

// ---- persistence ----

void zntDayvex::InitProperties()
{
    for (const ControlProperty &row : controlProperties())
        if (row.initialised)
            row.set(*d, row.defaultValue());
}

void zntDayvex::ReadProperties(PropertyBag &propertyBag)
{
    // Loaded values bypass the assignment rules: a saved step outside 5..179 stands.
    for (const ControlProperty &row : controlProperties())
        row.set(*d, fromBag(row, propertyBag.ReadProperty(QString::fromLatin1(row.name), row.defaultValue())));

    if (d->m_lista->columnCount() > 0)
        d->m_lista->setColumnWidth(0, TwipsScale::of(this).toPixels(500));
    d->loadLanguage();
    d->applyMenuCaptions();
    d->m_captionsApplied = true;
    d->m_calendar->setSelectedDate(d->m_startDay.toDate());
    d->rebuildTimeRows();
    d->refillToDos();
    d->m_gestures->selection().pressedListIndex = -1;
    d->m_gestures->selection().pressedLineIndex = -1;
}

QSize zntDayvex::minimumSizeHint() const
{
    // The size below which a resize grows the control again.
    const TwipsScale scale = TwipsScale::of(this);
    return {scale.toPixels(ControlMinimum::Width + ControlMinimum::Margin),
            scale.toPixels(ControlMinimum::Height + ControlMinimum::Margin)};
}

QSize zntDayvex::sizeHint() const
{
    // A week whose boxes can be read, beside one month and the to-do list.
    const TwipsScale scale = TwipsScale::of(this);
    return minimumSizeHint().expandedTo({scale.toPixels(11400), scale.toPixels(7800)});
}

bool zntDayvex::event(QEvent *event)
{
    // A control built from a form gets its properties by assignment and is never
    // read: like a read one, it takes the language texts before it is first laid
    // out and shown.
    if (event->type() == QEvent::Polish && !d->m_captionsApplied) {
        d->loadLanguage();
        d->applyMenuCaptions();
        d->refillToDos();
        d->m_captionsApplied = true;
    }
    return QWidget::event(event);
}

void zntDayvex::WriteProperties(PropertyBag &bag) const
{
    for (const ControlProperty &row : controlProperties())
        bag.WriteProperty(QString::fromLatin1(row.name), row.get(*d),
                          row.writtenDefault.isValid() ? row.writtenDefault : row.defaultValue());
}

int zntDayvex::printView(QPrinter *printer)
{
    const int tab = d->selectedTab();
    return d->print(printer, tab >= zntPlanShowDay && tab <= zntPlanShowMonth ? tab : int(zntPlanShowWeek));
}

int zntDayvex::printToDoList(QPrinter *printer)
{
    return d->print(printer, int(PrintedView::ToDoList));
}

void zntDayvex::mnuAttivitaCompleta_Click()
{
    d->m_todos->markDone(d->currentToDoKey());
}

void zntDayvex::mnNuovaAttivita_Click()
{
    d->m_todos->newToDo();
}

void zntDayvex::mnModificaAttivita_Click()
{
    d->m_todos->modify(d->currentToDoKey());
}

void zntDayvex::mnEliminaAttivita_Click()
{
    d->m_todos->remove(d->currentToDoKey());
}

void zntDayvex::mnNuovo_Click()
{
    const auto [start, end] = d->selectedSlots();
    d->m_appointments->newAppointment(start, end);
}

void zntDayvex::mnModifica_Click()
{
    d->m_appointments->modify(d->m_gestures->selection().appointmentKey, d->m_gestures->selection().occurrence);
}

void zntDayvex::mnElimina_Click()
{
    d->m_appointments->remove(d->m_gestures->selection().appointmentKey, d->m_gestures->selection().occurrence);
}

// ---- layout ----

void zntDayvex::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    d->m_inResize = true;
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
    // Modern keeps the rows the user scrolled to through the rebuild.
    const int scrolled = d->m_lista->verticalScrollBar()->value();
    d->layOutChildren();
    // A complete pass rebuilds the selected view from scratch.
    d->m_currentView = zntPlanShowDefault;
    d->runFromUser([this] { d->selectView(); });
    if (d->modern() && !d->m_pinnedToDayStart)
        d->m_lista->verticalScrollBar()->setValue(scrolled);
    d->m_inResize = false;
}

// ---- views ----

void zntDayvex::Refresh(zntPlanShowType Style, bool RebuildFrame)
{
    Q_UNUSED(RebuildFrame);
    if (Style != zntPlanShowDefault) {
        if (Style < zntPlanShowDay || Style > zntPlanShowMonth)
            throw Error::invalidArgument(QStringLiteral("view style %1 is none of 0 to 3").arg(qint32(Style)));
        {
            const QSignalBlocker block(d->m_tipoVis);
            d->m_tipoVis->setCurrentIndex(Style - 1);
        }
        d->selectView();
    }
    if (d->m_currentView == zntPlanShowDay || d->m_currentView == zntPlanShowWeek)
        d->rebuildTimeRows();
    d->refillToDos();
    d->drawAppointments();
    d->drawView(d->m_currentView);
    d->rebuildAlarms();
    d->dropVanishedSelection();
}

// ---- selection ----

zntDayvex::SelectedKind zntDayvex::selectedKind() const
{
    switch (d->m_gestures->selection().kind) {
    case ViewSelection::Kind::Appointment: return SelectedKind::Appointment;
    case ViewSelection::Kind::ToDo: return SelectedKind::ToDo;
    case ViewSelection::Kind::None: break;
    }
    return SelectedKind::None;
}

QString zntDayvex::selectedKey() const
{
    const ViewSelection &selection = d->m_gestures->selection();
    switch (selection.kind) {
    case ViewSelection::Kind::Appointment: return selection.appointmentKey;
    case ViewSelection::Kind::ToDo: return selection.toDoKey;
    case ViewSelection::Kind::None: break;
    }
    return QString();
}

bool zntDayvex::select(const QString &key, SelectedKind kind)
{
    const std::shared_ptr<DayvexData> plan = Plan();
    if (kind == SelectedKind::Appointment) {
        const std::shared_ptr<Schedule> found = plan ? plan->Schedules()->find(key) : nullptr;
        if (!found || !found->StartDate.isValid()) {
            qCWarning(lcDayvex, "zntDayvex: select: no appointment %s", qPrintable(key));
            return false;
        }
        setStartDay(found->StartDate.datePart());
        d->m_gestures->select(ViewSelection::Kind::Appointment, found->Key);
        d->runFromUser([&] { d->scrollToBox(found); });
        return true;
    }
    if (kind == SelectedKind::ToDo) {
        const std::shared_ptr<ToDo> found = plan ? plan->ToDoS()->find(key) : nullptr;
        if (!found) {
            qCWarning(lcDayvex, "zntDayvex: select: no to-do %s", qPrintable(key));
            return false;
        }
        for (int row = 0; row < d->m_daFare->rowCount(); ++row)
            if (d->m_daFare->keyAt(row) == found->Key)
                d->m_daFare->setCurrentCell(row, 1);
        d->m_gestures->select(ViewSelection::Kind::ToDo, found->Key);
        return true;
    }
    clearSelection();
    return true;
}

void zntDayvex::clearSelection()
{
    d->m_gestures->select(ViewSelection::Kind::Appointment, QString());
    d->m_gestures->select(ViewSelection::Kind::ToDo, QString());
}

void zntDayvex::newAppointment()
{
    runLoggingErrors("zntDayvex", [this] { mnNuovo_Click(); });
}

void zntDayvex::newToDo()
{
    runLoggingErrors("zntDayvex", [this] { mnNuovaAttivita_Click(); });
}

void zntDayvex::modifySelected()
{
    d->runOnSelection(&AppointmentCommands::modify, &ToDoCommands::modify);
}

void zntDayvex::deleteSelected()
{
    d->runOnSelection(&AppointmentCommands::remove, &ToDoCommands::remove);
}

void zntDayvex::markSelectedDone()
{
    d->runOnSelection(nullptr, &ToDoCommands::markDone);
}

} // namespace dayvex
