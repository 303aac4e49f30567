#include <dayvextest.h>
#include <dayvex/layout/agendaentry.h>
#include <dayvex/layout/controllayout.h>
#include <dayvex/layout/timegrid.h>
#include <dayvex/model/schedules.h>
#include <dayvex/platform/format.h>

#include <cmath>
#include <limits>

namespace {
Date time(const char *text)
{
    return *parseDate(QString::fromLatin1(text), DateOrder::DayMonthYear);
}

GridGeometry dayGrid()
{
    GridGeometry g;
    g.top = 400;
    g.height = 6000;
    g.rowHeight = 240;
    g.dayStart = time("08:00");
    g.step = 30;
    g.colPos = {0, 400, 800, 0, 0, 0, 0, 0, 0};
    g.colWidth = {400, 400, 3000, 0, 0, 0, 0, 0, 0};
    return g;
}
} // namespace

class tst_Layout : public QObject
{
    Q_OBJECT
private slots:
    // The count of slots, then the start and step as slotCount leaves them.
    void slotCount()
    {
        const auto slotsOf = [](QString start, QString end, int step) {
            qint16 s = qint16(step);
            const int count = dayvex::slotCount(start, end, s);
            return QString("%1 %2 %3").arg(count).arg(start).arg(s);
        };
        QCOMPARE(slotsOf("08:00", "20:00", 30), "25 08:00 30");
        QCOMPARE(slotsOf("08:00", "20:10", 30), "26 08:00 30"); // the end off the step
        QCOMPARE(slotsOf("21:00", "20:00", 30), "1 21:00 30");  // the start after the end
        QCOMPARE(slotsOf("09:00", "09:00", 15), "1 09:00 15");
        QCOMPARE(slotsOf("08:00", "20:00", 0), "25 08:00 30"); // no step
        QCOMPARE(slotsOf("25:99", "09:00", 30), "3 08:00 30"); // a bad start
    }

    void rows()
    {
        const auto row = [](const char *at, int step, bool week) {
            return timeRow(time(at), time("08:00"), qint16(step), week);
        };
        QCOMPARE(row("08:00", 30, false), 0);
        QCOMPARE(row("09:30", 30, true), 5); // the week adds two
        QCOMPARE(row("07:00", 30, false), -1); // before the day, cut toward zero
        QCOMPARE(row("19:45", 30, false), 24); // a late time pulled forward by 1450
        QCOMPARE(row("08:15", 30, false), 1);  // half a slot rounds up
        QCOMPARE(row("16:20", 5, false), 101);
    }

    // Each box's left and width, in twips.
    void sideBySide()
    {
        const auto placed = [](const QStringList &boxes, double columnWidth) {
            GridGeometry g = dayGrid();
            g.colWidth[2] = columnWidth;
            std::vector<BoxInput> inputs;
            for (const QString &times : boxes)
                inputs.push_back({times, 0});
            QList<double> got;
            for (const BoxPlacement &box : placeBoxes(inputs, g))
                got << box.left << box.width;
            return got;
        };
        const QString nine = "09:00-10:00";
        QCOMPARE(placed({nine}, 3000), QList<double>({830, 3000}));
        QCOMPARE(placed({nine, nine, nine}, 3000), QList<double>({830, 1010, 1830, 1010, 2830, 1010}));
        // 9-10 and 9:30-10:30 share the 9:30 row. A box's own last row counts for the
        // others but is not searched for itself, so only the later box is narrowed.
        QCOMPARE(placed({nine, "09:30-10:30", "10:30-11:00"}, 3000), QList<double>({830, 3000, 830, 1510, 830, 3000}));
        // two boxes from 9:00 overlap in rows they both search
        QCOMPARE(placed({"09:00-10:30", nine}, 3000), QList<double>({830, 1510, 2330, 1510}));
        // halves whatever the width, a wall of screens too
        QCOMPARE(placed({nine, nine}, 2.0e6), QList<double>({830, 1000010, 1000830, 1000010}));
    }

    void boxHeights()
    {
        const auto p = placeBoxes({{"09:00-10:00", 0}}, dayGrid());
        QVERIFY(p[0].visible);
        QCOMPARE(p[0].top, 400 + 2 * 240 + 30.0);
        QCOMPARE(p[0].height, 400 + 40 + 4 * 240 - p[0].top); // ends 10 twips below the next box's top
        const auto reversed = placeBoxes({{"10:00-09:00", 0}}, dayGrid()); // one row at least
        QCOMPARE(reversed[0].height, 400 + 40 + 5 * 240 - reversed[0].top);
    }

    void scrolledAndHidden()
    {
        GridGeometry g = dayGrid();
        g.topRow = 4; // 10:00 is the first row shown
        const auto p = placeBoxes({{"09:00-11:00", 0}, {"08:00-09:00", 0}, {"19:00-19:30", 0}}, g);
        QVERIFY(p[0].visible);
        QCOMPARE(p[0].top, 430.0); // clamped to the top
        QVERIFY(!p[1].visible);    // wholly above
        g.topRow = 0;
        g.height = 1000;
        QVERIFY(!placeBoxes({{"19:00-19:30", 0}}, g)[0].visible); // wholly below
    }

    void occupancyLimit()
    {
        GridGeometry g = dayGrid();
        g.step = 5;
        QCOMPARE(errorNumber([&] { placeBoxes({{"16:00-16:40", 0}}, g); }), 9);
        QCOMPARE(placeBoxes({{"15:00-15:30", 0}}, g).size(), size_t(1));
    }

    void oddTimesAndCells()
    {
        // A host's NaN date counts as the empty date; a slot of no minutes is refused.
        const double nan = std::nan("");
        QCOMPARE(timeRow(Date(nan), time("08:00"), 30, false), timeRow(Date(), time("08:00"), 30, false));
        QCOMPARE(timeRow(time("09:00"), Date(nan), 30, true), timeRow(time("09:00"), Date(), 30, true));
        QVERIFY_THROWS_EXCEPTION(Error, timeRow(time("08:00"), time("08:00"), 0, false));
        QVERIFY_THROWS_EXCEPTION(Error, placeBoxes({{"09:00-10:00", 7}}, dayGrid()));
        // A cell far below the month is past the years, not a wrapped int.
        const Date shown = time("15/03/2026");
        QCOMPARE(errorNumber([&] { clickedDate(3, shown, true, std::numeric_limits<qint32>::max(), 8); }), int(Error::Overflow));
    }

    void appointmentLineKeepsSeparators()
    {
        const Date start = Date::fromDateTime(QDateTime(QDate(2026, 11, 23), QTime(9, 0)));
        QCOMPARE(appointmentLine(start, start.addMinutes(45), false, "Rossi", "", "", "x"), "09:00-09:45  |  | x");
    }

    void entryTexts_data()
    {
        columns<double, double>("start", "end");
        QTest::newRow("morning") << 46349.375 << 46349.40625;
        QTest::newRow("a second before midnight rounds up") << 46349.99999 << 46350.5;
        QTest::newRow("before 1900") << -1.25 << -1.5;
        QTest::newRow("empty dates") << 0.0 << 0.0;
        QTest::newRow("NaN shown empty") << std::nan("") << 46349.5;
        QTest::newRow("out of range") << 1e7 << 46349.5;
    }

    // The texts of a box or list line, made when first asked for, read as the
    // formatting of the date format would write them; a date that cannot be written
    // fails when the entry is made, never later while it is painted.
    void entryTexts()
    {
        QFETCH(double, start);
        QFETCH(double, end);
        Schedule s;
        s.Key = "7";
        s.StartDate = Date(start);
        s.EndDate = Date(end);
        s.Owner = "Rossi";
        s.Place = " Sala A ";
        s.Contact = "Ferri";
        s.Description = "Riunione";
        const QString format = "dd/mm/yyyy";
        QString times, dates;
        try {
            times = formatDate(s.StartDate, "hh:mm") + '-' + formatDate(s.EndDate, "hh:mm");
            dates = formatDate(s.StartDate, format) + '-' + formatDate(s.EndDate, format);
        } catch (const Error &error) {
            try {
                (void)AgendaEntry(s, true, format);
            } catch (const Error &refused) {
                QCOMPARE(refused.number(), error.number());
                return;
            }
            QFAIL("an entry was made of a date that cannot be written");
        }
        const AgendaEntry entry(s, true, format);
        QCOMPARE(clockSpan(s.StartDate, s.EndDate), times);
        QCOMPARE(entry.times(), times);
        QCOMPARE(entry.line(), times + " Rossi: Sala A | Ferri | Riunione");
        QCOMPARE(entry.dates(), dates);
    }

    // Months starting on a Monday, midweek, late in the week and on a Sunday.
    void monthFirstCell()
    {
        for (const auto &[shown, firstCell] : {std::pair{QDate(2026, 6, 15), QDate(2026, 6, 1)},
                                               std::pair{QDate(2026, 4, 2), QDate(2026, 3, 30)},
                                               std::pair{QDate(2026, 1, 31), QDate(2025, 12, 29)},
                                               std::pair{QDate(2000, 12, 3), QDate(2000, 11, 27)}}) {
            for (bool dayFirst : {true, false})
                QCOMPARE(dayvex::monthFirstCell(Date::fromDate(shown), dayFirst).toDate(), firstCell);
            QCOMPARE(viewRange(3, Date::fromDate(shown), true).to.toDate(), firstCell.addDays(35));
        }
    }

    void hourRuns()
    {
        // the first row and the row count of each hour's run, pairwise
        const auto runs = [](int step) {
            QList<int> got;
            for (const RowRun &run : dayvex::hourRuns(slotLabels("08:00", qint16(step), 6)))
                got << run.first << run.count;
            return got;
        };
        QCOMPARE(runs(30), QList<int>({0, 2, 2, 2, 4, 2}));
        QCOMPARE(runs(45), QList<int>({0, 2, 4, 2}));
        QCOMPARE(runs(60), QList<int>());
    }

    void monthCell()
    {
        // the grid of December 2000 starts on Monday 27 November; the time of day does not count
        const auto cell = [](int month, int day) {
            return monthCellOf(Date::fromDateTime(QDateTime(QDate(2000, month, day), QTime(17, 30))),
                               Date::fromDate(QDate(2000, 11, 27)));
        };
        QCOMPARE(cell(11, 27), (MonthCell{0, 2}));
        QCOMPARE(cell(12, 1), (MonthCell{0, 6}));
        QCOMPARE(cell(12, 4), (MonthCell{1, 2}));
        QCOMPARE(cell(12, 31), (MonthCell{4, 8}));
        QCOMPARE(cell(11, 26), (MonthCell{-1, 8})); // the day before
    }

    void sectionAt()
    {
        // sections at 0 (400 wide), 400 (hidden), 400 (600 wide), then a gap before 1200
        const auto section = [](double pos) { return dayvex::sectionAt({0, 400, 400, 1200}, {400, 0, 600, 300}, pos); };
        QCOMPARE(section(0), 0);
        QCOMPARE(section(400), 2); // the hidden one gives way
        QCOMPARE(section(999), 2);
        QCOMPARE(section(1100), -1); // in the gap
        QCOMPARE(section(-1), -1);
        QCOMPARE(section(5000), -1);
    }

    void resizeAction()
    {
        QCOMPARE(dayvex::resizeAction(9000, 300), ResizeAction::Collapsed);
        QCOMPARE(dayvex::resizeAction(9000, 400), ResizeAction::GrowHeight); // 400 high is not collapsed
        QCOMPARE(dayvex::resizeAction(6000, 4000), ResizeAction::GrowHeight); // the height first
        QCOMPARE(dayvex::resizeAction(6000, 5030), ResizeAction::GrowWidth);  // then the width
        QCOMPARE(dayvex::resizeAction(6500, 5000), ResizeAction::LayOut);     // exactly the minimum
    }

    // One month up to 12000 twips, two past it; the tabs' captions from 1000 twips a tab.
    void calendarAndTabs()
    {
        const LayoutDesign design;
        for (const double width : {12000.0, 12001.0}) {
            const ControlLayout l = layOutControl(width, 8000, design);
            QCOMPARE(l.calendarMonths, width > 12000 ? 2 : 1);
            QCOMPARE(l.calendar.width, design.monthWidth * l.calendarMonths);
            QCOMPARE(l.calendar.right(), width); // against the right border
            QCOMPARE(l.lista.width, width - l.calendar.width);
            QCOMPARE(l.daFare.top, l.calendar.bottom() + 50);
        }
        LayoutDesign narrow;
        narrow.monthWidth = 3000;
        // TipoVis is 30 twips short of ThisDay; each tab is int((TipoVis width - 160) / 3)
        for (const double thisDayLeft : {3190.0, 3189.0}) {
            const ControlLayout l = layOutControl(thisDayLeft + narrow.thisDayWidth + narrow.monthWidth, 6000, narrow);
            QCOMPARE(l.thisDay.left, thisDayLeft);
            QCOMPARE(int(l.tabWidth), thisDayLeft == 3190 ? 1000 : 999);
            QCOMPARE(l.tabCaptions, thisDayLeft == 3190);
        }
    }

    // Modern: the view keeps at least 70% with two months, and the tab row
    // (tabs, caption, side toggle) stays in order within the view's width.
    void modernShares()
    {
        LayoutDesign design;
        design.tabCaptionWidth = 900;
        for (const double width : {6500.0, 9000.0, 12001.0, 20000.0, 25000.0, 60000.0}) {
            for (const bool collapsed : {false, true}) {
                const ControlLayout l = layOutControl(width, 9000, design, true, collapsed);
                QCOMPARE(l.sideShown, !collapsed);
                if (collapsed)
                    QCOMPARE(l.lista.width, width);
                else
                    QCOMPARE(l.lista.width + l.calendar.width, width);
                if (l.calendarMonths == 2)
                    QVERIFY(l.lista.width >= 0.7 * width);
                QVERIFY(l.tipoVis.right() <= l.thisDay.left);
                QCOMPARE(l.thisDay.right(), l.sideToggle.left);
                QCOMPARE(l.sideToggle.right(), l.lista.right());
                QCOMPARE(l.tabCaptions, l.tabWidth >= 900);
            }
        }
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
#include "tst_layout.moc"
