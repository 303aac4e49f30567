#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/date.h>

#include <QHash>
#include <QString>

#include <vector>

namespace dayvex {

/// The local times of a series' RecurrenceDates or ExceptionDates text
/// ("20270301T080000,20270308T080000"); unreadable items are left out.
DAYVEX_CORE_EXPORT std::vector<Date> seriesDates(const QString &text);
/// The text seriesDates reads.
DAYVEX_CORE_EXPORT QString seriesDatesText(const std::vector<Date> &dates);

/// The midnight nearest to date: the day a whole-day series' date means when
/// it was written in another zone (00:00 in London is 01:00 in Rome).
DAYVEX_CORE_EXPORT Date nearestMidnight(Date date);

/// Whether libical can read `rule` as an RRULE value, and walk it in reasonable
/// time: a secondly rule limited to some days, a minutely one to some weeks,
/// months or days of the year, a daily or finer one on days counted from the
/// month's end, or one whose days of the month no month it names has (the 31st
/// of February), shows its first occurrence only.
DAYVEX_CORE_EXPORT bool isReadableRule(const QString &rule);

/// The starts of a series' occurrences from `from` (included) to `to` (not), in
/// order: the rule's, counted by libical's recurrence iterator from StartDate on
/// the wall clock, and the extra dates, less the exceptions and the starts in
/// `overridden` (occurrences that stand as records of their own). A record that
/// is no series has its own start only; a rule libical cannot read or walk
/// (isReadableRule) stands for the start alone, with the extra dates. At
/// most `limit` starts; the walk is bounded: a rule without COUNT starts near
/// `from`, one with COUNT stops after `maxSteps` occurrences.
DAYVEX_CORE_EXPORT std::vector<Date> occurrenceStarts(const Schedule &series, Date from, Date to,
                                                      const std::vector<Date> &overridden = {}, int limit = 1000,
                                                      int maxSteps = 100000);

/// The reminder of a series next due after `after`: the first occurrence
/// (less `overridden`, which remind as records of their own) whose reminder
/// falls later, less its reminderLead(); the empty date when none does.
DAYVEX_CORE_EXPORT Date nextReminder(const Schedule &series, Date after, const std::vector<Date> &overridden = {});

/// The start of the occurrence a series' reminder due at `due` is for: the last
/// one to start no later than `due` plus the lead (a reminder snoozed past its
/// start still belongs to it); StartDate when there is none.
DAYVEX_CORE_EXPORT Date remindedOccurrence(const Schedule &series, Date due);

/// An edit of "this and the following" occurrences from `at` on: the series
/// ended before `at`, and a new one from `at` on whose occurrences are the rest
/// of the old one's, moved by `minutes`. Each keeps the old end: a COUNT is
/// shared out between them, an UNTIL stays with the new one (moved with it)
/// and bounds the ended one too. Only the rule and the two dates texts are set.
struct SeriesSplit
{
    Schedule ended;
    Schedule following;
};
DAYVEX_CORE_EXPORT SeriesSplit splitSeriesAt(const Schedule &series, Date at, qint64 minutes = 0);

/// Each item of a RecurrenceDates or ExceptionDates text moved by minutes;
/// unreadable items as they were.
DAYVEX_CORE_EXPORT QString shiftedSeriesDates(const QString &dates, qint64 minutes);

/// occurrenceStarts for redraws: the last answer for a series again while its
/// rule, start, dates, the range and the overridden starts are all the same,
/// computed anew otherwise; so a redraw of the same days asks libical nothing.
class DAYVEX_CORE_EXPORT OccurrenceCache
{
public:
    const std::vector<Date> &starts(const Schedule &series, Date from, Date to, const std::vector<Date> &overridden);

private:
    struct Entry
    {
        QString rule, dates, exceptions;
        double start = 0, from = 0, to = 0;
        std::vector<Date> overridden;
        std::vector<Date> starts;
    };
    QHash<QString, Entry> m_entries;
};

} // namespace dayvex
