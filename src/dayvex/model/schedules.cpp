#include "schedules.h"

#include "numerickeys.h"
#include "startorder.h"
#include "sharedsettings.h"

#include <dayvex/platform/format.h>

#include <limits>

namespace dayvex {

Schedules::Schedules()
    : m_places(std::make_shared<dayvex::Places>()), m_largestKey(std::make_unique<detail::LargestNumericKey>()),
      m_order(std::make_unique<StartOrder>())
{
    m_order->m_records = this;
}

void Schedules::keyStored(const QString &key) { m_largestKey->stored(key); }
void Schedules::entryInserted(size_t index) { m_order->inserted(index); }
void Schedules::entryErased(size_t index, const Pointer &) { m_order->erased(index); }

const StartOrder &Schedules::verifiedOrder() const
{
    m_order->verify();
    return *m_order;
}
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
    Schedule filled;
    filled.Key = Key;
    filled.Owner = Owner;
    filled.StartDate = StartDate;
    filled.EndDate = EndDate;
    filled.ContactCode = ContactCode;
    filled.Contact = Contact;
    filled.Category = Category;
    filled.Description = Description;
    filled.Place = Place;
    filled.ReminderDate = ReminderDate;
    filled.Tag = Tag;
    filled.Color = Color;
    return addWithStep(filled, sharedSettings().DayStepMinutes);
}

std::shared_ptr<Schedule> Schedules::Add(const Schedule &filled)
{
    return addWithStep(filled, sharedSettings().DayStepMinutes);
}

std::shared_ptr<Schedule> Schedules::addWithStep(const Schedule &filled, qint16 stepMinutes)
{
    auto schedule = std::make_shared<Schedule>(filled);
    // Only the clock times are compared: an end on a later day at an earlier time
    // is shortened to one step too.
    if (filled.EndDate.minuteOfDay() <= filled.StartDate.minuteOfDay())
        schedule->EndDate = filled.StartDate.addMinutes(stepMinutes);

    append(schedule, filled.Key);

    const QString place = filled.Place.trimmed();
    if (!place.isEmpty() && m_places)
        m_places->collect(place);
    const QString category = filled.Category.trimmed();
    if (!category.isEmpty() && m_categories)
        m_categories->collect(category);
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
