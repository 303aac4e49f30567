#include "todocommands.h"

#include "editinghost.h"
#include "prompts.h"
#include "undo.h"

#include <dayvex/i18n/language.h>
#include <dayvex/platform/error.h>

#include <QScopeGuard>

namespace dayvex {

ToDoCommands::ToDoCommands(EditingHost &host, CommandFlag &running)
    : m_host(host)
    , m_running(running)
{
}

ToDoCommands::~ToDoCommands()
{
    delete m_editor.data(); // ends the wait of a command still running
}

void ToDoCommands::markDone(const QString &key)
{
    std::shared_ptr<ToDo> mToDo = m_host.editedPlan()->ToDoS()->Item(key);
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeTodoSetComplete, mToDo);
    if (answer.Cancel)
        return;
    std::optional<ToDo> before;
    if (!answer.ExternalHandled) {
        // Done, and grey at once; the day it was done is the editor's business.
        before = *mToDo;
        mToDo->Done = true;
        m_host.showToDoDone(key);
    }
    const auto record = qScopeGuard([&] {
        if (before)
            recordChange(m_host, stepText(QLatin1Char('T'), Step::Done), before, std::optional(*mToDo));
    });
    m_host.RaiseToDoChanged(mToDo);
}

void ToDoCommands::newToDo()
{
    if (m_running.isSet())
        return;
    const RunningCommand running(m_running);
    auto mToDo = std::make_shared<ToDo>();
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeTodoChange, mToDo);
    if (answer.Cancel)
        return;
    if (answer.ExternalHandled) {
        if (!mToDo)
            mToDo = std::make_shared<ToDo>();
        const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
        const std::shared_ptr<ToDoS> todos = plan->ToDoS();
        // Stored under a fresh key, so that it can be found, changed and deleted.
        std::shared_ptr<ToDo> stored =
            todos->Add(todos->NewKey(), mToDo->Owner, mToDo->ShortDesc, mToDo->LongDesc, mToDo->DueTo,
                       mToDo->Priority, mToDo->Project, mToDo->Done, mToDo->DateDone, mToDo->ReminderDate, mToDo->Tag);
        {
            // The alarm goes with the record even when the host's handler throws.
            const auto addAlarm = qScopeGuard(
                [&] { setAlarmQuietly(*plan->Alarms(), QLatin1Char('T'), stored->Key, stored->ReminderDate); });
            m_host.RaiseTodoAdded(stored);
        }
        m_host.RaiseToDoChanged(stored);
    } else if (!runEditor(running, ToDoEditor::NewKey)) {
        return;
    }
    m_host.refillToDoList();
}

void ToDoCommands::modify(const QString &key)
{
    if (m_running.isSet())
        return;
    const RunningCommand running(m_running);
    std::shared_ptr<ToDo> mToDo = m_host.editedPlan()->ToDoS()->Item(key);
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeTodoChange, mToDo);
    if (answer.Cancel)
        return;
    if (answer.ExternalHandled)
        m_host.RaiseToDoChanged(mToDo); // as the host left it, unchecked
    else if (!runEditor(running, key))
        return;
    m_host.refillToDoList();
}

void ToDoCommands::remove(const QString &key)
{
    // The editor open on it has the user's input: its own Delete is the way.
    if (m_editor && m_editor->recordKey() == key)
        return;
    const std::shared_ptr<DayvexData> plan = m_host.editedPlan();
    std::shared_ptr<ToDo> mToDo = plan->ToDoS()->Item(key);
    const BeforeAnswer answer = m_host.raiseBefore(EventId::BeforeTodoDelete, mToDo);
    if (answer.Cancel)
        return;
    if (!answer.ExternalHandled) {
        if (!confirm(m_host.dialogParent(), m_host.language(), Text::DeletingToDoMsg, PromptIcon::None))
            return;
    }
    // A missing alarm or form does not stop the deletion.
    const QString alarmKey = Alarms::keyFor(QLatin1Char('T'), key);
    plan->Alarms()->Remove(alarmKey);
    closeFormsTagged(alarmKey);
    plan->ToDoS()->Remove(key);
    const auto record = qScopeGuard(
        [&, before = *mToDo] { recordChange(m_host, stepText(QLatin1Char('T'), Step::Delete), std::optional(before), std::optional<ToDo>()); });
    m_host.RaiseToDoDeleted(mToDo);
    m_host.refillToDoList();
}

bool ToDoCommands::runEditor(const RunningCommand &running, const QString &key)
{
    auto owned = std::make_unique<ToDoEditor>(m_host, m_host.dialogParent());
    owned->edit(key); // the host may have removed the to-do meanwhile
    m_editor = owned.get();
    return showUntilHidden(owned.release(), running);
}

} // namespace dayvex
