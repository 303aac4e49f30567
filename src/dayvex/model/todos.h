#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/keyedcollection.h>

namespace dayvex {

namespace detail {
class LargestNumericKey;
}

// The to-do activities of one DayvexData.
class DAYVEX_CORE_EXPORT ToDoS : public KeyedCollection<ToDo>
{
public:
    ToDoS();
    ~ToDoS() override;

    // Created on first read unless the host set one.
    std::shared_ptr<dayvex::ActiveProjects> ActiveProjects();
    void setActiveProjects(std::shared_ptr<dayvex::ActiveProjects> projects);

    // One more than the largest numeric key present; unlike Schedules::NewKey
    // this counts on in floating point, so 2147483647 is followed by "2147483648".
    QString NewKey() const;

    // Stores a new to-do under Key, fields unchanged; the project is not collected.
    std::shared_ptr<ToDo> Add(const QString &Key, const QString &Owner, const QString &ShortDesc,
                              const QString &LongDesc, Date DueTo, qint16 Priority,
                              const QString &Project, bool Done, Date DateDone, Date ReminderDate,
                              const QString &Tag = QString());

private:
    void keyStored(const QString &key) override;
    void keyRemoved(const QString &key) override;
    qint32 largestNumericKey() const;

    std::shared_ptr<dayvex::ActiveProjects> m_projects;
    std::unique_ptr<detail::LargestNumericKey> m_largestKey;
};

} // namespace dayvex
