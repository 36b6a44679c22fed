#include "ScanNumber.h"

#include <cmath>
#include <cstdlib>
#include <limits>

#include <locale.h>

namespace TTML {

namespace {

// White space and letters of the C locale.
bool IsSpace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool IsLetter(char character, char lowerCase)
{
    return character == lowerCase || character == lowerCase - 'a' + 'A';
}

const char* SkipSpace(const char* text)
{
    while (IsSpace(*text)) {
        ++text;
    }
    return text;
}

const char* SkipSign(const char* text)
{
    return *text == '+' || *text == '-' ? text + 1 : text;
}

// Scanning commits itself where conversion goes back: to a hexadecimal number once an x has come (which a
// point alone makes one), to "infinity" once there is more than "inf".
bool IsCutShort(const char* number, const char* end)
{
    return (*number == '0' && end == number + 1 && IsLetter(*end, 'x') && end[1] != '.') ||
           (IsLetter(*number, 'i') && end == number + 3 && IsLetter(*end, 'i'));
}

} // namespace

bool ScanInt(const char*& text, std::int32_t& value)
{
    const char* const sign = SkipSpace(text);
    const char* digit = SkipSign(sign);
    if (!IsDigit(*digit)) {
        return false;
    }
    const bool negative = *sign == '-';
    constexpr std::uint64_t LARGEST = std::numeric_limits<std::int64_t>::max();
    const std::uint64_t limit = negative ? LARGEST + 1 : LARGEST;
    std::uint64_t number = 0;
    for (; IsDigit(*digit); ++digit) {
        const auto next = static_cast<std::uint64_t>(*digit - '0');
        number = number > (limit - next) / 10 ? limit : number * 10 + next;
    }
    text = digit;
    value = static_cast<std::int32_t>(static_cast<std::uint32_t>(negative ? 0 - number : number));
    return true;
}

bool ScanFloat(const char* text, float& value)
{
    // The C locale is there from the beginning and is not to be freed.
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
    char* end = nullptr;
    const float number = strtof_l(text, &end, cLocale);
    if (end == text || IsCutShort(SkipSign(SkipSpace(text)), end)) {
        return false;
    }
    value = number;
    return true;
}

std::int32_t ToInt32(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    // The upper limit is the first that does not fit.
    if (value >= 2147483648.0) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value < -2147483648.0) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);
}

std::int64_t ToInt64(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= 9223372036854775808.0) {
        return std::numeric_limits<std::int64_t>::max();
    }
    if (value < -9223372036854775808.0) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(value);
}

} // namespace TTML
