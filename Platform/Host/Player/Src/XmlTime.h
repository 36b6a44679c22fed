#ifndef XML_TIME_H
#define XML_TIME_H

// The two time types of XML Schema that a DASH manifest uses, read without regard to the locale.

#include <cstdint>
#include <string_view>

namespace TTMLHost {

// xs:dateTime, as milliseconds since 1970-01-01T00:00:00Z; UTC where no zone is given (ISO/IEC 23009-1).
// Digits beyond the millisecond are cut off. False, with `*epochMs` unchanged, when the text is none.
bool ParseDateTime(std::string_view text, std::int64_t* epochMs);

// xs:duration, as milliseconds. A year counts as 365 days and a month as 30: a duration without a date has
// no exact length with either. False, with `*ms` unchanged, when the text is none or too long for 64 bits.
bool ParseDuration(std::string_view text, std::int64_t* ms);

} // namespace TTMLHost

#endif
