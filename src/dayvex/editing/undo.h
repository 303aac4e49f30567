#pragma once

#include <dayvex/model/records.h>

#include <QString>
#include <QUndoCommand>

#include <exception>
#include <memory>
#include <vector>
#include <optional>

namespace dayvex {

class EditingHost;

// A change made with the control's own commands, as its undo stack keeps it:
// the record as it was (none: it was added) and as it became (none: deleted).
// Undo and redo are changes like any other: they raise the host's Before,
// Validate and after events, and the host may veto them; a record changed or
// removed some other way since is not overwritten: the step is dropped and
// dropped() says why.
class RecordStep : public QUndoCommand
{
public:
    // A step whose undo or redo the host vetoed: the stack is set back over it
    // without running it again.
    bool vetoed() const { return m_vetoed; }
    void skipNext() { m_skip = true; }
    // What a host's handler threw during the last undo or redo, for the caller to
    // report once the stack is set right: thrown before the change, it counts as a veto.
    std::exception_ptr error() const { return m_error; }

protected:
    RecordStep(EditingHost &host, const QString &text);
    void undo() override;
    void redo() override;
    // Brings the record from the state before to the state after (forward) or
    // back through the host's events; false when the host vetoed. A record
    // changed some other way since is left alone: the step drops.
    bool bring(bool forward);
    // Whether the record is as bring(forward) expects to find it, and which
    // record that is (its kind's letter and folded key).
    virtual bool expected(bool forward) const = 0;
    virtual QString subject() const = 0;
    virtual QString noun() const = 0; // what it changes, for the user: "appointment"
    // The host's say (Before, Validate): false when it vetoed, nothing changed.
    virtual bool ask(bool forward) = 0;
    // The change the host agreed to, then the after-events.
    virtual void apply(bool forward) = 0;
    void drop(const QString &why);

    EditingHost &m_host;
    bool m_applied = false; // set by bring once the data has changed

private:
    friend class RecordSteps;
    void run(bool forward);

    bool m_skip = true; // the first redo is the change itself, already made
    bool m_vetoed = false;
    std::exception_ptr m_error;
};

template <typename Record>
class RecordChange : public RecordStep
{
public:
    RecordChange(EditingHost &host, const QString &text, std::optional<Record> before, std::optional<Record> after)
        : RecordStep(host, text)
        , m_before(std::move(before))
        , m_after(std::move(after))
    {
    }

protected:
    bool expected(bool forward) const override;
    QString subject() const override;
    QString noun() const override;
    bool ask(bool forward) override;
    void apply(bool forward) override;

private:
    std::optional<Record> m_before;
    std::optional<Record> m_after;
    // Between ask and apply: the record now, what it becomes (null for a
    // removal), and whether the host took the change over.
    std::shared_ptr<Record> m_live;
    std::shared_ptr<Record> m_proposed;
    bool m_external = false;
};

// Whether two records hold the same values, property by property.
template <typename Record>
bool sameRecord(const Record &a, const Record &b);

// The names of the steps, as a host's Edit menu shows them ("Undo Move appointment").
enum class Step { New, Change, Delete, Move, Done };
QString stepText(QChar kind, Step step);

// Puts the change of a record on the host's undo stack, when it keeps one.
template <typename Record>
void recordChange(EditingHost &host, const QString &text, std::optional<Record> before, std::optional<Record> after);

// While one lives, the changes recorded for its host gather into one step named
// text, pushed when it goes (a lone change is pushed as it is): a series deleted
// with its moved occurrences comes back with one undo. An inner one for the same
// host leaves the gathering to the outer.
class StepGroup
{
public:
    StepGroup(EditingHost &host, const QString &text);
    ~StepGroup();
    StepGroup(const StepGroup &) = delete;
    StepGroup &operator=(const StepGroup &) = delete;

    // The group gathering host's changes, or null.
    static StepGroup *openFor(const EditingHost &host);
    void take(std::unique_ptr<RecordStep> step) { m_steps.push_back(std::move(step)); }

private:
    EditingHost &m_host;
    QString m_text;
    bool m_open = false; // false when an outer group gathers
    std::vector<std::unique_ptr<RecordStep>> m_steps;
};

} // namespace dayvex
