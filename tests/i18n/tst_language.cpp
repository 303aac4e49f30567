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

    void readValue_data()
    {
        columns<QByteArray, QString, QString, QString>("file", "section", "key", "expected");
        const QByteArray windowsFile = "; language file\r\n[International]\r\n  Day = Giorno  \r\n"
                                       "Week=\"Settimana \"\r\nMonth==Mese\r\n\r\n[Other]\r\nType=x\r\n";
        QTest::newRow("blanks trimmed, CR LF") << windowsFile << "International" << "Day" << "Giorno";
        QTest::newRow("names ignore case") << windowsFile << "INTERNATIONAL" << "dAY" << "Giorno";
        QTest::newRow("quotes removed, inner blank kept") << windowsFile << "International" << "Week" << "Settimana ";
        QTest::newRow("value after the first =") << windowsFile << "International" << "Month" << "=Mese";
        QTest::newRow("key of another section") << windowsFile << "International" << "Type" << "default";
        QTest::newRow("missing section") << windowsFile << "Missing" << "Day" << "default";
        QTest::newRow("commented key") << QByteArray("[S]\n;Day=no\n") << "S" << "Day" << "default";
        QTest::newRow("first section of a name wins") << QByteArray("[S]\nA=1\n[T]\n[s]\nA=2\nB=3\n") << "S" << "B"
                                                      << "default";
        QTest::newRow("cut at 254") << QByteArray("[S]\nLong=" + QByteArray(300, 'x') + "\n") << "S" << "Long"
                                    << QString(254, 'x');
        QTest::newRow("UTF-8 with BOM") << QByteArray("\xEF\xBB\xBF[S]\nToDo=Attivit\xC3\xA0\n") << "S" << "ToDo"
                                        << QString::fromUtf8("Attività");
        QTest::newRow("Windows-1252 bytes") << QByteArray("[S]\nToDo=Attivit\xE0 \x80 5\n") << "S" << "ToDo"
                                            << QString::fromUtf8("Attività € 5");
        QTest::newRow("mixed lines") << QByteArray("[S]\nA=Citt\xE0\nB=Citt\xC3\xA0\n") << "S" << "B"
                                     << QString::fromUtf8("Città");
        QTest::newRow("binary noise") << QByteArray("\x00\xFF\xFE[S\x00]\n\x01=\x02\n", 12) << "S" << "A" << "default";
    }

    void readValue()
    {
        QFETCH(QByteArray, file);
        QFETCH(QString, section);
        QFETCH(QString, key);
        const QString path = write(QStringLiteral("test.ini"), file);
        QTEST(IniReader::readValue(path, section, key, QStringLiteral("default")), "expected");
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

    void defaultsWithoutFile()
    {
        QCOMPARE(text(Text::Day), QString()); // empty until the first load
        sharedSettings().LanguageFileName = m_dir.filePath("absent.txt");
        LoadLanguage();
        QCOMPARE(text(Text::Day), "day");
        QCOMPARE(text(Text::From), QString());
    }

    void partialFile()
    {
        sharedSettings().LanguageFileName = write("it.txt", "[International]\nDay=Giorno\nFrom=dalle\n");
        LoadLanguage();
        QCOMPARE(text(Text::Day), "Giorno");
        QCOMPARE(text(Text::From), "dalle");
        QCOMPARE(text(Text::Week), "week");
        QCOMPARE(currentIniPath(), sharedSettings().LanguageFileName);
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
