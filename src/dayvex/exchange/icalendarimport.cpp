#include "icalendar.h"
#include "icalvalues.h"

#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>
#include <dayvex/platform/error.h>

#include <QFile>
#include <QSet>
#include <QStringDecoder>

#include <map>
#include <vector>

namespace dayvex {

using namespace ical;

namespace {

// A record read from the file, not yet in the data.
struct PlannedAppointment
{
    QString uid;
    QString owner, contactCode, contact, category, description, place;
    Date start, end, reminder;
    qint32 color = 0;
};

struct PlannedToDo
{
    QString uid;
    QString owner, shortDesc, longDesc, project;
    Date due, dateDone, reminder;
    qint16 priority = 0;
    bool done = false;
};

struct Plan
{
    std::vector<PlannedAppointment> appointments;
    std::vector<PlannedToDo> todos;
};

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

// A file cut short ends inside a component: drop that component, close the calendar.
QByteArray closeTruncated(QByteArray text, ExchangeReport &report)
{
    const QByteArray upper = text.toUpper();
    if (upper.contains("END:VCALENDAR"))
        return text;
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

QString organizerName(icalcomponent *component)
{
    icalproperty *organizer = icalcomponent_get_first_property(component, ICAL_ORGANIZER_PROPERTY);
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

// CONTACT (with the code this program writes beside it), else the first ATTENDEE.
std::pair<QString, QString> contactOf(icalcomponent *component)
{
    if (icalproperty *contact = icalcomponent_get_first_property(component, ICAL_CONTACT_PROPERTY))
        return {text(icalproperty_get_contact(contact)), text(icalproperty_get_parameter_as_string(contact, "X-DAYVEX-CODE"))};
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
    return base.addSeconds(icaldurationtype_as_int(trigger.duration));
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
        m_from = Date::fromDate(options.windowFrom.isValid() ? options.windowFrom : today.addYears(-1));
        m_to = Date::fromDate(options.windowTo.isValid() ? options.windowTo : today.addYears(2)).addDays(1);
    }

    Plan read(icalcomponent *calendar)
    {
        collectOverrides(calendar);
        int events = 0;
        int todos = 0;
        for (icalcomponent *c = icalcomponent_get_first_component(calendar, ICAL_ANY_COMPONENT); c;
             c = icalcomponent_get_next_component(calendar, ICAL_ANY_COMPONENT)) {
            const icalcomponent_kind kind = icalcomponent_isa(c);
            if (kind == ICAL_VEVENT_COMPONENT)
                readGuarded(c, QStringLiteral("VEVENT %1").arg(++events), [&] { readEvent(c); });
            else if (kind == ICAL_VTODO_COMPONENT)
                readGuarded(c, QStringLiteral("VTODO %1").arg(++todos), [&] { readToDo(c); });
        }
        return std::move(m_plan);
    }

private:
    template <typename Read>
    void readGuarded(icalcomponent *c, const QString &name, Read read)
    {
        m_name = name;
        m_uid = text(icalcomponent_get_uid(c));
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

    // Instances moved or changed by a component of their own (RECURRENCE-ID).
    void collectOverrides(icalcomponent *calendar)
    {
        for (icalcomponent *c = icalcomponent_get_first_component(calendar, ICAL_VEVENT_COMPONENT); c;
             c = icalcomponent_get_next_component(calendar, ICAL_VEVENT_COMPONENT)) {
            if (!icalcomponent_get_first_property(c, ICAL_RECURRENCEID_PROPERTY))
                continue;
            try {
                if (const auto id = localTime(c, ICAL_RECURRENCEID_PROPERTY))
                    m_overridden[text(icalcomponent_get_uid(c))].insert(id->value.value());
            } catch (const QString &) {
                // the override itself is reported when it is read
            }
        }
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
            end = LocalTime{start->value.addSeconds(icaldurationtype_as_int(duration)), start->isDate, {}};
        }
        // A whole-day event runs to 23:59 of its last day; Add would cut an end at midnight to one step.
        Date endValue = end ? end->value : start->value;
        if (start->isDate)
            endValue = (end && end->value > start->value ? end->value : start->value.addDays(1)).addMinutes(-1);

        PlannedAppointment appointment;
        appointment.uid = m_uid;
        appointment.owner = organizerName(c);
        std::tie(appointment.contact, appointment.contactCode) = contactOf(c);
        appointment.category = firstCategory(c);
        appointment.description = text(icalcomponent_get_summary(c));
        appointment.place = text(icalcomponent_get_location(c));
        if (icalproperty *color = icalcomponent_get_first_property(c, ICAL_COLOR_PROPERTY)) {
            if (const auto ole = oleFromCss(text(icalproperty_get_color(color))))
                appointment.color = *ole;
            else
                note(QStringLiteral("COLOR \"%1\" is no colour: left out").arg(text(icalproperty_get_color(color))));
        }
        const qint64 reminderLead = [&] {
            const Date reminder = reminderOf(c, start->value, endValue);
            return reminder.isEmpty() ? std::numeric_limits<qint64>::min()
                                      : qint64(std::llround((reminder.value() - start->value.value()) * 86400.0));
        }();
        const qint64 durationSeconds = qint64(std::llround((endValue.value() - start->value.value()) * 86400.0));

        for (const Occurrence &occurrence : occurrences(c, *start, durationSeconds)) {
            PlannedAppointment instance = appointment;
            instance.start = occurrence.start;
            instance.end = occurrence.end;
            if (reminderLead != std::numeric_limits<qint64>::min())
                instance.reminder = occurrence.start.addSeconds(reminderLead);
            m_plan.appointments.push_back(std::move(instance));
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
        std::vector<Date> starts;
        auto consider = [&](const icaltimetype &t) {
            const Date local = localTime(t, tzid).value;
            if (local >= m_from && local < m_to)
                starts.push_back(local);
            return local < m_to;
        };
        if (rrule) {
            const icalrecurrencetype rule = icalproperty_get_rrule(rrule);
            if (rule.freq == ICAL_NO_RECURRENCE)
                throw QStringLiteral("RRULE cannot be read");
            if (rule.count == 0 && icaltime_is_null_time(rule.until))
                note(QStringLiteral("repeats without end: occurrences from %1 to %2 taken")
                         .arg(m_from.toDate().toString(Qt::ISODate), m_to.addDays(-1).toDate().toString(Qt::ISODate)));
            std::unique_ptr<icalrecur_iterator, void (*)(icalrecur_iterator *)> it(icalrecur_iterator_new(rule, dtstart),
                                                                                   icalrecur_iterator_free);
            if (!it)
                throw QStringLiteral("RRULE cannot be expanded");
            // Rules without COUNT can start at the window; COUNT must count from the first.
            const QDate from = m_from.toDate();
            if (rule.count == 0 && QDate(dtstart.year, dtstart.month, dtstart.day) < from) {
                icaltimetype jump = dtstart;
                jump.year = from.year();
                jump.month = from.month();
                jump.day = from.day();
                icalrecur_iterator_set_start(it.get(), jump);
            }
            constexpr int MaxSteps = 1000000; // a rule that never reaches the window ends here
            int steps = 0;
            for (icaltimetype next = icalrecur_iterator_next(it.get()); !icaltime_is_null_time(next);
                 next = icalrecur_iterator_next(it.get())) {
                if (!consider(next) || ++steps >= MaxSteps)
                    break;
                if (int(starts.size()) >= m_options.maxOccurrencesPerEvent) {
                    note(QStringLiteral("more than %1 occurrences in the window: the rest left out")
                             .arg(m_options.maxOccurrencesPerEvent));
                    break;
                }
            }
        } else {
            consider(dtstart); // RDATEs add to DTSTART
        }
        for (icalproperty *p = icalcomponent_get_first_property(c, ICAL_RDATE_PROPERTY); p;
             p = icalcomponent_get_next_property(c, ICAL_RDATE_PROPERTY)) {
            const icaldatetimeperiodtype rdate = icalproperty_get_rdate(p);
            icaltimetype t = icaltime_is_null_time(rdate.time) ? rdate.period.start : rdate.time;
            if (!t.zone && !icaltime_is_utc(t) && !t.is_date)
                t.zone = dtstart.zone;
            consider(t);
        }

        QSet<double> excluded = m_overridden.value(m_uid);
        for (icalproperty *p = icalcomponent_get_first_property(c, ICAL_EXDATE_PROPERTY); p;
             p = icalcomponent_get_next_property(c, ICAL_EXDATE_PROPERTY)) {
            icaltimetype t = icalproperty_get_datetime_with_component(p, c);
            excluded.insert(localTime(t, QByteArray(icalproperty_get_parameter_as_string(p, "TZID"))).value.value());
        }
        std::sort(starts.begin(), starts.end());
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
        todo.owner = organizerName(c);
        todo.shortDesc = text(icalcomponent_get_summary(c));
        todo.longDesc = text(icalcomponent_get_description(c));
        todo.project = firstCategory(c);
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
        todo.done = icalcomponent_get_status(c) == ICAL_STATUS_COMPLETED || !todo.dateDone.isEmpty();
        todo.reminder = reminderOf(c, start ? start->value : todo.due, todo.due);
        m_plan.todos.push_back(std::move(todo));
    }

    const ImportOptions &m_options;
    ExchangeReport &m_report;
    Date m_from;
    Date m_to;
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
        if (name.trimmed().isEmpty() || hasEntry(*users, name.trimmed()))
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
    for (const PlannedAppointment &a : plan.appointments) {
        if (!a.uid.isEmpty() && present.contains({a.uid, a.start.value()})) {
            ++report.alreadyPresent;
            continue;
        }
        transaction.addUser(a.owner);
        const QString key = schedules->NewKey();
        transaction.addedAppointment(key, a.place, a.category);
        schedules->Add(key, a.owner, a.start, a.end, a.contactCode, a.contact, a.category, a.description, a.place,
                       a.reminder, a.uid, a.color);
        present.insert({a.uid, a.start.value()});
        ++report.appointments;
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
        todos->Add(key, t.owner, t.shortDesc, t.longDesc, t.due, t.priority, t.project, t.done, t.dateDone,
                   t.reminder, t.uid);
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
    QByteArray text = asUtf8(bytes, report);
    if (!text.toUpper().contains("BEGIN:VCALENDAR")) {
        report.entries.append({QStringLiteral("file"), QString(), QStringLiteral("not an iCalendar file"), true});
        return report;
    }
    text = closeTruncated(std::move(text), report);
    ComponentPtr root(icalparser_parse_string(text.constData()));
    icalcomponent *calendar = root.get();
    if (calendar && icalcomponent_isa(calendar) != ICAL_VCALENDAR_COMPONENT)
        calendar = icalcomponent_get_first_component(calendar, ICAL_VCALENDAR_COMPONENT);
    if (!calendar) {
        report.entries.append({QStringLiteral("file"), QString(), QStringLiteral("no calendar could be read"), true});
        return report;
    }

    Plan plan = FileReader(options, report).read(calendar);
    try {
        addPlan(plan, into, report);
    } catch (const Error &e) {
        report.entries.append({QStringLiteral("file"), QString(),
                               QStringLiteral("adding failed, nothing was imported: %1").arg(e.description()), true});
        report.appointments = report.todos = report.alreadyPresent = 0;
        return report;
    }
    report.fileRead = true;
    return report;
}

ExchangeReport importICalendar(const QString &path, DayvexData &into, const ImportOptions &options)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ExchangeReport report;
        report.entries.append({QStringLiteral("file"), QString(),
                               QStringLiteral("cannot read %1: %2").arg(path, file.errorString()), true});
        return report;
    }
    return importICalendarData(file.readAll(), into, options);
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

} // namespace dayvex
