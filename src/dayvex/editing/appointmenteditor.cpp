#include "appointmenteditor.h"

#include "editinghost.h"
#include "prompts.h"

#include <dayvex/i18n/language.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/error.h>

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QDateEdit>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QTimeEdit>
#include <QTimer>
#include <QVBoxLayout>

namespace dayvex {

namespace {
// A language text, or the design's Italian caption while the table is empty.
QString caption(Text key, const char *italian)
{
    const QString loaded = text(key);
    return loaded.isEmpty() ? QString::fromUtf8(italian) : loaded;
}

// The control's date format in Qt's letters: "dd/mm/yyyy" shows as "dd/MM/yyyy".
QString qtDateFormat(const QString &format)
{
    QString qt = format;
    return qt.replace(QLatin1Char('m'), QLatin1Char('M'));
}

Date joined(const QDate &day, const QTime &time)
{
    // The time as "hh:nn": seconds are not part of an appointment.
    return Date::fromDateTime(QDateTime(day, QTime(time.hour(), time.minute())));
}

template <typename Widget>
Widget *named(Widget *widget, const char *name)
{
    widget->setObjectName(QString::fromLatin1(name));
    return widget;
}
} // namespace

const QString AppointmentEditor::NewKey = QStringLiteral("NEW          ");

QString AppointmentEditor::formKeyOf(const QString &recordKey)
{
    const QString key = recordKey.trimmed();
    bool numeric = !key.isEmpty();
    for (const QChar c : key)
        numeric = numeric && c.isDigit();
    return numeric && key.size() < 13 ? key.rightJustified(13, QLatin1Char('0')) : key;
}

AppointmentEditor::AppointmentEditor(EditingHost &host, QWidget *parent)
    : QDialog(parent)
    , m_host(host)
{
    setObjectName(QStringLiteral("frmAppuntamento"));
    setWindowTitle(caption(Text::Event, "Appuntamento"));
    setModal(false);
    createFields();
    layOut();
}

void AppointmentEditor::createFields()
{
    m_cbCategorie = named(new QComboBox(this), "cbCategorie");
    m_cbCategorie->setEditable(true);
    m_cbUtente = named(new QComboBox(this), "cbUtente");
    m_cbLuogo = named(new QComboBox(this), "cbLuogo");
    m_cbLuogo->setEditable(true);
    const QString dateFormat = qtDateFormat(sharedSettings().DateFormat);
    for (QDateEdit **edit : {&m_datIni, &m_datFine}) {
        *edit = new QDateEdit(this);
        (*edit)->setDisplayFormat(dateFormat);
        (*edit)->setCalendarPopup(true);
    }
    named(m_datIni, "DatIni");
    named(m_datFine, "DatFine");
    for (QTimeEdit **edit : {&m_oraIni, &m_oraFine}) {
        *edit = new QTimeEdit(this);
        (*edit)->setDisplayFormat(QStringLiteral("HH:mm"));
    }
    named(m_oraIni, "OraIni");
    named(m_oraFine, "OraFine");
    m_desApp = named(new QLineEdit(this), "DesApp");
    m_codCont = named(new QLineEdit(this), "CodCont");
    m_contatto = named(new QLineEdit(this), "Contatto");
    m_promemoria = named(new QCheckBox(caption(Text::Remind, "avvisa"), this), "Promemoria");
    m_tempoPromemoria = named(new QComboBox(this), "TempoPromemoria");
    for (int minutes = 5; minutes <= 60; minutes += 5)
        m_tempoPromemoria->addItem(QString::number(minutes));
    m_salva = named(new QPushButton(caption(Text::Save, "&salva"), this), "Salva");
    m_elimina = named(new QPushButton(caption(Text::Delete, "&elimina"), this), "Elimina");
    m_fine = named(new QPushButton(caption(Text::Cancel, "&chiudi"), this), "Fine");
    m_salva->setDefault(true); // Enter saves
    m_elimina->setAutoDefault(false);
    m_fine->setAutoDefault(false);

    // Owner, category and contact code changes are not unsaved changes, as designed.
    const auto changed = [this] { markChanged(); };
    connect(m_cbLuogo, &QComboBox::currentTextChanged, this, changed);
    connect(m_contatto, &QLineEdit::textChanged, this, changed);
    connect(m_desApp, &QLineEdit::textChanged, this, changed);
    connect(m_oraIni, &QTimeEdit::timeChanged, this, changed);
    connect(m_oraFine, &QTimeEdit::timeChanged, this, changed);
    connect(m_promemoria, &QCheckBox::toggled, this, changed);
    connect(m_tempoPromemoria, &QComboBox::currentIndexChanged, this, changed);
    connect(m_datIni, &QDateEdit::dateChanged, this, [this] {
        keepDatesInOrder(true);
        markChanged();
    });
    connect(m_datFine, &QDateEdit::dateChanged, this, [this] {
        keepDatesInOrder(false);
        markChanged();
    });
    connect(m_codCont, &QLineEdit::textEdited, this, [this] { runFromButton([this] { contactCodeEdited(); }); });
    m_codCont->installEventFilter(this);

    connect(m_salva, &QPushButton::clicked, this, [this] { runFromButton([this] { save(); }); });
    connect(m_elimina, &QPushButton::clicked, this, [this] { runFromButton([this] { deleteAppointment(); }); });
    connect(m_fine, &QPushButton::clicked, this, [this] { runFromButton([this] { finish(); }); });
}

void AppointmentEditor::layOut()
{
    auto *grid = new QGridLayout;
    auto label = [this](Text key, const char *italian) { return new QLabel(caption(key, italian), this); };
    grid->addWidget(label(Text::Description, "descrizione"), 0, 0);
    grid->addWidget(m_desApp, 0, 1, 1, 3);
    grid->addWidget(label(Text::StartDate, "data inizio"), 1, 0);
    grid->addWidget(m_datIni, 1, 1);
    grid->addWidget(label(Text::StartTime, "ora inizio"), 1, 2);
    grid->addWidget(m_oraIni, 1, 3);
    grid->addWidget(new QLabel(QStringLiteral("data fine"), this), 2, 0); // the language file has no text for it
    grid->addWidget(m_datFine, 2, 1);
    grid->addWidget(label(Text::EndTime, "ora fine"), 2, 2);
    grid->addWidget(m_oraFine, 2, 3);
    grid->addWidget(label(Text::Category, "categoria"), 3, 0);
    grid->addWidget(m_cbCategorie, 3, 1);
    grid->addWidget(label(Text::Owner, "utente"), 3, 2);
    grid->addWidget(m_cbUtente, 3, 3);
    grid->addWidget(label(Text::Place, "luogo"), 4, 0);
    grid->addWidget(m_cbLuogo, 4, 1, 1, 3);
    m_codContLabel = label(Text::ContactCode, "codice contatto");
    m_contattoLabel = label(Text::Contact, "contatto");
    grid->addWidget(m_codContLabel, 5, 0);
    grid->addWidget(m_codCont, 5, 1);
    grid->addWidget(m_contattoLabel, 5, 2);
    grid->addWidget(m_contatto, 5, 3);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);

    auto *reminder = new QGroupBox(caption(Text::Reminder, "promemoria:"), this);
    auto *reminderRow = new QHBoxLayout(reminder);
    reminderRow->addWidget(m_promemoria);
    reminderRow->addWidget(m_tempoPromemoria);
    reminderRow->addWidget(label(Text::MinutesBefore, "minuti prima"));
    reminderRow->addStretch();

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_salva);
    buttons->addWidget(m_elimina);
    buttons->addWidget(m_fine);

    auto *form = new QVBoxLayout(this);
    form->addLayout(grid);
    form->addWidget(reminder);
    form->addLayout(buttons);
}

void AppointmentEditor::edit(const QString &formKey, const Schedule &values)
{
    m_formKey = formKey;
    m_values = values;
    m_activated = false;
    if (isVisible())
        activate();
}

void AppointmentEditor::showEvent(QShowEvent *event)
{
    QDialog::showEvent(event);
    if (!m_activated)
        activate();
}

void AppointmentEditor::activate()
{
    m_activated = true;
    m_filling = true;
    const auto filled = qScopeGuard([this] { m_filling = false; });
    BusyCursor busy;

    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    m_cbCategorie->clear();
    m_cbLuogo->clear();
    m_cbUtente->clear();
    if (plan) {
        for (const auto &category : *plan->Schedules()->Categories())
            m_cbCategorie->addItem(category->Key);
        for (const auto &place : *plan->Schedules()->Places())
            m_cbLuogo->addItem(place->Key);
        for (const auto &user : *plan->Users())
            m_cbUtente->addItem(user->Key);
    }
    // A new appointment is proposed for the default owner; an owner missing from
    // the list is added to it, so that saving keeps it.
    const QString owner = m_values.Owner.isEmpty() && m_formKey.trimmed() == QLatin1String("NEW")
                              ? sharedSettings().DefaultOwner
                              : m_values.Owner;
    if (m_cbUtente->findText(owner) < 0)
        m_cbUtente->addItem(owner);
    m_cbUtente->setCurrentText(owner);
    m_cbCategorie->setCurrentText(m_values.Category);
    m_cbLuogo->setCurrentText(m_values.Place);

    const QDateTime start = m_values.StartDate.toDateTime();
    const QDateTime end = m_values.EndDate.toDateTime();
    m_datIni->setDate(start.date());
    m_oraIni->setTime(start.time());
    m_datFine->setDate(end.date());
    m_oraFine->setTime(end.time());
    m_desApp->setText(m_values.Description);
    m_codCont->setText(m_values.ContactCode);
    m_contatto->setText(m_values.Contact);

    const bool reminded = m_values.ReminderDate.value() != 0.0;
    m_promemoria->setChecked(reminded);
    const int lead = reminded ? qRound((m_values.StartDate.value() - m_values.ReminderDate.value()) * 1440.0) : 15;
    // A lead time that is no multiple of five is offered as it is, not lost.
    if (m_tempoPromemoria->findText(QString::number(lead)) < 0)
        m_tempoPromemoria->addItem(QString::number(lead));
    m_tempoPromemoria->setCurrentText(QString::number(lead));

    const bool contacts = sharedSettings().ContactCodeEnabled;
    for (QWidget *field : {static_cast<QWidget *>(m_codCont), static_cast<QWidget *>(m_contatto),
                           static_cast<QWidget *>(m_codContLabel), static_cast<QWidget *>(m_contattoLabel)})
        field->setVisible(contacts);

    // Activation disables Delete; an existing appointment gets it back once loaded.
    m_elimina->setEnabled(false);
    m_elimina->setEnabled(m_formKey.trimmed() != QLatin1String("NEW") && !m_formKey.trimmed().isEmpty());
    m_unsaved = false;
    m_desApp->setFocus();
}

void AppointmentEditor::markChanged()
{
    if (!m_filling)
        m_unsaved = true;
}

void AppointmentEditor::keepDatesInOrder(bool startChanged)
{
    if (m_filling || m_datFine->date() >= m_datIni->date())
        return;
    Q_UNUSED(startChanged); // either way the end follows the start
    m_datFine->setDate(m_datIni->date());
}

void AppointmentEditor::save()
{
    auto working = std::make_shared<Schedule>(m_values);
    working->StartDate = joined(m_datIni->date(), m_oraIni->time());
    working->EndDate = joined(m_datFine->date(), m_oraFine->time());
    working->ReminderDate = m_promemoria->isChecked()
                                ? working->StartDate.addMinutes(-m_tempoPromemoria->currentText().toInt())
                                : Date();
    // A saved description is never empty: a blank one is stored as one blank.
    m_desApp->setText(m_desApp->text().trimmed());
    if (m_desApp->text().isEmpty())
        m_desApp->setText(QStringLiteral(" "));
    working->Owner = m_cbUtente->currentText();
    working->Category = m_cbCategorie->currentText();
    working->Place = m_cbLuogo->currentText();
    working->Description = m_desApp->text();
    working->ContactCode = m_codCont->text();
    working->Contact = m_contatto->text();

    bool cancel = false;
    m_host.RaiseValidateSchedule(working, cancel);
    if (cancel)
        return; // the host refuses: the user's input stays
    if (!working)
        working = std::make_shared<Schedule>();

    BusyCursor busy;
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    const std::shared_ptr<Schedules> schedules = plan->Schedules();
    const std::shared_ptr<Alarms> alarms = plan->Alarms();
    std::shared_ptr<Schedule> stored;
    if (m_formKey.trimmed() == QLatin1String("NEW")) {
        stored = schedules->Add(schedules->NewKey(), working->Owner, working->StartDate, working->EndDate,
                                working->ContactCode, working->Contact, working->Category, working->Description,
                                working->Place, working->ReminderDate, working->Tag, working->Color);
        // The alarm goes with the record even when the host's handler throws.
        const auto addAlarm = qScopeGuard([&] {
            if (stored->ReminderDate.value() != 0.0) {
                const QString key = Alarms::keyFor(QLatin1Char('S'), stored->Key);
                alarms->Add(key, QStringLiteral("S"), stored->Key, stored->ReminderDate, false, key);
            }
        });
        m_host.RaiseScheduleAdded(stored);
    } else {
        stored = schedules->Item(m_values.Key);
        stored->Owner = working->Owner;
        stored->StartDate = working->StartDate;
        stored->EndDate = working->EndDate;
        stored->ContactCode = working->ContactCode;
        stored->Contact = working->Contact;
        stored->Category = working->Category;
        stored->Description = working->Description;
        stored->Place = working->Place;
        stored->ReminderDate = working->ReminderDate;
        const QString key = Alarms::keyFor(QLatin1Char('S'), stored->Key);
        const Date reminder = stored->ReminderDate;
        const auto replaceAlarm = qScopeGuard([&] {
            alarms->Remove(key);
            if (reminder.value() != 0.0)
                alarms->Add(key, QStringLiteral("S"), m_values.Key, reminder, false, key);
        });
        m_host.RaiseScheduleChanged(stored);
    }
    m_formKey.clear();
    m_unsaved = false;
    hide();
}

void AppointmentEditor::deleteAppointment()
{
    if (!askYesNo(this, caption(Text::DeletingAppointmentMsg, "Deleting selected appointment. Confirm?"),
                  PromptIcon::None))
        return;
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    std::shared_ptr<Schedule> removed = plan->Schedules()->Item(m_values.Key);
    plan->Alarms()->Remove(Alarms::keyFor(QLatin1Char('S'), m_values.Key));
    plan->Schedules()->Remove(m_values.Key);
    m_unsaved = false;
    hide();
    m_host.RaiseScheduleDeleted(removed);
}

bool AppointmentEditor::mayClose()
{
    return !m_unsaved
           || askYesNo(this,
                       caption(Text::UnsavedChangesMsg, "There are unsaved changes. Are you shure you want to continue?"),
                       PromptIcon::None);
}

void AppointmentEditor::finish()
{
    if (mayClose()) {
        m_unsaved = false;
        hide();
    }
}

void AppointmentEditor::reject()
{
    finish(); // Escape closes as Fine does
}

void AppointmentEditor::closeEvent(QCloseEvent *event)
{
    if (mayClose()) {
        m_unsaved = false;
        QDialog::closeEvent(event);
    } else {
        event->ignore();
    }
}

void AppointmentEditor::contactCodeEdited()
{
    QString value = m_codCont->text();
    m_host.RaiseContactCodeChange(value);
    if (value != m_codCont->text())
        m_codCont->setText(value);
}

void AppointmentEditor::contactCodeDoubleClicked()
{
    QString value = m_codCont->text();
    QString description = m_contatto->text();
    m_host.RaiseContactCodeDoubleClick(value, description);
    m_codCont->setText(value);
    m_contatto->setText(description);
}

bool AppointmentEditor::contactCodeLeft()
{
    QString value = m_codCont->text();
    QString description = m_contatto->text();
    bool cancel = false;
    m_host.RaiseContactCodeLostFocus(value, description, cancel);
    if (cancel) {
        QTimer::singleShot(0, m_codCont, [this] { m_codCont->setFocus(Qt::OtherFocusReason); });
        return false;
    }
    m_codCont->setText(value);
    m_contatto->setText(description);
    return true;
}

bool AppointmentEditor::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_codCont)
        return QDialog::eventFilter(watched, event);
    if (event->type() == QEvent::MouseButtonDblClick) {
        runFromButton([this] { contactCodeDoubleClicked(); });
        return true;
    }
    if (event->type() == QEvent::FocusOut) {
        // Only a move of the focus within the form leaves the box; another
        // window or a pop-up taking the focus does not.
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            runFromButton([this] { contactCodeLeft(); });
    }
    return false;
}

template <typename Action>
void AppointmentEditor::runFromButton(Action action)
{
    runLoggingErrors("frmAppuntamento", action);
}

} // namespace dayvex
