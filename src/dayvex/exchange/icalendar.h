#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/syncledger.h>

#include <QByteArray>
#include <QDate>
#include <QList>
#include <QString>

#include <functional>

namespace dayvex {

class DayvexData;

/// What an import takes in besides the file.
struct DAYVEX_CORE_EXPORT ImportOptions
{
    // Without keepSeries, recurring events become single appointments between
    // these days, both included. Null days mean a year back and two years ahead of today.
    QDate windowFrom;   ///< First day recurring events are expanded on; null: a year back from today.
    QDate windowTo;     ///< Last day recurring events are expanded on, included; null: two years ahead of today.
    /// A bound on the appointments one recurring event may yield inside the window.
    int maxOccurrencesPerEvent = 5000;

    // Bounds on the work of one import. Passing one fails the import with an
    // entry saying which, and leaves the data as it was.
    qint64 maxFileBytes = 32 * 1024 * 1024; ///< Larger files are refused unread.
    int maxRecords = 100000;                 ///< Appointments and to-dos one file may yield in all.
    qint64 maxRuleSteps = 1000000;           ///< Steps of the recurrence rules over the whole file.
    int maxMilliseconds = 30000;             ///< Time reading the file may take.

    /// Called as components are read, with how many of the file's VEVENTs and
    /// VTODOs are done; returning false cancels the import, leaving the data as it was.
    std::function<bool(int done, int total)> progress;

    /// True (the default): a recurring event stays one record, a series
    /// (Recurrence, RecurrenceDates, ExceptionDates, its reminder's lead in
    /// ReminderLead), and each occurrence changed on its own (RECURRENCE-ID) a
    /// record of that series (SeriesKey, RecurrenceId); the window and the rule
    /// bounds then do not apply to it. False: a recurring event becomes its
    /// occurrences in the window, as single appointments.
    bool keepSeries = true;
};

/// What an export takes in besides the data.
struct DAYVEX_CORE_EXPORT ExportOptions
{
    /// Called after each record, with how many are done of all; returning false
    /// cancels the export: no file is written.
    std::function<bool(int done, int total)> progress;
};

/// One remark of an import or export: a component skipped, or taken in with a caveat.
struct DAYVEX_CORE_EXPORT ExchangeEntry
{
    /// Import: "VEVENT 3" (the third in the file), "VTODO 1", or "file";
    /// export: "appointment <key>", "to-do <key>", or "file".
    QString component;
    QString uid;            ///< The component's UID, empty when it has none or the remark is about the file.
    QString message;        ///< What happened.
    bool skipped = false;   ///< Whether the component (or the file) was left out.
};

/// The outcome of an import or export.
struct DAYVEX_CORE_EXPORT ExchangeReport
{
    bool fileRead = false;     ///< false: the file could not be used and nothing changed.
    int appointments = 0;      ///< Added to (import) or written from (export) the data.
    int todos = 0;             ///< To-dos added (import) or written (export).
    int alreadyPresent = 0;    ///< Matched on UID and start (a to-do's due date), left as they were.
    int skipped = 0;           ///< Components left out; each has an entry saying why.
    QList<ExchangeEntry> entries; ///< The remarks, in the order they were made.

    /// "12 appointments, 3 to-dos, 2 already present, 1 skipped", then one line per entry.
    QString summary() const;
};

/// Reads an iCalendar file into `into`: VEVENTs become appointments, VTODOs
/// to-dos, each VALARM their reminder. Records go through the collections' own
/// Add under keys from NewKey, and keep their UID in Tag; an appointment keeps
/// the file's end even where Add would correct it (a shift ending on a later day
/// at an earlier time). Properties no member holds are kept in Extra. Owners, places,
/// categories and projects join their lists. A component already present (same
/// UID and start; for a to-do, same UID and due date) is not added again. A component
/// that cannot be read is skipped with an entry; when the file as a whole cannot be
/// used, adding fails, a bound of `options` is passed or the host cancels, `into`
/// is left exactly as it was. Only a regular file is read. Errors are reported, not thrown.
DAYVEX_CORE_EXPORT ExchangeReport importICalendar(const QString &path, DayvexData &into,
                                             const ImportOptions &options = {});
/// importICalendar on the bytes of a file already read.
DAYVEX_CORE_EXPORT ExchangeReport importICalendarData(const QByteArray &bytes, DayvexData &into,
                                                 const ImportOptions &options = {});

/// Writes every appointment and to-do of `from` as an iCalendar file, times in
/// this machine's zone (with its VTIMEZONE), or in UTC when libical does not know
/// the zone. Only a regular file is written, and replaced only once it is
/// written whole; a failure to write clears fileRead and adds an entry.
DAYVEX_CORE_EXPORT ExchangeReport exportICalendar(DayvexData &from, const QString &path);
/// exportICalendar with progress and cancelling.
DAYVEX_CORE_EXPORT ExchangeReport exportICalendar(DayvexData &from, const QString &path, const ExportOptions &options);
/// The iCalendar text exportICalendar writes; the report goes to report when given.
DAYVEX_CORE_EXPORT QByteArray exportICalendarData(DayvexData &from, ExchangeReport *report = nullptr);
/// exportICalendarData with progress; empty when cancelled.
DAYVEX_CORE_EXPORT QByteArray exportICalendarData(DayvexData &from, ExchangeReport *report,
                                                  const ExportOptions &options);

/// A server resource as one iCalendar object: its records written with
/// exportICalendarData, read with importICalendarData with series kept whole
/// and a text over maxBytes refused. What a CalDAV sync is given.
DAYVEX_CORE_EXPORT ResourceCodec iCalendarResources(qsizetype maxBytes = 16 * 1024 * 1024);

} // namespace dayvex
