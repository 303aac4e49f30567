#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <QString>
#include <QStringList>

namespace dayvex {

struct Schedule;

// What the views show of one appointment: the record's fields as the redraw
// found them (the texts shared, not copied) and the texts made of them, which
// are formatted when first asked for, so that a redraw pays only for what shows.
class DAYVEX_CORE_EXPORT AgendaEntry
{
public:
    AgendaEntry() = default;
    AgendaEntry(const Schedule &schedule, bool multiUser, const QString &dateFormat);

    QString key;
    QString description;
    Date start;
    Date end;
    qint32 color = 0; // 0x00BBGGRR; 0 for the default background
    bool series = false; // a series or one of its occurrences: a change asks which occurrences it is for

    // "hh:mm-hh:mm": the box's tag.
    const QString &times() const;
    // The appointment line: times, owner, place | contact | description.
    const QString &line() const;
    // The lines of a Modern box: what it is about, when, where; none for an empty field.
    QStringList modernLines() const;
    // Start and end in the date format, joined by "-".
    const QString &dates() const;
    const QString &place() const { return m_place; }
    const QString &owner() const { return m_owner; }

private:
    QString m_owner;
    QString m_place;
    QString m_contact;
    QString m_dateFormat;
    bool m_multiUser = false;
    mutable QString m_times;
    mutable QString m_line;
    mutable QString m_dates;
};

} // namespace dayvex
