#include <dayvextest.h>
#include <dayvex/platform/format.h>

#include <QLabel>
#include <QTemporaryDir>
#include <QComboBox>
#include <QTreeWidget>

#include <stdexcept>

namespace {
// 10:00:30 on Sunday 3 December 2000.
const QDateTime Now(QDate(2000, 12, 3), QTime(10, 0, 30));

// The keys of the records the control says it changed, a to-do's after a "T".
struct KeyJournal : ChangeJournal
{
    QStringList keys;
    void recordChanged(const std::shared_ptr<Schedule> &record, bool) override { keys << record->Key; }
    void recordChanged(const std::shared_ptr<ToDo> &record, bool) override { keys << "T" + record->Key; }
};

QList<ReminderPopup *> popups()
{
    QList<ReminderPopup *> open;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (auto *popup = qobject_cast<ReminderPopup *>(window); popup && popup->isVisible())
            open << popup;
    }
    return open;
}
} // namespace

// The alarm scan, the reminder pop-up and its sound, with the clock pinned.
class tst_Reminders : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom));
        setClockSource([] { return Now; });
    }

    void init()
    {
        resetSharedSettings();
        resetLanguage();
        LoadLanguage();
        m_sound = std::make_shared<CountingSound>();
        setReminderSound(m_sound);
        m_offered.clear();
        m_forms.clear();
        m_answer = nullptr;
        m_control = std::make_unique<zntDayvex>();
        m_control->InitProperties();
        m_control->setGlobalAlarmsEnable(false); // the tests run the ticks
        m_control->setReminderSoundFile("ding.wav");
        m_data = std::make_shared<DayvexData>();
        m_journal.keys.clear();
        m_data->setJournal(&m_journal);
        m_control->setPlan(m_data);
        connect(m_control.get(), &zntDayvex::ReminderAlarm, this,
                [this](std::shared_ptr<Alarm> &alrm, QWidget *&FormReminder, bool &ExternalHandled, bool &Cancel) {
                    m_offered << alrm->Key;
                    m_forms << FormReminder;
                    if (m_answer)
                        m_answer(alrm, ExternalHandled, Cancel);
                });
    }

    void cleanup()
    {
        m_control.reset();
        setReminderSound(nullptr);
        QVERIFY(popups().isEmpty()); // the pop-ups go with their control
    }

    // A tick offers each due alarm to the host in due order and, unless the host
    // takes it over or pop-ups are off, opens its pop-up with a sound; a cancel ends the tick.
    void oneTick_data()
    {
        // answer: 0 none, 1 cancel, 2 the host snoozes it an hour and takes it over
        columns<Date, bool, int, bool, QStringList, int>("due", "showing", "answer", "popUpsOff", "offered", "opened");
        const Date nine = at(2000, 12, 3, 9, 0);
        const QStringList both{"S1", "T7"}, toDo{"T7"}; // the to-do's alarm is due at 09:30
        QTest::newRow("now") << Date::fromDateTime(Now) << false << 0 << false << QStringList{"T7", "S1"} << 2;
        QTest::newRow("an hour ago") << nine << false << 0 << false << both << 2;
        QTest::newRow("a minute from now") << at(2000, 12, 3, 10, 1, 30) << false << 0 << false << toDo << 1;
        QTest::newRow("empty date") << Date(0.0) << false << 0 << false << toDo << 1;
        QTest::newRow("marked showing") << nine << true << 0 << false << toDo << 1;
        QTest::newRow("cancel ends the tick") << nine << false << 1 << false << QStringList{"S1"} << 0;
        QTest::newRow("taken over") << nine << false << 2 << false << both << 0;
        QTest::newRow("pop-ups off") << nine << false << 0 << true << both << 0;
    }

    void oneTick()
    {
        QFETCH(Date, due);
        QFETCH(bool, showing);
        QFETCH(int, answer);
        QFETCH(bool, popUpsOff);
        QFETCH(QStringList, offered);
        QFETCH(int, opened);
        addAppointment("1", Date());
        addToDo(at(2000, 12, 3, 9, 0));
        m_data->Alarms()->Add("S1", "S", "1", due, false, "S1")->Showing = showing;
        m_control->setDisableReminderPopUp(popUpsOff);
        m_answer = [answer](std::shared_ptr<Alarm> &alrm, bool &ExternalHandled, bool &Cancel) {
            Cancel = answer == 1;
            ExternalHandled = answer == 2;
            if (ExternalHandled)
                alrm->AlarmDateTime = alrm->AlarmDateTime.addMinutes(60);
        };
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QCOMPARE(m_offered, offered);
        QCOMPARE(popups().size(), opened);
        QCOMPARE(m_sound->played, QStringList(opened, "ding.wav"));
        if (answer == 2) // the record follows the alarm the host moved, and a store hears of it
            QCOMPARE(m_data->Schedules()->Item("1")->ReminderDate.value(), at(2000, 12, 3, 10, 0).value());
        QCOMPARE(m_journal.keys, answer == 2 ? QStringList({"1", "T7"}) : QStringList());
        if (popUpsOff) { // none marked showing: all offered again
            zntDayvexPrivate::get(&*m_control)->scanAlarms();
            QCOMPARE(m_offered, offered + offered);
        }
    }

    void openPopUpIsPassedOn()
    {
        addAppointment("1", at(2000, 12, 3, 9, 0));
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QCOMPARE(popups().size(), 1);
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QCOMPARE(m_offered, QStringList({"S1", "S1"}));
        QCOMPARE(m_forms, QList<QWidget *>({nullptr, popups().first()}));
        QCOMPARE(popups().size(), 1);
        QCOMPARE(m_sound->played.size(), 1);

        // Closed by its frame, it changes nothing: still due, it comes back at the next tick.
        m_sound->device = false; // with no device nothing is played
        popups().first()->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(m_data->Schedules()->Item("1")->ReminderDate.value(), at(2000, 12, 3, 9, 0).value());
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QCOMPARE(popups().size(), 1);
        QCOMPARE(m_sound->played.size(), 1);

        // In Modern the frame snoozes it, as the button does.
        m_control->setPresentation(zntDayvex::Modern);
        popups().first()->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QCOMPARE(m_data->Schedules()->Item("1")->ReminderDate.value(), now().addMinutes(5).value());
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QCOMPARE(popups().size(), 0);
    }

    void buttons_data()
    {
        // A daily series from 20 November reminds two hours before each occurrence:
        // the pop-up names today's, and no more means tomorrow's reminder.
        columns<QString, bool, bool, Date>("button", "appointment", "series", "after");
        QTest::newRow("appointment, in 5 minutes") << "cmdRipeti" << true << false << at(2000, 12, 3, 10, 5, 30);
        QTest::newRow("appointment, no more") << "cmdNonRipetere" << true << false << Date(0.0);
        QTest::newRow("to-do, in 5 minutes") << "cmdRipeti" << false << false << at(2000, 12, 3, 10, 5, 30);
        QTest::newRow("series, in 5 minutes") << "cmdRipeti" << true << true << at(2000, 12, 3, 10, 5, 30);
        QTest::newRow("series, no more: the next one's") << "cmdNonRipetere" << true << true << at(2000, 12, 4, 9, 0);
    }

    void buttons()
    {
        QFETCH(QString, button);
        QFETCH(bool, appointment);
        QFETCH(bool, series);
        QFETCH(Date, after);
        addAppointment("1", at(2000, 12, 3, 9, 0));
        if (series) {
            const auto daily = m_data->Schedules()->Item("1");
            daily->Recurrence = "FREQ=DAILY";
            daily->StartDate = at(2000, 11, 20, 11, 0);
            daily->EndDate = at(2000, 11, 20, 12, 0);
            daily->ReminderLead = 2 * 3600;
        }
        addToDo(at(2000, 12, 3, 9, 0));
        QStringList changes;
        connect(m_control.get(), &zntDayvex::AlarmChange, this,
                [&changes](std::shared_ptr<Schedule> &mSca) { changes << "AlarmChange " + mSca->Key; });
        connect(m_control.get(), &zntDayvex::ToDoAlarmChange, this,
                [&changes](std::shared_ptr<ToDo> &mToDo) { changes << "ToDoAlarmChange " + mToDo->Key; });
        const QString key = appointment ? "S1" : "T7";
        // The host takes the other alarm over, so one pop-up opens.
        m_answer = [key](std::shared_ptr<Alarm> &alrm, bool &ExternalHandled, bool &) { ExternalHandled = alrm->Key != key; };
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QCOMPARE(popups().size(), 1);

        if (appointment)
            QCOMPARE(popups().first()->findChild<QLabel *>("lblData")->text(),
                     formatDate(at(2000, 12, 3, 11, 0), sharedSettings().DateFormat));
        QTest::mouseClick(popups().first()->findChild<QPushButton *>(button), Qt::LeftButton);
        QVERIFY(popups().isEmpty());
        QCOMPARE(m_data->Alarms()->Item(key)->AlarmDateTime.value(), after.value());
        const Date reminder = appointment ? m_data->Schedules()->Item("1")->ReminderDate
                                          : m_data->ToDoS()->Item("7")->ReminderDate;
        QCOMPARE(reminder.value(), after.value());
        QCOMPARE(changes, QStringList{appointment ? "AlarmChange 1" : "ToDoAlarmChange 7"});
    }

    void storm()
    {
        for (int i = 1; i <= 25; ++i)
            addAppointment(QString::number(i), at(2000, 12, 3, 9, 0).addMinutes(i));
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QCOMPARE(popups().size(), AlarmScan::MaxNewPopUpsPerTick);
        QCOMPARE(m_offered.size(), AlarmScan::MaxNewPopUpsPerTick);
        zntDayvexPrivate::get(&*m_control)->scanAlarms(); // the open ten are passed on, ten more open
        QCOMPARE(popups().size(), 2 * AlarmScan::MaxNewPopUpsPerTick);
    }

    // Modern: one window lists every due reminder, whatever their number, and
    // its buttons raise the pop-up's per-alarm events.
    void modernWindow()
    {
        m_control->setPresentation(zntDayvex::Modern);
        for (int i = 1; i <= 25; ++i)
            addAppointment(QString::number(i), at(2000, 12, 3, 9, 0).addMinutes(i));
        QStringList changes;
        connect(m_control.get(), &zntDayvex::AlarmChange, this,
                [&changes](std::shared_ptr<Schedule> &mSca) { changes << mSca->Key; });
        AlarmScan &scan = *zntDayvexPrivate::get(&*m_control)->m_alarmScan;
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QVERIFY(popups().isEmpty());
        RemindersWindow *window = scan.remindersWindow();
        QVERIFY(window && window->isVisible());
        auto *lines = window->findChild<QTreeWidget *>("lstReminders");
        QCOMPARE(lines->topLevelItemCount(), 25);
        QCOMPARE(lines->topLevelItem(0)->text(0), "Riunione 1");
        QCOMPARE(lines->topLevelItem(0)->text(2), "59 minutes ago");
        QCOMPARE(m_offered.size(), 25);
        QCOMPARE(m_sound->played.size(), 1);
        zntDayvexPrivate::get(&*m_control)->scanAlarms(); // listed: offered with the window, no sound
        QCOMPARE(m_forms.mid(25), QList<QWidget *>(25, window));
        QCOMPARE(m_sound->played.size(), 1);

        lines->setCurrentItem(lines->topLevelItem(1));
        window->findChild<QComboBox *>("cbSnooze")->setCurrentIndex(2); // 15 minutes
        QTest::keyClick(window, Qt::Key_Escape);
        QCOMPARE(changes, QStringList{"2"});
        QCOMPARE(m_data->Schedules()->Item("2")->ReminderDate.value(), now().addMinutes(15).value());
        QVERIFY(!window->lists("S2"));

        // Enter on a line opens its record once (the host declines here).
        int opened = 0;
        const auto opening = connect(m_control.get(), &zntDayvex::BeforeScheduleChange, this,
                                     [&opened](auto &, bool &, bool &cancel) { ++opened, cancel = true; });
        lines->setCurrentItem(lines->topLevelItem(0));
        lines->setFocus();
        QTest::keyClick(lines, Qt::Key_Return);
        QCOMPARE(opened, 1);
        disconnect(opening);
        lines->clearSelection();

        // Never over a dialog that waits for the user.
        QDialog modal(m_control.get());
        modal.setModal(true);
        modal.show();
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QVERIFY(!window->isVisible());
        modal.hide();
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QVERIFY(window->isVisible());

        // A record gone under its line: the line goes, the others get their answer.
        m_data->Schedules()->Remove("3");
        lines->topLevelItem(1)->setSelected(true);
        lines->topLevelItem(2)->setSelected(true);
        window->dismissChosen();
        QCOMPARE(changes, QStringList({"2", "4"}));
        QCOMPARE(m_data->Schedules()->Item("4")->ReminderDate.value(), 0.0);

        // Closing by the frame snoozes the rest for the time still chosen.
        window->close();
        QCOMPARE(changes.size(), 2 + 22);
        QCOMPARE(m_data->Schedules()->Item("25")->ReminderDate.value(), now().addMinutes(15).value());
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
        QVERIFY(!window->isVisible());
    }

    void failingTick_data()
    {
        // gone: the record is gone, else the handler throws
        columns<bool, qint32, QString>("gone", "number", "message");
        QTest::newRow("record gone") << true << qint32(Error::InvalidArgument) << "alarm S1: error 5";
        QTest::newRow("handler throws") << false << qint32(Error::AutomationError)
                                        << "zntDayvex: alarm S1: error 440: ReminderAlarm: Automation error: host failed";
    }

    void failingTick()
    {
        QFETCH(bool, gone);
        QFETCH(QString, message);
        addAppointment("1", at(2000, 12, 3, 9, 0));
        if (gone)
            m_data->Schedules()->Remove("1"); // the alarm list still names it
        else
            m_answer = [](std::shared_ptr<Alarm> &, bool &, bool &) { throw std::runtime_error("host failed"); };
        QTEST(errorNumber([&] { zntDayvexPrivate::get(&*m_control)->scanAlarms(); }), "number");
        QVERIFY(popups().isEmpty());
        QVERIFY(!m_data->Alarms()->Item("S1")->Showing);
        if (!gone)
            QCOMPARE(m_data->Schedules()->Item("1")->ReminderDate, at(2000, 12, 3, 9, 0));
        // From the timer: said once, and the timer goes on.
        m_control->findChild<QTimer *>("Timer")->setInterval(10);
        m_control->setGlobalAlarmsEnable(true);
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QRegularExpression::escape(message)));
        QTest::failOnWarning(QRegularExpression("alarm S1"));
        QTest::qWait(100);
        QVERIFY(m_control->GlobalAlarmsEnable());
    }

    void controlGoesDuringTheSound()
    {
        addAppointment("1", at(2000, 12, 3, 9, 0));
        addAppointment("2", at(2000, 12, 3, 9, 30));
        m_sound->whilePlaying = [this] { m_control.reset(); }; // the host closes its window meanwhile
        zntDayvex *control = m_control.get();
        zntDayvexPrivate::get(&*control)->scanAlarms(); // ends without touching what went
        QVERIFY(!m_control);
        QCOMPARE(m_sound->played.size(), 1);
    }

    void popUpText()
    {
        addAppointment("1", at(2000, 12, 3, 9, 0));
        addToDo(at(2000, 12, 9, 18, 0));
        const ReminderText forAppointment =
            reminderText(*m_data->Alarms()->Item("S1"), *m_data, "dd/mm/yyyy", sharedLanguage());
        QCOMPARE(forAppointment.date, "03/12/2000");
        QCOMPARE(forAppointment.kind, "Appointment");
        QCOMPARE(forAppointment.details, QStringList({"place: Sala A", "contact: Ferri", "Riunione 1"}));
        const ReminderText forToDo = reminderText(*m_data->Alarms()->Item("T7"), *m_data, "mm/dd/yyyy", sharedLanguage());
        QCOMPARE(forToDo.date, "12/09/2000");
        QCOMPARE(forToDo.kind, "To do activity");
        QCOMPARE(forToDo.details, QStringList({"project: Sito", "Chiamare"}));
    }

    void wavLength()
    {
        QTemporaryDir dir;
        // One second of 8 kHz mono 8-bit sound: a byte rate of 8000 and 8000 bytes of data.
        QByteArray wav("RIFF");
        auto le32 = [](quint32 v) { return QByteArray(reinterpret_cast<const char *>(&v), 4); };
        auto le16 = [](quint16 v) { return QByteArray(reinterpret_cast<const char *>(&v), 2); };
        wav += le32(36 + 8000) + "WAVE" + "fmt " + le32(16) + le16(1) + le16(1) + le32(8000) + le32(8000) + le16(1)
               + le16(8) + "data" + le32(8000) + QByteArray(8000, char(128));
        QCOMPARE(wavDurationMs(writeFile(dir.filePath("one.wav"), wav)), 1000);
        QCOMPARE(wavDurationMs(writeFile(dir.filePath("broken.wav"), "RIFF....WAVEfmt ")), -1);
        QCOMPARE(wavDurationMs(dir.filePath("missing.wav")), -1);
    }

private:
    void addAppointment(const QString &key, Date reminder)
    {
        m_data->Schedules()->Add(key, "Rossi", at(2000, 12, 3, 11, 0), at(2000, 12, 3, 12, 0), {}, "Ferri", {},
                                 "Riunione " + key, "Sala A", reminder);
        m_data->setAlarms(Alarms::fromRecords(*m_data->Schedules(), *m_data->ToDoS()));
    }
    void addToDo(Date due)
    {
        m_data->ToDoS()->Add("7", "Rossi", "Chiamare", {}, due, 1, "Sito", false, Date(), at(2000, 12, 3, 9, 30));
        m_data->setAlarms(Alarms::fromRecords(*m_data->Schedules(), *m_data->ToDoS()));    }

    std::unique_ptr<zntDayvex> m_control;
    std::shared_ptr<DayvexData> m_data;
    KeyJournal m_journal;
    std::shared_ptr<CountingSound> m_sound;
    QStringList m_offered;   // the keys of ReminderAlarm, in order
    QList<QWidget *> m_forms; // the FormReminder of each
    std::function<void(std::shared_ptr<Alarm> &, bool &, bool &)> m_answer;
};

QTEST_MAIN(tst_Reminders)
#include "tst_reminders.moc"
