#pragma once

#include <dayvex/dayvex_export.h>

#include <QDateTime>
#include <QMetaType>

#include <cmath>
#include <compare>
#include <functional>

namespace dayvex {

// The automation date: days since 30 December 1899 00:00 with the time of day
// as the fraction; 0.0 is the empty date. For negative values the integer part
// is the day and the fraction's absolute value the time (-1.25 is 29 December
// 1899 06:00). Comparisons compare the stored numbers, as the platform does.
class DAYVEX_CORE_EXPORT Date
{
public:
    static constexpr double MinValue = -657434.0;  // 1 January 100
    static constexpr double MaxValue = 2958466.0;  // 1 January 10000, excluded

    constexpr Date() = default;
    constexpr explicit Date(double value) : m_value(value) {}

    constexpr double value() const { return m_value; }
    constexpr bool isEmpty() const { return m_value == 0.0; }
    // True when the value names a moment between the years 100 and 9999.
    bool isValid() const;

    // The wall-clock date and time of dateTime, in whatever zone it is given.
    static Date fromDateTime(const QDateTime &dateTime);
    static Date fromDate(const QDate &date);
    // A time of day on day 0, as the platform stores a bare time.
    static Date fromTime(const QTime &time);
    static Date fromDateAndTime(const QDate &date, const QTime &time);

    // These throw dayvex::Error (5 for NaN, 6 outside the years 100 to 9999).
    QDateTime toDateTime() const;
    QDate toDate() const;
    QTime toTime() const;
    Date datePart() const;      // midnight of the same day
    Date timePart() const;      // the time of day on day 0
    int minuteOfDay() const;    // hours * 60 + minutes, seconds cut off

    Date addDays(qint64 days) const;
    // Interval arithmetic on whole milliseconds, so repeated additions never drift.
    Date addMinutes(qint64 minutes) const;
    Date addSeconds(qint64 seconds) const;

    // The date itself, or the empty date when a host stored NaN or an infinity.
    Date finiteOrEmpty() const { return std::isfinite(m_value) ? *this : Date(); }

    friend constexpr bool operator==(Date a, Date b) { return a.m_value == b.m_value; }
    friend constexpr auto operator<=>(Date a, Date b) { return a.m_value <=> b.m_value; }

private:
    qint64 toMsecs() const;               // linear milliseconds since 30 December 1899
    static Date fromMsecs(qint64 msecs);
    Date addMsecs(qint64 count, qint64 unit) const;

    double m_value = 0.0;
};

// The one place the component reads the time of day. Tests replace the source;
// an empty function restores the system clock.
using ClockSource = std::function<QDateTime()>;
DAYVEX_CORE_EXPORT void setClockSource(ClockSource source);

DAYVEX_CORE_EXPORT Date now();
DAYVEX_CORE_EXPORT Date today();

} // namespace dayvex

Q_DECLARE_METATYPE(dayvex::Date)
