// A random user and a random host at once: clicks, keys and the control's
// shortcuts, wheel, resizes, drags, property assignments (Presentation among
// them), Refresh, record mutations, commands, series edits in each scope,
// undo and redo, iCalendar imports, editors, menus, pop-ups and reminder ticks,
// over a plan kept in a LocalStore, drawn from one seed so that a failing run replays.
//
//   dayvex_monkey [--seed S] [--steps N] [--cancelling] [--sync] [--trace]
//
// After every step: no crash and no sanitizer finding (the build aborts on one);
// a drag cancelled with Esc or let go outside changed nothing; an undo right
// after a change gives back the records as they were before it, and undos then
// as many redos give back the records they started from. Every 100 steps and at
// the end the store, reopened, holds the plan's records, and after a Refresh the
// alarm list is the one the records ask for. With --cancelling the host cancels
// every "Before" event and every reminder, and its records must stay exactly as they were.
//
// With --sync the plan is also synced with a Radicale started here, which the
// monkey syncs with, stops, starts again, pauses for a while and cancels at
// random. Every 500 steps and at the end a sync is let settle, with the server
// up; the server then holds the plan's records, each as the plan would send it.
// Nothing but this sync writes to that server, so a conflict is a finding.
// The checks of an undo and of a cancelling host skip the steps a sync ran in.

#include <radicale.h>

#include <dayvex/exchange/icalendar.h>
#include <dayvex/sync/caldavsync.h>
#include <dayvex/sync/secretstore.h>

#include <dayvextest.h>

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDir>
#include <QEventLoop>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QRegularExpression>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QUndoStack>
#include <QTimer>
#include <QWheelEvent>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>

#include <sys/stat.h>

namespace {

class Monkey : public QObject
{
public:
    Monkey(quint64 seed, int steps, bool cancelling, bool sync, bool trace)
        : m_random(seed), m_seed(seed), m_steps(steps), m_cancelling(cancelling), m_trace(trace)
    {
        m_now = QDateTime(QDate(2026, 11, 16), QTime(8, 55));
        setClockSource([this] { return m_now; });
        setPromptAnswerer([this](const QString &, PromptIcon) { return chance(2); });
        setScopeAnswerer([this](const QString &) { return SeriesScope(pick(4)); });
        setReminderSound(std::make_shared<CountingSound>());
        if (!m_dir.isValid() || ::mkfifo(QFile::encodeName(m_dir.filePath("fifo")).constData(), 0600) != 0)
            std::abort();

        m_plan = std::make_shared<DayvexData>();
        fill();
        m_store = std::make_unique<LocalStore>(m_plan);
        m_store->open(m_dir.filePath("agenda.sqlite"));
        if (sync)
            startSync();
        m_control = std::make_unique<zntDayvex>();
        m_control->setPlan(m_plan);
        m_control->setGlobalAlarmsEnable(false); // ticks come from the monkey, in step
        m_control->setPresentation(chance(2) ? zntDayvex::Modern : zntDayvex::Classic);
        m_control->setDragEditing(chance(2));
        m_control->resize(1200, 800);
        m_control->show();
        m_control->Refresh(zntPlanShowWeek);
        answerEvents();
        m_before = contents(*m_plan);
    }

    ~Monkey() override
    {
        setClockSource({});
        setPromptAnswerer({});
        setScopeAnswerer({});
        setReminderSound({});
    }

    int run()
    {
        postStep();
        qApp->exec();
        closeEverything();
        if (m_sync)
            checkServer(m_done);
        checkStore(m_done);
        std::printf("dayvex_monkey: seed %llu, %d steps, %s host: no finding (checked: %d undos, %d undo-redo runs, "
                    "%d cancelled drags, %d stores, %d alarm lists)\n",
                    static_cast<unsigned long long>(m_seed), m_done, m_cancelling ? "cancelling" : "random",
                    m_checked[0], m_checked[1], m_checked[2], m_checked[3], m_checked[4]);
        if (m_sync)
            std::printf("dayvex_monkey: %d syncs ended well and %d did not; %d server restarts, %d pauses; %d settled "
                        "syncs compared with the server; %lld resources refused by it\n",
                        m_syncs[0], m_syncs[1], m_serverRestarts, m_serverPauses, m_checked[5], qint64(m_refused.size()));
        return 0;
    }

private:
    int pick(int n) { return int(m_random() % quint64(n)); }
    bool chance(int n) { return pick(n) == 0; }
    template <typename T, size_t N> const T &any(const T (&items)[N]) { return items[pick(int(N))]; }

    Date oddDate()
    {
        static const double Values[] = {
            0.0,     -1.0,      1e7,      -1e7,      std::nan(""), std::numeric_limits<double>::infinity(),
            46342.5, 46342.375, 46343.99, 2958465.9, -657434.0,    1.0 / 3};
        return Date(any(Values));
    }
    Date around() { return Date(46342.0 + pick(28) - 7 + pick(96) / 96.0); } // 16 November 2026, give or take

    void fill()
    {
        static const char *const Rules[] = {"FREQ=DAILY;COUNT=6", "FREQ=WEEKLY;BYDAY=MO,TH",
                                            "FREQ=DAILY;INTERVAL=2;UNTIL=20261205T000000", "FREQ=MONTHLY;COUNT=3"};
        for (int i = 0; i < 300; ++i) {
            const Date start = around();
            const auto s = m_plan->Schedules()->Add(
                QString::number(i + 1), i % 3 ? "Rossi" : "Bianchi", start, Date(start.value() + (1 + pick(8)) / 48.0),
                "C" + QString::number(i), "Ferri", i % 2 ? "Lavoro" : "Casa", "Riunione " + QString::number(i),
                i % 4 ? "Sala A" : "", chance(4) ? Date(start.value() - 0.01) : Date());
            if (i % 10 == 0) {
                s->Recurrence = QString::fromLatin1(any(Rules));
                if (chance(3))
                    s->ExceptionDates = s->StartDate.addDays(2).toDateTime().toString("yyyyMMdd'T'HHmmss");
            } else if (i % 10 == 1) { // an occurrence of the series before, moved an hour on
                const auto series = m_plan->Schedules()->Item(QString::number(i));
                s->SeriesKey = series->Key;
                s->RecurrenceId = series->StartDate.addDays(1);
                s->StartDate = s->RecurrenceId.addMinutes(60);
                s->EndDate = s->StartDate.addMinutes(30);
            }
        }
        for (int i = 0; i < 100; ++i)
            m_plan->ToDoS()->Add(QString::number(i + 1), "Rossi", "Chiamare " + QString::number(i), "Dettagli",
                                 around(), qint16(pick(4)), i % 2 ? "Sito" : "", chance(5), Date(),
                                 chance(4) ? around() : Date());
        m_plan->setAlarms(Alarms::fromRecords(*m_plan->Schedules(), *m_plan->ToDoS()));
    }

    // ---- the host ----

    // What the host does with an event it can answer; it never does anything
    // but cancel when the run checks that cancelling keeps the records. While an
    // undo is checked (m_quiet) it takes nothing over and changes nothing: what
    // the records become is then the control's doing alone.
    void answer(const char *event, bool &externalHandled, bool &cancel)
    {
        if (m_cancelling) {
            cancel = true;
            return;
        }
        // Mostly agreeing while an undo is checked, or a few steps back and on
        // would hardly ever all be taken, and the check would hardly ever run.
        if (m_quiet && !chance(4))
            return;
        switch (pick(8)) {
        case 0: cancel = true; break;
        case 1: externalHandled = !m_quiet; break;
        case 2: throw std::runtime_error(event);
        case 3: throw Error::invalidArgument(QString::fromLatin1(event));
        case 4: throw 7;
        default: break;
        }
    }

    void answerEvents()
    {
        auto before = [this](const char *event) {
            return [this, event](auto &record, bool &externalHandled, bool &cancel) {
                if (!m_cancelling && !m_quiet && chance(6) && record)
                    mutate(*record);
                answer(event, externalHandled, cancel);
            };
        };
        auto validate = [this](const char *event) {
            return [this, event](auto &, bool &cancel) {
                bool ignored = false;
                answer(event, ignored, cancel);
            };
        };
        zntDayvex *c = m_control.get();
        connect(c, &zntDayvex::BeforeScheduleAdd, this, before("BeforeScheduleAdd"));
        connect(c, &zntDayvex::BeforeScheduleChange, this, before("BeforeScheduleChange"));
        connect(c, &zntDayvex::BeforeScheduleDelete, this, before("BeforeScheduleDelete"));
        connect(c, &zntDayvex::BeforeTodoChange, this, before("BeforeTodoChange"));
        connect(c, &zntDayvex::BeforeTodoDelete, this, before("BeforeTodoDelete"));
        connect(c, &zntDayvex::BeforeTodoSetComplete, this, before("BeforeTodoSetComplete"));
        connect(c, &zntDayvex::ValidateSchedule, this, validate("ValidateSchedule"));
        connect(c, &zntDayvex::ValidateToDo, this, validate("ValidateToDo"));
        connect(c, &zntDayvex::ReminderAlarm, this,
                [this](std::shared_ptr<Alarm> &alarm, QWidget *&, bool &externalHandled, bool &cancel) {
                    if (!m_cancelling && !m_quiet && chance(4) && alarm)
                        alarm->AlarmDateTime = oddDate();
                    answer("ReminderAlarm", externalHandled, cancel);
                });
        connect(c, &zntDayvex::ScheduleAdded, this, [this](std::shared_ptr<Schedule> &) {
            if (chance(10))
                throw std::runtime_error("ScheduleAdded");
        });
        connect(c, &zntDayvex::ContactCodeLostFocus, this, [this](QString &, QString &description, bool &cancel) {
            description = "Contatto";
            cancel = chance(3);
        });
        connect(c, &zntDayvex::DateSelected, this, [this](Date &) {
            if (chance(20))
                throw std::runtime_error("DateSelected");
        });
    }

    // An odd date in one field, an end before the start, an odd priority.
    void mutate(Schedule &s)
    {
        ++m_hostChanges;
        Date *fields[] = {&s.StartDate, &s.EndDate, &s.ReminderDate};
        const int which = pick(4);
        *fields[which % 3] = which < 3 ? oddDate() : Date(s.StartDate.value() - 0.1);
    }
    void mutate(ToDo &t)
    {
        ++m_hostChanges;
        if (chance(3))
            t.Priority = qint16(pick(3) ? pick(5) : -32768);
        else
            (chance(2) ? t.DueTo : t.ReminderDate) = oddDate();
    }

    // ---- the server ----

    void startSync()
    {
        m_server = std::make_unique<Radicale>();
        startServer();
        m_sync = std::make_unique<CalDavSync>(*m_store, m_plan, iCalendarResources());
        m_sync->setSecretStore(std::make_shared<MemorySecretStore>());
        m_sync->setAccount({m_server->server(), m_server->user});
        m_sync->usePassword(m_server->password);
        m_sync->setRetryDelays(std::chrono::milliseconds(200), std::chrono::seconds(2));
        m_sync->setCalendar(m_server->calendar());
        connect(m_sync.get(), &CalDavSync::statusChanged, this, [this] { ++m_syncEvents; });
        connect(m_sync.get(), &CalDavSync::syncFinished, this, [this](bool ok) {
            ++m_syncEvents;
            ++m_syncs[ok ? 0 : 1];
        });
        connect(m_sync.get(), &CalDavSync::uploadRefused, this, [this](const QString &uid) { m_refused.insert(uid); });
        connect(m_sync.get(), &CalDavSync::conflict, this, [this](SyncConflict &conflict) {
            // Both whole: the lines that differ rarely tell which record it was.
            std::fprintf(stderr, "the server's version:\n%s\nthis side's:\n%s\n", conflict.server.constData(),
                         conflict.local.constData());
            fail("a conflict, with no one but this sync writing to the server", QString::fromUtf8(conflict.server),
                 QString::fromUtf8(conflict.local) + "\n(" + conflict.uid + ")");
        }, Qt::DirectConnection);
    }

    void startServer()
    {
        for (int attempt = 0; attempt < 3; ++attempt)
            if (m_server->start())
                return;
        fail("radicale did not start");
    }

    // A sync now, or the server stopped, started again, paused for up to two
    // seconds (a slow server), or the sync under way cancelled.
    void server()
    {
        switch (pick(8)) {
        case 0: case 1: case 2: case 3: m_sync->syncNow(); break;
        case 4:
            if (!m_paused && m_server->isRunning()) {
                ++m_serverPauses;
                m_server->pause(m_paused = true);
                QTimer::singleShot(100 + pick(2000), this, [this] {
                    if (std::exchange(m_paused, false))
                        m_server->pause(false);
                });
            }
            break;
        case 5: m_paused = false; m_server->stop(); break;
        case 6:
            if (!m_server->isRunning()) {
                ++m_serverRestarts;
                startServer();
            }
            break;
        default: m_sync->cancel(); break;
        }
    }

    bool syncing() const { return m_sync && m_sync->status().state == SyncStatus::State::Syncing; }

    // With the server up, syncs until one ends well with nothing left to send,
    // the steps held meanwhile; then the server holds the plan's records.
    void checkServer(int number)
    {
        m_step = number;
        if (std::exchange(m_paused, false))
            m_server->pause(false);
        if (!m_server->isRunning()) {
            ++m_serverRestarts;
            startServer();
        }
        m_settling = true;
        bool settled = false;
        for (int attempt = 0; attempt < 5 && !settled; ++attempt) {
            if (!syncing())
                m_sync->syncNow();
            // Until no run follows the one that ends (a sync asked for during
            // another runs right after it).
            bool ok = false;
            for (int run = 0; run < 10 && syncing(); ++run) {
                QEventLoop wait;
                const auto done = connect(m_sync.get(), &CalDavSync::syncFinished, &wait, [&](bool good) {
                    ok = good;
                    wait.quit();
                });
                QTimer::singleShot(120000, &wait, &QEventLoop::quit);
                wait.exec();
                disconnect(done);
            }
            settled = ok && m_store->pendingCount() == 0 && !syncing();
        }
        m_settling = false;
        if (!settled)
            fail("no sync ended well with the server up", QString(), m_sync->status().text());
        ++m_checked[5];
        // A resource none of whose records iCalendar can hold (a date outside
        // the years 100 to 9999), or one the server refused (an imported
        // to-do's DURATION beside its DUE), stays on this side, the server
        // keeping what it had.
        std::map<QString, QStringList> held = serverRecords(), plan = planAsSent();
        for (auto it = plan.begin(); it != plan.end();)
            it = it->second.isEmpty() || m_refused.contains(it->first) ? (held.erase(it->first), plan.erase(it)) : std::next(it);
        for (const QString &uid : m_refused)
            held.erase(uid);
        if (held != plan) {
            // Only what differs, resource by resource.
            QStringList inPlan, onServer;
            for (const auto &[uid, records] : plan)
                if (!held.count(uid) || held[uid] != records)
                    inPlan << uid + ": " + records.join(" || ");
            for (const auto &[uid, records] : held)
                if (!plan.count(uid) || plan[uid] != records)
                    onServer << uid + ": " + records.join(" || ");
            fail("after a settled sync the server holds other records than the plan", inPlan.join('\n'),
                 onServer.join('\n'));
        }
    }

    // Records as the comparisons with the server see them: their keys are the
    // plan's own and go nowhere, so they are left out; sorted.
    // The lines kept from a file come back in the server's order: not compared.
    template <typename Record>
    static QString sentFieldsOf(Record record)
    {
        static const QRegularExpression keys(QStringLiteral("(^|\\|)(Key|SeriesKey)=[^|]*"));
        QStringList kept = record.Extra.split('\n');
        kept.sort();
        record.Extra = kept.join('\n');
        return fieldsOf(record).replace(keys, QStringLiteral("\\1\\2"));
    }
    static QStringList sentFields(DayvexData &data)
    {
        QStringList lines;
        for (const auto &s : *data.Schedules())
            lines << QStringLiteral("S ") + sentFieldsOf(*s) + (s->SeriesKey.isEmpty() ? "" : " (changed occurrence)");
        for (const auto &t : *data.ToDoS())
            lines << QStringLiteral("T ") + sentFieldsOf(*t);
        lines.sort();
        return lines;
    }

    // The server's resources by UID, read from its storage folder.
    std::map<QString, QStringList> serverRecords()
    {
        const ResourceCodec codec = iCalendarResources();
        const QDir folder(m_server->folder() + "/collections/collection-root/" + m_server->user + "/work");
        std::map<QString, QStringList> out;
        for (const QString &name : folder.entryList(QDir::Files)) {
            QFile file(folder.filePath(name));
            DayvexData read;
            QString why;
            if (!file.open(QIODevice::ReadOnly) || !codec.read(file.readAll(), read, why))
                fail("the server holds a resource that cannot be read", name, why);
            const QString uid = read.Schedules()->Count() ? read.Schedules()->Item(1)->Tag
                                : read.ToDoS()->Count()   ? read.ToDoS()->Item(1)->Tag
                                                          : name;
            if (out.count(uid))
                fail("the server holds two resources of one UID", uid);
            out[uid] = sentFields(read);
        }
        return out;
    }

    // Each resource of the plan (a record, or a series with its changed
    // occurrences, by UID) written and read back as the sync would send it.
    std::map<QString, QStringList> planAsSent()
    {
        const ResourceCodec codec = iCalendarResources();
        std::map<QString, std::shared_ptr<DayvexData>> resources;
        const auto resource = [&](const QString &uid, const QString &record) -> DayvexData & {
            if (uid.isEmpty())
                fail("after a settled sync a record has no UID: it never went to the server", QString(), record);
            auto &data = resources[uid];
            if (!data)
                data = std::make_shared<DayvexData>();
            return *data;
        };
        for (const auto &s : *m_plan->Schedules()) {
            const auto series = s->SeriesKey.isEmpty() ? nullptr : m_plan->Schedules()->find(s->SeriesKey);
            auto copy = std::make_shared<Schedule>(*s);
            if (!series && !s->SeriesKey.isEmpty()) { // its series gone: an appointment of its own
                copy->SeriesKey.clear();
                copy->RecurrenceId = Date();
            }
            resource(series ? series->Tag : s->Tag, fieldsOf(*s)).Schedules()->restore(copy, s->Key);
        }
        for (const auto &t : *m_plan->ToDoS())
            resource(t->Tag, fieldsOf(*t)).ToDoS()->restore(std::make_shared<ToDo>(*t), t->Key);
        std::map<QString, QStringList> out;
        for (auto &[uid, records] : resources) {
            DayvexData read;
            QString why;
            if (!codec.read(codec.write(*records), read, why))
                fail("a resource of the plan cannot be read back", uid, why);
            out[uid] = sentFields(read);
        }
        return out;
    }

    // ---- the user ----

    QWidget *activeWindow()
    {
        const QWidgetList visible = otherWindows();
        if (!visible.isEmpty() && !chance(4))
            return visible.at(pick(int(visible.size())));
        return m_control.get();
    }

    static QWidget *childAt(QWidget *window, QPoint at)
    {
        QWidget *child = window->childAt(at);
        return child ? child : window;
    }

    void mouse(QWidget *window)
    {
        const QPoint at(pick(qMax(1, window->width())), pick(qMax(1, window->height())));
        QWidget *target = childAt(window, at);
        const QPoint local = target->mapFrom(window, at);
        static const Qt::MouseButton Buttons[] = {Qt::LeftButton, Qt::LeftButton, Qt::RightButton};
        const QPointer<QWidget> alive = target;
        if (chance(3))
            QTest::mouseDClick(target, Qt::LeftButton, {}, local);
        else
            QTest::mouseClick(target, any(Buttons), {}, local);
        if (alive && chance(4))
            QTest::mouseMove(alive, local + QPoint(pick(40) - 20, pick(40) - 20));
    }

    void key(QWidget *window)
    {
        static const Qt::Key Keys[] = {Qt::Key_Delete,   Qt::Key_Escape, Qt::Key_Up,    Qt::Key_Down, Qt::Key_Left,
                                       Qt::Key_Right,    Qt::Key_Return, Qt::Key_Enter, Qt::Key_Tab,  Qt::Key_Menu,
                                       Qt::Key_PageDown, Qt::Key_Space,  Qt::Key_A,     Qt::Key_1};
        QWidget *target = QApplication::focusWidget();
        if (!target || target->window() != window)
            target = window;
        QTest::keyClick(target, any(Keys));
    }

    // A key sequence of the control's own actions, with the focus inside it as they need.
    void shortcut()
    {
        QList<QKeySequence> keys;
        for (const QAction *action : m_control->actions())
            keys += action->shortcuts();
        if (keys.isEmpty())
            return;
        QWidget *target = QApplication::focusWidget();
        if (!target || !m_control->isAncestorOf(target)) {
            target = agendaGrid(m_control.get());
            m_control->activateWindow();
            target->setFocus();
        }
        QTest::keySequence(target, keys.at(pick(int(keys.size()))));
    }

    // The boxes of the view on show, the ones of a series alone when seriesOnly.
    QList<AppointmentBox *> boxes(bool seriesOnly)
    {
        QList<AppointmentBox *> out;
        for (AppointmentBox *box : agendaGrid(m_control.get())->viewport()->findChildren<AppointmentBox *>())
            if (box->isVisible() && (!seriesOnly || box->entry().series))
                out << box;
        return out;
    }

    // A box pressed and dragged, or a month day's line, or empty slots (a new
    // appointment over them), dropped inside the view, let go outside the
    // control, or cancelled with Esc: the last two must change nothing.
    void drag()
    {
        AgendaGrid *grid = agendaGrid(m_control.get());
        QWidget *viewport = grid->viewport();
        QPointer<QWidget> on = viewport;
        QPoint from(pick(qMax(1, viewport->width())), pick(qMax(1, viewport->height())));
        QList<DayList *> lists;
        for (DayList *list : viewport->findChildren<DayList *>())
            if (list->isVisible() && list->count() > 0)
                lists << list;
        const QList<AppointmentBox *> shown = boxes(chance(3));
        if (!shown.isEmpty() && !chance(4)) {
            AppointmentBox *box = shown.at(pick(int(shown.size())));
            on = box;
            const int edge = pick(3); // the top edge, the middle, the bottom edge
            from = QPoint(box->width() / 2, edge == 0 ? 1 : edge == 1 ? box->height() / 2 : box->height() - 2);
        } else if (!lists.isEmpty() && !chance(4)) {
            DayList *list = lists.at(pick(int(lists.size())));
            on = list->viewport();
            from = list->visualRect(list->model()->index(pick(list->count()), 0)).center();
        }
        const int how = pick(4); // 0: Esc, 1: let go outside, else dropped
        const QPoint to = how == 1 ? on->mapFromGlobal(m_control->mapToGlobal(QPoint(-40, -40)))
                                   : on->mapFrom(viewport, QPoint(pick(qMax(1, viewport->width())),
                                                                  pick(qMax(1, viewport->height()))));
        const bool check = how < 2 && !m_cancelling; // a cancelling host's records are checked after every step
        const QString before = check ? contents(*m_plan) : QString();
        const int steps = m_control->undoStack()->count();
        QTest::mousePress(on, Qt::LeftButton, {}, from);
        if (on)
            QTest::mouseMove(on, from + QPoint(0, 12));
        if (on)
            QTest::mouseMove(on, to);
        if (how == 0) // to the grid, where the press left the focus: Esc in a reminders window snoozes
            QTest::keyClick(grid, Qt::Key_Escape);
        // Let go where it was pressed, or on the control when a redraw took that away: a
        // button left down would hold every later move of the run in a drag.
        QTest::mouseRelease(on ? on.data() : m_control.get(), Qt::LeftButton, {}, on ? to : QPoint(1, 1));
        m_checked[2] += check;
        if (check && (contents(*m_plan) != before || m_control->undoStack()->count() != steps))
            fail(how == 0 ? "a drag cancelled with Esc changed the records"
                          : "a drag let go outside the control changed the records",
                 before, contents(*m_plan));
    }

    // An occurrence of a series clicked, then changed or deleted: the scope answerer picks which occurrences.
    void seriesEdit()
    {
        const QList<AppointmentBox *> shown = boxes(true);
        if (shown.isEmpty() || m_depth > 2)
            return;
        AppointmentBox *box = shown.at(pick(int(shown.size())));
        QTest::mouseClick(box, Qt::LeftButton, {}, box->rect().center());
        chance(2) ? m_control->deleteSelected() : m_control->modifySelected();
    }

    // Undo a few steps, then redo as many: where every one was taken and none
    // dropped, the records are back as they started.
    void history()
    {
        QUndoStack *stack = m_control->undoStack();
        const int depth = 1 + pick(5), index = stack->index(), count = stack->count();
        const QString before = records();
        const bool wasQuiet = std::exchange(m_quiet, true);
        for (int i = 0; i < depth; ++i)
            m_control->undo();
        const int back = index - stack->index();
        for (int i = 0; i < back; ++i)
            m_control->redo();
        m_quiet = wasQuiet;
        m_checked[1] += stack->index() == index && stack->count() == count && back > 0;
        if (const QString now = records(); stack->index() == index && stack->count() == count && now != before)
            fail("undo then redo did not give back the records", before, now);
    }

    // The records as the undo checks compare them: an undone deletion comes back
    // at the end of its collection, so the order is not compared; nor are the
    // lookup lists, which only grow (the deletion's Add collects its category again).
    QString records()
    {
        QStringList lines;
        for (const auto &schedule : *m_plan->Schedules())
            lines << fieldsOf(*schedule);
        for (const auto &todo : *m_plan->ToDoS())
            lines << fieldsOf(*todo);
        lines.sort();
        return lines.join('\n');
    }

    // An undo right after the step's change gives back the records as before
    // it; vetoed, it leaves them as they are.
    void checkUndo(const QString &before)
    {
        QUndoStack *stack = m_control->undoStack();
        const int index = stack->index();
        const QString after = records();
        const bool wasQuiet = std::exchange(m_quiet, true);
        m_control->undo();
        m_quiet = wasQuiet;
        const QString &expected = stack->index() == index - 1 ? before : after;
        ++m_checked[0];
        if (const QString now = records(); now != expected)
            fail("an undo did not give back the records as they were", expected, now);
    }

    void wheel(QWidget *window)
    {
        QWidget *target = childAt(window, QPoint(pick(qMax(1, window->width())), pick(qMax(1, window->height()))));
        const QPoint at = target->rect().center();
        QWheelEvent event(at, target->mapToGlobal(at), {}, QPoint(0, pick(2) ? 120 : -360), Qt::NoButton, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(target, &event);
    }

    void resizeControl()
    {
        static const QSize Sizes[] = {{1, 1},       {40, 30},    {300, 200},  {1200, 800}, {2600, 1400},
                                      {3840, 2100}, {5000, 300}, {9000, 600}, {800, 3000}};
        m_control->resize(chance(3) ? QSize(1 + pick(5000), 1 + pick(3000)) : any(Sizes));
    }

    void assignProperty()
    {
        static const char *const Times[] = {"08:00", "20:00", "00:00", "23:59", "25:99", "", "abc", "7", "12:30 PM"};
        static const qint16 Steps[] = {-5, 0, 1, 5, 7, 30, 60, 1440, 32767};
        const QString files[] = {QString(), "/nonexistent/lang.ini", "/dev/null", m_dir.filePath("fifo")};
        zntDayvex &c = *m_control;
        const std::function<void()> assignments[] = {
            [&] { c.setDayStartTime(QString::fromLatin1(any(Times))); },
            [&] { c.setDayEndTime(QString::fromLatin1(any(Times))); },
            [&] { c.setDayStepMinutes(any(Steps)); },
            [&] { c.setStartDay(chance(2) ? oddDate() : around()); },
            [&] { c.setMultiUserEnabled(chance(2)); },
            [&] { c.setContactCodeEnabled(chance(2)); },
            [&] { c.setDisableMenu(chance(3)); },
            [&] { c.setDisableReminderPopUp(chance(2)); },
            [&] { c.setLanguageFileName(any(files)); },
            [&] { c.setReminderSoundFile(chance(2) ? QString() : m_dir.filePath("fifo")); },
            [&] { c.setPresentation(chance(2) ? zntDayvex::Modern : zntDayvex::Classic); },
            [&] { c.setPresentation(zntDayvex::PresentationStyle(pick(5) - 1)); },
            [&] { c.setDragEditing(!chance(3)); },
            [&] { c.setSideColumnCollapsed(chance(2)); },
            [&] { c.setAutoRefresh(chance(2)); }};
        any(assignments)();
    }

    void changeRecords()
    {
        const auto schedules = m_plan->Schedules();
        const auto todos = m_plan->ToDoS();
        const int s = 1 + pick(qMax(1, schedules->Count())), t = 1 + pick(qMax(1, todos->Count()));
        const int what = pick(5);
        ++m_hostChanges;
        if (what == 3)
            schedules->Add(schedules->NewKey(), "Rossi", oddDate(), oddDate(), {}, {}, {}, "Strano", {}, oddDate());
        else if (what % 2 == 0 && schedules->Count() > 0)
            what ? schedules->Remove(s) : mutate(*schedules->Item(s));
        else if (what % 2 && todos->Count() > 0)
            what == 1 ? mutate(*todos->Item(t)) : todos->Remove(t);
    }

    // A few components written here, or a few of the plan's records exported:
    // both mutated, then imported into the plan, as a host's import would.
    QByteArray calendar()
    {
        if (chance(2)) {
            DayvexData some;
            for (int i = 0, n = pick(6); i < n && m_plan->Schedules()->Count() > 0; ++i) {
                Schedule copy = *m_plan->Schedules()->Item(1 + pick(m_plan->Schedules()->Count()));
                copy.Key = some.Schedules()->NewKey();
                some.Schedules()->Add(copy);
            }
            if (m_plan->ToDoS()->Count() > 0) {
                ToDo copy = *m_plan->ToDoS()->Item(1 + pick(m_plan->ToDoS()->Count()));
                copy.Key = some.ToDoS()->NewKey();
                some.ToDoS()->Add(copy);
            }
            return exportICalendarData(some);
        }
        static const char *const Starts[] = {"20261116T090000", "20261117T230000Z", "20261118", "20261119T120000",
                                             "99991231T235959", "00000000T000000", "2026111"};
        static const char *const Extras[] = {"RRULE:FREQ=DAILY;COUNT=4", "RRULE:FREQ=WEEKLY;BYDAY=TU,FR;UNTIL=20261220T000000",
                                             "RRULE:FREQ=HOURLY;INTERVAL=7", "RRULE:FREQ=YEARLY;BYMONTH=13",
                                             "EXDATE:20261118T090000", "RDATE:20261125T090000",
                                             "RECURRENCE-ID:20261117T090000", "DURATION:PT45M", "DURATION:-P1D",
                                             "BEGIN:VALARM\r\nACTION:DISPLAY\r\nTRIGGER:-PT15M\r\nEND:VALARM",
                                             "LOCATION:Sala B", "CATEGORIES:Lavoro,Nuova", "STATUS:COMPLETED"};
        QByteArray text = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//monkey//EN\r\n";
        for (int i = 0, n = 1 + pick(4); i < n; ++i) {
            const QByteArray kind = chance(3) ? "VTODO" : "VEVENT";
            text += "BEGIN:" + kind + "\r\nUID:m" + QByteArray::number(pick(6)) + "\r\nSUMMARY:Importato\r\n"
                    + (kind == "VTODO" ? "DUE:" : "DTSTART:") + any(Starts) + "\r\n";
            for (int e = pick(4); e > 0; --e)
                text += QByteArray(any(Extras)) + "\r\n";
            text += "END:" + kind + "\r\n";
        }
        return text + "END:VCALENDAR\r\n";
    }

    void import()
    {
        if (m_cancelling || m_plan->Schedules()->Count() > 600)
            return;
        QByteArray bytes = calendar();
        for (int cuts = pick(3); cuts > 0 && !bytes.isEmpty(); --cuts) {
            const int at = pick(int(bytes.size()));
            switch (pick(4)) {
            case 0: bytes[at] = char(pick(256)); break;
            case 1: bytes.truncate(at); break;
            case 2: bytes.insert(at, bytes.mid(pick(int(bytes.size())), pick(80))); break;
            default: bytes.remove(at, pick(40)); break;
            }
        }
        ImportOptions options;
        options.keepSeries = !chance(4);
        options.maxRecords = 200;
        importICalendarData(bytes, *m_plan, options);
        ++m_hostChanges;
    }

    void command()
    {
        if (m_depth > 2)
            return; // one editor inside another is enough
        static void (zntDayvex::*const Commands[])() = {
            &zntDayvex::mnNuovo_Click,          &zntDayvex::mnModifica_Click,
            &zntDayvex::mnElimina_Click,        &zntDayvex::mnuAttivitaCompleta_Click,
            &zntDayvex::mnNuovaAttivita_Click,  &zntDayvex::mnModificaAttivita_Click,
            &zntDayvex::mnEliminaAttivita_Click};
        (m_control.get()->*any(Commands))();
    }

    void editorField(QWidget *form)
    {
        const QList<QWidget *> fields = form->findChildren<QWidget *>();
        if (fields.isEmpty())
            return;
        QWidget *field = fields.at(pick(int(fields.size())));
        static const char *const Texts[] = {"", "Pranzo", "x", "0", "C1", "  ", "\xc3\xa8\xe2\x82\xac"};
        if (auto *date = qobject_cast<QDateTimeEdit *>(field)) {
            date->setDateTime(chance(2) ? date->minimumDateTime()
                                        : QDateTime(QDate(2026, 11, 1 + pick(30)), QTime(pick(24), pick(60))));
        } else if (auto *line = qobject_cast<QLineEdit *>(field)) {
            line->setFocus();
            line->setText(QString::fromUtf8(any(Texts)));
            if (chance(2))
                QTest::keyClick(line, Qt::Key_Tab);
        } else if (auto *combo = qobject_cast<QComboBox *>(field)) {
            if (combo->count() > 0)
                combo->setCurrentIndex(pick(combo->count()));
            if (combo->isEditable() && chance(3))
                combo->setEditText(QString::fromUtf8(any(Texts)));
        } else if (auto *text = qobject_cast<QPlainTextEdit *>(field)) {
            text->setPlainText(QString::fromUtf8(any(Texts)));
        } else if (auto *button = qobject_cast<QAbstractButton *>(field)) {
            if (button->isEnabled() && button->isVisible())
                button->click();
        }
    }

    void answerWindows()
    {
        for (QWidget *w : otherWindows()) {
            if (auto *menu = qobject_cast<QMenu *>(w)) {
                const QList<QAction *> actions = menu->actions();
                if (!actions.isEmpty() && chance(2))
                    actions.at(pick(int(actions.size())))->trigger();
                menu->close();
                return;
            }
            if (chance(2)) {
                editorField(w);
                return;
            }
            if (chance(4)) {
                w->close();
                return;
            }
        }
    }

    void tick()
    {
        m_now = m_now.addSecs(qint64(pick(3)) * 60 * (chance(5) ? 600 : 7));
        if (chance(8))
            m_now = m_now.addDays(-3);
        zntDayvexPrivate::get(&*m_control)->scanAlarms();
    }

    // The actions of the rolls that may change a record at once, in the step
    // itself (a key, a drag, a series edit, a command): their undo is checked.
    static bool changing(int roll) { return (roll >= 3 && roll <= 8) || roll == 16; }
    int weights() const { return m_sync ? 23 : 22; }

    void act(int roll)
    {
        QWidget *window = activeWindow();
        // Each action as often as its weight says, out of weights().
        const std::pair<int, std::function<void()>> actions[] = {
            {3, [&] { mouse(window); }},
            {2, [&] { key(window); }},
            {1, [&] { shortcut(); }},
            {2, [&] { drag(); }},
            {1, [&] { seriesEdit(); }},
            {1, [&] { history(); }},
            {1, [&] { import(); }},
            {1, [&] { wheel(window); }},
            {1, [&] { resizeControl(); }},
            {1, [&] { assignProperty(); }},
            {1, [&] {
                 m_control->Refresh(zntPlanShowType(pick(6) - 1));
                 checkAlarms();
             }},
            {1, [&] { m_cancelling ? void() : changeRecords(); }},
            {1, [&] { command(); }},
            {2, [&] { answerWindows(); }},
            {1, [&] { tick(); }},
            {1, [&] { chance(10) ? m_plan->setAlarms(Alarms::fromRecords(*m_plan->Schedules(), *m_plan->ToDoS())) : void(); }},
            {1, [&] {
                 if (auto *grid = m_control->findChild<QAbstractScrollArea *>("Lista"))
                     grid->verticalScrollBar()->setValue(pick(grid->verticalScrollBar()->maximum() + 1));
             }},
            {m_sync ? 1 : 0, [&] { server(); }}};
        for (const auto &[weight, action] : actions) {
            if ((roll -= weight) < 0)
                return action();
        }
    }

    // Posted, not timed: a timer never fires again while its own slot waits in an
    // editor's event loop, a posted step does.
    void postStep()
    {
        QMetaObject::invokeMethod(this, [this] { step(); }, Qt::QueuedConnection);
    }

    void step()
    {
        if (m_settling) { // a sync settling for a check: the steps wait
            QTimer::singleShot(20, this, [this] { step(); });
            return;
        }
        if (m_done >= m_steps) {
            closeEverything(); // lets waiting commands return
            // A step still under way may open another editor as it returns (a
            // double click's command): keep closing until every step is back.
            if (m_depth > 0)
                postStep();
            else
                qApp->quit();
            return;
        }
        postStep();
        const int number = m_step = ++m_done;
        if (m_trace)
            std::fprintf(stderr, "step %d depth %d\n", number, m_depth);
        // A step that may change a record is checked for its undo, when it ends with one change
        // of its own on top of a stack that had nothing to redo (a push drops what there was to
        // redo); in one of two the host changes and takes over nothing. A cancelling host vetoes
        // every change, undos too: the check after every step covers it.
        const int roll = pick(weights());
        const QUndoStack *stack = m_control->undoStack();
        const int count = stack->count();
        // What a sync brings changes records too: the steps it runs in are not compared.
        if (syncing() || m_syncEvents != m_baselineEvents) {
            m_baselineEvents = m_syncEvents;
            m_before = m_cancelling ? contents(*m_plan) : m_before;
        }
        const bool quietSync = !syncing();
        const bool watched = !m_cancelling && changing(roll) && stack->index() == count && quietSync;
        const QString before = watched ? records() : QString();
        const int changes = m_hostChanges;
        const bool wasQuiet = std::exchange(m_quiet, m_quiet || (watched && chance(2)));
        ++m_depth;
        try {
            act(roll);
        } catch (const Error &) {
            // a host call may be refused with an Error
        }
        --m_depth;
        m_quiet = wasQuiet;
        m_step = number;
        if (std::exchange(m_savedChanges, m_hostChanges) != m_hostChanges)
            m_store->save(); // the host's own changes; the control's are in the store already
        const bool synced = !quietSync || syncing() || m_syncEvents != m_baselineEvents;
        if (!before.isNull() && !synced && m_hostChanges == changes && m_done == number && stack->count() == count + 1
            && stack->index() == count + 1)
            checkUndo(before);
        if (synced) {
            m_baselineEvents = m_syncEvents;
            m_before = m_cancelling ? contents(*m_plan) : m_before;
        }
        if (const QString now = m_cancelling ? contents(*m_plan) : QString(); now != (m_cancelling ? m_before : QString()))
            fail("a cancelling host's records changed", m_before, now);
        if (m_sync && number % 500 == 0) // an editor may be open: a sync runs then too
            checkServer(number);
        if (m_depth == 0 && number % 100 == 0)
            checkStore(number);
    }

    // Says what went wrong, with the records that differ between the two snapshots when given.
    [[noreturn]] void fail(const char *what, const QString &expected = {}, const QString &found = {})
    {
        std::fprintf(stderr, "dayvex_monkey: seed %llu step %d: %s\n", static_cast<unsigned long long>(m_seed), m_step,
                     what);
        const QStringList a = expected.split('\n'), b = found.split('\n');
        for (qsizetype i = 0, shown = 0; i < qMax(a.size(), b.size()); ++i)
            if (a.value(i) != b.value(i) && shown++ < 6)
                std::fprintf(stderr, "  expected %s\n  found    %s\n", qPrintable(a.value(i)), qPrintable(b.value(i)));
        std::abort();
    }

    // The store, opened afresh, holds the plan's records.
    void checkStore(int number)
    {
        m_step = number;
        auto read = std::make_shared<DayvexData>();
        LocalStore reopened(read);
        reopened.open(m_store->path());
        ++m_checked[3];
        if (const QString held = contents(*read), plan = contents(*m_plan); held != plan)
            fail("the store, reopened, holds other records than the plan", plan, held);
    }

    // After a Refresh the alarm list is the one the records ask for, in its order.
    void checkAlarms()
    {
        const auto alarmsOf = [](const Alarms &alarms) {
            QStringList out;
            for (const auto &alarm : alarms)
                out << alarm->Key + alarm->AlarmType + alarm->AlarmEventKey
                           + QString::number(alarm->AlarmDateTime.value(), 'g', 17);
            return out;
        };
        ++m_checked[4];
        if (alarmsOf(*m_plan->Alarms()) != alarmsOf(*Alarms::fromRecords(*m_plan->Schedules(), *m_plan->ToDoS())))
            fail("after a Refresh the alarm list is not the one the records ask for");
    }

    QWidgetList otherWindows() const
    {
        QWidgetList out;
        for (QWidget *w : QApplication::topLevelWidgets()) {
            if (w->isVisible() && w != m_control.get())
                out << w;
        }
        return out;
    }

    void closeEverything()
    {
        for (QWidget *w : otherWindows())
            w->close();
    }

    std::mt19937_64 m_random;
    quint64 m_seed;
    int m_steps;
    bool m_cancelling;
    bool m_trace;
    int m_done = 0;
    int m_step = 0; // the step under way, for the report of a failure
    int m_depth = 0;
    bool m_quiet = false; // the host changes and takes over nothing: what records become is the control's doing
    int m_hostChanges = 0; // changes the host made itself, which the store gets by a save
    int m_savedChanges = 0;
    int m_checked[6] = {}; // how often each check ran, as the last lines say
    QDateTime m_now;
    QTemporaryDir m_dir;
    std::shared_ptr<DayvexData> m_plan;
    std::unique_ptr<LocalStore> m_store;
    std::unique_ptr<zntDayvex> m_control;
    QString m_before;
    // With --sync:
    std::unique_ptr<Radicale> m_server;
    std::unique_ptr<CalDavSync> m_sync;
    bool m_paused = false;   // the server's process stopped for a while
    bool m_settling = false; // a check waits for a sync: no steps meanwhile
    int m_syncEvents = 0;    // the sync's signals so far
    int m_baselineEvents = 0;
    int m_syncs[2] = {};     // syncs that ended well, and not
    int m_serverRestarts = 0;
    int m_serverPauses = 0;
    QSet<QString> m_refused; // UIDs whose records the server would not take
};

} // namespace

// The component logs what nothing could take (a failing handler, a refused
// gesture); thousands of them say nothing here. Only --trace shows them.
bool showMessages = false;
void quietMessages(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    if (showMessages || type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(message));
    if (type == QtFatalMsg)
        std::abort();
}

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    qInstallMessageHandler(quietMessages);
    quint64 seed = 1;
    int steps = 1000;
    bool cancelling = false;
    bool sync = false;
    bool trace = false;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--seed") && i + 1 < argc)
            seed = QByteArray(argv[++i]).toULongLong();
        else if (!std::strcmp(argv[i], "--steps") && i + 1 < argc)
            steps = QByteArray(argv[++i]).toInt();
        else if (!std::strcmp(argv[i], "--cancelling"))
            cancelling = true;
        else if (!std::strcmp(argv[i], "--sync"))
            sync = true;
        else if (!std::strcmp(argv[i], "--trace"))
            trace = showMessages = true;
    }
    if (sync && Radicale::executable().isEmpty()) {
        std::fprintf(stderr, "dayvex_monkey: radicale is missing (sudo apt-get install radicale): skipped\n");
        return 77;
    }
    Monkey monkey(seed, steps, cancelling, sync, trace);
    return monkey.run();
}
