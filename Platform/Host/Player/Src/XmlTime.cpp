#include "XmlTime.h"

#include <cstddef>

namespace TTMLHost {

namespace {

constexpr std::int64_t kMsPerSecond = 1000;
constexpr std::int64_t kMsPerMinute = 60 * kMsPerSecond;
constexpr std::int64_t kMsPerHour = 60 * kMsPerMinute;
constexpr std::int64_t kMsPerDay = 24 * kMsPerHour;
constexpr std::int64_t kLargestOffsetMs = 14 * kMsPerHour;

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Takes a text apart from its front.
class Scanner
{
public:
    explicit Scanner(std::string_view text)
        : m_rest(text)
    {
        while (!m_rest.empty() && IsSpace(m_rest.front())) {
            m_rest.remove_prefix(1);
        }
        while (!m_rest.empty() && IsSpace(m_rest.back())) {
            m_rest.remove_suffix(1);
        }
    }

    bool AtEnd() const { return m_rest.empty(); }

    bool Take(char c)
    {
        if (m_rest.empty() || m_rest.front() != c) {
            return false;
        }
        m_rest.remove_prefix(1);
        return true;
    }

    char TakeAny()
    {
        const char c = m_rest.empty() ? '\0' : m_rest.front();
        if (!m_rest.empty()) {
            m_rest.remove_prefix(1);
        }
        return c;
    }

    // Between `fewest` and `most` digits, all there are.
    bool Number(std::size_t fewest, std::size_t most, std::int64_t* value)
    {
        std::size_t count = 0;
        std::int64_t result = 0;
        while (count < m_rest.size() && IsDigit(m_rest[count])) {
            if (count == most) {
                return false;
            }
            result = result * 10 + (m_rest[count] - '0');
            ++count;
        }
        if (count < fewest) {
            return false;
        }
        m_rest.remove_prefix(count);
        *value = result;
        return true;
    }

    // The digits behind a decimal point, as milliseconds.
    bool Fraction(std::int64_t* ms)
    {
        std::size_t count = 0;
        std::int64_t result = 0;
        while (count < m_rest.size() && IsDigit(m_rest[count])) {
            if (count < 3) {
                result = result * 10 + (m_rest[count] - '0');
            }
            ++count;
        }
        for (std::size_t place = count; place < 3; ++place) {
            result *= 10;
        }
        m_rest.remove_prefix(count);
        *ms = result;
        return count > 0;
    }

private:
    std::string_view m_rest;
};

bool IsLeapYear(std::int64_t year)
{
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

std::int64_t DaysInMonth(std::int64_t year, std::int64_t month)
{
    constexpr std::int64_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kDays[month - 1];
}

// Days from 1970-01-01 to a date of the Gregorian calendar. Counted in years that begin in March, so that
// the leap day is the last of a year.
std::int64_t DaysSinceEpoch(std::int64_t year, std::int64_t month, std::int64_t day)
{
    const std::int64_t shifted = month <= 2 ? year - 1 : year;
    const std::int64_t era = (shifted >= 0 ? shifted : shifted - 399) / 400;
    const std::int64_t yearOfEra = shifted - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

// "Z", "+hh:mm", "-hh:mm" or nothing.
bool ParseZone(Scanner* scanner, std::int64_t* offsetMs)
{
    *offsetMs = 0;
    if (scanner->AtEnd() || scanner->Take('Z')) {
        return true;
    }
    const char sign = scanner->TakeAny();
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    if ((sign != '+' && sign != '-') || !scanner->Number(2, 2, &hours) || !scanner->Take(':') ||
        !scanner->Number(2, 2, &minutes) || minutes > 59 ||
        hours * kMsPerHour + minutes * kMsPerMinute > kLargestOffsetMs) {
        return false;
    }
    *offsetMs = (hours * kMsPerHour + minutes * kMsPerMinute) * (sign == '-' ? -1 : 1);
    return true;
}

// Adds `count` units; false when 64 bits do not hold the sum.
bool AddUnits(std::int64_t count, std::int64_t unitMs, std::int64_t* total)
{
    std::int64_t product = 0;
    return !__builtin_mul_overflow(count, unitMs, &product) &&
           !__builtin_add_overflow(*total, product, total);
}

struct Unit
{
    char letter;
    std::int64_t ms;
};

constexpr Unit kDateUnits[] = {{'Y', 365 * kMsPerDay}, {'M', 30 * kMsPerDay}, {'D', kMsPerDay}};
constexpr Unit kTimeUnits[] = {{'H', kMsPerHour}, {'M', kMsPerMinute}, {'S', kMsPerSecond}};
constexpr std::size_t kUnitCount = 3;
constexpr std::size_t kLongestNumber = 18; // digits that always fit 64 bits

// Components in their order, each at most once, up to the end or to the 'T'. `*found` tells whether there
// was any; only seconds may have a fraction.
bool ParseComponents(Scanner* scanner, const Unit (&units)[kUnitCount], std::int64_t* total, bool* found)
{
    std::size_t next = 0;
    *found = false;
    std::int64_t number = 0;
    while (scanner->Number(1, kLongestNumber, &number)) {
        std::int64_t fraction = 0;
        const bool hasFraction = scanner->Take('.');
        if (hasFraction && !scanner->Fraction(&fraction)) {
            return false;
        }
        const char letter = scanner->TakeAny();
        while (next < kUnitCount && units[next].letter != letter) {
            ++next;
        }
        if (next == kUnitCount || (hasFraction && letter != 'S') ||
            !AddUnits(number, units[next].ms, total) || !AddUnits(fraction, 1, total)) {
            return false;
        }
        ++next;
        *found = true;
    }
    return true;
}

} // namespace

bool ParseDateTime(std::string_view text, std::int64_t* epochMs)
{
    Scanner scanner(text);
    std::int64_t year = 0;
    std::int64_t month = 0;
    std::int64_t day = 0;
    std::int64_t hour = 0;
    std::int64_t minute = 0;
    std::int64_t second = 0;
    std::int64_t fraction = 0;
    std::int64_t offset = 0;
    const bool negative = scanner.Take('-');
    if (!scanner.Number(4, 6, &year) || !scanner.Take('-') || !scanner.Number(2, 2, &month) ||
        !scanner.Take('-') || !scanner.Number(2, 2, &day) || !scanner.Take('T') ||
        !scanner.Number(2, 2, &hour) || !scanner.Take(':') || !scanner.Number(2, 2, &minute) ||
        !scanner.Take(':') || !scanner.Number(2, 2, &second)) {
        return false;
    }
    if (scanner.Take('.') && !scanner.Fraction(&fraction)) {
        return false;
    }
    if (!ParseZone(&scanner, &offset) || !scanner.AtEnd()) {
        return false;
    }
    year = negative ? -year : year;
    const bool endOfDay = hour == 24 && minute == 0 && second == 0 && fraction == 0;
    if (month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month) || (hour > 23 && !endOfDay) ||
        minute > 59 || second > 59) {
        return false;
    }
    *epochMs = DaysSinceEpoch(year, month, day) * kMsPerDay + hour * kMsPerHour + minute * kMsPerMinute +
               second * kMsPerSecond + fraction - offset;
    return true;
}

bool ParseDuration(std::string_view text, std::int64_t* ms)
{
    Scanner scanner(text);
    const bool negative = scanner.Take('-');
    std::int64_t total = 0;
    bool hasDate = false;
    bool hasTime = false;
    if (!scanner.Take('P') || !ParseComponents(&scanner, kDateUnits, &total, &hasDate)) {
        return false;
    }
    if (scanner.Take('T') && (!ParseComponents(&scanner, kTimeUnits, &total, &hasTime) || !hasTime)) {
        return false;
    }
    if (!scanner.AtEnd() || (!hasDate && !hasTime)) {
        return false;
    }
    *ms = negative ? -total : total;
    return true;
}

} // namespace TTMLHost
