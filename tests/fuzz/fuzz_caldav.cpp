// Any bytes as a CalDAV server's multistatus reply. The first byte picks how
// the reply is cut into the pieces a network read hands over; the rest is the
// reply. Read whole or in pieces, the reader must hand over the same responses
// and token and refuse the same replies; no value may pass the bound; and each
// response goes on as the sync takes it: its href made an address, its
// calendar data read as one resource.

#include "fuzzinput.h"

#include <dayvex/exchange/icalendar.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/platform/error.h>
#include <dayvex/sync/webdav.h>

#include <QUrl>

#include <cstdlib>

using namespace dayvex;
using webdav::Response;

namespace {

constexpr qsizetype MaxValue = 4096;

struct Outcome
{
    bool ok = false;
    QString token;
    QList<Response> responses;
};

Outcome readReply(const QByteArray &reply, uint8_t cut)
{
    Outcome out;
    webdav::MultistatusReader reader([&out](Response &r) { out.responses << r; }, MaxValue);
    bool fed = true;
    if (cut == 0) {
        fed = reader.feed(reply);
    } else {
        // Pieces of 1 to cut bytes, their sizes taken from the reply itself.
        for (qsizetype at = 0; fed && at < reply.size();) {
            const qsizetype n = 1 + uint8_t(reply.at(at)) % cut;
            fed = reader.feed(reply.mid(at, n));
            at += n;
        }
    }
    out.ok = fed && reader.finish();
    FUZZ_CHECK(out.ok == reader.error().isEmpty());
    out.token = reader.syncToken();
    return out;
}

bool same(const Response &a, const Response &b)
{
    return a.href == b.href && a.status == b.status && a.text == b.text && a.hrefs == b.hrefs
        && a.components == b.components && a.types == b.types;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    const uint8_t cut = in.byte() % 64;
    const QByteArray reply = in.rest();

    const Outcome whole = readReply(reply, 0);
    const Outcome pieces = readReply(reply, cut);
    FUZZ_CHECK(whole.ok == pieces.ok);
    if (whole.ok) {
        FUZZ_CHECK(whole.token == pieces.token);
        FUZZ_CHECK(whole.responses.size() == pieces.responses.size());
        for (qsizetype i = 0; i < whole.responses.size(); ++i)
            FUZZ_CHECK(same(whole.responses[i], pieces.responses[i]));
    }

    const QUrl base(QStringLiteral("http://127.0.0.1:5232/user/calendar/"));
    for (const Response &r : whole.responses) {
        for (const QString &value : r.text)
            FUZZ_CHECK(value.size() <= MaxValue);
        (void)QUrl(r.href).path(QUrl::FullyDecoded);
        (void)base.resolved(QUrl(r.href));
        for (const QStringList &hrefs : r.hrefs)
            for (const QString &href : hrefs)
                (void)base.resolved(QUrl(href));
        if (!r.has(webdav::CalDav, "calendar-data"))
            continue;
        DayvexData resource;
        ImportOptions options;
        options.keepSeries = true;
        options.maxFileBytes = MaxValue * 4;
        try {
            importICalendarData(r.value(webdav::CalDav, "calendar-data").toUtf8(), resource, options);
        } catch (const Error &) {
            // refused with a reason, as the sync reports it
        }
    }
    return 0;
}
