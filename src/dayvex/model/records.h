#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <QObject>
#include <QString>

namespace dayvex {

// Plain records shared by the host, the collections and the views. Each member
// is also a property of the same name, so a host can read and set it through
// the meta-object; the properties are declared in interface order, the members
// so that what every redraw reads of a record (its key and dates) lies together.

// One appointment.
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
public:
    QString Key;
    Date StartDate;
    Date ReminderDate;
    Date EndDate;
    qint32 Color = 0;   // an RGB value as 0x00BBGGRR; 0 paints with the default colour
    QString Tag;
    QString Place;
    QString Description;
    QString Category;
    QString Contact;
    QString ContactCode;
    QString Owner;
};

// One to-do activity.
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
public:
    QString Key;
    Date ReminderDate;
    qint16 Priority = 0;
    bool Done = false;
    Date DateDone;
    QString Tag;
    QString Project;
    Date DueTo;
    QString LongDesc;
    QString ShortDesc;
    QString Owner;
};

// Entries of the lookup lists: the text itself and a free tag.
struct DAYVEX_CORE_EXPORT User
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
public:
    QString Key;
    QString Tag;
};

struct DAYVEX_CORE_EXPORT Place
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
public:
    QString Key;
    QString Tag;
};

struct DAYVEX_CORE_EXPORT Category
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
public:
    QString Key;
    QString Tag;
};

struct DAYVEX_CORE_EXPORT ActiveProject
{
    Q_GADGET
    Q_PROPERTY(QString Key MEMBER Key)
    Q_PROPERTY(QString Tag MEMBER Tag)
public:
    QString Key;
    QString Tag;
};

// A pending reminder of an appointment ("S") or a to-do ("T").
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
    QString Key;
    QString Tag;
    bool AlarmChanged = false;
    Date AlarmDateTime;
    QString AlarmEventKey;
    QString AlarmType;
    // Internal to the component: the scan passes over an alarm while this is set.
    // Nothing sets it yet; Alarms::Add and the rebuild of the list clear it.
    bool Showing = false;
};

} // namespace dayvex
