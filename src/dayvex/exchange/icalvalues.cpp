#include "icalvalues.h"

#include <QColor>
#include <QDateTime>
#include <QHash>
#include <QTimeZone>

namespace dayvex::ical {

namespace {

bool inModelRange(int year) { return year >= 100 && year <= 9999; }

Date fromLocalDateTime(const QDateTime &local)
{
    if (!inModelRange(local.date().year()))
        throw QStringLiteral("the date %1 is outside the years 100 to 9999").arg(local.date().toString(Qt::ISODate));
    return Date::fromDateTime(local);
}

} // namespace

QString text(const char *value) { return value ? QString::fromUtf8(value) : QString(); }

LocalTime localTime(const icaltimetype &time, const QByteArray &tzid)
{
    LocalTime result;
    const QDate day(time.year, time.month, time.day);
    if (!day.isValid())
        throw QStringLiteral("the date %1-%2-%3 is not a day").arg(time.year).arg(time.month).arg(time.day);
    if (time.is_date) {
        result.isDate = true;
        result.value = fromLocalDateTime(QDateTime(day, QTime(0, 0)));
        return result;
    }
    const QTime clock(time.hour, time.minute, qMin(time.second, 59));
    if (icaltime_is_utc(time)) {
        result.value = fromLocalDateTime(QDateTime(day, clock, Qt::UTC).toLocalTime());
    } else if (time.zone) {
        // libical converts from the zone the file or its own tables define.
        icaltimetype utc = time;
        icaltimezone_convert_time(&utc, const_cast<icaltimezone *>(time.zone), icaltimezone_get_utc_timezone());
        result.value = fromLocalDateTime(
            QDateTime(QDate(utc.year, utc.month, utc.day), QTime(utc.hour, utc.minute, qMin(utc.second, 59)), Qt::UTC)
                .toLocalTime());
    } else if (!tzid.isEmpty()) {
        const QTimeZone zone(tzid);
        if (zone.isValid()) {
            result.value = fromLocalDateTime(QDateTime(day, clock, zone).toLocalTime());
        } else {
            result.value = fromLocalDateTime(QDateTime(day, clock));
            result.note = QStringLiteral("unknown time zone \"%1\": times taken as local").arg(QString::fromUtf8(tzid));
        }
    } else {
        result.value = fromLocalDateTime(QDateTime(day, clock)); // floating: the same wall clock everywhere
    }
    return result;
}

std::optional<LocalTime> localTime(icalcomponent *component, icalproperty_kind kind)
{
    icalproperty *property = icalcomponent_get_first_property(component, kind);
    if (!property)
        return std::nullopt;
    const icaltimetype time = icalproperty_get_datetime_with_component(property, component);
    if (icaltime_is_null_time(time))
        throw QStringLiteral("%1 holds no date").arg(text(icalproperty_kind_to_string(kind)));
    return localTime(time, QByteArray(icalproperty_get_parameter_as_string(property, "TZID")));
}

icaltimetype utcTime(Date local)
{
    const QDateTime utc = local.toDateTime().toUTC();
    icaltimetype time = icaltime_null_time();
    time.year = utc.date().year();
    time.month = utc.date().month();
    time.day = utc.date().day();
    time.hour = utc.time().hour();
    time.minute = utc.time().minute();
    time.second = utc.time().second();
    time.zone = icaltimezone_get_utc_timezone();
    return time;
}

icaltimetype wholeDay(const QDate &day)
{
    icaltimetype time = icaltime_null_date();
    time.year = day.year();
    time.month = day.month();
    time.day = day.day();
    return time;
}

QString firstCategory(icalcomponent *component)
{
    icalproperty *property = icalcomponent_get_first_property(component, ICAL_CATEGORIES_PROPERTY);
    if (!property)
        return {};
    // One CATEGORIES may list several, comma-separated.
    return text(icalproperty_get_categories(property)).section(QLatin1Char(','), 0, 0).trimmed();
}

std::optional<qint32> oleFromCss(const QString &css)
{
    const QColor color = QColor::fromString(css.trimmed());
    if (!color.isValid())
        return std::nullopt;
    return qint32(color.red() | (color.green() << 8) | (color.blue() << 16));
}

QString cssFromOle(qint32 ole)
{
    const QColor color(ole & 0xFF, (ole >> 8) & 0xFF, (ole >> 16) & 0xFF);
    // A colour with a CSS name travels by name, as the format asks; others as #rrggbb.
    static const QHash<QRgb, QString> names = [] {
        QHash<QRgb, QString> byValue;
        for (const QString &name : QColor::colorNames()) {
            const QRgb rgb = QColor::fromString(name).rgb();
            if (!byValue.contains(rgb))
                byValue.insert(rgb, name);
        }
        return byValue;
    }();
    return names.value(color.rgb(), color.name());
}

} // namespace dayvex::ical
