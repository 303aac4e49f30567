#include <dayvextest.h>

#include <stdexcept>

class tst_Events : public QObject
{
    Q_OBJECT
private slots:
    void recordsAreReadBack()
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
        const BeforeAnswer untouched = zntDayvexPrivate::get(&control)->raiseBefore(EventId::BeforeScheduleAdd, schedule);
        QCOMPARE(schedule, replacement);
        QVERIFY(!untouched.ExternalHandled && !untouched.Cancel); // a handler that answers nothing lets it go on

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

    // Whatever the host throws comes back to the code that raised the event as an
    // Error naming it, and the control stays usable: the next raise reaches every handler.
    void throwingHandlerReachesTheCaller()
    {
        const struct { std::function<void()> fail; qint32 number; QString description; } failures[] = {
            {[] { throw std::runtime_error("host refused"); }, Error::AutomationError, "Automation error: host refused"},
            {[] { throw 42; }, Error::AutomationError, "Automation error: an exception of an unknown type"},
            {[] { throw Error::duplicateKey(); }, Error::DuplicateKey, Error::duplicateKey().description()}};
        for (const auto &failure : failures) {
            zntDayvex control;
            int later = 0;
            bool failing = true;
            connect(&control, &zntDayvex::BeforeTodoDelete, this, [&](std::shared_ptr<ToDo> &, bool &, bool &) {
                if (failing)
                    failure.fail();
            });
            connect(&control, &zntDayvex::BeforeTodoDelete, this, [&](std::shared_ptr<ToDo> &, bool &, bool &) { ++later; });
            auto todo = std::make_shared<ToDo>();
            try {
                zntDayvexPrivate::get(&control)->raiseBefore(EventId::BeforeTodoDelete, todo);
                QFAIL("no error");
            } catch (const Error &error) {
                QCOMPARE(error.number(), failure.number);
                QCOMPARE(error.description(), "BeforeTodoDelete: " + failure.description);
            }
            QCOMPARE(later, 0);
            failing = false;
            zntDayvexPrivate::get(&control)->raiseBefore(EventId::BeforeTodoDelete, todo);
            QCOMPARE(later, 1);
        }
    }
};

QTEST_MAIN(tst_Events)
#include "tst_events.moc"
