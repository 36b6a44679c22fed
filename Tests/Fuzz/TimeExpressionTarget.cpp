// TTML time expressions: an input is a choice of rates and the text.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "FuzzTarget.h"
#include "TimeExpression.h"

using TTMLTest::Hold;

namespace {

constexpr long long kUntouched = -77;
constexpr long double kLargest = 9223372036854775807.0L;

struct Rates
{
    double frames = 0.0;
    int ticks = 0;
};

Rates TakeRates(TTMLTest::FuzzInput* input)
{
    constexpr double kUsual[] = {0.0, 24.0, 25.0, 30.0, 30000.0 / 1001.0, 50.0, 60.0};
    Rates rates;
    const std::uint64_t choice = input->Number(1);
    if (choice % 8 == 7) {
        const std::uint64_t bits = input->Number(sizeof(double));
        std::memcpy(&rates.frames, &bits, sizeof(double));
    } else {
        rates.frames = kUsual[choice % 8];
    }
    if (choice / 8 % 2 == 1) {
        rates.ticks = static_cast<int>(static_cast<std::uint32_t>(input->Number(4)));
    }
    return rates;
}

// Both are rounded, and the reading is exact to some digits.
void CheckClose(long long ms, long double seconds, const char* what)
{
    const long double wanted = std::min(seconds * 1000.0L, kLargest);
    Hold(std::fabs(static_cast<long double>(ms) - wanted) <= 0.5001L + wanted * 1e-14L, what);
}

// The value of an expression of which all that is known is that it is one.
void CheckValue(const std::string& text, const Rates& rates, long long ms)
{
    const double frames = rates.frames != 0.0 ? rates.frames : 30.0;
    const double ticks = rates.ticks != 0 ? rates.ticks : (rates.frames != 0.0 ? rates.frames : 1.0);
    char* end = nullptr;
    const long double first = std::strtold(text.c_str(), &end);
    const std::string unit = end;
    if (unit == "h" || unit == "m" || unit == "s" || unit == "ms" || unit == "f" || unit == "t") {
        const long double factor = unit == "h"    ? 3600.0L
                                   : unit == "m"  ? 60.0L
                                   : unit == "s"  ? 1.0L
                                   : unit == "ms" ? 0.001L
                                   : unit == "f"  ? 1.0L / static_cast<long double>(frames)
                                                  : 1.0L / static_cast<long double>(ticks);
        // Numbers of 309 digits and more are beyond reading at rates of that kind.
        if (first <= std::numeric_limits<double>::max()) {
            CheckClose(ms, first * factor, "an offset is its number of units");
        }
        return;
    }
    Hold(*end == ':', "what is no offset is a clock time");
    const long double minutes = std::strtold(end + 1, &end);
    Hold(*end == ':' && minutes < 60.0L, "minutes are below 60");
    const long double seconds = std::strtold(end + 1, &end);
    Hold(seconds < 60.0L, "seconds are below 60");
    long double sum = first * 3600.0L + minutes * 60.0L + seconds;
    if (*end == ':') {
        const long double counted = std::strtold(end + 1, &end);
        Hold(counted < static_cast<long double>(frames), "frames are below their rate");
        sum += counted / static_cast<long double>(frames);
    }
    Hold(*end == '\0', "nothing is left over");
    CheckClose(ms, sum, "a clock time is the sum of its parts");
}

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    TTMLTest::FuzzInput input(data, size);
    const Rates rates = TakeRates(&input);
    const std::string text = input.Rest();
    long long ms = kUntouched;
    if (!TTMLHost::ParseTimeExpression(text, rates.frames, rates.ticks, &ms)) {
        Hold(ms == kUntouched, "what is no expression leaves the result alone");
        return 0;
    }
    Hold(ms >= 0, "no time is before 0");
    Hold(text.find_first_not_of("0123456789:.hmsft") == std::string::npos, "there are no other characters");
    CheckValue(text, rates, ms);

    long long padded = kUntouched;
    Hold(TTMLHost::ParseTimeExpression("0" + text, rates.frames, rates.ticks, &padded) && padded == ms,
         "leading zeros change nothing");
    return 0;
}
