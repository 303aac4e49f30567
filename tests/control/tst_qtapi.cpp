#include <dayvextest.h>

#include <dayvex/control/propertytable.h>

#include <QLabel>
#include <QSignalSpy>
#include <QVBoxLayout>

// What a Qt host expects of the control beside its own API: property change
// signals, size hints a layout can use, refused values in the log.
class tst_QtApi : public QObject
{
    Q_OBJECT
private slots:
    void init() { resetSharedSettings(); }

    // The saved properties and the ones a form can set are the same list, so a
    // property added to one is not forgotten in the other.
    void designablePropertiesAreTheSavedOnes()
    {
        QStringList saved, designable;
        for (const ControlProperty &row : controlProperties())
            saved << row.name;
        const QMetaObject &meta = zntDayvex::staticMetaObject;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
            if (meta.property(i).isDesignable())
                designable << meta.property(i).name();
        saved.sort();
        designable.sort();
        QCOMPARE(designable, saved);
    }

    void notifySignals_data()
    {
        columns<QByteArray, QVariant, bool>("name", "value", "accepted");
        QTest::newRow("start time") << QByteArray("DayStartTime") << QVariant("07:30") << true;
        QTest::newRow("start time refused") << QByteArray("DayStartTime") << QVariant("25:99") << false;
        QTest::newRow("step") << QByteArray("DayStepMinutes") << QVariant(15) << true;
        QTest::newRow("step refused") << QByteArray("DayStepMinutes") << QVariant(3) << false;
        QTest::newRow("day") << QByteArray("StartDay") << QVariant(QDate(2027, 3, 1)) << true;
        QTest::newRow("alarms") << QByteArray("GlobalAlarmsEnable") << QVariant(false) << true;
        QTest::newRow("owner") << QByteArray("DefaultOwner") << QVariant("Rossi") << true;
        QTest::newRow("menus") << QByteArray("DisableMenu") << QVariant(true) << true;
    }

    void notifySignals()
    {
        QFETCH(QByteArray, name);
        QFETCH(QVariant, value);
        QFETCH(bool, accepted);
        zntDayvex control;
        const QMetaProperty property = control.metaObject()->property(control.metaObject()->indexOfProperty(name));
        QSignalSpy notified(&control, property.notifySignal());
        QSignalSpy changed(&control, &zntDayvex::PropertyChanged);
        if (!accepted)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(name + " refuses"));
        property.write(&control, value);
        QCOMPARE(notified.size(), accepted ? 1 : 0);
        QCOMPARE(changed.size(), accepted ? 1 : 0);
        if (accepted)
            QCOMPARE(notified.at(0).at(0), value);
    }

    void currentViewChanged()
    {
        zntDayvex control;
        control.resize(900, 600);
        QSignalSpy spy(&control, &zntDayvex::currentViewChanged);
        control.Refresh(zntPlanShowMonth);
        control.Refresh(zntPlanShowMonth);
        control.Refresh(zntPlanShowDay);
        QCOMPARE(spy.size(), 2);
        QCOMPARE(spy.at(1).at(0).value<qint16>(), qint16(zntPlanShowDay));
    }

    // select() brings the record on show; the English commands act on it, and on
    // nothing but a warning once the host has removed it through the model.
    void selectionAndCommands_data()
    {
        columns<bool>("todo");
        QTest::newRow("appointment") << false;
        QTest::newRow("to-do") << true;
    }

    void selectionAndCommands()
    {
        QFETCH(bool, todo);
        auto plan = std::make_shared<DayvexData>();
        plan->Schedules()->Add("7", "", at(2027, 5, 12, 10, 0), at(2027, 5, 12, 11, 0), "", "", "", "Visita", "",
                               Date());
        plan->ToDoS()->Add("9", "", "Firmare", "", Date(), 1, "", false, Date(), Date());
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
