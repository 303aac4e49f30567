// Times the control's redraws over generated agendas and prints one line per
// figure:
//   dayvex-bench n=<appointments> v=<in the week shown> figure=<name> unit=ms median=.. min=.. max=.. runs=..
//   dayvex-bench n=.. v=.. figure=<memory.*> unit=KiB value=..
// Without arguments it runs every configuration, each in a fresh process so that
// the memory figures of one do not carry over to the next.

#include <dayvex/dayvex.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTabBar>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <vector>

using namespace dayvex;

namespace {

constexpr int Runs = 9;
const QDate ShownDay(2026, 6, 17); // a Wednesday; its week is 15 to 21 June

// Resident memory of the process in KiB, from the kernel's status file.
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

void fill(DayvexData &data, int n, int v)
{
    QRandomGenerator random(20261121);
    auto schedules = data.Schedules();
    const QDate monday = ShownDay.addDays(1 - ShownDay.dayOfWeek());
    const QDate yearStart(2026, 1, 1);
    for (int i = 0; i < n; ++i) {
        QDate day;
        if (i < v) {
            day = monday.addDays(random.bounded(7)); // the week on show, crowded
        } else {
            do
                day = yearStart.addDays(random.bounded(365));
            while (day >= monday && day < monday.addDays(7));
        }
        const Date start = Date::fromDateTime(QDateTime(day, QTime(8 + random.bounded(11), 30 * random.bounded(2))));
        schedules->Add(QString::number(i + 1), QStringLiteral("Rossi"), start, start.addMinutes(30 + 30 * random.bounded(4)),
                       QString(), QStringLiteral("Contact %1").arg(i), QStringLiteral("Work"),
                       QStringLiteral("Appointment number %1 with a description").arg(i), QStringLiteral("Room"),
                       i % 4 == 0 ? start.addMinutes(-15) : Date(), QString(), i % 3 == 0 ? 0xC8F0FF : 0);
    }
    auto todos = data.ToDoS();
    for (int i = 0; i < 1000; ++i)
        todos->Add(QString::number(i + 1), QStringLiteral("Rossi"), QStringLiteral("To-do %1").arg(i), QString(),
                   Date::fromDate(ShownDay.addDays(i % 30)), qint16(random.bounded(10)), QStringLiteral("Project"),
                   i % 5 == 0, Date(), Date());
}

void report(int n, int v, const char *figure, std::vector<double> samples)
{
    std::sort(samples.begin(), samples.end());
    std::printf("dayvex-bench n=%d v=%d figure=%s unit=ms median=%.3f min=%.3f max=%.3f runs=%zu\n", n, v, figure,
                samples[samples.size() / 2], samples.front(), samples.back(), samples.size());
    std::fflush(stdout);
}

// Milliseconds of one step, painted: the control is repainted before the clock stops.
std::vector<double> measure(zntDayvex &control, const std::function<void(int)> &step)
{
    std::vector<double> samples;
    step(-1); // warm up
    control.repaint();
    for (int run = 0; run < Runs; ++run) {
        QElapsedTimer clock;
        clock.start();
        step(run);
        control.repaint();
        samples.push_back(double(clock.nsecsElapsed()) / 1e6);
    }
    return samples;
}

int runOne(int n, int v)
{
    const long before = residentKiB();
    auto data = std::make_shared<DayvexData>();
    fill(*data, n, v);
    const long withData = residentKiB();

    zntDayvex control;
    control.InitProperties();
    control.setPlan(data);
    control.setStartDay(Date::fromDate(ShownDay));
    control.resize(1280, 800);
    control.show();
    QCoreApplication::processEvents();
    control.Refresh(zntPlanShowWeek);
    QCoreApplication::processEvents();
    std::printf("dayvex-bench n=%d v=%d figure=memory.data unit=KiB value=%ld\n", n, v, withData - before);
    std::printf("dayvex-bench n=%d v=%d figure=memory.control unit=KiB value=%ld\n", n, v, residentKiB() - withData);

    const std::pair<zntPlanShowType, const char *> views[] = {
        {zntPlanShowDay, "refresh.day"}, {zntPlanShowWeek, "refresh.week"}, {zntPlanShowMonth, "refresh.month"}};
    for (const auto &[style, figure] : views) {
        control.Refresh(style);
        report(n, v, figure, measure(control, [&](int) { control.Refresh(); }));
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

    // A New command that the host handles: a key from every appointment, the add and the redraw.
    QObject::connect(&control, &zntDayvex::BeforeScheduleAdd,
                     [](std::shared_ptr<Schedule> &mSca, bool &ExternalHandled, bool &) {
                         mSca->Description = QStringLiteral("bench");
                         ExternalHandled = true;
                     });
    report(n, v, "command.newkey", measure(control, [&](int) { (void)data->Schedules()->NewKey(); }));
    report(n, v, "command.new", measure(control, [&](int) { control.mnNuovo_Click(); }));
    return 0;
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
    parser.addOption(appointments);
    parser.addOption(inWeek);
    parser.process(app);

    if (parser.isSet(appointments))
        return runOne(parser.value(appointments).toInt(), parser.value(inWeek).toInt());

    for (int n : {1000, 10000, 100000}) {
        for (int v : {100, 1000}) {
            QProcess child;
            child.setProcessChannelMode(QProcess::ForwardedChannels);
            child.start(QCoreApplication::applicationFilePath(),
                        {QStringLiteral("-n"), QString::number(n), QStringLiteral("-v"), QString::number(v)});
            if (!child.waitForFinished(-1) || child.exitCode() != 0) {
                std::fprintf(stderr, "dayvex-bench: n=%d v=%d failed\n", n, v);
                return 1;
            }
        }
    }
    return 0;
}
