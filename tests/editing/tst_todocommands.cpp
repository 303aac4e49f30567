#include "editordriver.h"

#include <internals.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTimeEdit>

using namespace dayvex;

namespace {
Date at(int day, int hour, int minute = 0)
{
    return Date::fromDateTime(QDateTime(QDate(2000, 12, day), QTime(hour, minute)));
}

const QString FormName = QString::fromUtf8("frmAttività");
const QColor Grey(0x80, 0x80, 0x80);

enum class InEditor { Close, SaveNew, SaveChanged };
} // namespace

// The to-do commands and their editor, driven as a user and a host would.
class tst_ToDoCommands : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();
    void markDone_data();
    void markDone();
    void newToDo_data();
    void newToDo();
    void modify_data();
    void modify();
    void remove_data();
    void remove();
    void validateCancelAndOddPriority();
    void missingKeyChangesNothing();

private:
    ToDoGrid *list() const { return m_control->findChild<ToDoGrid *>("DaFare"); }
    int rowOf(const QString &key) const
    {
        for (int row = 0; row < list()->rowCount(); ++row) {
            if (list()->keyAt(row) == key)
                return row;
        }
        return -1;
    }
    ToDo &first() { return *m_data->ToDoS()->Item("1"); }

    std::unique_ptr<zntDayvex> m_control;
    std::shared_ptr<DayvexData> m_data;
    EditorDriver m_driver;
    ScriptedHost<ToDo> m_host;
    QStringList &m_log = m_host.log;
    BeforeAnswer &m_answer = m_host.answer;
    std::function<void(std::shared_ptr<ToDo> &)> &m_hostEdit = m_host.edit;
    std::shared_ptr<ToDo> &m_announced = m_host.announced;
};

void tst_ToDoCommands::initTestCase()
{
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
    setClockSource([] { return QDateTime(QDate(2000, 12, 3), QTime(15, 0)); });
}

void tst_ToDoCommands::init()
{
    m_host.reset();
    m_data = std::make_shared<DayvexData>();
    m_data->Users()->Add("Rossi");
    auto todos = m_data->ToDoS();
    todos->ActiveProjects()->Add("Sito");
    todos->Add("1", "Rossi", "Chiamare", "Il fornitore", at(9, 18), 2, "Sito", false, Date(), at(9, 18, 30));
    todos->Add("2", "Rossi", "Pagare", "", at(8, 9), 1, "Sito", true, at(7, 10), Date());
    m_control = shownControl(m_data);

    zntDayvex *c = m_control.get();
    connect(c, &zntDayvex::BeforeTodoAdd, this, m_host.before("BeforeTodoAdd"));
    connect(c, &zntDayvex::BeforeTodoChange, this, m_host.before("BeforeTodoChange"));
    connect(c, &zntDayvex::BeforeTodoDelete, this, m_host.before("BeforeTodoDelete"));
    connect(c, &zntDayvex::BeforeTodoSetComplete, this, m_host.before("BeforeTodoSetComplete"));
    connect(c, &zntDayvex::TodoAdded, this, m_host.after("TodoAdded"));
    connect(c, &zntDayvex::ToDoChanged, this, m_host.after("ToDoChanged"));
    connect(c, &zntDayvex::ToDoDeleted, this, m_host.after("ToDoDeleted"));
    connect(c, &zntDayvex::ValidateToDo, this, m_host.validate("ValidateToDo"));
    list()->setCurrentCell(rowOf("1"), 3); // the to-do the commands act on
}

void tst_ToDoCommands::cleanup()
{
    m_driver.stop();
    m_control.reset();
    QVERIFY(!QApplication::overrideCursor());
}

void tst_ToDoCommands::markDone_data()
{
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("external");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<bool>("done");
    QTest::newRow("cancel") << true << false << QStringList{"BeforeTodoSetComplete"} << false;
    QTest::newRow("external: the host marks it") << false << true
                                                 << QStringList{"BeforeTodoSetComplete", "ToDoChanged"} << false;
    QTest::newRow("marked") << false << false << QStringList{"BeforeTodoSetComplete", "ToDoChanged"} << true;
}

void tst_ToDoCommands::markDone()
{
    QFETCH(bool, cancel);
    QFETCH(bool, external);
    QFETCH(QStringList, events);
    QFETCH(bool, done);
    m_answer = {external, cancel};
    m_control->mnuAttivitaCompleta_Click();
    QCOMPARE(m_log, events);
    QCOMPARE(first().Done, done);
    QCOMPARE(first().DateDone.value(), 0.0); // marking done leaves the day it was done alone
    QCOMPARE(list()->model()->index(rowOf("1"), 3).data(Qt::ForegroundRole).value<QColor>() == Grey, done);
}

void tst_ToDoCommands::newToDo_data()
{
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("external");
    QTest::addColumn<Date>("hostReminder");
    QTest::addColumn<int>("inEditor");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<bool>("stored");
    QTest::addColumn<Date>("reminder"); // of the new to-do "3"
    const QStringList asked{"BeforeTodoChange"}; // never BeforeTodoAdd
    QTest::newRow("cancel") << true << false << Date() << int(InEditor::Close) << asked << false << Date();
    QTest::newRow("external, reminded") << false << true << at(10, 8) << int(InEditor::Close)
                                        << QStringList{"BeforeTodoChange", "TodoAdded", "ToDoChanged"} << true
                                        << at(10, 8);
    QTest::newRow("external, no reminder") << false << true << Date() << int(InEditor::Close)
                                           << QStringList{"BeforeTodoChange", "TodoAdded", "ToDoChanged"} << true
                                           << Date();
    // Due 18:00 with "30": reminded at 18:30, the lead time added.
    QTest::newRow("editor, saved") << false << false << Date() << int(InEditor::SaveNew)
                                   << QStringList{"BeforeTodoChange", "ValidateToDo", "TodoAdded"} << true
                                   << at(11, 18, 30);
    QTest::newRow("editor, closed") << false << false << Date() << int(InEditor::Close) << asked << false << Date();
}

void tst_ToDoCommands::newToDo()
{
    QFETCH(bool, cancel);
    QFETCH(bool, external);
    QFETCH(Date, hostReminder);
    QFETCH(int, inEditor);
    QFETCH(QStringList, events);
    QFETCH(bool, stored);
    QFETCH(Date, reminder);
    m_answer = {external, cancel};
    m_hostEdit = [&](std::shared_ptr<ToDo> &mToDo) {
        mToDo->ShortDesc = "Dal gestionale";
        mToDo->ReminderDate = hostReminder;
    };
    m_driver.whenOpen(FormName, [inEditor](QDialog *form) {
        QCOMPARE(static_cast<ToDoEditor *>(form)->formKey(), "NEW");
        if (InEditor(inEditor) == InEditor::SaveNew) {
            QTest::keyClicks(field<QLineEdit>(form, "txDescBreve"), "Dal gestionale");
            field<QDateEdit>(form, "DatSca")->setDate(QDate(2000, 12, 11));
            field<QTimeEdit>(form, "OraSca")->setTime(QTime(18, 0));
            field<QComboBox>(form, "TempoPromemoria")->setCurrentText("30");
            press(form, "Salva");
        } else {
            press(form, "Fine");
        }
    });
    m_control->mnNuovaAttivita_Click();

    QCOMPARE(m_log, events);
    QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
    QCOMPARE(bool(m_data->ToDoS()->find("3")), stored);
    QCOMPARE(bool(m_data->Alarms()->find("T3")), reminder.value() != 0.0);
    if (!stored)
        return;
    const std::shared_ptr<ToDo> todo = m_data->ToDoS()->Item("3");
    QCOMPARE(todo->ShortDesc, "Dal gestionale");
    QCOMPARE(todo->ReminderDate.value(), reminder.value());
    QCOMPARE(m_announced, todo); // the host is handed the live record
    QVERIFY(rowOf("3") >= 0);
}

void tst_ToDoCommands::modify_data()
{
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("external");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<int>("priority");
    QTest::newRow("cancel") << true << false << QStringList{"BeforeTodoChange"} << 2;
    QTest::newRow("external") << false << true << QStringList{"BeforeTodoChange", "ToDoChanged"} << 7;
    QTest::newRow("editor, saved") << false << false
                                   << QStringList{"BeforeTodoChange", "ValidateToDo", "ToDoChanged"} << 5;
}

void tst_ToDoCommands::modify()
{
    QFETCH(bool, cancel);
    QFETCH(bool, external);
    QFETCH(QStringList, events);
    QFETCH(int, priority);
    m_answer = {external, cancel};
    if (external)
        m_hostEdit = [](std::shared_ptr<ToDo> &mToDo) { mToDo->Priority = 7; };
    m_driver.whenOpen(FormName, [](QDialog *form) {
        QCOMPARE(field<QLineEdit>(form, "txDescBreve")->text(), "Chiamare");
        QCOMPARE(field<QPlainTextEdit>(form, "txDesLunga")->toPlainText(), "Il fornitore");
        QVERIFY(field<QCheckBox>(form, "Promemoria")->isChecked());
        QCOMPARE(field<QComboBox>(form, "TempoPromemoria")->currentText(), "30");
        field<QComboBox>(form, "cbPriorità")->setCurrentText("5");
        field<QCheckBox>(form, "ckDone")->setChecked(true);
        press(form, "Salva");
    });
    m_control->mnModificaAttivita_Click();
    QCOMPARE(m_log, events);
    QCOMPARE(first().Priority, qint16(priority));
    const bool edited = events.contains("ValidateToDo");
    QCOMPARE(first().Done, edited);
    // Ticked done in the editor: done now, by the component's clock.
    QCOMPARE(first().DateDone.toDateTime(), edited ? QDateTime(QDate(2000, 12, 3), QTime(15, 0)) : QDateTime(QDate(1899, 12, 30), QTime(0, 0)));
    QCOMPARE(m_data->Alarms()->Item("T1")->AlarmDateTime.value(), first().ReminderDate.value());
    QCOMPARE(list()->cellText(rowOf("1"), 1), QString::number(priority)); // refilled
}

void tst_ToDoCommands::remove_data()
{
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<bool>("external");
    QTest::addColumn<bool>("yes");
    QTest::addColumn<QStringList>("prompts");
    QTest::addColumn<bool>("removed");
    const QStringList asked{"Deleting selected to do activity. Confirm? -"}; // no icon
    QTest::newRow("cancel") << true << false << true << QStringList{} << false;
    QTest::newRow("external: no question") << false << true << false << QStringList{} << true;
    QTest::newRow("yes") << false << false << true << asked << true;
    QTest::newRow("no") << false << false << false << asked << false;
}

void tst_ToDoCommands::remove()
{
    QFETCH(bool, cancel);
    QFETCH(bool, external);
    QFETCH(bool, yes);
    QFETCH(QStringList, prompts);
    QFETCH(bool, removed);
    m_answer = {external, cancel};
    m_driver.answerPrompts(yes);
    QVERIFY(m_data->Alarms()->find("T1")); // from the refresh
    auto reminder = std::make_unique<QWidget>();
    reminder->setProperty("Tag", "T1");
    reminder->show();
    m_control->mnEliminaAttivita_Click();
    QCOMPARE(m_driver.prompts, prompts);
    QCOMPARE(!m_data->ToDoS()->find("1"), removed);
    QCOMPARE(!m_data->Alarms()->find("T1"), removed);
    QCOMPARE(!reminder->isVisible(), removed);
    QCOMPARE(rowOf("1") < 0, removed);
}

void tst_ToDoCommands::validateCancelAndOddPriority()
{
    first().Priority = 12; // host data outside 1 to 9
    bool refuse = true;
    connect(m_control.get(), &zntDayvex::ValidateToDo, this,
            [&refuse](std::shared_ptr<ToDo> &, bool &Cancel) { Cancel = refuse; });
    QString kept;
    m_driver.whenOpen(FormName, [&](QDialog *form) {
        QCOMPARE(field<QComboBox>(form, "cbPriorità")->currentText(), "12");
        field<QLineEdit>(form, "txDescBreve")->setText("Richiamare");
        press(form, "Salva");
        kept = form->isVisible() ? field<QLineEdit>(form, "txDescBreve")->text() : QString();
        refuse = false;
        press(form, "Salva");
    });
    m_control->mnModificaAttivita_Click();
    QCOMPARE(kept, "Richiamare");
    QCOMPARE(first().ShortDesc, "Richiamare");
    QCOMPARE(first().Priority, qint16(12));
}

void tst_ToDoCommands::missingKeyChangesNothing()
{
    m_data->ToDoS()->Remove("1"); // the host removed it; the list still shows it
    for (auto command : {&zntDayvex::mnuAttivitaCompleta_Click, &zntDayvex::mnModificaAttivita_Click,
                         &zntDayvex::mnEliminaAttivita_Click}) {
        QVERIFY_THROWS_EXCEPTION(Error, (m_control.get()->*command)());
        QVERIFY(!zntDayvexPrivate::get(&*m_control)->commandInProgress());
    }
    QVERIFY(m_log.isEmpty());
    QCOMPARE(m_data->ToDoS()->Count(), 1);
}

QTEST_MAIN(tst_ToDoCommands)
#include "tst_todocommands.moc"
