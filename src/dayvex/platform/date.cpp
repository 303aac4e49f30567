#include "date.h"

#include "error.h"

#include <cmath>

namespace dayvex {

namespace {
constexpr qint64 MsecsPerDay = 86400000;
const QDate Epoch(1899, 12, 30);

qint64 floorDiv(qint64 a, qint64 b)
{
    qint64 q = a / b;
    if ((a % b != 0) && ((a < 0) != (b < 0)))
        --q;
    return q;
}
} // namespace

bool Date::isValid() const
{
    return std::isfinite(m_value) && std::trunc(m_value) >= MinValue && m_value < MaxValue;
}

qint64 Date::toMsecs() const
{
    if (std::isnan(m_value))
        throw Error::invalidArgument(QStringLiteral("the date is not a number"));
    if (!isValid())
        throw Error::overflow(QStringLiteral("date %1 is outside the years 100 to 9999").arg(m_value));
    const double day = std::trunc(m_value);
    const double fraction = std::fabs(m_value - day);
    return qint64(day) * MsecsPerDay + std::llround(fraction * MsecsPerDay);
}

Date Date::fromMsecs(qint64 msecs)
{
    const qint64 day = floorDiv(msecs, MsecsPerDay);
    const double fraction = double(msecs - day * MsecsPerDay) / MsecsPerDay;
    const Date result(day >= 0 ? double(day) + fraction : double(day) - fraction);
    if (!result.isValid())
        throw Error::overflow(QStringLiteral("date arithmetic left the years 100 to 9999"));
    return result;
}

Date Date::fromDateAndTime(const QDate &date, const QTime &time)
{
    if (!date.isValid())
        throw Error::invalidArgument(QStringLiteral("invalid date"));
    const qint64 days = Epoch.daysTo(date);
    const qint64 ms = time.isValid() ? time.msecsSinceStartOfDay() : 0;
    return fromMsecs(days * MsecsPerDay + ms);
}

Date Date::fromDateTime(const QDateTime &dateTime)
{
    return fromDateAndTime(dateTime.date(), dateTime.time());
}

Date Date::fromDate(const QDate &date)
{
    return fromDateAndTime(date, QTime());
}

Date Date::fromTime(const QTime &time)
{
    return Date(time.isValid() ? double(time.msecsSinceStartOfDay()) / MsecsPerDay : 0.0);
}

QDate Date::toDate() const
{
    return Epoch.addDays(floorDiv(toMsecs(), MsecsPerDay));
}

QTime Date::toTime() const
{
    const qint64 ms = toMsecs();
    return QTime::fromMSecsSinceStartOfDay(int(ms - floorDiv(ms, MsecsPerDay) * MsecsPerDay));
}

QDateTime Date::toDateTime() const
{
    return QDateTime(toDate(), toTime());
}

Date Date::datePart() const
{
    return fromMsecs(floorDiv(toMsecs(), MsecsPerDay) * MsecsPerDay);
}

Date Date::timePart() const
{
    return fromTime(toTime());
}

int Date::minuteOfDay() const
{
    const QTime t = toTime();
    return t.hour() * 60 + t.minute();
}

Date Date::addMsecs(qint64 count, qint64 unit) const
{
    // A count past what 64 bits of milliseconds hold is as far out of range as any.
    qint64 delta = 0;
    qint64 msecs = 0;
    if (__builtin_mul_overflow(count, unit, &delta) || __builtin_add_overflow(toMsecs(), delta, &msecs))
        throw Error::overflow(QStringLiteral("date arithmetic left the years 100 to 9999"));
    return fromMsecs(msecs);
}

Date Date::addDays(qint64 days) const
{
    return addMsecs(days, MsecsPerDay);
}

Date Date::addMinutes(qint64 minutes) const
{
    return addMsecs(minutes, 60000);
}

Date Date::addSeconds(qint64 seconds) const
{
    return addMsecs(seconds, 1000);
}

} // namespace dayvex
