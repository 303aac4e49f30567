#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>

#include <QWidget>

class QComboBox;
class QPushButton;
class QTreeWidget;

namespace dayvex {

class ReminderHost;

// frmReminders, Modern's one window for every due reminder: a line each with the
// subject, the start or due date and how long ago the reminder was due; Open,
// Snooze for a chosen time, Dismiss and Dismiss all act on the chosen lines with
// the same per-alarm events as the single pop-up. It stays on top of the host's
// windows but hides while a modal dialog is open, and closing it by its frame
// snoozes what it lists.
class RemindersWindow : public QWidget
{
    Q_OBJECT
public:
    RemindersWindow(ReminderHost &host, QWidget *owner);

    // Adds the alarm's line unless it is listed; returns whether it was added.
    bool add(const Alarm &alarm);
    bool lists(const QString &alarmKey) const;
    QStringList listedAlarms() const;
    // Drops the lines whose alarm is gone or no longer due, refreshes the "ago"
    // texts, and shows the window while it lists any and no modal dialog is open.
    void update(Date moment);

    // The buttons' work, on the chosen lines (all lines for dismissAll).
    void openChosen();
    void snoozeChosen(int minutes);
    void dismissChosen();
    void dismissAll();

    // The snooze times offered, in minutes.
    static const QList<int> &snoozeChoices();

protected:
    void closeEvent(QCloseEvent *event) override;
    // Esc snoozes the chosen lines for the time chosen; Enter opens the first.
    void keyPressEvent(QKeyEvent *event) override;

private:
    void act(const QStringList &alarmKeys, Date when);
    QStringList chosen() const;

    ReminderHost &m_host;
    QTreeWidget *m_list = nullptr;
    QComboBox *m_snoozeFor = nullptr;
    QPushButton *m_open = nullptr;
    QPushButton *m_snooze = nullptr;
    QPushButton *m_dismiss = nullptr;
    QPushButton *m_dismissAll = nullptr;
    bool m_placed = false;
};

// How long ago moment was from due, in the largest whole unit: "now", "3 minutes ago", "2 days ago".
QString dueAgo(Date due, Date moment);

} // namespace dayvex
