#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <QColor>
#include <QDateTime>
#include <QObject>
#include <QString>

#include <limits>

namespace dayvex {

// Plain records shared by the host, the collections and the views. Each member
// is also a property of the same name, so a host can read and set it through
// the meta-object; the properties are declared in interface order, the members
// so that what every redraw reads of a record (its key and dates) lies together.

/// One appointment. Each member is also a property of the same name.
struct DAYVEX_CORE_EXPORT Schedule
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
    Q_PROPERTY(qint32 Color MEMBER Color)
    Q_PROPERTY(dayvex::Date ReminderDate MEMBER ReminderDate)
    Q_PROPERTY(QString Place MEMBER Place)
    Q_PROPERTY(QString Description MEMBER Description)
    Q_PROPERTY(QString Category MEMBER Category)
    Q_PROPERTY(QString Contact MEMBER Contact)
    Q_PROPERTY(QString ContactCode MEMBER ContactCode)
    Q_PROPERTY(dayvex::Date EndDate MEMBER EndDate)
    Q_PROPERTY(dayvex::Date StartDate MEMBER StartDate)
    Q_PROPERTY(QString Owner MEMBER Owner)
    Q_PROPERTY(QString Body MEMBER Body)
    Q_PROPERTY(QString Extra MEMBER Extra)
    Q_PROPERTY(QString Recurrence MEMBER Recurrence)
    Q_PROPERTY(QString RecurrenceDates MEMBER RecurrenceDates)
    Q_PROPERTY(QString ExceptionDates MEMBER ExceptionDates)
    Q_PROPERTY(QString SeriesKey MEMBER SeriesKey)
    Q_PROPERTY(dayvex::Date RecurrenceId MEMBER RecurrenceId)
    Q_PROPERTY(qint32 ReminderLead MEMBER ReminderLead)
public:
    QString Key;            ///< The key it is stored under in its Schedules.
    Date StartDate;         ///< When it starts.
    Date ReminderDate;      ///< When its reminder is due; the empty date for no reminder.
    Date EndDate;           ///< When it ends.
    qint32 Color = 0;       ///< An RGB value as 0x00BBGGRR; 0 paints with the default colour.
    QString Tag;            ///< Free text for the host; an iCalendar import keeps the UID here.
    QString Place;          ///< Where it takes place.
    QString Description;    ///< What it is about.
    QString Category;       ///< Its category.
    QString Contact;        ///< The person it is with.
    QString ContactCode;    ///< The host's code of the contact.
    QString Owner;          ///< The user it belongs to.
    QString Body;           ///< The full text beside the one-line Description.
    /// What an iCalendar import read and no member holds (attendees, links,
    /// X- properties...), as iCalendar lines; an export writes them back.
    QString Extra;
    /// A series: the iCalendar rule (an RRULE's value, "FREQ=WEEKLY;BYDAY=MO,WE")
    /// that repeats it from StartDate, each occurrence as long as the first; empty
    /// for a single appointment. The collection holds one record per series; the
    /// views compute its occurrences in the range they show.
    QString Recurrence;
    /// More starts of the series (RDATE) and starts it leaves out (EXDATE), as
    /// local times "yyyyMMddTHHmmss" separated by commas.
    QString RecurrenceDates;
    QString ExceptionDates; ///< See RecurrenceDates.
    /// An occurrence of a series changed on its own: the series' key, and the start
    /// the occurrence had in the series (RECURRENCE-ID), which the series then skips.
    QString SeriesKey;
    Date RecurrenceId; ///< See SeriesKey.
    /// NoLead, or how many seconds before each occurrence of a series its
    /// reminder is due. A series reminds once per occurrence: ReminderDate is
    /// the reminder next due, and dismissing it moves it to the next
    /// occurrence's. Without a lead the series takes StartDate - ReminderDate.
    qint32 ReminderLead = NoLead;
    static constexpr qint32 NoLead = std::numeric_limits<qint32>::min(); ///< No lead of its own.

    // Qt's types beside the automation dates and BGR colour. A date that is
    // empty, NaN or outside the years 100 to 9999 reads as an invalid
    // QDateTime; setting an invalid one stores the empty date.

    QDateTime start() const;                 ///< StartDate as a QDateTime.
    void setStart(const QDateTime &value);   ///< Sets StartDate; throws Error 6 outside the years 100 to 9999.
    QDateTime end() const;                   ///< EndDate as a QDateTime.
    void setEnd(const QDateTime &value);     ///< Sets EndDate; throws as setStart.
    QDateTime reminder() const;              ///< ReminderDate as a QDateTime; invalid for no reminder.
    void setReminder(const QDateTime &value); ///< Sets ReminderDate; an invalid value removes the reminder.
    /// Seconds before each occurrence's start a series reminds: ReminderLead, or
    /// without one as long before StartDate as ReminderDate is (0 for no reminder
    /// or a date outside the years 100 to 9999).
    qint64 reminderLead() const;
    /// Sets ReminderLead, brought inside what it holds besides NoLead.
    void setReminderLead(qint64 seconds);
    QColor color() const;                    ///< Color as a QColor; invalid for 0, the default colour.
    void setColor(const QColor &value);      ///< Sets Color; an invalid colour stores 0.
};

/// One to-do activity. Each member is also a property of the same name.
struct DAYVEX_CORE_EXPORT ToDo
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
    Q_PROPERTY(dayvex::Date ReminderDate MEMBER ReminderDate)
    Q_PROPERTY(dayvex::Date DateDone MEMBER DateDone)
    Q_PROPERTY(bool Done MEMBER Done)
    Q_PROPERTY(QString Project MEMBER Project)
    Q_PROPERTY(qint16 Priority MEMBER Priority)
    Q_PROPERTY(dayvex::Date DueTo MEMBER DueTo)
    Q_PROPERTY(QString LongDesc MEMBER LongDesc)
    Q_PROPERTY(QString ShortDesc MEMBER ShortDesc)
    Q_PROPERTY(QString Owner MEMBER Owner)
    Q_PROPERTY(QString Extra MEMBER Extra)
public:
    QString Key;            ///< The key it is stored under in its ToDoS.
    Date ReminderDate;      ///< When its reminder is due; the empty date for no reminder.
    qint16 Priority = 0;    ///< Its priority.
    bool Done = false;      ///< Whether it is done.
    Date DateDone;          ///< When it was done.
    QString Tag;            ///< Free text for the host; an iCalendar import keeps the UID here.
    QString Project;        ///< The project it belongs to.
    Date DueTo;             ///< When it is due.
    QString LongDesc;       ///< The full description.
    QString ShortDesc;      ///< The one-line description.
    QString Owner;          ///< The user it belongs to.
    /// iCalendar lines kept from an import, as Schedule::Extra.
    QString Extra;

    QDateTime due() const;                    ///< DueTo as a QDateTime; invalid for the empty date.
    void setDue(const QDateTime &value);      ///< Sets DueTo; an invalid value stores the empty date.
    QDateTime reminder() const;               ///< ReminderDate as a QDateTime; invalid for no reminder.
    void setReminder(const QDateTime &value); ///< Sets ReminderDate; an invalid value removes the reminder.
    QDateTime doneAt() const;                 ///< DateDone as a QDateTime; invalid for the empty date.
    void setDoneAt(const QDateTime &value);   ///< Sets DateDone; an invalid value stores the empty date.
};

// Entries of the lookup lists: the text itself and a free tag.

/// A user, an entry of Users.
struct DAYVEX_CORE_EXPORT User
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
public:
    QString Key; ///< The text itself.
    QString Tag; ///< A free tag.
};

/// A place, an entry of Places.
struct DAYVEX_CORE_EXPORT Place
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
public:
    QString Key; ///< The text itself.
    QString Tag; ///< A free tag.
};

/// A category, an entry of Categories.
struct DAYVEX_CORE_EXPORT Category
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
public:
    QString Key; ///< The text itself.
    QString Tag; ///< A free tag.
};

/// A project, an entry of ActiveProjects.
struct DAYVEX_CORE_EXPORT ActiveProject
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
public:
    QString Key; ///< The text itself.
    QString Tag; ///< A free tag.
};

/// A pending reminder of an appointment ("S") or a to-do ("T").
struct DAYVEX_CORE_EXPORT Alarm
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
    Q_PROPERTY(bool AlarmChanged MEMBER AlarmChanged)
    Q_PROPERTY(dayvex::Date AlarmDateTime MEMBER AlarmDateTime)
    Q_PROPERTY(QString AlarmEventKey MEMBER AlarmEventKey)
    Q_PROPERTY(QString AlarmType MEMBER AlarmType)
public:
    QString Key;                ///< The key it is stored under: see Alarms::keyFor.
    QString Tag;                ///< A free tag.
    bool AlarmChanged = false;  ///< A flag kept for the host, as given to Alarms::Add.
    Date AlarmDateTime;         ///< When the reminder is due.
    QString AlarmEventKey;      ///< The key of the appointment or to-do it reminds of.
    QString AlarmType;          ///< "S" for an appointment, "T" for a to-do.
    /// Internal to the component: the scan passes over an alarm while this is set.
    /// Nothing sets it yet; Alarms::Add and the rebuild of the list clear it.
    bool Showing = false;
};

} // namespace dayvex
