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

std::shared_ptr<Alarms> Alarms::build(std::vector<Source> sources)
{
    std::vector<size_t> order(sources.size());
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = i;
    std::stable_sort(order.begin(), order.end(),
                     [&sources](size_t a, size_t b) { return dueBefore(sources[a].due, sources[b].due); });
    auto list = std::make_shared<Alarms>();
    auto builtFrom = std::make_unique<BuiltFrom>();
    builtFrom->types[0] = QStringLiteral("S");
    builtFrom->types[1] = QStringLiteral("T");
    for (size_t i : order) {
        Source &source = sources[i];
        auto alarm = std::make_shared<Alarm>();
        alarm->Key = keyFor(source.kind, source.recordKey);
        alarm->AlarmType = builtFrom->typeOf(source.kind);
        alarm->AlarmEventKey = source.recordKey;
        alarm->AlarmDateTime = source.due;
        try {
            list->append(alarm, alarm->Key);
            source.position = list->Count() - 1;
            source.alarmKey = alarm->Key;
        } catch (const Error &) {
            // two records whose keys differ only in case share one alarm key: the first one wins
        }
    }
    builtFrom->sources = std::move(sources);
    builtFrom->revision = list->revision();
    list->m_builtFrom = std::move(builtFrom);
    return list;
}

bool Alarms::alarmsAsBuilt() const
{
    for (const Source &source : m_builtFrom->sources) {
        if (source.position < 0)
            continue;
        const Alarm &alarm = *Item(source.position + 1);
        // Texts still shared with the build need no reading; others must read the same.
        if (alarm.AlarmChanged || alarm.Showing || !alarm.Tag.isEmpty() || alarm.AlarmDateTime.value() != source.due.value()
            || !(sameText(alarm.AlarmType, m_builtFrom->typeOf(source.kind)) || alarm.AlarmType == QString(source.kind))
            || !(sameText(alarm.AlarmEventKey, source.recordKey) || alarm.AlarmEventKey == source.recordKey)
            || !(sameText(alarm.Key, source.alarmKey) || alarm.Key == source.alarmKey))
            return false;
    }
    return true;
}

} // namespace dayvex
