#include <dayvextest.h>
#include <dayvex/i18n/language.h>
#include <dayvex/model/sharedsettings.h>
#include <dayvex/platform/inireader.h>

#include <QTemporaryDir>

#ifdef Q_OS_UNIX
#include <sys/stat.h>
#endif

class tst_Language : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        resetLanguage();
        resetSharedSettings();
    }

    void readValue()
    {
        const QByteArray windowsFile = "; language file\r\n[International]\r\n  Day = Giorno  \r\n"
                                       "Week=\"Settimana \"\r\nMonth==Mese\r\n\r\n[Other]\r\nType=x\r\n";
        const struct { QByteArray file; const char *section, *key; QString expected; } values[] = {
            {windowsFile, "International", "Day", "Giorno"}, // blanks trimmed, CR LF
            {windowsFile, "INTERNATIONAL", "dAY", "Giorno"}, // names ignore case
            {windowsFile, "International", "Week", "Settimana "}, // quotes removed, the inner blank kept
            {windowsFile, "International", "Month", "=Mese"}, // the value after the first =
            {windowsFile, "International", "Type", "default"}, // the key of another section
            {windowsFile, "Missing", "Day", "default"},
            {"[S]\n;Day=no\n", "S", "Day", "default"}, // a commented key
            {"[S]\nA=1\n[T]\n[s]\nA=2\nB=3\n", "S", "B", "default"}, // the first section of a name wins
            {"[S]\nLong=" + QByteArray(300, 'x') + "\n", "S", "Long", QString(254, 'x')}, // cut at 254
            {"\xEF\xBB\xBF[S]\nToDo=Attivit\xC3\xA0\n", "S", "ToDo", QString::fromUtf8("Attività")}, // UTF-8, BOM
            {"[S]\nToDo=Attivit\xE0 \x80 5\n", "S", "ToDo", QString::fromUtf8("Attività € 5")}, // Windows-1252
            {"[S]\nA=Citt\xE0\nB=Citt\xC3\xA0\n", "S", "B", QString::fromUtf8("Città")}, // mixed lines
            {QByteArray("\x00\xFF\xFE[S\x00]\n\x01=\x02\n", 12), "S", "A", "default"}}; // binary noise
        for (const auto &value : values)
            QCOMPARE(IniReader::readValue(write("test.ini", value.file), value.section, value.key, "default"),
                     value.expected);
    }

    void unreadableFiles()
    {
        QCOMPARE(IniReader::readValue(m_dir.filePath("absent.ini"), "S", "A", "d"), "d");
        QCOMPARE(IniReader::readValue(m_dir.path(), "S", "A", "d"), "d"); // a folder
        QByteArray huge("[S]\nA=1\n");
        huge.append(QByteArray(IniReader::MaxFileSize, ';'));
        QCOMPARE(IniReader::readValue(write("huge.ini", huge), "S", "A", "d"), "d");
    #ifdef Q_OS_UNIX
        // Neither a FIFO with no writer nor an endless device holds the caller.
        const QByteArray fifo = QFile::encodeName(m_dir.filePath("fifo.ini"));
        QCOMPARE(::mkfifo(fifo.constData(), 0600), 0);
        QCOMPARE(IniReader::readValue(QFile::decodeName(fifo), "S", "A", "d"), "d");
        QCOMPARE(IniReader::readValue("/dev/zero", "S", "A", "d"), "d");
        sharedSettings().LanguageFileName = QFile::decodeName(fifo);
        LoadLanguage();
        QCOMPARE(text(Text::Day), "day");
    #endif
    }

    // Texts are empty until the first load; a file names some, the others keep their defaults.
    void partialFile()
    {
        QCOMPARE(text(Text::Day), QString());
        sharedSettings().LanguageFileName = write("it.txt", "[International]\nDay=Giorno\nFrom=dalle\n");
        LoadLanguage();
        QCOMPARE(text(Text::Day), "Giorno");
        QCOMPARE(text(Text::From), "dalle");
        QCOMPARE(text(Text::Week), "week");
        QCOMPARE(currentIniPath(), sharedSettings().LanguageFileName);
        sharedSettings().LanguageFileName = m_dir.filePath("absent.txt");
        LoadLanguage();
        QCOMPARE(text(Text::Day), "day");
        QCOMPARE(text(Text::From), QString()); // no default of its own
    }

    void blankFileNameFallsBackToComponentFolder()
    {
        sharedSettings().LanguageFileName = QStringLiteral("   ");
        LoadLanguage();
        QCOMPARE(currentIniPath(), componentFolder() + "Languagefile.txt");
        QVERIFY(componentFolder().endsWith('/'));
        InitIniPath();
        QCOMPARE(currentIniPath(), componentFolder() + "Dayvex.ini");
    }

private:
    QString write(const QString &name, const QByteArray &bytes) { return writeFile(m_dir.filePath(name), bytes); }
    QTemporaryDir m_dir;
};

QTEST_GUILESS_MAIN(tst_Language)
#include "tst_language.moc"
