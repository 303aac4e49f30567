#include <dayvextest.h>
#include <dayvex/layout/modernlayout.h>

#include <QRandomGenerator>

#include <cmath>

namespace {
std::shared_ptr<Schedule> appointment(Date start, Date end)
{
    auto s = std::make_shared<Schedule>();
    s->StartDate = start;
    s->EndDate = end;
    return s;
}
} // namespace

class tst_ModernLayout : public QObject
{
    Q_OBJECT
private slots:
    // Random days of up to 200 appointments, any lengths, across midnight too,
    // on columns of any width: no box covers another or a marker, and every part
    // is a box or counted in a marker.
    void noBoxCoversAnother()
    {
        QRandomGenerator random(20261125);
        const Date monday = at(2027, 5, 10);
        for (int round = 0; round < 300; ++round) {
            std::vector<std::shared_ptr<Schedule>> week;
            const int count = random.bounded(201);
            for (int i = 0; i < count; ++i) {
                const Date start = monday.addMinutes(random.bounded(-600, 7 * 1440));
                const int length = random.bounded(8) == 0 ? 0 : random.bounded(1, 1500);
                week.push_back(appointment(start, start.addMinutes(length)));
            }
            const std::vector<DaySegment> parts = dayvex::daySegments(week, monday, 7, random.bounded(1, 31));
            const ColumnLayout layout = dayvex::packColumns(parts, random.bounded(1, 9));
            const DayColumnGeometry geometry{0, random.bounded(20, 900), -random.bounded(500.0),
                                             0.2 + random.bounded(3.0)};
            int counted = 0;
            std::vector<std::pair<int, QRect>> shown;
            for (size_t i = 0; i < parts.size(); ++i) {
                const ColumnPlace &p = layout.places[i];
                if (p.hidden)
                    continue;
                QVERIFY(p.column >= 0 && p.column + p.span <= p.columns);
                ++counted;
                shown.emplace_back(parts[i].day, segmentRect(geometry, parts[i].startMinute, parts[i].endMinute,
                                                             p.column, p.span, p.columns));
            }
            for (const OverflowMarker &m : layout.markers) {
                counted += m.count;
                shown.emplace_back(m.day, segmentRect(geometry, m.startMinute, m.endMinute, m.column, 1, m.columns));
            }
            QCOMPARE(counted, int(parts.size()));
            for (size_t a = 0; a < shown.size(); ++a)
                for (size_t b = a + 1; b < shown.size(); ++b)
                    if (shown[a].first == shown[b].first && !shown[a].second.isEmpty() && !shown[b].second.isEmpty())
                        QVERIFY2(!shown[a].second.intersects(shown[b].second),
                                 qPrintable(QString("round %1: rectangles %2 and %3 of day %4 overlap")
                                                .arg(round).arg(a).arg(b).arg(shown[a].first)));
        }
    }

    // Each part: its day, start minute and end minute.
    void daySegments()
    {
        const auto parts = [](Date start, Date end, int days) {
            QList<int> got;
            for (const DaySegment &s : dayvex::daySegments({appointment(start, end)}, at(2027, 5, 10), days, 15))
                got << s.day << s.startMinute << s.endMinute;
            return got;
        };
        const auto may = [](int day, int hour, int minute = 0) { return at(2027, 5, day, hour, minute); };
        QCOMPARE(parts(may(10, 9), may(12, 17), 7), QList<int>({0, 540, 1440, 1, 0, 1440, 2, 0, 1020})); // a trip
        QCOMPARE(parts(may(10, 2, 38), may(10, 3, 30), 1), QList<int>({0, 158, 210}));
        QCOMPARE(parts(may(9, 20), may(10, 1), 1), QList<int>({0, 0, 60}));        // begun before the view
        QCOMPARE(parts(may(10, 23), may(11, 0), 7), QList<int>({0, 1380, 1440}));  // ends at midnight
        QCOMPARE(parts(may(10, 12), may(10, 12), 1), QList<int>({0, 720, 735}));   // no length: lengthened
        QCOMPARE(parts(may(10, 23, 55), may(10, 8), 1), QList<int>({0, 1425, 1440})); // the end before the start
        QCOMPARE(parts(may(10, 22), may(12, 6), 1), QList<int>({0, 1320, 1440}));  // past the view
        QCOMPARE(parts(Date(std::nan("")), may(10, 8), 1), QList<int>());
    }

    // A part widens over columns free for its whole span; a crowded group leaves
    // its last column to the marker.
    void packColumns_data()
    {
        columns<QList<int>, int, QList<int>, QList<int>>("times", "maxColumns", "places", "marker");
        // times: start, end minutes; places: column, span, columns (-1 for hidden)
        QTest::newRow("apart") << QList<int>{540, 600, 600, 660} << 4 << QList<int>{0, 1, 1, 0, 1, 1} << QList<int>{};
        QTest::newRow("widens right") << QList<int>{540, 720, 540, 600, 540, 600, 600, 720} << 4
                                      << QList<int>{0, 1, 3, 1, 1, 3, 2, 1, 3, 1, 2, 3} << QList<int>{};
        QTest::newRow("crowded") << QList<int>{540, 600, 540, 600, 540, 600} << 2
                                 << QList<int>{0, 1, 2, -1, -1, -1, -1, -1, -1} << QList<int>{540, 600, 1, 2, 2};
    }

    void packColumns()
    {
        QFETCH(QList<int>, times);
        QFETCH(int, maxColumns);
        QFETCH(QList<int>, places);
        QFETCH(QList<int>, marker);
        std::vector<DaySegment> parts;
        for (int i = 0; i < times.size(); i += 2)
            parts.push_back({i / 2, 0, times[i], times[i + 1]});
        const ColumnLayout layout = dayvex::packColumns(parts, maxColumns);
        QList<int> got;
        for (const ColumnPlace &p : layout.places)
            got << (p.hidden ? -1 : p.column) << (p.hidden ? -1 : p.span) << (p.hidden ? -1 : p.columns);
        QCOMPARE(got, places);
        QList<int> markers;
        for (const OverflowMarker &m : layout.markers)
            markers << m.startMinute << m.endMinute << m.column << m.columns << m.count;
        QCOMPARE(markers, marker);
    }

    // Whole days or not (1 or 0), then the bar's first and last day of the week from 10 May 2027.
    void wholeDays()
    {
        const auto bar = [](Date start, Date end) {
            QList<int> got{coversWholeDays(start, end)};
            for (const AllDayBar &b : stackAllDay({{start, end}}, at(2027, 5, 10), 7, 3).bars)
                got << b.firstDay << b.lastDay;
            return got;
        };
        const auto may = [](int day, int hour = 0) { return at(2027, 5, day, hour); };
        QCOMPARE(bar(may(12), may(13)), QList<int>({1, 2, 2}));
        QCOMPARE(bar(may(14, 9), may(16, 17)), QList<int>({1, 4, 6})); // a trip, timed
        QCOMPARE(bar(may(10, 12), may(11, 12)), QList<int>({1, 0, 1})); // exactly 24 hours
        QCOMPARE(bar(may(10, 22), may(11, 6)), QList<int>({0, 0, 1}));  // an overnight shift
        QCOMPARE(bar(may(1), may(12)), QList<int>({1, 0, 1}));           // begun the week before
        QCOMPARE(bar(may(15), may(30)), QList<int>({1, 5, 6}));          // past the week
        QCOMPARE(bar(may(12), may(12)), QList<int>({0, 2, 2}));          // no length, at midnight
        QCOMPARE(bar(may(12), Date(std::nan(""))), QList<int>({0}));
    }

    // Random weeks of bars: none shares a day and a row with another, every bar is
    // shown or counted on each of its days, and the strip keeps to its rows.
    void allDayStacksWithoutCovering()
    {
        QRandomGenerator random(4242);
        const Date monday = at(2027, 5, 10);
        for (int round = 0; round < 300; ++round) {
            std::vector<DateRange> spans;
            for (int i = random.bounded(40); i > 0; --i) {
                const Date start = monday.addDays(random.bounded(-3, 8));
                spans.push_back({start, start.addDays(random.bounded(1, 6))});
            }
            const int maxRows = random.bounded(1, 6);
            const AllDayLayout layout = stackAllDay(spans, monday, 7, maxRows);
            QVERIFY(layout.rows <= maxRows);
            std::vector<int> counted(7, 0);
            for (const AllDayBar &a : layout.bars) {
                for (int day = a.firstDay; day <= a.lastDay; ++day)
                    counted[size_t(day)] += a.hidden ? 0 : 1;
                if (a.hidden)
                    continue;
                QVERIFY(a.row < layout.rows - (layout.hidden == std::vector<int>(7, 0) ? 0 : 1));
                for (const AllDayBar &b : layout.bars)
                    if (&a != &b && !b.hidden && a.row == b.row)
                        QVERIFY(a.lastDay < b.firstDay || b.lastDay < a.firstDay);
            }
            for (int day = 0; day < 7; ++day) {
                int touching = 0;
                for (const DateRange &span : spans)
                    touching += span.from < monday.addDays(day + 1) && monday.addDays(day) < span.to;
                QCOMPARE(counted[size_t(day)] + layout.hidden[size_t(day)], touching);
            }
        }
    }
};

QTEST_MAIN(tst_ModernLayout)
#include "tst_modernlayout.moc"
