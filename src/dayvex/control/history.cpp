#include "zntdayvex_p.h"

#include <dayvex/editing/appointmentcommands.h>
#include <dayvex/editing/undo.h>
#include <dayvex/platform/error.h>

#include <QAction>
#include <QLoggingCategory>
#include <QUndoStack>

namespace dayvex {

bool zntDayvex::DragEditing() const { return d->m_dragEditing; }
void zntDayvex::setDragEditing(bool value) { assign("DragEditing", value); }
QUndoStack *zntDayvex::undoStack() const { return d->m_undo; }
bool zntDayvex::canUndo() const { return d->m_undo->canUndo(); }
bool zntDayvex::canRedo() const { return d->m_undo->canRedo(); }
void zntDayvex::undo() { d->takeStep(true); }
void zntDayvex::redo() { d->takeStep(false); }

void zntDayvexPrivate::createHistory()
{
    m_undo = new QUndoStack(q);
    m_undo->setObjectName(QStringLiteral("undoStack"));
    // The stack repeats these at every step: the host hears of a change only.
    const auto forward = [this](const char *event, auto emitIt) {
        return [this, event, emitIt, last = false](bool value) mutable {
            if (std::exchange(last, value) != value)
                runLoggingErrors("zntDayvex", [&] { callHostHandler(event, [&] { emitIt(value); }); });
        };
    };
    QObject::connect(m_undo, &QUndoStack::canUndoChanged, q,
                     forward("canUndoChanged", [this](bool on) { emit q->canUndoChanged(on); }));
    QObject::connect(m_undo, &QUndoStack::canRedoChanged, q,
                     forward("canRedoChanged", [this](bool on) { emit q->canRedoChanged(on); }));
    const auto shortcut = [this](const char *name, const QList<QKeySequence> &keys, bool back) {
        m_historyShortcuts.push_back(controlShortcut(name, keys, [this, back] { takeStep(back); }));
    };
    shortcut("actUndo", {QKeySequence(Qt::CTRL | Qt::Key_Z)}, true);
    shortcut("actRedo", {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)}, false);
    applyDragEditing();
}

void zntDayvexPrivate::applyDragEditing()
{
    m_gestures->setDragEditing(m_dragEditing);
    for (QAction *action : m_historyShortcuts)
        action->setEnabled(m_dragEditing || modern());
}

void zntDayvexPrivate::planReplaced()
{
    watchPlan();
    if (m_undo)
        m_undo->clear();
}

void zntDayvexPrivate::takeStep(bool back)
{
    runLoggingErrors("zntDayvex", [&] {
        const int index = m_undo->index();
        const int count = m_undo->count();
        const auto *step = dynamic_cast<const RecordStep *>(m_undo->command(back ? index - 1 : index));
        if (!step)
            return;
        // The stack moves before the step runs: a veto sets it back, and the step is not run again.
        const auto restore = qScopeGuard([&] {
            if (m_undo->count() == count && step->vetoed()) {
                const_cast<RecordStep *>(step)->skipNext();
                m_undo->setIndex(index);
            }
        });
        if (back)
            m_undo->undo();
        else
            m_undo->redo();
        if (m_undo->count() == count && step->error())
            std::rethrow_exception(step->error());
    });
}

void zntDayvexPrivate::undoStepDropped(const QString &why)
{
    qCWarning(lcDayvex).noquote() << why;
    callHostHandler("undoStepDropped", [&] { emit q->undoStepDropped(why); });
}

void zntDayvexPrivate::dropAppointment(const QString &key, Date start, Date end, Date occurrence)
{
    m_appointments->reschedule(key, start, end, occurrence);
}

} // namespace dayvex
