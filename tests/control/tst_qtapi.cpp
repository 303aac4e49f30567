#include <dayvextest.h>

#include <QAbstractItemModelTester>
#include <QLabel>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTabBar>
#include <QTemporaryDir>
#include <QVBoxLayout>

namespace {
std::shared_ptr<DayvexData> planWithVisit()
{
    auto plan = std::make_shared<DayvexData>();
    plan->Schedules()->Add("7", "", at(2027, 5, 12, 10, 0), at(2027, 5, 12, 11, 0), "", "", "", "Visita", "",
                           Date());
    plan->ToDoS()->Add("9", "", "Firmare", "", Date(), 1, "", false, Date(), Date());
    return plan;
}
} // namespace

// What a Qt host expects of the control beside its own API: property change
// signals, size hints a layout can use, refused values in the log.
class tst_QtApi : public QObject
{
    Q_OBJECT
private slots:
    void init() { resetSharedSettings(); }

    // A queued connection to an event loses the answers: said once per event, never for a direct one.
    void queuedConnectionToAnEvent()
    {
#ifndef DAYVEX_CHECK_CONNECTIONS
        QSKIP("built without the connection check (Qt's private headers, qt6-base-private-dev, missing)");
#endif
        zntDayvex control;
        const QRegularExpression warning("ScheduleAdded.*queued connection");
        QTest::ignoreMessage(QtWarningMsg, warning);
        connect(&control, &zntDayvex::ScheduleAdded, this, [](std::shared_ptr<Schedule> &) {}, Qt::QueuedConnection);
        QTest::failOnWarning(QRegularExpression("queued connection"));
        connect(&control, &zntDayvex::ScheduleAdded, this, [](std::shared_ptr<Schedule> &) {}, Qt::QueuedConnection);
        connect(&control, &zntDayvex::ScheduleChanged, this, [](std::shared_ptr<Schedule> &) {});
        connect(&control, &zntDayvex::currentViewChanged, this, [](qint16) {}, Qt::QueuedConnection);
    }

    // select() brings the record on show; the English commands act on it, and on
    // nothing but a warning once the host has removed it through the model.
    void selectionAndCommands()
    {
        for (const bool todo : {false, true}) {
            auto plan = planWithVisit();
            auto control = shownControl(plan, at(2027, 1, 4));
            ScriptedHost host;
            host.answer.ExternalHandled = true; // the host takes every command over: no editor, no prompt
            host.listenTo(control.get());
            QSignalSpy moved(control.get(), &zntDayvex::selectionChanged);
            const auto kind = todo ? zntDayvex::SelectedKind::ToDo : zntDayvex::SelectedKind::Appointment;
            const QString key = todo ? "9" : "7";

            QVERIFY(control->select(key, kind));
            QCOMPARE(moved.size(), 1);
            QCOMPARE(control->selectedKind(), kind);
            QCOMPARE(control->selectedKey(), key);
            if (!todo)
                QCOMPARE(control->StartDay(), at(2027, 5, 12));
            control->modifySelected();
            QCOMPARE(host.log, todo ? QStringList({"BeforeTodoChange", "ToDoChanged"})
                                    : QStringList({"BeforeScheduleChange", "ScheduleChanged"}));
            host.log.clear();
            host.answer.Cancel = true;
            control->deleteSelected();
            QCOMPARE(host.log, QStringList{todo ? "BeforeTodoDelete" : "BeforeScheduleDelete"});

            // Removed by the host behind the control's back: the commands only warn.
            if (todo)
                plan->ToDoS()->Remove("9");
            else
                plan->Schedules()->Remove("7");
            host.log.clear();
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("selected record .* is gone"));
            control->deleteSelected();
            QVERIFY(host.log.isEmpty());
            QCOMPARE(control->selectedKind(), zntDayvex::SelectedKind::None);
            QCOMPARE(moved.size(), 2);
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("no appointment or to-do is selected"));
            control->modifySelected();
            QVERIFY(host.log.isEmpty());
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression("select: no "));
            QVERIFY(!control->select(key, kind));
        }
    }

    // A selected appointment late in the day is scrolled into a small grid's view.
    void selectScrollsTheBoxIntoView()
    {
        auto plan = planWithVisit();
        plan->Schedules()->Add("8", "", at(2027, 5, 12, 19, 30), at(2027, 5, 12, 19, 50), "", "", "", "Cena", "",
                               Date());
        auto control = shownControl(plan, at(2027, 1, 4));
        control->resize(control->minimumSizeHint());
        QVERIFY(control->select("8"));
        const AgendaGrid *grid = agendaGrid(control.get());
        QCOMPARE(grid->boxCount(), 2);
        QVERIFY(boxOf(grid, "8")->isVisible() && grid->viewport()->rect().contains(boxOf(grid, "8")->geometry()));
    }

    // With state kept per instance, a second control touches nothing of the
    // first: plan, settings, language texts, and the step its commands use.
    void instancesKeepTheirOwnState()
    {
        setInstancesShareState(false);
        const auto shareAgain = qScopeGuard([] { setInstancesShareState(true); });
        QTemporaryDir dir;
        const QString language = writeFile(dir.filePath("it.txt"), "[International]\n" + languageKey(Text::Day).toUtf8() + "=Giorno\n");

        auto plan = planWithVisit();
        zntDayvex first;
        first.setPlan(plan);
        first.setDayStepMinutes(15);
        first.setLanguageFileName(language);
        first.setStartDay(at(2027, 5, 12));
        first.resize(1000, 640);
        first.show();
        zntDayvex second;
        second.setDayStepMinutes(60);
        second.setDayStartTime("10:00");
        second.resize(1000, 640);
        second.show();
        QVERIFY(QTest::qWaitForWindowExposed(&second));
        second.Refresh(zntPlanShowWeek);

        QCOMPARE(first.Plan(), plan);
        QVERIFY(second.Plan() != plan);
        QCOMPARE(first.DayStepMinutes(), qint16(15));
        QCOMPARE(first.DayStartTime(), QString("08:00"));
        QCOMPARE(sharedSettings().DayStepMinutes, qint16(30));
        QCOMPARE(first.findChild<QTabBar *>("TipoVis")->tabText(0), QString("Giorno"));
        QCOMPARE(second.findChild<QTabBar *>("TipoVis")->tabText(0), defaultText(Text::Day));

        // A New the host takes over with an end at its start: the end moves by this control's step.
        ScriptedHost host;
        host.answer.ExternalHandled = true;
        host.editSchedule = [](std::shared_ptr<Schedule> &s) { s->Description = "Turno"; };
        host.listenTo(&first);
        first.newAppointment();
        QCOMPARE(plan->Schedules()->Count(), 2);
        const std::shared_ptr<Schedule> added = plan->Schedules()->Item(2);
        QCOMPARE(added->start().secsTo(added->end()), 15 * 60);
    }

    // The model's changes reach the control once per turn, and redraw it only with AutoRefresh.
    void autoRefresh()
    {
        for (const bool autoRefresh : {false, true}) {
            auto plan = std::make_shared<DayvexData>();
            auto control = shownControl(plan, at(2027, 5, 12));
            control->setAutoRefresh(autoRefresh);
            QSignalSpy announced(plan->changes(), &DataChanges::changed);
            Schedule visit;
            visit.Key = "1";
            visit.Description = "Visita";
            visit.setStart(QDateTime(QDate(2027, 5, 12), QTime(10, 0)));
            visit.setEnd(QDateTime(QDate(2027, 5, 12), QTime(11, 0)));
            plan->Schedules()->Add(visit);
            visit.Key = "2";
            plan->Schedules()->Add(visit);
            plan->Schedules()->Remove("2");
            QCOMPARE(agendaGrid(control.get())->boxCount(), 0);
            QVERIFY(announced.wait());
            QCOMPARE(announced.size(), 1);
            QCOMPARE(agendaGrid(control.get())->boxCount(), autoRefresh ? 1 : 0);

            // A field changed in place is announced by the host.
            plan->Schedules()->Item("1")->Description = "Controllo";
            plan->markChanged();
            QVERIFY(announced.wait());
            if (autoRefresh)
                QCOMPARE(agendaGrid(control.get())->box(0)->entry().description, QString("Controllo"));
        }
    }

    // A host's policy answers before the signal, whose handler sees and may overrule it.
    void hostPolicy()
    {
        struct Refusing : HostPolicy
        {
            void BeforeScheduleDelete(std::shared_ptr<Schedule> &, bool &, bool &Cancel) override { Cancel = true; }
        } policy;
        auto plan = planWithVisit();
        auto control = shownControl(plan, at(2027, 5, 12));
        control->setHostPolicy(&policy);
        bool cancelSeen = false;
        connect(control.get(), &zntDayvex::BeforeScheduleDelete, this,
                [&](std::shared_ptr<Schedule> &, bool &, bool &Cancel) { cancelSeen = Cancel; });
        QVERIFY(control->select("7"));
        control->deleteSelected();
        QVERIFY(cancelSeen);
        QVERIFY(plan->Schedules()->find("7"));
    }

    // Qt's types in and out: a form's QDate and QTime setters, records' accessors, the item model.
    void qtTypes()
    {
        zntDayvex control;
        control.setStartDay(QDate(2027, 3, 1));
        control.setDayStartTime(QTime(7, 30));
        control.setDayEndTime(QTime());
        QCOMPARE(control.StartDay(), at(2027, 3, 1));
        QCOMPARE(control.DayStartTime(), QString("07:30"));
        QCOMPARE(control.DayEndTime(), QString("20:00"));

        auto plan = planWithVisit();
        const std::shared_ptr<Schedule> visit = plan->Schedules()->Item("7");
        visit->setColor(QColor(255, 128, 0));
        QCOMPARE(visit->Color, qint32(0x0080FF));
        visit->setReminder(QDateTime());
        QVERIFY(visit->ReminderDate.isEmpty());
        visit->EndDate = Date(std::nan(""));
        QVERIFY(!visit->end().isValid());

        AgendaItemModel appointments(plan, AgendaItemModel::Records::Appointments);
        AgendaItemModel todos(plan, AgendaItemModel::Records::ToDos);
        QAbstractItemModelTester checked(&appointments, QAbstractItemModelTester::FailureReportingMode::QtTest);
        QAbstractItemModelTester checkedToDos(&todos, QAbstractItemModelTester::FailureReportingMode::QtTest);
        const int start = appointments.roleNames().key("StartDate");
        QCOMPARE(appointments.data(appointments.index(0, 0), start), QVariant(QDateTime(QDate(2027, 5, 12), QTime(10, 0))));
        const QModelIndex colour = appointments.index(0, 10);
        QCOMPARE(appointments.data(colour, Qt::DecorationRole).value<QColor>(), QColor(255, 128, 0));
        QCOMPARE(appointments.data(appointments.index(0, 2)).toString(), QString()); // the NaN end
        QCOMPARE(todos.data(todos.index(0, 1)).toString(), QString("Firmare"));

        plan->Schedules()->Add("8", "", at(2027, 5, 13, 9, 0), at(2027, 5, 13, 10, 0), "", "", "", "Cena", "", Date());
        QCOMPARE(appointments.rowCount(), 1); // until the turn ends
        QTRY_COMPARE(appointments.rowCount(), 2);
        QCOMPARE(appointments.rowOf("8"), 1);
        plan->Clear();
        QTRY_COMPARE(appointments.rowCount(), 0);
        QCOMPARE(todos.rowCount(), 0);
    }

    // Under a label in a column, the control takes the room and never less than its minimum.
    void sizeHintsInALayout()
    {
        QWidget form;
        auto *column = new QVBoxLayout(&form);
        column->addWidget(new QLabel("Agenda"));
        auto *control = new zntDayvex;
        column->addWidget(control);
        form.resize(400, 300);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        QVERIFY(control->sizeHint().width() > control->minimumSizeHint().width());
        QVERIFY(control->height() >= control->minimumSizeHint().height());
        QVERIFY(control->height() > form.height() / 2);
    }
};

QTEST_MAIN(tst_QtApi)
#include "tst_qtapi.moc"
