#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/i18n/language.h>
#include <dayvex/model/dayvexdata.h>

#include <QWidget>

class QLabel;
class QPushButton;

namespace dayvex {

class ReminderHost;

// What the reminder shows of its appointment or to-do, in this order: the date
// (start or due) in the date format, the kind ("Event" or "ToDo"), then the
// place and contact lines of an appointment or the project line of a to-do, and
// the description. The kind is the alarm's type ("S" an appointment, any other
// a to-do). Throws Error 5 when the record is gone.
struct ReminderText
{
    QString date;
    QString kind;
    QStringList details;
};
// An occurrence of a series shows occurrenceStart, when given, as its date.
ReminderText reminderText(const Alarm &alarm, DayvexData &data, const QString &dateFormat,
                          const LanguageTable &language, Date occurrenceStart = Date());

// The start of the occurrence an appointment's alarm is for (a series'
// occurrence, or the appointment's own start); the empty date for a to-do's.
Date occurrenceStart(const ReminderHost &host, const Alarm &alarm, DayvexData &data);

// Moves a due alarm and its record's reminder to when (the empty date: no more
// reminders; for a series, on to its next occurrence's) and tells the host, as
// each reminder window's buttons do. Nothing
// happens for an alarm the list no longer holds; a gone record throws Error 5.
void moveAlarm(ReminderHost &host, const QString &alarmKey, Date when);

// frmPromemoria: a small window over every other window that shows one due
// alarm, with "remind me in 5 minutes" and "don't remind anymore". Its "Tag"
// property is its alarm's key, by which the scan finds it. It deletes itself
// when closed; closing it by its frame changes nothing.
class ReminderPopup : public QWidget
{
    Q_OBJECT
public:
    ReminderPopup(ReminderHost &host, const QString &alarmKey, const ReminderText &text, QWidget *owner = nullptr);

    QString alarmKey() const;
    // Shows the window over the middle of near's window, cascade steps down and right.
    void showNear(QWidget *near, int cascade);
    // The two buttons: the alarm and its record's reminder move five minutes
    // past now, or to the empty date; the host hears of it; the window closes.
    void remindLater();
    void dontRemind();

protected:
    // Closed by its frame, the pop-up leaves its alarm due, to come back at the
    // next scan; in Modern it snoozes as "remind me in 5 minutes" does.
    void closeEvent(QCloseEvent *event) override;

private:
    void moveAlarm(bool again);
    bool m_answered = false;

    ReminderHost &m_host;
    QLabel *m_kind = nullptr;
    QLabel *m_date = nullptr;
    QLabel *m_details = nullptr;
    QPushButton *m_cmdRipeti = nullptr;
    QPushButton *m_cmdNonRipetere = nullptr;
};

} // namespace dayvex
