// A long run of what a person and a server do to an agenda: random edits
// through the object model, written by the store; redraws of random views and
// days; a sync with a Radicale started here every few seconds. Resident memory
// is sampled each minute; the curve and whether it stays flat come at the end.
//   dayvex_soak MINUTES [SEED]
#include <radicale.h>

#include <dayvex/control/zntdayvex.h>
#include <dayvex/exchange/icalendar.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/store/localstore.h>
#include <dayvex/sync/caldavsync.h>
#include <dayvex/sync/secretstore.h>

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QImage>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>

using namespace dayvex;

namespace {

qint64 residentKb()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toLongLong();
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const int minutes = argc > 1 ? std::max(1, atoi(argv[1])) : 30;
    QRandomGenerator random(argc > 2 ? quint32(atoi(argv[2])) : 1);
    if (Radicale::executable().isEmpty()) {
        std::fprintf(stderr, "radicale is missing: sudo apt-get install radicale\n");
        return 77;
    }
    Radicale server;
    if (!server.start()) {
        std::fprintf(stderr, "radicale did not start\n");
        return 1;
    }
    QTemporaryDir dir;
    auto data = std::make_shared<DayvexData>();
    LocalStore store(data);
    store.open(dir.filePath(QStringLiteral("agenda.sqlite")));
    CalDavSync sync(store, data, iCalendarResources());
    sync.setSecretStore(std::make_shared<MemorySecretStore>());
    sync.setAccount({server.server(), server.user});
    sync.setPassword(server.password);
    sync.setCalendar(server.calendar());

    zntDayvex control;
    control.resize(1000, 700);
    control.setPlan(data);
    control.show();

    const QDate first(2027, 3, 1);
    QElapsedTimer clock;
    clock.start();
    std::vector<qint64> samples{residentKb()};
    std::printf("minute 0: %lld KiB\n", (long long)samples.back());
    std::fflush(stdout);
    qint64 edits = 0, redraws = 0, syncs = 0, failedSyncs = 0, nextKey = 1;
    qint64 lastSync = -10000;
    while (clock.elapsed() < qint64(minutes) * 60000) {
        // An edit: add, change or remove an appointment, as the control's journal writes it.
        auto schedules = data->Schedules();
        // About 200 records throughout: memory that grows is then the program's, not the agenda's.
        const int pick = random.bounded(10);
        const qint32 count = schedules->Count();
        if (count < 150 || (pick < 3 && count < 250)) {
            const QDateTime start(first.addDays(random.bounded(60)), QTime(7 + random.bounded(12), random.bounded(4) * 15));
            auto added = schedules->Add(QString::number(nextKey++), QString(), Date::fromDateTime(start),
                                        Date::fromDateTime(start.addSecs(1800 + 900 * random.bounded(6))), QString(),
                                        QString(), QString(), QStringLiteral("soak %1").arg(nextKey), QString(), Date());
            if (random.bounded(8) == 0)
                added->Recurrence = QStringLiteral("FREQ=WEEKLY;COUNT=%1").arg(2 + random.bounded(10));
            data->journalChange(added, false);
        } else if (pick < 7 && count <= 250) {
            auto changed = schedules->Item(qint32(1 + random.bounded(int(schedules->Count()))));
            if (pick < 7)
                changed->Description = QStringLiteral("changed %1").arg(random.generate());
            else
                changed->StartDate = changed->StartDate.addMinutes(15 * (random.bounded(9) - 4));
            data->journalChange(changed, false);
        } else {
            auto removed = schedules->Item(qint32(1 + random.bounded(int(schedules->Count()))));
            if (removed->SeriesKey.isEmpty()) {
                schedules->Remove(removed->Key);
                data->journalChange(removed, true);
            }
        }
        ++edits;
        // A redraw of a random view and day.
        control.setStartDay(first.addDays(random.bounded(60)));
        control.Refresh(zntPlanShowType(1 + random.bounded(3)));
        control.grab();
        ++redraws;
        // A sync every 5 seconds, waited for.
        if (clock.elapsed() - lastSync > 5000) {
            QEventLoop wait;
            bool ok = false;
            const auto done = QObject::connect(&sync, &CalDavSync::syncFinished, &wait, [&](bool good) {
                ok = good;
                wait.quit();
            });
            QTimer::singleShot(120000, &wait, &QEventLoop::quit);
            sync.syncNow();
            wait.exec();
            QObject::disconnect(done);
            ++syncs;
            failedSyncs += ok ? 0 : 1;
            lastSync = clock.elapsed();
        }
        app.processEvents();
        if (clock.elapsed() >= qint64(samples.size()) * 60000) {
            samples.push_back(residentKb());
            std::printf("minute %zu: %lld KiB (%lld edits, %lld redraws, %lld syncs, %lld failed, %lld records)\n",
                        samples.size() - 1, (long long)samples.back(), (long long)edits, (long long)redraws,
                        (long long)syncs, (long long)failedSyncs, (long long)data->Schedules()->Count());
            std::fflush(stdout);
        }
    }
    // Flat: after the first minutes (a third of the run, at most 5), within 5% of their mean.
    const size_t settled = std::min<size_t>(5, samples.size() / 3);
    std::vector<qint64> after(samples.begin() + qsizetype(settled), samples.end());
    if (after.empty()) {
        std::printf("too short to tell\n");
        return 0;
    }
    const auto [low, high] = std::minmax_element(after.begin(), after.end());
    const double spread = 100.0 * double(*high - *low) / double(*low);
    const bool flat = spread <= 5.0;
    std::printf("from minute %zu on: %lld to %lld KiB, spread %.1f%%: %s\n", settled, (long long)*low,
                (long long)*high, spread, flat ? "flat within 5%" : "NOT flat within 5%");
    std::printf("%lld edits, %lld redraws, %lld syncs (%lld failed)\n", (long long)edits, (long long)redraws,
                (long long)syncs, (long long)failedSyncs);
    return flat && failedSyncs == 0 ? 0 : 1;
}
