#include "reminderswindow.h"

#include "reminderhost.h"
#include "reminderpopup.h"

#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <cmath>

namespace dayvex {

namespace {
constexpr int AlarmKeyRole = Qt::UserRole;
constexpr int DueRole = Qt::UserRole + 1;
} // namespace

namespace {
// "1 minute", "5 minutes": the form the count asks for.
QString counted(qint64 count, const char *one, const char *many)
{
    return QStringLiteral("%1 %2").arg(count).arg(QLatin1String(count == 1 ? one : many));
}
} // namespace

QString dueAgo(Date due, Date moment)
{
    const double minutes = std::floor((moment.value() - due.value()) * 1440.0 + 1e-6);
    if (!std::isfinite(minutes) || minutes < 1)
        return RemindersWindow::tr("now");
    const qint64 whole = qint64(std::min(minutes, 1e12));
    const QString ago = RemindersWindow::tr("%1 ago");
    if (whole < 60)
        return ago.arg(counted(whole, "minute", "minutes"));
    if (whole < 1440)
        return ago.arg(counted(whole / 60, "hour", "hours"));
    return ago.arg(counted(whole / 1440, "day", "days"));
}

const QList<int> &RemindersWindow::snoozeChoices()
{
    static const QList<int> choices{5, 10, 15, 30, 60, 24 * 60};
    return choices;
}

RemindersWindow::RemindersWindow(ReminderHost &host, QWidget *owner)
    : QWidget(owner, Qt::Window | Qt::WindowStaysOnTopHint)
    , m_host(host)
{
    setObjectName(QStringLiteral("frmReminders"));
    // It comes up over the user's work without taking the keyboard from it.
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(m_host.language().textOr(Text::Reminder, "reminder"));

    m_list = new QTreeWidget(this);
    m_list->setObjectName(QStringLiteral("lstReminders"));
    m_list->setRootIsDecorated(false);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_list->setHeaderLabels({m_host.language().textOr(Text::Description, "Subject"),
                             m_host.language().textOr(Text::DateTime, "date/time"), tr("Due")});
    m_list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_list->header()->setStretchLastSection(false);
    connect(m_list, &QTreeWidget::itemActivated, this, [this] { openChosen(); });

    m_open = new QPushButton(tr("&Open"), this);
    m_open->setObjectName(QStringLiteral("cmdOpen"));
    m_snoozeFor = new QComboBox(this);
    m_snoozeFor->setObjectName(QStringLiteral("cbSnooze"));
    for (int minutes : snoozeChoices())
        m_snoozeFor->addItem(minutes < 60 ? counted(minutes, "minute", "minutes") : counted(minutes / 60, "hour", "hours"),
                             minutes);
    m_snooze = new QPushButton(tr("&Snooze"), this);
    m_snooze->setObjectName(QStringLiteral("cmdSnooze"));
    m_dismiss = new QPushButton(tr("&Dismiss"), this);
    m_dismiss->setObjectName(QStringLiteral("cmdDismiss"));
    m_dismissAll = new QPushButton(tr("Dismiss &all"), this);
    m_dismissAll->setObjectName(QStringLiteral("cmdDismissAll"));
    connect(m_open, &QPushButton::clicked, this, [this] { openChosen(); });
    connect(m_snooze, &QPushButton::clicked, this,
            [this] { snoozeChosen(m_snoozeFor->currentData().toInt()); });
    connect(m_dismiss, &QPushButton::clicked, this, [this] { dismissChosen(); });
    connect(m_dismissAll, &QPushButton::clicked, this, [this] { dismissAll(); });

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_open);
    buttons->addStretch(1);
    buttons->addWidget(m_snoozeFor);
    buttons->addWidget(m_snooze);
    buttons->addWidget(m_dismiss);
    buttons->addWidget(m_dismissAll);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_list, 1);
    layout->addLayout(buttons);
    resize(fontMetrics().averageCharWidth() * 80, fontMetrics().height() * 14);
}

bool RemindersWindow::lists(const QString &alarmKey) const
{
    return listedAlarms().contains(alarmKey);
}

QStringList RemindersWindow::listedAlarms() const
{
    QStringList keys;
    for (int i = 0; i < m_list->topLevelItemCount(); ++i)
        keys << m_list->topLevelItem(i)->data(0, AlarmKeyRole).toString();
    return keys;
}

bool RemindersWindow::add(const Alarm &alarm)
{
    if (lists(alarm.Key))
        return false;
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    if (!plan)
        return false;
    const Date start = occurrenceStart(m_host, alarm, *plan);
    const ReminderText text = reminderText(alarm, *plan, m_host.settings().DateFormat, m_host.language(), start);
    // An appointment's line shows when it starts, a to-do's the day it is due.
    QString when = text.date;
    if (alarm.AlarmType == QLatin1String("S"))
        when += QLatin1Char(' ') + start.toDateTime().toString(QStringLiteral("HH:mm"));
    auto *item = new QTreeWidgetItem(m_list, {text.details.value(text.details.size() - 1), when, QString()});
    item->setData(0, AlarmKeyRole, alarm.Key);
    item->setData(0, DueRole, alarm.AlarmDateTime.value());
    item->setToolTip(0, text.kind + QLatin1Char('\n') + text.details.join(QLatin1Char('\n')));
    if (!m_list->currentItem())
        m_list->setCurrentItem(item);
    return true;
}

void RemindersWindow::update(Date moment)
{
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    for (int i = m_list->topLevelItemCount() - 1; i >= 0; --i) {
        QTreeWidgetItem *item = m_list->topLevelItem(i);
        const std::shared_ptr<Alarm> alarm = plan ? plan->Alarms()->find(item->data(0, AlarmKeyRole).toString())
                                                  : nullptr;
        const double due = alarm ? alarm->AlarmDateTime.value() : 0.0;
        if (!alarm || due == 0.0 || !(due <= moment.value())) {
            delete item; // answered elsewhere, moved, or gone with its record
            continue;
        }
        item->setText(2, dueAgo(alarm->AlarmDateTime, moment));
    }
    for (int column = 1; column < 3; ++column)
        m_list->resizeColumnToContents(column);
    // Never above a dialog that waits for the user: back when it has gone.
    const bool wanted = m_list->topLevelItemCount() > 0 && !QApplication::activeModalWidget();
    if (wanted && !isVisible()) {
        if (!m_placed && parentWidget()) {
            // First over the middle of the host's window; afterwards where the user put it.
            m_placed = true;
            QRect area(QPoint(), size());
            area.moveCenter(parentWidget()->window()->frameGeometry().center());
            move(area.topLeft());
        }
        show();
    } else if (!wanted && isVisible()) {
        hide();
    }
}

QStringList RemindersWindow::chosen() const
{
    QStringList keys;
    for (QTreeWidgetItem *item : m_list->selectedItems())
        keys << item->data(0, AlarmKeyRole).toString();
    if (keys.isEmpty() && m_list->currentItem())
        keys << m_list->currentItem()->data(0, AlarmKeyRole).toString();
    return keys;
}

void RemindersWindow::act(const QStringList &alarmKeys, Date when)
{
    for (const QString &key : alarmKeys) {
        // One line's failure (its record gone) leaves the others to their answer.
        runLoggingErrors("frmReminders", [&] { moveAlarm(m_host, key, when); });
        for (int i = 0; i < m_list->topLevelItemCount(); ++i)
            if (m_list->topLevelItem(i)->data(0, AlarmKeyRole).toString() == key)
                delete m_list->takeTopLevelItem(i--);
    }
    if (m_list->topLevelItemCount() == 0)
        hide();
}

void RemindersWindow::openChosen()
{
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    const QStringList keys = chosen();
    if (!plan || keys.isEmpty())
        return;
    if (const std::shared_ptr<Alarm> alarm = plan->Alarms()->find(keys.front())) {
        hide(); // the editor is modal: the list waits behind it
        runLoggingErrors("frmReminders", [&] { m_host.openAlarmRecord(*alarm); });
    }
    update(now());
}

void RemindersWindow::snoozeChosen(int minutes)
{
    act(chosen(), now().addMinutes(minutes));
}

void RemindersWindow::dismissChosen()
{
    act(chosen(), Date());
}

void RemindersWindow::dismissAll()
{
    act(listedAlarms(), Date());
}

void RemindersWindow::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Escape:
        snoozeChosen(m_snoozeFor->currentData().toInt());
        break;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // The list has opened it already (itemActivated), and lets the key on.
        if (focusWidget() != m_list)
            openChosen();
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void RemindersWindow::closeEvent(QCloseEvent *event)
{
    // Closing is a snooze, for the time chosen; the control hides the window, never closes it.
    act(listedAlarms(), now().addMinutes(m_snoozeFor->currentData().toInt()));
    QWidget::closeEvent(event);
}

} // namespace dayvex
