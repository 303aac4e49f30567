#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/changejournal.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/platform/error.h>

#include <QString>

#include <memory>
#include <vector>

namespace dayvex {

/// Keeps a DayvexData's appointments, to-dos, users, places, categories and
/// projects in one SQLite file on this machine. Each kind of record has a table:
/// a row per record with its position in the list and one column per property
/// of the record's meta-object, so a property added to a record becomes a
/// column the next time a file is opened, with no step of its own. Dates are
/// stored as their automation number (NaN as the text "NaN").
///
/// While open, the store is the data's journal: every change the control makes
/// is written, in a transaction of its own, before the host's after-event.
/// Changes a host makes through the object model are written by save().
/// Pending alarms are not kept: they follow from the reminder dates.
class DAYVEX_CORE_EXPORT LocalStore : public ChangeJournal
{
public:
    static constexpr int SchemaVersion = 2; ///< The layout of the tables this build writes.
    /// The file was written by a newer build (its schema version is higher).
    static constexpr qint32 NewerFileError = Error::ObjectErrorBase + 30;
    /// The file is not a Dayvex store, or is damaged.
    static constexpr qint32 UnreadableFileError = Error::ObjectErrorBase + 31;
    /// A read or write of the file failed (disk full, file locked, store not open).
    static constexpr qint32 WriteError = Error::ObjectErrorBase + 32;

    /// What open() found.
    enum class Opened {
        Created, ///< A new or empty file, which now holds the data's contents.
        Loaded,  ///< A store whose records replaced the data's.
    };

    /// A store for data, not yet open.
    explicit LocalStore(std::shared_ptr<DayvexData> data);
    /// Closes the file; what was not saved stays unsaved.
    ~LocalStore() override;
    LocalStore(const LocalStore &) = delete;
    LocalStore &operator=(const LocalStore &) = delete;

    /// "agenda.sqlite" in the application's data folder (QStandardPaths::AppDataLocation).
    static QString defaultPath();

    /// Opens path, closing any file open before. A store's records replace the
    /// data's parts (new Schedules, ToDoS and Users); a new or empty file gets
    /// the data's contents. A file of an older schema is brought forward. Throws
    /// NewerFileError or UnreadableFileError without writing to the file or
    /// touching the data, WriteError when the file cannot be opened or written.
    Opened open(const QString &path = defaultPath());
    /// Whether a file is open.
    bool isOpen() const;
    /// The open file, empty when none.
    QString path() const;
    /// Ends the journal and closes the file.
    void close();

    /// Writes in one transaction whatever differs between the data and the file.
    /// Throws WriteError; the file then holds what it held before.
    void save();

    /// The journal: writes record and whatever else changed in its kind and in
    /// the lookup lists, in one transaction. Throws WriteError.
    void recordChanged(const std::shared_ptr<Schedule> &record, bool removed) override;
    /// As for an appointment.
    void recordChanged(const std::shared_ptr<ToDo> &record, bool removed) override;

    // What a sync with a server keeps beside the records (see CalDavSync).

    /// An appointment or to-do the control or save() added, changed or removed
    /// while the store tracks changes, waiting to go to a server.
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
        std::vector<PendingChange> queued;     ///< Changes to queue besides (seq is given by the store).
    };

    /// Whether changes are also queued as pending (kept in the file; off in a new one).
    void setTracksChanges(bool on);
    /// Whether changes are queued as pending.
    bool tracksChanges() const;
    /// The queue of pending changes, oldest first.
    std::vector<PendingChange> pendingChanges() const;
    /// How many changes wait.
    qint64 pendingCount() const;
    /// Every resource known on the server.
    std::vector<SyncedResource> syncedResources() const;
    /// A value a sync keeps (a token, the calendar's address); empty when unset.
    QString syncValue(const QString &name) const;
    /// Writes, in one transaction, whatever differs between the data and the file
    /// without queueing it (it came from the server), and commit. Throws WriteError.
    void commitSync(const SyncCommit &commit);

private:
    class Impl;
    std::unique_ptr<Impl> d;
};

} // namespace dayvex
