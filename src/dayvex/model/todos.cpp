#include "todos.h"

#include "numerickeys.h"

#include <dayvex/platform/format.h>

namespace dayvex {

ToDoS::ToDoS() : m_largestKey(std::make_unique<detail::LargestNumericKey>()) {}

// Members go before the base: the project list is released before the collection.
ToDoS::~ToDoS() = default;

void ToDoS::keyStored(const QString &key) { m_largestKey->stored(key); }
void ToDoS::keyRemoved(const QString &key) { m_largestKey->removed(key); }

std::shared_ptr<ActiveProjects> ToDoS::ActiveProjects()
{
    if (!m_projects)
        m_projects = std::make_shared<dayvex::ActiveProjects>();
    return m_projects;
}

void ToDoS::setActiveProjects(std::shared_ptr<dayvex::ActiveProjects> projects)
{
    m_projects = std::move(projects);
}

qint32 ToDoS::largestNumericKey() const
{
    return m_largestKey->value([this](auto consider) { forEachStoredKey(consider); });
}

QString ToDoS::NewKey() const
{
    const qint32 largest = largestNumericKey();
    // Counted on through the text and a floating-point sum: no 32-bit overflow here.
    return formatNumber(val(QString::number(largest)) + 1.0, QStringLiteral("#0"));
}

std::shared_ptr<ToDo> ToDoS::Add(const QString &Key, const QString &Owner, const QString &ShortDesc,
                                 const QString &LongDesc, Date DueTo, qint16 Priority,
                                 const QString &Project, bool Done, Date DateDone,
                                 Date ReminderDate, const QString &Tag)
{
    ToDo filled;
    filled.Key = Key;
    filled.Owner = Owner;
    filled.ShortDesc = ShortDesc;
    filled.LongDesc = LongDesc;
    filled.DueTo = DueTo;
    filled.Priority = Priority;
    filled.Project = Project;
    filled.Done = Done;
    filled.DateDone = DateDone;
    filled.ReminderDate = ReminderDate;
    filled.Tag = Tag;
    return Add(filled);
}

std::shared_ptr<ToDo> ToDoS::Add(const ToDo &filled)
{
    auto todo = std::make_shared<ToDo>(filled);
    append(todo, filled.Key);
    return todo;
}

} // namespace dayvex
