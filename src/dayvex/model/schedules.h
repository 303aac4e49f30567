#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/lookuplists.h>
#include <dayvex/model/records.h>
#include <dayvex/platform/keyedcollection.h>

namespace dayvex {

namespace detail {
class LargestNumericKey;
}

// The appointments of one DayvexData. Adding an appointment collects its place
// and category into the lookup lists.
class DAYVEX_CORE_EXPORT Schedules : public KeyedCollection<Schedule>
{
public:
    Schedules();
    ~Schedules() override;

    // Created on first read unless the host set one: until then the categories
    // of added appointments are not collected.
    std::shared_ptr<dayvex::Categories> Categories();
    void setCategories(std::shared_ptr<dayvex::Categories> categories);
    std::shared_ptr<dayvex::Places> Places();
    void setPlaces(std::shared_ptr<dayvex::Places> places);

    // One more than the largest numeric key present ("1" when there is none).
    // Throws Error::Overflow when that would pass 2147483647.
    QString NewKey() const;

    // Stores a new appointment under Key. When the end's time of day is not
    // after the start's (only hours and minutes are compared, not the days),
    // the end becomes the start plus the shared DayStepMinutes.
    std::shared_ptr<Schedule> Add(const QString &Key, const QString &Owner, Date StartDate,
                                  Date EndDate, const QString &ContactCode, const QString &Contact,
                                  const QString &Category, const QString &Description,
                                  const QString &Place, Date ReminderDate,
                                  const QString &Tag = QString(), qint32 Color = 0);

    // Internal to the component: inserts an existing record after every entry
    // that starts no later than it, under the record's own Key.
    void AddSorted(const std::shared_ptr<Schedule> &schedule);

private:
    void keyStored(const QString &key) override;
    void keyRemoved(const QString &key) override;
    qint32 largestNumericKey() const;

    // Declared so that destruction releases the categories, then the places.
    std::shared_ptr<dayvex::Places> m_places;
    std::shared_ptr<dayvex::Categories> m_categories;
    std::unique_ptr<detail::LargestNumericKey> m_largestKey;
};

} // namespace dayvex
