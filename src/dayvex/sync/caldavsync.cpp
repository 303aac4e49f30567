#include "caldavsync.h"

#include "secretstore.h"
#include "webdav.h"

#include <dayvex/model/dayvexdata.h>
#include <dayvex/platform/error.h>
#include <dayvex/model/syncledger.h>

#include <QCryptographicHash>
#include <algorithm>
#include <cmath>
#include <QLocale>
#include <QPointer>
#include <QMetaProperty>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QSet>
#include <QTimer>
#include <QUuid>

namespace dayvex {

Q_LOGGING_CATEGORY(syncLog, "dayvex.sync")

using namespace std::chrono_literals;
using webdav::Response;
using webdav::Result;

QString CalDavAccount::secretName() const
{
    return QStringLiteral("%1@%2:%3").arg(user, server.host()).arg(server.port(server.scheme() == QLatin1String("http") ? 80 : 443));
}

QString SyncStatus::text() const
{
    const QString waiting = queued == 1 ? QStringLiteral("1 change waiting")
                                        : QStringLiteral("%1 changes waiting").arg(queued);
    switch (state) {
    case State::Syncing:
        return QStringLiteral("Syncing…");
    case State::Offline:
        return queued ? QStringLiteral("Offline, %1").arg(waiting) : QStringLiteral("Offline");
    case State::Error:
        return QStringLiteral("Sync failed: %1").arg(error);
    case State::Idle:
        break;
    }
    if (!lastSync.isValid())
        return queued ? QStringLiteral("Not synced, %1").arg(waiting) : QStringLiteral("Not synced");
    const QString when = lastSync.toLocalTime().time().toString(QStringLiteral("HH:mm"));
    return queued ? QStringLiteral("Synced %1, %2").arg(when, waiting) : QStringLiteral("Synced %1").arg(when);
}

namespace {

constexpr int BatchSize = 200;             // resources applied per store transaction, hrefs per multiget
constexpr qsizetype MaxResourceBytes = 16 * 1024 * 1024;
// Local changes go up this long after the last one noted, with automatic sync on.
constexpr std::chrono::milliseconds LocalChangesDelay{2000};

QByteArray xmlEscaped(const QString &text) { return text.toHtmlEscaped().toUtf8(); }

// Hrefs are compared decoded: servers differ in what they percent-encode.
QString hrefPath(const QString &href) { return QUrl(href).path(QUrl::FullyDecoded); }

QByteArray propfindBody(const QByteArray &props)
{
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:propfind xmlns:D=\"DAV:\" "
           "xmlns:C=\"urn:ietf:params:xml:ns:caldav\" xmlns:CS=\"http://calendarserver.org/ns/\"><D:prop>"
        + props + "</D:prop></D:propfind>";
}

const QByteArray CalendarQueryWithData =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<C:calendar-query xmlns:D=\"DAV:\" "
    "xmlns:C=\"urn:ietf:params:xml:ns:caldav\"><D:prop><D:getetag/><C:calendar-data/></D:prop>"
    "<C:filter><C:comp-filter name=\"VCALENDAR\"/></C:filter></C:calendar-query>";
const QByteArray CalendarQueryEtags =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<C:calendar-query xmlns:D=\"DAV:\" "
    "xmlns:C=\"urn:ietf:params:xml:ns:caldav\"><D:prop><D:getetag/></D:prop>"
    "<C:filter><C:comp-filter name=\"VCALENDAR\"/></C:filter></C:calendar-query>";

// The UID of an appointment's resource: its series' Tag for a changed occurrence.
QString uidOf(Schedules &schedules, const Schedule &s)
{
    if (!s.SeriesKey.isEmpty()) {
        if (const auto series = schedules.find(s.SeriesKey))
            return series->Tag;
    }
    return s.Tag;
}

// The fields of a record that a round trip through iCalendar keeps, as text:
// dates to the second, no keys (each side has its own).
template <typename T>
QString fieldsText(const T &record)
{
    QStringList out;
    const QMetaObject &meta = T::staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        const QLatin1StringView name(property.name());
        if (name == QLatin1String("Key") || name == QLatin1String("SeriesKey") || name == QLatin1String("Extra"))
            continue;
        const QVariant value = property.readOnGadget(&record);
        if (value.metaType() == QMetaType::fromType<Date>()) {
            // A host's NaN, infinite or far-off date has no second: its value stands.
            const double seconds = value.value<Date>().value() * 86400.0;
            out << (std::abs(seconds) < 9e18 ? QString::number(qRound64(seconds))
                                              : QString::number(value.value<Date>().value(), 'g', 17));
        } else
            out << value.toString();
    }
    return out.join(QChar(0x1f));
}

// A digest of a resource's records in any order.
QString fingerprint(const std::vector<const Schedule *> &schedules, const std::vector<const ToDo *> &todos)
{
    QStringList parts;
    for (const Schedule *s : schedules)
        parts << fieldsText(*s);
    for (const ToDo *t : todos)
        parts << QStringLiteral("T") + fieldsText(*t);
    parts.sort();
    return QString::fromLatin1(QCryptographicHash::hash(parts.join(QChar(0x1e)).toUtf8(), QCryptographicHash::Sha1).toHex());
}

QString fingerprintOf(DayvexData &data)
{
    std::vector<const Schedule *> schedules;
    std::vector<const ToDo *> todos;
    for (const auto &s : *data.Schedules())
        schedules.push_back(s.get());
    for (const auto &t : *data.ToDoS())
        todos.push_back(t.get());
    return fingerprint(schedules, todos);
}

} // namespace

class CalDavSync::Impl
{
public:
    Impl(CalDavSync *owner, SyncLedger &ledger, std::shared_ptr<DayvexData> plan, ResourceCodec resources)
        : q(owner), store(ledger), data(std::move(plan)), codec(std::move(resources)), transport(owner), discovery(owner)
    {
    }

    CalDavSync *q;
    SyncLedger &store;
    std::shared_ptr<DayvexData> data;
    ResourceCodec codec;
    CalDavAccount account;
    std::shared_ptr<SecretStore> secrets;
    QString password;
    bool havePassword = false;
    webdav::Transport transport;
    webdav::Transport discovery;
    Scheduler scheduler;
    std::chrono::milliseconds retryFirst = 5s, retryMax = 5min, retryDelay = 5s, autoInterval = 0ms;
    quint64 retryPlan = 0, autoPlan = 0;
    bool soonPlanned = false; // a sync of local changes is planned
    SyncStatus state;
    bool running = false, again = false;
    quint64 runId = 0;

    // What one run knows.
    QUrl calendarUrl;
    QHash<QString, SyncLedger::SyncedResource> byUid;
    QHash<QString, QString> uidByHref;
    QHash<QString, QStringList> scheduleKeys, todoKeys; // by UID
    QSet<QString> pendingUids;
    QHash<QString, qint64> settled; // UIDs whose queued changes up to that seq need nothing more
    // By UID, the fingerprints of what went up unanswered, newest last: a
    // paused server may yet take an earlier one after a later one was sent.
    QHash<QString, QStringList> sentPrints;
    bool swept = false; // this run has looked for resources whose records are gone from here
    qint64 pendingMax = 0;
    SyncLedger::SyncCommit batch;
    int batchCount = 0;
    QString newToken;
    struct Deferred
    {
        QString uid, href, etag;
        QByteArray server;
    };
    std::vector<Deferred> conflicts;
    std::vector<SyncLedger::PendingChange> queue;
    size_t queuePos = 0;

    // ---- plumbing

    SecretStore &secretStore()
    {
        if (!secrets)
            secrets = std::make_shared<KeychainSecretStore>();
        return *secrets;
    }

    void schedule(std::chrono::milliseconds delay, std::function<void()> due)
    {
        if (scheduler)
            scheduler(delay, std::move(due));
        else
            QTimer::singleShot(delay, q, std::move(due));
    }

    void setState(SyncStatus::State s, const QString &error = QString())
    {
        state.state = s;
        state.error = error;
        state.queued = store.isOpen() ? store.pendingCount() : 0;
        emit q->statusChanged(state);
    }

    void planAutoSync(quint64 plan)
    {
        schedule(autoInterval, [this, plan] {
            if (plan != autoPlan)
                return;
            start();
            planAutoSync(plan);
        });
    }

    void withPassword(std::function<void()> next, std::function<void(const QString &)> failed)
    {
        if (havePassword) {
            next();
            return;
        }
        QPointer<CalDavSync> alive(q); // the keychain may answer after the sync is gone
        secretStore().read(account.secretName(), [this, alive, next = std::move(next), failed = std::move(failed)](
                                                      const QString &secret, const QString &error) {
            if (!alive)
                return;
            if (!error.isEmpty()) {
                failed(error);
                return;
            }
            password = secret;
            havePassword = true;
            transport.setCredentials(account.user, password);
            discovery.setCredentials(account.user, password);
            next();
        });
    }

    QUrl member(const QString &path) const
    {
        QUrl url = calendarUrl;
        url.setPath(path, QUrl::DecodedMode);
        url.setQuery(QString());
        return url;
    }

    // ---- the local side

    // A UID names one resource: one appointment, with a series' changed
    // occurrences, or one to-do; a server refuses two under one. Records that
    // share one (an import of a copy with another start, a host's own UIDs)
    // each get a UID of their own but the first, and go up as new.
    void separateSharedUids()
    {
        SyncLedger::SyncCommit renamed;
        QHash<QString, SyncLedger::PendingChange> holder; // by UID, the record that keeps it, until queued
        QSet<QString> taken;
        const auto own = [&](const QString &uid, char kind, const QString &key) {
            if (uid.isEmpty() || key.isEmpty())
                return QString();
            if (!taken.contains(uid)) {
                taken.insert(uid);
                holder.insert(uid, {0, kind, key, uid, QString(), false});
                return QString();
            }
            // The one that keeps the UID goes up again too: its resource may
            // still hold the other one.
            if (holder.contains(uid))
                renamed.queued.push_back(holder.take(uid));
            const QString fresh = newUid();
            renamed.queued.push_back({0, kind, key, fresh, QString(), false});
            return fresh;
        };
        auto schedules = data->Schedules();
        for (const auto &s : *schedules) {
            if (!s->SeriesKey.isEmpty() && schedules->find(s->SeriesKey))
                continue; // under its series' UID
            const QString fresh = own(s->Tag, 'S', s->Key);
            if (fresh.isEmpty())
                continue;
            s->Tag = fresh;
            for (const auto &occurrence : *schedules)
                if (occurrence->SeriesKey.compare(s->Key, Qt::CaseInsensitive) == 0)
                    occurrence->Tag = fresh;
        }
        for (const auto &t : *data->ToDoS()) {
            if (const QString fresh = own(t->Tag, 'T', t->Key); !fresh.isEmpty())
                t->Tag = fresh;
        }
        if (renamed.queued.empty())
            return;
        qCInfo(syncLog) << renamed.queued.size() << "records shared a UID with another: they have their own now";
        store.commitSync(renamed);
        data->markChanged();
    }

    // A record the server has never had and no change of which waits (a
    // changed occurrence left when its series was removed before it went up)
    // is queued now: whatever the agenda shows goes up.
    void queueUnsent()
    {
        if (store.syncValue(QStringLiteral("token")).isEmpty())
            return; // a first sync queues whatever the server lacks
        QSet<QString> waiting;
        for (const auto &change : store.pendingChanges())
            waiting.insert(QLatin1Char(change.kind) + change.key);
        SyncLedger::SyncCommit unsent;
        auto schedules = data->Schedules();
        for (const auto &s : *schedules) {
            if (s->Key.isEmpty() || (!s->SeriesKey.isEmpty() && schedules->find(s->SeriesKey)))
                continue; // a changed occurrence goes up with its series
            if ((s->Tag.isEmpty() || !byUid.contains(s->Tag)) && !waiting.contains(QLatin1Char('S') + s->Key))
                unsent.queued.push_back({0, 'S', s->Key, s->Tag, QString(), false});
        }
        for (const auto &t : *data->ToDoS()) {
            if (!t->Key.isEmpty() && (t->Tag.isEmpty() || !byUid.contains(t->Tag)) && !waiting.contains(QLatin1Char('T') + t->Key))
                unsent.queued.push_back({0, 'T', t->Key, t->Tag, QString(), false});
        }
        if (unsent.queued.empty())
            return;
        qCInfo(syncLog) << unsent.queued.size() << "records the server never had are queued";
        store.commitSync(unsent);
    }

    // And the other way: a resource the server holds whose records are gone
    // from here, and no change of which waits, is removed there. True when
    // something was queued.
    bool queueGone()
    {
        QSet<QString> waiting;
        for (const auto &change : store.pendingChanges())
            waiting.insert(change.uid);
        SyncLedger::SyncCommit gone;
        for (auto known = byUid.cbegin(); known != byUid.cend(); ++known) {
            if (!waiting.contains(known.key()) && !hasLocal(known.key()))
                gone.queued.push_back({0, 'S', QString(), known.key(), QString(), true});
        }
        if (gone.queued.empty())
            return false;
        qCInfo(syncLog) << gone.queued.size() << "resources whose records are gone from here are removed there";
        store.commitSync(gone);
        return true;
    }

    // The keys of the records of each UID.
    void indexRecords()
    {
        scheduleKeys.clear();
        todoKeys.clear();
        auto schedules = data->Schedules();
        for (const auto &s : *schedules) {
            const QString uid = uidOf(*schedules, *s);
            if (!uid.isEmpty() && !s->Key.isEmpty())
                scheduleKeys[uid] << s->Key;
        }
        for (const auto &t : *data->ToDoS()) {
            if (!t->Tag.isEmpty() && !t->Key.isEmpty())
                todoKeys[t->Tag] << t->Key;
        }
    }

    void buildIndex()
    {
        indexRecords();
        auto schedules = data->Schedules();
        byUid.clear();
        uidByHref.clear();
        for (const auto &resource : store.syncedResources()) {
            byUid.insert(resource.uid, resource);
            uidByHref.insert(resource.href, resource.uid);
        }
        pendingUids.clear();
        pendingMax = 0;
        for (const auto &change : store.pendingChanges()) {
            pendingMax = std::max(pendingMax, change.seq);
            QString uid = change.uid;
            if (!change.seriesKey.isEmpty()) {
                if (const auto series = schedules->find(change.seriesKey))
                    uid = series->Tag;
            }
            if (!uid.isEmpty())
                pendingUids.insert(uid);
        }
        settled.clear();
    }

    // Whether a record of uid is here now: one removed since the index was made is not.
    bool hasLocal(const QString &uid) const
    {
        const auto schedules = data->Schedules();
        for (const QString &key : scheduleKeys.value(uid))
            if (const auto s = schedules->find(key); s && uidOf(*schedules, *s) == uid)
                return true;
        const auto todos = data->ToDoS();
        for (const QString &key : todoKeys.value(uid))
            if (const auto t = todos->find(key); t && t->Tag == uid)
                return true;
        return false;
    }

    // The records of uid as they go up: copies, in one data of their own.
    std::unique_ptr<DayvexData> localResource(const QString &uid)
    {
        auto one = std::make_unique<DayvexData>();
        auto schedules = data->Schedules();
        for (const QString &key : scheduleKeys.value(uid)) {
            if (const auto s = schedules->find(key); s && uidOf(*schedules, *s) == uid)
                one->Schedules()->restore(std::make_shared<Schedule>(*s), s->Key);
        }
        // A changed occurrence whose series is gone shows as an appointment of
        // its own, and goes up as one: a server refuses an occurrence alone.
        for (const auto &s : *one->Schedules()) {
            if (!s->SeriesKey.isEmpty() && !one->Schedules()->find(s->SeriesKey)) {
                s->SeriesKey.clear();
                s->RecurrenceId = Date();
            }
        }
        auto todos = data->ToDoS();
        for (const QString &key : todoKeys.value(uid)) {
            if (const auto t = todos->find(key); t && t->Tag == uid)
                one->ToDoS()->restore(std::make_shared<ToDo>(*t), t->Key);
        }
        return one;
    }

    QByteArray exportResource(const QString &uid) { return codec.write(*localResource(uid)); }

    // The fingerprint of records as the server gives them back once sent: a
    // field iCalendar does not carry (a lead on a single appointment) changes
    // nothing there.
    QString sentFingerprint(const QByteArray &body)
    {
        DayvexData back;
        QString why;
        codec.read(body, back, why);
        return fingerprintOf(back);
    }

    QString localFingerprint(const QString &uid) { return sentFingerprint(exportResource(uid)); }

    // What the server holds is what this side holds or sent (its answer lost
    // on the way, the server stopped or slow, the sync cancelled).
    bool ownVersion(const QString &uid, const QString &print)
    {
        return hasLocal(uid) && (sentPrints.value(uid).contains(print) || print == localFingerprint(uid));
    }

    void removeLocal(const QString &uid)
    {
        qCDebug(syncLog) << "removed here, as the server did:" << uid;
        auto schedules = data->Schedules();
        for (const QString &key : scheduleKeys.take(uid)) {
            if (schedules->find(key))
                schedules->Remove(key);
        }
        auto todos = data->ToDoS();
        for (const QString &key : todoKeys.take(uid)) {
            if (todos->find(key))
                todos->Remove(key);
        }
    }

    // Puts the records of one resource in place of the local ones of its UID,
    // keeping the keys of the records that stay.
    void replaceLocal(const QString &uid, DayvexData &incoming)
    {
        auto schedules = data->Schedules();
        std::vector<std::shared_ptr<Schedule>> roots, overrides;
        for (const QString &key : scheduleKeys.value(uid)) {
            if (const auto s = schedules->find(key))
                (s->SeriesKey.isEmpty() ? roots : overrides).push_back(s);
        }
        QStringList keys;
        QHash<QString, QString> rootKey; // incoming key -> local key
        const auto place = [&](const Schedule &from, std::shared_ptr<Schedule> into) {
            if (into) {
                const QString key = into->Key;
                *into = from;
                into->Key = key;
            } else {
                Schedule filled = from;
                filled.Key = schedules->NewKey();
                into = schedules->Add(filled);
                into->EndDate = from.EndDate; // the server's end stands, as an import keeps it
            }
            keys << into->Key;
            return into;
        };
        size_t nextRoot = 0;
        for (const auto &s : *incoming.Schedules()) {
            if (!s->SeriesKey.isEmpty())
                continue;
            const auto placed = place(*s, nextRoot < roots.size() ? roots[nextRoot++] : nullptr);
            rootKey.insert(s->Key, placed->Key);
        }
        std::vector<bool> used(overrides.size());
        for (const auto &s : *incoming.Schedules()) {
            if (s->SeriesKey.isEmpty())
                continue;
            Schedule changed = *s;
            changed.SeriesKey = rootKey.value(s->SeriesKey);
            std::shared_ptr<Schedule> match;
            for (size_t i = 0; i < overrides.size() && !match; ++i) {
                if (!used[i] && overrides[i]->RecurrenceId.value() == s->RecurrenceId.value()) {
                    used[i] = true;
                    match = overrides[i];
                }
            }
            place(changed, match);
        }
        for (size_t i = nextRoot; i < roots.size(); ++i)
            schedules->Remove(roots[i]->Key);
        for (size_t i = 0; i < overrides.size(); ++i) {
            if (!used[i])
                schedules->Remove(overrides[i]->Key);
        }
        if (keys.isEmpty())
            scheduleKeys.remove(uid);
        else
            scheduleKeys.insert(uid, keys);

        auto todos = data->ToDoS();
        QStringList todoKeysNow;
        QStringList old = todoKeys.value(uid);
        for (const auto &t : *incoming.ToDoS()) {
            std::shared_ptr<ToDo> into = old.isEmpty() ? nullptr : todos->find(old.takeFirst());
            if (into) {
                const QString key = into->Key;
                *into = *t;
                into->Key = key;
            } else {
                ToDo filled = *t;
                filled.Key = todos->NewKey();
                into = todos->Add(filled);
            }
            todoKeysNow << into->Key;
        }
        for (const QString &key : old) {
            if (todos->find(key))
                todos->Remove(key);
        }
        if (todoKeysNow.isEmpty())
            todoKeys.remove(uid);
        else
            todoKeys.insert(uid, todoKeysNow);
    }

    // Reads one resource; its UID, or empty when it cannot be read.
    QString readResource(const QByteArray &ics, DayvexData &into)
    {
        QString why;
        const bool read = codec.read(ics, into, why);
        QString uid;
        if (into.Schedules()->Count())
            uid = uidOf(*into.Schedules(), *into.Schedules()->Item(1));
        else if (into.ToDoS()->Count())
            uid = into.ToDoS()->Item(1)->Tag;
        if (!read || uid.isEmpty())
            qCWarning(syncLog) << "a resource of the calendar cannot be read:" << why;
        return read ? uid : QString();
    }

    void remember(const QString &uid, const QString &href, const QString &etag, const QString &print)
    {
        if (const auto old = uidByHref.value(href); !old.isEmpty() && old != uid) {
            removeLocal(old); // the resource at href now holds another UID
            byUid.remove(old);
            batch.forgotten << old;
        }
        byUid.insert(uid, {uid, href, etag, print});
        uidByHref.insert(href, uid);
        batch.resources.push_back({uid, href, etag, print});
    }

    void forget(const QString &href)
    {
        const QString uid = uidByHref.take(href);
        if (uid.isEmpty())
            return;
        byUid.remove(uid);
        batch.forgotten << uid;
        // Removed on both sides (this side's removal went through unanswered) is no conflict.
        if (pendingUids.contains(uid) && hasLocal(uid))
            conflicts.push_back({uid, href, QString(), QByteArray()});
        else
            removeLocal(uid);
        ++batchCount;
    }

    // A resource as the server sent it.
    void received(const QString &href, const QString &etag, const QByteArray &ics)
    {
        if (const auto known = byUid.constFind(uidByHref.value(href)); known != byUid.cend() && known->etag == etag && !etag.isEmpty())
            return; // as we have it
        DayvexData incoming;
        const QString uid = readResource(ics, incoming);
        if (uid.isEmpty())
            return;
        const QString print = fingerprintOf(incoming);
        qCDebug(syncLog) << "received" << uid << "at" << href << etag << (pendingUids.contains(uid) ? "(changed here too)" : "");
        if (const auto known = byUid.constFind(uid); known != byUid.cend() && known->href == href && known->fingerprint == print) {
            remember(uid, href, etag, print); // the server rewrote what it was sent: nothing changed there
            return;
        }
        if (ownVersion(uid, print)) {
            remember(uid, href, etag, print); // no change there
            return;
        }
        if (pendingUids.contains(uid)) {
            conflicts.push_back({uid, href, etag, ics});
            return;
        }
        replaceLocal(uid, incoming);
        remember(uid, href, etag, print);
        if (++batchCount >= BatchSize)
            flush();
    }

    void flush()
    {
        if (batchCount == 0 && batch.resources.empty() && batch.forgotten.isEmpty() && batch.done.empty()
            && batch.queued.empty() && batch.values.empty())
            return;
        store.commitSync(batch);
        batch = SyncLedger::SyncCommit();
        batchCount = 0;
        data->markChanged();
    }

    // Both sides changed uid: the host chooses; see SyncConflict.
    SyncConflict::Answer resolve(const Deferred &c)
    {
        SyncConflict conflict{c.uid, exportResource(c.uid), c.server, SyncConflict::Answer::Unanswered};
        emit q->conflict(conflict);
        auto answer = conflict.answer;
        if (answer == SyncConflict::Answer::KeepLocal) {
            // The next PUT replaces the server's version (If-Match its ETag), or recreates it.
            if (c.server.isEmpty())
                byUid.remove(c.uid);
            else
                remember(c.uid, c.href, c.etag, QString());
            return answer;
        }
        if (answer != SyncConflict::Answer::KeepServer)
            copyLocal(c.uid);
        settled.insert(c.uid, pendingMax);
        if (c.server.isEmpty()) {
            removeLocal(c.uid);
        } else {
            DayvexData incoming;
            if (!readResource(c.server, incoming).isEmpty()) {
                replaceLocal(c.uid, incoming);
                remember(c.uid, c.href, c.etag, fingerprintOf(incoming));
            }
        }
        ++batchCount;
        return answer;
    }

    // The local records of uid again, under a new UID and new keys, queued for the server.
    void copyLocal(const QString &uid)
    {
        const QString copyUid = newUid();
        auto schedules = data->Schedules();
        QHash<QString, QString> keyOf;
        QStringList keys = scheduleKeys.value(uid);
        std::stable_partition(keys.begin(), keys.end(), [&](const QString &key) {
            const auto s = schedules->find(key);
            return s && s->SeriesKey.isEmpty();
        });
        for (const QString &key : keys) {
            const auto s = schedules->find(key);
            if (!s)
                continue;
            Schedule copy = *s;
            copy.Key = schedules->NewKey();
            copy.Tag = copyUid;
            if (!copy.SeriesKey.isEmpty())
                copy.SeriesKey = keyOf.value(copy.SeriesKey);
            const auto added = schedules->Add(copy);
            added->EndDate = s->EndDate;
            keyOf.insert(s->Key, added->Key);
            scheduleKeys[copyUid] << added->Key;
            batch.queued.push_back({0, 'S', added->Key, copyUid, added->SeriesKey, false});
        }
        auto todos = data->ToDoS();
        for (const QString &key : todoKeys.value(uid)) {
            const auto t = todos->find(key);
            if (!t)
                continue;
            ToDo copy = *t;
            copy.Key = todos->NewKey();
            copy.Tag = copyUid;
            todos->Add(copy);
            todoKeys[copyUid] << copy.Key;
            batch.queued.push_back({0, 'T', copy.Key, copyUid, QString(), false});
        }
    }

    static QString newUid() { return QUuid::createUuid().toString(QUuid::WithoutBraces) + QStringLiteral("@dayvex"); }

    // ---- a run

    // A reply's handler whose failure (a store that cannot write) ends the run instead of the event loop.
    template <typename F>
    auto guarded(F f)
    {
        return [this, f = std::move(f)](auto &&...args) mutable {
            try {
                f(std::forward<decltype(args)>(args)...);
            } catch (const Error &e) {
                if (running)
                    fail(e.description(), false);
            }
        };
    }

    bool stale(quint64 id) const { return id != runId || !running; }

    void start()
    {
        if (running) {
            again = true;
            return;
        }
        calendarUrl = QUrl(store.syncValue(QStringLiteral("calendar")));
        if (!store.isOpen() || calendarUrl.isEmpty()) {
            setState(SyncStatus::State::Error, QStringLiteral("no calendar is chosen"));
            emit q->syncFinished(false);
            return;
        }
        running = true;
        swept = false;
        ++retryPlan; // a sync now replaces a planned retry
        const quint64 id = ++runId;
        setState(SyncStatus::State::Syncing);
        withPassword([this, id] {
            if (stale(id))
                return;
            try {
                store.save(); // the host's own unsaved changes are queued first
                separateSharedUids();
                buildIndex();
                queueUnsent();
            } catch (const Error &error) {
                fail(error.description(), false);
                return;
            }
            const QString token = store.syncValue(QStringLiteral("token"));
            if (token.isEmpty())
                initial(id);
            else
                incremental(id, token);
        },
                     [this, id](const QString &error) {
                         if (!stale(id))
                             fail(error, false);
                     });
    }

    bool failedRequest(const Result &result)
    {
        if (result.ok())
            return false;
        fail(result.error.isEmpty() ? QStringLiteral("the server answered %1").arg(result.status) : result.error,
             result.unreachable);
        return true;
    }

    void fail(const QString &error, bool unreachable)
    {
        try {
            flush(); // what arrived is kept, with the ETags it came with
        } catch (const Error &e) {
            qCWarning(syncLog) << "cannot keep what the server sent:" << e.description();
        }
        running = false;
        conflicts.clear();
        if (unreachable) {
            setState(SyncStatus::State::Offline, error);
            const auto delay = retryDelay;
            retryDelay = std::min(retryDelay * 2, retryMax);
            const quint64 plan = ++retryPlan;
            schedule(delay, [this, plan] {
                if (plan == retryPlan)
                    start();
            });
        } else {
            setState(SyncStatus::State::Error, error);
        }
        emit q->syncFinished(false);
        again = false;
    }

    void succeed()
    {
        try {
            batch.values.push_back({QStringLiteral("lastSync"), QDateTime::currentDateTimeUtc().toString(Qt::ISODateWithMs)});
            flush();
        } catch (const Error &e) {
            fail(e.description(), false);
            return;
        }
        running = false;
        retryDelay = retryFirst;
        state.lastSync = QDateTime::currentDateTimeUtc();
        setState(SyncStatus::State::Idle);
        emit q->syncFinished(true);
        if (std::exchange(again, false))
            start();
    }

    // A streamed REPORT: each response of the multistatus as it arrives.
    void report(quint64 id, const QByteArray &body, QByteArray depth, std::function<void(Response &)> each,
                std::function<void(Result, const QString &token)> done)
    {
        auto reader = std::make_shared<webdav::MultistatusReader>(std::move(each), MaxResourceBytes);
        transport.send(
            "REPORT", calendarUrl, {{"Depth", depth}}, body,
            guarded([this, id, reader, done = std::move(done)](Result result) {
                if (stale(id))
                    return;
                if (result.ok() && !reader->finish())
                    result.error = reader->error();
                done(std::move(result), reader->syncToken());
            }),
            [reader](const QByteArray &chunk, QString &why) {
                try {
                    if (!reader->feed(chunk))
                        why = reader->error();
                } catch (const Error &e) {
                    why = e.description();
                }
                return why.isEmpty();
            });
    }

    void readToken(quint64 id, std::function<void()> next)
    {
        transport.send("PROPFIND", calendarUrl, {{"Depth", "0"}}, propfindBody("<D:sync-token/><CS:getctag/>"),
                       guarded([this, id, next = std::move(next)](Result result) {
                           if (stale(id) || failedRequest(result))
                               return;
                           webdav::MultistatusReader reader([this](Response &r) { newToken = r.value(webdav::Dav, "sync-token"); }, 64 * 1024);
                           if (!reader.feed(result.body) || !reader.finish()) {
                               fail(reader.error(), false);
                               return;
                           }
                           next();
                       }));
    }

    void onFetched(Response &r)
    {
        const QString href = hrefPath(r.href);
        if (r.has(webdav::CalDav, "calendar-data"))
            received(href, r.value(webdav::Dav, "getetag"), r.value(webdav::CalDav, "calendar-data").toUtf8());
    }

    void initial(quint64 id)
    {
        readToken(id, [this, id] {
            auto seen = std::make_shared<QSet<QString>>();
            report(id, CalendarQueryWithData, "1",
                   [this, seen](Response &r) {
                       seen->insert(hrefPath(r.href));
                       onFetched(r);
                   },
                   [this, id, seen](Result result, const QString &) {
                       if (failedRequest(result))
                           return;
                       afterListing(id, *seen, true);
                   });
        });
    }

    // After the whole calendar was listed: what it no longer holds is gone;
    // on a first sync, the local records it lacks are queued for it.
    void afterListing(quint64 id, const QSet<QString> &seen, bool first)
    {
        const QStringList known = uidByHref.keys();
        for (const QString &href : known) {
            if (!seen.contains(href))
                forget(href);
        }
        if (first) {
            auto schedules = data->Schedules();
            for (const auto &s : *schedules) {
                if (s->Key.isEmpty() || (!s->SeriesKey.isEmpty() && schedules->find(s->SeriesKey)))
                    continue; // a changed occurrence goes up with its series
                if (s->Tag.isEmpty() || !byUid.contains(s->Tag))
                    batch.queued.push_back({0, 'S', s->Key, s->Tag, QString(), false});
            }
            for (const auto &t : *data->ToDoS()) {
                if (!t->Key.isEmpty() && (t->Tag.isEmpty() || !byUid.contains(t->Tag)))
                    batch.queued.push_back({0, 'T', t->Key, t->Tag, QString(), false});
            }
        }
        downloaded(id);
    }

    // What came down is in: conflicts settled, the new token written with it, then the uploads.
    void downloaded(quint64 id)
    {
        settleConflicts();
        batch.values.push_back({QStringLiteral("token"), newToken});
        if (!flushed())
            return;
        push(id);
    }

    // Writes the batch; false when the store refused it, and the sync has failed.
    bool flushed()
    {
        try {
            flush();
        } catch (const Error &e) {
            fail(e.description(), false);
            return false;
        }
        return true;
    }

    void settleConflicts()
    {
        auto list = std::move(conflicts);
        conflicts.clear();
        for (const Deferred &c : list)
            resolve(c);
    }

    void incremental(quint64 id, const QString &token)
    {
        const QByteArray body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<D:sync-collection xmlns:D=\"DAV:\"><D:sync-token>"
            + xmlEscaped(token) + "</D:sync-token><D:sync-level>1</D:sync-level><D:prop><D:getetag/></D:prop></D:sync-collection>";
        auto changed = std::make_shared<QStringList>();
        auto removed = std::make_shared<QStringList>();
        report(id, body, "0",
               [this, changed, removed](Response &r) {
                   const QString href = hrefPath(r.href);
                   if (r.status == 404)
                       *removed << href;
                   else if (r.has(webdav::Dav, "getetag")) {
                       const auto known = byUid.constFind(uidByHref.value(href));
                       if (known == byUid.cend() || known->etag != r.value(webdav::Dav, "getetag"))
                           *changed << href;
                   }
               },
               [this, id, changed, removed](Result result, const QString &token) {
                   const int status = result.status;
                   if (status == 400 || status == 403 || status == 409 || status == 412 || status == 507) {
                       // The token is refused (expired, or another server's): compare ETags instead.
                       qCInfo(syncLog) << "the server refused the sync token:" << result.status;
                       byEtags(id);
                       return;
                   }
                   if (failedRequest(result))
                       return;
                   newToken = token;
                   for (const QString &href : *removed)
                       forget(href);
                   fetch(id, *changed, [this, id] { downloaded(id); });
               });
    }

    void byEtags(quint64 id)
    {
        readToken(id, [this, id] {
            auto seen = std::make_shared<QSet<QString>>();
            auto changed = std::make_shared<QStringList>();
            report(id, CalendarQueryEtags, "1",
                   [this, seen, changed](Response &r) {
                       const QString href = hrefPath(r.href);
                       seen->insert(href);
                       const auto known = byUid.constFind(uidByHref.value(href));
                       if (known == byUid.cend() || known->etag != r.value(webdav::Dav, "getetag"))
                           *changed << href;
                   },
                   [this, id, seen, changed](Result result, const QString &) {
                       if (failedRequest(result))
                           return;
                       fetch(id, *changed, [this, id, seen] { afterListing(id, *seen, false); });
                   });
        });
    }

    // calendar-multiget of hrefs, BatchSize at a time.
    void fetch(quint64 id, QStringList hrefs, std::function<void()> next)
    {
        if (hrefs.isEmpty()) {
            next();
            return;
        }
        QByteArray body = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<C:calendar-multiget xmlns:D=\"DAV:\" "
                          "xmlns:C=\"urn:ietf:params:xml:ns:caldav\"><D:prop><D:getetag/><C:calendar-data/></D:prop>";
        const QStringList now = hrefs.mid(0, BatchSize);
        hrefs = hrefs.mid(BatchSize);
        for (const QString &href : now)
            body += "<D:href>" + xmlEscaped(QString::fromUtf8(member(href).toEncoded(QUrl::RemoveScheme | QUrl::RemoveAuthority))) + "</D:href>";
        body += "</C:calendar-multiget>";
        report(id, body, "1", [this](Response &r) { onFetched(r); },
               [this, id, hrefs, next = std::move(next)](Result result, const QString &) mutable {
                   if (failedRequest(result))
                       return;
                   fetch(id, std::move(hrefs), std::move(next));
               });
    }

    // ---- uploads

    void push(quint64 id)
    {
        // Records added while the calendar came down (an import) may share a UID too.
        try {
            separateSharedUids();
        } catch (const Error &e) {
            fail(e.description(), false);
            return;
        }
        indexRecords();
        queue = store.pendingChanges();
        queuePos = 0;
        // Every record gets its UID, kept in the store, before anything goes
        // up: a resource sent whose answer never came is found again under
        // it, and never sent twice under two.
        if (nameQueued())
            pushNext(id);
    }

    // Gives each record of the queue its UID and keeps them in the store
    // before any of them is sent; false when the store refused, and the sync has failed.
    bool nameQueued()
    {
        const auto untagged = [this] {
            qsizetype count = 0;
            for (const auto &s : *data->Schedules())
                count += s->Tag.isEmpty();
            for (const auto &t : *data->ToDoS())
                count += t->Tag.isEmpty();
            return count;
        };
        const qsizetype before = untagged();
        for (const auto &change : queue)
            entryUid(change);
        if (untagged() == before)
            return true;
        try {
            store.commitSync({});
        } catch (const Error &e) {
            fail(e.description(), false);
            return false;
        }
        return true;
    }

    // The UID an entry of the queue stands for now, giving a record that has none its own.
    QString entryUid(const SyncLedger::PendingChange &change)
    {
        if (change.kind == 'T') {
            const auto t = change.removed ? nullptr : data->ToDoS()->find(change.key);
            if (!t || (t->Tag != change.uid && !change.uid.isEmpty()))
                return change.uid; // removed, or the key holds another to-do now
            if (t->Tag.isEmpty()) {
                t->Tag = newUid();
                todoKeys[t->Tag] << t->Key;
            }
            return t->Tag;
        }
        auto schedules = data->Schedules();
        std::shared_ptr<Schedule> record = change.removed ? nullptr : schedules->find(change.key);
        if (record && record->Tag != change.uid && record->SeriesKey.isEmpty() == change.seriesKey.isEmpty()
            && !change.uid.isEmpty())
            record = nullptr; // the key holds another record now
        const QString seriesKey = record ? record->SeriesKey : change.seriesKey;
        std::shared_ptr<Schedule> root = seriesKey.isEmpty() ? record : schedules->find(seriesKey);
        if (!root && record)
            root = record; // a changed occurrence whose series is gone goes up on its own
        if (!root)
            return seriesKey.isEmpty() ? change.uid : QString();
        if (root->Tag.isEmpty()) {
            root->Tag = newUid();
            QStringList keys{root->Key};
            for (const auto &s : *schedules) {
                if (!s->SeriesKey.isEmpty() && s->SeriesKey.compare(root->Key, Qt::CaseInsensitive) == 0) {
                    s->Tag = root->Tag;
                    keys << s->Key;
                }
            }
            scheduleKeys.insert(root->Tag, keys);
        }
        return root->Tag;
    }

    QString newHref(const QString &uid) const
    {
        static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_.-]{1,100}$"));
        QString name = uid;
        name.replace(QLatin1String("@dayvex"), QString());
        if (!plain.match(name).hasMatch())
            name = QString::fromLatin1(QCryptographicHash::hash(uid.toUtf8(), QCryptographicHash::Sha1).toHex());
        QString path = calendarUrl.path(QUrl::FullyDecoded);
        if (!path.endsWith(QLatin1Char('/')))
            path += QLatin1Char('/');
        // "x@dayvex" and "x" would share a name: the second one gets its hash.
        if (const QString taken = uidByHref.value(path + name + QStringLiteral(".ics")); !taken.isEmpty() && taken != uid)
            name = QString::fromLatin1(QCryptographicHash::hash(uid.toUtf8(), QCryptographicHash::Sha1).toHex());
        return path + name + QStringLiteral(".ics");
    }

    void pushNext(quint64 id)
    {
        if (stale(id))
            return;
        if (queuePos >= queue.size()) {
            // Changes queued meanwhile (copies kept from a conflict) go up too.
            const qint64 last = queue.empty() ? 0 : queue.back().seq;
            queue.clear();
            queuePos = 0;
            const auto queuedSince = [&] {
                for (const auto &change : store.pendingChanges()) {
                    if (change.seq > last)
                        queue.push_back(change);
                }
            };
            queuedSince();
            if (queue.empty() && !swept) {
                swept = true;
                if (!flushed())
                    return;
                try {
                    if (queueGone())
                        queuedSince();
                } catch (const Error &e) {
                    fail(e.description(), false);
                    return;
                }
            }
            if (queue.empty()) {
                succeed();
                return;
            }
            indexRecords(); // records added meanwhile (an import) belong to their UIDs too
            if (!nameQueued())
                return;
        }
        const SyncLedger::PendingChange change = queue[queuePos++];
        const QString uid = entryUid(change);
        if (uid.isEmpty() || change.seq <= settled.value(uid, -1) || (!hasLocal(uid) && !byUid.contains(uid))) {
            qCDebug(syncLog) << "change" << change.seq << change.kind << change.key << (change.removed ? "removed" : "")
                             << "needs nothing for" << uid;
            batch.done.push_back(change.seq); // nothing on the server to change
            pushNext(id);
            return;
        }
        qCDebug(syncLog) << "change" << change.seq << change.kind << change.key << (change.removed ? "removed" : "")
                         << "goes up for" << uid;
        upload(id, uid, change.seq, false);
    }

    void upload(quint64 id, const QString &uid, qint64 seq, bool afterConflict)
    {
        const auto known = byUid.value(uid);
        const bool exists = !known.href.isEmpty();
        const QString href = exists ? known.href : newHref(uid);
        const bool keep = hasLocal(uid);
        webdav::Transport::Headers headers;
        if (exists && !known.etag.isEmpty())
            headers.push_back({"If-Match", known.etag.toUtf8()});
        else if (!exists)
            headers.push_back({"If-None-Match", "*"});
        QByteArray body;
        QString print;
        if (keep) {
            headers.push_back({"Content-Type", "text/calendar; charset=utf-8"});
            body = exportResource(uid);
            if (!body.contains("BEGIN:VEVENT") && !body.contains("BEGIN:VTODO")) {
                // Not one of its records can be written (a date outside the years
                // 100 to 9999): the server keeps what it had, the rest goes on,
                // and a later change of the records goes up.
                qCWarning(syncLog) << "kept on this device only: the records of" << uid << "cannot be written";
                batch.done.push_back(seq);
                if (flushed())
                    pushNext(id);
                return;
            }
            print = sentFingerprint(body);
            QStringList &sent = sentPrints[uid];
            sent.removeAll(print);
            sent << print;
            if (sent.size() > 8)
                sent.removeFirst();
        }
        transport.send(keep ? "PUT" : "DELETE", member(href), headers, body,
                       guarded([this, id, uid, seq, href, keep, afterConflict, print](Result result) {
                           if (stale(id))
                               return;
                           qCDebug(syncLog) << (keep ? "PUT" : "DELETE") << uid << "at" << href << "answered" << result.status;
                           if ((result.status == 412 || (result.status == 404 && !keep)) && !afterConflict) {
                               conflictOnUpload(id, uid, seq, href);
                               return;
                           }
                           if (refusedContent(result.status)) {
                               // The server will not take these records as they are: they
                               // stay here, the server keeps what it had, the rest goes on.
                               const QString why = QStringLiteral("the server answered %1").arg(result.status);
                               qCWarning(syncLog) << "the server refused the records of" << uid << ":" << why;
                               emit q->uploadRefused(uid, why);
                               settled.insert(uid, std::max(settled.value(uid, -1), queue.empty() ? seq : queue.back().seq));
                               batch.done.push_back(seq);
                               if (flushed())
                                   pushNext(id);
                               return;
                           }
                           if (failedRequest(result))
                               return;
                           // Taken: what went up before it unanswered can no longer
                           // land, its precondition gone.
                           sentPrints.remove(uid);
                           if (keep)
                               remember(uid, href, QString::fromUtf8(result.etag), print);
                           else {
                               byUid.remove(uid);
                               uidByHref.remove(href);
                               batch.forgotten << uid;
                           }
                           // what was queued for the resource before it was sent went up with it
                           settled.insert(uid, std::max(settled.value(uid, -1), queue.empty() ? seq : queue.back().seq));
                           batch.done.push_back(seq);
                           if (!flushed())
                               return;
                           pushNext(id);
                       }));
    }

    // A server's answer about what was sent, not about the server: sending it again changes nothing.
    static bool refusedContent(int status)
    {
        return status == 400 || status == 403 || status == 409 || status == 413 || status == 415 || status == 422;
    }

    void conflictOnUpload(quint64 id, const QString &uid, qint64 seq, const QString &href)
    {
        transport.send("GET", member(href), {}, {}, guarded([this, id, uid, seq, href](Result result) {
            if (stale(id))
                return;
            if (result.status == 404) {
                byUid.remove(uid);
                uidByHref.remove(href);
                batch.forgotten << uid;
                if (hasLocal(uid)) {
                    upload(id, uid, seq, true); // removed there, changed here: made again
                } else {
                    batch.done.push_back(seq);
                    pushNext(id);
                }
                return;
            }
            if (failedRequest(result))
                return;
            DayvexData there;
            if (readResource(result.body, there) == uid && hasLocal(uid)) {
                // This side's own upload, whose answer never came, or which came
                // to a paused server after the calendar was read: no conflict.
                const QString print = fingerprintOf(there);
                const bool same = print == localFingerprint(uid);
                if (same || sentPrints.value(uid).contains(print)) {
                    remember(uid, href, QString::fromUtf8(result.etag), print);
                    if (!same) {
                        upload(id, uid, seq, true); // the later version over it
                        return;
                    }
                    batch.done.push_back(seq);
                    if (flushed())
                        pushNext(id);
                    return;
                }
            }
            const auto answer = resolve({uid, href, QString::fromUtf8(result.etag), result.body});
            if (answer == SyncConflict::Answer::KeepLocal) {
                upload(id, uid, seq, true);
                return;
            }
            batch.done.push_back(seq);
            if (!flushed())
                return;
            pushNext(id);
        }));
    }

    // ---- discovery

    void propfind(const QUrl &url, const QByteArray &depth, const QByteArray &props,
                  std::function<void(const QList<Response> &, const QUrl &)> next)
    {
        discovery.send("PROPFIND", url, {{"Depth", depth}}, propfindBody(props), [this, url, next = std::move(next)](Result result) {
            if (!result.ok()) {
                emit q->discoveryFailed(result.error.isEmpty() ? QStringLiteral("the server answered %1").arg(result.status)
                                                               : result.error);
                return;
            }
            QList<Response> responses;
            webdav::MultistatusReader reader([&responses](Response &r) { responses << r; }, 1024 * 1024);
            if (!reader.feed(result.body) || !reader.finish()) {
                emit q->discoveryFailed(reader.error());
                return;
            }
            next(responses, url);
        });
    }

    void discover()
    {
        if (const QString why = webdav::refusedUrl(account.server); !why.isEmpty()) {
            emit q->discoveryFailed(why);
            return;
        }
        withPassword(
            [this] {
                propfind(account.server, "0", "<D:current-user-principal/>", [this](const QList<Response> &responses, const QUrl &base) {
                    QString principal;
                    for (const Response &r : responses)
                        principal = r.hrefs.value(Response::key(webdav::Dav, "current-user-principal")).value(0, principal);
                    const QUrl principalUrl = principal.isEmpty() ? base : base.resolved(QUrl(principal));
                    propfind(principalUrl, "0", "<C:calendar-home-set/>", [this](const QList<Response> &responses, const QUrl &base) {
                        QString home;
                        for (const Response &r : responses)
                            home = r.hrefs.value(Response::key(webdav::CalDav, "calendar-home-set")).value(0, home);
                        if (home.isEmpty()) {
                            emit q->discoveryFailed(QStringLiteral("the server names no calendar home for %1").arg(account.user));
                            return;
                        }
                        propfind(base.resolved(QUrl(home)), "1",
                                 "<D:displayname/><D:resourcetype/><C:supported-calendar-component-set/><D:sync-token/><CS:getctag/>",
                                 [this](const QList<Response> &responses, const QUrl &base) {
                                     QList<CalDavCalendar> calendars;
                                     for (const Response &r : responses) {
                                         if (!r.types.contains(Response::key(webdav::CalDav, "calendar")))
                                             continue;
                                         CalDavCalendar calendar;
                                         calendar.url = base.resolved(QUrl(r.href));
                                         calendar.displayName = r.value(webdav::Dav, "displayname").trimmed();
                                         if (calendar.displayName.isEmpty())
                                             calendar.displayName = calendar.url.path().section(QLatin1Char('/'), -2, -2);
                                         calendar.components = r.components;
                                         calendar.syncToken = r.value(webdav::Dav, "sync-token");
                                         calendar.ctag = r.value(webdav::CalendarServer, "getctag");
                                         calendars << calendar;
                                     }
                                     emit q->calendarsFound(calendars);
                                 });
                    });
                });
            },
            [this](const QString &error) { emit q->discoveryFailed(error); });
    }
};

CalDavSync::CalDavSync(SyncLedger &store, std::shared_ptr<DayvexData> data, ResourceCodec codec, QObject *parent)
    : QObject(parent), d(std::make_unique<Impl>(this, store, std::move(data), std::move(codec)))
{
    const QString last = store.syncValue(QStringLiteral("lastSync"));
    if (!last.isEmpty())
        d->state.lastSync = QDateTime::fromString(last, Qt::ISODateWithMs);
    d->state.queued = store.isOpen() ? store.pendingCount() : 0;
}

CalDavSync::~CalDavSync()
{
    d->transport.abort();
    d->discovery.abort();
}

void CalDavSync::setAccount(const CalDavAccount &account)
{
    if (account.server != d->account.server || account.user != d->account.user) {
        d->havePassword = false;
        d->password.clear();
    }
    d->account = account;
    d->transport.setCredentials(account.user, d->password);
    d->discovery.setCredentials(account.user, d->password);
}

CalDavAccount CalDavSync::account() const { return d->account; }

void CalDavSync::setSecretStore(std::shared_ptr<SecretStore> secrets)
{
    d->secrets = std::move(secrets);
    d->havePassword = false;
}

void CalDavSync::usePassword(const QString &password)
{
    d->password = password;
    d->havePassword = true;
    d->transport.setCredentials(d->account.user, password);
    d->discovery.setCredentials(d->account.user, password);
}

void CalDavSync::setPassword(const QString &password, std::function<void(const QString &)> done)
{
    // Used for this session whatever the keychain says; kept there for the next.
    usePassword(password);
    d->secretStore().write(d->account.secretName(), password, [done = std::move(done)](const QString &error) {
        if (done)
            done(error);
    });
}

void CalDavSync::setNetworkAccessManager(QNetworkAccessManager *network)
{
    d->transport.setNetwork(network);
    d->discovery.setNetwork(network);
}

void CalDavSync::setScheduler(Scheduler scheduler) { d->scheduler = std::move(scheduler); }

void CalDavSync::setRetryDelays(std::chrono::milliseconds first, std::chrono::milliseconds maximum)
{
    d->retryFirst = d->retryDelay = first;
    d->retryMax = std::max(first, maximum);
}

void CalDavSync::setAutoSyncInterval(std::chrono::milliseconds interval)
{
    d->autoInterval = interval;
    const quint64 plan = ++d->autoPlan;
    if (interval > 0ms)
        d->planAutoSync(plan);
}

void CalDavSync::noteLocalChanges()
{
    const qint64 queued = d->store.isOpen() ? d->store.pendingCount() : 0;
    if (queued != d->state.queued) {
        d->state.queued = queued;
        emit statusChanged(d->state);
    }
    // Offline, the planned retry sends them; otherwise they need not wait a whole round.
    if (queued > 0 && d->autoInterval > 0ms && !d->soonPlanned && d->state.state != SyncStatus::State::Offline) {
        d->soonPlanned = true;
        d->schedule(LocalChangesDelay, [this] {
            d->soonPlanned = false;
            d->start();
        });
    }
}

void CalDavSync::setReplyLimit(qint64 bytes)
{
    d->transport.setReplyLimit(bytes);
    d->discovery.setReplyLimit(bytes);
}

void CalDavSync::discover() { d->discover(); }

QUrl CalDavSync::calendar() const { return QUrl(d->store.syncValue(QStringLiteral("calendar"))); }

void CalDavSync::setCalendar(const QUrl &calendar)
{
    if (const QString why = webdav::refusedUrl(calendar); !why.isEmpty())
        throw Error(SyncLedger::WriteError, why, Error::ComponentSource);
    if (calendar == this->calendar() && d->store.tracksChanges())
        return;
    cancel();
    SyncLedger::SyncCommit commit;
    commit.resetResources = true;
    commit.values = {{QStringLiteral("calendar"), calendar.toString()}, {QStringLiteral("token"), QString()}};
    d->store.commitSync(commit);
    d->store.setTracksChanges(true);
}

void CalDavSync::syncNow() { d->start(); }

void CalDavSync::cancel()
{
    if (!d->running)
        return;
    d->transport.abort();
    d->running = false;
    d->again = false;
    ++d->runId;
    d->conflicts.clear();
    try {
        d->flush();
    } catch (const Error &e) {
        qCWarning(syncLog) << "cannot keep what the server sent:" << e.description();
    }
    d->setState(SyncStatus::State::Idle);
    emit syncFinished(false);
}

SyncStatus CalDavSync::status() const { return d->state; }

} // namespace dayvex
