#include <dayvextest.h>
#include <dayvex/layout/controllayout.h>

Q_DECLARE_METATYPE(dayvex::ResizeAction)

class tst_Layout : public QObject
{
    Q_OBJECT
private slots:
    void resizeAction_data()
    {
        QTest::addColumn<double>("width");
        QTest::addColumn<double>("height");
        QTest::addColumn<ResizeAction>("action");
        QTest::newRow("collapsed") << 9000.0 << 300.0 << ResizeAction::Collapsed;
        QTest::newRow("400 high is not collapsed") << 9000.0 << 400.0 << ResizeAction::GrowHeight;
        QTest::newRow("height first") << 6000.0 << 4000.0 << ResizeAction::GrowHeight;
        QTest::newRow("then width") << 6000.0 << 5030.0 << ResizeAction::GrowWidth;
        QTest::newRow("6000 x 6000") << 6000.0 << 6000.0 << ResizeAction::GrowWidth;
        QTest::newRow("exactly the minimum") << 6500.0 << 5000.0 << ResizeAction::LayOut;
    }

    void resizeAction()
    {
        QFETCH(double, width);
        QFETCH(double, height);
        QTEST(dayvex::resizeAction(width, height), "action");
    }

    void calendarMonths_data()
    {
        QTest::addColumn<double>("width");
        QTest::addColumn<int>("months");
        QTest::newRow("12000") << 12000.0 << 1;
        QTest::newRow("12001") << 12001.0 << 2;
    }

    void calendarMonths()
    {
        QFETCH(double, width);
        QFETCH(int, months);
        const LayoutDesign design;
        const ControlLayout l = layOutControl(width, 8000, design);
        QCOMPARE(l.calendarMonths, months);
        QCOMPARE(l.calendar.width, design.monthWidth * months);
        QCOMPARE(l.calendar.right(), width);           // against the right border
        QCOMPARE(l.lista.width, width - l.calendar.width);
        QCOMPARE(l.daFare.top, l.calendar.bottom() + 50);
    }

    void tabCaptions_data()
    {
        QTest::addColumn<double>("thisDayLeft");
        QTest::addColumn<int>("tabWidth");
        QTest::addColumn<bool>("captions");
        // TipoVis is 30 twips short of ThisDay; each tab is int((TipoVis width - 160) / 3)
        QTest::newRow("exactly 1000") << 3190.0 << 1000 << true;
        QTest::newRow("just under") << 3189.0 << 999 << false;
    }

    void tabCaptions()
    {
        QFETCH(double, thisDayLeft);
        LayoutDesign design;
        design.monthWidth = 3000;
        // lista right edge = W - 3000; ThisDay's left = that minus its width
        const double width = thisDayLeft + design.thisDayWidth + design.monthWidth;
        const ControlLayout l = layOutControl(width, 6000, design);
        QCOMPARE(l.thisDay.left, thisDayLeft);
        QTEST(int(l.tabWidth), "tabWidth");
        QTEST(l.tabCaptions, "captions");
    }

    void childrenFitTheControl()
    {
        const LayoutDesign design;
        const ControlLayout l = layOutControl(15000, 9000, design);
        QCOMPARE(l.lista.height, 9000.0 - 800);
        QCOMPARE(l.statusFirstPanel, 15000.0 - 2980);
        QVERIFY(l.daFare.bottom() <= l.status.top);
        QVERIFY(l.lista.bottom() <= l.status.top);
        QCOMPARE(dayViewColumnWidth(7140), 6000.0);
        QCOMPARE(weekViewColumnWidth(7140 + 6), 858);
        QCOMPARE(weekViewColumnWidth(7140 + 5), 857); // whole twips, cut off
    }
};

QTEST_GUILESS_MAIN(tst_Layout)
#include "tst_controllayout.moc"
