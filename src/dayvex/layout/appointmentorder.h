#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/model/records.h>
#include <dayvex/layout/timegrid.h>

#include <memory>
#include <vector>

namespace dayvex {

class Schedules;

// The appointments that start within [range.from, range.to), in the order in
// which Schedules::AddSorted would have inserted them: by start, and for equal
// starts in collection order. O(n + m log m) for m appointments in the range.
DAYVEX_CORE_EXPORT std::vector<std::shared_ptr<Schedule>> appointmentsStartingIn(const Schedules &schedules,
                                                                            const DateRange &range);

} // namespace dayvex
