#include "icalvalues.h"

#include <dayvex/platform/error.h>

#include <QColor>
#include <QDateTime>
#include <QHash>
#include <QTimeZone>
#include <QUrl>

#include <utility>

namespace dayvex::ical {

namespace {

const char *const ExactTextParameter = "X-DAYVEX-TEXT";

bool inModelRange(int year) { return year >= 100 && year <= 9999; }

// A wall-clock day and time as a Date, never through a QDateTime in a zone: a
// time inside a summer-time gap stays as the file has it.
Date wallDate(const QDate &day, const QTime &clock)
{
    if (!inModelRange(day.year()))
        throw QStringLiteral("the date %1 is outside the years 100 to 9999").arg(day.toString(Qt::ISODate));
    return Date::fromDateAndTime(day, clock);
}

Date fromUtc(const QDate &day, const QTime &clock)
{
    const QDateTime local = QDateTime(day, clock, Qt::UTC).toLocalTime();
    return wallDate(local.date(), local.time());
}

QTime clockOf(const icaltimetype &time) { return QTime(time.hour, time.minute, qMin(time.second, 59)); }

// Whether a TZID names this machine's zone, as itself or with libical's prefix.
bool isSystemZone(const QByteArray &tzid)
{
    const QByteArray system = QTimeZone::systemTimeZoneId();
    return !tzid.isEmpty() && !system.isEmpty() && (tzid == system || tzid.endsWith('/' + system));
}

QByteArray stamp(const QDate &day, const QTime &clock, const char *suffix)
{
    return QString::asprintf("%04d%02d%02dT%02d%02d%02d%s", day.year(), day.month(), day.day(), clock.hour(),
                             clock.minute(), clock.second(), suffix)
        .toLatin1();
}

// What a plain value carries of `value` once read back: blanks at the ends and
// control characters other than tab and line feed are lost; a list comes back
// as its trimmed names joined by ", ".
QString carried(const QString &value, bool list)
{
    QString kept;
    for (const QChar c : value) {
        if (c.unicode() >= 0x20 ? c.unicode() != 0x7F : (c == u'\n' || c == u'\t'))
            kept += c;
    }
    if (!list)
        return kept.trimmed();
    QStringList names;
    for (const QString &name : kept.split(QLatin1Char(',')))
        if (!name.trimmed().isEmpty())
            names << name.trimmed();
    return names.join(QStringLiteral(", "));
}

icalproperty *newPlainText(icalproperty_kind kind, const QByteArray &value)
{
    switch (kind) {
    case ICAL_SUMMARY_PROPERTY: return icalproperty_new_summary(value.constData());
    case ICAL_DESCRIPTION_PROPERTY: return icalproperty_new_description(value.constData());
    case ICAL_LOCATION_PROPERTY: return icalproperty_new_location(value.constData());
    case ICAL_CATEGORIES_PROPERTY: return icalproperty_new_categories(value.constData());
    case ICAL_CONTACT_PROPERTY: return icalproperty_new_contact(value.constData());
    default: return icalproperty_new_comment(value.constData());
    }
}

QString plainText(icalproperty *property)
{
    icalvalue *value = property ? icalproperty_get_value(property) : nullptr;
    if (!value)
        return {};
    return text(icalvalue_isa(value) == ICAL_TEXT_VALUE ? icalvalue_get_text(value)
                                                        : icalproperty_get_value_as_string(property));
}

} // namespace

QString text(const char *value) { return value ? QString::fromUtf8(value) : QString(); }

LocalTime localTime(const icaltimetype &time, const QByteArray &tzid)
{
    LocalTime result;
    const QDate day(time.year, time.month, time.day);
    if (!day.isValid())
        throw QStringLiteral("the date %1-%2-%3 is not a day").arg(time.year).arg(time.month).arg(time.day);
    const QByteArray zoneId = time.zone ? QByteArray(icaltimezone_get_tzid(const_cast<icaltimezone *>(time.zone))) : tzid;
    if (time.is_date) {
        result.isDate = true;
        result.value = wallDate(day, QTime(0, 0));
    } else if (icaltime_is_utc(time)) {
        result.value = fromUtc(day, clockOf(time));
    } else if (isSystemZone(zoneId)) {
        result.value = wallDate(day, clockOf(time)); // written here: the wall clock as it stands
    } else if (time.zone) {
        // libical converts from the zone the file or its own tables define.
        icaltimetype utc = time;
        icaltimezone_convert_time(&utc, const_cast<icaltimezone *>(time.zone), icaltimezone_get_utc_timezone());
        result.value = fromUtc(QDate(utc.year, utc.month, utc.day), clockOf(utc));
    } else if (!tzid.isEmpty()) {
        const QTimeZone zone(tzid);
        if (zone.isValid()) {
            const QDateTime local = QDateTime(day, clockOf(time), zone).toLocalTime();
            result.value = wallDate(local.date(), local.time());
        } else {
            result.value = wallDate(day, clockOf(time));
            result.note = QStringLiteral("unknown time zone \"%1\": times taken as local").arg(QString::fromUtf8(tzid));
        }
    } else {
        result.value = wallDate(day, clockOf(time)); // floating: the same wall clock everywhere
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

qint64 wallSeconds(Date date)
{
    static const QDate epoch(1899, 12, 30);
    return epoch.daysTo(date.toDate()) * 86400 + date.toTime().msecsSinceStartOfDay() / 1000;
}

icaltimezone *exportZone()
{
    // A zone that is UTC under another name (Etc/UTC, GMT, Zulu) writes UTC times:
    // servers refuse a VTIMEZONE for it.
    const QTimeZone zone = QTimeZone::systemTimeZone();
    const QByteArray id = QTimeZone::systemTimeZoneId();
    if (id.isEmpty() || (zone.offsetFromUtc(QDateTime::currentDateTimeUtc()) == 0 && !zone.hasDaylightTime()))
        return nullptr;
    return icaltimezone_get_builtin_timezone(id.constData());
}

QByteArray utcText(Date local)
{
    const QDateTime utc = local.toDateTime().toUTC();
    return stamp(utc.date(), utc.time(), "Z");
}

PropertyPtr timeProperty(icalproperty_kind kind, Date local, icaltimezone *zone)
{
    const QByteArray value = zone ? stamp(local.toDate(), local.toTime(), "") : utcText(local);
    PropertyPtr property(icalproperty_new(kind));
    icalproperty_set_value(property.get(), icalvalue_new_from_string(ICAL_DATETIME_VALUE, value.constData()));
    if (zone)
        icalproperty_add_parameter(property.get(), icalparameter_new_tzid(icaltimezone_get_tzid(zone)));
    return property;
}

PropertyPtr dayProperty(icalproperty_kind kind, const QDate &day)
{
    PropertyPtr property(icalproperty_new(kind));
    const QByteArray value = QString::asprintf("%04d%02d%02d", day.year(), day.month(), day.day()).toLatin1();
    icalproperty_set_value(property.get(), icalvalue_new_from_string(ICAL_DATE_VALUE, value.constData()));
    return property;
}

icalproperty *newTextProperty(icalproperty_kind kind, const QString &value)
{
    const bool list = kind == ICAL_CATEGORIES_PROPERTY;
    const QString plain = carried(value, list);
    QString written = plain;
    if (list)
        written.replace(QStringLiteral(", "), QStringLiteral(","));
    icalproperty *property = newPlainText(kind, written.toUtf8());
    if (plain != value) {
        icalparameter *exact = icalparameter_new_x(QUrl::toPercentEncoding(value).constData());
        icalparameter_set_xname(exact, ExactTextParameter);
        icalproperty_add_parameter(property, exact);
    }
    return property;
}

QString textOf(icalproperty *property)
{
    const QString plain = plainText(property);
    const char *exact = property ? icalproperty_get_parameter_as_string(property, ExactTextParameter) : nullptr;
    if (!exact)
        return plain;
    // Taken only while it still matches the value: another program may have edited the value alone.
    const QString decoded = QUrl::fromPercentEncoding(exact);
    return carried(decoded, false) == plain ? decoded : plain;
}

QString textOf(icalcomponent *component, icalproperty_kind kind)
{
    icalproperty *first = icalcomponent_get_first_property(component, kind);
    if (kind != ICAL_CATEGORIES_PROPERTY || !first)
        return textOf(first);
    // The parser splits one CATEGORIES list into a property per name.
    QStringList names;
    for (icalproperty *p = first; p; p = icalcomponent_get_next_property(component, kind))
        names << plainText(p);
    const QString plain = names.join(QStringLiteral(", "));
    const char *exact = icalproperty_get_parameter_as_string(first, ExactTextParameter);
    if (!exact)
        return plain;
    const QString decoded = QUrl::fromPercentEncoding(exact);
    return carried(decoded, true) == plain ? decoded : plain;
}

icalproperty *newOrganizer(const QString &owner)
{
    const QString address = owner.contains(QLatin1Char('@'))
                                ? QStringLiteral("mailto:") + owner.trimmed()
                                : QStringLiteral("urn:x-dayvex:user:")
                                      + QString::fromLatin1(QUrl::toPercentEncoding(owner.trimmed()));
    icalproperty *organizer = icalproperty_new_organizer(address.toUtf8().constData());
    icalproperty_add_parameter(organizer, icalparameter_new_cn(owner.toUtf8().constData()));
    return organizer;
}

QString organizerName(icalproperty *organizer)
{
    if (!organizer)
        return {};
    const QString name = text(icalproperty_get_parameter_as_string(organizer, "CN"));
    if (!name.isEmpty())
        return name;
    QString address = text(icalproperty_get_organizer(organizer));
    if (address.startsWith(QLatin1String("mailto:"), Qt::CaseInsensitive))
        address = address.mid(7);
    return address;
}

bool heldByModel(icalproperty *property, bool todo)
{
    switch (icalproperty_isa(property)) {
    case ICAL_UID_PROPERTY:
    case ICAL_DTSTAMP_PROPERTY:
    case ICAL_SUMMARY_PROPERTY:
    case ICAL_DESCRIPTION_PROPERTY:
    case ICAL_CATEGORIES_PROPERTY:
        return true;
    case ICAL_X_PROPERTY: {
        const QByteArray name(icalproperty_get_x_name(property));
        return name.startsWith("X-LIC-") || name.startsWith("X-DAYVEX-");
    }
    case ICAL_DUE_PROPERTY:
    case ICAL_PRIORITY_PROPERTY:
    case ICAL_COMPLETED_PROPERTY:
    case ICAL_STATUS_PROPERTY:
        return todo;
    case ICAL_DTSTART_PROPERTY:
    case ICAL_DTEND_PROPERTY:
    case ICAL_DURATION_PROPERTY:
    case ICAL_LOCATION_PROPERTY:
    case ICAL_COLOR_PROPERTY:
    case ICAL_RRULE_PROPERTY:
    case ICAL_RDATE_PROPERTY:
    case ICAL_EXDATE_PROPERTY:
    case ICAL_RECURRENCEID_PROPERTY:
        return !todo;
    default:
        return false;
    }
}

QString keptText(icalcomponent *component, bool todo)
{
    QString kept;
    bool contactRead = false;
    for (icalproperty *p = icalcomponent_get_first_property(component, ICAL_ANY_PROPERTY); p;
         p = icalcomponent_get_next_property(component, ICAL_ANY_PROPERTY)) {
        if (heldByModel(p, todo) || icalproperty_isa(p) == ICAL_XLICERROR_PROPERTY) // errors are reported instead
            continue;
        const icalproperty_kind kind = icalproperty_isa(p);
        if (kind == ICAL_CONTACT_PROPERTY && !todo && !std::exchange(contactRead, true))
            continue; // the record's Contact
        char *line = icalproperty_as_ical_string_r(p);
        if (kind == ICAL_ORGANIZER_PROPERTY) {
            // Kept only when it says more than the owner's name: an address, a SENT-BY...
            const PropertyPtr own(newOrganizer(organizerName(p)));
            char *ownLine = icalproperty_as_ical_string_r(own.get());
            const bool same = qstrcmp(line, ownLine) == 0;
            icalmemory_free_buffer(ownLine);
            if (same) {
                icalmemory_free_buffer(line);
                continue;
            }
        }
        kept += QString::fromUtf8(line);
        icalmemory_free_buffer(line);
    }
    // The record holds the first reminder; any others travel whole.
    icalcomponent *alarm = icalcomponent_get_first_component(component, ICAL_VALARM_COMPONENT);
    while (alarm && (alarm = icalcomponent_get_next_component(component, ICAL_VALARM_COMPONENT))) {
        char *text = icalcomponent_as_ical_string_r(alarm);
        kept += QString::fromUtf8(text);
        icalmemory_free_buffer(text);
    }
    return kept;
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
