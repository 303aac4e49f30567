#include "undo.h"

#include "editinghost.h"
#include "prompts.h"

#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>

#include <QMetaProperty>
#include <QSet>
#include <QUndoStack>

#include <cmath>

namespace dayvex {

namespace {
// What differs between the two kinds of record: their collection, events and alarm letter.
template <typename Record>
struct Kind;

template <>
struct Kind<Schedule>
{
    static constexpr char letter = 'S';
    static constexpr EventId add = EventId::BeforeScheduleAdd;
    static constexpr EventId change = EventId::BeforeScheduleChange;
    static constexpr EventId remove = EventId::BeforeScheduleDelete;
    static std::shared_ptr<Schedules> records(DayvexData &plan) { return plan.Schedules(); }
    static void validate(EditingHost &host, std::shared_ptr<Schedule> &r, bool &cancel)
    {
        host.RaiseValidateSchedule(r, cancel);
    }
    static void added(EditingHost &host, std::shared_ptr<Schedule> &r) { host.RaiseScheduleAdded(r); }
    static void changed(EditingHost &host, std::shared_ptr<Schedule> &r) { host.RaiseScheduleChanged(r); }
    static void removed(EditingHost &host, std::shared_ptr<Schedule> &r) { host.RaiseScheduleDeleted(r); }
    static QString name() { return QObject::tr("appointment"); }
};

template <>
struct Kind<ToDo>
{
    static constexpr char letter = 'T';
    // A to-do coming back asks as a new one does, with the change event.
    static constexpr EventId add = EventId::BeforeTodoChange;
    static constexpr EventId change = EventId::BeforeTodoChange;
    static constexpr EventId remove = EventId::BeforeTodoDelete;
    static std::shared_ptr<ToDoS> records(DayvexData &plan) { return plan.ToDoS(); }
    static void validate(EditingHost &host, std::shared_ptr<ToDo> &r, bool &cancel) { host.RaiseValidateToDo(r, cancel); }
    static void added(EditingHost &host, std::shared_ptr<ToDo> &r) { host.RaiseTodoAdded(r); }
    static void changed(EditingHost &host, std::shared_ptr<ToDo> &r) { host.RaiseToDoChanged(r); }
    static void removed(EditingHost &host, std::shared_ptr<ToDo> &r) { host.RaiseToDoDeleted(r); }
    static QString name() { return QObject::tr("to-do"); }
};

bool sameValue(const QVariant &a, const QVariant &b)
{
    if (a.metaType() == QMetaType::fromType<Date>() && b.metaType() == a.metaType()) {
        // A NaN a host stored is still the same NaN.
        const double x = a.value<Date>().value(), y = b.value<Date>().value();
        return x == y || (std::isnan(x) && std::isnan(y));
    }
    return a == b;
}
} // namespace

template <typename Record>
bool sameRecord(const Record &a, const Record &b)
{
    const QMetaObject &meta = Record::staticMetaObject;
    for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
        const QMetaProperty property = meta.property(i);
        if (!sameValue(property.readOnGadget(&a), property.readOnGadget(&b)))
            return false;
    }
    return true;
}

QString stepText(QChar kind, Step step)
{
    const bool appointment = kind == QLatin1Char('S');
    switch (step) {
    case Step::New: return appointment ? QObject::tr("New appointment") : QObject::tr("New to-do");
    case Step::Change: return appointment ? QObject::tr("Change appointment") : QObject::tr("Change to-do");
    case Step::Delete: return appointment ? QObject::tr("Delete appointment") : QObject::tr("Delete to-do");
    case Step::Move: return QObject::tr("Move appointment");
    case Step::Done: return QObject::tr("Mark to-do done");
    }
    return {};
}

RecordStep::RecordStep(EditingHost &host, const QString &text)
    : m_host(host)
{
    setText(text);
}

void RecordStep::undo() { run(false); }
void RecordStep::redo() { run(true); }

void RecordStep::run(bool forward)
{
    m_vetoed = false;
    m_applied = false;
    m_error = nullptr;
    if (std::exchange(m_skip, false))
        return;
    try {
        m_vetoed = !bring(forward);
    } catch (...) {
        m_vetoed = !m_applied;
        m_error = std::current_exception();
    }
}

void RecordStep::drop(const QString &why)
{
    setObsolete(true);
    m_host.undoStepDropped(why);
}

template <typename Record>
bool RecordChange<Record>::expected(bool forward) const
{
    const std::optional<Record> &expected = forward ? m_before : m_after;
    const std::optional<Record> &target = forward ? m_after : m_before;
    const std::shared_ptr<Record> live = Kind<Record>::records(*m_host.editedPlan())->find(expected ? expected->Key
                                                                                                   : target->Key);
    return bool(live) == expected.has_value() && (!live || sameRecord(*live, *expected));
}

template <typename Record>
QString RecordChange<Record>::subject() const
{
    const QString &key = m_before ? m_before->Key : m_after->Key;
    return QLatin1Char(Kind<Record>::letter) + key.toCaseFolded();
}

template <typename Record>
bool RecordChange<Record>::bring(bool forward)
{
    using K = Kind<Record>;
    std::optional<Record> &expected = forward ? m_before : m_after;
    std::optional<Record> &target = forward ? m_after : m_before;
    const QString key = expected ? expected->Key : target->Key;
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    const auto records = K::records(*plan);
    std::shared_ptr<Record> live = records->find(key);
    if (bool(live) != expected.has_value() || (live && !sameRecord(*live, *expected))) {
        drop(QObject::tr("\"%1\" was not undone: the %2 has been changed or removed since.").arg(text(), K::name()));
        return true;
    }
    const QChar letter = QLatin1Char(K::letter);
    if (!target) {
        if (m_host.raiseBefore(K::remove, live).Cancel)
            return false;
        setAlarmQuietly(*plan->Alarms(), letter, key, Date());
        records->Remove(key);
        m_applied = true;
        K::removed(m_host, live);
    } else {
        auto proposed = std::make_shared<Record>(*target);
        const BeforeAnswer answer = m_host.raiseBefore(live ? K::change : K::add, proposed);
        if (answer.Cancel)
            return false;
        if (answer.ExternalHandled)
            return true; // the host has made the change its own way
        bool cancel = false;
        K::validate(m_host, proposed, cancel);
        if (cancel || !proposed)
            return false;
        proposed->Key = key;
        const bool adding = !live;
        if (adding)
            live = records->Add(*proposed);
        *live = *proposed; // whole, whatever the collection's Add adjusts
        target = *live;    // what the next step back expects to find
        setAlarmQuietly(*plan->Alarms(), letter, key, live->ReminderDate);
        m_applied = true;
        if (adding)
            K::added(m_host, live);
        else
            K::changed(m_host, live);
    }
    m_host.redraw();
    m_host.refillToDoList();
    return true;
}

// Several changes as one step: run in order forward, back in reverse, or not at
// all when a record they change was changed since. The host may veto some of
// them; the others still run, the step counts as vetoed only when none did, and
// one taken in part leaves the stack.
class RecordSteps : public RecordStep
{
public:
    RecordSteps(EditingHost &host, const QString &text, std::vector<std::unique_ptr<RecordStep>> steps)
        : RecordStep(host, text)
        , m_steps(std::move(steps))
    {
    }

protected:
    bool expected(bool forward) const override
    {
        // A record a later step takes again is as the earlier one leaves it.
        QSet<QString> seen;
        const size_t n = m_steps.size();
        for (size_t i = 0; i < n; ++i) {
            const RecordStep &step = *m_steps[forward ? i : n - 1 - i];
            const QString subject = step.subject();
            if (seen.contains(subject))
                continue;
            seen.insert(subject);
            if (!step.expected(forward))
                return false;
        }
        return true;
    }
    QString subject() const override { return QString(); }

    bool bring(bool forward) override
    {
        // All or nothing: a record changed since stops the whole step before any change.
        if (!expected(forward)) {
            drop(QObject::tr("\"%1\" was not %2: a record it changes has been changed or removed since.")
                     .arg(text(), forward ? QObject::tr("redone") : QObject::tr("undone")));
            return true;
        }
        bool any = false, refused = false;
        const size_t n = m_steps.size();
        for (size_t i = 0; i < n; ++i) {
            RecordStep &step = *m_steps[forward ? i : n - 1 - i];
            step.m_applied = false;
            bool done = false;
            try {
                done = step.bring(forward);
            } catch (...) {
                m_applied = m_applied || step.m_applied;
                throw;
            }
            any = any || done;
            refused = refused || !done;
            m_applied = m_applied || step.m_applied;
        }
        // Taken in part, it cannot be taken back or again as one.
        if (any && refused)
            drop(QObject::tr("\"%1\" was %2 only in part: the host refused some of its changes.")
                     .arg(text(), forward ? QObject::tr("redone") : QObject::tr("undone")));
        return any;
    }

private:
    std::vector<std::unique_ptr<RecordStep>> m_steps;
};

namespace {
// The groups open on this thread, innermost last.
thread_local std::vector<StepGroup *> t_openGroups;
} // namespace

StepGroup::StepGroup(EditingHost &host, const QString &text)
    : m_host(host)
    , m_text(text)
    , m_open(!openFor(host))
{
    if (m_open)
        t_openGroups.push_back(this);
}

StepGroup::~StepGroup()
{
    if (!m_open)
        return;
    std::erase(t_openGroups, this);
    QUndoStack *stack = m_host.undoStack();
    if (!stack || m_steps.empty())
        return;
    try {
        if (m_steps.size() == 1)
            stack->push(m_steps.front().release());
        else
            stack->push(new RecordSteps(m_host, m_text, std::move(m_steps)));
    } catch (...) {
        // Out of memory while unwinding a host's failure: the undo step is what gives.
    }
}

StepGroup *StepGroup::openFor(const EditingHost &host)
{
    for (StepGroup *group : t_openGroups)
        if (&group->m_host == &host)
            return group;
    return nullptr;
}

template <typename Record>
void recordChange(EditingHost &host, const QString &text, std::optional<Record> before, std::optional<Record> after)
{
    QUndoStack *stack = host.undoStack();
    if (!stack)
        return;
    auto step = std::make_unique<RecordChange<Record>>(host, text, std::move(before), std::move(after));
    if (StepGroup *group = StepGroup::openFor(host))
        group->take(std::move(step));
    else
        stack->push(step.release());
}

template bool sameRecord(const Schedule &, const Schedule &);
template bool sameRecord(const ToDo &, const ToDo &);
template class RecordChange<Schedule>;
template class RecordChange<ToDo>;
template void recordChange(EditingHost &, const QString &, std::optional<Schedule>, std::optional<Schedule>);
template void recordChange(EditingHost &, const QString &, std::optional<ToDo>, std::optional<ToDo>);

} // namespace dayvex
