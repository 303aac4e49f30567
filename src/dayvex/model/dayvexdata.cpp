#include "dayvexdata.h"

#include <QMetaObject>

namespace dayvex {

void DataChanges::post()
{
    if (m_pending)
        return;
    m_pending = true;
    // Queued to this object: a notifier deleted first drops the call.
    QMetaObject::invokeMethod(
        this,
        [this] {
            m_pending = false;
            emit changed();
        },
        Qt::QueuedConnection);
}

template <typename Part>
static const std::shared_ptr<Part> &created(std::shared_ptr<Part> &part)
{
    if (!part)
        part = std::make_shared<Part>();
    return part;
}

// A part is watched from its creation or assignment until it is replaced or
// released; a part shared with another container is watched by each.
template <typename Part>
const std::shared_ptr<Part> &DayvexData::watched(std::shared_ptr<Part> &part, int &watch)
{
    if (!part) {
        part = std::make_shared<Part>();
        watch = part->watch([changes = m_changes.get()] { changes->post(); });
    }
    return part;
}

template <typename Part>
void DayvexData::replace(std::shared_ptr<Part> &part, int &watch, std::shared_ptr<Part> with)
{
    if (part == with)
        return;
    if (part)
        part->unwatch(watch);
    part = std::move(with);
    if (part)
        watch = part->watch([changes = m_changes.get()] { changes->post(); });
    m_changes->post();
}

DayvexData::DayvexData() : m_changes(std::make_unique<DataChanges>()) {}

DayvexData::~DayvexData()
{
    // The parts may outlive this container through the host's pointers.
    Clear();
}

void DayvexData::Clear()
{
    m_alarms.reset();
    replace(m_users, m_usersWatch, {});
    replace(m_schedules, m_schedulesWatch, {});
    replace(m_todos, m_todosWatch, {});
}

std::shared_ptr<Users> DayvexData::Users() { return watched(m_users, m_usersWatch); }
void DayvexData::setUsers(std::shared_ptr<dayvex::Users> users) { replace(m_users, m_usersWatch, std::move(users)); }

std::shared_ptr<Schedules> DayvexData::Schedules() { return watched(m_schedules, m_schedulesWatch); }
void DayvexData::setSchedules(std::shared_ptr<dayvex::Schedules> schedules)
{
    replace(m_schedules, m_schedulesWatch, std::move(schedules));
}

std::shared_ptr<ToDoS> DayvexData::ToDoS() { return watched(m_todos, m_todosWatch); }
void DayvexData::setToDoS(std::shared_ptr<dayvex::ToDoS> todos) { replace(m_todos, m_todosWatch, std::move(todos)); }

std::shared_ptr<Alarms> DayvexData::Alarms() { return created(m_alarms); }
void DayvexData::setAlarms(std::shared_ptr<dayvex::Alarms> alarms) { m_alarms = std::move(alarms); }

void DayvexData::journalChange(const std::shared_ptr<Schedule> &record, bool removed)
{
    if (m_journal && record)
        runLoggingErrors("journal of an appointment", [&] { m_journal->recordChanged(record, removed); });
}

void DayvexData::journalChange(const std::shared_ptr<ToDo> &record, bool removed)
{
    if (m_journal && record)
        runLoggingErrors("journal of a to-do", [&] { m_journal->recordChanged(record, removed); });
}

} // namespace dayvex
