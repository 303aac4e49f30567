#include "format.h"

#include "error.h"

#include <QRegularExpression>
#include <QSet>

#include <cmath>

namespace dayvex {

namespace {

enum class Token { None, Day, Month, Year, Hour, Minute, Second };

QString twoDigits(int n)
{
    return QString::number(n).rightJustified(2, QLatin1Char('0'));
}

} // namespace

QString formatDate(Date date, const QString &pattern, const QLocale &locale)
{
    // Date and time apart: a local QDateTime would consult the time zone on every
    // call and move times that fall in a daylight-saving gap.
    date = date.finiteOrEmpty();
    const QDate d = date.toDate();
    const QTime t = date.toTime();

    QString out;
    Token previous = Token::None;
    const qsizetype length = pattern.size();
    for (qsizetype i = 0; i < length;) {
        const QChar c = pattern.at(i);
        if (c == QLatin1Char('\\') && i + 1 < length) {
            out += pattern.at(i + 1);
            i += 2;
            continue;
        }
        if (c == QLatin1Char('"')) {
            const qsizetype close = pattern.indexOf(QLatin1Char('"'), i + 1);
            const qsizetype end = close < 0 ? length : close;
            out += pattern.mid(i + 1, end - i - 1);
            i = end + 1;
            continue;
        }
        const QChar lower = c.toLower();
        qsizetype run = 1;
        while (i + run < length && pattern.at(i + run).toLower() == lower)
            ++run;

        switch (lower.unicode()) {
        case 'd':
            if (run == 1) out += QString::number(d.day());
            else if (run == 2) out += twoDigits(d.day());
            else if (run == 3) out += locale.dayName(d.dayOfWeek(), QLocale::ShortFormat);
            else out += locale.dayName(d.dayOfWeek(), QLocale::LongFormat);
            previous = Token::Day;
            break;
        case 'm':
            if (run <= 2 && previous == Token::Hour) {
                out += run == 1 ? QString::number(t.minute()) : twoDigits(t.minute());
                previous = Token::Minute;
            } else {
                if (run == 1) out += QString::number(d.month());
                else if (run == 2) out += twoDigits(d.month());
                else if (run == 3) out += locale.monthName(d.month(), QLocale::ShortFormat);
                else out += locale.monthName(d.month(), QLocale::LongFormat);
                previous = Token::Month;
            }
            break;
        case 'y':
            if (run == 1) out += QString::number(d.dayOfYear());
            else if (run == 2) out += twoDigits(d.year() % 100);
            else out += QString::number(d.year()).rightJustified(4, QLatin1Char('0'));
            previous = Token::Year;
            break;
        case 'h':
            out += run == 1 ? QString::number(t.hour()) : twoDigits(t.hour());
            previous = Token::Hour;
            break;
        case 'n':
            out += run == 1 ? QString::number(t.minute()) : twoDigits(t.minute());
            previous = Token::Minute;
            break;
        case 's':
            out += run == 1 ? QString::number(t.second()) : twoDigits(t.second());
            previous = Token::Second;
            break;
        default:
            out += pattern.mid(i, run);
            break;
        }
        i += run;
    }
    return out;
}

QString formatNumber(double value, const QString &pattern)
{
    if (!std::isfinite(value))
        throw Error::overflow(QStringLiteral("cannot format %1").arg(value));
    const qsizetype minDigits = pattern.count(QLatin1Char('0'));
    const double rounded = std::round(value); // half away from zero
    if (std::fabs(rounded) >= 9.2e18)
        throw Error::overflow(QStringLiteral("cannot format %1").arg(value));
    const qint64 n = qint64(rounded);
    QString digits = QString::number(n < 0 ? -n : n);
    if (digits.size() < minDigits)
        digits = digits.rightJustified(minDigits, QLatin1Char('0'));
    return n < 0 ? QLatin1Char('-') + digits : digits;
}

double val(const QString &text)
{
    QByteArray s;
    s.reserve(text.size());
    for (QChar c : text) {
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n'))
            continue;
        if (c.unicode() > 127)
            break;
        s.append(char(c.unicode()));
    }
    if (s.size() >= 2 && s.at(0) == '&') {
        const char radixChar = char(std::toupper(static_cast<unsigned char>(s.at(1))));
        const int radix = radixChar == 'H' ? 16 : radixChar == 'O' ? 8 : 0;
        if (radix) {
            qint64 n = 0;
            for (qsizetype i = 2; i < s.size(); ++i) {
                const int digit = QChar::fromLatin1(s.at(i)).isDigit() ? s.at(i) - '0'
                                  : radix == 16 && std::isxdigit(static_cast<unsigned char>(s.at(i)))
                                      ? std::toupper(static_cast<unsigned char>(s.at(i))) - 'A' + 10
                                      : -1;
                if (digit < 0 || digit >= radix || n > (qint64(1) << 40))
                    break;
                n = n * radix + digit;
            }
            return double(n);
        }
    }
    // sign, digits, one decimal point, exponent written with E or D
    qsizetype i = 0;
    QByteArray number;
    if (i < s.size() && (s.at(i) == '+' || s.at(i) == '-'))
        number += s.at(i++);
    bool digits = false, point = false;
    for (; i < s.size(); ++i) {
        const char c = s.at(i);
        if (c >= '0' && c <= '9') {
            number += c;
            digits = true;
        } else if (c == '.' && !point) {
            number += c;
            point = true;
        } else {
            break;
        }
    }
    if (!digits)
        return 0.0;
    if (i < s.size() && (s.at(i) == 'e' || s.at(i) == 'E' || s.at(i) == 'd' || s.at(i) == 'D')) {
        QByteArray exponent("e");
        qsizetype j = i + 1;
        if (j < s.size() && (s.at(j) == '+' || s.at(j) == '-'))
            exponent += s.at(j++);
        qsizetype start = j;
        while (j < s.size() && s.at(j) >= '0' && s.at(j) <= '9')
            exponent += s.at(j++);
        if (j > start)
            number += exponent;
    }
    return std::strtod(number.constData(), nullptr);
}

DateOrder localeDateOrder(const QLocale &locale)
{
    const QString format = locale.dateFormat(QLocale::ShortFormat).toLower();
    const qsizetype d = format.indexOf(QLatin1Char('d'));
    const qsizetype m = format.indexOf(QLatin1Char('m'));
    const qsizetype y = format.indexOf(QLatin1Char('y'));
    if (y >= 0 && y < d && y < m)
        return DateOrder::YearMonthDay;
    if (m >= 0 && m < d)
        return DateOrder::MonthDayYear;
    return DateOrder::DayMonthYear;
}

namespace {

int fullYear(const QString &digits)
{
    const int year = digits.toInt();
    if (digits.size() <= 2)
        return year < 30 ? 2000 + year : 1900 + year;
    return year;
}

std::optional<QDate> readDate(const QStringList &fields, DateOrder order)
{
    const bool yearFirst = fields.size() == 3 && fields.at(0).size() > 2;
    if (yearFirst)
        return QDate(fullYear(fields.at(0)), fields.at(1).toInt(), fields.at(2).toInt());

    const int a = fields.at(0).toInt();
    const int b = fields.at(1).toInt();
    const int year = fields.size() == 3 ? fullYear(fields.at(2)) : today().toDate().year();
    const bool dayFirst = order == DateOrder::DayMonthYear;
    QDate date = dayFirst ? QDate(year, b, a) : QDate(year, a, b);
    if (!date.isValid())
        date = dayFirst ? QDate(year, a, b) : QDate(year, b, a);
    return date;
}

} // namespace

std::optional<Date> parseDate(const QString &text, DateOrder order)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(^\s*(?:(\d{1,4})([/.\-])(\d{1,2})(?:\2(\d{1,4}))?)?\s*)"
                       R"((?:(\d{1,2}):(\d{1,2})(?::(\d{1,2}))?\s*(am|pm|a|p)?)?\s*$)"),
        QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch m = pattern.match(text);
    if (!m.hasMatch())
        return std::nullopt;
    const bool hasDate = m.capturedLength(1) > 0;
    const bool hasTime = m.capturedLength(5) > 0;
    if (!hasDate && !hasTime)
        return std::nullopt;
    // A blank must separate a date from its time ("3/12/2000 14:30").
    if (hasDate && hasTime && m.capturedEnd(hasDate && m.capturedLength(4) ? 4 : 3) == m.capturedStart(5))
        return std::nullopt;

    QDate date(1899, 12, 30);
    if (hasDate) {
        QStringList fields{m.captured(1), m.captured(3)};
        if (m.capturedLength(4))
            fields << m.captured(4);
        const std::optional<QDate> read = readDate(fields, order);
        if (!read || !read->isValid() || read->year() < 100 || read->year() > 9999)
            return std::nullopt;
        date = *read;
    }
    QTime time(0, 0);
    if (hasTime) {
        int hour = m.captured(5).toInt();
        const int minute = m.captured(6).toInt();
        const int second = m.capturedLength(7) ? m.captured(7).toInt() : 0;
        const QString half = m.captured(8).toLower();
        if (!half.isEmpty()) {
            if (hour < 1 || hour > 12)
                return std::nullopt;
            hour = hour % 12 + (half.startsWith(QLatin1Char('p')) ? 12 : 0);
        }
        time = QTime(hour, minute, second);
        if (!time.isValid())
            return std::nullopt;
    }
    if (!hasDate)
        return Date::fromTime(time);
    return Date::fromDateAndTime(date, time);
}

std::optional<Date> parseDate(const QString &text)
{
    return parseDate(text, localeDateOrder());
}

bool isDate(const QString &text)
{
    return parseDate(text).has_value();
}

Date toDate(const QString &text, DateOrder order)
{
    if (const std::optional<Date> date = parseDate(text, order))
        return *date;
    throw Error(13, QStringLiteral("Type mismatch: \"%1\" is not a date").arg(text),
                Error::PlatformSource);
}

int weekdayFromMonday(Date date)
{
    return date.toDate().dayOfWeek();
}


namespace {
// Where the mnemonic letter of a caption stands, or -1; "&&" is a plain ampersand.
qsizetype mnemonicAt(const QString &caption)
{
    for (qsizetype i = 0; i + 1 < caption.size(); ++i) {
        if (caption[i] == QLatin1Char('&')) {
            if (caption[i + 1] != QLatin1Char('&'))
                return i + 1;
            ++i;
        }
    }
    return -1;
}
} // namespace

QStringList withMnemonics(const QStringList &captions)
{
    QSet<QChar> taken;
    for (const QString &caption : captions) {
        if (const qsizetype at = mnemonicAt(caption); at >= 0)
            taken.insert(caption[at].toLower());
    }
    QStringList result = captions;
    const auto free = [&](const QString &caption, qsizetype i) {
        return caption[i].isLetterOrNumber() && !taken.contains(caption[i].toLower());
    };
    for (QString &caption : result) {
        if (mnemonicAt(caption) >= 0)
            continue;
        qsizetype chosen = -1;
        for (qsizetype i = 0; i < caption.size() && chosen < 0; ++i) {
            if (free(caption, i) && (i == 0 || !caption[i - 1].isLetterOrNumber()))
                chosen = i;
        }
        for (qsizetype i = 0; i < caption.size() && chosen < 0; ++i) {
            if (free(caption, i))
                chosen = i;
        }
        if (chosen >= 0) {
            taken.insert(caption[chosen].toLower());
            caption.insert(chosen, QLatin1Char('&'));
        }
    }
    return result;
}

} // namespace dayvex
