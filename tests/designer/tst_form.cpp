#include "ui_agendaform.h"

#include <dayvextest.h>

#include <QAction>
#include <QTabBar>

// A host form as uic writes it from Designer: the control is constructed and
// each property the form sets is assigned, some by setter, some by setProperty.
class tst_Form : public QObject
{
    Q_OBJECT
private slots:
    void init()
    {
        resetSharedSettings();
        resetLanguage();
        setClockSource([] { return QDateTime(QDate(2026, 11, 23), QTime(10, 0)); });
    }

    void formSetsTheControl()
    {
        sharedSettings().DayStepMinutes = 45; // left by an earlier control: the form starts afresh
        QWidget form;
        Ui::AgendaForm ui;
        ui.setupUi(&form);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));

        zntDayvex *agenda = ui.agenda;
        QCOMPARE(agenda->StartDay(), Date::fromDate(QDate(2027, 3, 1)));
        // never read, the control still takes its texts before it shows
        QCOMPARE(agenda->findChild<QAction *>("mnNuovo")->text(), "Add appointment");
        QCOMPARE(agenda->findChild<QTabBar *>("TipoVis")->tabText(0), "day");

        // the day from 09:00 to 12:00 in 20-minute slots
        QTRY_COMPARE(agenda->findChild<AgendaGrid *>("Lista")->rowCount(), 10);
    }
};

QTEST_MAIN(tst_Form)
#include "tst_form.moc"
