#include <dayvextest.h>

#include <dayvex/editing/prompts.h>
#include <dayvex/model/alarms.h>

#include <QScopeGuard>

#include <QListView>

// Drags in a shown control with DragEditing, against a host that answers as
// each row says; what the host saw, the record and its alarm afterwards.
class tst_BoxDrag : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedKingdom)); }

    void init()
    {
        m_data = std::make_shared<DayvexData>();
        m_data->Schedules()->Add("a", "Rossi", at(2000, 12, 3, 9), at(2000, 12, 3, 10), {}, "Ferri", {}, "Dentist",
                                 "Sala A", at(2000, 12, 3, 8, 45));
        m_data->setAlarms(Alarms::rebuilt(m_data->Alarms(), *m_data->Schedules(), *m_data->ToDoS()));
        m_control = shownControl(m_data, at(2000, 12, 3, 15)); // a Sunday
        m_control->setDragEditing(true);
        m_host = ScriptedHost();
        m_host.listenTo(m_control.get());
        m_host.editSchedule = [this](std::shared_ptr<Schedule> &proposed) {
            m_host.log << proposed->start().toString("ddd hh:mm ") + proposed->end().toString("hh:mm");
        };
    }

    void cleanup() { m_control.reset(); }

    void drags_data()
    {
        columns<int, QString, int, QStringList, Date, Date, Date>("presentation", "gesture", "answer", "events",
                                                                  "start", "end", "reminder");
        const Date start = at(2000, 12, 3, 9), end = at(2000, 12, 3, 10), reminder = at(2000, 12, 3, 8, 45);
        const QStringList moved{"BeforeScheduleChange", "Sat 10:00 11:00", "ValidateSchedule", "ScheduleChanged",
                                "AlarmChange"};
        auto row = [&](const char *name, int presentation, const char *gesture, int answer, const QStringList &events,
                       Date s, Date e, Date r) {
            QTest::newRow(name) << presentation << QString(gesture) << answer << events << s << e << r;
        };
        for (int presentation : {int(zntDayvex::Classic), int(zntDayvex::Modern)}) {
            const QByteArray p = presentation ? "modern: " : "classic: ";
            row(p + "move a day back, an hour on", presentation, "move", 0, moved, at(2000, 12, 2, 10),
                at(2000, 12, 2, 11), at(2000, 12, 2, 9, 45));
            row(p + "bottom edge an hour down", presentation, "end", 0,
                {"BeforeScheduleChange", "Sun 09:00 11:00", "ValidateSchedule", "ScheduleChanged"}, start,
                at(2000, 12, 3, 11), reminder);
            row(p + "over empty slots: New", presentation, "create", 1, {"BeforeScheduleAdd", "Sun 15:00 17:00"},
                start, end, reminder);
        }
        row("vetoed", 1, "move", 1, {"BeforeScheduleChange", "Sat 10:00 11:00"}, start, end, reminder);
        row("taken over by the host", 1, "move", 2, {"BeforeScheduleChange", "Sat 10:00 11:00"}, start, end, reminder);
        row("Esc", 1, "esc", 0, {}, start, end, reminder);
        row("out of the control", 1, "leave", 0, {}, start, end, reminder);
        row("month: to Tuesday", 0, "month", 0,
            {"BeforeScheduleChange", "Tue 09:00 10:00", "ValidateSchedule", "ScheduleChanged", "AlarmChange"},
            at(2000, 12, 5, 9), at(2000, 12, 5, 10), at(2000, 12, 5, 8, 45));
        // Its end would pass 31 December 9999: the drag ends, nothing changes.
        row("month: past the last date", 0, "month, ending in 9999", 0, {}, start, Date(2958465.5), reminder);
    }

    void drags()
    {
        QFETCH(int, presentation);
        QFETCH(QString, gesture);
        QFETCH(int, answer);
        m_host.answer.Cancel = answer == 1;
        m_host.answer.ExternalHandled = answer == 2;
        m_control->setPresentation(zntDayvex::PresentationStyle(presentation));
        if (gesture.endsWith("9999"))
            m_data->Schedules()->Item("a")->EndDate = Date(2958465.5);
        const bool month = gesture.startsWith("month");
        m_control->Refresh(month ? zntPlanShowMonth : zntPlanShowWeek);
        AgendaGrid *grid = agendaGrid(m_control.get());
        QWidget *viewport = grid->viewport();
        const DragGrid cells = grid->dragGrid();
        // The middle of a slot, in the viewport: day 0 is Monday 27 November.
        const auto slot = [&](int day, int hour, int minute = 0) {
            const int from = hour * 60 + minute;
            return slotRect(cells, day, from, from + cells.step).center();
        };
        AppointmentBox *box = month ? nullptr : boxOf(grid, "a");
        const QRect before = box ? box->geometry() : QRect();
        const auto drag = [&](QWidget *on, QPoint from, QPoint to, bool escape = false) {
            QTest::mousePress(on, Qt::LeftButton, {}, from);
            QTest::mouseMove(on, from + QPoint(0, 12));
            QTest::mouseMove(on, to);
            if (escape)
                QTest::keyClick(grid, Qt::Key_Escape);
            QTest::mouseRelease(on, Qt::LeftButton, {}, to);
        };
        // Held a quarter down, in its first slot; let go a day back and an hour on.
        const QPoint grab = box ? QPoint(box->width() / 2, box->height() / 4) : QPoint();
        const QPoint toSaturday = box ? box->mapFrom(viewport, box->mapTo(viewport, grab) + slot(5, 10) - slot(6, 9))
                                      : QPoint();
        if (gesture == "move" || gesture == "esc")
            drag(box, grab, toSaturday, gesture == "esc");
        else if (gesture == "end")
            drag(box, QPoint(grab.x(), box->height() - 2), box->mapFrom(viewport, slot(6, 10, 30)));
        else if (gesture == "create")
            drag(viewport, slot(6, 15), slot(6, 16, 30));
        else if (gesture == "leave")
            drag(box, grab, box->mapFromGlobal(m_control->mapToGlobal(QPoint(-40, -40))));
        else if (month) {
            int sunday = 0;
            while (grid->dayListDate(sunday) != at(2000, 12, 3))
                ++sunday;
            QListView *list = grid->dayList(sunday);
            QPoint tuesday;
            for (int r = 0; r < grid->rowCount(); ++r)
                for (int c = 0; c < grid->columnCount(); ++c)
                    if (grid->monthCellDate(r, c) == at(2000, 12, 5))
                        tuesday = grid->visualRect(grid->model()->index(r, c)).center();
            drag(list->viewport(), list->visualRect(list->model()->index(0, 0)).center(),
                 list->viewport()->mapFrom(viewport, tuesday));
        }
        QTEST(m_host.log, "events");
        const std::shared_ptr<Schedule> a = m_data->Schedules()->Item("a");
        QTEST(a->StartDate, "start");
        QTEST(a->EndDate, "end");
        QTEST(a->ReminderDate, "reminder");
        QTEST(m_data->Alarms()->Item(1)->AlarmDateTime, "reminder");
        if (m_host.log.size() <= 2 && box)
            QCOMPARE(boxOf(grid, "a")->geometry(), before); // nothing moved on screen either
    }

    // The Sunday occurrence of a daily series from Friday, dragged to Saturday an
    // hour on: the person's answer to which occurrences decides what moves. Its
    // Monday stands apart at 14:00 ("o") and follows the series it belongs to.
    void occurrenceDrags_data()
    {
        columns<int, QStringList, QStringList>("scope", "events", "records");
        const QString mondayKept = "Mon 4 14:00 of Fri 1 09:00 at Mon 4 09:00";
        QTest::newRow("this one: a record of its own")
            << int(SeriesScope::This)
            << QStringList{"BeforeScheduleAdd", "Sat 10:00 11:00", "ValidateSchedule", "ScheduleAdded"}
            << QStringList{"Fri 1 09:00 FREQ=DAILY;UNTIL=20001210T090000", mondayKept,
                           "Sat 2 10:00 of Fri 1 09:00 at Sun 3 09:00"};
        QTest::newRow("this and the following: a series of their own")
            << int(SeriesScope::Following)
            << QStringList{"BeforeScheduleChange", "Fri 09:00 10:00", "ValidateSchedule", "BeforeScheduleAdd",
                           "Sat 10:00 11:00", "ValidateSchedule", "ScheduleAdded", "ScheduleChanged",
                           "ScheduleChanged"}
            << QStringList{"Fri 1 09:00 FREQ=DAILY;UNTIL=20001203T085959", "Mon 4 14:00 of Sat 2 10:00 at Sun 3 10:00",
                           "Sat 2 10:00 FREQ=DAILY;UNTIL=20001209T100000"};
        QTest::newRow("the whole series, by as much")
            << int(SeriesScope::Whole)
            << QStringList{"BeforeScheduleChange", "Thu 10:00 11:00", "ValidateSchedule", "ScheduleChanged",
                           "AlarmChange", "ScheduleChanged"}
            << QStringList{"Mon 4 14:00 of Thu 30 10:00 at Sun 3 10:00", "Thu 30 10:00 FREQ=DAILY;UNTIL=20001209T100000"};
        QTest::newRow("cancelled") << int(SeriesScope::Cancel) << QStringList{}
                                   << QStringList{"Fri 1 09:00 FREQ=DAILY;UNTIL=20001210T090000", mondayKept};
    }

    void occurrenceDrags()
    {
        QFETCH(int, scope);
        const std::shared_ptr<Schedule> a = m_data->Schedules()->Item("a");
        a->StartDate = at(2000, 12, 1, 9);
        a->EndDate = at(2000, 12, 1, 10);
        a->ReminderDate = at(2000, 12, 1, 8, 45);
        a->Recurrence = "FREQ=DAILY;UNTIL=20001210T090000";
        Schedule apart = *a;
        apart.Key = "o";
        apart.Recurrence.clear();
        apart.SeriesKey = "a";
        apart.RecurrenceId = at(2000, 12, 4, 9);
        apart.StartDate = at(2000, 12, 4, 14);
        apart.EndDate = at(2000, 12, 4, 15);
        apart.ReminderDate = Date();
        m_data->Schedules()->Add(apart);
        setScopeAnswerer([scope](const QString &) { return SeriesScope(scope); });
        const auto answered = qScopeGuard([] { setScopeAnswerer({}); });
        m_control->setPresentation(zntDayvex::Modern);
        m_control->Refresh(zntPlanShowWeek);
        AgendaGrid *grid = agendaGrid(m_control.get());
        const DragGrid cells = grid->dragGrid();
        AppointmentBox *sunday = nullptr;
        for (int i = 0; i < grid->boxCount(); ++i)
            if (grid->box(i)->entry().start == at(2000, 12, 3, 9))
                sunday = grid->box(i);
        QVERIFY(sunday);
        const QPoint grab(sunday->width() / 2, sunday->height() / 4);
        const QPoint by = slotRect(cells, 5, 600, 600 + cells.step).center() - slotRect(cells, 6, 540, 540 + cells.step).center();
        QTest::mousePress(sunday, Qt::LeftButton, {}, grab);
        QTest::mouseMove(sunday, grab + QPoint(0, 12));
        QTest::mouseMove(sunday, grab + by);
        QTest::mouseRelease(sunday, Qt::LeftButton, {}, grab + by);
        QTEST(m_host.log, "events");
        QStringList records;
        const auto when = [](Date d) { return d.toDateTime().toString("ddd d hh:mm"); };
        for (const auto &s : *m_data->Schedules()) {
            const auto series = s->SeriesKey.isEmpty() ? nullptr : m_data->Schedules()->find(s->SeriesKey);
            QStringList parts{when(s->StartDate), s->Recurrence};
            if (series)
                parts << "of " + when(series->StartDate) + " at " + when(s->RecurrenceId);
            parts.removeAll(QString());
            records << parts.join(' ');
        }
        records.sort();
        QTEST(records, "records");
    }

private:
    std::shared_ptr<DayvexData> m_data;
    std::unique_ptr<zntDayvex> m_control;
    ScriptedHost m_host;
};

QTEST_MAIN(tst_BoxDrag)
#include "tst_boxdrag.moc"
