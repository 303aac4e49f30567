#pragma once

#include <dayvex/dayvex_export.h>

#include <QString>

#include <array>

namespace dayvex {

struct SharedSettings;

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
    SeriesScopeMsg, ThisOccurrence, FollowingOccurrences, WholeSeries, Repeat,
};
constexpr int TextCount = int(Text::Repeat) + 1;

DAYVEX_CORE_EXPORT QString languageKey(Text text);
DAYVEX_CORE_EXPORT QString defaultText(Text text);

// One set of loaded texts and the INI path they came from. The process has one
// shared table; a control that keeps its own state has another.
class DAYVEX_CORE_EXPORT LanguageTable
{
public:
    // Fills the table from fileName when it is not blank, otherwise from
    // "Languagefile.txt" in the component folder; the INI path follows.
    void load(const QString &fileName);
    QString text(Text key) const { return m_texts[size_t(key)]; }
    // The loaded text, or fallback (a form's design caption) while the table is empty.
    QString textOr(Text key, const char *fallback) const;
    QString iniPath() const { return m_iniPath; }
    void setIniPath(const QString &path) { m_iniPath = path; }

private:
    std::array<QString, TextCount> m_texts;
    QString m_iniPath;
};

// The table shared by every control that shares state.
DAYVEX_CORE_EXPORT LanguageTable &sharedLanguage();

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
