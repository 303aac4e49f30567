#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/editing/commandflag.h>
#include <dayvex/editing/todoeditor.h>

#include <QPointer>
#include <QString>

namespace dayvex {

class EditingHost;

// The commands of the to-do menu: mark done, New, Modify and Delete. Each asks
// the host first, keeps the to-dos and their alarms in step and refills the
// list (mark done greys its row instead). New asks with BeforeTodoChange, as
// hosts written for the control expect. Errors reach the caller.
class ToDoCommands
{
public:
    ToDoCommands(EditingHost &host, CommandFlag &running);
    ~ToDoCommands();

    void markDone(const QString &key);
    void newToDo();
    void modify(const QString &key);
    void remove(const QString &key);

    // The open editor, if any.
    ToDoEditor *editor() const { return m_editor; }

private:
    // Shows the editor on key and waits; false when the control went away meanwhile.
    bool runEditor(const RunningCommand &running, const QString &key);

    EditingHost &m_host;
    CommandFlag &m_running;
    QPointer<ToDoEditor> m_editor;
};

} // namespace dayvex
