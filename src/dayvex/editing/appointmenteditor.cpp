#include "appointmenteditor.h"

#include "appointmentcommands.h"
#include "undo.h"

#include "editinghost.h"
#include "editorform.h"
#include "prompts.h"
#include "repeatrow.h"

#include <dayvex/platform/error.h>

#include <limits>

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QFocusEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QTimeEdit>
#include <QTimer>
#include <QVBoxLayout>

namespace dayvex {

using form::named;

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
    : EditorForm(host, QStringLiteral("frmAppuntamento"), host.language().textOr(Text::Event, "Appuntamento"), parent)
{
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
    const QString dateFormat = form::qtDateFormat(host().settings().DateFormat);
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
    m_desApp->setMaxLength(std::numeric_limits<int>::max()); // a host's long text is not cut
    m_codCont = named(new QLineEdit(this), "CodCont");
    m_contatto = named(new QLineEdit(this), "Contatto");
    m_promemoria = named(new QCheckBox(caption(Text::Remind, "avvisa"), this), "Promemoria");
    m_tempoPromemoria = leadTimes(this);
    m_repeat = named(new RepeatRow(dateFormat, this), "Ripetizione");

    // Owner, category and contact code changes are not unsaved changes, as designed.
    const auto changed = [this] { markChanged(); };
    connect(m_cbLuogo, &QComboBox::currentTextChanged, this, changed);
    connect(m_contatto, &QLineEdit::textChanged, this, changed);
    connect(m_desApp, &QLineEdit::textChanged, this, changed);
    connect(m_oraIni, &QTimeEdit::timeChanged, this, changed);
    connect(m_oraFine, &QTimeEdit::timeChanged, this, changed);
    connect(m_promemoria, &QCheckBox::toggled, this, changed);
    connect(m_repeat, &RepeatRow::edited, this, changed);
    connect(m_tempoPromemoria, &QComboBox::currentIndexChanged, this, changed);
    for (QDateEdit *date : {m_datIni, m_datFine}) {
        connect(date, &QDateEdit::dateChanged, this, [this] {
            keepDatesInOrder();
            markChanged();
        });
    }
    connect(m_codCont, &QLineEdit::textEdited, this,
            [this] { runLoggingErrors("frmAppuntamento", [this] { contactCodeEdited(); }); });
    m_codCont->installEventFilter(this);
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
    m_repeatLabel = label(Text::Repeat, "ripeti");
    grid->addWidget(m_repeatLabel, 6, 0);
    grid->addWidget(m_repeat, 6, 1, 1, 3);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);

    auto *reminder = new QGroupBox(caption(Text::Reminder, "promemoria:"), this);
    auto *reminderRow = new QHBoxLayout(reminder);
    reminderRow->addWidget(m_promemoria);
    reminderRow->addWidget(m_tempoPromemoria);
    reminderRow->addWidget(label(Text::MinutesBefore, "minuti prima"));
    reminderRow->addStretch();

    auto *form = new QVBoxLayout(this);
    form->addLayout(grid);
    form->addWidget(reminder);
    form->addLayout(buttonRow());
    orderFocus({m_desApp, m_datIni, m_oraIni, m_datFine, m_oraFine, m_cbCategorie, m_cbUtente, m_cbLuogo, m_codCont,
                m_contatto, m_promemoria, m_tempoPromemoria});
    QWidgetList chain = m_repeat->fields();
    chain.append(m_promemoria);
    QWidget *previous = m_contatto;
    for (QWidget *next : chain)
        setTabOrder(std::exchange(previous, next), next);
}

void AppointmentEditor::edit(const QString &formKey, const Schedule &values)
{
    m_values = values;
    setFormKey(formKey);
}

void AppointmentEditor::load()
{
    const std::shared_ptr<DayvexData> plan = host().editedPlan();
    QStringList categories, places, users;
    if (plan) {
        for (const auto &category : *plan->Schedules()->Categories())
            categories << category->Key;
        for (const auto &place : *plan->Schedules()->Places())
            places << place->Key;
        for (const auto &user : *plan->Users())
            users << user->Key;
    }
    // A new appointment is proposed for the default owner.
    fillList(m_cbUtente, users,
             m_values.Owner.isEmpty() && isNew() ? host().settings().DefaultOwner : m_values.Owner);
    fillList(m_cbCategorie, categories, m_values.Category);
    fillList(m_cbLuogo, places, m_values.Place);

    // A host's NaN shows as the empty date rather than leave the form unloaded.
    const QDateTime start = m_values.StartDate.finiteOrEmpty().toDateTime();
    const QDateTime end = m_values.EndDate.finiteOrEmpty().toDateTime();
    m_datIni->setDate(start.date());
    m_oraIni->setTime(start.time());
    m_datFine->setDate(end.date());
    m_oraFine->setTime(end.time());
    m_desApp->setText(m_values.Description);
    m_codCont->setText(m_values.ContactCode);
    m_contatto->setText(m_values.Contact);

    // A series shows how long before each occurrence it reminds, not when it next does.
    const bool series = !m_values.Recurrence.isEmpty();
    const bool reminded = m_values.ReminderDate.value() != 0.0 || (series && m_values.ReminderLead != Schedule::NoLead);
    m_promemoria->setChecked(reminded);
    showLeadTime(m_tempoPromemoria, !reminded ? 15
                                    : series  ? int(m_values.reminderLead() / 60)
                                              : form::minutesBetween(m_values.ReminderDate, m_values.StartDate));

    m_repeat->setRule(m_values.Recurrence, start.date());
    // Classic keeps its form for single appointments.
    const bool repeats = host().storesTrueEnd() || !m_values.Recurrence.isEmpty();
    m_repeatLabel->setVisible(repeats);
    m_repeat->setVisible(repeats);

    const bool contacts = host().settings().ContactCodeEnabled;
    for (QWidget *field : std::initializer_list<QWidget *>{m_codCont, m_contatto, m_codContLabel, m_contattoLabel})
        field->setVisible(contacts);

    // Loading disables Delete; an existing appointment gets it back once loaded.
    m_elimina->setEnabled(false);
    m_elimina->setEnabled(!isNew() && !formKey().trimmed().isEmpty());
    m_desApp->setFocus();
    m_loaded = shownNow();
}

AppointmentEditor::Shown AppointmentEditor::shownNow() const
{
    return {QDateTime(m_datIni->date(), m_oraIni->time()), QDateTime(m_datFine->date(), m_oraFine->time()),
            m_promemoria->isChecked(), m_tempoPromemoria->currentText()};
}

void AppointmentEditor::keepDatesInOrder()
{
    if (!loading() && m_datFine->date() < m_datIni->date())
        m_datFine->setDate(m_datIni->date());
}

void AppointmentEditor::store()
{
    const bool descriptionAsLoaded = m_desApp->text() == m_values.Description;
    auto working = std::make_shared<Schedule>(m_values);
    working->StartDate = form::joined(m_datIni->date(), m_oraIni->time());
    working->EndDate = form::joined(m_datFine->date(), m_oraFine->time());
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
    working->Recurrence = m_repeat->rule();
    bool reminderKept = false;
    if (host().storesTrueEnd() && !isNew()) {
        // Modern: what the fields could not show (seconds, a NaN reminder) stays
        // as it was wherever the person left the field as it came.
        const Shown now = shownNow();
        if (now.start == m_loaded.start)
            working->StartDate = m_values.StartDate;
        if (now.end == m_loaded.end)
            working->EndDate = m_values.EndDate;
        reminderKept = now.reminded == m_loaded.reminded && now.lead == m_loaded.lead && now.start == m_loaded.start
                       && working->Recurrence == m_values.Recurrence;
        if (reminderKept)
            working->ReminderDate = m_values.ReminderDate;
        if (descriptionAsLoaded && !m_values.Description.trimmed().isEmpty())
            working->Description = m_values.Description; // its own blanks too
    }

    // A series given another start takes its extra and left-out dates along, and its
    // end while its rule is the one it had, or an occurrence left out would come back
    // beside the moved ones: the whole series, or the new one of a split.
    const qint64 minutes = form::minutesBetween(m_values.StartDate, working->StartDate);
    const bool seriesMoved = minutes != 0 && !m_values.Recurrence.isEmpty() && !working->Recurrence.isEmpty();
    if (seriesMoved) {
        Schedule rule = m_values;
        rule.Recurrence = working->Recurrence;
        const Schedule moved = host().splitSeries(rule, firstDateOf(rule), minutes).following;
        working->RecurrenceDates = moved.RecurrenceDates;
        working->ExceptionDates = moved.ExceptionDates;
        if (working->Recurrence == m_values.Recurrence)
            working->Recurrence = moved.Recurrence;
    }

    bool cancel = false;
    host().RaiseValidateSchedule(working, cancel);
    if (cancel)
        return; // the host refuses: the user's input stays
    if (!working)
        working = std::make_shared<Schedule>();
    working->ReminderLead = reminderKept ? m_values.ReminderLead : Schedule::NoLead;
    if (!working->Recurrence.isEmpty() && m_promemoria->isChecked() && !reminderKept) {
        // A series reminds before each occurrence, from the next one on.
        working->setReminderLead(qint64(m_tempoPromemoria->currentText().toInt()) * 60);
        working->ReminderDate = host().nextSeriesReminder(*working);
    }

    BusyCursor busy;
    const StepGroup group(host(), stepText(QLatin1Char('S'), Step::Change));
    const std::shared_ptr<DayvexData> plan = host().editedPlan();
    const std::shared_ptr<Schedules> schedules = plan->Schedules();
    std::shared_ptr<Schedule> stored;
    std::optional<Schedule> before;
    std::optional<ShiftedOverrides> overrides;
    if (isNew()) {
        Schedule filled = *working;
        filled.Key = schedules->NewKey();
        stored = schedules->addWithStep(filled, host().settings().DayStepMinutes);
        if (host().storesTrueEnd() && working->StartDate < working->EndDate)
            stored->EndDate = working->EndDate;
        emit added(stored->Key);
    } else {
        stored = schedules->Item(m_values.Key);
        before = *stored;
        stored->Owner = working->Owner;
        stored->StartDate = working->StartDate;
        stored->EndDate = working->EndDate;
        stored->ContactCode = working->ContactCode;
        stored->Contact = working->Contact;
        stored->Category = working->Category;
        stored->Description = working->Description;
        stored->Place = working->Place;
        stored->ReminderDate = working->ReminderDate;
        stored->ReminderLead = working->ReminderLead;
        stored->Recurrence = working->Recurrence;
        if (seriesMoved) {
            stored->RecurrenceDates = working->RecurrenceDates;
            stored->ExceptionDates = working->ExceptionDates;
            // Its moved occurrences follow (a split's new series gets them from its command).
            overrides.emplace(host(), stored->Key, stored->Key, Date(), minutes);
        }
    }
    finishStore(QLatin1Char('S'), *stored, before, [&, added = isNew()] {
        if (added)
            host().RaiseScheduleAdded(stored);
        else
            host().RaiseScheduleChanged(stored);
    });
    if (overrides)
        overrides->announce();
}

void AppointmentEditor::removeRecord()
{
    // A series goes with its moved occurrences, and a moved occurrence stays
    // left out of its series, as one step back.
    const StepGroup group(host(), stepText(QLatin1Char('S'), Step::Delete));
    confirmRemove(Text::DeletingAppointmentMsg, QLatin1Char('S'), *host().editedPlan()->Schedules(), m_values.Key,
                  [this](std::shared_ptr<Schedule> removed) {
                      const auto overrides = removed->Recurrence.isEmpty()
                                                 ? std::vector<std::shared_ptr<Schedule>>()
                                                 : takeOutOverrides(host(), removed->Key, Date());
                      LeftOutOccurrence leftOut(host(), *removed);
                      host().RaiseScheduleDeleted(removed);
                      for (std::shared_ptr<Schedule> gone : overrides)
                          host().RaiseScheduleDeleted(gone);
                      leftOut.announce();
                  });
}

void AppointmentEditor::contactCodeEdited()
{
    QString value = m_codCont->text();
    host().RaiseContactCodeChange(value);
    if (value != m_codCont->text())
        m_codCont->setText(value);
}

void AppointmentEditor::contactCodeDoubleClicked()
{
    QString value = m_codCont->text();
    QString description = m_contatto->text();
    host().RaiseContactCodeDoubleClick(value, description);
    m_codCont->setText(value);
    m_contatto->setText(description);
}

void AppointmentEditor::contactCodeLeft()
{
    QString value = m_codCont->text();
    QString description = m_contatto->text();
    bool cancel = false;
    host().RaiseContactCodeLostFocus(value, description, cancel);
    if (cancel) {
        QTimer::singleShot(0, m_codCont, [this] { m_codCont->setFocus(Qt::OtherFocusReason); });
        return;
    }
    m_codCont->setText(value);
    m_contatto->setText(description);
}

bool AppointmentEditor::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_codCont)
        return EditorForm::eventFilter(watched, event);
    if (event->type() == QEvent::MouseButtonDblClick) {
        runLoggingErrors("frmAppuntamento", [this] { contactCodeDoubleClicked(); });
        return true;
    }
    if (event->type() == QEvent::FocusOut) {
        // Only a move of the focus within the form leaves the box; another
        // window or a pop-up taking the focus does not.
        const Qt::FocusReason reason = static_cast<QFocusEvent *>(event)->reason();
        if (reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason)
            runLoggingErrors("frmAppuntamento", [this] { contactCodeLeft(); });
    }
    return false;
}

} // namespace dayvex
