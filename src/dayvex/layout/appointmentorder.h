#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>
#include <dayvex/layout/timegrid.h>

#include <memory>
#include <vector>

namespace dayvex {

class Schedules;
class StartOrder;

// The appointments that start within [range.from, range.to), in the order in
// which Schedules::AddSorted would have inserted them: by start, and for equal
// starts in collection order. One pass over the records to verify the order,
// then O(log n + m) for m appointments in the range.
DAYVEX_CORE_EXPORT std::vector<std::shared_ptr<Schedule>> appointmentsStartingIn(const Schedules &schedules,
                                                                            const DateRange &range);
// The same from an order already verified: O(log n + m).
DAYVEX_CORE_EXPORT std::vector<std::shared_ptr<Schedule>> appointmentsStartingIn(const StartOrder &order,
                                                                            const DateRange &range);

} // namespace dayvex
