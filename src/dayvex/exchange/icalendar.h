#pragma once

#include <dayvex/dayvex_export.h>

#include <QByteArray>
#include <QDate>
#include <QList>
#include <QString>

namespace dayvex {

class DayvexData;

/// What an import takes in besides the file.
struct DAYVEX_CORE_EXPORT ImportOptions
{
    // Recurring events become single appointments between these days, both
    // included. Null days mean a year back and two years ahead of today.
    QDate windowFrom;   ///< First day recurring events are expanded on; null: a year back from today.
    QDate windowTo;     ///< Last day recurring events are expanded on, included; null: two years ahead of today.
    /// A bound on the appointments one recurring event may yield inside the window.
    int maxOccurrencesPerEvent = 5000;
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
/// Add under keys from NewKey, and keep their UID in Tag; owners, places,
/// categories and projects join their lists. A component already present (same
/// UID and start; for a to-do, same UID and due date) is not added again. A component
/// that cannot be read is skipped with an entry; when the file as a whole cannot be
/// used, or adding fails, `into` is left exactly as it was. Errors are reported, not thrown.
DAYVEX_CORE_EXPORT ExchangeReport importICalendar(const QString &path, DayvexData &into,
                                             const ImportOptions &options = {});
/// importICalendar on the bytes of a file already read.
DAYVEX_CORE_EXPORT ExchangeReport importICalendarData(const QByteArray &bytes, DayvexData &into,
                                                 const ImportOptions &options = {});

/// Writes every appointment and to-do of `from` as an iCalendar file, times in
/// UTC. The file is replaced only once it is written whole; a failure to write
/// clears fileRead and adds an entry.
DAYVEX_CORE_EXPORT ExchangeReport exportICalendar(DayvexData &from, const QString &path);
/// The iCalendar text exportICalendar writes; the report goes to report when given.
DAYVEX_CORE_EXPORT QByteArray exportICalendarData(DayvexData &from, ExchangeReport *report = nullptr);

} // namespace dayvex
