#include "alarmscan.h"

#include "reminderhost.h"
#include "reminderpopup.h"
#include "reminderswindow.h"
#include "soundplayback.h"

#include <dayvex/platform/error.h>

#include <QApplication>
#include <QScopeGuard>
#include <QWidget>

namespace dayvex {

AlarmScan::AlarmScan(ReminderHost &host)
    : m_host(host)
{
}

AlarmScan::~AlarmScan()
{
    *m_alive = false;
}

RemindersWindow *AlarmScan::remindersWindow() const
{
    return m_window;
}

QWidget *AlarmScan::openForm(const QString &key)
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *form : windows) {
        const QVariant tag = form->property("Tag");
        if (form->isVisible() && tag.isValid() && tag.toString() == key)
            return form;
    }
    return nullptr;
}

void AlarmScan::tick()
{
    if (m_running)
        return;
    // The host's handler, the painting and the sound run events: the control may
    // go away meanwhile, and with it this scan. Then nothing of it is touched again.
    const std::shared_ptr<bool> alive = m_alive;
    m_running = true;
    const auto done = qScopeGuard([this, alive] {
        if (*alive)
            m_running = false;
    });
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    if (!plan)
        return;
    const Date moment = now();
    const bool modern = m_host.modernReminders();
    if (!modern && m_window)
        delete m_window; // its alarms, still due, come back as pop-ups
    bool listed = false;
    // However the tick ends, the window drops what is no longer due and plays once for what is new.
    const auto settle = qScopeGuard([this, alive, moment, &listed] {
        if (!*alive || !m_window)
            return;
        m_window->update(moment);
        if (listed && reminderSound().hasOutputDevice())
            reminderSound().play(m_host.ReminderSoundFile());
    });
    // The list as the tick found it: a handler may rebuild it meanwhile.
    const std::shared_ptr<Alarms> list = plan->Alarms();
    const std::vector<std::shared_ptr<Alarm>> alarms(list->begin(), list->end());
    int opened = 0;
    for (std::shared_ptr<Alarm> alarm : alarms) {
        const double due = alarm->AlarmDateTime.value();
        if (!(due <= moment.value()) || due == 0.0 || alarm->Showing)
            continue;
        m_failingAlarm = alarm->Key;
        QWidget *form = modern ? (m_window && m_window->lists(alarm->Key) ? m_window.data() : nullptr)
                               : openForm(alarm->Key);
        const bool onScreen = form != nullptr;
        const BeforeAnswer answer = m_host.raiseReminderAlarm(alarm, form);
        if (!*alive || answer.Cancel)
            return;
        if (!alarm)
            continue; // the host let go of it
        if (answer.ExternalHandled) {
            // The host may have moved the alarm; its record follows, and a store with it.
            if (alarm->Key.startsWith(QLatin1Char('S'))) {
                const std::shared_ptr<Schedule> record = plan->Schedules()->Item(alarm->AlarmEventKey);
                record->ReminderDate = alarm->AlarmDateTime;
                plan->journalChange(record, false);
            } else {
                const std::shared_ptr<ToDo> record = plan->ToDoS()->Item(alarm->AlarmEventKey);
                record->ReminderDate = alarm->AlarmDateTime;
                plan->journalChange(record, false);
            }
            continue;
        }
        if (m_host.DisableReminderPopUp() || onScreen)
            continue;
        if (modern) {
            if (!m_window)
                m_window = new RemindersWindow(m_host, m_host.reminderOwner());
            listed = m_window->add(*alarm) || listed;
            continue;
        }
        auto *popup = new ReminderPopup(m_host, alarm->Key, reminderText(*alarm, *plan, m_host.settings().DateFormat,
                                                                         m_host.language(), occurrenceStart(m_host, *alarm, *plan)),
                                        m_host.reminderOwner());
        popup->showNear(m_host.reminderOwner(), opened);
        popup->repaint(); // painted before the sound holds the tick
        if (!*alive)
            return;
        const QString sound = m_host.ReminderSoundFile();
        if (reminderSound().hasOutputDevice())
            reminderSound().play(sound);
        if (!*alive || ++opened == MaxNewPopUpsPerTick)
            return;
    }
    m_failingAlarm.clear();
}

void AlarmScan::tickFromTimer()
{
    // Nothing above a timer can take an error, and the timer goes on: say it once.
    try {
        tick();
    } catch (const Error &error) {
        if (!m_reported.contains(m_failingAlarm)) {
            m_reported.insert(m_failingAlarm);
            qCWarning(lcDayvex, "zntDayvex: alarm %s: error %d: %s", qPrintable(m_failingAlarm), int(error.number()),
                     qPrintable(error.description()));
        }
    } catch (const std::exception &error) {
        qCWarning(lcDayvex, "zntDayvex: alarm scan: %s", error.what());
    } catch (...) {
        qCWarning(lcDayvex, "zntDayvex: alarm scan: an exception of an unknown type");
    }
}

} // namespace dayvex
