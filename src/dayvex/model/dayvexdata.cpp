#include "dayvexdata.h"

namespace dayvex {

template <typename Part>
static const std::shared_ptr<Part> &created(std::shared_ptr<Part> &part)
{
    if (!part)
        part = std::make_shared<Part>();
    return part;
}

DayvexData::DayvexData() = default;
DayvexData::~DayvexData() = default;

void DayvexData::Clear()
{
    m_alarms.reset();
    m_users.reset();
    m_schedules.reset();
    m_todos.reset();
}

std::shared_ptr<Users> DayvexData::Users() { return created(m_users); }
void DayvexData::setUsers(std::shared_ptr<dayvex::Users> users) { m_users = std::move(users); }

std::shared_ptr<Schedules> DayvexData::Schedules() { return created(m_schedules); }
void DayvexData::setSchedules(std::shared_ptr<dayvex::Schedules> schedules) { m_schedules = std::move(schedules); }

std::shared_ptr<ToDoS> DayvexData::ToDoS() { return created(m_todos); }
void DayvexData::setToDoS(std::shared_ptr<dayvex::ToDoS> todos) { m_todos = std::move(todos); }

std::shared_ptr<Alarms> DayvexData::Alarms() { return created(m_alarms); }
void DayvexData::setAlarms(std::shared_ptr<dayvex::Alarms> alarms) { m_alarms = std::move(alarms); }

} // namespace dayvex
