#pragma once

#include <dayvex/dayvex_export.h>

#include <QString>

namespace dayvex {

// The component's translatable texts, in load order. Each is read from the
// language file, section "International", under the key of languageKey().
enum class Text {
    Day, Week, Month, Type, Event, ToDo, Save, Delete, Cancel,
    MnuAddAppointemnt, mnuChangeAppointment, mnuDeleteAppointment,
    mnuAddToDo, mnuChangeToDo, mnuDeleteToDo, mnuDoneToDo,
    From, To, Priority, PriorityShort, Owner, Category, DueTo, Description,
    ShortDescription, Status, Done, ToBeDone, Place, ContactCode, Contact,
    Project, StartDate, StartTime, EndTime, Time, Remind, MinutesBefore,
    Reminder, DateTime, DeletingAppointmentMsg, DeletingToDoMsg,
    UnsavedChangesMsg, RemindMeIn5Minutes, DontRemind,
};
constexpr int TextCount = int(Text::DontRemind) + 1;

DAYVEX_CORE_EXPORT QString languageKey(Text text);
DAYVEX_CORE_EXPORT QString defaultText(Text text);

// The loaded text; empty until the first LoadLanguage().
DAYVEX_CORE_EXPORT QString text(Text text);
// The loaded text, or fallback (a form's design caption) while the table is empty.
DAYVEX_CORE_EXPORT QString textOr(Text key, const char *fallback);

// Fills the table from the language file: LanguageFileName when it is not
// blank, otherwise "Languagefile.txt" in the component folder.
DAYVEX_CORE_EXPORT void LoadLanguage();
// Sets the component folder and points the INI path at the default settings file.
DAYVEX_CORE_EXPORT void InitIniPath();
// One value from the current INI path; the section defaults to the component's title.
DAYVEX_CORE_EXPORT QString ReadIni(const QString &Key, const QString &Default, const QString &Section = QString());

DAYVEX_CORE_EXPORT QString componentTitle(); // "Dayvex"
// The folder holding the Dayvex library file, ending with a separator.
DAYVEX_CORE_EXPORT QString componentFolder();
DAYVEX_CORE_EXPORT QString currentIniPath();

// Empties the table and forgets the INI path (for tests).
DAYVEX_CORE_EXPORT void resetLanguage();

} // namespace dayvex
