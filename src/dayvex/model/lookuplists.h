#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/keyedcollection.h>

namespace dayvex {

/// A list whose entries are stored under their own text; adding a text that is
/// already there keeps the first entry and hands back an unstored one.
template <typename Entry>
class KeyedLookupList : public KeyedCollection<Entry>
{
public:
    /// Appends an entry with Key and Tag under Key and returns it; never throws for a duplicate.
    std::shared_ptr<Entry> Add(const QString &Key, const QString &Tag = QString())
    {
        auto entry = std::make_shared<Entry>();
        entry->Key = Key;
        entry->Tag = Tag;
        this->tryAppend(entry, Key); // a duplicate place or category is simply kept once
        return entry;
    }
    /// Internal to the component: Add for a text that only has to be there; a text
    /// already stored costs a look-up and nothing more.
    void collect(const QString &Key)
    {
        if (this->find(Key))
            return;
        auto entry = std::make_shared<Entry>();
        entry->Key = Key;
        this->tryAppend(std::move(entry), Key);
    }
};

/// The places of a Schedules' appointments, each stored once.
class DAYVEX_CORE_EXPORT Places : public KeyedLookupList<Place>
{
};

/// The categories of a Schedules' appointments, each stored once.
class DAYVEX_CORE_EXPORT Categories : public KeyedLookupList<Category>
{
};

/// The projects of the to-dos. Projects are appended without a key: duplicates
/// are allowed and only positions find an entry.
class DAYVEX_CORE_EXPORT ActiveProjects : public KeyedCollection<ActiveProject>
{
public:
    /// Appends a project with Key and Tag and returns it.
    std::shared_ptr<ActiveProject> Add(const QString &Key, const QString &Tag = QString());
};

/// The users of the agenda. Users are appended without a key, so only positions find one;
/// Add refuses a blank name and a name already present (trimmed, case-insensitive).
/// The names are compared as the users were stored: a Key that a host rewrites in
/// place afterwards is not compared anew.
class DAYVEX_CORE_EXPORT Users : public KeyedCollection<User>
{
public:
    static constexpr qint32 InvalidUserError = Error::ObjectErrorBase + 2;   ///< A blank or unknown user: -2147221502.
    static constexpr qint32 DuplicateUserError = Error::ObjectErrorBase + 1; ///< A name already present: -2147221503.

    /// Appends a user named Key and returns it. Throws InvalidUserError for a blank
    /// name and DuplicateUserError for a name already present.
    std::shared_ptr<User> Add(const QString &Key, const QString &Tag = QString());
    /// Removes the user at position (from 1). Any failure of the removal is
    /// reported as an invalid user (InvalidUserError).
    void Remove(qint32 position);
    /// Removes by key; as users are stored without keys, this always throws InvalidUserError.
    void Remove(const QString &key);

private:
    void entryInserted(size_t index) override;
    void entryErased(size_t index, const Pointer &user) override;
    static QString nameOf(const QString &key) { return key.trimmed().toUpper(); }

    // How many users were stored under each name, and each one's name as stored,
    // in position order: Add looks a name up instead of reading every user.
    QHash<QString, qint32> m_names;
    std::vector<QString> m_storedNames;
};

} // namespace dayvex
