#include "appointmentorder.h"

#include <dayvex/model/schedules.h>

#include <algorithm>

namespace dayvex {

std::vector<std::shared_ptr<Schedule>> appointmentsStartingIn(const Schedules &schedules, const DateRange &range)
{
    std::vector<std::shared_ptr<Schedule>> shown;
    for (const std::shared_ptr<Schedule> &schedule : schedules) {
        if (!(schedule->StartDate < range.from) && schedule->StartDate < range.to)
            shown.push_back(schedule);
    }
    std::stable_sort(shown.begin(), shown.end(), [](const auto &a, const auto &b) {
        return a->StartDate < b->StartDate;
    });
    return shown;
}

} // namespace dayvex
