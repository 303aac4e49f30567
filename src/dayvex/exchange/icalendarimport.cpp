#include "icalendar.h"
#include "icalvalues.h"
#include "series.h"

#include <dayvex/model/alarms.h>
#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>
#include <dayvex/platform/error.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QStringDecoder>

#include <map>
#include <vector>

namespace dayvex {

using namespace ical;

namespace {

// A UID as other programs and servers keep it: a control character a broken
// file left in one (a bare CR) would not come back from them alike.
QString uidText(const char *value)
{
    QString uid = text(value);
    uid.removeIf([](QChar c) { return c.unicode() < 0x20 || c.unicode() == 0x7f; });
    return uid;
}

// A record read from the file, not yet in the data.
struct PlannedAppointment
{
    QString uid;
    QString owner, contactCode, contact, category, description, place, body, extra;
    Date start, end, reminder;
    qint32 color = 0;
    QString recurrence, recurrenceDates, exceptionDates; // a series kept whole
    std::optional<Date> recurrenceId;                     // an occurrence of a series, changed on its own
};

struct PlannedToDo
{
    QString uid;
    QString owner, shortDesc, longDesc, project, extra;
    Date due, dateDone, reminder;
    qint16 priority = 0;
    bool done = false;
};

struct Plan
{
    std::vector<PlannedAppointment> appointments;
    std::vector<PlannedToDo> todos;
};

// Thrown when a bound of ImportOptions is passed or the host cancels: the whole import stops.
struct ImportStopped
{
    QString why;
};

void fileEntry(ExchangeReport &report, const QString &message, bool skipped = true)
{
    report.entries.append({QStringLiteral("file"), QString(), message, skipped});
}

// The file's bytes as UTF-8, as libical reads them: UTF-8 as it comes, UTF-16
// by its byte-order mark, anything else (Windows-1252 exports) as Latin-1.
QByteArray asUtf8(const QByteArray &bytes, ExchangeReport &report)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return bytes.mid(3);
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF")) {
        QStringDecoder utf16(bytes.startsWith("\xFF\xFE") ? QStringDecoder::Utf16LE : QStringDecoder::Utf16BE);
        const QString text = utf16(bytes.mid(2));
        return text.toUtf8();
    }
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString text = utf8(bytes);
    if (!utf8.hasError())
        return bytes;
    report.entries.append({QStringLiteral("file"), QString(),
                           QStringLiteral("not UTF-8: read as Latin-1"), false});
    return QString::fromLatin1(bytes).toUtf8();
}

// Old Mozilla files put empty lines before each folded part ("DTSTART\n\n ;VALUE=DATE\n :20031225");
// libical would read every part as a line of its own.
QByteArray joinBrokenFolds(const QByteArray &text, ExchangeReport &report)
{
    static const QRegularExpression broken(QStringLiteral("(?:\\r?\\n)+(\\r?\\n[ \\t])"));
    if (!text.contains("\n\n ") && !text.contains("\n\r\n ") && !text.contains("\n\n\t")
        && !text.contains("\n\r\n\t"))
        return text;
    QString unicode = QString::fromUtf8(text);
    unicode.replace(broken, QStringLiteral("\\1"));
    fileEntry(report, QStringLiteral("folded lines broken by empty lines: joined"), false);
    return unicode.toUtf8();
}

// A file cut short ends inside a component: drop that component, close the calendar.
QByteArray closeTruncated(QByteArray text, ExchangeReport &report)
{
    const QByteArray upper = text.toUpper();
    // END:VCALENDAR on a line of its own: a mangled "END:VCALENDARD" closes nothing.
    for (qsizetype at = upper.indexOf("END:VCALENDAR"); at >= 0; at = upper.indexOf("END:VCALENDAR", at + 1)) {
        const qsizetype after = at + 13;
        if ((at == 0 || upper[at - 1] == '\n')
            && (after == upper.size() || QByteArray("\r\n \t").contains(upper[after])))
            return text;
    }
    qsizetype cut = text.size();
    for (const char *kind : {"BEGIN:VEVENT", "BEGIN:VTODO"}) {
        const qsizetype begin = upper.lastIndexOf(kind);
        const QByteArray end = QByteArray("END:") + (kind + 6);
        if (begin >= 0 && upper.indexOf(end, begin) < 0)
            cut = qMin(cut, begin);
    }
    if (cut < text.size()) {
        report.entries.append({QStringLiteral("file"), QString(),
                               QStringLiteral("the file ends inside a component, which is left out"), true});
        ++report.skipped;
    } else {
        report.entries.append({QStringLiteral("file"), QString(), QStringLiteral("the file has no END:VCALENDAR"), false});
    }
    text.truncate(cut);
    if (!text.endsWith('\n'))
        text.append("\r\n");
    text.append("END:VCALENDAR\r\n");
    return text;
}

// A TRIGGER written as a bare date-time (no VALUE=DATE-TIME) is meant as one;
// libical would drop it as a bad duration.
QByteArray markDateTimeTriggers(const QByteArray &text, ExchangeReport &report)
{
    static const QRegularExpression bare(QStringLiteral("^(TRIGGER(?:;(?!VALUE=)[^;:\\r\\n]*)*):(\\d{8}T\\d{6}Z?)\\r?$"),
                                         QRegularExpression::CaseInsensitiveOption
                                             | QRegularExpression::MultilineOption);
    if (!text.contains("TRIGGER") && !text.contains("trigger"))
        return text;
    QString unicode = QString::fromUtf8(text);
    if (!unicode.contains(bare))
        return text;
    unicode.replace(bare, QStringLiteral("\\1;VALUE=DATE-TIME:\\2"));
    fileEntry(report, QStringLiteral("TRIGGER holding a date-time without VALUE=DATE-TIME: read as a date-time"), false);
    return unicode.toUtf8();
}

// A duration in seconds, past the 68 years libical's own conversion holds.
qint64 secondsOf(const icaldurationtype &duration)
{
    const qint64 seconds = ((qint64(duration.weeks) * 7 + duration.days) * 24 + duration.hours) * 3600
                           + qint64(duration.minutes) * 60 + duration.seconds;
    return duration.is_neg ? -seconds : seconds;
}

// CONTACT (with the code this program writes beside it), else the first ATTENDEE.
std::pair<QString, QString> contactOf(icalcomponent *component)
{
    if (icalproperty *contact = icalcomponent_get_first_property(component, ICAL_CONTACT_PROPERTY))
        return {textOf(contact), text(icalproperty_get_parameter_as_string(contact, "X-DAYVEX-CODE"))};
    if (icalproperty *attendee = icalcomponent_get_first_property(component, ICAL_ATTENDEE_PROPERTY)) {
        QString name = text(icalproperty_get_parameter_as_string(attendee, "CN"));
        QString address = text(icalproperty_get_attendee(attendee));
        if (address.startsWith(QLatin1String("mailto:"), Qt::CaseInsensitive))
            address = address.mid(7);
        return {name.isEmpty() ? address : name, name.isEmpty() ? QString() : address};
    }
    return {};
}

// The first VALARM's moment: a trigger relative to the start (or, with
// RELATED=END, the end), or an absolute time.
Date reminderOf(icalcomponent *component, Date start, Date end)
{
    icalcomponent *alarm = icalcomponent_get_first_component(component, ICAL_VALARM_COMPONENT);
    if (!alarm)
        return {};
    icalproperty *triggerProperty = icalcomponent_get_first_property(alarm, ICAL_TRIGGER_PROPERTY);
    if (!triggerProperty)
        return {};
    const icaltriggertype trigger = icalproperty_get_trigger(triggerProperty);
    if (!icaltime_is_null_time(trigger.time))
        return localTime(trigger.time, {}).value;
    const char *related = icalproperty_get_parameter_as_string(triggerProperty, "RELATED");
    const Date base = related && qstricmp(related, "END") == 0 ? end : start;
    if (base.isEmpty())
        return {};
    return base.addSeconds(secondsOf(trigger.duration));
}

struct Occurrence
{
    Date start;
    Date end;
};

class FileReader
{
public:
    FileReader(const ImportOptions &options, ExchangeReport &report) : m_options(options), m_report(report)
    {
        const QDate today = dayvex::today().toDate();
        // Clamped to the days a Date holds: a window may end on 31 December 9999.
        m_fromDay = qMax(options.windowFrom.isValid() ? options.windowFrom : today.addYears(-1), QDate(100, 1, 1));
        m_toDay = qMin(options.windowTo.isValid() ? options.windowTo : today.addYears(2), QDate(9999, 12, 31));
        m_from = wallSeconds(Date::fromDate(m_fromDay));
        m_to = wallSeconds(Date::fromDate(m_toDay)) + 86400;
        m_clock.start();
    }

    Plan read(icalcomponent *calendar)
    {
        collectOverrides(calendar);
        m_total = icalcomponent_count_components(calendar, ICAL_VEVENT_COMPONENT)
                  + icalcomponent_count_components(calendar, ICAL_VTODO_COMPONENT);
        int events = 0;
        int todos = 0;
        for (icalcomponent *c = icalcomponent_get_first_component(calendar, ICAL_ANY_COMPONENT); c;
             c = icalcomponent_get_next_component(calendar, ICAL_ANY_COMPONENT)) {
            const icalcomponent_kind kind = icalcomponent_isa(c);
            if (kind == ICAL_VEVENT_COMPONENT)
                readGuarded(c, QStringLiteral("VEVENT %1").arg(++events), [&] { readEvent(c); });
            else if (kind == ICAL_VTODO_COMPONENT)
                readGuarded(c, QStringLiteral("VTODO %1").arg(++todos), [&] { readToDo(c); });
            else
                continue;
            ++m_done;
            checkBounds();
        }
        return std::move(m_plan);
    }

private:
    template <typename Read>
    void readGuarded(icalcomponent *c, const QString &name, Read read)
    {
        m_name = name;
        m_uid = uidText(icalcomponent_get_uid(c));
        noteFaults(c);
        try {
            read();
        } catch (const QString &why) {
            skip(why);
        } catch (const Error &e) {
            skip(e.description());
        }
    }

    void skip(const QString &why)
    {
        m_report.entries.append({m_name, m_uid, why, true});
        ++m_report.skipped;
    }
    void note(const QString &what) { m_report.entries.append({m_name, m_uid, what, false}); }

    // What libical could not read, and properties given twice of which only the first is read.
    void noteFaults(icalcomponent *c)
    {
        for (icalproperty *p = icalcomponent_get_first_property(c, ICAL_XLICERROR_PROPERTY); p;
             p = icalcomponent_get_next_property(c, ICAL_XLICERROR_PROPERTY))
            note(QStringLiteral("a line that cannot be read, left out: %1").arg(text(icalproperty_get_xlicerror(p))));
        for (const icalproperty_kind kind : {ICAL_DTSTART_PROPERTY, ICAL_DTEND_PROPERTY, ICAL_DUE_PROPERTY,
                                             ICAL_DURATION_PROPERTY, ICAL_SUMMARY_PROPERTY, ICAL_DESCRIPTION_PROPERTY,
                                             ICAL_LOCATION_PROPERTY}) {
            if (const int count = icalcomponent_count_properties(c, kind); count > 1)
                note(QStringLiteral("%1 appears %2 times: the first taken")
                         .arg(text(icalproperty_kind_to_string(kind)))
                         .arg(count));
        }
    }

    // Throws ImportStopped past a bound of the options, or when the host cancels.
    void checkBounds()
    {
        const size_t records = m_plan.appointments.size() + m_plan.todos.size();
        if (records > size_t(qMax(0, m_options.maxRecords)))
            throw ImportStopped{QStringLiteral("more than %1 appointments and to-dos").arg(m_options.maxRecords)};
        if (m_steps > m_options.maxRuleSteps)
            throw ImportStopped{QStringLiteral("the recurrence rules take more than %1 steps to expand (%2)")
                                    .arg(m_options.maxRuleSteps)
                                    .arg(m_name)};
        if (m_clock.elapsed() > m_options.maxMilliseconds)
            throw ImportStopped{QStringLiteral("reading takes longer than %1 ms").arg(m_options.maxMilliseconds)};
        if (m_options.progress && !m_options.progress(m_done, m_total))
            throw ImportStopped{QStringLiteral("cancelled")};
    }

    bool inWindow(Date local) const
    {
        const qint64 at = wallSeconds(local);
        return at >= m_from && at < m_to;
    }

    // Instances moved or changed by a component of their own (RECURRENCE-ID).
    void collectOverrides(icalcomponent *calendar)
    {
        for (icalcomponent *c = icalcomponent_get_first_component(calendar, ICAL_VEVENT_COMPONENT); c;
             c = icalcomponent_get_next_component(calendar, ICAL_VEVENT_COMPONENT)) {
            if (!icalcomponent_get_first_property(c, ICAL_RECURRENCEID_PROPERTY))
                continue;
            try {
                if (const auto id = localTime(c, ICAL_RECURRENCEID_PROPERTY))
                    m_overridden[uidText(icalcomponent_get_uid(c))].insert(id->value.value());
            } catch (const QString &) {
                // the override itself is reported when it is read
            }
        }
    }

    // COLOR by its CSS name, or the exact number this program writes for colours without one.
    qint32 colorOf(icalcomponent *c)
    {
        for (icalproperty *p = icalcomponent_get_first_property(c, ICAL_X_PROPERTY); p;
             p = icalcomponent_get_next_property(c, ICAL_X_PROPERTY)) {
            if (qstrcmp(icalproperty_get_x_name(p), "X-DAYVEX-COLOR") == 0)
                return qint32(text(icalproperty_get_x(p)).toLongLong());
        }
        icalproperty *color = icalcomponent_get_first_property(c, ICAL_COLOR_PROPERTY);
        if (!color)
            return 0;
        if (const auto ole = oleFromCss(text(icalproperty_get_color(color))))
            return *ole;
        note(QStringLiteral("COLOR \"%1\" is no colour: left out").arg(text(icalproperty_get_color(color))));
        return 0;
    }

    void readEvent(icalcomponent *c)
    {
        const auto start = localTime(c, ICAL_DTSTART_PROPERTY);
        if (!start)
            throw QStringLiteral("no DTSTART");
        if (!start->note.isEmpty())
            note(start->note);
        std::optional<LocalTime> end = localTime(c, ICAL_DTEND_PROPERTY);
        if (!end && icalcomponent_get_first_property(c, ICAL_DURATION_PROPERTY)) {
            const icaldurationtype duration = icalcomponent_get_duration(c);
            end = LocalTime{start->value.addSeconds(secondsOf(duration)), start->isDate, {}};
        }
        // A whole-day event runs to 23:59 of its last day; Add would cut an end at midnight to one step.
        Date endValue = end ? end->value : start->value;
        if (start->isDate)
            endValue = (end && secondsBetween(start->value, end->value) > 0 ? end->value : start->value.addDays(1))
                           .addMinutes(-1);

        PlannedAppointment appointment;
        appointment.uid = m_uid;
        appointment.owner = organizerName(icalcomponent_get_first_property(c, ICAL_ORGANIZER_PROPERTY));
        std::tie(appointment.contact, appointment.contactCode) = contactOf(c);
        appointment.category = textOf(c, ICAL_CATEGORIES_PROPERTY);
        appointment.description = textOf(c, ICAL_SUMMARY_PROPERTY);
        appointment.body = textOf(c, ICAL_DESCRIPTION_PROPERTY);
        appointment.place = textOf(c, ICAL_LOCATION_PROPERTY);
        appointment.extra = keptText(c, false);
        appointment.color = colorOf(c);
        const Date reminder = reminderOf(c, start->value, endValue);
        const std::optional<qint64> reminderLead =
            reminder.isEmpty() ? std::nullopt : std::optional(secondsBetween(start->value, reminder));
        const qint64 durationSeconds = secondsBetween(start->value, endValue);

        if (m_options.keepSeries && keptAsSeries(c, appointment, start->isDate)) {
            appointment.start = start->value;
            appointment.end = endValue;
            appointment.reminder = reminder;
            m_plan.appointments.push_back(std::move(appointment));
            return;
        }
        for (const Occurrence &occurrence : occurrences(c, *start, durationSeconds)) {
            PlannedAppointment instance = appointment;
            instance.start = occurrence.start;
            instance.end = occurrence.end;
            if (reminderLead)
                instance.reminder = occurrence.start.addSeconds(*reminderLead);
            m_plan.appointments.push_back(std::move(instance));
        }
    }

    // A series on floating time may give its RDATEs and EXDATEs in UTC. libical
    // matches such a date on the clock as written, and so does the import.
    // Called before walking the dates: looking up DTSTART moves the component's property iterator.
    static auto onSeriesClock(icalcomponent *c)
    {
        icalproperty *dtstart = icalcomponent_get_first_property(c, ICAL_DTSTART_PROPERTY);
        const icaltimetype start = icalproperty_get_datetime_with_component(dtstart, c);
        const bool floating =
            !start.zone && !start.is_date && !icalproperty_get_first_parameter(dtstart, ICAL_TZID_PARAMETER);
        return [floating](icaltimetype t) {
            if (floating && icaltime_is_utc(t))
                t.zone = nullptr;
            return t;
        };
    }

    // A recurring event as one series, or an occurrence of one changed on its
    // own: what makes it so goes into the planned record. False for a plain event.
    bool keptAsSeries(icalcomponent *c, PlannedAppointment &appointment, bool wholeDays)
    {
        // A whole-day series' dates mean days, whatever zone wrote them.
        const auto day = [wholeDays](Date local) { return wholeDays ? nearestMidnight(local) : local; };
        if (const auto id = localTime(c, ICAL_RECURRENCEID_PROPERTY)) {
            appointment.recurrenceId = day(id->value);
            return true;
        }
        const auto onClock = onSeriesClock(c);
        const auto dates = [&](icalproperty_kind kind) {
            std::vector<Date> found;
            for (icalproperty *p = icalcomponent_get_first_property(c, kind); p;
                 p = icalcomponent_get_next_property(c, kind)) {
                if (kind == ICAL_RDATE_PROPERTY) {
                    const icaldatetimeperiodtype rdate = icalproperty_get_rdate(p);
                    const icaltimetype t = icaltime_is_null_time(rdate.time) ? rdate.period.start : rdate.time;
                    found.push_back(day(localTime(onClock(t),
                                                  QByteArray(icalproperty_get_parameter_as_string(p, "TZID")))
                                            .value));
                } else {
                    found.push_back(day(localTime(onClock(icalproperty_get_datetime_with_component(p, c)),
                                                  QByteArray(icalproperty_get_parameter_as_string(p, "TZID")))
                                            .value));
                }
            }
            std::sort(found.begin(), found.end()); // in order, as seriesDates gives them back
            return seriesDatesText(found);
        };
        if (icalproperty *rrule = icalcomponent_get_first_property(c, ICAL_RRULE_PROPERTY))
            appointment.recurrence = text(icalproperty_get_value_as_string(rrule));
        for (icalproperty *p = icalcomponent_get_first_property(c, ICAL_X_PROPERTY); p;
             p = icalcomponent_get_next_property(c, ICAL_X_PROPERTY)) {
            if (qstrcmp(icalproperty_get_x_name(p), "X-DAYVEX-RRULE") == 0)
                appointment.recurrence = text(icalproperty_get_x(p));
        }
        appointment.recurrenceDates = dates(ICAL_RDATE_PROPERTY);
        appointment.exceptionDates = dates(ICAL_EXDATE_PROPERTY);
        if (appointment.recurrence.isEmpty() && !appointment.recurrenceDates.isEmpty())
            appointment.recurrence = QStringLiteral("FREQ=YEARLY;COUNT=1"); // the start alone, then its RDATEs
        return !appointment.recurrence.isEmpty();
    }

    // Walks the rule from dtstart into the window, calling consider on each start
    // until it returns false. Rules without COUNT start at the window; those with
    // COUNT must count from the first, which the step bound keeps finite.
    template <typename Consider>
    void walkRule(const icalrecurrencetype &rule, const icaltimetype &dtstart, Consider consider)
    {
        std::unique_ptr<icalrecur_iterator, void (*)(icalrecur_iterator *)> it(icalrecur_iterator_new(rule, dtstart),
                                                                               icalrecur_iterator_free);
        if (!it)
            throw QStringLiteral("RRULE cannot be expanded");
        if (rule.count == 0 && QDate(dtstart.year, dtstart.month, dtstart.day) < m_fromDay) {
            icaltimetype jump = dtstart;
            jump.year = m_fromDay.year();
            jump.month = m_fromDay.month();
            jump.day = m_fromDay.day();
            icalrecur_iterator_set_start(it.get(), jump);
        }
        for (icaltimetype next = icalrecur_iterator_next(it.get()); !icaltime_is_null_time(next);
             next = icalrecur_iterator_next(it.get())) {
            if ((++m_steps & 1023) == 0 || m_steps > m_options.maxRuleSteps)
                checkBounds();
            if (!consider(next))
                break;
        }
    }

    // The event itself, or each of its occurrences inside the window.
    std::vector<Occurrence> occurrences(icalcomponent *c, const LocalTime &start, qint64 durationSeconds)
    {
        std::vector<Occurrence> result;
        icalproperty *rrule = icalcomponent_get_first_property(c, ICAL_RRULE_PROPERTY);
        const bool recurs = rrule || icalcomponent_get_first_property(c, ICAL_RDATE_PROPERTY);
        if (!recurs || icalcomponent_get_first_property(c, ICAL_RECURRENCEID_PROPERTY)) {
            result.push_back({start.value, start.value.addSeconds(durationSeconds)});
            return result;
        }

        icalproperty *dtstartProperty = icalcomponent_get_first_property(c, ICAL_DTSTART_PROPERTY);
        const icaltimetype dtstart = icalproperty_get_datetime_with_component(dtstartProperty, c);
        const QByteArray tzid(icalproperty_get_parameter_as_string(dtstartProperty, "TZID"));
        const auto onClock = onSeriesClock(c);
        std::vector<Date> starts;
        const QDate surelyBefore = m_fromDay.addDays(-2); // no zone moves a time by two days
        auto consider = [&](const icaltimetype &t) {
            if (QDate(t.year, t.month, t.day) < surelyBefore)
                return true;
            const Date local = localTime(t, tzid).value;
            if (inWindow(local))
                starts.push_back(local);
            return wallSeconds(local) < m_to;
        };
        if (rrule) {
            const icalrecurrencetype rule = icalproperty_get_rrule(rrule);
            if (rule.freq == ICAL_NO_RECURRENCE)
                throw QStringLiteral("RRULE cannot be read");
            if (tooCostlyToWalk(rule))
                throw QStringLiteral("RRULE repeats too often, or on days too rare, to expand");
            if (namesNoDay(rule))
                throw QStringLiteral("RRULE names no day of a month that exists");
            if (rule.count == 0 && icaltime_is_null_time(rule.until))
                note(QStringLiteral("repeats without end: occurrences from %1 to %2 taken")
                         .arg(m_fromDay.toString(Qt::ISODate), m_toDay.toString(Qt::ISODate)));
            walkRule(rule, dtstart, [&](const icaltimetype &t) {
                if (!consider(t))
                    return false;
                if (int(starts.size()) < m_options.maxOccurrencesPerEvent)
                    return true;
                note(QStringLiteral("more than %1 occurrences in the window: the rest left out")
                         .arg(m_options.maxOccurrencesPerEvent));
                return false;
            });
        } else {
            consider(dtstart); // RDATEs add to DTSTART
        }
        for (icalproperty *p = icalcomponent_get_first_property(c, ICAL_RDATE_PROPERTY); p;
             p = icalcomponent_get_next_property(c, ICAL_RDATE_PROPERTY)) {
            const icaldatetimeperiodtype rdate = icalproperty_get_rdate(p);
            icaltimetype t = onClock(icaltime_is_null_time(rdate.time) ? rdate.period.start : rdate.time);
            if (!t.zone && !icaltime_is_utc(t) && !t.is_date)
                t.zone = dtstart.zone;
            consider(t);
        }

        // A whole-day series' dates mean days, whatever zone wrote them.
        const auto day = [&start](Date local) { return start.isDate ? nearestMidnight(local) : local; };
        QSet<double> excluded;
        for (double id : m_overridden.value(m_uid))
            excluded.insert(day(Date(id)).value());
        for (icalproperty *p = icalcomponent_get_first_property(c, ICAL_EXDATE_PROPERTY); p;
             p = icalcomponent_get_next_property(c, ICAL_EXDATE_PROPERTY)) {
            icaltimetype t = onClock(icalproperty_get_datetime_with_component(p, c));
            excluded.insert(day(localTime(t, QByteArray(icalproperty_get_parameter_as_string(p, "TZID"))).value).value());
        }
        std::sort(starts.begin(), starts.end(), [](Date a, Date b) { return wallSeconds(a) < wallSeconds(b); });
        starts.erase(std::unique(starts.begin(), starts.end()), starts.end());
        for (const Date s : starts) {
            if (!excluded.contains(s.value()))
                result.push_back({s, s.addSeconds(durationSeconds)});
        }
        if (result.empty())
            note(QStringLiteral("no occurrence inside the window"));
        return result;
    }

    void readToDo(icalcomponent *c)
    {
        PlannedToDo todo;
        todo.uid = m_uid;
        todo.owner = organizerName(icalcomponent_get_first_property(c, ICAL_ORGANIZER_PROPERTY));
        todo.shortDesc = textOf(c, ICAL_SUMMARY_PROPERTY);
        todo.longDesc = textOf(c, ICAL_DESCRIPTION_PROPERTY);
        todo.project = textOf(c, ICAL_CATEGORIES_PROPERTY);
        todo.extra = keptText(c, true);
        const auto start = localTime(c, ICAL_DTSTART_PROPERTY);
        if (const auto due = localTime(c, ICAL_DUE_PROPERTY)) {
            todo.due = due->value;
            if (!due->note.isEmpty())
                note(due->note);
        }
        if (icalproperty *priority = icalcomponent_get_first_property(c, ICAL_PRIORITY_PROPERTY))
            todo.priority = qint16(qBound(0, icalproperty_get_priority(priority), 9));
        if (const auto completed = localTime(c, ICAL_COMPLETED_PROPERTY))
            todo.dateDone = completed->value;
        // STATUS decides; COMPLETED alone (no STATUS) means done too.
        const bool hasStatus = icalcomponent_get_first_property(c, ICAL_STATUS_PROPERTY);
        todo.done = hasStatus ? icalcomponent_get_status(c) == ICAL_STATUS_COMPLETED : !todo.dateDone.isEmpty();
        todo.reminder = reminderOf(c, start ? start->value : todo.due, todo.due);
        m_plan.todos.push_back(std::move(todo));
    }

    const ImportOptions &m_options;
    ExchangeReport &m_report;
    QDate m_fromDay;
    QDate m_toDay;
    qint64 m_from = 0; // the window in wall-clock seconds, end excluded
    qint64 m_to = 0;
    QElapsedTimer m_clock;
    qint64 m_steps = 0;
    int m_done = 0;
    int m_total = 0;
    QString m_name;
    QString m_uid;
    QHash<QString, QSet<double>> m_overridden;
    Plan m_plan;
};

// What an import added, so that a failure part-way takes it all back.
class ImportTransaction
{
public:
    explicit ImportTransaction(DayvexData &data) : m_data(data) {}
    ~ImportTransaction()
    {
        if (!m_committed)
            rollBack();
    }

    void addUser(const QString &name)
    {
        auto users = m_data.Users();
        if (name.trimmed().isEmpty() || hasUser(*users, name.trimmed()))
            return;
        users->Add(name);
        m_users.append(name.trimmed());
    }
    void addProject(const QString &project)
    {
        auto projects = m_data.ToDoS()->ActiveProjects();
        if (project.trimmed().isEmpty() || hasEntry(*projects, project.trimmed()))
            return;
        projects->Add(project.trimmed());
        ++m_projects;
    }
    void addedAppointment(const QString &key, const QString &place, const QString &category)
    {
        m_appointments.append(key);
        auto schedules = m_data.Schedules();
        noteLookup(*schedules->Places(), place.trimmed(), m_places);
        noteLookup(*schedules->Categories(), category.trimmed(), m_categories);
    }
    void addedToDo(const QString &key) { m_todos.append(key); }
    void commit() { m_committed = true; }

private:
    // As Users::Add compares: Strauß and Strauss are one user there.
    static bool hasUser(Users &users, const QString &name)
    {
        for (const auto &user : users) {
            if (user->Key.trimmed().toUpper() == name.toUpper())
                return true;
        }
        return false;
    }
    template <typename List>
    static bool hasEntry(List &list, const QString &name)
    {
        for (const auto &entry : list) {
            if (entry->Key.trimmed().compare(name, Qt::CaseInsensitive) == 0)
                return true;
        }
        return false;
    }
    // Called before Add collects the value: note it when the list lacks it.
    template <typename List>
    static void noteLookup(List &list, const QString &value, QStringList &added)
    {
        if (!value.isEmpty() && !list.find(value) && !added.contains(value, Qt::CaseInsensitive))
            added.append(value);
    }

    void rollBack() noexcept
    {
        try {
            auto schedules = m_data.Schedules();
            for (const QString &key : m_appointments)
                schedules->Remove(key);
            for (const QString &place : m_places)
                if (schedules->Places()->find(place))
                    schedules->Places()->Remove(place);
            for (const QString &category : m_categories)
                if (schedules->Categories()->find(category))
                    schedules->Categories()->Remove(category);
            auto todos = m_data.ToDoS();
            for (const QString &key : m_todos)
                todos->Remove(key);
            auto projects = todos->ActiveProjects();
            for (int i = 0; i < m_projects && projects->Count() > 0; ++i)
                projects->Remove(projects->Count());
            auto users = m_data.Users();
            for (const QString &name : m_users) {
                for (qint32 position = users->Count(); position >= 1; --position) {
                    if (users->Item(position)->Key.trimmed() == name) {
                        users->Remove(position);
                        break;
                    }
                }
            }
        } catch (...) {
            // Only records this import added are touched; nothing else to undo.
        }
    }

    DayvexData &m_data;
    QStringList m_appointments;
    QStringList m_todos;
    QStringList m_users;
    QStringList m_places;
    QStringList m_categories;
    int m_projects = 0;
    bool m_committed = false;
};

void addPlan(const Plan &plan, DayvexData &into, ExchangeReport &report)
{
    auto schedules = into.Schedules();
    auto todos = into.ToDoS();
    schedules->Places(); // created now, so that Add collects places and categories
    schedules->Categories();

    QSet<std::pair<QString, double>> present;
    for (const auto &schedule : *schedules)
        present.insert({schedule->Tag, schedule->StartDate.value()});
    QSet<std::pair<QString, double>> presentToDos;
    for (const auto &todo : *todos)
        presentToDos.insert({todo->Tag, todo->DueTo.value()});

    ImportTransaction transaction(into);
    std::vector<std::shared_ptr<Schedule>> occurrencesOnTheirOwn;
    for (const PlannedAppointment &a : plan.appointments) {
        if (!a.uid.isEmpty() && present.contains({a.uid, a.start.value()})) {
            ++report.alreadyPresent;
            continue;
        }
        transaction.addUser(a.owner);
        const QString key = schedules->NewKey();
        transaction.addedAppointment(key, a.place, a.category);
        Schedule filled;
        filled.Key = key;
        filled.Owner = a.owner;
        filled.StartDate = a.start;
        filled.EndDate = a.end;
        filled.ContactCode = a.contactCode;
        filled.Contact = a.contact;
        filled.Category = a.category;
        filled.Description = a.description;
        filled.Place = a.place;
        filled.ReminderDate = a.reminder;
        filled.Tag = a.uid;
        filled.Color = a.color;
        filled.Body = a.body;
        filled.Extra = a.extra;
        filled.Recurrence = a.recurrence;
        filled.RecurrenceDates = a.recurrenceDates;
        filled.ExceptionDates = a.exceptionDates;
        if (a.recurrenceId)
            filled.RecurrenceId = *a.recurrenceId;
        if (!filled.Recurrence.isEmpty() && Alarms::isPending(a.reminder)) {
            // A series reminds before each occurrence: from the next one on, not the first.
            filled.setReminderLead(secondsBetween(a.reminder, a.start));
            filled.ReminderDate = nextReminder(filled, now());
        }
        const auto added = schedules->Add(filled);
        // Add corrects an end whose clock time is not after the start's; the file's later end stands.
        if (secondsBetween(a.start, a.end) > 0)
            added->EndDate = a.end;
        present.insert({a.uid, a.start.value()});
        if (a.recurrenceId)
            occurrencesOnTheirOwn.push_back(added);
        ++report.appointments;
    }
    // Each occurrence changed on its own belongs to the series of its UID, read now or before.
    if (!occurrencesOnTheirOwn.empty()) {
        QHash<QString, QString> seriesByUid;
        for (const auto &schedule : *schedules)
            if (!schedule->Recurrence.isEmpty() && !schedule->Tag.isEmpty())
                seriesByUid.insert(schedule->Tag, schedule->Key);
        for (const std::shared_ptr<Schedule> &occurrence : occurrencesOnTheirOwn)
            occurrence->SeriesKey = seriesByUid.value(occurrence->Tag);
    }
    for (const PlannedToDo &t : plan.todos) {
        if (!t.uid.isEmpty() && presentToDos.contains({t.uid, t.due.value()})) {
            ++report.alreadyPresent;
            continue;
        }
        transaction.addUser(t.owner);
        transaction.addProject(t.project);
        const QString key = todos->NewKey();
        transaction.addedToDo(key);
        ToDo filled;
        filled.Key = key;
        filled.Owner = t.owner;
        filled.ShortDesc = t.shortDesc;
        filled.LongDesc = t.longDesc;
        filled.DueTo = t.due;
        filled.Priority = t.priority;
        filled.Project = t.project;
        filled.Done = t.done;
        filled.DateDone = t.dateDone;
        filled.ReminderDate = t.reminder;
        filled.Tag = t.uid;
        filled.Extra = t.extra;
        todos->Add(filled);
        presentToDos.insert({t.uid, t.due.value()});
        ++report.todos;
    }
    transaction.commit();
}

} // namespace

ExchangeReport importICalendarData(const QByteArray &bytes, DayvexData &into, const ImportOptions &options)
{
    ExchangeReport report;
    icalerror_set_errors_are_fatal(0);
    if (bytes.size() > options.maxFileBytes) {
        fileEntry(report, QStringLiteral("the file is larger than %1 bytes: nothing imported").arg(options.maxFileBytes));
        return report;
    }
    QByteArray text = asUtf8(bytes, report);
    if (!text.toUpper().contains("BEGIN:VCALENDAR")) {
        fileEntry(report, QStringLiteral("not an iCalendar file"));
        return report;
    }
    text = markDateTimeTriggers(closeTruncated(joinBrokenFolds(text, report), report), report);
    ComponentPtr root(icalparser_parse_string(text.constData()));
    icalcomponent *calendar = root.get();
    if (calendar && icalcomponent_isa(calendar) != ICAL_VCALENDAR_COMPONENT) {
        // Several calendars in one file: read as one, libical renaming zones whose TZIDs clash.
        std::vector<icalcomponent *> calendars;
        for (icalcomponent *c = icalcomponent_get_first_component(calendar, ICAL_VCALENDAR_COMPONENT); c;
             c = icalcomponent_get_next_component(calendar, ICAL_VCALENDAR_COMPONENT))
            calendars.push_back(c);
        calendar = calendars.empty() ? nullptr : calendars.front();
        for (size_t i = 1; i < calendars.size(); ++i) {
            icalcomponent_remove_component(root.get(), calendars[i]);
            icalcomponent_merge_component(calendar, calendars[i]); // frees it
        }
        if (calendars.size() > 1)
            fileEntry(report, QStringLiteral("%1 calendars in the file: read as one").arg(calendars.size()), false);
    }
    if (!calendar) {
        fileEntry(report, QStringLiteral("no calendar could be read"));
        return report;
    }

    try {
        const Plan plan = FileReader(options, report).read(calendar);
        addPlan(plan, into, report);
    } catch (const ImportStopped &stop) {
        fileEntry(report, stop.why + QStringLiteral(": nothing imported"));
        report.appointments = report.todos = report.alreadyPresent = 0;
        return report;
    } catch (const Error &e) {
        fileEntry(report, QStringLiteral("adding failed, nothing was imported: %1").arg(e.description()));
        report.appointments = report.todos = report.alreadyPresent = 0;
        return report;
    }
    report.fileRead = true;
    return report;
}

ExchangeReport importICalendar(const QString &path, DayvexData &into, const ImportOptions &options)
{
    ExchangeReport report;
    // Only a regular file: a FIFO would block the read, a device never end it.
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        fileEntry(report, QStringLiteral("%1 is not a regular file: nothing imported").arg(path));
        return report;
    }
    if (info.size() > options.maxFileBytes) {
        fileEntry(report, QStringLiteral("%1 is larger than %2 bytes: nothing imported").arg(path).arg(options.maxFileBytes));
        return report;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fileEntry(report, QStringLiteral("cannot read %1: %2").arg(path, file.errorString()));
        return report;
    }
    // Read in pieces up to just past the bound: a file may grow after it was looked at.
    QByteArray bytes;
    while (bytes.size() <= options.maxFileBytes) {
        const QByteArray piece = file.read(1 << 20);
        if (piece.isEmpty())
            break;
        bytes += piece;
    }
    return importICalendarData(bytes, into, options);
}

QString ExchangeReport::summary() const
{
    const auto counted = [](int count, const char *one, const char *many) {
        return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
    };
    QStringList lines{QStringLiteral("%1, %2, %3 already present, %4 skipped")
                          .arg(counted(appointments, "appointment", "appointments"), counted(todos, "to-do", "to-dos"))
                          .arg(alreadyPresent)
                          .arg(skipped)};
    for (const ExchangeEntry &entry : entries) {
        QString line = entry.component;
        if (!entry.uid.isEmpty())
            line += QStringLiteral(" (%1)").arg(entry.uid);
        line += QStringLiteral(": ") + entry.message + (entry.skipped ? QStringLiteral(" [skipped]") : QString());
        lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

ResourceCodec iCalendarResources(qsizetype maxBytes)
{
    ResourceCodec codec;
    codec.write = [](DayvexData &records) { return exportICalendarData(records); };
    codec.read = [maxBytes](const QByteArray &text, DayvexData &into, QString &why) {
        ImportOptions options;
        options.keepSeries = true;
        options.maxFileBytes = maxBytes;
        const ExchangeReport report = importICalendarData(text, into, options);
        if (!report.fileRead)
            why = report.summary();
        return report.fileRead;
    };
    return codec;
}

} // namespace dayvex
