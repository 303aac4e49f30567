#include "zntdayvex_p.h"

#include <dayvex/exchange/series.h>
#include <dayvex/model/alarms.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/startorder.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace dayvex {

std::vector<std::shared_ptr<Schedule>> zntDayvexPrivate::withOccurrences(std::vector<std::shared_ptr<Schedule>> shown,
                                                                         const StartOrder &all, DateRange range,
                                                                         bool overlapping)
{
    const std::vector<std::shared_ptr<Schedule>> &series = all.series();
    if (series.empty())
        return shown;
    std::map<QString, std::vector<Date>> overridden; // by the series' folded key
    for (const std::shared_ptr<Schedule> &s : all.moved())
        overridden[s->SeriesKey.toCaseFolded()].push_back(s->RecurrenceId);
    // The scan found the series at their first start only: they are placed anew below.
    std::erase_if(shown, [](const std::shared_ptr<Schedule> &s) { return !s->Recurrence.isEmpty(); });
    for (const std::shared_ptr<Schedule> &s : series) {
        const qint64 minutes = std::max<qint64>(0, std::llround((s->EndDate.value() - s->StartDate.value()) * 1440.0));
        if (!std::isfinite(s->StartDate.value()) || !(s->StartDate < range.to))
            continue;
        const Date from = overlapping ? range.from.addMinutes(-minutes) : range.from;
        const bool reminded = Alarms::isPending(s->ReminderDate) || s->ReminderLead != Schedule::NoLead;
        const qint64 lead = reminded ? s->reminderLead() : 0;
        if (!m_occurrences)
            m_occurrences = std::make_unique<OccurrenceCache>();
        static const std::vector<Date> none;
        const auto moved = overridden.empty() ? overridden.end() : overridden.find(s->Key.toCaseFolded());
        for (Date start : m_occurrences->starts(*s, from, range.to, moved == overridden.end() ? none : moved->second)) {
            const Date end = start.addMinutes(minutes);
            if (overlapping && start < range.from && !(range.from < end))
                continue; // ends as the range begins
            if (start == s->StartDate) {
                shown.push_back(s);
                continue;
            }
            auto occurrence = std::make_shared<Schedule>(*s);
            occurrence->StartDate = start;
            occurrence->EndDate = end;
            occurrence->RecurrenceId = start;
            if (reminded)
                occurrence->ReminderDate = start.addSeconds(-lead);
            shown.push_back(std::move(occurrence));
        }
    }
    std::stable_sort(shown.begin(), shown.end(), [](const std::shared_ptr<Schedule> &a,
                                                    const std::shared_ptr<Schedule> &b) {
        return a->StartDate < b->StartDate;
    });
    return shown;
}

Date zntDayvexPrivate::remindedStart(const Schedule &appointment, Date due) const
{
    return appointment.Recurrence.isEmpty() ? appointment.StartDate : remindedOccurrence(appointment, due);
}

Date zntDayvexPrivate::nextSeriesReminder(const Schedule &series) const
{
    // Occurrences changed on their own remind as records of their own.
    std::vector<Date> overridden;
    if (const std::shared_ptr<DayvexData> plan = editedPlan()) {
        const QString key = series.Key.toCaseFolded();
        for (const std::shared_ptr<Schedule> &s : *plan->Schedules())
            if (!s->SeriesKey.isEmpty() && s->SeriesKey.toCaseFolded() == key)
                overridden.push_back(s->RecurrenceId);
    }
    return nextReminder(series, now(), overridden);
}

EditingHost::SeriesParts zntDayvexPrivate::splitSeries(const Schedule &series, Date at, qint64 minutes) const
{
    SeriesSplit split = splitSeriesAt(series, at, minutes);
    return {std::move(split.ended), std::move(split.following)};
}

} // namespace dayvex
