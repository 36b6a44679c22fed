#include "Duration.h"

#include <array>
#include <cstdio>

namespace TTMLClient {

namespace {

constexpr long long kLongestMs = 366LL * 24 * 60 * 60 * 1000;

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

// Milliseconds in one of the unit; 0 for no unit.
long long UnitMs(const std::string& unit)
{
    if (unit == "ms") {
        return 1;
    }
    if (unit == "s") {
        return 1000;
    }
    if (unit == "m") {
        return 60LL * 1000;
    }
    if (unit == "h") {
        return 60LL * 60 * 1000;
    }
    return 0;
}

} // namespace

std::optional<std::chrono::milliseconds> ParseDuration(const std::string& text)
{
    std::size_t at = 0;
    long long whole = 0;
    while (at < text.size() && IsDigit(text[at])) {
        whole = whole * 10 + (text[at] - '0');
        if (whole > kLongestMs) {
            return std::nullopt;
        }
        ++at;
    }
    if (at == 0) {
        return std::nullopt;
    }

    // The fraction as digits over a power of ten; more digits than the finest unit needs are skipped.
    long long fraction = 0;
    long long scale = 1;
    if (at < text.size() && text[at] == '.') {
        const std::size_t first = ++at;
        while (at < text.size() && IsDigit(text[at])) {
            if (scale < 1000000000LL) {
                fraction = fraction * 10 + (text[at] - '0');
                scale *= 10;
            }
            ++at;
        }
        if (at == first) {
            return std::nullopt;
        }
    }

    const long long unit = UnitMs(text.substr(at));
    if (unit == 0 || whole > kLongestMs / unit) {
        return std::nullopt;
    }
    return std::chrono::milliseconds(whole * unit + fraction * unit / scale);
}

std::string ClockTime(long long ms)
{
    // Unsigned, so that the most negative value has a magnitude.
    unsigned long long rest = static_cast<unsigned long long>(ms);
    if (ms < 0) {
        rest = 0ULL - rest;
    }
    std::array<char, 40> text{};
    (void)std::snprintf(text.data(), text.size(), "%s%02llu:%02llu:%02llu.%03llu", ms < 0 ? "-" : "",
                        rest / 3600000, rest / 60000 % 60, rest / 1000 % 60, rest % 1000);
    return text.data();
}

} // namespace TTMLClient
