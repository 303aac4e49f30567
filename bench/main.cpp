// Times the control's redraws over generated agendas: n appointments over a
// year, v of them in the week on show and v in the week after it. Each figure is
// printed with its target at 100,000 appointments and "ok" or "over":
//   figure          n       v     unit   median      min      max   target  verdict
// Without arguments it runs every configuration up to 1,000,000 appointments
// (those take minutes each), each in a fresh process so that the memory figures
// of one do not carry over to the next, then 10,000 Refresh cycles, and ends
// with the ratios the redraw's growth is held to, each with its target.

#include "seriesbench.h"
#include "syncbench.h"

#include <internals.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QFile>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QProcess>
#include <QRandomGenerator>
#include <QTabBar>
#include <QThread>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

using namespace dayvex;

namespace {

constexpr int Runs = 9;
const QDate ShownDay(2026, 6, 17); // a Wednesday; its week is 15 to 21 June
constexpr int TargetAppointments = 100000;

// One measured figure, as a child process hands it to the parent.
struct Figure
{
    QString name;
    int n = 0;
    int v = 0;
    QString unit;
    double median = 0;
    double min = 0;
    double max = 0;
};

// The targets, which hold at 100,000 appointments; none for a figure that has none.
std::optional<double> targetOf(const Figure &f)
{
    if (f.n != TargetAppointments)
        return std::nullopt;
    static const std::map<QString, double> common{
        {QStringLiteral("refresh.month"), 16},  {QStringLiteral("switch.view"), 8},
        {QStringLiteral("move.week"), 8},       {QStringLiteral("refill.todos"), 2},
        {QStringLiteral("command.newkey"), 0.1}, {QStringLiteral("memory.data"), 450},
        {QStringLiteral("memory.control"), 10}};
    if (f.name == QLatin1String("refresh.day") || f.name == QLatin1String("refresh.week"))
        return f.v <= 100 ? 8 : 16;
    if (f.name == QLatin1String("memory.control") && f.v < 1000)
        return std::nullopt; // the target is for a week of 1,000 boxes
    const auto it = common.find(f.name);
    return it == common.end() ? std::nullopt : std::optional<double>(it->second);
}

void printHeading()
{
    std::printf("%-15s %7s %5s %5s %9s %9s %9s %8s  %s\n", "figure", "n", "v", "unit", "median", "min", "max",
                "target", "verdict");
}

void printFigure(const Figure &f)
{
    const std::optional<double> target = targetOf(f);
    const QByteArray targetText = target ? QByteArray::number(*target) : QByteArray("-");
    const char *verdict = !target ? "" : f.median <= *target ? "ok" : "over";
    std::printf("%-15s %7d %5d %5s %9.3f %9.3f %9.3f %8s  %s\n", qPrintable(f.name), f.n, f.v, qPrintable(f.unit),
                f.median, f.min, f.max, targetText.constData(), verdict);
    std::fflush(stdout);
}

// A child's line: "figure n v unit median min max".
std::optional<Figure> parseFigure(const QByteArray &line)
{
    const QList<QByteArray> parts = line.simplified().split(' ');
    if (parts.size() != 7)
        return std::nullopt;
    return Figure{QString::fromLatin1(parts[0]), parts[1].toInt(), parts[2].toInt(), QString::fromLatin1(parts[3]),
                  parts[4].toDouble(), parts[5].toDouble(), parts[6].toDouble()};
}

// Resident memory of the process in KiB, from the kernel's status file.
// Bytes the heap has handed out and not taken back: unlike the resident size,
// it does not hide data in memory that an earlier window gave back.
double heapBytesInUse()
{
    return double(mallinfo2().uordblks);
}

long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    }
    return -1;
}

// addMs: where the milliseconds of the n Schedules::Add calls go, when wanted.
void fill(DayvexData &data, int n, int v, double *addMs = nullptr)
{
    QRandomGenerator random(20261121);
    QElapsedTimer adding;
    adding.start();
    auto schedules = data.Schedules();
    const QDate monday = ShownDay.addDays(1 - ShownDay.dayOfWeek());
    const QDate yearStart(2026, 1, 1);
    for (int i = 0; i < n; ++i) {
        QDate day;
        if (i < 2 * v) {
            // The week on show and the week after it, which "move a week" shows: v each.
            day = monday.addDays((i < v ? 0 : 7) + random.bounded(7));
        } else {
            do
                day = yearStart.addDays(random.bounded(365));
            while (day >= monday && day < monday.addDays(14));
        }
        const Date start = Date::fromDateTime(QDateTime(day, QTime(8 + random.bounded(11), 30 * random.bounded(2))));
        schedules->Add(QString::number(i + 1), QStringLiteral("Rossi"), start, start.addMinutes(30 + 30 * random.bounded(4)),
                       QString(), QStringLiteral("Contact %1").arg(i), QStringLiteral("Work"),
                       QStringLiteral("Appointment number %1 with a description").arg(i), QStringLiteral("Room"),
                       i % 4 == 0 ? start.addMinutes(-15) : Date(), QString(), i % 3 == 0 ? 0xC8F0FF : 0);
    }
    if (addMs)
        *addMs = double(adding.nsecsElapsed()) / 1e6;
    auto todos = data.ToDoS();
    for (int i = 0; i < 1000; ++i)
        todos->Add(QString::number(i + 1), QStringLiteral("Rossi"), QStringLiteral("To-do %1").arg(i), QString(),
                   Date::fromDate(ShownDay.addDays(i % 30)), qint16(random.bounded(10)), QStringLiteral("Project"),
                   i % 5 == 0, Date(), Date());
    // The list of pending alarms is the data's too: the first Refresh would build it
    // inside DayvexData, and every later one keeps it while the reminders stay.
    data.setAlarms(Alarms::fromRecords(*data.Schedules(), *data.ToDoS()));
    // So is the appointments' order by start, which the first Refresh builds.
    (void)data.Schedules()->verifiedOrder();
}

// How a figure leaves a run: the machine line for the parent, the table line otherwise.
bool g_machineLines = false;

void emitFigure(const Figure &f)
{
    if (g_machineLines) {
        std::printf("%s %d %d %s %.4f %.4f %.4f\n", qPrintable(f.name), f.n, f.v, qPrintable(f.unit), f.median, f.min,
                    f.max);
        std::fflush(stdout);
    } else {
        printFigure(f);
    }
}

void report(int n, int v, const char *figure, std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    emitFigure({QString::fromLatin1(figure), n, v, QStringLiteral("ms"), samples[samples.size() / 2], samples.front(),
                samples.back()});
}

void reportValue(int n, int v, const char *figure, const char *unit, double value)
{
    emitFigure({QString::fromLatin1(figure), n, v, QString::fromLatin1(unit), value, value, value});
}

// Milliseconds of one step. painted: the control is repainted before the clock
// stops, as a Refresh promises a complete repaint.
std::vector<double> measure(zntDayvex &control, const std::function<void(int)> &step, bool painted = true)
{
    std::vector<double> samples;
    step(-1); // warm up
    control.repaint();
    for (int run = 0; run < Runs; ++run) {
        QElapsedTimer clock;
        clock.start();
        step(run);
        if (painted)
            control.repaint();
        samples.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    return samples;
}

// Qt's costs of a first window (fonts and their caches, the style, the window
// system's buffers) are paid once per process, whatever the window shows: a
// window of the same size with the same kinds of widgets pays them before the
// control's memory is measured.
void warmUpQt()
{
    zntDayvex warm;
    warm.InitProperties();
    auto plan = std::make_shared<DayvexData>();
    fill(*plan, 200, 50);
    warm.setPlan(plan);
    warm.setStartDay(Date::fromDate(ShownDay));
    warm.resize(1280, 800);
    warm.show();
    for (const zntPlanShowType style : {zntPlanShowDay, zntPlanShowWeek, zntPlanShowMonth}) {
        warm.Refresh(style);
        warm.repaint();
    }
    QCoreApplication::processEvents();
}

// The local store: reading every record of a file into a new agenda, and
// writing one changed appointment as the control's journal does.
void measureStore(const std::shared_ptr<DayvexData> &data, int n, int v)
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bench.sqlite"));
    LocalStore(data).open(path);
    std::vector<double> opens;
    for (int run = 0; run < 5; ++run) {
        auto loaded = std::make_shared<DayvexData>();
        LocalStore store(loaded);
        QElapsedTimer clock;
        clock.start();
        store.open(path);
        opens.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    report(n, v, "store.open", opens);

    auto loaded = std::make_shared<DayvexData>();
    LocalStore store(loaded);
    store.open(path);
    const std::shared_ptr<Schedule> changed = loaded->Schedules()->Item(1);
    std::vector<double> writes;
    for (int run = 0; run < Runs; ++run) {
        changed->Description = QStringLiteral("changed %1").arg(run);
        QElapsedTimer clock;
        clock.start();
        store.recordChanged(changed, false);
        writes.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    report(n, v, "store.write", writes);
}

// Microseconds per Users::Add of n users into an empty list.
double usersAddMicroseconds(int n)
{
    Users users;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < n; ++i)
        users.Add(QStringLiteral("User %1").arg(i));
    return double(clock.nsecsElapsed()) / 1e3 / n;
}

// Resident memory after 100 and after 10,000 week Refresh cycles, each painted:
// a host open all day redraws that often, and must stay flat.
int runCycles(int n, int v)
{
    warmUpQt();
    auto data = std::make_shared<DayvexData>();
    fill(*data, n, v);
    zntDayvex control;
    control.InitProperties();
    // The plan's reminders are due by the clock: each would open a window of its
    // own, which is no cost of a redraw.
    control.setDisableReminderPopUp(true);
    control.setPlan(data);
    control.setStartDay(Date::fromDate(ShownDay));
    control.resize(1280, 800);
    control.show();
    QCoreApplication::processEvents();
    const std::pair<int, const char *> marks[] = {{100, "memory.after100"}, {10000, "memory.after10000"}};
    int done = 0;
    for (const auto &[cycles, figure] : marks) {
        for (; done < cycles; ++done) {
            control.Refresh(done % 3 == 0 ? zntPlanShowWeek : zntPlanShowDefault);
            control.repaint();
            QCoreApplication::processEvents();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        reportValue(n, v, figure, "MiB", double(residentKiB()) / 1024);
    }
    return 0;
}

int runOne(int n, int v)
{
    warmUpQt();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const double heapBefore = heapBytesInUse();
    // The first frame: the plan filled, the control shown and drawn once.
    QElapsedTimer firstFrame;
    firstFrame.start();
    auto data = std::make_shared<DayvexData>();
    double addMs = 0;
    fill(*data, n, v, &addMs);
    const double fillMs = double(firstFrame.nsecsElapsed()) / 1e6;
    const double heapWithData = heapBytesInUse();
    const long withData = residentKiB();

    firstFrame.restart();
    zntDayvex control;
    control.InitProperties();
    control.setPlan(data);
    control.setStartDay(Date::fromDate(ShownDay));
    control.resize(1280, 800);
    control.show();
    QCoreApplication::processEvents();
    control.Refresh(zntPlanShowWeek);
    QCoreApplication::processEvents();
    const double drawMs = double(firstFrame.nsecsElapsed()) / 1e6;
    reportValue(n, v, "first.frame", "ms", fillMs + drawMs);
    reportValue(n, v, "add.schedules", "us", addMs * 1e3 / n); // per appointment
    reportValue(n, v, "memory.data", "B", (heapWithData - heapBefore) / n); // per appointment
    reportValue(n, v, "memory.control", "MiB", double(residentKiB() - withData) / 1024);

    const std::pair<zntPlanShowType, const char *> views[] = {
        {zntPlanShowDay, "refresh.day"}, {zntPlanShowWeek, "refresh.week"}, {zntPlanShowMonth, "refresh.month"}};
    for (const auto &[style, figure] : views) {
        control.Refresh(style);
        report(n, v, figure, measure(control, [&](int) { control.Refresh(); }));
    }

    // A host adds an appointment with a reminder to the week on show, then redraws.
    control.Refresh(zntPlanShowWeek);
    {
        const Date at = Date::fromDateTime(QDateTime(ShownDay, QTime(9, 0)));
        report(n, v, "add.refresh", measure(control, [&](int run) {
            data->Schedules()->Add(QStringLiteral("added%1").arg(run + 1), QString(), at, at.addMinutes(30), QString(),
                                   QString(), QString(), QStringLiteral("Added"), QString(), at.addMinutes(-10));
            control.Refresh();
        }));
        for (int run = -1; run < Runs; ++run)
            data->Schedules()->Remove(QStringLiteral("added%1").arg(run + 1));
    }

    // A click on each tab in turn, as a user switches views.
    auto *tabs = control.findChild<QTabBar *>(QStringLiteral("TipoVis"));
    report(n, v, "switch.view", measure(control, [&](int run) { tabs->setCurrentIndex((run + 3) % 3); }));

    control.Refresh(zntPlanShowWeek);
    report(n, v, "move.week", measure(control, [&](int run) {
        control.setStartDay(Date::fromDate(ShownDay.addDays(run % 2 == 0 ? 7 : 0)));
    }));

    report(n, v, "refill.todos", measure(control, [&](int) {
        auto *grid = control.findChild<ToDoGrid *>(QStringLiteral("DaFare"));
        grid->fill(*data->ToDoS(), {QStringLiteral("pri"), QStringLiteral("project"), QStringLiteral("to do")});
    }));

    // 500 appointments in the week on show as singles, then as weekly series begun a
    // year before: the occurrences computed on demand against records that are there.
    // The week moves back first: the move above may have left the next one on show.
    control.setStartDay(Date::fromDate(ShownDay));
    control.Refresh(zntPlanShowWeek);
    const QDate monday = ShownDay.addDays(1 - ShownDay.dayOfWeek());
    for (const bool series : {false, true}) {
        for (int i = 0; i < 500; ++i) {
            Schedule s;
            s.Key = QStringLiteral("w%1").arg(i);
            s.StartDate = Date::fromDateTime(QDateTime(monday.addDays(i % 7 - (series ? 364 : 0)), QTime(8 + i % 10, 0)));
            s.EndDate = s.StartDate.addMinutes(30);
            s.Description = QStringLiteral("Weekly %1").arg(i);
            s.Recurrence = series ? QStringLiteral("FREQ=WEEKLY") : QString();
            data->Schedules()->Add(s);
        }
        report(n, v, series ? "refresh.series" : "refresh.singles", measure(control, [&](int) { control.Refresh(); }));
        for (int i = 0; i < 500; ++i)
            data->Schedules()->Remove(QStringLiteral("w%1").arg(i));
    }

    // A file of 10,000 events, 500 of them weekly series, read into a plan of its own, series kept whole.
    {
        QByteArray file = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//bench//EN\r\n";
        for (int i = 0; i < 10000; ++i) {
            const QDate day = ShownDay.addDays(i % 365 - 180);
            file += "BEGIN:VEVENT\r\nUID:bench-" + QByteArray::number(i) + "\r\nDTSTART:"
                    + day.toString(QStringLiteral("yyyyMMdd")).toLatin1() + "T0" + QByteArray::number(8 + i % 2)
                    + "0000\r\nDURATION:PT45M\r\nSUMMARY:Event " + QByteArray::number(i) + "\r\n"
                    + (i % 20 == 0 ? "RRULE:FREQ=WEEKLY;COUNT=52\r\n" : "") + "END:VEVENT\r\n";
        }
        file += "END:VCALENDAR\r\n";
        ImportOptions keep;
        keep.keepSeries = true;
        report(n, v, "import.ics", measure(control, [&](int) {
            DayvexData into;
            importICalendarData(file, into, keep);
        }, false));
    }

    // One pointer step of a box's drag across the week: ghost, tooltip and what they repaint.
    control.setDragEditing(true);
    control.Refresh(zntPlanShowWeek);
    if (auto *grid = control.findChild<AgendaGrid *>(QStringLiteral("Lista")); grid && grid->boxCount() > 0) {
        AppointmentBox *box = grid->box(0);
        const auto send = [box](QEvent::Type type, QPoint at, Qt::MouseButtons buttons) {
            QMouseEvent event(type, QPointF(at), QPointF(box->mapToGlobal(at)), Qt::LeftButton, buttons, {});
            QCoreApplication::sendEvent(box, &event);
        };
        const QPoint grab(box->width() / 2, box->height() / 2);
        send(QEvent::MouseButtonPress, grab, Qt::LeftButton);
        send(QEvent::MouseMove, grab + QPoint(0, 20), Qt::LeftButton);
        report(n, v, "drag.frame", measure(control, [&](int run) {
            send(QEvent::MouseMove, grab + QPoint(run % 7 * 40, run % 5 * 30), Qt::LeftButton);
            QCoreApplication::processEvents(); // the frame: the repaint of what the step changed
        }, false));
        // A figure of moves that started no drag would be of nothing.
        if (!grid->viewport()->findChild<QWidget *>(QStringLiteral("dropGhost"))->isVisible())
            std::fprintf(stderr, "dayvex-bench: drag.frame: the drag never started\n");
        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(box, &escape);
        send(QEvent::MouseButtonRelease, grab, Qt::NoButton);
    }

    // A New command that the host handles: a key from every appointment, the add and the redraw.
    QObject::connect(&control, &zntDayvex::BeforeScheduleAdd,
                     [](std::shared_ptr<Schedule> &mSca, bool &ExternalHandled, bool &) {
                         mSca->Description = QStringLiteral("bench");
                         ExternalHandled = true;
                     });
    // A model call: nothing to paint.
    report(n, v, "command.newkey", measure(control, [&](int) { (void)data->Schedules()->NewKey(); }, false));
    // What each Refresh pays to know that nothing changed in place: the pass of the
    // order by start, and the alarm list's check of the records and of its alarms.
    report(n, v, "check.order", measure(control, [&](int) { (void)data->Schedules()->verifiedOrder(); }, false));
    report(n, v, "check.alarms", measure(control, [&](int) {
        data->setAlarms(Alarms::rebuilt(data->Alarms(), *data->Schedules(), *data->ToDoS()));
    }, false));
    report(n, v, "command.new", measure(control, [&](int) { control.mnNuovo_Click(); }));
    // Per user, of as many users as appointments up to the 10,000 of a large organisation.
    reportValue(n, v, "add.users", "us", usersAddMicroseconds(std::min(n, 10000)));
    // Past 100,000 appointments writing and reading the file would take most of the run.
    if (n <= TargetAppointments)
        measureStore(data, n, v);
    return 0;
}

// The ratios the redraw's growth is held to, each of two figures of this run.
void printRatios(const std::map<std::tuple<QString, int, int>, double> &medians)
{
    struct Ratio
    {
        const char *name;
        const char *over;
        std::tuple<QString, int, int> top, bottom;
        double target;
    };
    std::vector<Ratio> ratios;
    const auto f = [](const char *figure, int n, int v) { return std::make_tuple(QString::fromLatin1(figure), n, v); };
    for (const char *figure : {"refresh.day", "refresh.week", "refresh.month", "switch.view", "move.week"}) {
        ratios.push_back({figure, "1k-1M", f(figure, 1000000, 100), f(figure, 1000, 100), 1.3});
        ratios.push_back({figure, "2k-1M", f(figure, 1000000, 1000), f(figure, 2000, 1000), 1.3});
    }
    ratios.push_back({"add.refresh", "/week", f("add.refresh", 100000, 100), f("refresh.week", 100000, 100), 1.2});
    ratios.push_back({"first.frame", "1k-100k", f("first.frame", 100000, 100), f("first.frame", 1000, 100), 3});
    ratios.push_back({"add.users", "1k-10k", f("add.users", 10000, 100), f("add.users", 1000, 100), 1.2});
    ratios.push_back({"add.schedules", "1k-100k", f("add.schedules", 100000, 100), f("add.schedules", 1000, 100), 1.2});
    // Occurrences on demand: a week of 500 weekly series against the same week of singles.
    for (const auto &[n, at] : {std::pair{1000, "1k"}, std::pair{100000, "100k"}, std::pair{1000000, "1M"}})
        ratios.push_back({"series/singles", at, f("refresh.series", n, 100), f("refresh.singles", n, 100), 1.5});
    ratios.push_back({"memory.cycles", "100-10k", f("memory.after10000", 1000, 100), f("memory.after100", 1000, 100),
                      1.05});
    std::printf("\n%-15s %7s %5s %5s %9s %9s %9s %8s  %s\n", "ratio", "of", "v", "", "value", "", "", "target",
                "verdict");
    for (const Ratio &r : ratios) {
        const auto top = medians.find(r.top);
        const auto bottom = medians.find(r.bottom);
        if (top == medians.end() || bottom == medians.end() || bottom->second <= 0)
            continue;
        const double value = top->second / bottom->second;
        std::printf("%-15s %7s %5d %5s %9.2f %9s %9s %8.2f  %s\n", r.name, r.over, std::get<2>(r.top), "x", value, "",
                    "", r.target, value <= r.target ? "ok" : "over");
    }
    std::fflush(stdout);
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Dayvex redraw benchmark."));
    parser.addHelpOption();
    const QCommandLineOption appointments(QStringLiteral("n"), QStringLiteral("Appointments over the year."),
                                          QStringLiteral("count"));
    const QCommandLineOption inWeek(QStringLiteral("v"), QStringLiteral("Of them in the week on show."),
                                    QStringLiteral("count"));
    QCommandLineOption machine(QStringLiteral("machine-lines"), QStringLiteral("One plain line per figure."));
    machine.setFlags(QCommandLineOption::HiddenFromHelp);
    const QCommandLineOption cycles(QStringLiteral("cycles"),
                                    QStringLiteral("With -n and -v: resident memory after 100 and 10,000 Refresh cycles."));
    parser.addOption(cycles);
    parser.addOption(appointments);
    parser.addOption(inWeek);
    parser.addOption(machine);
    const QCommandLineOption sync(QStringLiteral("sync"), QStringLiteral("Only the CalDAV figures, over <count> events."),
                                  QStringLiteral("count"));
    parser.addOption(sync);
    const QCommandLineOption series(QStringLiteral("series"), QStringLiteral("Only the series' occurrence walks."));
    parser.addOption(series);
    parser.process(app);
    if (parser.isSet(sync))
        return runSyncBench(parser.value(sync).toInt());
    if (parser.isSet(series))
        return runSeriesBench();

    g_machineLines = parser.isSet(machine);
    if (parser.isSet(appointments)) {
        const int n = parser.value(appointments).toInt();
        const int v = parser.value(inWeek).toInt();
        if (n < 2 * v || v < 0) {
            std::fprintf(stderr, "dayvex-bench: n must be at least twice v\n");
            return 2;
        }
        if (!g_machineLines)
            printHeading();
        return parser.isSet(cycles) ? runCycles(n, v) : runOne(n, v);
    }

    std::printf("dayvex-bench: %s, %d cores\n",
                qPrintable(QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-dd HH:mm 'UTC'"))),
                QThread::idealThreadCount());
    printHeading();
    // Every configuration, the growth's bases included: 2,000 is the least plan
    // that holds two weeks of 1,000. The two of 1,000,000 take minutes each.
    const std::pair<int, int> configurations[] = {{1000, 100},   {2000, 1000},    {10000, 100},  {100000, 100},
                                                  {100000, 1000}, {1000000, 100}, {1000000, 1000}};
    std::map<std::tuple<QString, int, int>, double> medians;
    const auto runChild = [&](int n, int v, const QStringList &extra) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        child.start(QCoreApplication::applicationFilePath(),
                    QStringList{QStringLiteral("-n"), QString::number(n), QStringLiteral("-v"), QString::number(v),
                                QStringLiteral("--machine-lines")}
                        + extra);
        while (child.state() != QProcess::NotRunning || child.canReadLine()) {
            if (!child.canReadLine() && !child.waitForReadyRead(-1) && child.state() == QProcess::NotRunning
                && !child.canReadLine())
                break;
            while (child.canReadLine()) {
                if (const std::optional<Figure> f = parseFigure(child.readLine())) {
                    printFigure(*f);
                    medians[{f->name, f->n, f->v}] = f->median;
                }
            }
        }
        child.waitForFinished(-1);
        if (child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0) {
            std::fprintf(stderr, "dayvex-bench: n=%d v=%d failed\n", n, v);
            return false;
        }
        return true;
    };
    for (const auto &[n, v] : configurations) {
        if (!runChild(n, v, {}))
            return 1;
    }
    if (!runChild(1000, 100, {QStringLiteral("--cycles")}))
        return 1;
    printRatios(medians);    return 0;
}
