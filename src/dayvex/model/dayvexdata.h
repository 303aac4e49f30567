#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/alarms.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/schedules.h>
#include <dayvex/model/todos.h>

#include <memory>

namespace dayvex {

/// The agenda a host hands to the control: appointments, to-dos and users, and
/// the control's own list of pending alarms. Each part is created on first read;
/// the host may set shared parts (one Schedules in several containers).
class DAYVEX_CORE_EXPORT DayvexData
{
public:
    /// An agenda with no parts yet: each is created on its first read.
    DayvexData();
    DayvexData(const DayvexData &) = delete;            ///< Not copyable: share it through a pointer.
    DayvexData &operator=(const DayvexData &) = delete; ///< Not copyable: share it through a pointer.
    /// Releases the alarms, users, appointments and to-dos, in that order.
    ~DayvexData();

    /// Releases the alarms, users, appointments and to-dos, in that order. The
    /// next read yields new empty parts; a host holding the old ones keeps them.
    void Clear();

    /// The users, created empty on first read.
    std::shared_ptr<dayvex::Users> Users();
    /// Sets the users, which may be shared; null makes the next read create new ones.
    void setUsers(std::shared_ptr<dayvex::Users> users);
    /// The appointments, created empty on first read.
    std::shared_ptr<dayvex::Schedules> Schedules();
    /// Sets the appointments, which may be shared; null makes the next read create new ones.
    void setSchedules(std::shared_ptr<dayvex::Schedules> schedules);
    /// The to-dos, created empty on first read.
    std::shared_ptr<dayvex::ToDoS> ToDoS();
    /// Sets the to-dos, which may be shared; null makes the next read create new ones.
    void setToDoS(std::shared_ptr<dayvex::ToDoS> todos);

    /// Internal to the component: the pending alarms, created empty on first read.
    std::shared_ptr<dayvex::Alarms> Alarms();
    /// Internal to the component: sets the pending alarms.
    void setAlarms(std::shared_ptr<dayvex::Alarms> alarms);

private:
    // Declared in reverse release order: destruction releases alarms first.
    std::shared_ptr<dayvex::ToDoS> m_todos;
    std::shared_ptr<dayvex::Schedules> m_schedules;
    std::shared_ptr<dayvex::Users> m_users;
    std::shared_ptr<dayvex::Alarms> m_alarms;
};

} // namespace dayvex
