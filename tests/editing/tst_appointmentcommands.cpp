#include "editordriver.h"

#include <internals.h>

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFocusEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <stdexcept>

using namespace dayvex;

namespace {
Date at(int hour, int minute = 0)
{
    return Date::fromDateTime(QDateTime(QDate(2000, 12, 3), QTime(hour, minute)));
}

// What the user does in the editor once it shows.
enum class InEditor { Nothing, SaveWithReminder, SaveBlank, Close };

AppointmentEditor *openEditor()
{
    return static_cast<AppointmentEditor *>(EditorDriver::openForm("frmAppuntamento"));
}
} // namespace

// The appointment commands and their editor, driven as a user and a host would.
class tst_AppointmentCommands : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void newAppointment_data();
    void newAppointment();
    void modify_data();
    void modify();
    void remove_data();
    void remove();
    void newProposesTheRowTime();
    void validateCancelKeepsInput();
    void editorDeleteAndUnsavedChanges();
    void missingKeyChangesNothing();
    void secondCommandRefused();
    void controlDestroyedWhileEditorOpen();
    void throwingHostLeavesNoHalfChange();
    void realMessageBox();
    void contactCodeEvents();

private:
    // Runs action on the editor as soon as it shows, from inside the command's wait.
    void whenEditorOpens(std::function<void(AppointmentEditor *)> action)
    {
        m_driver.whenOpen("frmAppuntamento",
                          [action](QDialog *form) { action(static_cast<AppointmentEditor *>(form)); });
    }
    void answerPrompts(bool yes) { m_driver.answerPrompts(yes); }
    Schedule &live() { return *m_data->Schedules()->Item("7"); }

    std::unique_ptr<zntDayvex> m_control;
    std::shared_ptr<DayvexData> m_data;
    EditorDriver m_driver;
    QStringList &m_prompts = m_driver.prompts;
    ScriptedHost<Schedule> m_host;
    QStringList &m_log = m_host.log;
    BeforeAnswer &m_answer = m_host.answer;
    std::function<void(std::shared_ptr<Schedule> &)> &m_hostEdit = m_host.edit;
};

void tst_AppointmentCommands::initTestCase()
{
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
}

void tst_AppointmentCommands::init()
{
    m_host.reset();
    m_data = std::make_shared<DayvexData>();
    m_data->Users()->Add("Rossi");
    m_data->Schedules()->Add("7", "Rossi", at(9), at(10), "C1", "Ferri", "Lavoro", "Riunione", "Sala A", at(8, 45));
    m_control = shownControl(m_data, at(15));

    zntDayvex *c = m_control.get();
    connect(c, &zntDayvex::BeforeScheduleAdd, this, m_host.before("BeforeScheduleAdd"));
    connect(c, &zntDayvex::BeforeScheduleChange, this, m_host.before("BeforeScheduleChange"));
    connect(c, &zntDayvex::BeforeScheduleDelete, this, m_host.before("BeforeScheduleDelete"));
    connect(c, &zntDayvex::ScheduleAdded, this, m_host.after("ScheduleAdded"));
    connect(c, &zntDayvex::ScheduleChanged, this, m_host.after("ScheduleChanged"));
    connect(c, &zntDayvex::ScheduleDeleted, this, m_host.after("ScheduleDeleted"));
    connect(c, &zntDayvex::ValidateSchedule, this, m_host.validate("ValidateSchedule"));
    // The box of appointment 7 is the selection.
    QTest::mouseClick(m_control->findChild<AppointmentBox *>("txApp"), Qt::LeftButton, {}, QPoint(3, 3));
}

void tst_AppointmentCommands::cleanup()
{
    m_driver.stop();
    m_control.reset();
    QVERIFY(!QApplication::overrideCursor());
}

void tst_AppointmentCommands::newAppointment_data()
{
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("external");
    QTest::addColumn<QString>("hostDescription");
    QTest::addColumn<int>("inEditor");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<int>("added");
    QTest::addColumn<QString>("alarm"); // of the new appointment "8", empty for none
    const QStringList before{"BeforeScheduleAdd"};
    QTest::newRow("cancel") << true << false << "" << int(InEditor::Nothing) << before << 0 << "";
    QTest::newRow("cancel wins") << true << true << "Pranzo" << int(InEditor::Nothing) << before << 0 << "";
    QTest::newRow("external") << false << true << "Pranzo" << int(InEditor::Nothing)
                              << QStringList{"BeforeScheduleAdd", "ScheduleAdded"} << 1 << "";
    QTest::newRow("editor, saved") << false << false << "" << int(InEditor::SaveWithReminder)
                                   << QStringList{"BeforeScheduleAdd", "ValidateSchedule", "ScheduleAdded"} << 1
                                   << "S8";
    QTest::newRow("editor, closed") << false << false << "" << int(InEditor::Close) << before << 0 << "";
}

void tst_AppointmentCommands::newAppointment()
{
    QFETCH(bool, cancel);
    QFETCH(bool, external);
    QFETCH(QString, hostDescription);
    QFETCH(int, inEditor);
    QFETCH(QStringList, events);
    QFETCH(int, added);
    QFETCH(QString, alarm);
    m_answer = {external, cancel};
    m_hostEdit = [&](std::shared_ptr<Schedule> &mSca) { mSca->Description = hostDescription; };
    whenEditorOpens([inEditor](AppointmentEditor *editor) {
        QCOMPARE(editor->formKey(), "NEW          ");
        QVERIFY(!field<QPushButton>(editor, "Elimina")->isEnabled());
        if (InEditor(inEditor) == InEditor::SaveWithReminder) {
            QTest::keyClicks(field<QLineEdit>(editor, "DesApp"), "  Pranzo ");
            field<QCheckBox>(editor, "Promemoria")->setChecked(true);
            field<QComboBox>(editor, "TempoPromemoria")->setCurrentText("15");
            press(editor, "Salva");
        } else {
            press(editor, "Fine");
        }
    });
    const int before = m_data->Schedules()->Count();
    m_control->mnNuovo_Click();

    QCOMPARE(m_log, events);
    QCOMPARE(m_data->Schedules()->Count(), before + added);
    QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
    QVERIFY(!openEditor());
    if (added)
        QCOMPARE(m_data->Schedules()->Item("8")->Description, "Pranzo");
    QCOMPARE(bool(m_data->Alarms()->find("S8")), !alarm.isEmpty());
    if (!alarm.isEmpty()) {
        const Schedule &stored = *m_data->Schedules()->Item("8");
        QCOMPARE(stored.ReminderDate.value(), stored.StartDate.addMinutes(-15).value());
    }
}

void tst_AppointmentCommands::modify_data()
{
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("external");
    QTest::addColumn<QString>("hostDescription");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<qint32>("error");
    QTest::addColumn<QString>("description");
    QTest::newRow("cancel") << true << false << "" << QStringList{"BeforeScheduleChange"} << 0 << "Riunione";
    QTest::newRow("external") << false << true << "Cena" << QStringList{"BeforeScheduleChange", "ScheduleChanged"} << 0
                              << "Cena";
    QTest::newRow("external, blank") << false << true << "  " << QStringList{"BeforeScheduleChange"}
                                     << qint32(0x8004000A) << "  ";
    QTest::newRow("editor, saved blank") << false << false << "" 
                                         << QStringList{"BeforeScheduleChange", "ValidateSchedule", "ScheduleChanged"}
                                         << 0 << " ";
}

void tst_AppointmentCommands::modify()
{
    QFETCH(bool, cancel);
    QFETCH(bool, external);
    QFETCH(QString, hostDescription);
    QFETCH(QStringList, events);
    QFETCH(qint32, error);
    QFETCH(QString, description);
    m_answer = {external, cancel};
    if (external)
        m_hostEdit = [&](std::shared_ptr<Schedule> &mSca) { mSca->Description = hostDescription; };
    whenEditorOpens([](AppointmentEditor *editor) {
        QCOMPARE(editor->formKey(), "0000000000007");
        QVERIFY(field<QPushButton>(editor, "Elimina")->isEnabled()); // an existing one can be deleted
        field<QLineEdit>(editor, "DesApp")->clear();
        field<QCheckBox>(editor, "Promemoria")->setChecked(false);
        press(editor, "Salva");
    });
    qint32 raised = 0;
    try {
        m_control->mnModifica_Click();
    } catch (const Error &e) {
        raised = e.number();
        QCOMPARE(e.description(), "Valori errati nella definizione dell'oggetto Schedule.");
        QCOMPARE(e.source(), "zntDayvex.ocx");
    }
    QCOMPARE(raised, error);
    QCOMPARE(m_log, events);
    QCOMPARE(live().Description, description);
    QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
    const bool editorSaved = events.contains("ValidateSchedule");
    // Saved without a reminder: the zero date and no alarm.
    QCOMPARE(bool(m_data->Alarms()->find("S7")), !editorSaved);
    if (editorSaved)
        QCOMPARE(live().ReminderDate.value(), 0.0);
}

void tst_AppointmentCommands::remove_data()
{
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("external");
    QTest::addColumn<bool>("yes");
    QTest::addColumn<QStringList>("prompts");
    QTest::addColumn<bool>("removed");
    const QStringList asked{"Deleting selected appointment. Confirm? !"};
    QTest::newRow("cancel") << true << false << true << QStringList{} << false;
    QTest::newRow("external: no question") << false << true << false << QStringList{} << true;
    QTest::newRow("yes") << false << false << true << asked << true;
    QTest::newRow("no") << false << false << false << asked << false;
}

void tst_AppointmentCommands::remove()
{
    QFETCH(bool, cancel);
    QFETCH(bool, external);
    QFETCH(bool, yes);
    QFETCH(QStringList, prompts);
    QFETCH(bool, removed);
    m_answer = {external, cancel};
    answerPrompts(yes);
    auto form = std::make_unique<QWidget>();
    form->setProperty("Tag", "T7"); // the delete closes forms tagged with the to-do letter
    form->show();
    m_control->mnElimina_Click();
    QCOMPARE(m_prompts, prompts);
    QCOMPARE(!m_data->Schedules()->find("7"), removed);
    QCOMPARE(!m_data->Alarms()->find("S7"), removed);
    QCOMPARE(!form->isVisible(), removed);
    QCOMPARE(m_log.contains("ScheduleDeleted"), removed);
}

void tst_AppointmentCommands::newProposesTheRowTime()
{
    m_answer.Cancel = true;
    Date start, end;
    m_hostEdit = [&](std::shared_ptr<Schedule> &mSca) {
        start = mSca->StartDate;
        end = mSca->EndDate;
    };
    auto *grid = m_control->findChild<AgendaGrid *>("Lista");
    grid->setCurrentCell(3, 2); // the row that shows 9 and 30
    m_control->mnNuovo_Click();
    QCOMPARE(start.toDateTime(), QDateTime(QDate(2000, 12, 3), QTime(9, 30)));
    QCOMPARE(end.value(), start.value());
}

void tst_AppointmentCommands::validateCancelKeepsInput()
{
    connect(m_control.get(), &zntDayvex::ValidateSchedule, this,
            [](std::shared_ptr<Schedule> &, bool &Cancel) { Cancel = true; });
    answerPrompts(true);
    QString keptText;
    whenEditorOpens([&](AppointmentEditor *editor) {
        field<QLineEdit>(editor, "DesApp")->setText("Rinviata");
        press(editor, "Salva");
        keptText = editor->isVisible() ? field<QLineEdit>(editor, "DesApp")->text() : QString();
        press(editor, "Fine"); // unsaved: asks, answered yes
    });
    m_control->mnModifica_Click();
    QCOMPARE(keptText, "Rinviata");
    QCOMPARE(live().Description, "Riunione");
    QCOMPARE(m_prompts, QStringList{"There are unsaved changes. Are you shure you want to continue? -"});
}

void tst_AppointmentCommands::editorDeleteAndUnsavedChanges()
{
    answerPrompts(false);
    bool stayedOpen = false;
    whenEditorOpens([&](AppointmentEditor *editor) {
        field<QComboBox>(editor, "cbUtente")->setCurrentIndex(0); // the owner is no unsaved change
        QVERIFY(!editor->hasUnsavedChanges());
        field<QLineEdit>(editor, "DesApp")->setText("Altro");
        press(editor, "Fine");
        stayedOpen = editor->isVisible();
        answerPrompts(true);
        press(editor, "Elimina");
    });
    m_control->mnModifica_Click();
    QVERIFY(stayedOpen);
    QCOMPARE(m_prompts, QStringList({"There are unsaved changes. Are you shure you want to continue? -",
                                     "Deleting selected appointment. Confirm? -"}));
    QVERIFY(!m_data->Schedules()->find("7"));
    QVERIFY(!m_data->Alarms()->find("S7"));
    QCOMPARE(m_log, QStringList({"BeforeScheduleChange", "ScheduleDeleted"}));
}

void tst_AppointmentCommands::missingKeyChangesNothing()
{
    m_data->Schedules()->Remove("7"); // the host removed it after the click
    for (auto command : {&zntDayvex::mnModifica_Click, &zntDayvex::mnElimina_Click}) {
        try {
            (m_control.get()->*command)();
            QFAIL("no error");
        } catch (const Error &e) {
            QCOMPARE(e.number(), qint32(Error::InvalidArgument));
        }
        QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
    }
    QVERIFY(m_log.isEmpty());
}

void tst_AppointmentCommands::secondCommandRefused()
{
    int editors = 0;
    whenEditorOpens([&](AppointmentEditor *editor) {
        m_control->mnNuovo_Click();
        m_control->mnModifica_Click();
        answerPrompts(true);
        m_control->mnElimina_Click(); // the record open in the editor is not deleted under it
        QVERIFY(m_data->Schedules()->find("7"));
        for (QWidget *window : QApplication::topLevelWidgets())
            editors += window->objectName() == "frmAppuntamento" ? 1 : 0;
        QVERIFY(zntDayvexPrivate::get(&*m_control)->commandInProgress());
        press(editor, "Fine");
    });
    m_control->mnModifica_Click();
    QCOMPARE(editors, 1);
    QCOMPARE(m_log, QStringList{"BeforeScheduleChange"});
}

void tst_AppointmentCommands::controlDestroyedWhileEditorOpen()
{
    QPointer<AppointmentEditor> editor;
    whenEditorOpens([&](AppointmentEditor *open) {
        editor = open;
        m_control.reset(); // the host closes its form
    });
    zntDayvex *control = m_control.get();
    control->mnNuovo_Click(); // returns without touching the control
    QVERIFY(!m_control);
    QVERIFY(!editor);
    QCOMPARE(m_data->Schedules()->Count(), 1);
}

void tst_AppointmentCommands::throwingHostLeavesNoHalfChange()
{
    connect(m_control.get(), &zntDayvex::ValidateSchedule, this,
            [](std::shared_ptr<Schedule> &, bool &) { throw 42; });
    whenEditorOpens([](AppointmentEditor *editor) {
        QTest::keyClicks(field<QLineEdit>(editor, "DesApp"), "Pranzo");
        QTest::ignoreMessage(QtWarningMsg, "frmAppuntamento: error 440: ValidateSchedule: Automation error: "
                                           "an exception of an unknown type");
        press(editor, "Salva");
        QVERIFY(editor->isVisible());
        QVERIFY(!QApplication::overrideCursor());
        editor->deleteLater(); // the user gives up
    });
    m_control->mnNuovo_Click();
    QCOMPARE(m_data->Schedules()->Count(), 1);
    QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());

    m_hostEdit = [](std::shared_ptr<Schedule> &) { throw std::runtime_error("host failed"); };
    const QString description = live().Description;
    QVERIFY_THROWS_EXCEPTION(Error, m_control->mnModifica_Click());
    QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
    // From the menu nothing can take it: said once, with the event's name.
    QTest::ignoreMessage(QtWarningMsg, "zntDayvex: error 440: BeforeScheduleChange: Automation error: host failed");
    m_control->findChild<QAction *>("mnModifica")->trigger();
    QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
    QCOMPARE(live().Description, description);
    m_hostEdit = nullptr;

    // A handler that fails after the store: stored once, its alarm with it, the form done.
    // A stale alarm under the key the new appointment gets is replaced, not a duplicate.
    m_data->Alarms()->Add("S8", "S", "8", at(7), false, "S8");
    connect(m_control.get(), &zntDayvex::ScheduleAdded, this,
            [](std::shared_ptr<Schedule> &) { throw std::runtime_error("host failed"); });
    QObject::disconnect(m_control.get(), &zntDayvex::ValidateSchedule, this, nullptr);
    bool closed = false;
    whenEditorOpens([&closed](AppointmentEditor *editor) {
        QTest::keyClicks(field<QLineEdit>(editor, "DesApp"), "Pranzo");
        field<QCheckBox>(editor, "Promemoria")->setChecked(true);
        QTest::ignoreMessage(QtWarningMsg, "frmAppuntamento: error 440: ScheduleAdded: Automation error: host failed");
        press(editor, "Salva");
        closed = !editor->isVisible();
    });
    m_control->mnNuovo_Click();
    QVERIFY(closed);
    QCOMPARE(m_data->Schedules()->Count(), 2);
    QCOMPARE(m_data->Alarms()->Item("S8")->AlarmDateTime.value(),
             m_data->Schedules()->Item("8")->ReminderDate.value());
}

void tst_AppointmentCommands::realMessageBox()
{
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QTimer::singleShot(0, this, [&] {
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (auto *box = qobject_cast<QMessageBox *>(window)) {
                icon = box->icon();
                QCOMPARE(box->defaultButton(), box->button(QMessageBox::No));
                box->button(QMessageBox::Yes)->click();
            }
        }
    });
    m_control->mnElimina_Click();
    QCOMPARE(icon, QMessageBox::Warning);
    QVERIFY(!m_data->Schedules()->find("7"));
}

void tst_AppointmentCommands::contactCodeEvents()
{
    zntDayvex *c = m_control.get();
    connect(c, &zntDayvex::ContactCodeChange, this, [](QString &Value) { Value = Value.toUpper(); });
    connect(c, &zntDayvex::ContactCodeDoubleClick, this,
            [](QString &, QString &ContactDescription) { ContactDescription = "Galli"; });
    bool refuse = true;
    connect(c, &zntDayvex::ContactCodeLostFocus, this, [&refuse](QString &Value, QString &, bool &Cancel) {
        Cancel = refuse;
        Value = "K9";
    });
    answerPrompts(true);
    QStringList seen;
    whenEditorOpens([&](AppointmentEditor *editor) {
        auto *code = field<QLineEdit>(editor, "CodCont");
        auto *contact = field<QLineEdit>(editor, "Contatto");
        const auto leave = [code] {
            QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
            QApplication::sendEvent(code, &out);
        };
        QTest::keyClicks(code, "x");
        QTest::mouseDClick(code, Qt::LeftButton);
        seen << code->text() << contact->text();
        leave(); // refused: the boxes stay
        seen << code->text();
        refuse = false;
        leave();
        seen << code->text();
        press(editor, "Fine");
    });
    m_control->mnModifica_Click();
    QCOMPARE(seen, QStringList({"C1X", "Galli", "C1X", "K9"}));
}

QTEST_MAIN(tst_AppointmentCommands)
#include "tst_appointmentcommands.moc"
