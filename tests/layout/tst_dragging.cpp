#include <dayvextest.h>
#include <dayvex/layout/dragging.h>

Q_DECLARE_METATYPE(dayvex::DragPart)

namespace {
// A week from Monday 27 November 2000 (across the month's end): columns 50 px
// wide from x 100, rows 10 px high from y 20.
DragGrid week(int step, int firstMinute = 0)
{
    DragGrid grid;
    for (int day = 0; day <= 7; ++day)
        grid.columnLefts.push_back(100 + 50 * day);
    grid.firstDay = at(2000, 11, 27);
    grid.top = 20;
    grid.rowHeight = 10;
    grid.firstMinute = firstMinute;
    grid.step = step;
    grid.rows = (1440 - firstMinute) / step;
    return grid;
}
} // namespace

class tst_Dragging : public QObject
{
    Q_OBJECT
private slots:
    void slotUnderPointer_data()
    {
        columns<int, int, QPointF, Date>("step", "firstMinute", "pos", "start");
        QTest::newRow("left of the columns") << 15 << 0 << QPointF(99, 25) << at(2000, 11, 27);
        QTest::newRow("Saturday 09:15") << 15 << 0 << QPointF(360, 20 + 10 * 37 + 9) << at(2000, 12, 2, 9, 15);
        QTest::newRow("below the last 5-minute row") << 5 << 0 << QPointF(449, 5000) << at(2000, 12, 3, 23, 55);
        QTest::newRow("above, right of the hours") << 60 << 0 << QPointF(500, 5) << at(2000, 12, 3);
        QTest::newRow("rows from 08:00") << 30 << 480 << QPointF(150, 50) << at(2000, 11, 28, 9, 30);
    }

    void slotUnderPointer()
    {
        QFETCH(int, step);
        QFETCH(int, firstMinute);
        QFETCH(QPointF, pos);
        const DragGrid grid = week(step, firstMinute);
        QTEST(slotStart(grid, slotAt(grid, pos)), "start");
    }

    void edgeZones_data()
    {
        columns<int, int, DragPart>("height", "y", "part");
        QTest::newRow("top edge") << 60 << 101 << DragPart::Start;
        QTest::newRow("middle") << 60 << 130 << DragPart::Move;
        QTest::newRow("bottom edge") << 60 << 157 << DragPart::End;
        QTest::newRow("short box: a third each") << 9 << 103 << DragPart::Move;
        QTest::newRow("short box, top") << 9 << 102 << DragPart::Start;
    }

    void edgeZones()
    {
        QFETCH(int, height);
        QFETCH(int, y);
        QTEST(dragPartAt(100, height, y, 5), "part");
    }

    void proposedTimes_data()
    {
        columns<DragPart, Date, Date, Date, Date, int, Date, Date>("part", "start", "end", "from", "to", "step",
                                                                  "newStart", "newEnd");
        const Date start = at(2000, 11, 30, 9, 0), end = at(2000, 11, 30, 10, 30);
        QTest::newRow("move across the month's end")
            << DragPart::Move << start << end << start << at(2000, 12, 1, 14, 0) << 30 << at(2000, 12, 1, 14, 0)
            << at(2000, 12, 1, 15, 30);
        QTest::newRow("a move lands on a step") << DragPart::Move << at(2000, 11, 30, 9, 10) << at(2000, 11, 30, 9, 40)
                                                << start << at(2000, 11, 30, 10, 0) << 15
                                                << at(2000, 11, 30, 10, 15) << at(2000, 11, 30, 10, 45);
        QTest::newRow("no move yet") << DragPart::Move << at(2000, 11, 30, 9, 10) << at(2000, 11, 30, 9, 40) << start
                                     << start << 15 << at(2000, 11, 30, 9, 10) << at(2000, 11, 30, 9, 40);
        QTest::newRow("end to a later hour") << DragPart::End << start << end << end << at(2000, 11, 30, 11, 0) << 60
                                             << start << at(2000, 11, 30, 12, 0);
        QTest::newRow("end above the start: one step") << DragPart::End << start << end << end
                                                       << at(2000, 11, 30, 8, 0) << 5 << start
                                                       << at(2000, 11, 30, 9, 5);
        QTest::newRow("start below the end: one step") << DragPart::Start << start << end << start
                                                       << at(2000, 11, 30, 11, 0) << 15
                                                       << at(2000, 11, 30, 10, 15) << end;
        QTest::newRow("start to the day before") << DragPart::Start << start << end << start
                                                 << at(2000, 11, 29, 23, 0) << 60 << at(2000, 11, 29, 23, 0) << end;
    }

    void proposedTimes()
    {
        QFETCH(DragPart, part);
        QFETCH(Date, start);
        QFETCH(Date, end);
        QFETCH(Date, from);
        QFETCH(Date, to);
        QFETCH(int, step);
        const auto [newStart, newEnd] = draggedTimes(part, start, end, from, to, step);
        QTEST(newStart, "newStart");
        QTEST(newEnd, "newEnd");
    }

    // The ghost stands on its column and rows, cut at the end of the day.
    void ghostRect()
    {
        const DragGrid grid = week(30);
        QCOMPARE(slotRect(grid, 1, 540, 600), QRect(150, 200, 50, 20));
        QCOMPARE(slotRect(grid, 6, 1380, 1500), QRect(400, 480, 50, 20));
        QCOMPARE(slotRect(grid, 7, 0, 30), QRect());
    }
};

QTEST_GUILESS_MAIN(tst_Dragging)
#include "tst_dragging.moc"
