#include <dayvextest.h>

#include <QAbstractButton>
#include <QAbstractSpinBox>
#include <QCalendarWidget>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFocusEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPointer>
#include <QSignalSpy>
#include <QSpinBox>
#include <QUndoStack>
#include <QTimeEdit>

#include <stdexcept>
#include <tuple>

namespace {
const QString AppointmentForm = "frmAppuntamento";
const QString ToDoForm = QString::fromUtf8("frmAttività");
const QColor Grey(0x80, 0x80, 0x80);
} // namespace

// The appointment and to-do commands and their editors, driven as a user and a host would.
class tst_Commands : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        setClockSource([] { return QDateTime(QDate(2000, 12, 3), QTime(15, 0)); });
    }

    void init()
    {
        m_host = {};
        m_data = std::make_shared<DayvexData>();
        m_data->Users()->Add("Rossi");
        m_data->Schedules()->Add("7", "Rossi", at(2000, 12, 3, 9), at(2000, 12, 3, 10), "C1", "Ferri", "Lavoro",
                                 "Riunione", "Sala A", at(2000, 12, 3, 8, 45));
        auto todos = m_data->ToDoS();
        todos->ActiveProjects()->Add("Sito");
        todos->Add("1", "Rossi", "Chiamare", "Il fornitore", at(2000, 12, 9, 18), 2, "Sito", false, Date(),
                   at(2000, 12, 9, 18, 30));
        todos->Add("2", "Rossi", "Pagare", "", at(2000, 12, 8, 9), 1, "Sito", true, at(2000, 12, 7, 10), Date());
        m_control = shownControl(m_data, at(2000, 12, 3, 15));
        m_host.listenTo(m_control.get());
        // The commands act on to-do 1 and on appointment 7, whose box is clicked.
        list()->setCurrentCell(rowOf("1"), 3);
        QTest::mouseClick(m_control->findChild<AppointmentBox *>("txApp"), Qt::LeftButton, {}, QPoint(3, 3));
    }

    void cleanup()
    {
        m_driver.stop();
        setScopeAnswerer({});
        m_control.reset();
        QVERIFY(!QApplication::overrideCursor());
    }

    // A new appointment ("8") or to-do ("3"), the Before event answered as the row says.
    void newRecord_data()
    {
        // reminder: of the new record, the zero date when none; an external appointment never gets one
        // saved: in the editor, else closed there
        columns<bool, bool, bool, bool, QStringList, Date>("isToDo", "cancel", "external", "saved", "events",
                                                           "reminder");
        for (const bool todo : {false, true}) {
            const char *kind = todo ? "to-do" : "appointment";
            const QStringList asked{todo ? "BeforeTodoChange" : "BeforeScheduleAdd"}; // never BeforeTodoAdd
            const QStringList external = todo ? QStringList{"BeforeTodoChange", "TodoAdded", "ToDoChanged"}
                                              : QStringList{"BeforeScheduleAdd", "ScheduleAdded"};
            QTest::addRow("%s, cancel", kind) << todo << true << false << false << asked << Date();
            QTest::addRow("%s, cancel wins", kind) << todo << true << true << false << asked << Date();
            QTest::addRow("%s, external", kind) << todo << false << true << false << external << Date();
            QTest::addRow("%s, editor, closed", kind) << todo << false << false << false << asked << Date();
        }
        QTest::newRow("to-do, external, reminded") << true << false << true << false
                                                   << QStringList{"BeforeTodoChange", "TodoAdded", "ToDoChanged"}
                                                   << at(2000, 12, 10, 8);
        // Saved with "30": that long before the appointment's start, after the to-do's due time (18:00).
        QTest::newRow("appointment, editor, saved")
            << false << false << false << true
            << QStringList{"BeforeScheduleAdd", "ValidateSchedule", "ScheduleAdded"} << at(2000, 12, 3, 9);
        QTest::newRow("to-do, editor, saved") << true << false << false << true
                                              << QStringList{"BeforeTodoChange", "ValidateToDo", "TodoAdded"}
                                              << at(2000, 12, 11, 18, 30);
    }

    void newRecord()
    {
        QFETCH(bool, isToDo);
        QFETCH(bool, saved);
        QFETCH(QStringList, events);
        QFETCH(Date, reminder);
        answerAsTheRowSays();
        Date start, end;
        m_host.editSchedule = [&](std::shared_ptr<Schedule> &mSca) {
            start = mSca->StartDate;
            end = mSca->EndDate;
            if (m_host.answer.ExternalHandled)
                mSca->Description = "Pranzo";
        };
        m_host.editToDo = [&](std::shared_ptr<ToDo> &mToDo) {
            mToDo->ShortDesc = "Pranzo";
            mToDo->ReminderDate = reminder;
        };
        m_driver.whenOpen(isToDo ? ToDoForm : AppointmentForm, [isToDo, saved](QDialog *editor) {
            QCOMPARE(static_cast<EditorForm *>(editor)->formKey(), QString(isToDo ? "NEW" : "NEW          "));
            if (!isToDo)
                QVERIFY(!field<QPushButton>(editor, "Elimina")->isEnabled());
            if (saved) {
                if (isToDo) {
                    QTest::keyClicks(field<QLineEdit>(editor, "txDescBreve"), "Pranzo");
                    field<QDateEdit>(editor, "DatSca")->setDate(QDate(2000, 12, 11));
                    field<QTimeEdit>(editor, "OraSca")->setTime(QTime(18, 0));
                } else {
                    QTest::keyClicks(field<QLineEdit>(editor, "DesApp"), "  Pranzo "); // stored trimmed
                    field<QCheckBox>(editor, "Promemoria")->setChecked(true);
                }
                field<QComboBox>(editor, "TempoPromemoria")->setCurrentText("30");
            }
            press(editor, saved ? "Salva" : "Fine");
        });
        m_control->findChild<AgendaGrid *>("Lista")->setCurrentCell(3, 2); // the row that shows 9 and 30
        isToDo ? m_control->mnNuovaAttivita_Click() : m_control->mnNuovo_Click();

        QCOMPARE(m_host.log, events);
        QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
        QVERIFY(!EditorDriver::openForm(isToDo ? ToDoForm : AppointmentForm));
        QCOMPARE(bool(m_data->Alarms()->find(isToDo ? "T3" : "S8")), reminder.value() != 0.0);
        const bool stored = events.size() > 1;
        QCOMPARE(isToDo ? bool(m_data->ToDoS()->find("3"))
                        : m_data->Schedules()->Count() == 2 && m_data->Schedules()->find("8"), stored);
        if (!isToDo) {
            QCOMPARE(start.toDateTime(), QDateTime(QDate(2000, 12, 3), QTime(9, 30))); // proposed by the row
            QCOMPARE(end.value(), start.value());
        }
        if (!stored)
            return;
        const std::shared_ptr<ToDo> todo = m_data->ToDoS()->find("3");
        const std::shared_ptr<Schedule> appointment = m_data->Schedules()->find("8");
        QCOMPARE(isToDo ? todo->ShortDesc : appointment->Description, "Pranzo");
        QCOMPARE((isToDo ? todo->ReminderDate : appointment->ReminderDate).value(), reminder.value());
        if (isToDo) {
            QCOMPARE(m_host.announced, todo); // the host is handed the live record
            QVERIFY(rowOf("3") >= 0);
        }
    }

    // A night shift entered in the editor: Modern keeps its end, Classic cuts it to a step.
    void newNightShift_data()
    {
        columns<int, QTime, QDateTime>("presentation", "endTime", "stored");
        QTest::newRow("classic") << int(zntDayvex::Classic) << QTime(6, 0) << QDateTime(QDate(2000, 12, 3), QTime(10, 0));
        QTest::newRow("modern") << int(zntDayvex::Modern) << QTime(6, 0) << QDateTime(QDate(2000, 12, 4), QTime(6, 0));
        QTest::newRow("modern, a day long") << int(zntDayvex::Modern) << QTime(9, 30)
                                            << QDateTime(QDate(2000, 12, 4), QTime(9, 30));
    }

    void newNightShift()
    {
        QFETCH(int, presentation);
        QFETCH(QTime, endTime);
        m_control->setPresentation(zntDayvex::PresentationStyle(presentation));
        m_control->Refresh(zntPlanShowDay);
        auto *grid = m_control->findChild<AgendaGrid *>("Lista");
        grid->setCurrentCell(presentation == zntDayvex::Modern ? 19 : 3, 2); // 09:30 in either grid
        m_driver.whenOpen(AppointmentForm, [endTime, presentation](QDialog *editor) {
            // Modern: every button answers to a key of its own.
            QSet<QKeySequence> mnemonics;
            for (const QAbstractButton *button : editor->findChildren<QAbstractButton *>())
                mnemonics << QKeySequence::mnemonic(button->text());
            mnemonics.remove(QKeySequence());
            if (presentation == zntDayvex::Modern)
                QCOMPARE(mnemonics.size(), editor->findChildren<QAbstractButton *>().size());
            QTest::keyClicks(field<QLineEdit>(editor, "DesApp"), "Turno");
            field<QDateEdit>(editor, "DatFine")->setDate(QDate(2000, 12, 4));
            field<QTimeEdit>(editor, "OraFine")->setTime(endTime);
            press(editor, "Salva");
        });
        m_control->mnNuovo_Click();
        const Schedule &stored = *m_data->Schedules()->Item("8");
        QCOMPARE(stored.StartDate.toDateTime(), QDateTime(QDate(2000, 12, 3), QTime(9, 30)));
        QTEST(stored.EndDate.toDateTime(), "stored");
    }

    // Appointment 7 or to-do 1 changed; value: the description it ends with, or the to-do's priority,
    // which an external host sets.
    void modifyRecord_data()
    {
        columns<bool, bool, bool, QStringList, qint32, QString>("isToDo", "cancel", "external", "events", "error",
                                                                "value");
        const QStringList appointment{"BeforeScheduleChange"}, todo{"BeforeTodoChange"};
        QTest::newRow("appointment, cancel") << false << true << false << appointment << 0 << "Riunione";
        QTest::newRow("appointment, external")
            << false << false << true << appointment + QStringList{"ScheduleChanged"} << 0 << "Cena";
        QTest::newRow("appointment, external, blank") << false << false << true << appointment << qint32(0x8004000A)
                                                      << "  ";
        QTest::newRow("appointment, editor, saved blank")
            << false << false << false << appointment + QStringList{"ValidateSchedule", "ScheduleChanged"} << 0 << " ";
        QTest::newRow("to-do, cancel") << true << true << false << todo << 0 << "2";
        QTest::newRow("to-do, external") << true << false << true << todo + QStringList{"ToDoChanged"} << 0 << "7";
        QTest::newRow("to-do, editor, saved")
            << true << false << false << todo + QStringList{"ValidateToDo", "ToDoChanged"} << 0 << "5";
    }

    void modifyRecord()
    {
        QFETCH(bool, isToDo);
        QFETCH(QStringList, events);
        QFETCH(QString, value);
        answerAsTheRowSays();
        if (m_host.answer.ExternalHandled) {
            m_host.editSchedule = [&](std::shared_ptr<Schedule> &mSca) { mSca->Description = value; };
            m_host.editToDo = [&](std::shared_ptr<ToDo> &mToDo) { mToDo->Priority = value.toShort(); };
        }
        if (isToDo) {
            m_driver.whenOpen(ToDoForm, [](QDialog *form) {
                QCOMPARE(field<QLineEdit>(form, "txDescBreve")->text(), "Chiamare");
                QCOMPARE(field<QPlainTextEdit>(form, "txDesLunga")->toPlainText(), "Il fornitore");
                QVERIFY(field<QCheckBox>(form, "Promemoria")->isChecked());
                QCOMPARE(field<QComboBox>(form, "TempoPromemoria")->currentText(), "30");
                field<QComboBox>(form, "cbPriorità")->setCurrentText("5");
                field<QCheckBox>(form, "ckDone")->setChecked(true);
                press(form, "Salva");
            });
        } else {
            m_driver.whenOpen(AppointmentForm, [](QDialog *editor) {
                QCOMPARE(static_cast<AppointmentEditor *>(editor)->formKey(), "0000000000007");
                QVERIFY(field<QPushButton>(editor, "Elimina")->isEnabled()); // an existing one can be deleted
                field<QLineEdit>(editor, "DesApp")->clear();
                field<QCheckBox>(editor, "Promemoria")->setChecked(false);
                press(editor, "Salva");
            });
        }
        QTEST(errorNumber([&] { isToDo ? m_control->mnModificaAttivita_Click() : m_control->mnModifica_Click(); }),
              "error");
        QCOMPARE(m_host.log, events);
        QTEST(isToDo ? QString::number(todo().Priority) : appointment().Description, "value");
        QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
        const bool saved = events.size() == 3;
        if (isToDo) {
            QCOMPARE(todo().Done, saved);
            // Ticked done in the editor: done now, by the component's clock.
            QCOMPARE(todo().DateDone.toDateTime(), saved ? QDateTime(QDate(2000, 12, 3), QTime(15, 0))
                                                         : QDateTime(QDate(1899, 12, 30), QTime(0, 0)));
            QCOMPARE(m_data->Alarms()->Item("T1")->AlarmDateTime.value(), todo().ReminderDate.value());
            QTEST(list()->cellText(rowOf("1"), 1), "value"); // refilled
        } else {
            // Saved without a reminder: the zero date and no alarm.
            QCOMPARE(bool(m_data->Alarms()->find("S7")), !saved);
            if (saved)
                QCOMPARE(appointment().ReminderDate.value(), 0.0);
        }
    }

    void remove_data()
    {
        columns<bool, bool, bool, bool, QStringList, bool>("isToDo", "cancel", "external", "yes", "prompts", "removed");
        const QStringList asked[] = {{"Deleting selected appointment. Confirm? !"},
                                     {"Deleting selected to do activity. Confirm? -"}}; // no icon
        for (const bool todo : {false, true}) {
            const char *kind = todo ? "to-do" : "appointment";
            QTest::addRow("%s, cancel", kind) << todo << true << false << true << QStringList{} << false;
            QTest::addRow("%s, external: no question", kind) << todo << false << true << false << QStringList{} << true;
            QTest::addRow("%s, yes", kind) << todo << false << false << true << asked[todo] << true;
            QTest::addRow("%s, no", kind) << todo << false << false << false << asked[todo] << false;
        }
    }

    void remove()
    {
        QFETCH(bool, isToDo);
        QFETCH(bool, yes);
        QFETCH(bool, removed);
        answerAsTheRowSays();
        m_driver.answerPrompts(yes);
        QVERIFY(m_data->Alarms()->find("T1")); // from the refresh
        auto form = std::make_unique<QWidget>();
        // The delete closes forms tagged with the to-do letter and the key.
        form->setProperty("Tag", isToDo ? "T1" : "T7");
        form->show();
        isToDo ? m_control->mnEliminaAttivita_Click() : m_control->mnElimina_Click();
        QTEST(m_driver.prompts, "prompts");
        QCOMPARE(isToDo ? !m_data->ToDoS()->find("1") : !m_data->Schedules()->find("7"), removed);
        if (isToDo)
            QCOMPARE(rowOf("1") < 0, removed);
        QCOMPARE(!m_data->Alarms()->find(isToDo ? "T1" : "S7"), removed);
        QCOMPARE(!form->isVisible(), removed);
        QCOMPARE(m_host.log.value(0), isToDo ? "BeforeTodoDelete" : "BeforeScheduleDelete");
        QCOMPARE(m_host.log.contains(isToDo ? "ToDoDeleted" : "ScheduleDeleted"), removed);
    }

    // Tab walks the fields as they are read, left to right and top to bottom, from
    // the first one, which has the focus at open, then the buttons.
    void editorsTabInReadingOrder_data()
    {
        columns<bool>("todo");
        QTest::newRow("appointment") << false;
        QTest::newRow("to-do") << true;
    }

    void editorsTabInReadingOrder()
    {
        QFETCH(bool, todo);
        QStringList visited;
        bool inReadingOrder = true;
        m_driver.whenOpen(todo ? ToDoForm : AppointmentForm, [&](QDialog *editor) {
            QWidget *at = editor->focusWidget();
            QPoint last(-1, -1);
            for (int i = 0; at && i < 20 && !visited.contains(at->objectName()); ++i) {
                visited << at->objectName();
                const QPoint here = at->mapTo(editor, QPoint(0, 0));
                // Reading order: a lower row, or further right on the same row (the reminder group counts as rows below).
                inReadingOrder = inReadingOrder && (here.y() > last.y() + 2 || (qAbs(here.y() - last.y()) <= 2 && here.x() > last.x()));
                last = here;
                at = at->nextInFocusChain();
                // Past the widgets Tab skips and the line edits inside combo boxes and date fields.
                while (at && (at == editor || (at->focusPolicy() & Qt::TabFocus) == 0 || !at->isVisible()
                                              || qobject_cast<QComboBox *>(at->parentWidget())
                                              || qobject_cast<QAbstractSpinBox *>(at->parentWidget())))
                    at = at->nextInFocusChain();
            }
            press(editor, "Fine");
        });
        if (todo)
            m_control->mnModificaAttivita_Click();
        else
            m_control->mnModifica_Click();
        QVERIFY(!visited.isEmpty());
        QCOMPARE(visited.first(), todo ? "txDescBreve" : "DesApp");
        QVERIFY2(inReadingOrder, qPrintable(visited.join(' ')));
        QCOMPARE(visited.last(), "Fine");
    }

    // Modern: an appointment opened and saved untouched is as it was, whatever the
    // fields could not show; Classic keeps its cut to the minute and its trimming.
    void untouchedSaveKeepsTheRecord_data()
    {
        columns<int, bool>("presentation", "kept");
        QTest::newRow("modern") << int(zntDayvex::Modern) << true;
        QTest::newRow("classic") << int(zntDayvex::Classic) << false;
    }

    void untouchedSaveKeepsTheRecord()
    {
        QFETCH(int, presentation);
        QFETCH(bool, kept);
        m_control->setPresentation(zntDayvex::PresentationStyle(presentation));
        Schedule &record = *m_data->Schedules()->Item("7");
        record.StartDate = at(2000, 12, 3, 9, 0, 17);
        record.EndDate = at(2000, 12, 3, 10, 0, 41);
        record.ReminderDate = Date(std::numeric_limits<double>::quiet_NaN());
        record.Description = " " + QString(40000, QChar(u'é'));
        const QString before = fieldsOf(record);
        m_driver.whenOpen(AppointmentForm, [](QDialog *editor) { press(editor, "Salva"); });
        m_control->mnModifica_Click();
        QCOMPARE(fieldsOf(*m_data->Schedules()->Item("7")) == before, kept);
        QVERIFY(m_data->Schedules()->Item("7")->Description.endsWith(QString(39999, QChar(u'é'))));
    }

    // A day typed into a date field's pop-up calendar, the editor closed before the
    // calendar took it: nothing of the typing is left behind (the leak check at exit).
    void typedDayInPopUpGoesWithEditor()
    {
        m_driver.answerPrompts(true);
        m_driver.whenOpen(AppointmentForm, [](QDialog *editor) {
            QCalendarWidget *month = field<QDateEdit>(editor, "DatIni")->calendarWidget();
            QTest::keyClick(month->findChild<QWidget *>("qt_calendar_calendarview"), Qt::Key_1);
            press(editor, "Fine");
        });
        m_control->mnModifica_Click();
        QVERIFY(!EditorDriver::openForm(AppointmentForm));
    }

    void editorDeleteAndUnsavedChanges()
    {
        m_driver.answerPrompts(false);
        bool stayedOpen = false;
        m_driver.whenOpen(AppointmentForm, [&](QDialog *editor) {
            field<QComboBox>(editor, "cbUtente")->setCurrentIndex(0); // the owner is no unsaved change
            QVERIFY(!static_cast<AppointmentEditor *>(editor)->hasUnsavedChanges());
            field<QLineEdit>(editor, "DesApp")->setText("Altro");
            press(editor, "Fine");
            stayedOpen = editor->isVisible();
            m_driver.answerPrompts(true);
            press(editor, "Elimina");
        });
        m_control->mnModifica_Click();
        QVERIFY(stayedOpen);
        QCOMPARE(m_driver.prompts, QStringList({"There are unsaved changes. Are you shure you want to continue? -",
                                                "Deleting selected appointment. Confirm? -"}));
        QVERIFY(!m_data->Schedules()->find("7"));
        QVERIFY(!m_data->Alarms()->find("S7"));
        QCOMPARE(m_host.log, QStringList({"BeforeScheduleChange", "ScheduleDeleted"}));
    }

    void missingKeyChangesNothing()
    {
        // The host removed them after the click; the views still show them.
        m_data->Schedules()->Remove("7");
        m_data->ToDoS()->Remove("1");
        for (auto command : {&zntDayvex::mnModifica_Click, &zntDayvex::mnElimina_Click,
                             &zntDayvex::mnuAttivitaCompleta_Click, &zntDayvex::mnModificaAttivita_Click,
                             &zntDayvex::mnEliminaAttivita_Click}) {
            QCOMPARE(errorNumber([&] { (m_control.get()->*command)(); }), qint32(Error::InvalidArgument));
            QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
        }
        QVERIFY(m_host.log.isEmpty());
        QCOMPARE(m_data->ToDoS()->Count(), 1);
    }

    void secondCommandRefused()
    {
        int editors = 0;
        m_driver.whenOpen(AppointmentForm, [&](QDialog *editor) {
            m_control->mnNuovo_Click();
            m_control->mnModifica_Click();
            m_driver.answerPrompts(true);
            m_control->mnElimina_Click(); // the record open in the editor is not deleted under it
            QVERIFY(m_data->Schedules()->find("7"));
            for (QWidget *window : QApplication::topLevelWidgets())
                editors += window->objectName() == AppointmentForm ? 1 : 0;
            QVERIFY(zntDayvexPrivate::get(&*m_control)->commandInProgress());
            press(editor, "Fine");
        });
        m_control->mnModifica_Click();
        QCOMPARE(editors, 1);
        QCOMPARE(m_host.log, QStringList{"BeforeScheduleChange"});
    }

    void controlDestroyedWhileEditorOpen()
    {
        QPointer<QDialog> editor;
        m_driver.whenOpen(AppointmentForm, [&](QDialog *open) {
            editor = open;
            m_control.reset(); // the host closes its form
        });
        zntDayvex *control = m_control.get();
        control->mnNuovo_Click(); // returns without touching the control
        QVERIFY(!m_control);
        QVERIFY(!editor);
        QCOMPARE(m_data->Schedules()->Count(), 1);
    }

    void throwingHostLeavesNoHalfChange()
    {
        connect(m_control.get(), &zntDayvex::ValidateSchedule, this,
                [](std::shared_ptr<Schedule> &, bool &) { throw 42; });
        m_driver.whenOpen(AppointmentForm, [](QDialog *editor) {
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

        m_host.editSchedule = [](std::shared_ptr<Schedule> &) { throw std::runtime_error("host failed"); };
        const QString description = appointment().Description;
        QVERIFY_THROWS_EXCEPTION(Error, m_control->mnModifica_Click());
        QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
        // From the menu nothing can take it: said once, with the event's name.
        QTest::ignoreMessage(QtWarningMsg, "zntDayvex: error 440: BeforeScheduleChange: Automation error: host failed");
        m_control->findChild<QAction *>("mnModifica")->trigger();
        QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
        QCOMPARE(appointment().Description, description);
        m_host.editSchedule = nullptr;

        // A handler that fails after the store: stored once, its alarm with it, the form done.
        // A stale alarm under the key the new appointment gets is replaced, not a duplicate.
        m_data->Alarms()->Add("S8", "S", "8", at(2000, 12, 3, 7), false, "S8");
        connect(m_control.get(), &zntDayvex::ScheduleAdded, this,
                [](std::shared_ptr<Schedule> &) { throw std::runtime_error("host failed"); });
        QObject::disconnect(m_control.get(), &zntDayvex::ValidateSchedule, this, nullptr);
        bool closed = false;
        m_driver.whenOpen(AppointmentForm, [&closed](QDialog *editor) {
            QTest::keyClicks(field<QLineEdit>(editor, "DesApp"), "Pranzo");
            field<QCheckBox>(editor, "Promemoria")->setChecked(true);
            QTest::ignoreMessage(QtWarningMsg,
                                 "frmAppuntamento: error 440: ScheduleAdded: Automation error: host failed");
            press(editor, "Salva");
            closed = !editor->isVisible();
        });
        m_control->mnNuovo_Click();
        QVERIFY(closed);
        QCOMPARE(m_data->Schedules()->Count(), 2);
        QCOMPARE(m_data->Alarms()->Item("S8")->AlarmDateTime.value(),
                 m_data->Schedules()->Item("8")->ReminderDate.value());
    }

    void realMessageBox()
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

    void contactCodeEvents()
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
        m_driver.answerPrompts(true);
        QStringList seen;
        m_driver.whenOpen(AppointmentForm, [&](QDialog *editor) {
            auto *code = field<QLineEdit>(editor, "CodCont");
            const auto leave = [code] {
                QFocusEvent out(QEvent::FocusOut, Qt::TabFocusReason);
                QApplication::sendEvent(code, &out);
            };
            QTest::keyClicks(code, "x");
            QTest::mouseDClick(code, Qt::LeftButton);
            seen << code->text() << field<QLineEdit>(editor, "Contatto")->text();
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

    void markDone_data()
    {
        columns<bool, bool, bool>("cancel", "external", "done");
        QTest::newRow("cancel") << true << false << false;
        QTest::newRow("external: the host marks it") << false << true << false;
        QTest::newRow("marked") << false << false << true;
    }

    void markDone()
    {
        QFETCH(bool, done);
        answerAsTheRowSays();
        m_control->mnuAttivitaCompleta_Click();
        QCOMPARE(m_host.log, QStringList({"BeforeTodoSetComplete", "ToDoChanged"}).mid(0, m_host.answer.Cancel ? 1 : 2));
        QCOMPARE(todo().Done, done);
        QCOMPARE(todo().DateDone.value(), 0.0); // marking done leaves the day it was done alone
        QCOMPARE(list()->model()->index(rowOf("1"), 3).data(Qt::ForegroundRole).value<QColor>() == Grey, done);
    }

    // A Validate handler that cancels keeps the editor open on what was typed;
    // once it lets the save go, the save stands, a to-do's odd priority too.
    void validateCancelKeepsInput_data()
    {
        columns<bool>("isToDo");
        QTest::newRow("appointment") << false;
        QTest::newRow("to-do") << true;
    }

    void validateCancelKeepsInput()
    {
        QFETCH(bool, isToDo);
        todo().Priority = 12; // host data outside 1 to 9
        bool refuse = true;
        connect(m_control.get(), &zntDayvex::ValidateSchedule, this,
                [&refuse](std::shared_ptr<Schedule> &, bool &Cancel) { Cancel = refuse; });
        connect(m_control.get(), &zntDayvex::ValidateToDo, this,
                [&refuse](std::shared_ptr<ToDo> &, bool &Cancel) { Cancel = refuse; });
        const char *text = isToDo ? "txDescBreve" : "DesApp";
        QString kept;
        m_driver.whenOpen(isToDo ? ToDoForm : AppointmentForm, [&](QDialog *form) {
            if (isToDo)
                QCOMPARE(field<QComboBox>(form, "cbPriorità")->currentText(), "12");
            field<QLineEdit>(form, text)->setText("Rinviata");
            press(form, "Salva");
            kept = form->isVisible() ? field<QLineEdit>(form, text)->text() : QString();
            refuse = false;
            press(form, "Salva");
        });
        isToDo ? m_control->mnModificaAttivita_Click() : m_control->mnModifica_Click();
        QCOMPARE(kept, "Rinviata");
        QCOMPARE(isToDo ? todo().ShortDesc : appointment().Description, "Rinviata");
        QCOMPARE(todo().Priority, qint16(12));
    }

    // Modern: a to-do's editor gone, the list's row is still on that to-do.
    void toDoRowKeptAfterEditor()
    {
        m_control->setPresentation(zntDayvex::Modern);
        list()->setCurrentCell(rowOf("2"), 3);
        m_driver.whenOpen(ToDoForm, [](QDialog *form) { press(form, "Salva"); });
        m_control->mnModificaAttivita_Click();
        QCOMPARE(list()->currentRow(), rowOf("2"));
    }

    // Changes of every kind made from the control, undone one by one, give the
    // data back whole as it was; redone, whole as it became.
    void undoRedoMixed()
    {
        const QStringList before = contents();
        m_driver.answerPrompts(true);
        m_driver.whenOpen(AppointmentForm, [](QDialog *editor) {
            field<QLineEdit>(editor, "DesApp")->setText("Cena");
            press(editor, "Salva");
        });
        m_control->mnModifica_Click();
        list()->setCurrentCell(rowOf("1"), 3);
        m_control->mnuAttivitaCompleta_Click();
        zntDayvexPrivate::get(&*m_control)->dropAppointment("7", at(2000, 12, 4, 11), at(2000, 12, 4, 12, 30), Date());
        m_driver.whenOpen(ToDoForm, [](QDialog *form) {
            field<QLineEdit>(form, "txDescBreve")->setText("Nuova");
            press(form, "Salva");
        });
        m_control->mnNuovaAttivita_Click();
        list()->setCurrentCell(rowOf("2"), 3);
        m_control->mnEliminaAttivita_Click();
        zntDayvexPrivate::get(&*m_control)->m_appointments->remove("7");
        const QStringList after = contents();
        QCOMPARE(m_control->undoStack()->count(), 6);
        QSignalSpy canRedo(m_control.get(), &zntDayvex::canRedoChanged);
        while (m_control->canUndo())
            m_control->undo();
        QCOMPARE(contents(), before);
        QCOMPARE(canRedo.count(), 1);
        while (m_control->canRedo())
            m_control->redo();
        QCOMPARE(contents(), after);
        QCOMPARE(m_control->undoStack()->count(), 6);
    }

    // An undo is a change as any other: the host may veto it, or throw, and
    // both leave data and stack; a record changed since is not overwritten.
    void undoVetoedOrStale()
    {
        bool throwing = false;
        connect(m_control.get(), &zntDayvex::BeforeScheduleChange, this, [&](auto &, bool &, bool &) {
            if (throwing)
                throw std::runtime_error("host failure");
        });
        zntDayvexPrivate::get(&*m_control)->dropAppointment("7", at(2000, 12, 4, 11), at(2000, 12, 4, 12), Date());
        m_host.log.clear();
        m_host.answer.Cancel = true;
        m_control->undo();
        throwing = true;
        m_control->undo();
        QCOMPARE(m_host.log, QStringList({"BeforeScheduleChange", "BeforeScheduleChange"}));
        QCOMPARE(appointment().StartDate, at(2000, 12, 4, 11));
        QVERIFY(m_control->canUndo() && !m_control->canRedo());
        throwing = false;
        m_host.answer = {};
        m_control->undo();
        QCOMPARE(appointment().StartDate, at(2000, 12, 3, 9));
        QCOMPARE(m_data->Alarms()->Item("S7")->AlarmDateTime, at(2000, 12, 3, 8, 45));
        m_control->redo();
        QCOMPARE(appointment().StartDate, at(2000, 12, 4, 11));
        appointment().Place = "Sala B"; // the host's own change, through the object model
        QSignalSpy dropped(m_control.get(), &zntDayvex::undoStepDropped);
        m_control->undo();
        QCOMPARE(dropped.count(), 1);
        QCOMPARE(appointment().StartDate, at(2000, 12, 4, 11));
        QCOMPARE(m_control->undoStack()->count(), 0);
    }

    // The Sunday 11:00 of 3 December in a weekly series from 19 November (its 26
    // November and 10 December moved to records of their own, "8" and "6"), acted
    // on with each scope; one undo gives every record back.
    // records: key, start, rule, exceptions, series and occurrence, the series' and the new record's.
    void seriesScope_data()
    {
        columns<bool, int, QString, QStringList, QString, QStringList>("remove", "scope", "twist", "events", "editor",
                                                                         "records");
        const QString series = "9|20001119T110000|FREQ=WEEKLY;COUNT=10|20001217T110000||";
        const QString moved = "8|20001126T140000|||9|20001126T110000";
        const QString later = "6|20001210T150000|||9|20001210T110000";
        const QStringList change{"BeforeScheduleChange", "ValidateSchedule", "ScheduleChanged"};
        const QStringList add{"BeforeScheduleAdd", "ValidateSchedule", "ScheduleAdded"};
        // The ten occurrences are shared out: two before, eight from the split on.
        const QString ended = "9|20001119T110000|FREQ=WEEKLY;COUNT=2|||";
        const int one = int(SeriesScope::This), following = int(SeriesScope::Following), whole = int(SeriesScope::Whole);
        for (const bool remove : {true, false}) {
            const char *command = remove ? "delete" : "modify";
            QTest::addRow("%s, cancelled", command) << remove << int(SeriesScope::Cancel) << "" << QStringList()
                                                    << "" << QStringList{later, moved, series};
            for (const int scope : {one, following, whole}) {
                const QString first = remove && scope == whole ? "BeforeScheduleDelete"
                                      : !remove && scope == one ? "BeforeScheduleAdd"
                                                                : "BeforeScheduleChange";
                QTest::addRow("%s, scope %d, vetoed", command, scope)
                    << remove << scope << "veto" << QStringList{first} << "" << QStringList{later, moved, series};
            }
        }
        QTest::newRow("delete, this")
            << true << one << "" << change << ""
            << QStringList{later, moved, "9|20001119T110000|FREQ=WEEKLY;COUNT=10|20001217T110000,20001203T110000||"};
        QTest::newRow("delete, following") << true << following << "" << change + QStringList{"ScheduleDeleted"} << ""
                                           << QStringList{moved, ended};
        QTest::newRow("delete, whole")
            << true << whole << ""
            << QStringList{"BeforeScheduleDelete", "ScheduleDeleted", "ScheduleDeleted", "ScheduleDeleted"} << ""
            << QStringList();
        QTest::newRow("delete, whole, host throws") << true << whole << "throw"
                                                    << QStringList{"BeforeScheduleDelete", "ScheduleDeleted"} << ""
                                                    << QStringList();
        QTest::newRow("modify, this") << false << one << "" << add << AppointmentEditor::NewKey
                                      << QStringList{"10|20001203T110000|||9|20001203T110000", later, moved, series};
        QTest::newRow("modify, following")
            << false << following << ""
            << QStringList{"BeforeScheduleChange", "ValidateSchedule", "BeforeScheduleAdd", "ValidateSchedule",
                           "ScheduleAdded", "ScheduleChanged", "ScheduleChanged"}
            << AppointmentEditor::NewKey
            << QStringList{"10|20001203T110000|FREQ=WEEKLY;COUNT=8|20001217T110000||",
                           "6|20001210T150000|||10|20001210T110000", moved, ended};
        QTest::newRow("modify, whole") << false << whole << "" << change << "0000000000009"
                                       << QStringList{later, moved, series};
        QTest::newRow("modify, following, an hour later")
            << false << following << "later"
            << QStringList{"BeforeScheduleChange", "ValidateSchedule", "BeforeScheduleAdd", "ValidateSchedule",
                           "ScheduleAdded", "ScheduleChanged", "ScheduleChanged"}
            << AppointmentEditor::NewKey
            << QStringList{"10|20001203T120000|FREQ=WEEKLY;COUNT=8|20001217T120000||",
                           "6|20001210T150000|||10|20001210T120000", moved, ended};
        // The editor moves the series an hour on: the moved occurrences and the day left out follow.
        QTest::newRow("modify, whole, an hour later")
            << false << whole << "later" << change + QStringList{"ScheduleChanged", "ScheduleChanged"}
            << "0000000000009"
            << QStringList{"6|20001210T150000|||9|20001210T120000", "8|20001126T140000|||9|20001126T120000",
                           "9|20001119T120000|FREQ=WEEKLY;COUNT=10|20001217T120000||"};
    }

    void seriesScope()
    {
        QFETCH(bool, remove);
        QFETCH(int, scope);
        QFETCH(QString, twist); // the host vetoes or throws, or the editor moves the start
        QFETCH(QString, editor);
        const int whole = int(SeriesScope::Whole);
        auto series = m_data->Schedules()->Add("9", "Rossi", at(2000, 11, 19, 11), at(2000, 11, 19, 12), "", "", "",
                                               "Corso", "", Date());
        series->Recurrence = "FREQ=WEEKLY;COUNT=10";
        series->ExceptionDates = "20001217T110000";
        for (const auto &[key, day, hour] : {std::tuple("8", 26, 14), std::tuple("6", 10, 15)}) {
            const int month = day > 19 ? 11 : 12;
            auto moved = m_data->Schedules()->Add(key, "Rossi", at(2000, month, day, hour), at(2000, month, day, hour + 1),
                                                  "", "", "", "Corso", "", Date());
            moved->SeriesKey = "9";
            moved->RecurrenceId = at(2000, month, day, 11);
        }
        const auto records = [this] {
            QStringList records;
            for (const auto &s : *m_data->Schedules())
                if (s->Key != "7")
                    records << QStringList{s->Key, s->StartDate.toDateTime().toString("yyyyMMdd'T'HHmmss"),
                                           s->Recurrence, s->ExceptionDates, s->SeriesKey,
                                           s->RecurrenceId.isEmpty()
                                               ? ""
                                               : s->RecurrenceId.toDateTime().toString("yyyyMMdd'T'HHmmss")}
                                   .join('|');
            records.sort();
            return records;
        };
        const QStringList initial = records();
        m_control->Refresh(zntPlanShowDay);
        QTest::mouseClick(boxOf(agendaGrid(m_control.get()), "9"), Qt::LeftButton, {}, QPoint(3, 3));
        int asked = 0;
        setScopeAnswerer([&](const QString &) { return ++asked, SeriesScope(scope); });
        m_host.answer.Cancel = twist == "veto";
        if (twist == "throw")
            connect(m_control.get(), &zntDayvex::ScheduleDeleted, this,
                    [](std::shared_ptr<Schedule> &) { throw std::runtime_error("host failed"); });
        QString opened;
        m_driver.whenOpen(AppointmentForm, [&](QDialog *form) {
            opened = static_cast<EditorForm *>(form)->formKey();
            if (twist == "later")
                field<QTimeEdit>(form, "OraIni")->setTime(QTime(12, 0));
            press(form, "Salva");
        });
        if (twist == "throw")
            QVERIFY_THROWS_EXCEPTION(Error, m_control->mnElimina_Click());
        else
            remove ? m_control->mnElimina_Click() : m_control->mnModifica_Click();

        QCOMPARE(asked, 1);
        QTEST(m_host.log, "events");
        QCOMPARE(opened, editor);
        QTEST(records(), "records");
        if (twist == "later" && scope == whole) {
            // One of its records changed since: the step back changes none of them.
            m_data->Schedules()->Item("8")->Place = "Sala B";
            const QStringList now = records();
            QSignalSpy dropped(m_control.get(), &zntDayvex::undoStepDropped);
            m_control->undo();
            QCOMPARE(records(), now);
            QCOMPARE(dropped.count(), 1);
        } else if (twist != "veto" && scope != int(SeriesScope::Cancel)) { // one step back, whatever it took
            m_control->undo();
            QCOMPARE(records(), initial);
        }
    }

    // A moved occurrence deleted from the menu or its editor: its series leaves the
    // occurrence out rather than showing it again at its first time; one undo
    // brings both back.
    void deletedMovedOccurrenceStaysOut_data()
    {
        columns<bool>("fromEditor");
        QTest::newRow("menu") << false;
        QTest::newRow("editor") << true;
    }

    void deletedMovedOccurrenceStaysOut()
    {
        QFETCH(bool, fromEditor);
        auto series = m_data->Schedules()->Add("9", "Rossi", at(2000, 11, 19, 11), at(2000, 11, 19, 12), "", "", "",
                                               "Corso", "", Date());
        series->Recurrence = "FREQ=WEEKLY;COUNT=10";
        auto moved = m_data->Schedules()->Add("8", "Rossi", at(2000, 12, 3, 14), at(2000, 12, 3, 15), "", "", "",
                                              "Corso", "", Date());
        moved->SeriesKey = "9";
        moved->RecurrenceId = at(2000, 12, 3, 11);
        m_control->Refresh(zntPlanShowDay);
        QTest::mouseClick(boxOf(agendaGrid(m_control.get()), "8"), Qt::LeftButton, {}, QPoint(3, 3));
        m_driver.answerPrompts(true);
        m_driver.whenOpen(AppointmentForm, [](QDialog *form) { press(form, "Elimina"); });
        fromEditor ? m_control->mnModifica_Click() : m_control->mnElimina_Click();
        QVERIFY(!m_data->Schedules()->find("8"));
        QCOMPARE(series->ExceptionDates, "20001203T110000");
        QCOMPARE(m_host.log.mid(m_host.log.size() - 2), QStringList({"ScheduleDeleted", "ScheduleChanged"}));
        // The host refuses the series' change back: the occurrence does not come back either.
        const auto refusal = connect(m_control.get(), &zntDayvex::BeforeScheduleChange, this,
                                     [](auto &, bool &, bool &cancel) { cancel = true; });
        m_control->undo();
        QVERIFY(!m_data->Schedules()->find("8"));
        disconnect(refusal);
        m_control->undo();
        QVERIFY(m_data->Schedules()->find("8"));
        QCOMPARE(series->ExceptionDates, "");
    }

    // The editor's Repeat row on appointment 7 given rule; edit changes it as the user would.
    void repeatRow_data()
    {
        columns<QString, bool, std::function<void(QDialog *)>, bool, QString>("rule", "modern", "edit", "readable",
                                                                             "saved");
        const auto none = [](QDialog *) {};
        QTest::newRow("weekly, kept") << "FREQ=WEEKLY;BYDAY=SU;COUNT=10" << false
                                      << std::function<void(QDialog *)>([](QDialog *form) {
                                             QCOMPARE(field<QComboBox>(form, "Ripeti")->currentIndex(), 2);
                                             QCOMPARE(field<QSpinBox>(form, "Volte")->value(), 10);
                                         })
                                      << true << "FREQ=WEEKLY;BYDAY=SU;COUNT=10";
        QTest::newRow("weekly, every second") << "FREQ=WEEKLY;BYDAY=SU;COUNT=10" << false
                                              << std::function<void(QDialog *)>([](QDialog *form) {
                                                     field<QSpinBox>(form, "OgniN")->setValue(2);
                                                 })
                                              << true << "FREQ=WEEKLY;INTERVAL=2;COUNT=10";
        QTest::newRow("cut series, its end kept") << "FREQ=DAILY;UNTIL=20001210T085959" << false
                                                  << std::function<void(QDialog *)>([](QDialog *form) {
                                                         field<QSpinBox>(form, "OgniN")->setValue(3);
                                                     })
                                                  << true << "FREQ=DAILY;INTERVAL=3;UNTIL=20001210T085959";
        QTest::newRow("no longer repeats") << "FREQ=DAILY" << false << std::function<void(QDialog *)>([](QDialog *form) {
            field<QComboBox>(form, "Ripeti")->setCurrentIndex(0);
        }) << true << "";
        QTest::newRow("unreadable, kept") << "FREQ=MONTHLY;BYDAY=1MO" << false << std::function<void(QDialog *)>(none)
                                          << false << "FREQ=MONTHLY;BYDAY=1MO";
        QTest::newRow("modern, daily until") << "" << true << std::function<void(QDialog *)>([](QDialog *form) {
            field<QComboBox>(form, "Ripeti")->setCurrentIndex(1);
            field<QComboBox>(form, "FineRipeti")->setCurrentIndex(1);
            field<QDateEdit>(form, "RipetiFino")->setDate(QDate(2000, 12, 20));
        }) << true << "FREQ=DAILY;UNTIL=20001220T235959";
        // Classic keeps its form for a single appointment.
        QTest::newRow("classic, single") << "" << false << std::function<void(QDialog *)>([](QDialog *form) {
            QVERIFY(!field<QWidget>(form, "Ripetizione")->isVisible());
        }) << true << "";
    }

    void repeatRow()
    {
        QFETCH(QString, rule);
        QFETCH(bool, modern);
        QFETCH(std::function<void(QDialog *)>, edit);
        QFETCH(bool, readable);
        if (modern)
            m_control->setPresentation(zntDayvex::Modern);
        appointment().Recurrence = rule;
        m_driver.whenOpen(AppointmentForm, [&](QDialog *form) {
            const auto saved = qScopeGuard([form] { press(form, "Salva"); });
            QWidget *row = field<QWidget>(form, "Ripetizione");
            QCOMPARE(row->isVisible(), modern || !rule.isEmpty());
            QCOMPARE(field<QWidget>(form, "Ripeti")->isVisibleTo(row), readable);
            QCOMPARE(field<QLineEdit>(form, "Regola")->isVisibleTo(row), !readable);
            edit(form);
        });
        m_control->select("7", zntDayvex::SelectedKind::Appointment);
        m_control->mnModifica_Click();
        QTEST(appointment().Recurrence, "saved");
    }

private:
    // The host answers the Before events as the row's cancel and external columns say.
    void answerAsTheRowSays()
    {
        QFETCH(bool, cancel);
        QFETCH(bool, external);
        m_host.answer = {external, cancel};
    }
    ToDoGrid *list() const { return m_control->findChild<ToDoGrid *>("DaFare"); }
    int rowOf(const QString &key) const
    {
        for (int row = 0; row < list()->rowCount(); ++row) {
            if (list()->keyAt(row) == key)
                return row;
        }
        return -1;
    }
    Schedule &appointment() { return *m_data->Schedules()->Item("7"); }
    // Every record and alarm, field by field, sorted.
    QStringList contents() const
    {
        QStringList lines;
        for (const auto &s : *m_data->Schedules())
            lines << fieldsOf(*s);
        for (const auto &t : *m_data->ToDoS())
            lines << fieldsOf(*t);
        for (const auto &a : *m_data->Alarms())
            lines << fieldsOf(*a);
        lines.sort();
        return lines;
    }
    ToDo &todo() { return *m_data->ToDoS()->Item("1"); }

    std::unique_ptr<zntDayvex> m_control;
    std::shared_ptr<DayvexData> m_data;
    EditorDriver m_driver;
    ScriptedHost m_host;
};

QTEST_MAIN(tst_Commands)
#include "tst_commands.moc"
