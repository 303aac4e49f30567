#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/keyedcollection.h>

namespace dayvex {

// A list whose entries are stored under their own text; adding a text that is
// already there keeps the first entry and hands back an unstored one.
template <typename Entry>
class KeyedLookupList : public KeyedCollection<Entry>
{
public:
    std::shared_ptr<Entry> Add(const QString &Key, const QString &Tag = QString())
    {
        auto entry = std::make_shared<Entry>();
        entry->Key = Key;
        entry->Tag = Tag;
        try {
            this->append(entry, Key);
        } catch (const Error &) {
            // a duplicate place or category is simply kept once
        }
        return entry;
    }
};

class DAYVEX_CORE_EXPORT Places : public KeyedLookupList<Place>
{
};

class DAYVEX_CORE_EXPORT Categories : public KeyedLookupList<Category>
{
};

// Projects are appended without a key: duplicates are allowed and only
// positions find an entry.
class DAYVEX_CORE_EXPORT ActiveProjects : public KeyedCollection<ActiveProject>
{
public:
    std::shared_ptr<ActiveProject> Add(const QString &Key, const QString &Tag = QString());
};

// Users are appended without a key, so only positions find one; Add refuses a
// blank name and a name already present (trimmed, case-insensitive).
class DAYVEX_CORE_EXPORT Users : public KeyedCollection<User>
{
public:
    static constexpr qint32 InvalidUserError = Error::ObjectErrorBase + 2;   // -2147221502
    static constexpr qint32 DuplicateUserError = Error::ObjectErrorBase + 1; // -2147221503

    std::shared_ptr<User> Add(const QString &Key, const QString &Tag = QString());
    // Any failure of the removal is reported as an invalid user.
    void Remove(qint32 position);
    void Remove(const QString &key);
};

} // namespace dayvex
