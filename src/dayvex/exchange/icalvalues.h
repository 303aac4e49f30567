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

// A date-time property read as the wall-clock time of this machine.
struct LocalTime
{
    Date value;
    bool isDate = false; // a whole day (VALUE=DATE)
    QString note;        // set when the time was taken with a caveat
};

// The value of `kind` on `component`, converted to local time: UTC and zoned
// times are converted (zones from the file's VTIMEZONEs, libical's own, or
// Qt's), floating times taken as they stand. Empty when the property is absent;
// throws QString when it holds a date outside the years 100 to 9999.
std::optional<LocalTime> localTime(icalcomponent *component, icalproperty_kind kind);
// One icaltimetype (with its zone, or `tzid` when libical knew none) as local time.
LocalTime localTime(const icaltimetype &time, const QByteArray &tzid);

icaltimetype utcTime(Date local);
icaltimetype wholeDay(const QDate &day);

// The first entry of the first CATEGORIES property.
QString firstCategory(icalcomponent *component);

// COLOR holds a CSS colour name; the model holds 0x00BBGGRR.
std::optional<qint32> oleFromCss(const QString &css);
QString cssFromOle(qint32 ole);

QString text(const char *value);

} // namespace dayvex::ical
