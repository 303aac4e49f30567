#include "demowindow.h"

#include "accountsdialog.h"
#include "sampledata.h"

#include <dayvex/dayvex.h>
#include <dayvex/sync/caldavsync.h>

#include <QCheckBox>
#include <QLabel>
#include <QStatusBar>
#include <QDockWidget>
#include <QFileDialog>
#include <QMenuBar>
#include <QMessageBox>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPlainTextEdit>
#include <QSettings>
#include <QTime>
#include <QUndoStack>
#include <QVBoxLayout>

#include <type_traits>

using namespace dayvex;

namespace {
// The keys of the sample records in the settings, "S" or "T" before each.
const QString SampleKeys = QStringLiteral("demo/sampleKeys");

QString describe(const std::shared_ptr<Schedule> &s)
{
    if (!s)
        return QStringLiteral("mSca=<nothing>");
    return QStringLiteral("mSca={Key=%1, %2, \"%3\"}")
        .arg(s->Key, s->StartDate.isValid() ? s->StartDate.toDateTime().toString(QStringLiteral("dd/MM/yyyy hh:mm")) : QString(),
             s->Description);
}

QString describe(const std::shared_ptr<ToDo> &t)
{
    if (!t)
        return QStringLiteral("mToDo=<nothing>");
    return QStringLiteral("mToDo={Key=%1, \"%2\", Priority=%3, Done=%4}")
        .arg(t->Key, t->ShortDesc)
        .arg(t->Priority)
        .arg(t->Done ? "True" : "False");
}
} // namespace

DemoWindow::DemoWindow(QSettings &settings, QWidget *parent, std::shared_ptr<DayvexData> plan)
    : QMainWindow(parent)
    , m_settings(settings)
{
    setWindowTitle(QStringLiteral("Dayvex demo host"));
    m_control = new zntDayvex(this);
    setCentralWidget(m_control);

    auto *dock = m_events = new QDockWidget(QStringLiteral("Events"), this);
    dock->setObjectName(QStringLiteral("eventsDock"));
    auto *panel = new QWidget(dock);
    auto *layout = new QVBoxLayout(panel);
    m_cancel = new QCheckBox(QStringLiteral("Answer Cancel"), panel);
    m_external = new QCheckBox(QStringLiteral("Answer ExternalHandled"), panel);
    m_log = new QPlainTextEdit(panel);
    m_log->setReadOnly(true);
    m_log->setMaximumBlockCount(2000);
    m_log->setAccessibleName(QStringLiteral("Events raised"));
    layout->addWidget(m_cancel);
    layout->addWidget(m_external);
    layout->addWidget(m_log);
    dock->setWidget(panel);
    addDockWidget(Qt::RightDockWidgetArea, dock);

    connectEvents();
    createFileMenu();

    SettingsPropertyBag bag(m_settings);
    m_control->ReadProperties(bag);
    // The demo shows the Modern presentation unless its user chose Classic.
    m_control->setPresentation(m_settings.value(QStringLiteral("demo/modern"), true).toBool() ? zntDayvex::Modern
                                                                                           : zntDayvex::Classic);
    m_control->setDragEditing(true);
    createEditMenu();
    createViewMenu();
    m_control->setPlan(plan ? plan : std::make_shared<DayvexData>());
    if (plan)
        m_control->Refresh(zntPlanShowWeek);
    else
        loadSampleData();
}

void DemoWindow::loadSampleData()
{
    const std::shared_ptr<DayvexData> plan = m_control->Plan();
    plan->Clear();
    fillSampleData(*plan, m_control->StartDay().toDate());
    // Remembered, so that a first sync can leave them out of a real calendar.
    QStringList keys;
    for (const auto &s : *plan->Schedules())
        keys << QStringLiteral("S") + s->Key;
    for (const auto &t : *plan->ToDoS())
        keys << QStringLiteral("T") + t->Key;
    m_settings.setValue(SampleKeys, keys);
    m_control->Refresh(zntPlanShowWeek);
}

void DemoWindow::offerToLeaveOutSamples()
{
    const std::shared_ptr<DayvexData> plan = m_control->Plan();
    QStringList appointments, todos;
    for (const QString &key : m_settings.value(SampleKeys).toStringList()) {
        const QString rest = key.mid(1);
        if (key.startsWith(QLatin1Char('S')) && plan->Schedules()->find(rest))
            appointments << rest;
        else if (key.startsWith(QLatin1Char('T')) && plan->ToDoS()->find(rest))
            todos << rest;
    }
    m_settings.remove(SampleKeys); // asked once
    if (appointments.isEmpty() && todos.isEmpty())
        return;
    const auto answer = QMessageBox::question(
        this, QStringLiteral("Sample agenda"),
        QStringLiteral("The agenda still holds %1 sample appointments and %2 sample to-dos.\n"
                       "Remove them before the first sync, so that they stay out of the calendar on the server?")
            .arg(appointments.size())
            .arg(todos.size()),
        QMessageBox::Yes | QMessageBox::No, QMessageBox::Yes);
    if (answer != QMessageBox::Yes)
        return;
    for (const QString &key : appointments) {
        plan->Alarms()->setFor(QLatin1Char('S'), key, Date());
        plan->Schedules()->Remove(key);
    }
    for (const QString &key : todos) {
        plan->Alarms()->setFor(QLatin1Char('T'), key, Date());
        plan->ToDoS()->Remove(key);
    }
    log(QStringLiteral("Sample agenda removed: %1 appointments, %2 to-dos").arg(appointments.size()).arg(todos.size()));
    // An undo would bring a sample back, and the sync would send it up.
    m_control->undoStack()->clear();
    m_control->Refresh();
}

DemoWindow::~DemoWindow()
{
    SettingsPropertyBag bag(m_settings);
    m_control->WriteProperties(bag);
    m_settings.setValue(QStringLiteral("demo/modern"), m_control->Presentation() == zntDayvex::Modern);
}

void DemoWindow::createEditMenu()
{
    // The control's own Ctrl+Z and Ctrl+Y act while it has the focus; the menu names the step.
    QMenu *edit = menuBar()->addMenu(QStringLiteral("&Edit"));
    edit->setObjectName(QStringLiteral("editMenu"));
    QAction *undo = m_control->undoStack()->createUndoAction(edit, QStringLiteral("&Undo"));
    undo->setObjectName(QStringLiteral("undoAction"));
    QAction *redo = m_control->undoStack()->createRedoAction(edit, QStringLiteral("&Redo"));
    redo->setObjectName(QStringLiteral("redoAction"));
    edit->addAction(undo);
    edit->addAction(redo);
    connect(m_control, &zntDayvex::undoStepDropped, this,
            [this](const QString &why) { QMessageBox::information(this, QStringLiteral("Undo"), why); });
}

void DemoWindow::createViewMenu()
{
    QMenu *view = menuBar()->addMenu(QStringLiteral("&View"));
    view->setObjectName(QStringLiteral("viewMenu"));
    QAction *modern = view->addAction(QStringLiteral("&Modern presentation"));
    modern->setObjectName(QStringLiteral("modernAction"));
    modern->setCheckable(true);
    modern->setChecked(m_control->Presentation() == zntDayvex::Modern);
    connect(modern, &QAction::toggled, this,
            [this](bool on) { m_control->setPresentation(on ? zntDayvex::Modern : zntDayvex::Classic); });
    QAction *side = view->addAction(QStringLiteral("&Calendar and to-do list"));
    side->setObjectName(QStringLiteral("sideAction"));
    side->setCheckable(true);
    side->setChecked(!m_control->SideColumnCollapsed());
    connect(side, &QAction::toggled, this, [this](bool on) { m_control->setSideColumnCollapsed(!on); });
    connect(m_control, &zntDayvex::sideColumnCollapsedChanged, side, [side](bool collapsed) {
        side->setChecked(!collapsed);
    });
    QAction *events = m_events->toggleViewAction();
    events->setText(QStringLiteral("&Event log"));
    view->addAction(events);
}

void DemoWindow::showEventsIfRoom()
{
    // Under this the control would give up more than a third of its width.
    m_events->setVisible(width() >= 1100);
}

void DemoWindow::createFileMenu()
{
    QMenu *file = menuBar()->addMenu(QStringLiteral("&File"));
    file->setObjectName(QStringLiteral("fileMenu"));
    auto entry = [&](const char *name, const QString &caption, const QKeySequence &keys, auto run) {
        QAction *action = file->addAction(caption, this, run);
        action->setObjectName(QString::fromLatin1(name));
        action->setShortcut(keys);
    };
    entry("importAction", QStringLiteral("&Import iCalendar…"), QKeySequence::Open, [this] {
        const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Import iCalendar"), QString(),
                                                          QStringLiteral("iCalendar (*.ics *.ical);;All files (*)"));
        if (!path.isEmpty())
            QMessageBox::information(this, QStringLiteral("Import"), importFile(path).summary());
    });
    entry("exportAction", QStringLiteral("&Export iCalendar…"), QKeySequence::SaveAs, [this] {
        const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Export iCalendar"),
                                                          QStringLiteral("agenda.ics"), QStringLiteral("iCalendar (*.ics)"));
        if (!path.isEmpty())
            QMessageBox::information(this, QStringLiteral("Export"), exportFile(path).summary());
    });
    file->addSeparator();
    entry("printAction", QStringLiteral("&Print…"), QKeySequence::Print, [this] {
        QPrinter printer(QPrinter::HighResolution);
        QPrintDialog dialog(&printer, this);
        if (dialog.exec() == QDialog::Accepted)
            m_control->printView(&printer);
    });
    entry("previewAction", QStringLiteral("Print pre&view…"), QKeySequence(), [this] {
        auto *preview = new QPrintPreviewDialog(this);
        preview->setAttribute(Qt::WA_DeleteOnClose);
        connect(preview, &QPrintPreviewDialog::paintRequested, m_control, &zntDayvex::printView);
        preview->open();
    });
    entry("pdfAction", QStringLiteral("Save as P&DF…"), QKeySequence(), [this] {
        const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Save as PDF"), QStringLiteral("agenda.pdf"),
                                                          QStringLiteral("PDF (*.pdf)"));
        if (!path.isEmpty())
            log(QStringLiteral("PDF: %1 pages in %2").arg(savePdf(path)).arg(path));
    });
    file->addSeparator();
    entry("accountsAction", QStringLiteral("&CalDAV calendar…"), QKeySequence(), [this] { openAccounts(); });
    entry("syncAction", QStringLiteral("S&ync now"), QKeySequence(Qt::Key_F5 | Qt::ShiftModifier), [this] {
        if (m_sync)
            m_sync->syncNow();
    });
    file->addSeparator();
    entry("quitAction", QStringLiteral("&Quit"), QKeySequence::Quit, [this] { close(); });
}

void DemoWindow::setSync(CalDavSync *sync)
{
    m_sync = sync;
    m_syncState = new QLabel(this);
    m_syncState->setObjectName(QStringLiteral("syncState"));
    statusBar()->addPermanentWidget(m_syncState);
    const auto show = [this](const SyncStatus &status) {
        m_syncState->setText(m_sync->calendar().isEmpty() ? QStringLiteral("CalDAV: no calendar (File → CalDAV calendar…)")
                                                          : QStringLiteral("CalDAV: %1").arg(status.text()));
        m_syncState->setToolTip(status.error);
    };
    connect(sync, &CalDavSync::statusChanged, this, show);
    connect(sync, &CalDavSync::syncFinished, this, [this](bool) { m_control->Refresh(); });
    connect(sync, &CalDavSync::conflict, this, [this](SyncConflict &conflict) {
        log(QStringLiteral("Sync conflict on %1: the server's version is kept, this one as a copy").arg(conflict.uid));
    });
    show(sync->status());
}

void DemoWindow::openAccounts()
{
    if (!m_sync)
        return;
    auto *dialog = new AccountsDialog(*m_sync, m_settings, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setBeforeFirstSync([this] { offerToLeaveOutSamples(); });
    dialog->open();
}

ExchangeReport DemoWindow::importFile(const QString &path)
{
    ImportOptions options;
    const ExchangeReport report = importICalendar(path, *m_control->Plan(), options);
    log(QStringLiteral("Import %1: %2").arg(path, report.summary()));
    m_control->Refresh();
    return report;
}

ExchangeReport DemoWindow::exportFile(const QString &path)
{
    const ExchangeReport report = exportICalendar(*m_control->Plan(), path);
    log(QStringLiteral("Export %1: %2").arg(path, report.summary()));
    return report;
}

int DemoWindow::savePdf(const QString &path)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(path);
    printer.setPageOrientation(QPageLayout::Landscape);
    return m_control->printView(&printer);
}

void DemoWindow::log(const QString &line)
{
    m_log->appendPlainText(QTime::currentTime().toString(QStringLiteral("hh:mm:ss ")) + line);
}

void DemoWindow::answer(bool &ExternalHandled, bool &Cancel)
{
    Cancel = m_cancel->isChecked();
    ExternalHandled = m_external->isChecked();
}

void DemoWindow::connectEvents()
{
    zntDayvex *c = m_control;
    connect(c, &zntDayvex::PropertyChanged, this, [this](const QString &name) { log("PropertyChanged " + name); });
    connect(c, &zntDayvex::ContactCodeChange, this, [this](QString &Value) { log("ContactCodeChange Value=" + Value); });
    connect(c, &zntDayvex::ContactCodeLostFocus, this, [this](QString &Value, QString &ContactDescription, bool &) {
        log("ContactCodeLostFocus Value=" + Value + " ContactDescription=" + ContactDescription);
    });
    connect(c, &zntDayvex::ContactCodeDoubleClick, this, [this](QString &Value, QString &ContactDescription) {
        log("ContactCodeDoubleClick Value=" + Value + " ContactDescription=" + ContactDescription);
    });
    auto before = [this](const char *name) {
        return [this, name](auto &record, bool &ExternalHandled, bool &Cancel) {
            answer(ExternalHandled, Cancel);
            // A host that takes the editing over does its own: here it only names the appointment.
            if constexpr (std::is_same_v<std::decay_t<decltype(*record)>, Schedule>) {
                if (ExternalHandled && !Cancel && record && record->Description.trimmed().isEmpty())
                    record->Description = QStringLiteral("(handled by the host)");
            }
            log(QStringLiteral("%1 %2 -> ExternalHandled=%3 Cancel=%4")
                    .arg(QLatin1String(name), describe(record), ExternalHandled ? "True" : "False",
                         Cancel ? "True" : "False"));
        };
    };
    auto after = [this](const char *name) {
        return [this, name](auto &record) { log(QLatin1String(name) + QLatin1Char(' ') + describe(record)); };
    };
    connect(c, &zntDayvex::BeforeScheduleAdd, this, before("BeforeScheduleAdd"));
    connect(c, &zntDayvex::ScheduleAdded, this, after("ScheduleAdded"));
    connect(c, &zntDayvex::BeforeScheduleDelete, this, before("BeforeScheduleDelete"));
    connect(c, &zntDayvex::ScheduleDeleted, this, after("ScheduleDeleted"));
    connect(c, &zntDayvex::BeforeScheduleChange, this, before("BeforeScheduleChange"));
    connect(c, &zntDayvex::ScheduleChanged, this, after("ScheduleChanged"));
    connect(c, &zntDayvex::TodoAdded, this, after("TodoAdded"));
    connect(c, &zntDayvex::BeforeTodoAdd, this, before("BeforeTodoAdd"));
    connect(c, &zntDayvex::ToDoDeleted, this, after("ToDoDeleted"));
    connect(c, &zntDayvex::BeforeTodoDelete, this, before("BeforeTodoDelete"));
    connect(c, &zntDayvex::ToDoChanged, this, after("ToDoChanged"));
    connect(c, &zntDayvex::BeforeTodoChange, this, before("BeforeTodoChange"));
    connect(c, &zntDayvex::AlarmChange, this, after("AlarmChange"));
    connect(c, &zntDayvex::ToDoAlarmChange, this, after("ToDoAlarmChange"));
    connect(c, &zntDayvex::BeforeTodoSetComplete, this, before("BeforeTodoSetComplete"));
    connect(c, &zntDayvex::DateSelected, this, [this](Date &NewDate) {
        log("DateSelected NewDate=" + (NewDate.isValid() ? NewDate.toDate().toString(Qt::ISODate) : QString()));
    });
    connect(c, &zntDayvex::ReminderAlarm, this,
            [this](std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder, bool &ExternalHandled, bool &Cancel) {
                answer(ExternalHandled, Cancel);
                log(QStringLiteral("ReminderAlarm alrm=%1 FormReminder=%2")
                        .arg(alrm ? alrm->Key : QStringLiteral("<nothing>"),
                             FormReminder ? QStringLiteral("open") : QStringLiteral("<nothing>")));
            });
    connect(c, &zntDayvex::ValidateSchedule, this, [this](std::shared_ptr<Schedule> &mSca, bool &) {
        log("ValidateSchedule " + describe(mSca));
    });
    connect(c, &zntDayvex::ValidateToDo, this, [this](std::shared_ptr<ToDo> &mToDo, bool &) {
        log("ValidateToDo " + describe(mToDo));
    });
}
