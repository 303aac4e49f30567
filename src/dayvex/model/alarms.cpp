#include "alarms.h"

#include <QSet>

#include <algorithm>
#include <cmath>

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
        if (list->tryAppend(alarm, alarm->Key)) {
            source.alarm = alarm.get();
            source.alarmKey = alarm->Key;
        } else {
            // two records whose keys differ only in case share one alarm key: the first one wins
            builtFrom->keysClash = true;
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
        if (!source.alarm)
            continue;
        const Alarm &alarm = *source.alarm;
        // Texts still shared with the build need no reading; others must read the same.
        if (alarm.AlarmChanged || alarm.Showing || !alarm.Tag.isEmpty() || alarm.AlarmDateTime.value() != source.due.value()
            || !(sameText(alarm.AlarmType, m_builtFrom->typeOf(source.kind)) || alarm.AlarmType == QString(source.kind))
            || !(sameText(alarm.AlarmEventKey, source.recordKey) || alarm.AlarmEventKey == source.recordKey)
            || !(sameText(alarm.Key, source.alarmKey) || alarm.Key == source.alarmKey))
            return false;
    }
    return true;
}

void Alarms::entryInserted(size_t index)
{
    // An alarm put in by Add or a store: not from a record, until the next redraw settles it.
    if (m_builtFrom && !m_following) {
        m_builtFrom->unsourced.push_back(at(index).get());
        m_builtFrom->revision = revision();
    }
}

void Alarms::entryErased(size_t, const Pointer &alarm)
{
    if (!m_builtFrom || m_following)
        return;
    std::erase(m_builtFrom->unsourced, alarm.get());
    // Its record, if it still has a reminder, must have its alarm again.
    for (Source &source : m_builtFrom->sources) {
        if (source.alarm == alarm.get()) {
            source.alarm = nullptr;
            source.due = Date(std::nan(""));
            break;
        }
    }
    m_builtFrom->revision = revision();
}

qsizetype Alarms::placeFor(Date due, const std::vector<Source> &sources, size_t before) const
{
    // The list is in due order (alarmsAsBuilt said so), equal dues in record order.
    qsizetype low = 0, high = Count();
    while (low < high) {
        const qsizetype mid = (low + high) / 2;
        if (dueBefore(at(size_t(mid))->AlarmDateTime, due))
            low = mid + 1;
        else
            high = mid;
    }
    qsizetype end = low;
    while (end < Count() && !dueBefore(due, at(size_t(end))->AlarmDateTime))
        ++end;
    if (end == low)
        return low;
    // Among the alarms of equal due, after the last one whose record comes earlier.
    for (size_t i = before; i-- > 0;) {
        const Source &source = sources[i];
        if (!source.alarm || dueBefore(source.due, due) || dueBefore(due, source.due))
            continue;
        for (qsizetype at = low; at < end; ++at) {
            if (this->at(size_t(at)).get() == source.alarm)
                return at + 1;
        }
    }
    return low;
}

bool Alarms::follow(size_t prefix, const std::vector<Source> &wanted)
{
    // Past this many changes a new list costs less than placing each one.
    constexpr size_t MaxChanges = 64;
    BuiltFrom &built = *m_builtFrom;
    if (built.keysClash)
        return false;
    const std::vector<Source> &had = built.sources;
    const auto same = [](const Source &a, const Source &b) {
        return a.kind == b.kind && a.record == b.record && sameText(a.recordKey, b.recordKey)
               && a.due.value() == b.due.value() && a.alarm;
    };
    // Both lists are in record order and records keep their order: walking them
    // side by side tells what was added, removed or changed, a record at a time.
    std::vector<size_t> gone;    // in had
    std::vector<size_t> arrived; // in wanted
    std::vector<Alarm *> kept(wanted.size(), nullptr);
    size_t i = prefix, j = 0;
    while (i < had.size() || j < wanted.size()) {
        if (gone.size() + arrived.size() > MaxChanges)
            return false;
        if (i < had.size() && j < wanted.size() && had[i].record == wanted[j].record && had[i].kind == wanted[j].kind) {
            if (same(had[i], wanted[j])) {
                kept[j] = had[i].alarm;
            } else {
                gone.push_back(i);
                arrived.push_back(j);
            }
            ++i;
            ++j;
        } else if (j < wanted.size()
                   && (i == had.size() || (j + 1 < wanted.size() && had[i].record == wanted[j + 1].record))) {
            arrived.push_back(j++);
        } else {
            // Gone, or further on among records added before it: placed anew then.
            gone.push_back(i++);
        }
    }

    // Every key that arrives must be free once the alarms that go have gone.
    QSet<QString> freed, taken;
    for (const size_t g : gone) {
        if (had[g].alarm)
            freed.insert(had[g].alarm->Key.toCaseFolded());
    }
    for (const Alarm *alarm : built.unsourced)
        freed.insert(alarm->Key.toCaseFolded());
    for (const size_t a : arrived) {
        const QString key = keyFor(wanted[a].kind, wanted[a].recordKey).toCaseFolded();
        if (taken.contains(key) || (find(key) && !freed.contains(key)))
            return false;
        taken.insert(key);
    }

    m_following = true;
    const auto eraseAlarm = [this](const Alarm *alarm) {
        const qsizetype index = placeFor(alarm->AlarmDateTime, {}, 0);
        for (qsizetype at = index; at < Count(); ++at) {
            if (this->at(size_t(at)).get() == alarm) {
                KeyedCollection::Remove(qint32(at + 1));
                return;
            }
        }
        for (qsizetype at = 0; at < Count(); ++at) { // a host's alarm out of due order
            if (this->at(size_t(at)).get() == alarm) {
                KeyedCollection::Remove(qint32(at + 1));
                return;
            }
        }
    };
    for (const size_t g : gone) {
        if (had[g].alarm)
            eraseAlarm(had[g].alarm);
    }
    for (const Alarm *alarm : built.unsourced)
        eraseAlarm(alarm);
    built.unsourced.clear();

    // The sources as built up to prefix, then wanted.
    std::vector<Source> &sources = built.sources;
    sources.erase(sources.begin() + qsizetype(prefix), sources.end());
    sources.insert(sources.end(), wanted.begin(), wanted.end());
    for (size_t k = 0; k < wanted.size(); ++k) {
        if (kept[k]) {
            sources[prefix + k].alarm = kept[k];
            sources[prefix + k].alarmKey = kept[k]->Key;
        }
    }
    for (const size_t a : arrived) {
        Source &source = sources[prefix + a];
        auto alarm = std::make_shared<Alarm>();
        alarm->Key = keyFor(source.kind, source.recordKey);
        alarm->AlarmType = built.typeOf(source.kind);
        alarm->AlarmEventKey = source.recordKey;
        alarm->AlarmDateTime = source.due;
        insertAtIndex(size_t(placeFor(source.due, sources, prefix + a)), alarm, alarm->Key);
        source.alarm = alarm.get();
        source.alarmKey = alarm->Key;
    }
    built.revision = revision();
    m_following = false;
    return true;
}

} // namespace dayvex
