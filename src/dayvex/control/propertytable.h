#pragma once

// The control's persisted properties, one row each: the one place their names,
// defaults, assignment rules and stored forms are written.

#include <QString>
#include <QVariant>

#include <span>

namespace dayvex {

class zntDayvexPrivate;

struct ControlProperty
{
    enum class Stored { Text, Flag, Int16, Day };

    const char *name;
    Stored stored;
    // What InitProperties sets and what a bag without the property reads as.
    QVariant (*defaultValue)();
    // What WriteProperties compares with, when it differs from defaultValue
    // (StartDay is written unless it is the empty date).
    QVariant writtenDefault;
    // False for a property that InitProperties leaves as it is.
    bool initialised;
    // The rule an assignment must pass; loaded values bypass it.
    bool (*accepts)(const QVariant &value);
    QVariant (*get)(const zntDayvexPrivate &control);
    // Stores a value of the row's type, no rule applied.
    void (*set)(zntDayvexPrivate &control, const QVariant &value);
};

// In the order ReadProperties reads and WriteProperties writes them.
std::span<const ControlProperty> controlProperties();
const ControlProperty &controlProperty(const char *name);

// A bag's value for the row, converted to the row's type: throws dayvex::Error
// 13 for a value of the wrong kind, 6 for one out of range.
QVariant fromBag(const ControlProperty &row, const QVariant &value);

} // namespace dayvex
