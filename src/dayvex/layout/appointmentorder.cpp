#include "appointmentorder.h"

#include <dayvex/model/schedules.h>
#include <dayvex/model/startorder.h>


namespace dayvex {

std::vector<std::shared_ptr<Schedule>> appointmentsStartingIn(const StartOrder &order, const DateRange &range)
{
    return order.startingIn(range.from, range.to);
}

std::vector<std::shared_ptr<Schedule>> appointmentsStartingIn(const Schedules &schedules, const DateRange &range)
{
    return appointmentsStartingIn(schedules.verifiedOrder(), range);
}

} // namespace dayvex
