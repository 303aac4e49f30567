#pragma once

#include <dayvex/platform/error.h>

#include <QHash>
#include <QString>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace dayvex {

/// The ordered collection behind every list of the object model: 1-based dense
/// positions, optional string keys compared without regard to case, insertion
/// before a keyed entry, error 457 for a duplicate key and 5 for a bad position
/// or key. Entries are shared records; the collection hands out the same pointers.
template <typename T>
class KeyedCollection
{
public:
    using Pointer = std::shared_ptr<T>; ///< An entry: a record shared with the host.

private:
    struct Entry
    {
        Pointer item;
        QString foldedKey; // empty: stored without a key
    };
    using Storage = std::vector<Entry>;

public:
    /// Walks the entries in position order, yielding their pointers.
    class const_iterator
    {
    public:
        using iterator_category = std::forward_iterator_tag; ///< A forward iterator.
        using value_type = Pointer;                          ///< What it yields: an entry.
        using difference_type = std::ptrdiff_t;              ///< The distance between two iterators.
        using pointer = const Pointer *;                     ///< A pointer to an entry.
        using reference = const Pointer &;                   ///< A reference to an entry.

        /// An iterator into no collection.
        const_iterator() = default;
        reference operator*() const { return m_it->item; }      ///< The entry it is at.
        pointer operator->() const { return &m_it->item; }      ///< The entry it is at.
        const_iterator &operator++() { ++m_it; return *this; }  ///< Moves to the next entry.
        /// Moves to the next entry, returning where it was.
        const_iterator operator++(int) { const_iterator old = *this; ++m_it; return old; }
        /// Whether both are at the same entry of the same collection.
        friend bool operator==(const const_iterator &a, const const_iterator &b) { return a.m_it == b.m_it; }

    private:
        friend class KeyedCollection;
        explicit const_iterator(typename Storage::const_iterator it) : m_it(it) {}
        typename Storage::const_iterator m_it;
    };

    /// An empty collection.
    KeyedCollection() = default;
    KeyedCollection(const KeyedCollection &) = delete;            ///< Not copyable: share it through a pointer.
    KeyedCollection &operator=(const KeyedCollection &) = delete; ///< Not copyable: share it through a pointer.
    /// Releases the collection's hold on its entries.
    virtual ~KeyedCollection() = default;

    /// The number of entries.
    qint32 Count() const { return qint32(m_entries.size()); }

    /// The entry at position, from 1; throws Error 5 outside 1 to Count().
    const Pointer &Item(qint32 position) const
    {
        return m_entries[indexOf(position)].item;
    }
    /// The entry stored under key (case ignored); throws Error 5 when there is none.
    const Pointer &Item(const QString &key) const
    {
        const auto it = m_byKey.constFind(fold(key));
        if (it == m_byKey.cend())
            throw Error::invalidArgument(QStringLiteral("no entry has the key \"%1\"").arg(key));
        return it.value();
    }

    /// Removes the entry at position, from 1; throws Error 5 outside 1 to Count().
    void Remove(qint32 position) { eraseAt(indexOf(position)); }
    /// Removes the entry stored under key (case ignored); throws Error 5 when there is none.
    void Remove(const QString &key) { eraseAt(indexOfKey(key)); }

    const_iterator begin() const { return const_iterator(m_entries.cbegin()); } ///< At the first entry.
    const_iterator end() const { return const_iterator(m_entries.cend()); }     ///< Past the last entry.

    /// The entry under key, or null: a look-up that does not throw.
    Pointer find(const QString &key) const { return m_byKey.value(fold(key)); }
    /// Internal to the component: appends item as it was kept, under key (none
    /// when empty), without any of an Add's corrections: how a store restores a
    /// list. Throws Error 457 when key is taken.
    void restore(Pointer item, const QString &key) { append(std::move(item), key); }

    /// Internal to the component: onChange is called after every add and remove
    /// until unwatch() with the number this returns.
    int watch(std::function<void()> onChange)
    {
        m_watchers.emplace_back(++m_lastWatch, std::move(onChange));
        return m_lastWatch;
    }
    /// Internal to the component: ends a watch() (an unknown number is ignored).
    void unwatch(int id)
    {
        std::erase_if(m_watchers, [id](const auto &watcher) { return watcher.first == id; });
    }

protected:
    /// Counts every insertion and removal, so that a memo of the entries can tell
    /// whether they are still the ones it saw.
    quint64 revision() const { return m_revision; }

    /// Told of every key stored (case-folded; entries without a key are not told).
    virtual void keyStored(const QString &) {}
    /// Told of every key removed (case-folded; entries without a key are not told).
    virtual void keyRemoved(const QString &) {}
    /// Calls f with the case-folded key of every entry stored under one, in position order.
    template <typename F>
    void forEachStoredKey(F f) const
    {
        for (const Entry &entry : m_entries) {
            if (!entry.foldedKey.isEmpty())
                f(entry.foldedKey);
        }
    }

    /// Appends item under key (an empty key stores it without one); throws Error 457 when key is taken.
    void append(Pointer item, const QString &key)
    {
        insertAt(m_entries.size(), std::move(item), key);
    }
    /// append, except that a key already taken leaves the collection as it is and
    /// returns false instead of throwing: a lookup list meets its duplicates often.
    bool tryAppend(Pointer item, const QString &key)
    {
        QString folded = fold(key);
        if (!folded.isEmpty() && m_byKey.contains(folded))
            return false;
        store(m_entries.size(), std::move(item), std::move(folded));
        return true;
    }
    /// Inserts item under key at index (from 0, up to Count()); throws Error 457 when key is taken.
    void insertAtIndex(size_t index, Pointer item, const QString &key) { insertAt(index, std::move(item), key); }
    /// Told after an entry was inserted at index (from 0) and before the watchers.
    virtual void entryInserted(size_t) {}
    /// Told after item, the entry at index (from 0), was erased and before the watchers.
    virtual void entryErased(size_t, const Pointer &) {}
    /// The entry at index, from 0, unchecked.
    const Pointer &at(size_t index) const { return m_entries[index].item; }

    /// Inserts item under key immediately before the entry stored under beforeKey.
    /// Throws Error 5 when no entry has beforeKey, 457 when key is taken.
    void insertBefore(Pointer item, const QString &key, const QString &beforeKey)
    {
        insertAt(indexOfKey(beforeKey), std::move(item), key);
    }

private:
    static QString fold(const QString &key) { return key.toCaseFolded(); }

    size_t indexOf(qint32 position) const
    {
        if (position < 1 || position > Count())
            throw Error::invalidArgument(QStringLiteral("position %1 is not between 1 and %2")
                                             .arg(position).arg(Count()));
        return size_t(position - 1);
    }
    size_t indexOfKey(const QString &key) const
    {
        const QString folded = fold(key);
        const auto found = folded.isEmpty() ? m_byKey.cend() : m_byKey.constFind(folded);
        if (found != m_byKey.cend()) {
            // Entries are told apart by their records: comparing pointers costs less than texts.
            const T *item = found.value().get();
            for (size_t i = 0; i < m_entries.size(); ++i) {
                if (m_entries[i].item.get() == item && m_entries[i].foldedKey == folded)
                    return i;
            }
        }
        throw Error::invalidArgument(QStringLiteral("no entry has the key \"%1\"").arg(key));
    }
    void insertAt(size_t index, Pointer item, const QString &key)
    {
        QString folded = fold(key);
        if (!folded.isEmpty() && m_byKey.contains(folded))
            throw Error::duplicateKey();
        store(index, std::move(item), std::move(folded));
    }
    void store(size_t index, Pointer item, QString folded)
    {
        if (!folded.isEmpty())
            m_byKey.insert(folded, item);
        m_entries.insert(m_entries.begin() + qsizetype(index), Entry{std::move(item), folded});
        ++m_revision;
        if (!folded.isEmpty())
            keyStored(folded);
        entryInserted(index);
        changed();
    }
    void eraseAt(size_t index)
    {
        const QString folded = m_entries[index].foldedKey;
        const Pointer item = m_entries[index].item;
        if (!folded.isEmpty())
            m_byKey.remove(folded);
        m_entries.erase(m_entries.begin() + qsizetype(index));
        ++m_revision;
        if (!folded.isEmpty())
            keyRemoved(folded);
        entryErased(index, item);
        changed();
    }
    void changed() const
    {
        for (const auto &watcher : m_watchers)
            watcher.second();
    }

    Storage m_entries;
    QHash<QString, Pointer> m_byKey;
    quint64 m_revision = 0;
    std::vector<std::pair<int, std::function<void()>>> m_watchers;
    int m_lastWatch = 0;
};

} // namespace dayvex
