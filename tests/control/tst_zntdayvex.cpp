#include <dayvextest.h>
#include <dayvex/control/propertytable.h>

#include <QAction>
#include <QMenu>
#include <QSettings>
#include <QSignalSpy>
#include <QTabBar>
#include <QTemporaryDir>

class tst_zntDayvex : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        resetSharedSettings();
        resetLanguage();
        setClockSource([] { return QDateTime(QDate(2026, 11, 21), QTime(10, 30)); });
    }

    void cleanup()
    {
        setClockSource({});
    }

    // A locale's date order, and the formats a control made under it takes.
    void dateFormats()
    {
        const struct { QLocale locale; DateOrder order; QString format; } locales[] = {
            {QLocale(QLocale::Italian, QLocale::Italy), DateOrder::DayMonthYear, "dd/mm/yyyy"},
            {QLocale(QLocale::English, QLocale::UnitedStates), DateOrder::MonthDayYear, "mm/dd/yyyy"},
            {QLocale(QLocale::Japanese, QLocale::Japan), DateOrder::YearMonthDay, "mm/dd/yyyy"}};
        const QLocale saved;
        for (const auto &l : locales) {
            resetSharedSettings();
            QCOMPARE(localeDateOrder(l.locale), l.order);
            QLocale::setDefault(l.locale);
            zntDayvex control;
            QLocale::setDefault(saved);
            QCOMPARE(sharedSettings().DateFormat, l.format);
            QCOMPARE(sharedSettings().DateTimeFormat, l.format + " hh:ss");
        }
    }

    void assignments_data()
    {
        columns<QByteArray, QVariant, bool, bool>("property", "value", "accepted", "logged");
        // Through the meta-object, as a form sets them: the step is an int, the day a QDate.
        // What the conversion refuses never reaches the setter, which logs what it refuses.
        QTest::newRow("step 4") << QByteArray("DayStepMinutes") << QVariant(4) << false << true;
        QTest::newRow("step 5") << QByteArray("DayStepMinutes") << QVariant(5) << true << false;
        QTest::newRow("step 179") << QByteArray("DayStepMinutes") << QVariant(179) << true << false;
        QTest::newRow("step 180") << QByteArray("DayStepMinutes") << QVariant(180) << false << true;
        QTest::newRow("step 65541, 5 in 16 bits") << QByteArray("DayStepMinutes") << QVariant(65541) << false << false;
        QTest::newRow("start 08:30") << QByteArray("DayStartTime") << QVariant("08:30") << true << false;
        QTest::newRow("start 25:99") << QByteArray("DayStartTime") << QVariant("25:99") << false << true;
        QTest::newRow("end 9:15 PM") << QByteArray("DayEndTime") << QVariant("9:15 PM") << true << false;
        QTest::newRow("end empty") << QByteArray("DayEndTime") << QVariant("") << false << true;
        QTest::newRow("start day") << QByteArray("StartDay") << QVariant(QDate(2027, 3, 1)) << true << false;
        QTest::newRow("start day in 10000") << QByteArray("StartDay") << QVariant(QDate(10000, 1, 1)) << false << false;
        QTest::newRow("no start day") << QByteArray("StartDay") << QVariant(QDate()) << false << false;
    }

    // Accepted, a value stands and is announced once by its own signal and by
    // PropertyChanged; refused, the old one stays and nothing is announced.
    void assignments()
    {
        QFETCH(QByteArray, property);
        QFETCH(QVariant, value);
        QFETCH(bool, accepted);
        QFETCH(bool, logged);
        zntDayvex control;
        control.InitProperties();
        const QVariant before = control.property(property);
        const QMetaProperty meta = control.metaObject()->property(control.metaObject()->indexOfProperty(property));
        QSignalSpy notified(&control, meta.notifySignal());
        QSignalSpy changed(&control, &zntDayvex::PropertyChanged);
        if (logged)
            QTest::ignoreMessage(QtWarningMsg, QRegularExpression(property + " refuses"));
        QVERIFY(control.setProperty(property, value));
        QCOMPARE(control.property(property), accepted ? value : before);
        QCOMPARE(notified.size(), accepted ? 1 : 0);
        QCOMPARE(changed.size(), accepted ? 1 : 0);
        if (accepted) {
            QCOMPARE(notified.at(0).at(0), value);
            QCOMPARE(changed.at(0).at(0).toString(), QString::fromLatin1(property));
        }
    }

    void roundTrip()
    {
        QTemporaryDir dir;
        QSettings settings(dir.filePath("host.ini"), QSettings::IniFormat);
        QVariantMap written; // every property a form can set
        const QMetaObject &meta = zntDayvex::staticMetaObject;
        {
            zntDayvex control;
            control.InitProperties();
            control.setDayStartTime("07:00");
            control.setDayStepMinutes(15);
            control.setStartDay(Date(46349.0));
            control.setMultiUserEnabled(false);
            control.setReminderSoundFile("ding.wav");
            control.setGlobalAlarmsEnable(false);
            control.setDisableReminderPopUp(true);
            SettingsPropertyBag bag(settings);
            control.WriteProperties(bag);
            settings.sync();
            for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i)
                if (meta.property(i).isDesignable())
                    written.insert(meta.property(i).name(), meta.property(i).read(&control));
        }
        resetSharedSettings();
        QSettings reread(dir.filePath("host.ini"), QSettings::IniFormat); // values come back as text
        zntDayvex control;
        SettingsPropertyBag bag(reread);
        control.ReadProperties(bag);
        QCOMPARE(written.value("DayStepMinutes"), 15);
        QStringList saved; // what a form can set is what is saved
        for (const ControlProperty &row : controlProperties())
            saved << row.name;
        saved.sort();
        QCOMPARE(QStringList(written.keys()), saved);
        for (auto it = written.cbegin(); it != written.cend(); ++it)
            QCOMPARE(control.property(qPrintable(it.key())), it.value());

        // back at the defaults, the stale keys leave the file
        control.setDayStepMinutes(30);
        control.setMultiUserEnabled(true);
        control.WriteProperties(bag);
        reread.beginGroup("zntDayvex");
        QVERIFY(!reread.contains("DayStepMinutes"));
        QVERIFY(!reread.contains("MultiUserEnabled"));
    }

    // A bag loads what it holds and the defaults for the rest, the captions in the
    // language with them; a language file set later changes the texts, and the
    // captions at the next load.
    void bagLoadsDefaultsAndCaptions()
    {
        QTemporaryDir dir;
        const QString file = writeFile(dir.filePath("it.txt"), "[International]\nMnuAddAppointemnt=Nuovo\nDay=giorno\n");
        sharedSettings().DayStepMinutes = 45;
        zntDayvex control;
        control.setGlobalAlarmsEnable(false);
        MemoryPropertyBag bag({{"DayStepMinutes", 200}}); // a saved step is taken as it stands
        control.ReadProperties(bag);
        QCOMPARE(control.DayStepMinutes(), qint16(200));
        QCOMPARE(control.StartDay(), today());
        QCOMPARE(control.GlobalAlarmsEnable(), true);
        QCOMPARE(control.MultiUserEnabled(), true);
        QAction *nuovo = control.findChild<QAction *>("mnNuovo");
        QCOMPARE(nuovo->text(), "Add appointment");
        control.setLanguageFileName(file);
        QCOMPARE(text(Text::MnuAddAppointemnt), "Nuovo");
        QCOMPARE(nuovo->text(), "Add appointment");
        MemoryPropertyBag saved({{"LanguageFileName", file}});
        control.ReadProperties(saved);
        QCOMPARE(nuovo->text(), "Nuovo");
    }

    // A saved value of the wrong type is refused with the property's name, never read silently.
    void wrongTypeInBag()
    {
        const struct { QString name; QVariant value; int number; } saved[] = {
            {"DayStepMinutes", "abc", 13},
            {"DayStepMinutes", 40000, 6}, // too large for 16 bits
            {"DisableMenu", "perhaps", 13},
            {"StartDay", "yesterday", 13},
            {"StartDay", 1e9, 6}, // out of range
            {"DefaultOwner", QStringList{"a", "b"}, 13}};
        for (const auto &wrong : saved) {
            zntDayvex control;
            MemoryPropertyBag bag({{wrong.name, wrong.value}});
            try {
                control.ReadProperties(bag);
                QFAIL("a wrong value was read silently");
            } catch (const Error &e) {
                QCOMPARE(e.number(), wrong.number);
                QVERIFY2(e.description().contains(wrong.name), qPrintable(e.description()));
            }
        }
    }

    void instancesShareSettingsAndPlan()
    {
        zntDayvex first;
        auto data = std::make_shared<DayvexData>();
        first.setPlan(data);
        first.setDayStepMinutes(20);
        zntDayvex second; // a new control starts initialised and replaces the shared Plan
        QVERIFY(first.Plan() != data);
        QCOMPARE(first.Plan(), second.Plan());
        QCOMPARE(first.DayStepMinutes(), qint16(30));
        second.setDefaultOwner("Verdi");
        QCOMPARE(first.DefaultOwner(), "Verdi");
        second.setDisableMenu(true); // per instance
        QCOMPARE(first.DisableMenu(), false);
    }

    void minimumSize()
    {
        zntDayvex control;
        const TwipsScale scale = TwipsScale::of(&control);
        control.resize(scale.toPixels(6000), scale.toPixels(6000));
        control.show();
        QTRY_COMPARE(control.width(), scale.toPixels(6530));
        QCOMPARE(control.height(), scale.toPixels(6000));
        control.resize(scale.toPixels(7000), scale.toPixels(4000));
        QTRY_COMPARE(control.height(), scale.toPixels(5030));
        control.resize(scale.toPixels(7000), scale.toPixels(300)); // collapsed: left alone
        QCOMPARE(control.height(), scale.toPixels(300));
    }

    // A day typed into the month calendar, the control gone before the calendar
    // takes it: nothing of the typing is left behind (the leak check at exit fails otherwise).
    void typedDayGoesWithControl()
    {
        auto control = std::make_unique<zntDayvex>();
        control->show();
        auto *month = control->findChild<QWidget *>("qt_calendar_calendarview");
        QVERIFY(month);
        QTest::keyClick(month, Qt::Key_1);
        QVERIFY(month->parentWidget()->findChild<QFrame *>(QString(), Qt::FindDirectChildrenOnly)); // the typed day shows
        control.reset();
    }
};

QTEST_MAIN(tst_zntDayvex)
#include "tst_zntdayvex.moc"
