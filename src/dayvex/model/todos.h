#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/keyedcollection.h>

namespace dayvex {

namespace detail {
class LargestNumericKey;
}

/// The to-do activities of one DayvexData.
class DAYVEX_CORE_EXPORT ToDoS : public KeyedCollection<ToDo>
{
public:
    /// An empty list.
    ToDoS();
    /// Releases the project list, then the to-dos.
    ~ToDoS() override;

    /// The project list. Created on first read unless the host set one.
    std::shared_ptr<dayvex::ActiveProjects> ActiveProjects();
    /// Sets the project list, which may be shared; null makes the next read create a new one.
    void setActiveProjects(std::shared_ptr<dayvex::ActiveProjects> projects);

    /// One more than the largest numeric key present ("1" when there is none); unlike
    /// Schedules::NewKey this counts on in floating point, so 2147483647 is followed by
    /// "2147483648". Throws Error::Overflow once a stored key passes 2147483647.
    QString NewKey() const;

    /// Stores a new to-do under Key, fields unchanged, and returns it; the project is not
    /// collected. Throws Error 457 when Key is already stored (case ignored).
    std::shared_ptr<ToDo> Add(const QString &Key, const QString &Owner, const QString &ShortDesc,
                              const QString &LongDesc, Date DueTo, qint16 Priority,
                              const QString &Project, bool Done, Date DateDone, Date ReminderDate,
                              const QString &Tag = QString());
    /// Stores a copy of filled under filled.Key and returns it, as the positional Add does.
    std::shared_ptr<ToDo> Add(const ToDo &filled);

private:
    void keyStored(const QString &key) override;
    void keyRemoved(const QString &key) override;
    qint32 largestNumericKey() const;

    std::shared_ptr<dayvex::ActiveProjects> m_projects;
    std::unique_ptr<detail::LargestNumericKey> m_largestKey;
};

} // namespace dayvex
