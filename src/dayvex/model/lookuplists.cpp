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
    const QString name = Key.trimmed().toUpper();
    if (name.isEmpty())
        throw invalidUser();
    for (const std::shared_ptr<User> &user : *this) {
        if (user->Key.trimmed().toUpper() == name)
            throw Error::objectError(1, QStringLiteral("Nominativo utente già presente."));
    }
    auto user = std::make_shared<User>();
    user->Key = Key;
    user->Tag = Tag;
    append(user, QString());
    return user;
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
