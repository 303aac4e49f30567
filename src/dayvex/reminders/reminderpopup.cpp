#include "reminderpopup.h"

#include "reminderhost.h"

#include <dayvex/i18n/language.h>
#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <QCloseEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace dayvex {

ReminderText reminderText(const Alarm &alarm, DayvexData &data, const QString &dateFormat,
                          const LanguageTable &language, Date occurrenceStart)
{
    const QString separator = QStringLiteral(": ");
    if (alarm.AlarmType == QLatin1String("S")) {
        const std::shared_ptr<Schedule> appointment = data.Schedules()->Item(alarm.AlarmEventKey);
        return {formatDate(occurrenceStart.isEmpty() ? appointment->StartDate : occurrenceStart, dateFormat), language.textOr(Text::Event, "Appointment"),
                {language.textOr(Text::Place, "place") + separator + appointment->Place,
                 language.textOr(Text::Contact, "contact") + separator + appointment->Contact, appointment->Description}};
    }
    const std::shared_ptr<ToDo> todo = data.ToDoS()->Item(alarm.AlarmEventKey);
    return {formatDate(todo->DueTo, dateFormat), language.textOr(Text::ToDo, "To do activity"),
            {language.textOr(Text::Project, "project") + separator + todo->Project, todo->ShortDesc}};
}

Date occurrenceStart(const ReminderHost &host, const Alarm &alarm, DayvexData &data)
{
    if (alarm.AlarmType != QLatin1String("S"))
        return {};
    return host.remindedStart(*data.Schedules()->Item(alarm.AlarmEventKey), alarm.AlarmDateTime);
}

ReminderPopup::ReminderPopup(ReminderHost &host, const QString &alarmKey, const ReminderText &text, QWidget *owner)
    : QWidget(owner, Qt::Window | Qt::WindowStaysOnTopHint)
    , m_host(host)
{
    setObjectName(QStringLiteral("frmPromemoria"));
    setProperty("Tag", alarmKey);
    setAttribute(Qt::WA_DeleteOnClose);
    // It comes up over the user's work without taking the keyboard from it.
    setAttribute(Qt::WA_ShowWithoutActivating);
    setWindowTitle(m_host.language().textOr(Text::Reminder, "reminder"));

    m_kind = new QLabel(QStringLiteral("tipo: ") + text.kind, this);
    m_kind->setObjectName(QStringLiteral("lblTipo"));
    QFont bold = m_kind->font();
    bold.setBold(true);
    m_kind->setFont(bold);
    auto *dateCaption = new QLabel(m_host.language().textOr(Text::DateTime, "date/time"), this);
    dateCaption->setObjectName(QStringLiteral("Label1"));
    m_date = new QLabel(text.date, this);
    m_date->setObjectName(QStringLiteral("lblData"));
    m_details = new QLabel(text.details.join(QStringLiteral("\r\n")), this);
    m_details->setObjectName(QStringLiteral("lblDescrizione"));
    m_details->setWordWrap(true);
    m_details->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_cmdRipeti = new QPushButton(m_host.language().textOr(Text::RemindMeIn5Minutes, "remind me in 5 minutes"), this);
    m_cmdRipeti->setObjectName(QStringLiteral("cmdRipeti"));
    m_cmdNonRipetere = new QPushButton(m_host.language().textOr(Text::DontRemind, "don't remind anymore"), this);
    m_cmdNonRipetere->setObjectName(QStringLiteral("cmdNonRipetere"));
    if (m_host.modernReminders()) {
        const QStringList captions = withMnemonics({m_cmdRipeti->text(), m_cmdNonRipetere->text()});
        m_cmdRipeti->setText(captions[0]);
        m_cmdNonRipetere->setText(captions[1]);
    }
    connect(m_cmdRipeti, &QPushButton::clicked, this,
            [this] { runLoggingErrors("frmPromemoria", [this] { remindLater(); }); });
    connect(m_cmdNonRipetere, &QPushButton::clicked, this,
            [this] { runLoggingErrors("frmPromemoria", [this] { dontRemind(); }); });

    auto *dateRow = new QHBoxLayout;
    dateRow->addWidget(dateCaption);
    dateRow->addWidget(m_date, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_cmdRipeti);
    buttons->addWidget(m_cmdNonRipetere);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_kind);
    layout->addLayout(dateRow);
    layout->addWidget(m_details, 1);
    layout->addLayout(buttons);
    layout->setSizeConstraint(QLayout::SetMinimumSize);
}

void ReminderPopup::showNear(QWidget *near, int cascade)
{
    adjustSize();
    if (near) {
        const int step = fontMetrics().height() + 8;
        QRect area(QPoint(), size());
        area.moveCenter(near->window()->frameGeometry().center() + QPoint(step, step) * cascade);
        move(area.topLeft());
    }
    show();
}

QString ReminderPopup::alarmKey() const
{
    return property("Tag").toString();
}

void ReminderPopup::remindLater()
{
    moveAlarm(true);
}

void ReminderPopup::dontRemind()
{
    moveAlarm(false);
}

void ReminderPopup::closeEvent(QCloseEvent *event)
{
    if (!m_answered && m_host.modernReminders())
        runLoggingErrors("frmPromemoria", [this] { remindLater(); });
    QWidget::closeEvent(event);
}

void ReminderPopup::moveAlarm(bool again)
{
    m_answered = true;
    // The window closes whatever happens below: a gone alarm or record leaves nothing to do.
    const std::unique_ptr<ReminderPopup, void (*)(ReminderPopup *)> closing(this, [](ReminderPopup *popup) {
        popup->close();
    });
    dayvex::moveAlarm(m_host, alarmKey(), again ? now().addMinutes(5) : Date());
}

void moveAlarm(ReminderHost &host, const QString &alarmKey, Date when)
{
    const std::shared_ptr<DayvexData> plan = host.editedPlan();
    const std::shared_ptr<Alarm> alarm = plan ? plan->Alarms()->find(alarmKey) : nullptr;
    if (!alarm)
        return; // the list was rebuilt meanwhile
    alarm->AlarmDateTime = when;
    if (alarm->Key.startsWith(QLatin1Char('S'))) {
        std::shared_ptr<Schedule> appointment = plan->Schedules()->Item(alarm->AlarmEventKey);
        if (!appointment->Recurrence.isEmpty()) {
            // The lead stays what it was before the reminder moves, and dismissing
            // one occurrence's reminder leaves the next occurrence's.
            if (appointment->ReminderLead == Schedule::NoLead)
                appointment->setReminderLead(appointment->reminderLead());
            if (when.isEmpty())
                alarm->AlarmDateTime = host.nextSeriesReminder(*appointment);
        }
        appointment->ReminderDate = alarm->AlarmDateTime;
        host.RaiseAlarmChange(appointment);
    } else {
        std::shared_ptr<ToDo> todo = plan->ToDoS()->Item(alarm->AlarmEventKey);
        todo->ReminderDate = alarm->AlarmDateTime;
        host.RaiseToDoAlarmChange(todo);
    }
}

} // namespace dayvex
