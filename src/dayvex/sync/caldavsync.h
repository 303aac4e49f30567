#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/syncledger.h>

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>

class QNetworkAccessManager;

namespace dayvex {

class DayvexData;
class SecretStore;

/// A CalDAV account: where the server is and who signs in. The password is
/// never part of it: it is kept by a SecretStore under secretName().
struct DAYVEX_CORE_EXPORT CalDavAccount
{
    QUrl server;  ///< The server's address (https, or http to this machine only).
    QString user; ///< The user name.
    /// The name the password is kept under: "user@host:port".
    QString secretName() const;
};

/// A calendar found on the server.
struct DAYVEX_CORE_EXPORT CalDavCalendar
{
    QUrl url;               ///< The calendar collection's address.
    QString displayName;    ///< Its name for people (the last part of its path when it has none).
    QStringList components; ///< What it holds: "VEVENT", "VTODO"...; empty when the server does not say.
    QString syncToken;      ///< Its sync token (RFC 6578), empty when the server keeps none.
    QString ctag;           ///< Its change tag (getctag), empty when the server keeps none.
};

/// What a sync is doing, for a status line.
struct DAYVEX_CORE_EXPORT SyncStatus
{
    /// The state proper.
    enum class State {
        Idle,    ///< Nothing under way; the last sync, if any, ended well.
        Syncing, ///< A sync is under way.
        Offline, ///< The server cannot be reached; changes wait and a retry is planned.
        Error,   ///< The last sync failed for another reason (see error).
    };
    State state = State::Idle; ///< See State.
    qint64 queued = 0;         ///< Local changes waiting to go to the server.
    QString error;             ///< Why the last sync failed; empty after a good one.
    QDateTime lastSync;        ///< When the last sync ended well; invalid when none has.
    /// "Synced 14:02", "Syncing…", "Offline, 3 changes waiting", "Sync failed: …".
    QString text() const;
};

/// A record changed on both sides since the last sync, or refused by the
/// server (412): both versions, as iCalendar text, and the host's answer.
struct DAYVEX_CORE_EXPORT SyncConflict
{
    /// What to keep.
    enum class Answer {
        Unanswered, ///< No answer: the server's version wins and the local one stays as a copy.
        KeepServer, ///< The server's version replaces the local one.
        KeepLocal,  ///< The local version replaces the server's.
        KeepBoth,   ///< The server's version, and the local one as a copy (a new UID).
    };
    QString uid;         ///< The resource's UID.
    QByteArray local;    ///< The local records as iCalendar text.
    QByteArray server;   ///< The server's resource; empty when the server removed it.
    Answer answer = Answer::Unanswered; ///< Set by a handler connected directly.
};

/// Two-way sync between one calendar on a CalDAV server (RFC 4791) and a
/// SyncLedger (a LocalStore) with its DayvexData. Opt-in: nothing happens until a host calls
/// setCalendar() and syncNow() (or setAutoSyncInterval()).
///
/// The first sync reads the whole calendar with a calendar-query, streamed
/// into the store in batches, and uploads the local records the server lacks;
/// later ones ask only for what changed since (sync-collection, RFC 6578),
/// or compare ETags when the server refuses the token. Local changes wait in
/// the store's queue, written with the change itself, and go up in order:
/// PUT with If-Match (or If-None-Match for new ones), DELETE with If-Match.
/// A series with its changed occurrences is one resource. Nothing blocks:
/// every request runs from the event loop.
class DAYVEX_CORE_EXPORT CalDavSync : public QObject
{
    Q_OBJECT
public:
    /// A sync of store, which must be open and hold data, its resources written
    /// and read by codec (iCalendarResources()). Neither store nor data is owned.
    CalDavSync(SyncLedger &store, std::shared_ptr<DayvexData> data, ResourceCodec codec, QObject *parent = nullptr);
    /// Ends the request under way, if any; what was done is kept.
    ~CalDavSync() override;

    /// The account to use; its password is read from the secret store when needed.
    void setAccount(const CalDavAccount &account);
    /// The account in use.
    CalDavAccount account() const;
    /// Where passwords are kept; a KeychainSecretStore unless set. Not owned
    /// when given as a reference: it must outlive this object.
    void setSecretStore(std::shared_ptr<SecretStore> secrets);
    /// Keeps password for the account (through the secret store), then calls done with an empty text or the reason.
    void setPassword(const QString &password, std::function<void(const QString &error)> done = {});
    /// Uses password for the account until the account changes, without keeping
    /// it: a password being tried (as a dialog's Find does before Save).
    void usePassword(const QString &password);
    /// Sends requests through network (not owned); a manager of its own unless set.
    void setNetworkAccessManager(QNetworkAccessManager *network);

    /// Plans a call of due after delay: how retries and automatic syncs wait.
    /// A QTimer unless set; tests plan their own.
    using Scheduler = std::function<void(std::chrono::milliseconds delay, std::function<void()> due)>;
    /// Sets the scheduler (see Scheduler).
    void setScheduler(Scheduler scheduler);
    /// The first retry after the server could not be reached comes after this
    /// delay, doubling each time up to maximum (by default 5 seconds and 5 minutes).
    void setRetryDelays(std::chrono::milliseconds first, std::chrono::milliseconds maximum);
    /// Syncs every interval (zero, the default, for never).
    void setAutoSyncInterval(std::chrono::milliseconds interval);
    /// Local records changed: the status counts the changes waiting, and with
    /// automatic sync on they go up a moment later instead of at the next round.
    void noteLocalChanges();
    /// Bounds the size of one reply (256 MiB by default); a larger one is refused.
    void setReplyLimit(qint64 bytes);

    /// Asks the server for the account's calendars: calendarsFound or discoveryFailed follows.
    void discover();
    /// The calendar kept in the store, empty when none is chosen.
    QUrl calendar() const;
    /// Syncs the store with calendar from now on. Another calendar than the one
    /// before starts again: the next sync reads it whole and uploads what it lacks.
    void setCalendar(const QUrl &calendar);

    /// Starts a sync now (a sync under way is followed by another).
    void syncNow();
    /// Ends the sync under way; what was done is kept on both sides, the rest waits.
    void cancel();
    /// The state for a status line.
    SyncStatus status() const;

signals:
    /// The calendars of the account, after discover().
    void calendarsFound(const QList<dayvex::CalDavCalendar> &calendars);
    /// discover() failed, with the reason for a person.
    void discoveryFailed(const QString &error);
    /// A conflict: connect directly and set conflict.answer.
    void conflict(dayvex::SyncConflict &conflict);
    /// The status changed.
    void statusChanged(const dayvex::SyncStatus &status);
    /// A sync ended, well or not (see status()); records may have changed.
    void syncFinished(bool ok);
    /// The server refused the records of uid as they are (an invalid or too
    /// large resource, a calendar it will not write): they stay on this device
    /// only, the server keeps what it had, and the sync goes on with the rest.
    /// A later change of those records is sent again.
    void uploadRefused(const QString &uid, const QString &reason);

private:
    class Impl;
    std::unique_ptr<Impl> d;
};

} // namespace dayvex
