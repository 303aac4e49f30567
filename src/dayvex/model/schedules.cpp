#include "schedules.h"

#include "numerickeys.h"
#include "sharedsettings.h"

#include <dayvex/platform/format.h>

#include <limits>

namespace dayvex {

Schedules::Schedules()
    : m_places(std::make_shared<dayvex::Places>()), m_largestKey(std::make_unique<detail::LargestNumericKey>())
{
}

void Schedules::keyStored(const QString &key) { m_largestKey->stored(key); }
void Schedules::keyRemoved(const QString &key) { m_largestKey->removed(key); }

Schedules::~Schedules() = default;

std::shared_ptr<Categories> Schedules::Categories()
{
    if (!m_categories)
        m_categories = std::make_shared<dayvex::Categories>();
    return m_categories;
}

void Schedules::setCategories(std::shared_ptr<dayvex::Categories> categories)
{
    m_categories = std::move(categories);
}

std::shared_ptr<Places> Schedules::Places()
{
    if (!m_places)
        m_places = std::make_shared<dayvex::Places>();
    return m_places;
}

void Schedules::setPlaces(std::shared_ptr<dayvex::Places> places)
{
    m_places = std::move(places);
}

qint32 Schedules::largestNumericKey() const
{
    return m_largestKey->value([this](auto consider) { forEachStoredKey(consider); });
}

QString Schedules::NewKey() const
{
    const qint32 largest = largestNumericKey();
    if (largest == std::numeric_limits<qint32>::max())
        throw Error::overflow(QStringLiteral("no appointment key is left after 2147483647"));
    return formatNumber(largest + 1, QStringLiteral("#0"));
}

std::shared_ptr<Schedule> Schedules::Add(const QString &Key, const QString &Owner, Date StartDate,
                                         Date EndDate, const QString &ContactCode,
                                         const QString &Contact, const QString &Category,
                                         const QString &Description, const QString &Place,
                                         Date ReminderDate, const QString &Tag, qint32 Color)
{
    auto schedule = std::make_shared<Schedule>();
    schedule->Key = Key;
    schedule->Owner = Owner;
    schedule->StartDate = StartDate;
    // Only the clock times are compared: an end on a later day at an earlier time
    // is shortened to one step too.
    if (EndDate.minuteOfDay() <= StartDate.minuteOfDay())
        schedule->EndDate = StartDate.addMinutes(sharedSettings().DayStepMinutes);
    else
        schedule->EndDate = EndDate;
    schedule->ContactCode = ContactCode;
    schedule->Contact = Contact;
    schedule->Category = Category;
    schedule->Description = Description;
    schedule->Place = Place;
    schedule->ReminderDate = ReminderDate;
    schedule->Tag = Tag;
    schedule->Color = Color;

    append(schedule, Key);

    const QString place = Place.trimmed();
    if (!place.isEmpty() && m_places)
        m_places->Add(place);
    const QString category = Category.trimmed();
    if (!category.isEmpty() && m_categories)
        m_categories->Add(category);
    return schedule;
}

void Schedules::AddSorted(const std::shared_ptr<Schedule> &schedule)
{
    for (const std::shared_ptr<Schedule> &entry : *this) {
        if (entry->StartDate > schedule->StartDate) {
            insertBefore(schedule, schedule->Key, entry->Key);
            return;
        }
    }
    append(schedule, schedule->Key);
}

} // namespace dayvex
