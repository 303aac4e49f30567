#include "lookuplists.h"

namespace dayvex {

std::shared_ptr<ActiveProject> ActiveProjects::Add(const QString &Key, const QString &Tag)
{
    auto project = std::make_shared<ActiveProject>();
    project->Key = Key;
    project->Tag = Tag;
    append(project, QString());
    return project;
}

static Error invalidUser()
{
    return Error::objectError(2, QStringLiteral("Nominativo utente non valido."));
}

std::shared_ptr<User> Users::Add(const QString &Key, const QString &Tag)
{
    const QString name = nameOf(Key);
    if (name.isEmpty())
        throw invalidUser();
    if (m_names.contains(name))
        throw Error::objectError(1, QStringLiteral("Nominativo utente già presente."));
    auto user = std::make_shared<User>();
    user->Key = Key;
    user->Tag = Tag;
    append(user, QString());
    return user;
}

void Users::entryInserted(size_t index)
{
    QString name = nameOf(at(index)->Key);
    ++m_names[name];
    m_storedNames.insert(m_storedNames.begin() + qsizetype(index), std::move(name));
}

void Users::entryErased(size_t index, const Pointer &)
{
    const auto it = m_names.find(m_storedNames[index]);
    if (--it.value() == 0)
        m_names.erase(it);
    m_storedNames.erase(m_storedNames.begin() + qsizetype(index));
}

void Users::Remove(qint32 position)
{
    try {
        KeyedCollection::Remove(position);
    } catch (const Error &) {
        throw invalidUser();
    }
}

void Users::Remove(const QString &key)
{
    try {
        KeyedCollection::Remove(key);
    } catch (const Error &) {
        throw invalidUser();
    }
}

} // namespace dayvex
