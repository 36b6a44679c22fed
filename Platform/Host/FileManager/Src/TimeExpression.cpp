#include "TimeExpression.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace TTMLHost {

namespace {

// Unsigned throughout, and saturated at the largest signed value: sums of two of them cannot wrap.
constexpr std::uint64_t kMaximum = std::numeric_limits<std::int64_t>::max();

constexpr std::uint64_t kMsPerSecond = 1000;
constexpr std::uint64_t kMsPerMinute = 60 * kMsPerSecond;
constexpr std::uint64_t kMsPerHour = 60 * kMsPerMinute;

constexpr double kDefaultFrameRate = 30.0;
constexpr double kDefaultTickRate = 1.0;

// Rates up to this one are counted with integers; there 2000 times a rate is far from wrapping.
constexpr double kMaximumIntegralRate = 4294967295.0;

bool IsDigit(char c)
{
    return c >= '0' && c <= '9'; // isdigit() would ask the locale
}

std::uint64_t Add(std::uint64_t a, std::uint64_t b)
{
    return a + b > kMaximum ? kMaximum : a + b;
}

std::uint64_t Multiply(std::uint64_t a, std::uint64_t b)
{
    return b != 0 && a > kMaximum / b ? kMaximum : a * b;
}

// The digits at the start of `text`, which they are removed from.
std::string_view TakeDigits(std::string_view* text)
{
    std::size_t count = 0;
    while (count < text->size() && IsDigit((*text)[count])) {
        ++count;
    }
    const std::string_view digits = text->substr(0, count);
    text->remove_prefix(count);
    return digits;
}

bool TakeCharacter(std::string_view* text, char c)
{
    if (text->empty() || text->front() != c) {
        return false;
    }
    text->remove_prefix(1);
    return true;
}

// "." and digits, or nothing at all. False when no digit follows the point.
bool TakeFraction(std::string_view* text, std::string_view* digits)
{
    if (!TakeCharacter(text, '.')) {
        return true;
    }
    *digits = TakeDigits(text);
    return !digits->empty();
}

// "00" to "59". The value 60 that the standard keeps for leap seconds has no place on a media timeline.
bool TakeSixtieth(std::string_view* text, std::string_view* digits)
{
    if (text->size() < 2 || !IsDigit((*text)[0]) || !IsDigit((*text)[1]) || (*text)[0] > '5') {
        return false;
    }
    *digits = text->substr(0, 2);
    text->remove_prefix(2);
    return true;
}

std::uint64_t Value(std::string_view digits)
{
    std::uint64_t value = 0;
    for (const char c : digits) {
        value = Add(Multiply(value, 10), static_cast<std::uint64_t>(c - '0'));
    }
    return value;
}

// The whole part of 0.`digits` times `factor`, exact for any number of digits: from the last digit to the
// first, each step divides by ten, and nested floors of divisions are the floor of the whole.
std::uint64_t FractionTimes(std::string_view digits, std::uint64_t factor)
{
    std::uint64_t value = 0;
    for (auto c = digits.rbegin(); c != digits.rend(); ++c) {
        value = (static_cast<std::uint64_t>(*c - '0') * factor + value) / 10;
    }
    return value;
}

// `whole`.`fraction` units of `unitMs`, rounded. Twice the unit makes the half visible.
std::uint64_t UnitsToMs(std::string_view whole, std::string_view fraction, std::uint64_t unitMs)
{
    return Add(Multiply(Value(whole), unitMs), (FractionTimes(fraction, 2 * unitMs) + 1) / 2);
}

// `whole`.`fraction` counts of which there are `rate` a second, a whole number: exact and rounded.
std::uint64_t CountsToMs(std::string_view whole, std::string_view fraction, std::uint64_t rate)
{
    // Long division of the count by the rate, so that a count too large for a number is no special case.
    std::uint64_t seconds = 0;
    std::uint64_t rest = 0;
    for (const char c : whole) {
        rest = rest * 10 + static_cast<std::uint64_t>(c - '0');
        seconds = Add(Multiply(seconds, 10), rest / rate);
        rest %= rate;
    }
    const std::uint64_t twiceMs = 2 * kMsPerSecond * rest + FractionTimes(fraction, 2 * kMsPerSecond);
    return Add(Multiply(seconds, kMsPerSecond), (twiceMs + rate) / (2 * rate));
}

// The same for a rate like 30000/1001, which is no exact number anyway.
std::uint64_t CountsToMs(std::string_view whole, std::string_view fraction, double rate)
{
    if (rate == std::floor(rate) && rate <= kMaximumIntegralRate) {
        return CountsToMs(whole, fraction, static_cast<std::uint64_t>(rate));
    }
    double counts = 0.0;
    for (const char c : whole) {
        counts = counts * 10.0 + (c - '0');
    }
    // From the last digit on, so that however small it is it still counts at a rate that is as small.
    double behindPoint = 0.0;
    for (auto c = fraction.rbegin(); c != fraction.rend(); ++c) {
        behindPoint = (behindPoint + (*c - '0')) / 10.0;
    }
    counts += behindPoint;
    const double ms = std::floor(counts / rate * static_cast<double>(kMsPerSecond) + 0.5);
    return ms >= static_cast<double>(kMaximum) ? kMaximum : static_cast<std::uint64_t>(ms);
}

bool IsRate(double rate)
{
    return std::isfinite(rate) && rate > 0.0;
}

// What follows the hours' digits: ":mm:ss", with a fraction or frames.
bool ClockTime(std::string_view hours, std::string_view rest, double frameRate, std::uint64_t* ms)
{
    std::string_view minutes;
    std::string_view seconds;
    if (hours.size() < 2 || !TakeCharacter(&rest, ':') || !TakeSixtieth(&rest, &minutes) ||
        !TakeCharacter(&rest, ':') || !TakeSixtieth(&rest, &seconds)) {
        return false;
    }
    std::uint64_t sum = Add(UnitsToMs(hours, {}, kMsPerHour), UnitsToMs(minutes, {}, kMsPerMinute));
    if (TakeCharacter(&rest, ':')) {
        // Frames are counted from 0 to one below the frame rate. Sub-frames have no rate here, so there
        // are none.
        const std::string_view frames = TakeDigits(&rest);
        if (frames.size() < 2 || !rest.empty() || !IsRate(frameRate) ||
            static_cast<double>(Value(frames)) >= frameRate) {
            return false;
        }
        sum = Add(sum, CountsToMs(frames, {}, frameRate));
        *ms = Add(sum, UnitsToMs(seconds, {}, kMsPerSecond));
        return true;
    }
    std::string_view fraction;
    if (!TakeFraction(&rest, &fraction) || !rest.empty()) {
        return false;
    }
    *ms = Add(sum, UnitsToMs(seconds, fraction, kMsPerSecond));
    return true;
}

// What follows the number's digits: a fraction and the metric.
bool OffsetTime(std::string_view number, std::string_view rest, double frameRate, double tickRate,
                std::uint64_t* ms)
{
    std::string_view fraction;
    if (number.empty() || !TakeFraction(&rest, &fraction)) {
        return false;
    }
    if (rest == "h") {
        *ms = UnitsToMs(number, fraction, kMsPerHour);
    } else if (rest == "m") {
        *ms = UnitsToMs(number, fraction, kMsPerMinute);
    } else if (rest == "s") {
        *ms = UnitsToMs(number, fraction, kMsPerSecond);
    } else if (rest == "ms") {
        *ms = UnitsToMs(number, fraction, 1);
    } else if (rest == "f" && IsRate(frameRate)) {
        *ms = CountsToMs(number, fraction, frameRate);
    } else if (rest == "t" && IsRate(tickRate)) {
        *ms = CountsToMs(number, fraction, tickRate);
    } else {
        return false;
    }
    return true;
}

} // namespace

bool ParseTimeExpression(std::string_view expression, double frameRate, int tickRate,
                         long long* milliseconds) noexcept
{
    const bool frameRateGiven = frameRate != 0.0;
    const double frames = frameRateGiven ? frameRate : kDefaultFrameRate;
    const double ticks =
        tickRate != 0 ? static_cast<double>(tickRate) : (frameRateGiven ? frameRate : kDefaultTickRate);

    std::string_view rest = expression;
    const std::string_view digits = TakeDigits(&rest);
    std::uint64_t ms = 0;
    const bool read = !rest.empty() && rest.front() == ':' ? ClockTime(digits, rest, frames, &ms)
                                                           : OffsetTime(digits, rest, frames, ticks, &ms);
    if (read) {
        *milliseconds = static_cast<long long>(ms);
    }
    return read;
}

} // namespace TTMLHost
