#include "ui_agendaform.h"

#include <internals.h>

#include <QAction>
#include <QTabBar>
#include <QTest>

using namespace dayvex;

// A host form as uic writes it from Designer: the control is constructed and
// each property the form sets is assigned, some by setter, some by setProperty.
class tst_Form : public QObject
{
    Q_OBJECT
private slots:
    void init();
    void formSetsTheControl();
    void loadedPropertiesWin_data();
    void loadedPropertiesWin();
};

void tst_Form::init()
{
    resetSharedSettings();
    resetLanguage();
    setClockSource([] { return QDateTime(QDate(2026, 11, 23), QTime(10, 0)); });
}

void tst_Form::formSetsTheControl()
{
    sharedSettings().DayStepMinutes = 45; // left by an earlier control: the form starts afresh
    QWidget form;
    Ui::AgendaForm ui;
    ui.setupUi(&form);
    form.show();
    QVERIFY(QTest::qWaitForWindowExposed(&form));

    zntDayvex *agenda = ui.agenda;
    QCOMPARE(agenda->DisableMenu(), true);
    QCOMPARE(agenda->DayStartTime(), "09:00");
    QCOMPARE(agenda->DayEndTime(), "12:00");
    QCOMPARE(agenda->DayStepMinutes(), qint16(20));
    QCOMPARE(agenda->StartDay(), Date::fromDate(QDate(2027, 3, 1)));
    QCOMPARE(agenda->MultiUserEnabled(), false);
    QCOMPARE(agenda->DefaultOwner(), "Rossi");
    QCOMPARE(agenda->GlobalAlarmsEnable(), false);
    // what the form leaves alone is as InitProperties sets it
    QCOMPARE(agenda->ContactCodeEnabled(), true);
    QCOMPARE(agenda->DisableReminderPopUp(), false);
    QCOMPARE(agenda->LanguageFileName(), QString());
    // never read, the control still takes its texts before it shows
    QCOMPARE(agenda->findChild<QAction *>("mnNuovo")->text(), "Add appointment");
    QCOMPARE(agenda->findChild<QTabBar *>("TipoVis")->tabText(0), "day");

    const auto *grid = agenda->findChild<AgendaGrid *>("Lista");
    QTRY_COMPARE(grid->rowCount(), 10); // the day from 09:00 to 12:00 in 20-minute slots
    QCOMPARE(grid->item(0, 0)->text(), "9");
    QCOMPARE(grid->item(2, 1)->text(), "40");
    QCOMPARE(grid->item(9, 0)->text(), "12");
}

void tst_Form::loadedPropertiesWin_data()
{
    QTest::addColumn<QVariantMap>("stored");
    QTest::addColumn<QString>("dayStart");
    QTest::addColumn<qint16>("step");
    QTest::addColumn<bool>("multiUser");
    QTest::newRow("stored values") << QVariantMap{{"DayStartTime", "07:00"}, {"DayStepMinutes", 10}}
                                   << "07:00" << qint16(10) << true;
    QTest::newRow("nothing stored: the defaults, not the form") << QVariantMap{} << "08:00" << qint16(30) << true;
    QTest::newRow("stored as on the form") << QVariantMap{{"MultiUserEnabled", false}} << "08:00" << qint16(30)
                                           << false;
}

void tst_Form::loadedPropertiesWin()
{
    QFETCH(QVariantMap, stored);
    QFETCH(QString, dayStart);
    QFETCH(qint16, step);
    QFETCH(bool, multiUser);
    QWidget form;
    Ui::AgendaForm ui;
    ui.setupUi(&form);
    MemoryPropertyBag bag(stored);
    ui.agenda->ReadProperties(bag);
    QCOMPARE(ui.agenda->DayStartTime(), dayStart);
    QCOMPARE(ui.agenda->DayStepMinutes(), step);
    QCOMPARE(ui.agenda->MultiUserEnabled(), multiUser);
}

QTEST_MAIN(tst_Form)
#include "tst_form.moc"
