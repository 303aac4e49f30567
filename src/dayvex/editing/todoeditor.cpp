#include "todoeditor.h"

#include "editinghost.h"
#include "prompts.h"

#include <dayvex/platform/error.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QPlainTextEdit>
#include <QScopeGuard>
#include <QTimeEdit>
#include <QVBoxLayout>

namespace dayvex {

using form::named;

const QString ToDoEditor::NewKey = QStringLiteral("NEW");

ToDoEditor::ToDoEditor(EditingHost &host, QWidget *parent)
    : EditorForm(host, QString::fromUtf8("frmAttività"), host.language().textOr(Text::ToDo, "Attività"), parent)
{
    createFields();
    layOut();
}

void ToDoEditor::createFields()
{
    m_cbPriorita = named(new QComboBox(this), "cbPriorità");
    for (int priority = 1; priority <= 9; ++priority)
        m_cbPriorita->addItem(QString::number(priority));
    m_ckDone = named(new QCheckBox(caption(Text::Done, "attività conclusa"), this), "ckDone");
    m_tempoPromemoria = leadTimes(this);
    m_txDesLunga = named(new QPlainTextEdit(this), "txDesLunga");
    m_txDesLunga->setTabChangesFocus(true); // Tab moves on, as in every other field
    m_txDesLunga->setTabChangesFocus(true);
    m_promemoria = named(new QCheckBox(caption(Text::Remind, "avvisa"), this), "Promemoria");
    m_txDescBreve = named(new QLineEdit(this), "txDescBreve");
    m_cbUtente = named(new QComboBox(this), "cbUtente");
    m_cbProgetto = named(new QComboBox(this), "cbProgetto");
    m_cbProgetto->setEditable(true);
    m_datSca = named(new QDateEdit(this), "DatSca");
    m_datSca->setDisplayFormat(form::qtDateFormat(host().settings().DateFormat));
    m_datSca->setCalendarPopup(true);
    m_oraSca = named(new QTimeEdit(this), "OraSca");
    m_oraSca->setDisplayFormat(QStringLiteral("HH:mm"));

    // Every field counts as a change here, the owner too.
    const auto changed = [this] { markChanged(); };
    connect(m_cbPriorita, &QComboBox::currentIndexChanged, this, changed);
    connect(m_cbProgetto, &QComboBox::currentTextChanged, this, changed);
    connect(m_cbUtente, &QComboBox::currentIndexChanged, this, changed);
    connect(m_datSca, &QDateEdit::dateChanged, this, changed);
    connect(m_oraSca, &QTimeEdit::timeChanged, this, changed);
    connect(m_promemoria, &QCheckBox::toggled, this, changed);
    connect(m_tempoPromemoria, &QComboBox::currentIndexChanged, this, changed);
    connect(m_txDescBreve, &QLineEdit::textChanged, this, changed);
    connect(m_txDesLunga, &QPlainTextEdit::textChanged, this, changed);
    connect(m_ckDone, &QCheckBox::toggled, this, [this](bool done) {
        markChanged();
        // Done now, unless the to-do was done before.
        if (done && !loading() && m_values.DateDone.value() == 0.0)
            m_values.DateDone = now();
    });
}

void ToDoEditor::layOut()
{
    auto label = [this](Text key, const char *italian) { return new QLabel(caption(key, italian), this); };
    auto *grid = new QGridLayout;
    grid->addWidget(label(Text::ShortDescription, "descrizione breve"), 0, 0);
    grid->addWidget(m_txDescBreve, 0, 1, 1, 3);
    grid->addWidget(label(Text::Description, "descrizione"), 1, 0, Qt::AlignTop);
    grid->addWidget(m_txDesLunga, 1, 1, 1, 3);
    grid->addWidget(label(Text::DueTo, "data scadenza"), 2, 0);
    grid->addWidget(m_datSca, 2, 1);
    grid->addWidget(m_oraSca, 2, 2);
    grid->addWidget(label(Text::Priority, "priorità"), 3, 0);
    grid->addWidget(m_cbPriorita, 3, 1);
    grid->addWidget(m_ckDone, 3, 2, 1, 2);
    grid->addWidget(label(Text::Project, "progetto"), 4, 0);
    grid->addWidget(m_cbProgetto, 4, 1);
    grid->addWidget(label(Text::Owner, "utente"), 4, 2);
    grid->addWidget(m_cbUtente, 4, 3);
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    m_txDesLunga->setMinimumHeight(m_txDescBreve->sizeHint().height() * 3);

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
    orderFocus({m_txDescBreve, m_txDesLunga, m_datSca, m_oraSca, m_cbPriorita, m_ckDone, m_cbProgetto, m_cbUtente,
                m_promemoria, m_tempoPromemoria});
}

void ToDoEditor::edit(const QString &key)
{
    if (key == NewKey) {
        m_values = ToDo();
        m_values.Priority = 1;
        // Due today, at the current minute.
        const QDateTime moment = now().toDateTime();
        m_values.DueTo = form::joined(moment.date(), moment.time());
    } else {
        m_values = *host().editedPlan()->ToDoS()->Item(key);
    }
    setFormKey(key);
}

void ToDoEditor::load()
{
    const std::shared_ptr<DayvexData> plan = host().editedPlan();
    QStringList users, projects;
    for (const auto &user : *plan->Users())
        users << user->Key;
    for (const auto &project : *plan->ToDoS()->ActiveProjects())
        projects << project->Key;
    fillList(m_cbUtente, users,
             m_values.Owner.isEmpty() && isNew() ? host().settings().DefaultOwner : m_values.Owner);
    fillList(m_cbProgetto, projects, m_values.Project);
    // A priority outside 1 to 9 is shown as it is, so that saving keeps it.
    const QString priority = QString::number(m_values.Priority);
    if (m_cbPriorita->findText(priority) < 0)
        m_cbPriorita->addItem(priority);
    m_cbPriorita->setCurrentText(priority);

    const QDateTime due = m_values.DueTo.finiteOrEmpty().toDateTime();
    m_datSca->setDate(due.date());
    m_oraSca->setTime(due.time());
    m_txDescBreve->setText(m_values.ShortDesc);
    m_txDesLunga->setPlainText(m_values.LongDesc);
    m_ckDone->setChecked(m_values.Done);
    const bool reminded = m_values.ReminderDate.value() != 0.0;
    m_promemoria->setChecked(reminded);
    showLeadTime(m_tempoPromemoria,
                 reminded ? form::minutesBetween(m_values.DueTo, m_values.ReminderDate) : 15);
    m_elimina->setEnabled(!isNew() && !formKey().isEmpty());
    m_txDescBreve->setFocus();
}

void ToDoEditor::store()
{
    const std::shared_ptr<DayvexData> plan = host().editedPlan();
    auto working = std::make_shared<ToDo>(m_values);
    if (isNew())
        working->Key = plan->ToDoS()->NewKey();
    working->Done = m_ckDone->isChecked();
    working->DueTo = form::joined(m_datSca->date(), m_oraSca->time());
    working->LongDesc = m_txDesLunga->toPlainText();
    working->Owner = m_cbUtente->currentText();
    working->Priority = qint16(m_cbPriorita->currentText().toInt());
    working->Project = m_cbProgetto->currentText();
    // The lead time is added to the due time, ticked or not: kept as the form has always done.
    working->ReminderDate = working->DueTo.addMinutes(m_tempoPromemoria->currentText().toInt());
    working->ShortDesc = m_txDescBreve->text();

    bool cancel = false;
    host().RaiseValidateToDo(working, cancel);
    if (cancel)
        return; // the host refuses: the user's input stays
    if (!working)
        working = std::make_shared<ToDo>();

    BusyCursor busy;
    std::shared_ptr<ToDo> stored;
    std::optional<ToDo> before;
    if (isNew()) {
        stored = plan->ToDoS()->Add(working->Key, working->Owner, working->ShortDesc, working->LongDesc, working->DueTo,
                                    working->Priority, working->Project, working->Done, working->DateDone,
                                    working->ReminderDate, working->Tag);
    } else {
        stored = plan->ToDoS()->Item(m_values.Key);
        before = *stored;
        stored->DateDone = working->DateDone;
        stored->Done = working->Done;
        stored->DueTo = working->DueTo;
        stored->LongDesc = working->LongDesc;
        stored->Owner = working->Owner;
        stored->Priority = working->Priority;
        stored->Project = working->Project;
        stored->ReminderDate = working->ReminderDate;
        stored->ShortDesc = working->ShortDesc;
    }
    finishStore(QLatin1Char('T'), *stored, before, [&, added = isNew()] {
        if (added)
            host().RaiseTodoAdded(stored);
        else
            host().RaiseToDoChanged(stored);
    });
}

void ToDoEditor::removeRecord()
{
    confirmRemove(Text::DeletingToDoMsg, QLatin1Char('T'), *host().editedPlan()->ToDoS(), m_values.Key,
                  [this](std::shared_ptr<ToDo> removed) { host().RaiseToDoDeleted(removed); });
}

} // namespace dayvex
