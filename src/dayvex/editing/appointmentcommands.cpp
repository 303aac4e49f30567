#include "appointmentcommands.h"

#include "appointmenteditor.h"
#include "editinghost.h"
#include "prompts.h"
#include "undo.h"

#include <dayvex/i18n/language.h>
#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>


namespace dayvex {

Date firstDateOf(const Schedule &series)
{
    Date first = series.StartDate;
    for (const QString *dates : {&series.RecurrenceDates, &series.ExceptionDates}) {
        for (const QString &item : dates->split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const QString text = item.trimmed();
            QDateTime at = QDateTime::fromString(text.left(15), QStringLiteral("yyyyMMdd'T'HHmmss"));
            if (!at.isValid())
                at = QDateTime(QDate::fromString(text.left(8), QStringLiteral("yyyyMMdd")), QTime(0, 0));
            if (at.isValid() && at.date().year() >= 100 && Date::fromDateTime(at) < first)
                first = Date::fromDateTime(at);
        }
    }
    return first;
}

AppointmentCommands::AppointmentCommands(EditingHost &host, CommandFlag &running)
    : m_host(host)
    , m_running(running)
{
}

AppointmentCommands::~AppointmentCommands()
{
    delete m_editor.data(); // ends the wait of a command still running
}

Error AppointmentCommands::invalidSchedule()
{
    return Error::objectError(10, QStringLiteral("Valori errati nella definizione dell'oggetto Schedule."));
}

void AppointmentCommands::newAppointment(Date proposed, std::optional<Date> end)
{
    if (m_running.isSet())
        return;
    const RunningCommand running(m_running);

    const std::shared_ptr<Schedules> schedules = m_host.editedPlan()->Schedules();
    auto mSca = std::make_shared<Schedule>();
    mSca->Key = schedules->NewKey();
    // Start and end alike, as the menu has always proposed them.
    mSca->StartDate = proposed;
    mSca->EndDate = end.value_or(proposed);

    if (add(running, mSca))
        m_host.redraw();
}

bool AppointmentCommands::add(const RunningCommand &running, std::shared_ptr<Schedule> mSca, bool *stored)
{
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeScheduleAdd, mSca);
    if (answer.Cancel)
        return false; // nothing changed, nothing redrawn
    if (!answer.ExternalHandled)
        return runEditor(running, AppointmentEditor::NewKey, *mSca, stored);
    if (!mSca)
        mSca = std::make_shared<Schedule>();
    if (mSca->Description.trimmed().isEmpty())
        throw invalidSchedule();
    try {
        m_host.editedPlan()->Schedules()->addWithStep(*mSca, m_host.settings().DayStepMinutes);
    } catch (const Error &) {
        throw invalidSchedule();
    }
    if (stored)
        *stored = true;
    m_host.RaiseScheduleAdded(mSca);
    return true;
}

void AppointmentCommands::modify(const QString &key, Date occurrence)
{
    if (m_running.isSet())
        return;
    const RunningCommand running(m_running);

    std::shared_ptr<Schedule> mSca = m_host.editedPlan()->Schedules()->Item(key);
    if (bool asked; seriesScopeDone(&running, mSca, occurrence, asked))
        return;
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeScheduleChange, mSca);
    if (answer.Cancel)
        return;
    if (answer.ExternalHandled) {
        // The host has changed the live record itself.
        if (!mSca || mSca->Description.trimmed().isEmpty())
            throw invalidSchedule();
        m_host.RaiseScheduleChanged(mSca);
    } else {
        if (!runEditor(running, AppointmentEditor::formKeyOf(mSca->Key), *mSca))
            return;
    }
    m_host.redraw();
}

void AppointmentCommands::remove(const QString &key, Date occurrence)
{
    // The editor open on it has the user's input: its own Delete is the way.
    if (m_editor && m_editor->recordKey() == key)
        return;
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    std::shared_ptr<Schedule> mSca = plan->Schedules()->Item(key);
    bool asked = false;
    if (seriesScopeDone(nullptr, mSca, occurrence, asked))
        return;
    const bool series = !mSca->Recurrence.isEmpty();
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeScheduleDelete, mSca);
    if (answer.Cancel)
        return;
    // The scope question was the confirmation.
    if (!answer.ExternalHandled && !asked) {
        if (!confirm(m_host.dialogParent(), m_host.language(), Text::DeletingAppointmentMsg, PromptIcon::Exclamation))
            return;
    }
    // A missing alarm or form does not stop the deletion.
    const StepGroup group(m_host, stepText(QLatin1Char('S'), Step::Delete));
    plan->Alarms()->Remove(Alarms::keyFor(QLatin1Char('S'), key));
    // Forms tagged with the to-do letter, as the delete has always tested.
    closeFormsTagged(Alarms::keyFor(QLatin1Char('T'), key));
    plan->Schedules()->Remove(key);
    // A series' moved occurrences go with it before anyone hears of it, so that
    // a host failing in the event leaves none behind.
    const auto overrides = series ? takeOutOverrides(m_host, key, Date()) : std::vector<std::shared_ptr<Schedule>>();
    LeftOutOccurrence leftOut(m_host, *mSca);
    {
        const auto record = qScopeGuard([&, before = *mSca] {
            recordChange(m_host, stepText(QLatin1Char('S'), Step::Delete), std::optional(before),
                         std::optional<Schedule>());
        });
        m_host.RaiseScheduleDeleted(mSca);
    }
    for (std::shared_ptr<Schedule> gone : overrides)
        m_host.RaiseScheduleDeleted(gone);
    leftOut.announce();
    m_host.redraw();
}

bool AppointmentCommands::reschedule(const QString &key, Date start, Date end, Date occurrence)
{
    if (m_running.isSet())
        return false;
    const RunningCommand running(m_running);
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    std::shared_ptr<Schedule> live = plan->Schedules()->find(key);
    if (bool moved = false; live && !live->Recurrence.isEmpty() && !occurrence.isEmpty()
                            && rescheduleOccurrence(live, occurrence, start, end, moved))
        return moved;
    if (!live || (live->StartDate == start && live->EndDate == end))
        return false;
    const StepGroup group(m_host, stepText(QLatin1Char('S'), Step::Move));
    auto proposed = std::make_shared<Schedule>(*live);
    if (!live->Recurrence.isEmpty()) {
        // The whole series: its other dates and its UNTIL move with its start, or
        // its last occurrence would fall past an end that stayed.
        const qint64 minutes = form::minutesBetween(live->StartDate, start);
        const Schedule moved = m_host.splitSeries(*live, firstDateOf(*live), minutes).following;
        proposed->Recurrence = moved.Recurrence;
        proposed->RecurrenceDates = moved.RecurrenceDates;
        proposed->ExceptionDates = moved.ExceptionDates;
    }
    proposed->StartDate = start;
    proposed->EndDate = end;
    if (Alarms::isPending(live->ReminderDate))
        proposed->ReminderDate = live->ReminderDate.addMinutes(form::minutesBetween(live->StartDate, start));
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeScheduleChange, proposed);
    if (answer.Cancel || !proposed)
        return false;
    if (answer.ExternalHandled) {
        m_host.redraw();
        return true;
    }
    bool cancel = false;
    m_host.RaiseValidateSchedule(proposed, cancel);
    if (cancel || !proposed)
        return false;
    const Schedule before = *live;
    live->StartDate = proposed->StartDate;
    live->EndDate = proposed->EndDate;
    live->ReminderDate = proposed->ReminderDate;
    live->Recurrence = proposed->Recurrence;
    live->RecurrenceDates = proposed->RecurrenceDates;
    live->ExceptionDates = proposed->ExceptionDates;
    setAlarmQuietly(*plan->Alarms(), QLatin1Char('S'), key, live->ReminderDate);
    ShiftedOverrides overrides(m_host, key, key, Date(),
                               live->Recurrence.isEmpty() ? 0 : form::minutesBetween(before.StartDate, live->StartDate));
    {
        const auto record = qScopeGuard([&] {
            recordChange(m_host, stepText(QLatin1Char('S'), Step::Move), std::optional(before), std::optional(*live));
        });
        m_host.RaiseScheduleChanged(live);
        if (!(live->ReminderDate == before.ReminderDate))
            m_host.RaiseAlarmChange(live);
    }
    overrides.announce();
    m_host.redraw();
    return true;
}

bool AppointmentCommands::runEditor(const RunningCommand &running, const QString &formKey, const Schedule &values,
                                    bool *added)
{
    auto *editor = new AppointmentEditor(m_host, m_host.dialogParent());
    if (added)
        QObject::connect(editor, &AppointmentEditor::added, editor, [added] { *added = true; });
    editor->edit(formKey, values);
    m_editor = editor;
    return showUntilHidden(editor, running);
}

} // namespace dayvex
