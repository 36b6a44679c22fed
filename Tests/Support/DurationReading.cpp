#include "DurationReading.h"

#include <cmath>
#include <cstdio>

namespace TTMLTest {

namespace {

// Twice the significant bits of single precision and two more are enough that a sum made in double precision
// and rounded once again is the sum made in single precision.
float SinglePrecisionSum(float a, float b)
{
    const double wide = static_cast<double>(a) + static_cast<double>(b);
    return static_cast<float>(wide);
}

} // namespace

DurationReading ReadDuration(const std::string& text)
{
    DurationReading reading;
    if (text.rfind("PT", 0) != 0) {
        return reading;
    }
    std::string rest = text.substr(2);
    float number = 0.0F; // a component without one takes that of the component before
    while (!rest.empty()) {
        const std::size_t place = rest.find_first_of("HMS");
        if (place == std::string::npos) {
            return {DurationReading::Outcome::CUT_SHORT, 0, 0, 0.0F, 0};
        }
        const std::string component = rest.substr(0, place);
        static_cast<void>(std::sscanf(component.c_str(), "%f", &number));
        switch (rest[place]) {
        case 'H':
            reading.hours = static_cast<std::int32_t>(std::trunc(number));
            break;
        case 'M':
            reading.minutes = static_cast<std::int32_t>(std::trunc(number));
            break;
        default:
            reading.seconds = number;
            break;
        }
        rest.erase(0, place + 1);
    }
    reading.outcome = DurationReading::Outcome::GOOD;
    const std::int64_t whole = std::int64_t{60} * (std::int64_t{60} * reading.hours + reading.minutes);
    const auto wrapped = static_cast<std::int32_t>(static_cast<std::uint32_t>(whole));
    const float sum = SinglePrecisionSum(static_cast<float>(wrapped), reading.seconds);
    reading.milliseconds = static_cast<std::int64_t>(std::trunc(static_cast<double>(sum) * 1000.0));
    return reading;
}

} // namespace TTMLTest
