#ifndef DURATION_READING_H
#define DURATION_READING_H

#include <cstdint>
#include <string>

namespace TTMLTest {

// A second reading of a time-only xs:duration (PT, then numbers with the designators H, M and S), made by
// taking the text apart at its designators.
struct DurationReading
{
    enum class Outcome
    {
        NO_DURATION, // does not begin with PT
        CUT_SHORT,   // ends without a designator
        GOOD
    };

    Outcome outcome = Outcome::NO_DURATION;
    std::int32_t hours = 0;
    std::int32_t minutes = 0;
    float seconds = 0.0F;
    std::int64_t milliseconds = 0; // 0 unless it is good
};

// For texts whose numbers are below 2^31; sums of hours and minutes in seconds wrap to 32 bits. Works in the
// C locale only.
DurationReading ReadDuration(const std::string& text);

} // namespace TTMLTest

#endif
