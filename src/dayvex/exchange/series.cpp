#include "series.h"

#include "icalvalues.h"

#include <dayvex/model/records.h>
#include <dayvex/platform/error.h>

#include <libical/ical.h>

#include <QDateTime>
#include <QStringList>
#include <QTimeZone>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>

namespace dayvex {

namespace {
// Whether a rule's BY part (one of its arrays) holds any value.
bool given(const short *parts) { return parts[0] != ICAL_RECURRENCE_ARRAY_MAX; }

// Wall-clock fields and back, by the calendar alone: a QDateTime in local time
// would ask the zone database at every occurrence of every series on show.
icaltimetype floating(Date local)
{
    const QDate day = local.toDate();
    const QTime time = local.toTime();
    icaltimetype fields = icaltime_null_time();
    fields.year = day.year();
    fields.month = day.month();
    fields.day = day.day();
    fields.hour = time.hour();
    fields.minute = time.minute();
    fields.second = time.second();
    return fields;
}

Date fromFloating(const icaltimetype &time)
{
    return Date::fromDateAndTime(QDate(time.year, time.month, time.day), QTime(time.hour, time.minute, time.second));
}

icalrecurrencetype ruleOf(const QString &rule)
{
    const icalrecurrencetype recurrence = icalrecurrencetype_from_string(rule.toUtf8().constData());
    icalerror_clear_errno();
    return recurrence;
}

// Dates in the order of time. Before 30 December 1899 the stored numbers run
// backwards within a day (-1.25 is 06:00, -1.5 noon): the walks need the clock's order.
double timeline(Date date)
{
    const double value = date.value();
    return value >= 0 ? value : 2 * std::trunc(value) - value;
}

bool earlier(Date a, Date b) { return timeline(a) < timeline(b); }

bool inside(Date start, Date from, Date to) { return !earlier(start, from) && earlier(start, to); }

// date moved by seconds; none outside the years a date holds.
std::optional<Date> shifted(Date date, qint64 seconds)
{
    if (!std::isfinite(date.value()))
        return std::nullopt;
    try {
        return date.addSeconds(seconds);
    } catch (const Error &) {
        return std::nullopt;
    }
}
} // namespace

Date nearestMidnight(Date date)
{
    if (!date.isValid() || date.isEmpty())
        return date;
    const QDate day = date.toDate();
    const QDate nearest = date.minuteOfDay() >= 12 * 60 ? day.addDays(1) : day;
    return nearest.year() <= 9999 ? Date::fromDate(nearest) : date;
}

std::vector<Date> seriesDates(const QString &text)
{
    std::vector<Date> dates;
    for (const QString &item : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QString trimmed = item.trimmed();
        const QDate day = QDate::fromString(trimmed.left(8), QStringLiteral("yyyyMMdd"));
        const QTime time = QTime::fromString(trimmed.mid(9), QStringLiteral("HHmmss"));
        if (trimmed.size() == 15 && trimmed[8] == QLatin1Char('T') && day.isValid() && time.isValid()
            && day.year() >= 100 && day.year() <= 9999)
            dates.push_back(Date::fromDateAndTime(day, time));
    }
    std::sort(dates.begin(), dates.end(), earlier);
    return dates;
}

QString seriesDatesText(const std::vector<Date> &dates)
{
    QStringList items;
    for (Date date : dates)
        items << date.toDate().toString(QStringLiteral("yyyyMMdd")) + QLatin1Char('T')
                     + date.toTime().toString(QStringLiteral("HHmmss"));
    return items.join(QLatin1Char(','));
}

namespace ical {
bool tooCostlyToWalk(const icalrecurrencetype &rule)
{
    // A weekday with a number (the 2nd Tuesday) or a week number asks for a
    // month or a year: with a finer frequency nothing may ever match, and
    // libical looks until the year 2582.
    bool numberedDay = false;
    for (int i = 0; i < ICAL_BY_DAY_SIZE && rule.by_day[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i)
        numberedDay = numberedDay || icalrecurrencetype_day_position(rule.by_day[i]) != 0;
    if ((numberedDay && rule.freq != ICAL_MONTHLY_RECURRENCE && rule.freq != ICAL_YEARLY_RECURRENCE)
        || (given(rule.by_week_no) && rule.freq != ICAL_YEARLY_RECURRENCE))
        return true;
    // A yearly rule without months that numbers its weekdays and names days of
    // the month: libical refuses it, after a tenth of a second of work each time.
    if (numberedDay && rule.freq == ICAL_YEARLY_RECURRENCE && !given(rule.by_month) && given(rule.by_month_day))
        return true;
    // A day counted from the month's end (BYMONTHDAY=-1) is never met by libical's
    // daily or finer walk, which looks for it until 2582: up to 17 s a range.
    if (rule.freq < ICAL_MONTHLY_RECURRENCE)
        for (int i = 0; i < ICAL_BY_MONTHDAY_SIZE && rule.by_month_day[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i)
            if (rule.by_month_day[i] < 0)
                return true;
    const bool sparseDays = given(rule.by_month) || given(rule.by_week_no) || given(rule.by_year_day);
    if (rule.freq == ICAL_SECONDLY_RECURRENCE) {
        bool leapSecond = false; // 60 is a second that may never come
        for (int i = 0; i < ICAL_BY_SECOND_SIZE && rule.by_second[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i)
            leapSecond = leapSecond || rule.by_second[i] >= 60;
        return sparseDays || given(rule.by_month_day) || given(rule.by_day) || given(rule.by_set_pos) || leapSecond;
    }
    return rule.freq == ICAL_MINUTELY_RECURRENCE && sparseDays;
}

namespace {
int countOf(const short *parts, int size)
{
    int n = 0;
    while (n < size && parts[n] != ICAL_RECURRENCE_ARRAY_MAX)
        ++n;
    return n;
}

// Whether BYSETPOS asks only for positions past the most days a month or a year
// of the rule can hold (the 2nd of a month's one 31st); false when that is hard
// to tell. libical counts days there, whatever hours a day has, and ignores
// BYSETPOS below months.
bool positionsPastTheSet(const icalrecurrencetype &rule)
{
    const int positions = countOf(rule.by_set_pos, ICAL_BY_SETPOS_SIZE);
    const int weekDays = countOf(rule.by_day, ICAL_BY_DAY_SIZE);
    if (positions == 0 || countOf(rule.by_year_day, ICAL_BY_YEARDAY_SIZE) > 0
        || countOf(rule.by_week_no, ICAL_BY_WEEKNO_SIZE) > 0
        || !(rule.freq == ICAL_MONTHLY_RECURRENCE || (rule.freq == ICAL_YEARLY_RECURRENCE && weekDays == 0)))
        return false;
    int days = 0; // in a month: a numbered weekday (the last Sunday) once, a plain one up to five times
    for (int i = 0; i < weekDays; ++i)
        days += icalrecurrencetype_day_position(rule.by_day[i]) != 0 ? 1 : 5;
    const int monthDays = countOf(rule.by_month_day, ICAL_BY_MONTHDAY_SIZE);
    if (monthDays > 0)
        days = monthDays;
    else if (weekDays == 0)
        days = 1;
    if (rule.freq == ICAL_YEARLY_RECURRENCE)
        days *= std::max(1, countOf(rule.by_month, ICAL_BY_MONTH_SIZE));
    for (int i = 0; i < positions; ++i)
        if (std::abs(int(rule.by_set_pos[i])) <= days)
            return false;
    return true;
}
} // namespace

bool namesNoDay(const icalrecurrencetype &rule)
{
    if (positionsPastTheSet(rule))
        return true;
    if (!given(rule.by_month_day))
        return false;
    // A numbered weekday counts within the month, so its days are a week's
    // span of it; in a year without months it counts within the year.
    std::vector<short> numbered;
    for (int i = 0; i < ICAL_BY_DAY_SIZE && rule.by_day[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i) {
        const int position = icalrecurrencetype_day_position(rule.by_day[i]);
        if (position == 0)
            return false; // a plain weekday falls on any day of the month some year
        numbered.push_back(short(position));
    }
    const bool months = given(rule.by_month);
    if (rule.freq != ICAL_MONTHLY_RECURRENCE && !(rule.freq == ICAL_YEARLY_RECURRENCE && months))
        numbered.clear();
    static const int Lengths[][2] = {{31, 31}, {28, 29}, {31, 31}, {30, 30}, {31, 31}, {30, 30},
                                     {31, 31}, {31, 31}, {30, 30}, {31, 31}, {30, 30}, {31, 31}};
    for (int month = 1; month <= 12; ++month) {
        bool named = !months;
        for (int i = 0; i < ICAL_BY_MONTH_SIZE && rule.by_month[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i)
            named = named || icalrecurrencetype_month_month(rule.by_month[i]) == month;
        if (!named)
            continue;
        for (const int length : Lengths[month - 1]) {
            for (int i = 0; i < ICAL_BY_MONTHDAY_SIZE && rule.by_month_day[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i) {
                const int given = rule.by_month_day[i];
                const int day = given > 0 ? given : length + 1 + given;
                if (day < 1 || day > length)
                    continue;
                if (numbered.empty())
                    return false;
                for (const short position : numbered) {
                    const int first = position > 0 ? 7 * (position - 1) + 1 : length + 1 + 7 * position;
                    if (day >= first && day < first + 7)
                        return false;
                }
            }
        }
    }
    return true;
}

bool monthsNeverReached(const icalrecurrencetype &rule, int startMonth)
{
    if (rule.freq != ICAL_MONTHLY_RECURRENCE || rule.interval <= 1 || !given(rule.by_month))
        return false;
    for (int k = 0; k < 12; ++k) {
        const int month = (startMonth - 1 + k * rule.interval) % 12 + 1;
        for (int i = 0; i < ICAL_BY_MONTH_SIZE && rule.by_month[i] != ICAL_RECURRENCE_ARRAY_MAX; ++i)
            if (icalrecurrencetype_month_month(rule.by_month[i]) == month)
                return false;
    }
    return true;
}
} // namespace ical

bool isReadableRule(const QString &rule)
{
    if (rule.trimmed().isEmpty())
        return false;
    const icalrecurrencetype recurrence = ruleOf(rule);
    return recurrence.freq != ICAL_NO_RECURRENCE && !ical::tooCostlyToWalk(recurrence) && !ical::namesNoDay(recurrence);
}

std::vector<Date> occurrenceStarts(const Schedule &series, Date from, Date to, const std::vector<Date> &overridden,
                                   int limit, int maxSteps)
{
    std::vector<Date> starts;
    const double value = series.StartDate.value();
    if (!std::isfinite(value) || !earlier(from, to))
        return starts;
    // A host's start outside the years a date holds repeats nothing.
    const int year = series.StartDate.toDate().year();
    const bool plain = series.Recurrence.trimmed().isEmpty() || year < 100 || year > 9999;
    if (plain) {
        if (inside(series.StartDate, from, to))
            starts.push_back(series.StartDate);
        return starts;
    }
    icalrecurrencetype rule = ruleOf(series.Recurrence);
    // A rule libical cannot read or walk stands for its start alone; the dates
    // added and left out still count.
    const bool walked = rule.freq != ICAL_NO_RECURRENCE && !ical::tooCostlyToWalk(rule) && !ical::namesNoDay(rule)
                        && !ical::monthsNeverReached(rule, series.StartDate.toDate().month());
    // An UNTIL in UTC is a moment; the walk is on this machine's wall clock, where libical
    // would take it as a floating time and, east of Greenwich, lose the last occurrence.
    if (!icaltime_is_null_time(rule.until) && icaltime_is_utc(rule.until)) {
        const icaltimetype &u = rule.until;
        const QDateTime local =
            QDateTime(QDate(u.year, u.month, u.day), QTime(u.hour, u.minute, qMin(u.second, 59)), Qt::UTC).toLocalTime();
        if (local.isValid()) {
            rule.until = icaltime_null_time();
            rule.until.year = local.date().year();
            rule.until.month = local.date().month();
            rule.until.day = local.date().day();
            rule.until.hour = local.time().hour();
            rule.until.minute = local.time().minute();
            rule.until.second = local.time().second();
        }
    }
    std::vector<Date> left = seriesDates(series.ExceptionDates);
    left.insert(left.end(), overridden.begin(), overridden.end());
    // A whole-day series written in another zone names its days by that zone's
    // midnight (00:00 in London is 01:00 in Rome): it still means that day.
    if (series.StartDate.toTime() == QTime(0, 0)) {
        for (Date &day : left)
            day = nearestMidnight(day);
    }
    const auto leftOut = [&left](Date start) { return std::find(left.begin(), left.end(), start) != left.end(); };
    const qint64 unit = rule.freq == ICAL_HOURLY_RECURRENCE     ? 3600
                        : rule.freq == ICAL_MINUTELY_RECURRENCE ? 60
                        : rule.freq == ICAL_SECONDLY_RECURRENCE ? 1
                                                                : 0;
    // The times of `walked` in [lo, hi) walked from anchor; answers the first
    // time at or past hi, none when its end comes first or the walk runs out of steps.
    const auto walk = [&](const icalrecurrencetype &walkedRule, Date anchor, Date lo, Date hi,
                          qint64 cap) -> std::optional<Date> {
        std::unique_ptr<icalrecur_iterator, void (*)(icalrecur_iterator *)> it(
            icalrecur_iterator_new(walkedRule, floating(anchor)), icalrecur_iterator_free);
        icalerror_clear_errno();
        if (!it) {
            if (inside(series.StartDate, lo, hi) && !leftOut(series.StartDate))
                starts.push_back(series.StartDate);
            return std::nullopt;
        }
        // A daily or coarser rule without COUNT jumps with libical's own set_start, which keeps its days.
        if (unit == 0 && rule.count == 0 && earlier(anchor, lo))
            icalrecur_iterator_set_start(it.get(), floating(lo));
        for (qint64 steps = 0; int(starts.size()) < limit && steps < cap; ++steps) {
            const icaltimetype next = icalrecur_iterator_next(it.get());
            if (icaltime_is_null_time(next))
                break;
            const Date start = fromFloating(next);
            if (!earlier(start, hi))
                return start;
            if (!earlier(start, lo) && !leftOut(start))
                starts.push_back(start);
        }
        return std::nullopt;
    };
    if (!walked) {
        if (inside(series.StartDate, from, to) && !leftOut(series.StartDate))
            starts.push_back(series.StartDate);
    } else if (unit == 0 || rule.count != 0) {
        walk(rule, series.StartDate, from, to, maxSteps);
    } else {
        // An hourly, minutely or secondly rule seen far from its start would
        // take a walk of millions of steps, and libical's jump loses its phase
        // (every 5 hours from 09:30 comes out at 01:30). A walk begun between
        // two of the rule's times keeps the phase but need not agree with the
        // walk from the start: it drops the first BYHOUR time of its own day,
        // and past a day the rule skips it may come out at other minutes. So
        // the times are cut into cells, a whole number of periods long, each
        // walked from a lead-in before it: every range sees the same times, and
        // a cell begins a day (an hour, a minute) after its walk's first day
        // (hour, minute) when the rule picks days (hours, minutes).
        const bool days = given(rule.by_hour) || given(rule.by_day) || given(rule.by_month_day)
                          || given(rule.by_year_day) || given(rule.by_week_no) || given(rule.by_month)
                          || given(rule.by_set_pos);
        // Cells of a minute for a secondly rule that picks at most seconds: a
        // day of them would be a walk of 172,800 steps.
        const qint64 reach = days ? 86400 : unit == 1 && !given(rule.by_minute) ? 60 : 3600;
        const qint64 period = unit * std::max<qint64>(1, rule.interval);
        const qint64 leadIn = period * ((reach + period - 1) / period);
        const qint64 cell = 4 * leadIn;                           // a walk 5/4 of the times it keeps
        const qint64 cap = 2 * ((leadIn + cell) / period + 2);    // its times, each at most twice
        // Each walk ends with its cell (an UNTIL there): libical looks for a time
        // the rule never has (February's 366th day) until the year 2582, not past its UNTIL.
        const bool ownEnd = !icaltime_is_null_time(rule.until);
        for (qint64 n = std::max<qint64>(0, ical::secondsBetween(series.StartDate, from) / cell);
             int(starts.size()) < limit;) {
            const std::optional<Date> begin = shifted(series.StartDate, n * cell);
            if (!begin || !earlier(*begin, to))
                break;
            const Date end = shifted(*begin, cell).value_or(Date(Date::MaxValue - 1));
            const Date anchor = n == 0 ? series.StartDate : shifted(*begin, -leadIn).value_or(series.StartDate);
            icalrecurrencetype inCell = rule;
            const bool endsHere = ownEnd && icaltime_compare(rule.until, floating(end)) <= 0;
            if (!endsHere)
                inCell.until = floating(end);
            const std::optional<Date> later =
                walk(inCell, anchor, earlier(from, *begin) ? *begin : from, earlier(end, to) ? end : to, cap);
            if (!later && endsHere)
                break;
            // Nothing until later: its cell is next.
            n = later ? std::max(n + 1, ical::secondsBetween(series.StartDate, *later) / cell) : n + 1;
        }
    }
    for (Date extra : seriesDates(series.RecurrenceDates)) {
        if (inside(extra, from, to) && !leftOut(extra))
            starts.push_back(extra);
    }
    std::sort(starts.begin(), starts.end(), earlier);
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
    if (int(starts.size()) > limit)
        starts.resize(size_t(limit));
    return starts;
}

Date nextReminder(const Schedule &series, Date after, const std::vector<Date> &overridden)
{
    const qint64 lead = series.reminderLead();
    const std::optional<Date> from = shifted(after, lead + 1);
    if (!from)
        return {};
    // Far enough for a yearly rule with its gaps (29 February); a rule with nothing
    // in that span (a series that ended) reminds no more.
    const Date to = shifted(*from, (366 * 8 + 2) * 86400LL).value_or(Date(Date::MaxValue - 1));
    const std::vector<Date> next = occurrenceStarts(series, *from, to, overridden, 1);
    return next.empty() ? Date() : shifted(next.front(), -lead).value_or(Date());
}

Date remindedOccurrence(const Schedule &series, Date due)
{
    const std::optional<Date> until = shifted(due, series.reminderLead() + 1);
    if (!until)
        return series.StartDate;
    // Back an hour, a day, then a year: a frequent rule has its occurrence
    // close by, long before its steps run out. A reminder snoozed for longer
    // than a year is the series' own.
    for (const qint64 back : {3600LL, 86400LL, 366 * 86400LL}) {
        const Date from = shifted(*until, -back).value_or(Date(Date::MinValue));
        const std::vector<Date> starts = occurrenceStarts(series, from, *until, {}, 100000);
        if (!starts.empty())
            return starts.back();
    }
    return series.StartDate;
}

namespace {
// The local "yyyyMMddTHHmmss" of the series texts; it sorts as the times do.
QString stamp(Date when) { return when.toDateTime().toString(QStringLiteral("yyyyMMdd'T'HHmmss")); }

// The items of a dates text before (or from) the stamp of at.
QString datesSplitAt(const QString &text, Date at, bool before)
{
    const QString cut = stamp(at);
    QStringList kept;
    for (const QString &item : text.split(QLatin1Char(','), Qt::SkipEmptyParts))
        if ((item.trimmed() < cut) == before)
            kept << item.trimmed();
    return kept.join(QLatin1Char(','));
}

bool named(const QString &part, const char *name)
{
    return part.section(QLatin1Char('='), 0, 0).trimmed().compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
}

// How many times the rule alone (no extra dates, no exceptions) comes before at;
// -1 when the walk is too long to tell.
int ruleTimesBefore(const icalrecurrencetype &rule, Date start, Date at)
{
    std::unique_ptr<icalrecur_iterator, void (*)(icalrecur_iterator *)> it(icalrecur_iterator_new(rule, floating(start)),
                                                                           icalrecur_iterator_free);
    icalerror_clear_errno();
    if (!it)
        return -1;
    int count = 0;
    for (icaltimetype next = icalrecur_iterator_next(it.get()); !icaltime_is_null_time(next);
         next = icalrecur_iterator_next(it.get())) {
        if (!earlier(fromFloating(next), at))
            return count;
        if (++count >= 100000)
            return -1;
    }
    return count;
}

// A rule's UNTIL on this machine's wall clock, as the walk takes it.
Date localUntil(const icaltimetype &until)
{
    if (!icaltime_is_utc(until))
        return fromFloating(until);
    const QDateTime local = QDateTime(QDate(until.year, until.month, until.day),
                                      QTime(until.hour, until.minute, qMin(until.second, 59)), QTimeZone::utc())
                                .toLocalTime();
    return local.isValid() ? Date::fromDateTime(local) : fromFloating(until);
}

// An UNTIL value moved by minutes, in the form it had (UTC, local or a day).
// A BYDAY or BYMONTHDAY part of a rule whose series moves by days: plain weekdays
// and days of the month move along, so that the moved start is still one of the
// rule's times. An ordinal weekday ("2FR": the day after it is no weekday's
// second) or a day past the 28th, which some months lack, keeps the part as it is.
QString movedByDays(const QString &part, qint64 days)
{
    static const QStringList weekdays{"MO", "TU", "WE", "TH", "FR", "SA", "SU"};
    const QString values = part.section(QLatin1Char('='), 1);
    QStringList moved;
    if (named(part, "BYDAY")) {
        for (const QString &item : values.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const qsizetype day = weekdays.indexOf(item.trimmed().toUpper());
            if (day < 0)
                return part;
            moved << weekdays.at(qsizetype(((day + days) % 7 + 7) % 7));
        }
        return QStringLiteral("BYDAY=") + moved.join(QLatin1Char(','));
    }
    if (named(part, "BYMONTHDAY")) {
        for (const QString &item : values.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            bool number = false;
            const qint64 day = item.trimmed().toInt(&number) + days;
            if (!number || item.trimmed().startsWith(QLatin1Char('-')) || day < 1 || day > 28)
                return part;
            moved << QString::number(day);
        }
        return QStringLiteral("BYMONTHDAY=") + moved.join(QLatin1Char(','));
    }
    return part;
}

QString movedUntil(const QString &value, qint64 minutes)
{
    const QString text = value.trimmed();
    const bool utc = text.endsWith(QLatin1Char('Z'), Qt::CaseInsensitive);
    if (text.size() == 8) {
        const QDate day = QDate::fromString(text, QStringLiteral("yyyyMMdd"));
        return day.isValid() ? day.addDays(minutes / 1440).toString(QStringLiteral("yyyyMMdd")) : value;
    }
    QDateTime when = QDateTime::fromString(text.left(15), QStringLiteral("yyyyMMdd'T'HHmmss"));
    if (!when.isValid())
        return value;
    when.setTimeZone(QTimeZone::utc()); // wall-clock arithmetic, whatever the form
    return when.addSecs(minutes * 60).toString(QStringLiteral("yyyyMMdd'T'HHmmss")) + (utc ? QStringLiteral("Z") : QString());
}
} // namespace

QString shiftedSeriesDates(const QString &dates, qint64 minutes)
{
    QStringList moved;
    for (const QString &item : dates.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QDateTime at = QDateTime::fromString(item.trimmed(), QStringLiteral("yyyyMMdd'T'HHmmss"));
        moved << (at.isValid() ? stamp(Date::fromDateTime(at).addMinutes(minutes)) : item.trimmed());
    }
    return moved.join(QLatin1Char(','));
}

SeriesSplit splitSeriesAt(const Schedule &series, Date at, qint64 minutes)
{
    SeriesSplit split{series, series};
    QStringList open = series.Recurrence.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    QString count, until;
    open.removeIf([&](const QString &part) {
        if (named(part, "COUNT"))
            count = part.section(QLatin1Char('='), 1).trimmed();
        else if (named(part, "UNTIL"))
            until = part.section(QLatin1Char('='), 1).trimmed();
        return named(part, "COUNT") || named(part, "UNTIL");
    });
    QStringList ended = open, following = open;
    // Moved to another day, the rule's days move with it.
    if (minutes != 0 && at.isValid() && at.addMinutes(minutes).isValid()) {
        const qint64 days = at.toDateTime().date().daysTo(at.addMinutes(minutes).toDateTime().date());
        if (days != 0)
            for (QString &part : following)
                part = movedByDays(part, days);
    }
    const icalrecurrencetype rule = ruleOf(series.Recurrence);
    const int before = count.isEmpty() || rule.freq == ICAL_NO_RECURRENCE ? -1 : ruleTimesBefore(rule, series.StartDate, at);
    if (before > 0) {
        // A COUNT counts the rule's times, excluded ones too: the ended series
        // keeps those before at, the new one the rest (at least its own start).
        ended << QStringLiteral("COUNT=%1").arg(before);
        following << QStringLiteral("COUNT=%1").arg(std::max(1, count.toInt() - before));
    } else {
        // An UNTIL earlier than at (at is an extra date past the rule's end) still ends the rule.
        const bool endsBefore = !until.isEmpty() && rule.freq != ICAL_NO_RECURRENCE && !icaltime_is_null_time(rule.until)
                                && earlier(localUntil(rule.until), at.addSeconds(-1));
        ended << QStringLiteral("UNTIL=") + (endsBefore ? until : stamp(at.addSeconds(-1)));
        if (!count.isEmpty())
            following << QStringLiteral("COUNT=") + count;
        else if (!until.isEmpty())
            following << QStringLiteral("UNTIL=") + movedUntil(until, minutes);
    }
    split.ended.Recurrence = ended.join(QLatin1Char(';'));
    split.ended.RecurrenceDates = datesSplitAt(series.RecurrenceDates, at, true);
    split.ended.ExceptionDates = datesSplitAt(series.ExceptionDates, at, true);
    split.following.Recurrence = following.join(QLatin1Char(';'));
    split.following.RecurrenceDates = shiftedSeriesDates(datesSplitAt(series.RecurrenceDates, at, false), minutes);
    split.following.ExceptionDates = shiftedSeriesDates(datesSplitAt(series.ExceptionDates, at, false), minutes);
    return split;
}

const std::vector<Date> &OccurrenceCache::starts(const Schedule &series, Date from, Date to,
                                                  const std::vector<Date> &overridden)
{
    // Bits, not numbers: a NaN start is the same NaN.
    const auto same = [](double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; };
    Entry &entry = m_entries[series.Key];
    if (!(entry.rule == series.Recurrence && entry.dates == series.RecurrenceDates
          && entry.exceptions == series.ExceptionDates && same(entry.start, series.StartDate.value())
          && same(entry.from, from.value()) && same(entry.to, to.value()) && entry.overridden == overridden)) {
        if (m_entries.size() > 100000)
            m_entries.clear(); // series long gone; the entry is made again below
        Entry &fresh = m_entries[series.Key];
        fresh = Entry{series.Recurrence, series.RecurrenceDates, series.ExceptionDates, series.StartDate.value(),
                      from.value(), to.value(), overridden, occurrenceStarts(series, from, to, overridden)};
        return fresh.starts;
    }
    return entry.starts;
}

} // namespace dayvex
