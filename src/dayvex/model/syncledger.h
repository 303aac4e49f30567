#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/error.h>

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <functional>
#include <utility>
#include <vector>

namespace dayvex {

class DayvexData;

/// What a sync with a server keeps beside the records: the changes waiting to
/// go up, the resources last seen on the server, and a few named values (the
/// calendar, its sync token). A store implements it (see LocalStore); a sync
/// (see CalDavSync) reads and commits through it.
class DAYVEX_CORE_EXPORT SyncLedger
{
public:
    /// Thrown by commitSync, save and the sync when what changed cannot be kept.
    static constexpr qint32 WriteError = Error::ObjectErrorBase + 32;

    /// An appointment or to-do the control or save() added, changed or removed
    /// while changes are tracked, waiting to go to a server.
    struct PendingChange
    {
        qint64 seq = 0;    ///< Its place in the queue: changes go up in this order.
        char kind = 'S';   ///< 'S' for an appointment, 'T' for a to-do.
        QString key;       ///< The record's key at the time of the change.
        QString uid;       ///< The record's Tag (its iCalendar UID) at the time of the change.
        QString seriesKey; ///< An appointment's SeriesKey at the time of the change.
        bool removed = false; ///< Whether the record was removed.
    };
    /// A resource the server holds: one iCalendar object, one UID.
    struct SyncedResource
    {
        QString uid;  ///< The UID of its records.
        QString href; ///< Its path on the server.
        QString etag; ///< Its ETag as last seen.
        /// A digest of its records' fields as last sent or received: tells a
        /// server's own rewrite of a resource from a change.
        QString fingerprint;
    };
    /// What commitSync writes in one transaction.
    struct SyncCommit
    {
        std::vector<SyncedResource> resources; ///< Resources added or seen again (by UID).
        QStringList forgotten;                 ///< UIDs whose resource is gone.
        std::vector<qint64> done;              ///< Pending changes sent (by seq).
        std::vector<std::pair<QString, QString>> values; ///< Named values set (an empty value removes one).
        bool resetResources = false;           ///< Forget every resource first (another calendar).
        std::vector<PendingChange> queued;     ///< Changes to queue besides (seq is given by the ledger).
    };

    virtual ~SyncLedger() = default;
    /// Whether the ledger can be read and written.
    virtual bool isOpen() const = 0;
    /// Writes what the host changed through the object model (and queues it while changes are tracked).
    virtual void save() = 0;
    /// Whether changes are also queued as pending (off until a calendar is chosen).
    virtual void setTracksChanges(bool on) = 0;
    /// See setTracksChanges.
    virtual bool tracksChanges() const = 0;
    /// The changes waiting, oldest first.
    virtual std::vector<PendingChange> pendingChanges() const = 0;
    /// How many changes wait.
    virtual qint64 pendingCount() const = 0;
    /// The resources as last synced.
    virtual std::vector<SyncedResource> syncedResources() const = 0;
    /// A named value, empty when none is kept.
    virtual QString syncValue(const QString &name) const = 0;
    /// Writes, in one transaction, whatever differs between the data and the
    /// ledger's copy without queueing it (it came from the server), and commit.
    /// Throws dayvex::Error (WriteError) when it cannot.
    virtual void commitSync(const SyncCommit &commit) = 0;
};

/// How the records of one server resource are written and read: a sync moves
/// resources, a codec knows their format (see iCalendarResources()).
struct DAYVEX_CORE_EXPORT ResourceCodec
{
    /// The text of a resource holding every record of the data.
    std::function<QByteArray(DayvexData &records)> write;
    /// Reads a resource's text into an empty data; false, with why, when it cannot be read.
    std::function<bool(const QByteArray &text, DayvexData &into, QString &why)> read;
};

} // namespace dayvex
