// Random series decoded from the input: a rule built from its parts (or any
// text), extra and excluded dates, a reminder lead, then ranges to show it in.
// The occurrences must be ordered, unique, inside the range, never a date left
// out, the same as the matching part of a wider range; the next reminder must
// belong to an occurrence after the moment asked; and the series must come back
// the same through an iCalendar export and import.

#include "fuzzinput.h"

#include <dayvex/exchange/icalendar.h>
#include <dayvex/exchange/series.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/platform/error.h>

#include <QStringList>

#include <algorithm>
#include <cmath>
#include <cstdlib>

using namespace dayvex;

namespace {

Date moment(FuzzInput &in)
{
    // Mostly near 2027, so that ranges meet the series; sometimes anywhere a date may be.
    const uint8_t pick = in.byte();
    if (pick < 200)
        return Date::fromDateAndTime(QDate(2026 + pick % 3, 1 + in.byte() % 12, 1 + in.byte() % 28),
                                     QTime(in.byte() % 24, (in.byte() % 4) * 15));
    // Not within a day of the empty date: between -1 and 1 two values name each time.
    const double value = in.raw<double>();
    return std::isfinite(value) && value > Date::MinValue && value < Date::MaxValue && std::abs(value) >= 1.0
               ? Date(value)
               : Date(46000.5);
}

QString rule(FuzzInput &in)
{
    static const char *const Frequencies[] = {"SECONDLY", "MINUTELY", "HOURLY", "DAILY", "WEEKLY", "MONTHLY", "YEARLY"};
    static const char *const Parts[] = {"BYDAY=MO,WE,FR", "BYDAY=-1SU", "BYMONTHDAY=31", "BYMONTHDAY=-1",
                                        "BYMONTH=2", "BYSETPOS=2", "WKST=SU", "BYHOUR=8,20", "BYYEARDAY=366",
                                        "BYWEEKNO=53", "BYDAY=2TU"};
    const uint8_t pick = in.byte();
    if (pick >= 240)
        return in.text(40); // anything a host or a file may hold
    QStringList parts{QStringLiteral("FREQ=") + QLatin1String(Frequencies[pick % 7])};
    if (in.byte() & 1)
        parts << QStringLiteral("INTERVAL=%1").arg(1 + in.byte() % 10);
    switch (in.byte() % 4) {
    case 0:
        parts << QStringLiteral("COUNT=%1").arg(in.raw<uint16_t>() % 3000);
        break;
    case 1:
        parts << QStringLiteral("UNTIL=2027%1%2T120000").arg(1 + in.byte() % 12, 2, 10, QLatin1Char('0'))
                     .arg(1 + in.byte() % 28, 2, 10, QLatin1Char('0'));
        break;
    default:
        break;
    }
    for (int n = in.byte() % 3; n > 0; --n)
        parts << QLatin1String(Parts[in.byte() % (sizeof(Parts) / sizeof(*Parts))]);
    return parts.join(QLatin1Char(';'));
}

std::vector<Date> dates(FuzzInput &in)
{
    std::vector<Date> out;
    for (int n = in.byte() % 4; n > 0; --n)
        out.push_back(moment(in));
    return out;
}

// The clock's order: before 1900 the stored numbers run backwards within a day.
bool earlier(Date a, Date b)
{
    const auto timeline = [](Date d) { return d.value() >= 0 ? d.value() : 2 * std::trunc(d.value()) - d.value(); };
    return timeline(a) < timeline(b);
}

bool sortedUniqueInside(const std::vector<Date> &starts, Date from, Date to)
{
    for (size_t i = 0; i < starts.size(); ++i) {
        if (earlier(starts[i], from) || !earlier(starts[i], to) || (i > 0 && !earlier(starts[i - 1], starts[i])))
            return false;
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    Schedule series;
    series.Key = QStringLiteral("1");
    series.Description = QStringLiteral("s");
    series.StartDate = in.byte() & 1 ? moment(in).datePart() : moment(in);
    series.EndDate = series.StartDate.addMinutes(in.byte() * 15);
    series.Recurrence = rule(in);
    std::vector<Date> extra = dates(in);
    if (series.StartDate.toTime() == QTime(0, 0)) // a whole-day series adds whole days
        std::transform(extra.begin(), extra.end(), extra.begin(), [](Date d) { return d.datePart(); });
    series.RecurrenceDates = seriesDatesText(extra);
    const std::vector<Date> excluded = dates(in);
    series.ExceptionDates = seriesDatesText(excluded);
    if (in.byte() & 1) {
        series.ReminderLead = qint32(in.raw<int16_t>()) * 60;
        series.ReminderDate = series.StartDate;
    }

    Date from = moment(in);
    Date to = moment(in);
    if (earlier(to, from))
        std::swap(from, to);
    const std::vector<Date> starts = occurrenceStarts(series, from, to);
    FUZZ_CHECK(starts.size() <= 1000);
    FUZZ_CHECK(sortedUniqueInside(starts, from, to));
    const bool wholeDays = series.StartDate.toTime() == QTime(0, 0);
    // A record without a rule is no series: its dates texts mean nothing, it shows at its start.
    for (Date left : series.Recurrence.trimmed().isEmpty() ? std::vector<Date>{} : excluded) {
        const Date day = wholeDays ? nearestMidnight(left) : left;
        FUZZ_CHECK(std::find(starts.begin(), starts.end(), day) == starts.end());
    }
    // The range's first half holds the occurrences that start in it, no more, no fewer.
    if (starts.size() < 1000 && from.value() > 0 && to.value() - from.value() > 2.0 / 86400.0) {
        const Date middle = Date::fromDateAndTime(from.toDate().addDays((from.toDate().daysTo(to.toDate())) / 2),
                                                  from.toTime());
        if (from < middle && middle < to) {
            std::vector<Date> firstHalf;
            std::copy_if(starts.begin(), starts.end(), std::back_inserter(firstHalf),
                         [middle](Date d) { return d < middle; });
            FUZZ_CHECK(occurrenceStarts(series, from, middle) == firstHalf);
        }
    }

    // The next reminder is an occurrence's, and falls after the moment asked.
    const Date after = moment(in);
    const Date next = nextReminder(series, after);
    if (!next.isEmpty()) {
        FUZZ_CHECK(earlier(after, next));
        try {
            // To the millisecond: reminders are kept in whole ones, a host's start may hold less.
            const QDateTime start = next.addSeconds(series.reminderLead()).toDateTime();
            const Date near = Date::fromDateTime(start);
            const std::vector<Date> around = occurrenceStarts(series, near.addSeconds(-1), near.addSeconds(1));
            FUZZ_CHECK(std::count_if(around.begin(), around.end(), [&](Date d) { return d.toDateTime() == start; }) == 1);
            FUZZ_CHECK(remindedOccurrence(series, next).toDateTime() == start);
        } catch (const Error &) {
            // a start past the years a date holds
        }
    }

    // Through iCalendar and back: the same series.
    DayvexData out;
    try {
        out.Schedules()->Add(series);
    } catch (const Error &) {
        return 0; // a record the collection refuses
    }
    ExchangeReport written;
    const QByteArray file = exportICalendarData(out, &written);
    // iCalendar holds whole seconds: a start between two (by a millisecond, or a
    // fraction of one that the clock does not show) comes back at the first.
    const QDateTime start = series.StartDate.toDateTime();
    if (written.appointments != 1 || !isReadableRule(series.Recurrence) || start.time().msec() != 0
        || Date::fromDateTime(start) != series.StartDate)
        return 0;
    DayvexData back;
    const ExchangeReport read = importICalendarData(file, back);
    FUZZ_CHECK(read.fileRead && back.Schedules()->Count() == 1);
    const Schedule &again = *back.Schedules()->Item(1);
    FUZZ_CHECK(again.StartDate == series.StartDate || series.StartDate.toTime() == QTime(0, 0));
    FUZZ_CHECK(!again.Recurrence.isEmpty());
    FUZZ_CHECK(occurrenceStarts(again, from, to) == occurrenceStarts(*out.Schedules()->Item(1), from, to));
    return 0;
}
