#include "icalendar.h"
#include "icalvalues.h"

#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>
#include <dayvex/platform/error.h>

#include <QHash>
#include <QSaveFile>
#include <QUrl>

#include <algorithm>
#include <climits>
#include <cmath>

namespace dayvex {

using namespace ical;

namespace {

void add(icalcomponent *component, icalproperty *property) { icalcomponent_add_property(component, property); }

void addText(icalcomponent *component, icalproperty *(*make)(const char *), const QString &value)
{
    if (!value.isEmpty())
        add(component, make(value.toUtf8().constData()));
}

// The owner's name as the organizer's common name; a name that is an address is also its address.
void addOrganizer(icalcomponent *component, const QString &owner)
{
    if (owner.trimmed().isEmpty())
        return;
    const QString address = owner.contains(QLatin1Char('@'))
                                ? QStringLiteral("mailto:") + owner.trimmed()
                                : QStringLiteral("urn:x-dayvex:user:")
                                      + QString::fromLatin1(QUrl::toPercentEncoding(owner.trimmed()));
    icalproperty *organizer = icalproperty_new_organizer(address.toUtf8().constData());
    icalproperty_add_parameter(organizer, icalparameter_new_cn(owner.toUtf8().constData()));
    add(component, organizer);
}

void addAlarm(icalcomponent *component, Date reminder, Date base, bool relatedToEnd, const QString &description)
{
    if (reminder.isEmpty() || base.isEmpty())
        return;
    icalcomponent *alarm = icalcomponent_new_valarm();
    icalcomponent_add_property(alarm, icalproperty_new_action(ICAL_ACTION_DISPLAY));
    addText(alarm, icalproperty_new_description, description.isEmpty() ? QStringLiteral("Reminder") : description);
    const qint64 seconds = qint64(std::llround((reminder.value() - base.value()) * 86400.0));
    icaltriggertype trigger{};
    trigger.time = icaltime_null_time();
    trigger.duration = icaldurationtype_from_int(int(std::clamp<qint64>(seconds, INT_MIN, INT_MAX)));
    icalproperty *triggerProperty = icalproperty_new_trigger(trigger);
    if (relatedToEnd)
        icalproperty_add_parameter(triggerProperty, icalparameter_new_related(ICAL_RELATED_END));
    add(alarm, triggerProperty);
    icalcomponent_add_component(component, alarm);
}

bool isWholeDays(const Schedule &s)
{
    const QTime start = s.StartDate.toDateTime().time();
    const QTime end = s.EndDate.toDateTime().time();
    return start == QTime(0, 0) && end.hour() == 23 && end.minute() == 59 && s.EndDate > s.StartDate;
}

QString uidFor(const QString &tag, const QString &key, char kind)
{
    return tag.isEmpty() ? QStringLiteral("%1-%2@dayvex").arg(QLatin1Char(kind)).arg(key) : tag;
}

icalcomponent *eventOf(const Schedule &s, bool repeatedUid, const icaltimetype &stamp)
{
    icalcomponent *event = icalcomponent_new_vevent();
    add(event, icalproperty_new_uid(uidFor(s.Tag, s.Key, 'S').toUtf8().constData()));
    add(event, icalproperty_new_dtstamp(stamp));
    if (isWholeDays(s)) {
        add(event, icalproperty_new_dtstart(wholeDay(s.StartDate.toDate())));
        add(event, icalproperty_new_dtend(wholeDay(s.EndDate.toDate().addDays(1))));
    } else {
        add(event, icalproperty_new_dtstart(utcTime(s.StartDate)));
        add(event, icalproperty_new_dtend(utcTime(s.EndDate)));
    }
    // Occurrences of one recurring event share its UID: each names its own start.
    if (repeatedUid)
        add(event, icalproperty_new_recurrenceid(utcTime(s.StartDate)));
    addText(event, icalproperty_new_summary, s.Description);
    addText(event, icalproperty_new_location, s.Place);
    addText(event, icalproperty_new_categories, s.Category);
    addOrganizer(event, s.Owner);
    if (!s.Contact.isEmpty() || !s.ContactCode.isEmpty()) {
        icalproperty *contact = icalproperty_new_contact(s.Contact.toUtf8().constData());
        if (!s.ContactCode.isEmpty()) {
            icalparameter *code = icalparameter_new_x(s.ContactCode.toUtf8().constData());
            icalparameter_set_xname(code, "X-DAYVEX-CODE");
            icalproperty_add_parameter(contact, code);
        }
        add(event, contact);
    }
    // System colours (0x800000nn) depend on the desktop: they do not travel.
    if (s.Color != 0 && (quint32(s.Color) & 0x80000000u) == 0)
        add(event, icalproperty_new_color(cssFromOle(s.Color).toUtf8().constData()));
    addAlarm(event, s.ReminderDate, s.StartDate, false, s.Description);
    return event;
}

icalcomponent *todoOf(const ToDo &t, const icaltimetype &stamp, ExchangeReport &report)
{
    icalcomponent *todo = icalcomponent_new_vtodo();
    const QString uid = uidFor(t.Tag, t.Key, 'T');
    add(todo, icalproperty_new_uid(uid.toUtf8().constData()));
    add(todo, icalproperty_new_dtstamp(stamp));
    addText(todo, icalproperty_new_summary, t.ShortDesc);
    addText(todo, icalproperty_new_description, t.LongDesc);
    addText(todo, icalproperty_new_categories, t.Project);
    addOrganizer(todo, t.Owner);
    if (!t.DueTo.isEmpty())
        add(todo, icalproperty_new_due(utcTime(t.DueTo)));
    if (t.Priority < 0 || t.Priority > 9)
        report.entries.append({QStringLiteral("to-do %1").arg(t.Key), uid,
                               QStringLiteral("priority %1 written as %2").arg(t.Priority).arg(qBound(0, int(t.Priority), 9)),
                               false});
    add(todo, icalproperty_new_priority(qBound(0, int(t.Priority), 9)));
    if (t.Done) {
        add(todo, icalproperty_new_status(ICAL_STATUS_COMPLETED));
        if (!t.DateDone.isEmpty())
            add(todo, icalproperty_new_completed(utcTime(t.DateDone)));
    } else {
        add(todo, icalproperty_new_status(ICAL_STATUS_NEEDSACTION));
    }
    addAlarm(todo, t.ReminderDate, t.DueTo, true, t.ShortDesc);
    return todo;
}

} // namespace

QByteArray exportICalendarData(DayvexData &from, ExchangeReport *reportOut)
{
    ExchangeReport report;
    icalerror_set_errors_are_fatal(0);
    ComponentPtr calendar(icalcomponent_new_vcalendar());
    add(calendar.get(), icalproperty_new_version("2.0"));
    add(calendar.get(), icalproperty_new_prodid("-//Dayvex//zntDayvex//EN"));
    add(calendar.get(), icalproperty_new_calscale("GREGORIAN"));
    const icaltimetype stamp = utcTime(now());

    auto schedules = from.Schedules();
    QHash<QString, int> uses;
    for (const auto &s : *schedules)
        ++uses[uidFor(s->Tag, s->Key, 'S')];
    for (const auto &s : *schedules) {
        try {
            icalcomponent_add_component(calendar.get(), eventOf(*s, uses.value(uidFor(s->Tag, s->Key, 'S')) > 1, stamp));
            ++report.appointments;
        } catch (const Error &e) { // a date the host stored outside the years 100 to 9999
            report.entries.append({QStringLiteral("appointment %1").arg(s->Key), s->Tag, e.description(), true});
            ++report.skipped;
        }
    }
    for (const auto &t : *from.ToDoS()) {
        try {
            icalcomponent_add_component(calendar.get(), todoOf(*t, stamp, report));
            ++report.todos;
        } catch (const Error &e) {
            report.entries.append({QStringLiteral("to-do %1").arg(t->Key), t->Tag, e.description(), true});
            ++report.skipped;
        }
    }
    char *text = icalcomponent_as_ical_string_r(calendar.get());
    QByteArray bytes(text);
    icalmemory_free_buffer(text);
    report.fileRead = true;
    if (reportOut)
        *reportOut = report;
    return bytes;
}

ExchangeReport exportICalendar(DayvexData &from, const QString &path)
{
    ExchangeReport report;
    const QByteArray bytes = exportICalendarData(from, &report);
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        report.fileRead = false;
        report.entries.append({QStringLiteral("file"), QString(),
                               QStringLiteral("cannot write %1: %2").arg(path, file.errorString()), true});
    }
    return report;
}

} // namespace dayvex
