#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <functional>

namespace dayvex {

// The one place the component reads the time of day. Tests replace the source;
// an empty function restores the system clock.
using ClockSource = std::function<QDateTime()>;
DAYVEX_EXPORT void setClockSource(ClockSource source);

DAYVEX_EXPORT Date now();
DAYVEX_EXPORT Date today();

} // namespace dayvex
