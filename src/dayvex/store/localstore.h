#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/changejournal.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/syncledger.h>
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
class DAYVEX_CORE_EXPORT LocalStore : public ChangeJournal, public SyncLedger
{
public:
    static constexpr int SchemaVersion = 2; ///< The layout of the tables this build writes.
    /// The file was written by a newer build (its schema version is higher).
    static constexpr qint32 NewerFileError = Error::ObjectErrorBase + 30;
    /// The file is not a Dayvex store, or is damaged.
    static constexpr qint32 UnreadableFileError = Error::ObjectErrorBase + 31;
    /// A read or write of the file failed (disk full, file locked, store not open).
    static constexpr qint32 WriteError = SyncLedger::WriteError;

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
    bool isOpen() const override;
    /// The open file, empty when none.
    QString path() const;
    /// Ends the journal and closes the file.
    void close();

    /// Writes in one transaction whatever differs between the data and the file.
    /// Throws WriteError; the file then holds what it held before.
    void save() override;

    /// The journal: writes record and whatever else changed in its kind and in
    /// the lookup lists, in one transaction. Throws WriteError.
    void recordChanged(const std::shared_ptr<Schedule> &record, bool removed) override;
    /// As for an appointment.
    void recordChanged(const std::shared_ptr<ToDo> &record, bool removed) override;

    // What a sync with a server keeps beside the records (see SyncLedger).

    void setTracksChanges(bool on) override;
    bool tracksChanges() const override;
    std::vector<PendingChange> pendingChanges() const override;
    qint64 pendingCount() const override;
    std::vector<SyncedResource> syncedResources() const override;
    QString syncValue(const QString &name) const override;
    void commitSync(const SyncCommit &commit) override;

private:
    class Impl;
    std::unique_ptr<Impl> d;
};

} // namespace dayvex
