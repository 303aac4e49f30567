// The CalDAV figures: a first sync of 10,000 events from a Radicale on
// loopback, and a sync with nothing changed, with the process's peak memory.

#include "syncbench.h"

#include <radicale.h>

#include <dayvex/model/dayvexdata.h>
#include <dayvex/exchange/icalendar.h>
#include <dayvex/store/localstore.h>
#include <dayvex/sync/caldavsync.h>
#include <dayvex/sync/secretstore.h>

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>

#include <cstdio>
#include <sys/resource.h>

using namespace dayvex;

namespace {

double peakMiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0; // kilobytes on Linux
}

// Writes count events straight into the calendar's folder, as Radicale keeps them.
void fillCalendar(const Radicale &server, int count)
{
    const QString folder = server.folder() + QStringLiteral("/collections/collection-root/%1/work/").arg(server.user);
    const QDateTime first(QDate(2026, 1, 5), QTime(8, 0), Qt::UTC);
    for (int i = 0; i < count; ++i) {
        const QDateTime start = first.addDays(i / 4).addSecs(3600 * 2 * (i % 4));
        const QString uid = QStringLiteral("bench-%1").arg(i);
        QFile file(folder + uid + QStringLiteral(".ics"));
        if (!file.open(QIODevice::WriteOnly))
            return;
        file.write(QStringLiteral("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//bench//EN\r\nBEGIN:VEVENT\r\nUID:%1\r\n"
                                  "DTSTAMP:20260101T000000Z\r\nDTSTART:%2\r\nDTEND:%3\r\nSUMMARY:Event %4 of the bench\r\n"
                                  "LOCATION:Room %5\r\nCATEGORIES:Work\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n")
                       .arg(uid, start.toString(QStringLiteral("yyyyMMddTHHmmssZ")),
                            start.addSecs(3600).toString(QStringLiteral("yyyyMMddTHHmmssZ")))
                       .arg(i)
                       .arg(i % 40)
                       .toUtf8());
    }
}

// Times each request from its start to its reply's end: the server's share of a sync.
class TimingNetwork : public QNetworkAccessManager
{
public:
    double serverMs = 0;
    int requests = 0;

protected:
    QNetworkReply *createRequest(Operation op, const QNetworkRequest &request, QIODevice *data) override
    {
        QNetworkReply *reply = QNetworkAccessManager::createRequest(op, request, data);
        auto clock = std::make_shared<QElapsedTimer>();
        clock->start();
        ++requests;
        connect(reply, &QNetworkReply::finished, this, [this, clock] { serverMs += double(clock->nsecsElapsed()) / 1e6; });
        return reply;
    }
};

bool runSync(CalDavSync &sync, double &ms)
{
    QEventLoop loop;
    bool ok = false;
    QObject::connect(&sync, &CalDavSync::syncFinished, &loop, [&](bool good) {
        ok = good;
        loop.quit();
    });
    QTimer::singleShot(600000, &loop, &QEventLoop::quit);
    QElapsedTimer clock;
    clock.start();
    sync.syncNow();
    loop.exec();
    ms = double(clock.nsecsElapsed()) / 1e6;
    return ok;
}

} // namespace

int runSyncBench(int events)
{
    if (Radicale::executable().isEmpty()) {
        std::fprintf(stderr, "dayvex-bench: radicale is not installed: no sync figures\n");
        return 1;
    }
    Radicale server;
    fillCalendar(server, events);
    if (!server.start()) {
        std::fprintf(stderr, "dayvex-bench: radicale did not start\n");
        return 1;
    }
    QTemporaryDir dir;
    auto data = std::make_shared<DayvexData>();
    LocalStore store(data);
    store.open(dir.filePath(QStringLiteral("sync.sqlite")));
    CalDavSync sync(store, data, iCalendarResources());
    sync.setSecretStore(std::make_shared<MemorySecretStore>());
    sync.setAccount({server.server(), server.user});
    sync.setPassword(server.password);
    sync.setCalendar(server.calendar());
    TimingNetwork network;
    sync.setNetworkAccessManager(&network);

    const double before = peakMiB();
    double initial = 0, nothing = 0;
    if (!runSync(sync, initial) || data->Schedules()->Count() != events) {
        std::fprintf(stderr, "dayvex-bench: the first sync failed (%s), %d of %d events\n",
                     qPrintable(sync.status().error), data->Schedules()->Count(), events);
        return 1;
    }
    const double after = peakMiB();
    const double initialServer = network.serverMs;
    runSync(sync, nothing); // the first incremental sync confirms the token
    std::vector<double> samples, inFlight;
    for (int run = 0; run < 9; ++run) {
        network.serverMs = 0;
        network.requests = 0;
        if (!runSync(sync, nothing) || network.requests != 1)
            return 1;
        samples.push_back(nothing);
        inFlight.push_back(network.serverMs);
    }
    std::sort(samples.begin(), samples.end());
    std::sort(inFlight.begin(), inFlight.end());
    std::printf("%-15s %7d %9.1f ms   requests in flight %.1f ms; peak memory %.1f MiB (%.1f MiB before)\n", "sync.initial",
                events, initial, initialServer, after, before);
    std::printf("%-15s %7d %9.2f ms   median of 9 (%.2f to %.2f), one request each, in flight %.2f ms\n", "sync.nothing",
                events, samples[samples.size() / 2], samples.front(), samples.back(), inFlight[inFlight.size() / 2]);
    return 0;
}
