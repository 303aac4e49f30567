#pragma once

#include <dayvex/dayvex_export.h>

#include <QPointer>
#include <QSet>

#include <memory>
#include <QString>

class QWidget;

namespace dayvex {

class ReminderHost;
class RemindersWindow;

// One tick of the alarm timer: each due alarm, in list order, is offered to the
// host (ReminderAlarm); unless the host stops the tick, takes the reminder over
// or pop-ups are off, it gets a reminder pop-up and the reminder sound. An alarm
// whose pop-up is open is offered again, with the pop-up, and gets no second one.
// In Modern the due alarms are lines of one reminders window instead, which is
// offered as the alarm's form once the alarm is listed, and the sound plays once
// a tick that lists new ones.
class AlarmScan
{
public:
    // A host that loads thousands of past reminders must not bury the screen:
    // a tick opens at most this many new pop-ups and ends there, as a host's
    // Cancel would; the others come in the next ticks.
    static constexpr int MaxNewPopUpsPerTick = 10;

    explicit AlarmScan(ReminderHost &host);
    ~AlarmScan();

    // Runs one tick. An alarm whose record is gone ends it with Error 5.
    // A tick that starts while one runs (in a host handler or the sound) is skipped.
    void tick();
    // As the timer runs it: an error is logged, once for each alarm, and the next tick goes on.
    void tickFromTimer();

    // The open pop-up (a visible top-level widget) whose "Tag" is key, exactly.
    static QWidget *openForm(const QString &key);
    // Modern's reminders window; null before the first due alarm.
    RemindersWindow *remindersWindow() const;

private:
    ReminderHost &m_host;
    bool m_running = false;
    // Cleared when the scan goes with its control during a tick's handler or sound.
    std::shared_ptr<bool> m_alive = std::make_shared<bool>(true);
    QString m_failingAlarm; // the alarm of the error last logged
    QSet<QString> m_reported;
    QPointer<RemindersWindow> m_window;
};

} // namespace dayvex
