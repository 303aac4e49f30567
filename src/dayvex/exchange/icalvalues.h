#pragma once

// Conversions between libical's values and the model's; internal to the exchange code.

#include <dayvex/platform/date.h>

#include <libical/ical.h>

#include <QString>

#include <memory>
#include <optional>

namespace dayvex::ical {

struct ComponentDeleter
{
    void operator()(icalcomponent *component) const { icalcomponent_free(component); }
};
using ComponentPtr = std::unique_ptr<icalcomponent, ComponentDeleter>;

struct PropertyDeleter
{
    void operator()(icalproperty *property) const { icalproperty_free(property); }
};
using PropertyPtr = std::unique_ptr<icalproperty, PropertyDeleter>;

// A date-time property read as the wall-clock time of this machine.
struct LocalTime
{
    Date value;
    bool isDate = false; // a whole day (VALUE=DATE)
    QString note;        // set when the time was taken with a caveat
};

// The value of `kind` on `component`, converted to local time: UTC and zoned
// times are converted (zones from the file's VTIMEZONEs, libical's own, or
// Qt's), times in this machine's zone and floating times taken as they stand.
// Empty when the property is absent; throws QString when it holds a date
// outside the years 100 to 9999.
std::optional<LocalTime> localTime(icalcomponent *component, icalproperty_kind kind);
// One icaltimetype (with its zone, or `tzid` when libical knew none) as local time.
LocalTime localTime(const icaltimetype &time, const QByteArray &tzid);

// Seconds from 30 December 1899 to `date` on the wall clock. The raw value
// cannot be subtracted: before 1900 its fraction counts backwards.
qint64 wallSeconds(Date date);
inline qint64 secondsBetween(Date from, Date to) { return wallSeconds(to) - wallSeconds(from); }

// The zone an export writes its times in: this machine's, as libical knows it,
// or none (UTC) when libical has no such zone.
icaltimezone *exportZone();

// A date-time property of `kind` holding `local`: in `zone` with its TZID, or
// in UTC when zone is null. Built from text, as libical's own setters turn a
// year past 3000 into zeros. Throws Error for a date outside the years 100 to 9999.
PropertyPtr timeProperty(icalproperty_kind kind, Date local, icaltimezone *zone);
// A VALUE=DATE property of `kind` holding `day`.
PropertyPtr dayProperty(icalproperty_kind kind, const QDate &day);
// The UTC text of `local`, as 20270301T080000Z.
QByteArray utcText(Date local);

// A text property, exact: what iCalendar cannot carry (leading and trailing
// blanks, control characters, a comma inside a category) travels in an
// X-DAYVEX-TEXT parameter beside the plain value. CATEGORIES is written as a
// list from a text of comma-separated names.
icalproperty *newTextProperty(icalproperty_kind kind, const QString &value);
// The text of a property newTextProperty wrote, or any other's plain value
// (all values of a CATEGORIES list, joined by ", ").
QString textOf(icalproperty *property);
// The text of the first property of `kind`, joined over every CATEGORIES.
QString textOf(icalcomponent *component, icalproperty_kind kind);

// ORGANIZER for an owner: its name as the common name; a name that is an address is also its address.
icalproperty *newOrganizer(const QString &owner);
// The organizer's common name, else its address without mailto:.
QString organizerName(icalproperty *organizer);

// Whether the model holds this property of a VEVENT (or a VTODO): others are
// kept with the record as text and written back.
bool heldByModel(icalproperty *property, bool todo);
// The properties of `component` the model does not hold, as iCalendar text.
QString keptText(icalcomponent *component, bool todo);

// COLOR holds a CSS colour name; the model holds 0x00BBGGRR.
std::optional<qint32> oleFromCss(const QString &css);
QString cssFromOle(qint32 ole);

QString text(const char *value);

// A secondly rule limited to some days (or to a 60th second), a minutely one to
// some months, weeks or days of the year, a numbered weekday or week number
// with a frequency finer than they ask for, or a day counted from the month's
// end with a daily or finer one, or a yearly rule without months that numbers its
// weekdays and names days of the month: libical walks every second, minute or hour in
// between, minutes to hours of work for one occurrence, never meets the day, or
// (the last) refuses the rule after a tenth of a second.
// Such a rule is kept as text and shows its first occurrence only.
bool tooCostlyToWalk(const icalrecurrencetype &rule);

// A rule whose days of the month no month it names has (the 31st of February,
// the 31st that is a second Tuesday), or whose BYSETPOS asks for more times
// than a period holds (the 2nd of a month's one 31st): libical would look for
// one until the year 2582. Such a rule, too, shows its first occurrence only.
bool namesNoDay(const icalrecurrencetype &rule);
// A monthly rule whose INTERVAL, counted from startMonth, never comes to a
// month of its BYMONTH (every third month from July, in February): the same search.
bool monthsNeverReached(const icalrecurrencetype &rule, int startMonth);

} // namespace dayvex::ical
