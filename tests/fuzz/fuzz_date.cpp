// Date recognition, conversion, arithmetic and formatting on any texts, patterns
// and doubles. The only failure allowed is dayvex::Error.

#include "fuzzinput.h"

#include <dayvex/platform/date.h>
#include <dayvex/platform/error.h>
#include <dayvex/platform/format.h>

#include <QLocale>

#include <cmath>

using namespace dayvex;

namespace {
template <typename Step>
void allowingErrors(Step step)
{
    try {
        step();
    } catch (const Error &) {
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in(data, size);
    const auto order = DateOrder(in.byte() % 3);
    const QString text = in.text(40);
    const QString pattern = in.text(24);
    const Date date(in.raw<double>());
    const qint64 count = in.raw<qint64>();

    const std::optional<Date> parsed = parseDate(text, order);
    if (parsed) {
        FUZZ_CHECK(parsed->isValid());
        // What was recognised formats and reads back as the same moment, to the second.
        const QString written = formatDate(*parsed, QStringLiteral("yyyy-mm-dd hh:nn:ss"));
        const std::optional<Date> again = parseDate(written, DateOrder::YearMonthDay);
        FUZZ_CHECK(again);
        FUZZ_CHECK(std::fabs(again->value() - parsed->value()) < 1.0 / 86400);
    }
    isDate(text);
    allowingErrors([&] { toDate(text, order); });
    val(text);
    allowingErrors([&] { formatNumber(date.value(), pattern); });

    allowingErrors([&] { formatDate(date, pattern); });
    allowingErrors([&] { formatDate(date, pattern, QLocale::c()); });
    allowingErrors([&] {
        // A valid date goes to Qt and back to the millisecond.
        const QDateTime moment = date.toDateTime();
        FUZZ_CHECK(date.isValid());
        const Date back = Date::fromDateTime(moment);
        FUZZ_CHECK(back.toDateTime() == moment);
        weekdayFromMonday(date);
        date.datePart();
        date.timePart();
        date.minuteOfDay();
    });
    allowingErrors([&] {
        const Date later = date.addDays(count);
        FUZZ_CHECK(later.isValid());
    });
    allowingErrors([&] { FUZZ_CHECK(date.addMinutes(count).isValid()); });
    allowingErrors([&] { FUZZ_CHECK(date.addSeconds(count).isValid()); });
    return 0;
}
