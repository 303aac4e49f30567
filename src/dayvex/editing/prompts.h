#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/i18n/language.h>
#include <dayvex/model/alarms.h>

#include <QString>

#include <functional>

class QWidget;

namespace dayvex {

// The Yes/No questions of the commands and editors: a modal message box with
// No as the default button. Tests answer them through setPromptAnswerer; an
// empty function brings the real message box back.
enum class PromptIcon { None, Exclamation };
using PromptAnswerer = std::function<bool(const QString &text, PromptIcon icon)>;
void setPromptAnswerer(PromptAnswerer answerer);
bool askYesNo(QWidget *parent, const QString &text, PromptIcon icon);
// askYesNo with a message of the language table (its English default before the table is loaded).
bool confirm(QWidget *parent, const LanguageTable &language, Text message, PromptIcon icon);

// Which occurrences of a series a Modify or Delete acts on; Cancel does nothing.
// Tests answer through setScopeAnswerer, as setPromptAnswerer does for Yes/No.
enum class SeriesScope { Cancel, This, Following, Whole };
using ScopeAnswerer = std::function<SeriesScope(const QString &text)>;
void setScopeAnswerer(ScopeAnswerer answerer);
SeriesScope askScope(QWidget *parent, const LanguageTable &language);

// The hourglass over the whole application while it lives; nests.
class BusyCursor
{
public:
    BusyCursor();
    ~BusyCursor();
    BusyCursor(const BusyCursor &) = delete;
    BusyCursor &operator=(const BusyCursor &) = delete;
};

// Runs the event loop until form is hidden or destroyed, with form raised and
// active: timers, host events and the user go on meanwhile.
void waitUntilHidden(QWidget *form);

// Alarms::setFor for the bookkeeping that must happen even while an error is on
// its way: a failure is logged, never thrown.
void setAlarmQuietly(Alarms &alarms, QChar kind, const QString &recordKey, Date due) noexcept;

// Closes and deletes the visible top-level widgets whose "Tag" property is tag.
void closeFormsTagged(const QString &tag);

} // namespace dayvex
