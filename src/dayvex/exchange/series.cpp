#include "series.h"

#include <dayvex/model/records.h>

#include <libical/ical.h>

#include <QDateTime>

#include <algorithm>
#include <memory>

namespace dayvex {

namespace {
const QString LocalFormat = QStringLiteral("yyyyMMdd'T'HHmmss");

icaltimetype floating(Date local)
{
    const QDateTime at = local.toDateTime();
    icaltimetype time = icaltime_null_time();
    time.year = at.date().year();
    time.month = at.date().month();
    time.day = at.date().day();
    time.hour = at.time().hour();
    time.minute = at.time().minute();
    time.second = at.time().second();
    return time;
}

Date fromFloating(const icaltimetype &time)
{
    return Date::fromDateTime(QDateTime(QDate(time.year, time.month, time.day),
                                        QTime(time.hour, time.minute, time.second)));
}

bool inside(Date start, Date from, Date to) { return !(start < from) && start < to; }
} // namespace

std::vector<Date> seriesDates(const QString &text)
{
    std::vector<Date> dates;
    for (const QString &item : text.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QDateTime at = QDateTime::fromString(item.trimmed(), LocalFormat);
        if (at.isValid() && at.date().year() >= 100 && at.date().year() <= 9999)
            dates.push_back(Date::fromDateTime(at));
    }
    std::sort(dates.begin(), dates.end());
    return dates;
}

QString seriesDatesText(const std::vector<Date> &dates)
{
    QStringList items;
    for (Date date : dates)
        items << date.toDateTime().toString(LocalFormat);
    return items.join(QLatin1Char(','));
}

bool isReadableRule(const QString &rule)
{
    if (rule.trimmed().isEmpty())
        return false;
    const icalrecurrencetype recurrence = icalrecurrencetype_from_string(rule.toUtf8().constData());
    icalerror_clear_errno();
    return recurrence.freq != ICAL_NO_RECURRENCE;
}

std::vector<Date> occurrenceStarts(const Schedule &series, Date from, Date to, const std::vector<Date> &overridden,
                                   int limit, int maxSteps)
{
    std::vector<Date> starts;
    if (!series.StartDate.toDateTime().isValid() || !(from < to))
        return starts;
    if (!isReadableRule(series.Recurrence)) {
        if (inside(series.StartDate, from, to))
            starts.push_back(series.StartDate);
        return starts;
    }
    const icalrecurrencetype rule = icalrecurrencetype_from_string(series.Recurrence.toUtf8().constData());
    const icaltimetype dtstart = floating(series.StartDate);
    std::unique_ptr<icalrecur_iterator, void (*)(icalrecur_iterator *)> it(icalrecur_iterator_new(rule, dtstart),
                                                                           icalrecur_iterator_free);
    icalerror_clear_errno();
    if (it) {
        // Without COUNT the walk may start at the range: the occurrences before it cost nothing.
        if (rule.count == 0 && series.StartDate < from)
            icalrecur_iterator_set_start(it.get(), floating(from));
        int steps = 0;
        for (icaltimetype next = icalrecur_iterator_next(it.get());
             !icaltime_is_null_time(next) && steps < maxSteps && int(starts.size()) < limit;
             next = icalrecur_iterator_next(it.get()), ++steps) {
            const Date start = fromFloating(next);
            if (!(start < to))
                break;
            if (!(start < from))
                starts.push_back(start);
        }
    } else if (inside(series.StartDate, from, to)) {
        starts.push_back(series.StartDate);
    }
    for (Date extra : seriesDates(series.RecurrenceDates)) {
        if (inside(extra, from, to))
            starts.push_back(extra);
    }
    std::vector<Date> left = seriesDates(series.ExceptionDates);
    left.insert(left.end(), overridden.begin(), overridden.end());
    std::erase_if(starts, [&](Date start) { return std::find(left.begin(), left.end(), start) != left.end(); });
    std::sort(starts.begin(), starts.end());
    starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
    if (int(starts.size()) > limit)
        starts.resize(size_t(limit));
    return starts;
}

} // namespace dayvex
