// A random user and a random host at once: clicks, keys, wheel, resizes,
// property assignments, Refresh, record mutations, commands, editors, menus,
// pop-ups and reminder ticks, drawn from one seed so that a failing run replays.
//
//   dayvex_monkey [--seed S] [--steps N] [--cancelling] [--trace]
//
// After every step: no crash and no sanitizer finding (the build aborts on one);
// with --cancelling the host cancels every "Before" event and every reminder,
// and its records must stay exactly as they were.

#include <dayvextest.h>

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScrollBar>
#include <QTemporaryDir>
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
    Monkey(quint64 seed, int steps, bool cancelling, bool trace)
        : m_random(seed), m_seed(seed), m_steps(steps), m_cancelling(cancelling), m_trace(trace)
    {
        m_now = QDateTime(QDate(2026, 11, 16), QTime(8, 55));
        setClockSource([this] { return m_now; });
        setPromptAnswerer([this](const QString &, PromptIcon) { return chance(2); });
        setReminderSound(std::make_shared<CountingSound>());
        if (!m_dir.isValid() || ::mkfifo(QFile::encodeName(m_dir.filePath("fifo")).constData(), 0600) != 0)
            std::abort();

        m_plan = std::make_shared<DayvexData>();
        fill();
        m_control = std::make_unique<zntDayvex>();
        m_control->setPlan(m_plan);
        m_control->setGlobalAlarmsEnable(false); // ticks come from the monkey, in step
        m_control->resize(1200, 800);
        m_control->show();
        m_control->Refresh(zntPlanShowWeek);
        answerEvents();
        m_before = snapshot(*m_plan);
    }

    ~Monkey() override
    {
        setClockSource({});
        setPromptAnswerer({});
        setReminderSound({});
    }

    int run()
    {
        postStep();
        qApp->exec();
        closeEverything();
        std::printf("dayvex_monkey: seed %llu, %d steps, %s host: no finding\n",
                    static_cast<unsigned long long>(m_seed), m_done, m_cancelling ? "cancelling" : "random");
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
        for (int i = 0; i < 300; ++i) {
            const Date start = around();
            m_plan->Schedules()->Add(QString::number(i + 1), i % 3 ? "Rossi" : "Bianchi", start,
                                     Date(start.value() + (1 + pick(8)) / 48.0), "C" + QString::number(i), "Ferri",
                                     i % 2 ? "Lavoro" : "Casa", "Riunione " + QString::number(i), i % 4 ? "Sala A" : "",
                                     chance(4) ? Date(start.value() - 0.01) : Date());
        }
        for (int i = 0; i < 100; ++i)
            m_plan->ToDoS()->Add(QString::number(i + 1), "Rossi", "Chiamare " + QString::number(i), "Dettagli",
                                 around(), qint16(pick(4)), i % 2 ? "Sito" : "", chance(5), Date(),
                                 chance(4) ? around() : Date());
        m_plan->setAlarms(Alarms::fromRecords(*m_plan->Schedules(), *m_plan->ToDoS()));
    }

    // ---- the host ----

    // What the host does with an event it can answer; it never does anything
    // but cancel when the run checks that cancelling keeps the records.
    void answer(const char *event, bool &externalHandled, bool &cancel)
    {
        if (m_cancelling) {
            cancel = true;
            return;
        }
        switch (pick(8)) {
        case 0: cancel = true; break;
        case 1: externalHandled = true; break;
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
                if (!m_cancelling && chance(6) && record)
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
                    if (!m_cancelling && chance(4) && alarm)
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
        Date *fields[] = {&s.StartDate, &s.EndDate, &s.ReminderDate};
        const int which = pick(4);
        *fields[which % 3] = which < 3 ? oddDate() : Date(s.StartDate.value() - 0.1);
    }
    void mutate(ToDo &t)
    {
        if (chance(3))
            t.Priority = qint16(pick(3) ? pick(5) : -32768);
        else
            (chance(2) ? t.DueTo : t.ReminderDate) = oddDate();
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
            [&] { c.setReminderSoundFile(chance(2) ? QString() : m_dir.filePath("fifo")); }};
        any(assignments)();
    }

    void changeRecords()
    {
        const auto schedules = m_plan->Schedules();
        const auto todos = m_plan->ToDoS();
        const int s = 1 + pick(qMax(1, schedules->Count())), t = 1 + pick(qMax(1, todos->Count()));
        const int what = pick(5);
        if (what == 3)
            schedules->Add(schedules->NewKey(), "Rossi", oddDate(), oddDate(), {}, {}, {}, "Strano", {}, oddDate());
        else if (what % 2 == 0 && schedules->Count() > 0)
            what ? schedules->Remove(s) : mutate(*schedules->Item(s));
        else if (what % 2 && todos->Count() > 0)
            what == 1 ? mutate(*todos->Item(t)) : todos->Remove(t);
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

    void act()
    {
        QWidget *window = activeWindow();
        // Each action as often as its weight says, out of 16.
        const std::pair<int, std::function<void()>> actions[] = {
            {3, [&] { mouse(window); }},
            {2, [&] { key(window); }},
            {1, [&] { wheel(window); }},
            {1, [&] { resizeControl(); }},
            {1, [&] { assignProperty(); }},
            {1, [&] { m_control->Refresh(zntPlanShowType(pick(6) - 1)); }},
            {1, [&] { m_cancelling ? void() : changeRecords(); }},
            {1, [&] { command(); }},
            {2, [&] { answerWindows(); }},
            {1, [&] { tick(); }},
            {1, [&] { chance(10) ? m_plan->setAlarms(Alarms::fromRecords(*m_plan->Schedules(), *m_plan->ToDoS())) : void(); }},
            {1, [&] {
                 if (auto *grid = m_control->findChild<QAbstractScrollArea *>("Lista"))
                     grid->verticalScrollBar()->setValue(pick(grid->verticalScrollBar()->maximum() + 1));
             }}};
        int roll = pick(16);
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
        const int number = ++m_done;
        if (m_trace)
            std::fprintf(stderr, "step %d depth %d\n", number, m_depth);
        ++m_depth;
        try {
            act();
        } catch (const Error &) {
            // a host call may be refused with an Error
        }
        --m_depth;
        if (m_cancelling && snapshot(*m_plan) != m_before) {
            std::fprintf(stderr, "dayvex_monkey: seed %llu step %d: a cancelling host's records changed\n",
                         static_cast<unsigned long long>(m_seed), number);
            std::abort();
        }
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
    int m_depth = 0;
    QDateTime m_now;
    QTemporaryDir m_dir;
    std::shared_ptr<DayvexData> m_plan;
    std::unique_ptr<zntDayvex> m_control;
    QString m_before;
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
    bool trace = false;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--seed") && i + 1 < argc)
            seed = QByteArray(argv[++i]).toULongLong();
        else if (!std::strcmp(argv[i], "--steps") && i + 1 < argc)
            steps = QByteArray(argv[++i]).toInt();
        else if (!std::strcmp(argv[i], "--cancelling"))
            cancelling = true;
        else if (!std::strcmp(argv[i], "--trace"))
            trace = showMessages = true;
    }
    Monkey monkey(seed, steps, cancelling, trace);
    return monkey.run();
}
