#pragma once

#include <dayvex/dayvex_export.h>

#include <QDateTime>
#include <QMetaType>

#include <cmath>
#include <compare>
#include <functional>

namespace dayvex {

/// The automation date: days since 30 December 1899 00:00 with the time of day
/// as the fraction; 0.0 is the empty date. For negative values the integer part
/// is the day and the fraction's absolute value the time (-1.25 is 29 December
/// 1899 06:00). Comparisons compare the stored numbers, as the platform does.
class DAYVEX_CORE_EXPORT Date
{
public:
    static constexpr double MinValue = -657434.0;  ///< 1 January 100.
    static constexpr double MaxValue = 2958466.0;  ///< 1 January 10000, excluded.

    /// The empty date, 0.0.
    constexpr Date() = default;
    /// The date stored as value, taken as it is (NaN and infinities included).
    constexpr explicit Date(double value) : m_value(value) {}

    /// The stored number.
    constexpr double value() const { return m_value; }
    /// True for the empty date, 0.0.
    constexpr bool isEmpty() const { return m_value == 0.0; }
    /// True when the value names a moment between the years 100 and 9999.
    bool isValid() const;

    /// The wall-clock date and time of dateTime, in whatever zone it is given.
    /// Throws Error 5 for an invalid date, 6 outside the years 100 to 9999.
    static Date fromDateTime(const QDateTime &dateTime);
    /// Midnight of date; throws as fromDateTime.
    static Date fromDate(const QDate &date);
    /// A time of day on day 0, as the platform stores a bare time (0.0 for an invalid time).
    static Date fromTime(const QTime &time);
    /// date at time (midnight for an invalid time); throws as fromDateTime.
    static Date fromDateAndTime(const QDate &date, const QTime &time);

    QDateTime toDateTime() const;   ///< The date and time; throws Error 5 for NaN, 6 outside the years 100 to 9999.
    QDate toDate() const;           ///< The day; throws Error 5 for NaN, 6 outside the years 100 to 9999.
    QTime toTime() const;           ///< The time of day; throws Error 5 for NaN, 6 outside the years 100 to 9999.
    Date datePart() const;          ///< Midnight of the same day; throws as toDate.
    Date timePart() const;          ///< The time of day on day 0; throws as toDate.
    int minuteOfDay() const;        ///< hours * 60 + minutes, seconds cut off; throws as toDate.

    /// days later (earlier when negative). Throws Error 5 for NaN, 6 when the date
    /// or the result lies outside the years 100 to 9999.
    Date addDays(qint64 days) const;
    /// minutes later; throws as addDays. Interval arithmetic on whole milliseconds,
    /// so repeated additions never drift.
    Date addMinutes(qint64 minutes) const;
    /// seconds later; throws as addDays.
    Date addSeconds(qint64 seconds) const;

    /// The date itself, or the empty date when a host stored NaN or an infinity.
    Date finiteOrEmpty() const { return std::isfinite(m_value) ? *this : Date(); }

    /// Whether the stored numbers are equal (NaN equals nothing).
    friend constexpr bool operator==(Date a, Date b) { return a.m_value == b.m_value; }
    /// Orders by the stored numbers (NaN is unordered).
    friend constexpr auto operator<=>(Date a, Date b) { return a.m_value <=> b.m_value; }

private:
    qint64 toMsecs() const;               // linear milliseconds since 30 December 1899
    static Date fromMsecs(qint64 msecs);
    Date addMsecs(qint64 count, qint64 unit) const;

    double m_value = 0.0;
};

/// A source of the current local date and time, for setClockSource.
using ClockSource = std::function<QDateTime()>;
/// The one place the component reads the time of day. Tests replace the source;
/// an empty function restores the system clock.
DAYVEX_CORE_EXPORT void setClockSource(ClockSource source);

/// The current date and time, from the clock source.
DAYVEX_CORE_EXPORT Date now();
/// Midnight of now().
DAYVEX_CORE_EXPORT Date today();

} // namespace dayvex

Q_DECLARE_METATYPE(dayvex::Date)
