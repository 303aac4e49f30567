// The series figures: what a view pays for a rule's occurrences in the range it
// shows, and the alarm scan for a series' next reminder, each the median of nine
// runs of repeated calls. A series far from its start is the case that costs:
// an hourly or finer rule is walked cell by cell from a lead-in before the range.

#include "seriesbench.h"

#include <dayvex/exchange/series.h>

#include <QElapsedTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

using namespace dayvex;

namespace {
Date at(int year, int month, int day, int hour = 0, int minute = 0)
{
    return Date::fromDateAndTime(QDate(year, month, day), QTime(hour, minute));
}

// Milliseconds per call of work, the median of nine runs of about 100 ms each.
template <typename Work>
double medianMs(Work work)
{
    std::vector<double> runs;
    for (int run = 0; run < 9; ++run) {
        QElapsedTimer clock;
        clock.start();
        int calls = 0;
        do {
            work();
            ++calls;
        } while (clock.elapsed() < 100);
        runs.push_back(double(clock.nsecsElapsed()) / 1e6 / calls);
    }
    std::nth_element(runs.begin(), runs.begin() + 4, runs.end());
    return runs[4];
}
} // namespace

int runSeriesBench()
{
    struct Case
    {
        const char *name, *rule;
        Date start;
    };
    const Case cases[] = {
        {"weekly", "FREQ=WEEKLY;BYDAY=MO,WE", at(2025, 6, 2, 9)},
        {"daily", "FREQ=DAILY", at(2025, 6, 2, 9)},
        {"hourly", "FREQ=HOURLY", at(2025, 6, 2, 9, 30)},
        {"hourly at 8, 20", "FREQ=HOURLY;INTERVAL=4;BYHOUR=8,20", at(2025, 6, 2, 8)},
        {"every 15 minutes", "FREQ=MINUTELY;INTERVAL=15", at(2025, 6, 2, 9)},
        {"minutely 9:xx weekdays", "FREQ=MINUTELY;BYHOUR=9;BYDAY=MO,TU,WE,TH,FR", at(2025, 6, 2, 9)},
        {"secondly", "FREQ=SECONDLY", at(2025, 6, 2, 9)},
        {"6-hourly, February", "FREQ=HOURLY;INTERVAL=6;BYMONTH=2", at(2025, 2, 1, 9)},
        {"31st of February", "FREQ=MONTHLY;BYMONTH=2;BYMONTHDAY=31", at(2025, 6, 2, 9)},
    };
    const Date week = at(2026, 6, 15), month = at(2026, 6, 1);
    std::printf("%-24s %8s %8s %8s %9s\n", "series", "week ms", "month ms", "next ms", "in week");
    for (const Case &c : cases) {
        Schedule s;
        s.Key = QStringLiteral("s");
        s.StartDate = c.start;
        s.EndDate = c.start.addMinutes(30);
        s.Recurrence = QString::fromLatin1(c.rule);
        s.ReminderLead = 900;
        size_t shown = 0;
        const double inWeek = medianMs([&] { shown = occurrenceStarts(s, week, week.addDays(7)).size(); });
        const double inMonth = medianMs([&] { occurrenceStarts(s, month, month.addDays(35)); });
        const double next = medianMs([&] { nextReminder(s, week.addMinutes(7)); });
        std::printf("%-24s %8.3f %8.3f %8.3f %9zu\n", c.name, inWeek, inMonth, next, shown);
    }
    return 0;
}
