#include "alarms.h"

#include <algorithm>

namespace dayvex {

QString Alarms::keyFor(QChar kind, const QString &recordKey)
{
    return kind + recordKey.trimmed();
}

void Alarms::setFor(QChar kind, const QString &recordKey, Date due)
{
    const QString key = keyFor(kind, recordKey);
    Remove(key); // a stale alarm of a removed record with the same key goes too
    if (isPending(due))
        Add(key, QString(kind), recordKey, due, false, key);
}

std::shared_ptr<Alarm> Alarms::Add(const QString &Key, const QString &AlarmType,
                                   const QString &AlarmEventKey, Date AlarmDateTime,
                                   bool AlarmChanged, const QString &sKey, const QString &Tag)
{
    auto alarm = std::make_shared<Alarm>();
    alarm->Key = Key;
    alarm->AlarmType = AlarmType;
    alarm->AlarmEventKey = AlarmEventKey;
    alarm->AlarmDateTime = AlarmDateTime;
    alarm->AlarmChanged = AlarmChanged;
    alarm->Showing = false;
    alarm->Tag = Tag;

    for (const std::shared_ptr<Alarm> &existing : *this) {
        if (dueBefore(AlarmDateTime, existing->AlarmDateTime)) {
            // Found by the later alarm's Key property, which must equal its stored key.
            insertBefore(alarm, sKey, existing->Key);
            return alarm;
        }
    }
    append(alarm, sKey);
    return alarm;
}

void Alarms::Remove(qint32 position)
{
    if (position >= 1 && position <= Count())
        KeyedCollection::Remove(position);
}

void Alarms::Remove(const QString &key)
{
    if (find(key))
        KeyedCollection::Remove(key);
}

void Alarms::appendInOrder(std::vector<std::shared_ptr<Alarm>> alarms)
{
    std::stable_sort(alarms.begin(), alarms.end(), [](const auto &a, const auto &b) {
        return dueBefore(a->AlarmDateTime, b->AlarmDateTime);
    });
    for (std::shared_ptr<Alarm> &alarm : alarms) {
        try {
            append(alarm, alarm->Key);
        } catch (const Error &) {
            // two records whose keys differ only in case share one alarm key: the first one wins
        }
    }
}

} // namespace dayvex
