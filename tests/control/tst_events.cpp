#include <internals.h>

#include <QMetaMethod>
#include <QTest>

#include <functional>
#include <stdexcept>

using namespace dayvex;

class tst_Events : public QObject
{
    Q_OBJECT
private slots:
    void declaredInIdOrder();
    void beforeAnswersAreReadBack_data();
    void beforeAnswersAreReadBack();
    void recordsAreReadBack();
    void throwingHandlerReachesTheCaller_data();
    void throwingHandlerReachesTheCaller();
};

void tst_Events::declaredInIdOrder()
{
    const QMetaObject &meta = zntDayvex::staticMetaObject;
    QStringList signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        const QMetaMethod m = meta.method(i);
        if (m.methodType() == QMetaMethod::Signal && m.name() != "PropertyChanged")
            signatures << QString::fromLatin1(m.name() + '(' + m.parameterNames().join(',') + ')');
    }
    QCOMPARE(signatures.size(), 22);
    QCOMPARE(signatures.at(int(EventId::ContactCodeLostFocus) - 1), "ContactCodeLostFocus(Value,ContactDescription,Cancel)");
    QCOMPARE(signatures.at(int(EventId::BeforeTodoAdd) - 1), "BeforeTodoAdd(mToDo,ExternalHandled,Cancel)");
    QCOMPARE(signatures.at(int(EventId::DateSelected) - 1), "DateSelected(NewDate)");
    QCOMPARE(signatures.at(int(EventId::ReminderAlarm) - 1), "ReminderAlarm(alrm,FormReminder,ExternalHandled,Cancel)");
    QCOMPARE(signatures.at(int(EventId::ValidateToDo) - 1), "ValidateToDo(mToDo,Cancel)");
}

void tst_Events::beforeAnswersAreReadBack_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<bool>("external");
    QTest::addColumn<bool>("cancel");
    for (EventId id : {EventId::BeforeScheduleAdd, EventId::BeforeScheduleDelete, EventId::BeforeScheduleChange,
                       EventId::BeforeTodoAdd, EventId::BeforeTodoDelete, EventId::BeforeTodoChange,
                       EventId::BeforeTodoSetComplete}) {
        QTest::addRow("%d external", int(id)) << int(id) << true << false;
        QTest::addRow("%d cancel", int(id)) << int(id) << false << true;
    }
}

void tst_Events::beforeAnswersAreReadBack()
{
    QFETCH(int, id);
    QFETCH(bool, external);
    QFETCH(bool, cancel);
    zntDayvex control;
    int calls = 0;
    auto handler = [&](auto &, bool &ExternalHandled, bool &Cancel) {
        ++calls;
        QVERIFY(!ExternalHandled && !Cancel); // both start false
        ExternalHandled = external;
        Cancel = cancel;
    };
    for (auto signal : {&zntDayvex::BeforeScheduleAdd, &zntDayvex::BeforeScheduleDelete,
                        &zntDayvex::BeforeScheduleChange})
        connect(&control, signal, this, handler);
    for (auto signal : {&zntDayvex::BeforeTodoAdd, &zntDayvex::BeforeTodoDelete, &zntDayvex::BeforeTodoChange,
                        &zntDayvex::BeforeTodoSetComplete})
        connect(&control, signal, this, handler);

    auto schedule = std::make_shared<Schedule>();
    auto todo = std::make_shared<ToDo>();
    const bool isSchedule = id <= int(EventId::BeforeScheduleChange);
    const BeforeAnswer answer = isSchedule ? zntDayvexPrivate::get(&control)->raiseBefore(EventId(id), schedule)
                                           : zntDayvexPrivate::get(&control)->raiseBefore(EventId(id), todo);
    QCOMPARE(calls, 1);
    QCOMPARE(answer.ExternalHandled, external);
    QCOMPARE(answer.Cancel, cancel);
}

void tst_Events::recordsAreReadBack()
{
    zntDayvex control;
    auto replacement = std::make_shared<Schedule>();
    connect(&control, &zntDayvex::BeforeScheduleAdd, this,
            [&](std::shared_ptr<Schedule> &mSca, bool &, bool &) { mSca = replacement; });
    connect(&control, &zntDayvex::ToDoChanged, this, [](std::shared_ptr<ToDo> &mToDo) { mToDo.reset(); });
    connect(&control, &zntDayvex::ValidateToDo, this, [](std::shared_ptr<ToDo> &mToDo, bool &Cancel) {
        mToDo->ShortDesc = "checked";
        Cancel = true;
    });
    connect(&control, &zntDayvex::ReminderAlarm, this,
            [&](std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder, bool &ExternalHandled, bool &) {
                alrm->AlarmDateTime = Date(2.0);
                FormReminder = &control;
                ExternalHandled = true;
            });

    auto schedule = std::make_shared<Schedule>();
    zntDayvexPrivate::get(&control)->raiseBefore(EventId::BeforeScheduleAdd, schedule);
    QCOMPARE(schedule, replacement);

    auto todo = std::make_shared<ToDo>();
    bool cancel = false;
    zntDayvexPrivate::get(&control)->RaiseValidateToDo(todo, cancel);
    QVERIFY(cancel);
    QCOMPARE(todo->ShortDesc, "checked");
    zntDayvexPrivate::get(&control)->RaiseToDoChanged(todo);
    QVERIFY(!todo);

    auto alarm = std::make_shared<Alarm>();
    QWidget *form = nullptr;
    const BeforeAnswer answer = zntDayvexPrivate::get(&control)->raiseReminderAlarm(alarm, form);
    QCOMPARE(form, &control);
    QCOMPARE(alarm->AlarmDateTime, Date(2.0));
    QVERIFY(answer.ExternalHandled && !answer.Cancel);
}

void tst_Events::throwingHandlerReachesTheCaller_data()
{
    QTest::addColumn<std::function<void()>>("fail");
    QTest::addColumn<qint32>("number");
    QTest::addColumn<QString>("description");
    QTest::newRow("std::exception") << std::function<void()>([] { throw std::runtime_error("host refused"); })
                                    << qint32(Error::AutomationError)
                                    << "BeforeTodoDelete: Automation error: host refused";
    QTest::newRow("anything") << std::function<void()>([] { throw 42; }) << qint32(Error::AutomationError)
                              << "BeforeTodoDelete: Automation error: an exception of an unknown type";
    QTest::newRow("dayvex::Error") << std::function<void()>([] { throw Error::duplicateKey(); })
                                   << qint32(Error::DuplicateKey)
                                   << "BeforeTodoDelete: " + Error::duplicateKey().description();
}

void tst_Events::throwingHandlerReachesTheCaller()
{
    // Whatever the host throws comes back to the code that raised the event as an
    // Error naming it, and the control stays usable: the next raise reaches every handler.
    QFETCH(std::function<void()>, fail);
    zntDayvex control;
    int later = 0;
    bool failing = true;
    connect(&control, &zntDayvex::BeforeTodoDelete, this, [&](std::shared_ptr<ToDo> &, bool &, bool &) {
        if (failing)
            fail();
    });
    connect(&control, &zntDayvex::BeforeTodoDelete, this, [&](std::shared_ptr<ToDo> &, bool &, bool &) { ++later; });
    auto todo = std::make_shared<ToDo>();
    try {
        zntDayvexPrivate::get(&control)->raiseBefore(EventId::BeforeTodoDelete, todo);
        QFAIL("no error");
    } catch (const Error &error) {
        QTEST(error.number(), "number");
        QTEST(error.description(), "description");
    }
    QCOMPARE(later, 0);
    failing = false;
    zntDayvexPrivate::get(&control)->raiseBefore(EventId::BeforeTodoDelete, todo);
    QCOMPARE(later, 1);
}

QTEST_MAIN(tst_Events)
#include "tst_events.moc"
