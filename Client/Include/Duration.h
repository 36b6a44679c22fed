#ifndef TTMLSRC_DURATION_H
#define TTMLSRC_DURATION_H

#include <chrono>
#include <optional>
#include <string>

namespace TTMLClient {

// A length of time as people write it: digits, optionally a fraction, and ms, s, m or h, without blanks
// ("1500ms", "2s", "1.5s"). Nothing when the text is none or is longer than a year. A fraction finer than
// a millisecond is cut off.
std::optional<std::chrono::milliseconds> ParseDuration(const std::string& text);

// "hh:mm:ss.fff", with a leading minus for times before zero.
std::string ClockTime(long long ms);

} // namespace TTMLClient

#endif
