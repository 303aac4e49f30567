#include "undo.h"

#include "editinghost.h"
#include "prompts.h"

#include <dayvex/model/dayvexdata.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>

#include <QMetaProperty>
#include <QSet>
#include <QUndoStack>

#include <algorithm>
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
    if (bool(live) != expected.has_value())
        return false;
    if (!live)
        return true;
    // A UID given since (a sync naming the record for its server) is not a
    // change of the record: the step still applies, and keeps it.
    Record seen = *live;
    if (expected->Tag.isEmpty())
        seen.Tag.clear();
    return sameRecord(seen, *expected);
}

template <typename Record>
QString RecordChange<Record>::subject() const
{
    const QString &key = m_before ? m_before->Key : m_after->Key;
    return QLatin1Char(Kind<Record>::letter) + key.toCaseFolded();
}

bool RecordStep::bring(bool forward)
{
    if (!expected(forward)) {
        drop(QObject::tr("\"%1\" was not %2: the %3 has been changed or removed since.")
                 .arg(text(), forward ? QObject::tr("redone") : QObject::tr("undone"), noun()));
        return true;
    }
    if (!ask(forward))
        return false;
    apply(forward);
    m_host.redraw();
    m_host.refillToDoList();
    return true;
}

template <typename Record>
QString RecordChange<Record>::noun() const
{
    return Kind<Record>::name();
}

template <typename Record>
bool RecordChange<Record>::ask(bool forward)
{
    using K = Kind<Record>;
    const std::optional<Record> &expected = forward ? m_before : m_after;
    const std::optional<Record> &target = forward ? m_after : m_before;
    const QString key = expected ? expected->Key : target->Key;
    m_live = K::records(*m_host.editedPlan())->find(key);
    m_proposed.reset();
    m_external = false;
    if (!target)
        return !m_host.raiseBefore(K::remove, m_live).Cancel;
    auto proposed = std::make_shared<Record>(*target);
    if (m_live && proposed->Tag.isEmpty())
        proposed->Tag = m_live->Tag;
    const BeforeAnswer answer = m_host.raiseBefore(m_live ? K::change : K::add, proposed);
    if (answer.Cancel)
        return false;
    if (answer.ExternalHandled) {
        m_external = true; // the host makes the change its own way
        return true;
    }
    bool cancel = false;
    K::validate(m_host, proposed, cancel);
    if (cancel || !proposed)
        return false;
    proposed->Key = key;
    m_proposed = std::move(proposed);
    return true;
}

template <typename Record>
void RecordChange<Record>::apply(bool forward)
{
    using K = Kind<Record>;
    if (m_external)
        return;
    std::optional<Record> &target = forward ? m_after : m_before;
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    const auto records = K::records(*plan);
    const QChar letter = QLatin1Char(K::letter);
    if (!m_proposed) {
        // Brought back later, the record comes back under the UID it had.
        if (std::optional<Record> &left = forward ? m_before : m_after; left && left->Tag.isEmpty())
            left->Tag = m_live->Tag;
        const QString key = m_live->Key;
        setAlarmQuietly(*plan->Alarms(), letter, key, Date());
        records->Remove(key);
        m_applied = true;
        K::removed(m_host, m_live);
        return;
    }
    const bool adding = !m_live;
    if (adding)
        m_live = records->Add(*m_proposed);
    *m_live = *m_proposed; // whole, whatever the collection's Add adjusts
    target = *m_live;      // what the next step back expects to find
    setAlarmQuietly(*plan->Alarms(), letter, m_live->Key, m_live->ReminderDate);
    m_applied = true;
    if (adding)
        K::added(m_host, m_live);
    else
        K::changed(m_host, m_live);
}

// Several changes as one step, whole or not at all: forward in order, back in
// reverse; the host is asked of every change before any is made, and a record
// changed since stops them all.
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
        for (const RecordStep *step : inOrder(forward)) {
            const QString subject = step->subject();
            if (seen.contains(subject))
                continue;
            seen.insert(subject);
            if (!step->expected(forward))
                return false;
        }
        return true;
    }
    QString subject() const override { return QString(); }
    QString noun() const override { return m_steps.front()->noun(); }

    // Every change asked first: one veto, and none is made.
    bool ask(bool forward) override
    {
        for (RecordStep *step : inOrder(forward))
            if (!step->ask(forward))
                return false;
        return true;
    }

    // Every change made, a host failing in an after-event notwithstanding; the
    // first failure is reported once all are made.
    void apply(bool forward) override
    {
        std::exception_ptr error;
        for (RecordStep *step : inOrder(forward)) {
            step->m_applied = false;
            try {
                step->apply(forward);
            } catch (...) {
                if (!error)
                    error = std::current_exception();
            }
            m_applied = m_applied || step->m_applied;
        }
        if (error)
            std::rethrow_exception(error);
    }

private:
    std::vector<RecordStep *> inOrder(bool forward) const
    {
        std::vector<RecordStep *> steps;
        for (const auto &step : m_steps)
            steps.push_back(step.get());
        if (!forward)
            std::reverse(steps.begin(), steps.end());
        return steps;
    }

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
