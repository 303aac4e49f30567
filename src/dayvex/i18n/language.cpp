#include "language.h"

#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/inireader.h>

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <array>

#if defined(Q_OS_UNIX)
#include <dlfcn.h>
#elif defined(Q_OS_WIN)
#include <windows.h>
#endif

namespace dayvex {

namespace {

struct Entry
{
    const char *key;
    const char *defaultText;
};

// Keys and defaults are those that existing language files are written against,
// spelling included.
constexpr std::array<Entry, TextCount> Entries = {{
    {"Day", "day"},
    {"Week", "week"},
    {"Month", "month"},
    {"Type", "type"},
    {"Event", "Appointment"},
    {"ToDo", "To do activity"},
    {"Save", "&save"},
    {"Delete", "&delete"},
    {"Cancel", "&cancel"},
    {"MnuAddAppointemnt", "Add appointment"},
    {"mnuChangeAppointment", "Modify appointment"},
    {"mnuDeleteAppointment", "Delete appointment"},
    {"mnuAddToDo", "Add to do activity"},
    {"mnuChangeToDo", "Modify to do activity"},
    {"mnuDeleteToDo", "Delete to do activity"},
    {"mnuDoneToDo", "Check as done"},
    {"From", ""},
    {"To", "to"},
    {"Priority", "priority"},
    {"PriorityShort", "pri"},
    {"Owner", "owner"},
    {"Category", "category"},
    {"DueTo", "due to"},
    {"Description", "description"},
    {"ShortDescription", "short description"},
    {"Status", "state"},
    {"Done", "completed"},
    {"ToBeDone", "to be done"},
    {"Place", "place"},
    {"ContactCode", "contact code"},
    {"Contact", "contact"},
    {"Project", "project"},
    {"StartDate", "start date"},
    {"StartTime", "start time"},
    {"EndTime", "end time"},
    {"Time", "time"},
    {"Remind", "remind"},
    {"MinutesBefore", "minutes before"},
    {"Reminder", "reminder"},
    {"DateTime", "date/time"},
    {"DeletingAppointmentMsg", "Deleting selected appointment. Confirm?"},
    {"DeletingToDoMsg", "Deleting selected to do activity. Confirm?"},
    {"UnsavedChangesMsg", "There are unsaved changes. Are you shure you want to continue?"},
    {"RemindMeIn5Minutes", "remind me in 5 minutes"},
    {"DontRemind", "don't remind anymore"},
    {"SeriesScopeMsg", "This appointment repeats. Which occurrences?"},
    {"ThisOccurrence", "This occurrence"},
    {"FollowingOccurrences", "This and the following"},
    {"WholeSeries", "The whole series"},
    {"Repeat", "repeat"},
}};

QString &folderCache()
{
    static QString folder;
    return folder;
}

QString libraryFolder()
{
    QString file;
#if defined(Q_OS_UNIX)
    Dl_info info;
    if (dladdr(reinterpret_cast<void *>(&componentFolder), &info) && info.dli_fname)
        file = QString::fromLocal8Bit(info.dli_fname);
#elif defined(Q_OS_WIN)
    HMODULE module = nullptr;
    if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           reinterpret_cast<LPCWSTR>(&componentFolder), &module)) {
        wchar_t buffer[MAX_PATH];
        const DWORD n = GetModuleFileNameW(module, buffer, MAX_PATH);
        file = QString::fromWCharArray(buffer, int(n));
    }
#endif
    QString folder = file.isEmpty() ? QCoreApplication::applicationDirPath()
                                    : QFileInfo(file).absolutePath();
    if (folder.isEmpty())
        folder = QDir::currentPath();
    return QDir::fromNativeSeparators(folder);
}

} // namespace

QString languageKey(Text t) { return QString::fromLatin1(Entries[size_t(t)].key); }
QString defaultText(Text t) { return QString::fromUtf8(Entries[size_t(t)].defaultText); }
QString text(Text t) { return sharedLanguage().text(t); }
QString componentTitle() { return QStringLiteral("Dayvex"); }
QString currentIniPath() { return sharedLanguage().iniPath(); }

LanguageTable &sharedLanguage()
{
    static LanguageTable table;
    return table;
}

QString componentFolder()
{
    QString &folder = folderCache();
    if (folder.isEmpty()) {
        folder = libraryFolder();
        if (!folder.endsWith(QLatin1Char('/')))
            folder += QLatin1Char('/');
    }
    return folder;
}

void InitIniPath()
{
    sharedLanguage().setIniPath(componentFolder() + componentTitle() + QStringLiteral(".ini"));
}

QString ReadIni(const QString &Key, const QString &Default, const QString &Section)
{
    return IniReader::readValue(sharedLanguage().iniPath(), Section.isNull() ? componentTitle() : Section, Key,
                                Default);
}

void LanguageTable::load(const QString &fileName)
{
    m_iniPath = fileName.trimmed().isEmpty() ? componentFolder() + QStringLiteral("Languagefile.txt") : fileName;
    const QString section = QStringLiteral("International");
    for (int i = 0; i < TextCount; ++i)
        m_texts[size_t(i)] = IniReader::readValue(m_iniPath, section, languageKey(Text(i)), defaultText(Text(i)));
}

QString LanguageTable::textOr(Text key, const char *fallback) const
{
    const QString loaded = text(key);
    return loaded.isEmpty() ? QString::fromUtf8(fallback) : loaded;
}

void LoadLanguage()
{
    sharedLanguage().load(sharedSettings().LanguageFileName);
}

void resetLanguage()
{
    sharedLanguage() = LanguageTable();
    folderCache().clear();
}

QString textOr(Text key, const char *fallback)
{
    return sharedLanguage().textOr(key, fallback);
}

} // namespace dayvex
