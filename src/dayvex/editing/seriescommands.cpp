#include "appointmentcommands.h"

#include "editinghost.h"
#include "prompts.h"
#include "undo.h"

#include <dayvex/model/alarms.h>
#include <dayvex/model/schedules.h>

#include <QStringList>

#include <cmath>

namespace dayvex {

namespace {

// The local "yyyyMMddTHHmmss" of the series texts; it sorts as the times do.
QString stamp(Date when)
{
    return when.toDateTime().toString(QStringLiteral("yyyyMMdd'T'HHmmss"));
}

// A copy of series, or of one of its occurrences, starting at start under a new key.
std::shared_ptr<Schedule> movedCopy(const Schedule &series, Date start, const QString &key)
{
    auto copy = std::make_shared<Schedule>(series);
    copy->Key = key;
    copy->StartDate = start;
    copy->EndDate = start.addMinutes(form::minutesBetween(series.StartDate, series.EndDate));
    // The copy reminds as long before its start as the series does before each occurrence.
    if (!series.ReminderDate.isEmpty() || (!series.Recurrence.isEmpty() && series.ReminderLead != Schedule::NoLead))
        copy->ReminderDate = start.addSeconds(-series.reminderLead());
    copy->ReminderLead = Schedule::NoLead;
    return copy;
}

// The occurrence of series at occurrence as a record of its own, starting at start.
std::shared_ptr<Schedule> overrideOf(const Schedule &series, Date occurrence, Date start, const QString &key)
{
    auto mSca = movedCopy(series, start, key);
    mSca->Recurrence.clear();
    mSca->RecurrenceDates.clear();
    mSca->ExceptionDates.clear();
    mSca->SeriesKey = series.Key;
    mSca->RecurrenceId = occurrence;
    return mSca;
}

} // namespace

void AppointmentCommands::addOverride(const RunningCommand &running, const Schedule &series, Date occurrence)
{
    auto mSca = overrideOf(series, occurrence, occurrence, m_host.editedPlan()->Schedules()->NewKey());
    if (add(running, mSca))
        m_host.redraw();
}

void AppointmentCommands::splitSeries(const RunningCommand &running, const QString &key, Date occurrence)
{
    const StepGroup group(m_host, stepText(QLatin1Char('S'), Step::Change));
    const std::shared_ptr<Schedules> schedules = m_host.editedPlan()->Schedules();
    const Schedule series = *schedules->Item(key);
    const EditingHost::SeriesParts split = m_host.splitSeries(series, occurrence);
    auto proposed = std::make_shared<Schedule>(split.ended);
    const Agreed agreed = askSeriesChange(proposed);
    if (agreed == Agreed::External)
        m_host.redraw(); // the host splits the series itself
    if (agreed != Agreed::Yes)
        return;
    auto next = movedCopy(series, occurrence, schedules->NewKey());
    next->Recurrence = split.following.Recurrence;
    next->RecurrenceDates = split.following.RecurrenceDates;
    next->ExceptionDates = split.following.ExceptionDates;
    if (!next->ReminderDate.isEmpty()) {
        next->ReminderLead = series.ReminderLead;
        next->ReminderDate = m_host.nextSeriesReminder(*next);
    }
    if (bool stored = false; !add(running, next, &stored) || !stored)
        return; // nothing stored: the series goes on as it was
    // The moved occurrences from the split on belong to the series that goes on,
    // wherever the editor put its start.
    const std::shared_ptr<Schedule> following = schedules->find(next->Key);
    ShiftedOverrides overrides(m_host, key, following ? following->Key : QString(), occurrence,
                               following ? form::minutesBetween(occurrence, following->StartDate) : 0);
    applySeriesChange(key, *proposed);
    overrides.announce();
}

AppointmentCommands::Agreed AppointmentCommands::askSeriesChange(std::shared_ptr<Schedule> &proposed)
{
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeScheduleChange, proposed);
    if (answer.Cancel || !proposed)
        return Agreed::No;
    if (answer.ExternalHandled)
        return Agreed::External;
    bool cancel = false;
    m_host.RaiseValidateSchedule(proposed, cancel);
    return cancel || !proposed ? Agreed::No : Agreed::Yes;
}

void AppointmentCommands::applySeriesChange(const QString &key, const Schedule &proposed)
{
    // An editor left open meanwhile may have let the series go.
    std::shared_ptr<Schedule> live = m_host.editedPlan()->Schedules()->find(key);
    if (!live)
        return;
    const Schedule before = *live;
    live->Recurrence = proposed.Recurrence;
    live->RecurrenceDates = proposed.RecurrenceDates;
    live->ExceptionDates = proposed.ExceptionDates;
    {
        const auto record = qScopeGuard([&] {
            recordChange(m_host, stepText(QLatin1Char('S'), Step::Change), std::optional(before), std::optional(*live));
        });
        m_host.RaiseScheduleChanged(live);
    }
    m_host.redraw();
}

bool AppointmentCommands::seriesScopeDone(const RunningCommand *running, const std::shared_ptr<Schedule> &series,
                                          Date occurrence, bool &asked)
{
    asked = !series->Recurrence.isEmpty() && !occurrence.isEmpty();
    if (!asked)
        return false;
    SeriesScope scope = askScope(m_host.dialogParent(), m_host.language());
    // From the first occurrence on is the whole series.
    if (scope == SeriesScope::Following && !(series->StartDate < occurrence))
        scope = SeriesScope::Whole;
    if (scope == SeriesScope::Whole)
        return false;
    if (scope == SeriesScope::Cancel)
        return true;
    const bool one = scope == SeriesScope::This;
    if (running) {
        one ? addOverride(*running, *series, occurrence) : splitSeries(*running, series->Key, occurrence);
        return true;
    }
    // A deletion: the series leaves the occurrence out, or ends before it, and
    // then its moved occurrences from there on go with the rest.
    const StepGroup group(m_host, stepText(QLatin1Char('S'), Step::Delete));
    auto proposed = std::make_shared<Schedule>(one ? *series : m_host.splitSeries(*series, occurrence).ended);
    if (one) {
        QString &exceptions = proposed->ExceptionDates;
        exceptions += (exceptions.isEmpty() ? QString() : QStringLiteral(",")) + stamp(occurrence);
    }
    const Agreed agreed = askSeriesChange(proposed);
    if (agreed == Agreed::Yes) {
        const QString key = series->Key;
        applySeriesChange(key, *proposed);
        if (!one) {
            for (std::shared_ptr<Schedule> &gone : takeOutOverrides(m_host, key, occurrence))
                m_host.RaiseScheduleDeleted(gone);
            m_host.redraw();
        }
    } else if (agreed == Agreed::External) {
        m_host.redraw();
    }
    return true;
}

std::vector<std::shared_ptr<Schedule>> takeOutOverrides(EditingHost &host, const QString &key, Date from)
{
    const std::shared_ptr<DayvexData> plan = host.editedPlan();
    std::vector<std::shared_ptr<Schedule>> overrides;
    for (const std::shared_ptr<Schedule> &s : *plan->Schedules())
        if (!s->SeriesKey.isEmpty() && s->SeriesKey.compare(key, Qt::CaseInsensitive) == 0
            && (from.isEmpty() || (!s->RecurrenceId.isEmpty() && !(s->RecurrenceId < from))))
            overrides.push_back(s);
    for (const std::shared_ptr<Schedule> &s : overrides) {
        plan->Alarms()->Remove(Alarms::keyFor(QLatin1Char('S'), s->Key));
        plan->Schedules()->Remove(s->Key);
        recordChange(host, stepText(QLatin1Char('S'), Step::Delete), std::optional(*s), std::optional<Schedule>());
    }
    return overrides;
}

LeftOutOccurrence::LeftOutOccurrence(EditingHost &host, const Schedule &removed)
    : m_host(host)
{
    if (removed.SeriesKey.isEmpty() || removed.RecurrenceId.isEmpty() || !std::isfinite(removed.RecurrenceId.value()))
        return;
    const std::shared_ptr<Schedule> series = host.editedPlan()->Schedules()->find(removed.SeriesKey);
    if (!series || series->Recurrence.isEmpty())
        return;
    const QString at = stamp(removed.RecurrenceId);
    QStringList exceptions = series->ExceptionDates.split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const QString &date : exceptions)
        if (date.trimmed().startsWith(at))
            return;
    m_before = *series;
    exceptions << at;
    series->ExceptionDates = exceptions.join(QLatin1Char(','));
    m_series = series;
}

LeftOutOccurrence::~LeftOutOccurrence()
{
    if (m_series)
        recordChange(m_host, stepText(QLatin1Char('S'), Step::Change), m_before, std::optional(*m_series));
}

void LeftOutOccurrence::announce()
{
    if (m_series)
        m_host.RaiseScheduleChanged(m_series);
}

ShiftedOverrides::ShiftedOverrides(EditingHost &host, const QString &key, const QString &toKey, Date from,
                                   qint64 minutes)
    : m_host(host)
{
    // An override names its series and the first start of the occurrence it
    // replaces: when the series moves or goes on under another key, both follow,
    // or the override would stand beside an occurrence it no longer replaces.
    if (toKey.isEmpty() || (minutes == 0 && key.compare(toKey, Qt::CaseInsensitive) == 0))
        return;
    for (const std::shared_ptr<Schedule> &s : *host.editedPlan()->Schedules())
        if (!s->SeriesKey.isEmpty() && s->SeriesKey.compare(key, Qt::CaseInsensitive) == 0
            && !s->RecurrenceId.isEmpty() && (from.isEmpty() || !(s->RecurrenceId < from)))
            m_shifted.emplace_back(s, *s);
    for (auto &[s, before] : m_shifted) {
        s->SeriesKey = toKey;
        s->RecurrenceId = s->RecurrenceId.addMinutes(minutes);
    }
}

ShiftedOverrides::~ShiftedOverrides()
{
    for (const auto &[s, before] : m_shifted)
        recordChange(m_host, stepText(QLatin1Char('S'), Step::Move), std::optional(before), std::optional(*s));
}

void ShiftedOverrides::announce()
{
    for (auto &[s, before] : m_shifted)
        m_host.RaiseScheduleChanged(s);
}

bool AppointmentCommands::rescheduleOccurrence(const std::shared_ptr<Schedule> &series, Date occurrence, Date &start,
                                               Date &end, bool &moved)
{
    const qint64 length = form::minutesBetween(series->StartDate, series->EndDate);
    if (start == occurrence && end == occurrence.addMinutes(length))
        return true; // dropped where it was
    SeriesScope scope = askScope(m_host.dialogParent(), m_host.language());
    // From the first occurrence on is the whole series.
    if (scope == SeriesScope::Following && !(series->StartDate < occurrence))
        scope = SeriesScope::Whole;
    if (scope == SeriesScope::Cancel)
        return true;
    const qint64 by = form::minutesBetween(occurrence, start);
    const qint64 lasting = form::minutesBetween(start, end);
    if (scope == SeriesScope::Whole) {
        start = series->StartDate.addMinutes(by);
        end = start.addMinutes(lasting);
        return false;
    }
    const std::shared_ptr<Schedules> schedules = m_host.editedPlan()->Schedules();
    if (scope == SeriesScope::This) {
        auto mSca = overrideOf(*series, occurrence, start, schedules->NewKey());
        mSca->EndDate = end;
        moved = addDropped(mSca);
        return true;
    }
    // This and the following: the series ends before the occurrence, and a new
    // one goes on from where it was dropped.
    const StepGroup group(m_host, stepText(QLatin1Char('S'), Step::Move));
    const EditingHost::SeriesParts split = m_host.splitSeries(*series, occurrence, by);
    auto proposed = std::make_shared<Schedule>(split.ended);
    const Agreed agreed = askSeriesChange(proposed);
    if (agreed == Agreed::External)
        m_host.redraw(); // the host splits the series itself
    moved = agreed == Agreed::External;
    if (agreed != Agreed::Yes)
        return true;
    auto next = movedCopy(*series, start, schedules->NewKey());
    next->EndDate = end;
    next->Recurrence = split.following.Recurrence;
    next->RecurrenceDates = split.following.RecurrenceDates;
    next->ExceptionDates = split.following.ExceptionDates;
    if (!next->ReminderDate.isEmpty()) {
        next->ReminderLead = series->ReminderLead;
        next->ReminderDate = m_host.nextSeriesReminder(*next);
    }
    if (bool stored = false; !addDropped(next, &stored) || !stored) {
        moved = stored;
        return true; // nothing stored: the series goes on as it was
    }
    ShiftedOverrides overrides(m_host, series->Key, schedules->find(next->Key) ? next->Key : QString(), occurrence,
                               by);
    applySeriesChange(series->Key, *proposed);
    overrides.announce();
    moved = true;
    return true;
}

bool AppointmentCommands::addDropped(std::shared_ptr<Schedule> mSca, bool *stored)
{
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeScheduleAdd, mSca);
    if (answer.Cancel || !mSca)
        return false;
    if (answer.ExternalHandled) {
        m_host.redraw();
        return true;
    }
    bool cancel = false;
    m_host.RaiseValidateSchedule(mSca, cancel);
    if (cancel || !mSca)
        return false;
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    std::shared_ptr<Schedule> added = plan->Schedules()->Add(*mSca);
    // Add cuts an end on a later day at an earlier clock time; the drop's stands.
    if (mSca->StartDate < mSca->EndDate)
        added->EndDate = mSca->EndDate;
    setAlarmQuietly(*plan->Alarms(), QLatin1Char('S'), added->Key, added->ReminderDate);
    if (stored)
        *stored = true;
    {
        // Named for what the person did: an occurrence moved out of its series.
        const auto record = qScopeGuard([&] {
            recordChange(m_host, stepText(QLatin1Char('S'), Step::Move), std::optional<Schedule>(),
                         std::optional(*added));
        });
        m_host.RaiseScheduleAdded(added);
    }
    m_host.redraw();
    return true;
}

} // namespace dayvex
