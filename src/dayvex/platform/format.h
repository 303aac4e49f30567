#pragma once

#include <dayvex/dayvex_export.h>
#include <dayvex/platform/date.h>

#include <QLocale>
#include <QString>
#include <QStringList>

#include <optional>

namespace dayvex {

// Formats a date by a pattern of the platform's tokens: d dd ddd dddd, m mm mmm
// mmmm (months; minutes right after an hour token), yy yyyy, h hh, n nn, s ss.
// Tokens are case-insensitive ("H" is the hour without a leading zero); other
// characters are copied, a backslash or double quotes make letters literal.
// Names of days and months come from the locale. A NaN or infinite date, which a
// host may store, shows as the empty date; one outside the years 100 to 9999 throws.
DAYVEX_CORE_EXPORT QString formatDate(Date date, const QString &pattern, const QLocale &locale = QLocale());

// Formats a number by an integer pattern such as "#0", "00" or "0000000000000":
// rounded half away from zero, at least as many digits as the pattern has zeros.
DAYVEX_CORE_EXPORT QString formatNumber(double value, const QString &pattern);

// The leading numeric value of a text: blanks, tabs and line feeds are skipped,
// digits are read as far as they go ("12abc" gives 12, "x" gives 0); "&H" and
// "&O" read hexadecimal and octal.
DAYVEX_CORE_EXPORT double val(const QString &text);

// The captions of buttons that stand together, each with a keyboard mnemonic: a
// caption that has one ("&Save") keeps it; the others get "&" before the first
// word's initial, then the first letter or digit, that no caption has taken.
// A caption with nothing free left stays as it is.
DAYVEX_CORE_EXPORT QStringList withMnemonics(const QStringList &captions);

// Order of day, month and year in a numeric date.
enum class DateOrder { DayMonthYear, MonthDayYear, YearMonthDay };

// The order of the locale's short date format.
DAYVEX_CORE_EXPORT DateOrder localeDateOrder(const QLocale &locale = QLocale());

// Reads a text as a date, a time or a date followed by a time, as the platform
// does: "08:30", "8:30 PM", "08:30:15", "3/12/2000", "3-12-2000", "3.12.2000",
// "2000-12-03", "3/12" (this year), "3/12/2000 14:30". Day and month swap when
// the given order yields no valid date. A bare time lies on day 0.
DAYVEX_CORE_EXPORT std::optional<Date> parseDate(const QString &text, DateOrder order);
DAYVEX_CORE_EXPORT std::optional<Date> parseDate(const QString &text);
DAYVEX_CORE_EXPORT bool isDate(const QString &text);
// As parseDate, but throws dayvex::Error 13 ("Type mismatch") for a text that is no date.
DAYVEX_CORE_EXPORT Date toDate(const QString &text, DateOrder order);

// Day of the week with Monday = 1 ... Sunday = 7, whatever the locale.
DAYVEX_CORE_EXPORT int weekdayFromMonday(Date date);

} // namespace dayvex
