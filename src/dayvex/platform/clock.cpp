#include <dayvex/platform/date.h>


namespace dayvex {

static ClockSource &clockSource()
{
    static ClockSource source;
    return source;
}

void setClockSource(ClockSource source)
{
    clockSource() = std::move(source);
}

Date now()
{
    const ClockSource &source = clockSource();
    return Date::fromDateTime(source ? source() : QDateTime::currentDateTime());
}

Date today()
{
    return now().datePart();
}

} // namespace dayvex
