// A random series, then random edits of one occurrence each, scoped as a person
// picks them: this one (moved or removed), this and the following (moved,
// removed, or split off unmoved to change something else) or the whole series
// (moved or removed). The records are built as the control's commands build
// them, with splitSeriesAt for the following ones. After each edit:
// - what the agenda shows (occurrenceStarts of each series less its changed
//   occurrences, and those as records of their own) is what libical itself
//   expands from the records exported as iCalendar;
// - where the rule allows telling, it is what the edits asked for: the old
//   occurrences, less the removed ones, the moved ones moved.

#include "fuzzinput.h"

#include <dayvex/exchange/icalendar.h>
#include <dayvex/exchange/series.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/platform/error.h>

#include <libical/ical.h>

#include <QMap>
#include <QStringList>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <map>
#include <optional>

using namespace dayvex;

namespace {

QString stamp(Date when) { return when.toDateTime().toString(QStringLiteral("yyyyMMdd'T'HHmmss")); }

Date wall(const icaltimetype &t)
{
    return Date::fromDateAndTime(QDate(t.year, t.month, t.day), QTime(t.hour, t.minute, t.second));
}

// libical's own expansion of an iCalendar file within [from, to): each master's
// RRULE and RDATEs less its EXDATEs and the RECURRENCE-IDs of its overrides,
// and each override's start.
std::vector<Date> libicalStarts(const QByteArray &file, Date from, Date to)
{
    std::vector<Date> out;
    icalcomponent *calendar = icalparser_parse_string(file.constData());
    FUZZ_CHECK(calendar);
    std::map<std::string, std::vector<Date>> overridden;
    for (icalcomponent *e = icalcomponent_get_first_component(calendar, ICAL_VEVENT_COMPONENT); e;
         e = icalcomponent_get_next_component(calendar, ICAL_VEVENT_COMPONENT)) {
        if (icalproperty *id = icalcomponent_get_first_property(e, ICAL_RECURRENCEID_PROPERTY)) {
            overridden[icalcomponent_get_uid(e)].push_back(wall(icalproperty_get_recurrenceid(id)));
            const Date start = wall(icalcomponent_get_dtstart(e));
            if (!(start < from) && start < to)
                out.push_back(start);
        }
    }
    for (icalcomponent *e = icalcomponent_get_first_component(calendar, ICAL_VEVENT_COMPONENT); e;
         e = icalcomponent_get_next_component(calendar, ICAL_VEVENT_COMPONENT)) {
        if (icalcomponent_get_first_property(e, ICAL_RECURRENCEID_PROPERTY))
            continue;
        const icaltimetype dtstart = icalcomponent_get_dtstart(e);
        std::vector<Date> starts;
        std::vector<Date> left = overridden[icalcomponent_get_uid(e)];
        icalproperty *rrule = icalcomponent_get_first_property(e, ICAL_RRULE_PROPERTY);
        if (!rrule) {
            starts.push_back(wall(dtstart));
        } else {
            icaltimetype floating = dtstart;
            floating.zone = nullptr;
            floating.is_date = 0;
            icalrecurrencetype rule = icalproperty_get_rrule(rrule);
            if (!icaltime_is_null_time(rule.until))
                rule.until.zone = nullptr;
            icalrecur_iterator *it = icalrecur_iterator_new(rule, floating);
            icalerror_clear_errno();
            if (!it) // a rule libical will not walk: the start alone
                starts.push_back(wall(dtstart));
            for (icaltimetype next = it ? icalrecur_iterator_next(it) : icaltime_null_time(); !icaltime_is_null_time(next);
                 next = icalrecur_iterator_next(it)) {
                if (!(wall(next) < to))
                    break;
                starts.push_back(wall(next));
            }
            if (it)
                icalrecur_iterator_free(it);
        }
        for (icalproperty *p = icalcomponent_get_first_property(e, ICAL_RDATE_PROPERTY); p;
             p = icalcomponent_get_next_property(e, ICAL_RDATE_PROPERTY))
            starts.push_back(wall(icalproperty_get_rdate(p).time));
        for (icalproperty *p = icalcomponent_get_first_property(e, ICAL_EXDATE_PROPERTY); p;
             p = icalcomponent_get_next_property(e, ICAL_EXDATE_PROPERTY))
            left.push_back(wall(icalproperty_get_exdate(p)));
        std::sort(starts.begin(), starts.end());
        starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
        for (Date s : starts)
            if (!(s < from) && s < to && std::find(left.begin(), left.end(), s) == left.end())
                out.push_back(s);
    }
    icalcomponent_free(calendar);
    std::sort(out.begin(), out.end());
    return out;
}

struct Plan
{
    std::vector<Schedule> records;
    int nextKey = 2;
    // What each series should show, where the edits so far allow telling.
    std::map<QString, std::optional<std::vector<Date>>> expected;
    std::vector<Date> movedOnes; // starts of the occurrences moved on their own
    // What each series shows, kept from one edit to the next: libical's walk is
    // most of a run's time.
    std::map<QString, std::vector<Date>> shownCache;

    std::vector<Date> overriddenOf(const QString &key) const
    {
        std::vector<Date> out;
        for (const Schedule &s : records)
            if (s.SeriesKey == key)
                out.push_back(s.RecurrenceId);
        return out;
    }
};

Date window[2];
constexpr int Steps = 4; // edits a run makes

std::vector<Date> shownOf(Plan &plan, const Schedule &series)
{
    auto cached = plan.shownCache.find(series.Key);
    if (cached == plan.shownCache.end())
        cached = plan.shownCache
                     .emplace(series.Key, occurrenceStarts(series, window[0], window[1], plan.overriddenOf(series.Key), 100000))
                     .first;
    return cached->second;
}

std::vector<Date> shown(Plan &plan)
{
    std::vector<Date> out;
    for (const Schedule &s : plan.records) {
        const std::vector<Date> own = s.SeriesKey.isEmpty() ? shownOf(plan, s) : std::vector<Date>{s.StartDate};
        for (Date d : own)
            if (!(d < window[0]) && d < window[1])
                out.push_back(d);
    }
    std::sort(out.begin(), out.end());
    return out;
}

// A rule whose occurrences move as its start does: no part names a day, a month or an hour.
bool movesWhole(const QString &rule)
{
    if (rule.contains(QLatin1String("BY"), Qt::CaseInsensitive))
        return false;
    return rule.contains(QLatin1String("FREQ=DAILY")) || rule.contains(QLatin1String("FREQ=WEEKLY"))
        || rule.contains(QLatin1String("FREQ=HOURLY"));
}

QString rule(FuzzInput &in, Date start)
{
    static const char *const Frequencies[] = {"DAILY", "WEEKLY", "MONTHLY", "YEARLY", "HOURLY"};
    // Parts that libical walks quickly: one that sets a month or a position
    // makes it build each year anew, which is what fuzz_series is for.
    static const char *const Parts[] = {"BYDAY=MO,WE,FR", "BYMONTHDAY=15", "WKST=SU", "BYHOUR=8,20",
                                        "BYDAY=SA,SU"};
    const uint8_t freq = in.byte() % 5;
    QStringList parts{QStringLiteral("FREQ=") + QLatin1String(Frequencies[freq])};
    if (in.byte() & 1)
        parts << QStringLiteral("INTERVAL=%1").arg(1 + in.byte() % 4);
    switch (in.byte() % 4) {
    case 0:
        parts << QStringLiteral("COUNT=%1").arg(1 + in.byte() % 60);
        break;
    case 1: {
        // An hourly rule's end stays within weeks: its window is that short.
        const qint64 step = freq == 4 ? 1 + in.raw<uint16_t>() % 2048 : 1 + in.raw<uint16_t>();
        const Date until = start.addMinutes(step * (freq == 4 ? 15 : 1440));
        parts << QStringLiteral("UNTIL=") + stamp(until) + (in.byte() & 1 ? QStringLiteral("Z") : QString());
        break;
    }
    default:
        if (freq == 4)
            parts << QStringLiteral("COUNT=%1").arg(1 + in.byte() % 200); // an open hourly rule fills the window
        break;
    }
    if (freq != 4)
        for (int n = in.byte() % 3; n > 0; --n)
            parts << QLatin1String(Parts[in.byte() % (sizeof(Parts) / sizeof(*Parts))]);
    return parts.join(QLatin1Char(';'));
}

// A start at a quarter past or to an hour: never midnight, which makes a whole-day record.
Date startIn2027(FuzzInput &in)
{
    return Date::fromDateAndTime(QDate(2027, 1 + in.byte() % 12, 1 + in.byte() % 31 % 28),
                                 QTime(1 + in.byte() % 22, in.byte() & 1 ? 15 : 45));
}

void expect(Plan &plan, const QString &key, std::optional<std::vector<Date>> starts)
{
    if (starts)
        std::sort(starts->begin(), starts->end());
    plan.expected[key] = std::move(starts);
}

void edit(Plan &plan, FuzzInput &in)
{
    std::vector<size_t> series;
    for (size_t i = 0; i < plan.records.size(); ++i)
        if (plan.records[i].SeriesKey.isEmpty() && !plan.records[i].Recurrence.isEmpty())
            series.push_back(i);
    if (series.empty())
        return;
    const size_t index = series[in.byte() % series.size()];
    const Schedule old = plan.records[index];
    const std::vector<Date> starts = shownOf(plan, old);
    if (starts.empty())
        return;
    const Date occurrence = starts[in.byte() % starts.size()];
    enum Scope { This, Following, Whole } scope = Scope(in.byte() % 3);
    enum Act { Move, Remove, Split } act = Act(in.byte() % 3);
    const qint64 by = act == Move ? qint64(int8_t(in.byte())) * 30 + 15 * 0 : 0;
    if (scope == Following && !(old.StartDate < occurrence))
        scope = Whole; // from the first occurrence on is the whole series
    const bool hasOverrides = !plan.overriddenOf(old.Key).empty();
    const auto &before = plan.expected[old.Key];
    const qint64 length = qRound64((old.EndDate.value() - old.StartDate.value()) * 1440.0);

    if (scope == This) {
        if (act == Remove) {
            plan.records[index].ExceptionDates += (old.ExceptionDates.isEmpty() ? QString() : QStringLiteral(","))
                + stamp(occurrence);
        } else {
            Schedule moved = old;
            moved.Key = QString::number(plan.nextKey++);
            moved.StartDate = occurrence.addMinutes(by);
            moved.EndDate = moved.StartDate.addMinutes(length);
            moved.Recurrence.clear();
            moved.RecurrenceDates.clear();
            moved.ExceptionDates.clear();
            moved.SeriesKey = old.Key;
            moved.RecurrenceId = occurrence;
            plan.records.push_back(moved);
            plan.movedOnes.push_back(moved.StartDate);
        }
        if (before) {
            std::vector<Date> now = *before;
            now.erase(std::remove(now.begin(), now.end(), occurrence), now.end());
            expect(plan, old.Key, now);
        }
        return;
    }
    // Moving a series with occurrences of its own leaves them where they were:
    // not what a person would tell from the rule, so it is not asked here.
    if (hasOverrides && (scope == Whole || act == Move))
        return;
    if (scope == Whole) {
        if (act == Remove) {
            plan.records.erase(plan.records.begin() + qsizetype(index));
            std::erase_if(plan.records, [&](const Schedule &s) { return s.SeriesKey == old.Key; });
            plan.expected.erase(old.Key);
            return;
        }
        Schedule &live = plan.records[index];
        live.StartDate = old.StartDate.addMinutes(by);
        live.EndDate = old.EndDate.addMinutes(by);
        live.RecurrenceDates = shiftedSeriesDates(old.RecurrenceDates, by);
        live.ExceptionDates = shiftedSeriesDates(old.ExceptionDates, by);
        std::optional<std::vector<Date>> now;
        if (before && (by == 0 || (movesWhole(old.Recurrence) && !old.Recurrence.contains(QLatin1String("UNTIL"))))) {
            now = std::vector<Date>();
            for (Date d : *before)
                now->push_back(d.addMinutes(by));
        }
        expect(plan, old.Key, now);
        return;
    }
    // This and the following.
    const SeriesSplit split = splitSeriesAt(old, occurrence, act == Move ? by : 0);
    Schedule &ended = plan.records[index];
    ended.Recurrence = split.ended.Recurrence;
    ended.RecurrenceDates = split.ended.RecurrenceDates;
    ended.ExceptionDates = split.ended.ExceptionDates;
    std::optional<std::vector<Date>> kept, rest;
    if (before) {
        kept = rest = std::vector<Date>();
        for (Date d : *before)
            (d < occurrence ? *kept : *rest).push_back(d.addMinutes(d < occurrence ? 0 : by));
    }
    expect(plan, old.Key, kept);
    if (act == Remove)
        return;
    Schedule next = old;
    next.Key = QString::number(plan.nextKey++);
    next.StartDate = occurrence.addMinutes(by);
    next.EndDate = next.StartDate.addMinutes(length);
    next.Recurrence = split.following.Recurrence;
    next.RecurrenceDates = split.following.RecurrenceDates;
    next.ExceptionDates = split.following.ExceptionDates;
    // Split where the rule itself comes, the new series goes on in its step;
    // from an extra date, or moved under a rule that names days, it need not.
    Schedule ruleOnly = old;
    ruleOnly.RecurrenceDates.clear();
    ruleOnly.ExceptionDates.clear();
    const std::vector<Date> times = occurrenceStarts(ruleOnly, occurrence, occurrence.addSeconds(1));
    // Occurrences changed on their own stay with the old series (see hasOverrides).
    const std::vector<Date> changed = plan.overriddenOf(old.Key);
    const bool changedLater = std::any_of(changed.begin(), changed.end(), [&](Date d) { return !(d < occurrence); });
    if (times.empty() || changedLater || (by != 0 && !movesWhole(old.Recurrence)))
        rest.reset();
    plan.records.push_back(next);
    expect(plan, next.Key, rest);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    qputenv("TZ", "UTC"); // libical's expansion is on the wall clock: no daylight saving in the way
    tzset();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    Plan plan;
    Schedule series;
    series.Key = QStringLiteral("1");
    series.Description = QStringLiteral("s");
    series.StartDate = startIn2027(in);
    series.EndDate = series.StartDate.addMinutes(15 + in.byte() % 8 * 15);
    series.Recurrence = rule(in, series.StartDate);
    if (!isReadableRule(series.Recurrence))
        return 0; // shown by its own start alone, by design: nothing to compare
    std::vector<Date> extra, excluded;
    for (int n = in.byte() % 3; n > 0; --n)
        extra.push_back(startIn2027(in));
    series.RecurrenceDates = seriesDatesText(extra);
    window[0] = series.StartDate.addMinutes(-2 * 1440);
    // Long enough for a few dozen occurrences at least, short enough that a
    // daily or hourly walk stays quick.
    const qint64 days = series.Recurrence.contains(QLatin1String("HOURLY")) ? 60
                        : series.Recurrence.contains(QLatin1String("DAILY")) ? 400
                                                                            : 3 * 366;
    window[1] = series.StartDate.addMinutes(days * 1440);
    plan.records.push_back(series);
    {
        const std::vector<Date> all = shownOf(plan, series);
        for (int n = in.byte() % 3; n > 0 && !all.empty(); --n)
            excluded.push_back(all[in.byte() % all.size()]);
        plan.records[0].ExceptionDates = seriesDatesText(excluded);
        plan.shownCache.clear();
    }
    expect(plan, series.Key, shownOf(plan, plan.records[0]));
    // Each edit moves occurrences by up to 64 hours, and moves of one series'
    // following part add up over the steps: the window they are compared in
    // is that much narrower, and a day more.
    const qint64 margin = Steps * 128 * 30 + 1440;
    const Date inner[2] = {window[0].addMinutes(margin), window[1].addMinutes(-margin)};
    const auto within = [&](std::vector<Date> v) {
        std::erase_if(v, [&](Date d) { return d < inner[0] || !(d < inner[1]); });
        return v;
    };

    for (int step = 0; step < Steps && !in.atEnd(); ++step) {
        edit(plan, in);
        plan.shownCache.clear();
        DayvexData out;
        for (const Schedule &s : plan.records)
            out.Schedules()->restore(std::make_shared<Schedule>(s), s.Key);
        const QByteArray file = exportICalendarData(out);
        FUZZ_CHECK(shown(plan) == libicalStarts(file, window[0], window[1]));
        for (const auto &entry : plan.expected) {
            const QString &key = entry.first;
            const auto &starts = entry.second;
            if (!starts)
                continue;
            auto found = std::find_if(plan.records.begin(), plan.records.end(), [&](const Schedule &s) { return s.Key == key; });
            FUZZ_CHECK(found != plan.records.end());
            FUZZ_CHECK(within(shownOf(plan, *found)) == within(*starts));
        }
    }
    return 0;
}
