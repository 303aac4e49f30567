#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/keyedcollection.h>

namespace dayvex {

namespace detail {
class LargestNumericKey;
}
class StartOrder;

/// The appointments of one DayvexData. Adding an appointment collects its place
/// and category into the lookup lists.
class DAYVEX_CORE_EXPORT Schedules : public KeyedCollection<Schedule>
{
public:
    /// An empty list with an empty list of places; the categories wait for their first read.
    Schedules();
    /// Releases the categories, then the places, then the appointments.
    ~Schedules() override;

    /// The categories of added appointments. Created on first read unless the host
    /// set one: until then the categories of added appointments are not collected.
    std::shared_ptr<dayvex::Categories> Categories();
    /// Sets the category list, which may be shared; null leaves categories uncollected until the next read.
    void setCategories(std::shared_ptr<dayvex::Categories> categories);
    /// The places of added appointments; created with the list, and again on a read after setPlaces(nullptr).
    std::shared_ptr<dayvex::Places> Places();
    /// Sets the place list, which may be shared; null leaves places uncollected until the next read.
    void setPlaces(std::shared_ptr<dayvex::Places> places);

    /// One more than the largest numeric key present ("1" when there is none).
    /// Throws Error::Overflow when that would pass 2147483647.
    QString NewKey() const;

    /// Stores a new appointment under Key and returns it. When the end's time of day is not
    /// after the start's (only hours and minutes are compared, not the days),
    /// the end becomes the start plus the shared DayStepMinutes. The trimmed Place and
    /// Category join Places and Categories when those lists exist. Throws Error 457 when
    /// Key is already stored (case ignored); an empty Key stores it without a key.
    std::shared_ptr<Schedule> Add(const QString &Key, const QString &Owner, Date StartDate,
                                  Date EndDate, const QString &ContactCode, const QString &Contact,
                                  const QString &Category, const QString &Description,
                                  const QString &Place, Date ReminderDate,
                                  const QString &Tag = QString(), qint32 Color = 0);

    /// Stores a copy of filled under filled.Key and returns it, by the rules of the
    /// positional Add: the same end correction, lookup lists and Error 457. Set
    /// only the fields that matter; the others keep their empty defaults.
    std::shared_ptr<Schedule> Add(const Schedule &filled);

    /// Internal to the component: Add of filled, correcting an end that is not
    /// after the start by stepMinutes (a control's own DayStepMinutes).
    std::shared_ptr<Schedule> addWithStep(const Schedule &filled, qint16 stepMinutes);

    /// Internal to the component: inserts an existing record after every entry
    /// that starts no later than it, under the record's own Key (Error 457 when taken).
    void AddSorted(const std::shared_ptr<Schedule> &schedule);

    /// Internal to the component: the appointments by start, made true to the
    /// records as they are now. Records added and removed since the last call are
    /// already placed; the records are then read once for starts and ends that
    /// changed in place, and those are placed anew. Ask once per redraw.
    const StartOrder &verifiedOrder() const;

private:
    friend class StartOrder;
    void keyStored(const QString &key) override;
    void keyRemoved(const QString &key) override;
    void entryInserted(size_t index) override;
    void entryErased(size_t index, const Pointer &) override;
    qint32 largestNumericKey() const;

    // Declared so that destruction releases the categories, then the places.
    std::shared_ptr<dayvex::Places> m_places;
    std::shared_ptr<dayvex::Categories> m_categories;
    std::unique_ptr<detail::LargestNumericKey> m_largestKey;
    std::unique_ptr<StartOrder> m_order;
};

} // namespace dayvex
