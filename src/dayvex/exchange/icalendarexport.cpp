#include "icalendar.h"
#include "icalvalues.h"
#include "series.h"

#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>
#include <dayvex/platform/error.h>

#include <QFileInfo>
#include <QHash>
#include <QSaveFile>
#include <QTimeZone>

#include <tuple>
#include <vector>

namespace dayvex {

using namespace ical;

namespace {

// What every component of one export shares.
struct Context
{
    icaltimezone *zone = nullptr; // null: times in UTC
    Date stamp;
    ExchangeReport &report;
    QString component;            // "appointment <key>" or "to-do <key>"
    QString uid;

    void note(const QString &what) { report.entries.append({component, uid, what, false}); }
};

void add(icalcomponent *component, icalproperty *property) { icalcomponent_add_property(component, property); }
void add(icalcomponent *component, PropertyPtr property) { add(component, property.release()); }

void addText(icalcomponent *component, icalproperty_kind kind, const QString &value)
{
    if (!value.isEmpty())
        add(component, newTextProperty(kind, value));
}

// libical's own conversion from seconds stops at 68 years; a reminder may lie further.
icaldurationtype durationOf(qint64 seconds)
{
    icaldurationtype duration = icaldurationtype_null_duration();
    duration.is_neg = seconds < 0;
    quint64 left = seconds < 0 ? 0 - quint64(seconds) : quint64(seconds);
    duration.days = unsigned(left / 86400);
    left %= 86400;
    duration.hours = unsigned(left / 3600);
    duration.minutes = unsigned(left / 60 % 60);
    duration.seconds = unsigned(left % 60);
    return duration;
}

// The reminder as a VALARM: relative to base (with RELATED=END when base is the
// end), or at its own UTC time when there is no base. A reminder that is no date is reported.
void addAlarm(icalcomponent *component, Date reminder, Date base, bool relatedToEnd, const QString &description,
              Context &context)
{
    if (reminder.isEmpty())
        return;
    if (!reminder.isValid()) {
        context.note(QStringLiteral("the reminder %1 is not a date: left out").arg(reminder.value()));
        return;
    }
    ComponentPtr alarm(icalcomponent_new_valarm());
    add(alarm.get(), icalproperty_new_action(ICAL_ACTION_DISPLAY));
    addText(alarm.get(), ICAL_DESCRIPTION_PROPERTY, description.isEmpty() ? QStringLiteral("Reminder") : description);
    if (base.isEmpty() || !base.isValid()) {
        PropertyPtr trigger = timeProperty(ICAL_TRIGGER_PROPERTY, reminder, nullptr);
        icalproperty_add_parameter(trigger.get(), icalparameter_new_value(ICAL_VALUE_DATETIME));
        add(alarm.get(), std::move(trigger));
    } else {
        icaltriggertype trigger{};
        trigger.time = icaltime_null_time();
        trigger.duration = durationOf(secondsBetween(base, reminder));
        icalproperty *property = icalproperty_new_trigger(trigger);
        if (relatedToEnd)
            icalproperty_add_parameter(property, icalparameter_new_related(ICAL_RELATED_END));
        add(alarm.get(), property);
    }
    icalcomponent_add_component(component, alarm.release());
}

// The properties an import kept (Extra), less those the record writes itself.
// An ORGANIZER is kept only while it still names the owner; ownerKept tells.
std::vector<PropertyPtr> keptProperties(const QString &extra, bool todo, const QString &owner, bool &ownerKept,
                                        Context &context, std::vector<ComponentPtr> &alarms)
{
    std::vector<PropertyPtr> kept;
    ownerKept = false;
    if (extra.trimmed().isEmpty())
        return kept;
    QByteArray text = "BEGIN:VEVENT\r\n" + extra.toUtf8();
    if (!text.endsWith('\n'))
        text += "\r\n";
    const ComponentPtr holder(icalcomponent_new_from_string((text + "END:VEVENT\r\n").constData()));
    if (!holder) {
        context.note(QStringLiteral("Extra is not iCalendar text: left out"));
        return kept;
    }
    while (icalproperty *p = icalcomponent_get_first_property(holder.get(), ICAL_ANY_PROPERTY)) {
        icalcomponent_remove_property(holder.get(), p);
        PropertyPtr property(p);
        if (icalproperty_isa(p) == ICAL_X_PROPERTY && qstrcmp(icalproperty_get_x_name(p), "X-LIC-ERROR") == 0)
            context.note(QStringLiteral("a line of Extra cannot be read: left out"));
        if (heldByModel(p, todo))
            continue;
        if (icalproperty_isa(p) == ICAL_ORGANIZER_PROPERTY) {
            if (owner.isEmpty() || organizerName(p) != owner || ownerKept)
                continue;
            ownerKept = true;
        }
        kept.push_back(std::move(property));
    }
    // Reminders after the record's own one.
    while (icalcomponent *alarm = icalcomponent_get_first_component(holder.get(), ICAL_VALARM_COMPONENT)) {
        icalcomponent_remove_component(holder.get(), alarm);
        alarms.emplace_back(alarm);
    }
    return kept;
}

void addOwnerAndKept(icalcomponent *component, const QString &owner, const QString &extra, bool todo, Context &context)
{
    bool ownerKept = false;
    std::vector<ComponentPtr> alarms;
    std::vector<PropertyPtr> kept = keptProperties(extra, todo, owner, ownerKept, context, alarms);
    if (!ownerKept && !owner.trimmed().isEmpty())
        add(component, newOrganizer(owner));
    for (PropertyPtr &property : kept)
        add(component, std::move(property));
    for (ComponentPtr &alarm : alarms)
        icalcomponent_add_component(component, alarm.release());
}

bool isWholeDays(const Schedule &s)
{
    const QTime start = s.StartDate.toTime();
    const QTime end = s.EndDate.toTime();
    return start == QTime(0, 0) && end.hour() == 23 && end.minute() == 59 && secondsBetween(s.StartDate, s.EndDate) > 0;
}

QString uidFor(const QString &tag, const QString &key, char kind)
{
    return tag.isEmpty() ? QStringLiteral("%1-%2@dayvex").arg(QLatin1Char(kind)).arg(key) : tag;
}

void addColor(icalcomponent *event, qint32 color)
{
    if (color == 0)
        return;
    // System colours (0x800000nn) and other high bits have no CSS name: they travel as the number.
    if ((quint32(color) & 0xFF000000u) == 0) {
        add(event, icalproperty_new_color(cssFromOle(color).toUtf8().constData()));
        return;
    }
    icalproperty *exact = icalproperty_new_x(QByteArray::number(color).constData());
    icalproperty_set_x_name(exact, "X-DAYVEX-COLOR");
    add(event, exact);
}

// The appointment as a VEVENT; throws Error for a date outside the years 100 to 9999.
ComponentPtr eventOf(const Schedule &s, bool repeatedUid, Context &context)
{
    ComponentPtr event(icalcomponent_new_vevent());
    add(event.get(), icalproperty_new_uid(context.uid.toUtf8().constData()));
    add(event.get(), timeProperty(ICAL_DTSTAMP_PROPERTY, context.stamp, nullptr));
    if (isWholeDays(s)) {
        add(event.get(), dayProperty(ICAL_DTSTART_PROPERTY, s.StartDate.toDate()));
        add(event.get(), dayProperty(ICAL_DTEND_PROPERTY, s.EndDate.toDate().addDays(1)));
    } else {
        add(event.get(), timeProperty(ICAL_DTSTART_PROPERTY, s.StartDate, context.zone));
        add(event.get(), timeProperty(ICAL_DTEND_PROPERTY, s.EndDate, context.zone));
    }
    if (!s.Recurrence.isEmpty()) {
        // A series: its rule, the starts it adds and those it leaves out. A rule
        // libical cannot read travels as text, never lost.
        // One too costly to walk here is still a rule for other programs.
        const icalrecurrencetype rule = icalrecurrencetype_from_string(s.Recurrence.toUtf8().constData());
        icalerror_clear_errno();
        if (rule.freq != ICAL_NO_RECURRENCE) {
            add(event.get(), icalproperty_new_rrule(rule));
        } else {
            icalproperty *kept = icalproperty_new_x(s.Recurrence.toUtf8().constData());
            icalproperty_set_x_name(kept, "X-DAYVEX-RRULE");
            add(event.get(), kept);
        }
        // A whole-day series names days, as its DTSTART does.
        const auto dated = [&](icalproperty_kind kind, Date at) {
            add(event.get(), isWholeDays(s) ? dayProperty(kind, at.toDate()) : timeProperty(kind, at, context.zone));
        };
        for (Date extra : seriesDates(s.RecurrenceDates))
            dated(ICAL_RDATE_PROPERTY, extra);
        for (Date left : seriesDates(s.ExceptionDates))
            dated(ICAL_EXDATE_PROPERTY, left);
    } else if (!s.SeriesKey.isEmpty()) {
        // An occurrence changed on its own: under its series' UID, with the start it had there.
        add(event.get(), isWholeDays(s) && s.RecurrenceId.toTime() == QTime(0, 0)
                             ? dayProperty(ICAL_RECURRENCEID_PROPERTY, s.RecurrenceId.toDate())
                             : timeProperty(ICAL_RECURRENCEID_PROPERTY, s.RecurrenceId, context.zone));
    } else if (repeatedUid) {
        // Occurrences of one recurring event share its UID: each names its own start.
        add(event.get(), timeProperty(ICAL_RECURRENCEID_PROPERTY, s.StartDate, context.zone));
    }
    addText(event.get(), ICAL_SUMMARY_PROPERTY, s.Description);
    addText(event.get(), ICAL_DESCRIPTION_PROPERTY, s.Body);
    addText(event.get(), ICAL_LOCATION_PROPERTY, s.Place);
    addText(event.get(), ICAL_CATEGORIES_PROPERTY, s.Category);
    if (!s.Contact.isEmpty() || !s.ContactCode.isEmpty()) {
        icalproperty *contact = newTextProperty(ICAL_CONTACT_PROPERTY, s.Contact);
        if (!s.ContactCode.isEmpty()) {
            icalparameter *code = icalparameter_new_x(s.ContactCode.toUtf8().constData());
            icalparameter_set_xname(code, "X-DAYVEX-CODE");
            icalproperty_add_parameter(contact, code);
        }
        add(event.get(), contact);
    }
    addColor(event.get(), s.Color);
    // A series reminds before each occurrence: its lead, not the reminder next due.
    // The record's own reminder goes first: an import takes the first VALARM.
    const bool led = !s.Recurrence.isEmpty() && s.ReminderLead != Schedule::NoLead;
    addAlarm(event.get(), led ? s.StartDate.addSeconds(-s.ReminderLead) : s.ReminderDate, s.StartDate, false,
             s.Description, context);
    addOwnerAndKept(event.get(), s.Owner, s.Extra, false, context);
    return event;
}

// The to-do as a VTODO; throws Error for a date outside the years 100 to 9999.
ComponentPtr todoOf(const ToDo &t, Context &context)
{
    ComponentPtr todo(icalcomponent_new_vtodo());
    add(todo.get(), icalproperty_new_uid(context.uid.toUtf8().constData()));
    add(todo.get(), timeProperty(ICAL_DTSTAMP_PROPERTY, context.stamp, nullptr));
    addText(todo.get(), ICAL_SUMMARY_PROPERTY, t.ShortDesc);
    addText(todo.get(), ICAL_DESCRIPTION_PROPERTY, t.LongDesc);
    addText(todo.get(), ICAL_CATEGORIES_PROPERTY, t.Project);
    if (!t.DueTo.isEmpty())
        add(todo.get(), timeProperty(ICAL_DUE_PROPERTY, t.DueTo, context.zone));
    if (t.Priority < 0 || t.Priority > 9)
        context.note(QStringLiteral("priority %1 written as %2").arg(t.Priority).arg(qBound(0, int(t.Priority), 9)));
    add(todo.get(), icalproperty_new_priority(qBound(0, int(t.Priority), 9)));
    add(todo.get(), icalproperty_new_status(t.Done ? ICAL_STATUS_COMPLETED : ICAL_STATUS_NEEDSACTION));
    if (!t.DateDone.isEmpty()) // a date done is kept even on a to-do taken up again
        add(todo.get(), timeProperty(ICAL_COMPLETED_PROPERTY, t.DateDone, nullptr));
    addAlarm(todo.get(), t.ReminderDate, t.DueTo, true, t.ShortDesc, context);
    addOwnerAndKept(todo.get(), t.Owner, t.Extra, true, context);
    return todo;
}

// Adds the component build() makes, or reports why the record is left out;
// a half-built component is freed with its owner.
template <typename Build>
bool addRecord(icalcomponent *calendar, Context &context, Build build)
{
    try {
        ComponentPtr component = build();
        icalcomponent_add_component(calendar, component.release());
        return true;
    } catch (const Error &e) { // a date the host stored outside the years 100 to 9999
        context.report.entries.append({context.component, context.uid, e.description(), true});
        ++context.report.skipped;
        return false;
    }
}

bool later(const icaltimetype &a, const icaltimetype &b)
{
    return std::tie(a.year, a.month, a.day, a.hour, a.minute, a.second)
           > std::tie(b.year, b.month, b.day, b.hour, b.minute, b.second);
}

// One STANDARD or DAYLIGHT whose RRULE has an UNTIL, rewritten as the RDATEs it
// stands for: python's dateutil, under python3-icalendar, refuses such a rule
// whole. The onsets are local times at TZOFFSETFROM; UNTIL is in UTC.
void ruleAsDates(icalcomponent *observance)
{
    icalproperty *rruleProperty = icalcomponent_get_first_property(observance, ICAL_RRULE_PROPERTY);
    icalproperty *offsetProperty = icalcomponent_get_first_property(observance, ICAL_TZOFFSETFROM_PROPERTY);
    if (!rruleProperty || !offsetProperty)
        return;
    icalrecurrencetype rule = icalproperty_get_rrule(rruleProperty);
    const icaltimetype until = rule.until;
    if (icaltime_is_null_time(until))
        return;
    rule.until = icaltime_null_time();
    const icaltimetype dtstart = icalcomponent_get_dtstart(observance);
    std::unique_ptr<icalrecur_iterator, void (*)(icalrecur_iterator *)> it(icalrecur_iterator_new(rule, dtstart),
                                                                           icalrecur_iterator_free);
    if (!it)
        return;
    const int offset = icalproperty_get_tzoffsetfrom(offsetProperty);
    int left = 1000; // yearly rules of past decades: never near this
    for (icaltimetype onset = icalrecur_iterator_next(it.get()); !icaltime_is_null_time(onset) && --left > 0;
         onset = icalrecur_iterator_next(it.get())) {
        icaltimetype utc = onset;
        icaltime_adjust(&utc, 0, 0, 0, -offset);
        if (later(utc, until))
            break;
        if (later(onset, dtstart)) {
            icaldatetimeperiodtype date{};
            date.time = onset;
            date.period = icalperiodtype_null_period();
            icalcomponent_add_property(observance, icalproperty_new_rdate(date));
        }
    }
    icalcomponent_remove_property(observance, rruleProperty);
    icalproperty_free(rruleProperty);
}

// The earliest local time any event or to-do of calendar names, or the null time.
icaltimetype earliestTime(icalcomponent *calendar)
{
    icaltimetype earliest = icaltime_null_time();
    for (icalcomponent *c = icalcomponent_get_first_component(calendar, ICAL_ANY_COMPONENT); c;
         c = icalcomponent_get_next_component(calendar, ICAL_ANY_COMPONENT)) {
        for (icalproperty *p = icalcomponent_get_first_property(c, ICAL_ANY_PROPERTY); p;
             p = icalcomponent_get_next_property(c, ICAL_ANY_PROPERTY)) {
            const icalvalue *value = icalproperty_get_value(p);
            icaltimetype at = icaltime_null_time();
            if (!value)
                continue;
            if (icalvalue_isa(value) == ICAL_DATETIME_VALUE || icalvalue_isa(value) == ICAL_DATE_VALUE)
                at = icalvalue_get_datetime(value);
            else if (icalvalue_isa(value) == ICAL_DATETIMEPERIOD_VALUE)
                at = icalvalue_get_datetimeperiod(value).time;
            if (!icaltime_is_null_time(at) && (icaltime_is_null_time(earliest) || later(earliest, at)))
                earliest = at;
        }
    }
    return earliest;
}

// The zone's VTIMEZONE, first in calendar, cut to the observances from a day
// before the earliest time the file names: a CalDAV resource of one event would
// otherwise carry the zone's whole history, some kilobytes.
void addZone(icalcomponent *calendar, icaltimezone *zone, ExchangeReport &report)
{
    if (zone) {
        icalcomponent *timezone = icalcomponent_new_clone(icaltimezone_get_component(zone));
        if (icaltimetype from = earliestTime(calendar); !icaltime_is_null_time(from)) {
            from.is_date = 0;
            from.zone = icaltimezone_get_utc_timezone();
            icaltime_adjust(&from, -1, 0, 0, 0);
            icaltimezone_truncate_vtimezone(timezone, from, icaltime_null_time(), 0);
        }
        for (icalcomponent *c = icalcomponent_get_first_component(timezone, ICAL_ANY_COMPONENT); c;
             c = icalcomponent_get_next_component(timezone, ICAL_ANY_COMPONENT))
            ruleAsDates(c);
        // Readers meet the zone before the times that name it.
        std::vector<icalcomponent *> records;
        for (icalcomponent *c = icalcomponent_get_first_component(calendar, ICAL_ANY_COMPONENT); c;
             c = icalcomponent_get_next_component(calendar, ICAL_ANY_COMPONENT))
            records.push_back(c);
        for (icalcomponent *c : records)
            icalcomponent_remove_component(calendar, c);
        icalcomponent_add_component(calendar, timezone);
        for (icalcomponent *c : records)
            icalcomponent_add_component(calendar, c);
        return;
    }
    const QByteArray id = QTimeZone::systemTimeZoneId();
    if (id != "UTC")
        report.entries.append({QStringLiteral("file"), QString(),
                               QStringLiteral("time zone \"%1\" unknown to libical: times written in UTC")
                                   .arg(QString::fromUtf8(id)),
                               false});
}

bool cancelled(const ExportOptions &options, int done, int total, ExchangeReport &report)
{
    if (!options.progress || options.progress(done, total))
        return false;
    report = ExchangeReport();
    report.entries.append({QStringLiteral("file"), QString(), QStringLiteral("cancelled: nothing written"), true});
    return true;
}

} // namespace

QByteArray exportICalendarData(DayvexData &from, ExchangeReport *reportOut, const ExportOptions &options)
{
    ExchangeReport report;
    icalerror_set_errors_are_fatal(0);
    ComponentPtr calendar(icalcomponent_new_vcalendar());
    add(calendar.get(), icalproperty_new_version("2.0"));
    add(calendar.get(), icalproperty_new_prodid("-//Dayvex//zntDayvex//EN"));
    add(calendar.get(), icalproperty_new_calscale("GREGORIAN"));
    Context context{exportZone(), now(), report, {}, {}};

    auto schedules = from.Schedules();
    auto todos = from.ToDoS();
    const int total = schedules->Count() + todos->Count();
    int done = 0;
    // An occurrence changed on its own goes under its series' UID.
    const auto uidOf = [&schedules](const Schedule &s) {
        if (!s.SeriesKey.isEmpty()) {
            if (const std::shared_ptr<Schedule> series = schedules->find(s.SeriesKey))
                return uidFor(series->Tag, series->Key, 'S');
        }
        return uidFor(s.Tag, s.Key, 'S');
    };
    QHash<QString, int> uses;
    for (const auto &s : *schedules)
        ++uses[uidOf(*s)];
    for (const auto &s : *schedules) {
        context.component = QStringLiteral("appointment %1").arg(s->Key);
        context.uid = uidOf(*s);
        const bool repeated = uses.value(context.uid) > 1;
        if (addRecord(calendar.get(), context, [&] { return eventOf(*s, repeated, context); }))
            ++report.appointments;
        if (cancelled(options, ++done, total, report))
            return reportOut ? (*reportOut = report, QByteArray()) : QByteArray();
    }
    for (const auto &t : *todos) {
        context.component = QStringLiteral("to-do %1").arg(t->Key);
        context.uid = uidFor(t->Tag, t->Key, 'T');
        if (addRecord(calendar.get(), context, [&] { return todoOf(*t, context); }))
            ++report.todos;
        if (cancelled(options, ++done, total, report))
            return reportOut ? (*reportOut = report, QByteArray()) : QByteArray();
    }
    addZone(calendar.get(), context.zone, report);
    char *text = icalcomponent_as_ical_string_r(calendar.get());
    QByteArray bytes(text);
    icalmemory_free_buffer(text);
    report.fileRead = true;
    if (reportOut)
        *reportOut = report;
    return bytes;
}

QByteArray exportICalendarData(DayvexData &from, ExchangeReport *report)
{
    return exportICalendarData(from, report, ExportOptions());
}

ExchangeReport exportICalendar(DayvexData &from, const QString &path, const ExportOptions &options)
{
    ExchangeReport report;
    // A FIFO, device or folder is never written: QSaveFile would replace it or block on it.
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        report.entries.append({QStringLiteral("file"), QString(),
                               QStringLiteral("%1 is not a regular file: nothing written").arg(path), true});
        return report;
    }
    const QByteArray bytes = exportICalendarData(from, &report, options);
    if (!report.fileRead)
        return report;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        report.fileRead = false;
        report.entries.append({QStringLiteral("file"), QString(),
                               QStringLiteral("cannot write %1: %2").arg(path, file.errorString()), true});
    }
    return report;
}

ExchangeReport exportICalendar(DayvexData &from, const QString &path)
{
    return exportICalendar(from, path, ExportOptions());
}

} // namespace dayvex
