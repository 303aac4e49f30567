#include "agendaentry.h"

#include <dayvex/model/records.h>
#include <dayvex/platform/format.h>
#include <dayvex/layout/timegrid.h>

namespace dayvex {

AgendaEntry::AgendaEntry(const Schedule &schedule, bool multiUser, const QString &dateFormat)
    : key(schedule.Key)
    , description(schedule.Description)
    , start(schedule.StartDate)
    , end(schedule.EndDate)
    , color(schedule.Color)
    , series(!schedule.Recurrence.isEmpty())
    , m_owner(schedule.Owner)
    , m_place(schedule.Place)
    , m_contact(schedule.Contact)
    , m_dateFormat(dateFormat)
    , m_multiUser(multiUser)
{
    // The texts are made later, some while painting, where no error may arise:
    // a date that they could not show fails here, as formatting it would.
    (void)start.finiteOrEmpty().toTime();
    (void)end.finiteOrEmpty().toTime();
}

const QString &AgendaEntry::times() const
{
    if (m_times.isNull())
        m_times = clockSpan(start, end);
    return m_times;
}

const QString &AgendaEntry::line() const
{
    if (m_line.isNull())
        m_line = appointmentLine(times(), m_multiUser, m_owner, m_place, m_contact, description);
    return m_line;
}

QStringList AgendaEntry::modernLines() const
{
    QStringList lines{description.trimmed(), times()};
    if (!m_place.trimmed().isEmpty())
        lines << m_place.trimmed();
    return lines;
}

const QString &AgendaEntry::dates() const
{
    if (m_dates.isNull())
        m_dates = formatDate(start, m_dateFormat) + QLatin1Char('-') + formatDate(end, m_dateFormat);
    return m_dates;
}

} // namespace dayvex
