#ifndef SCAN_NUMBER_H
#define SCAN_NUMBER_H

#include <cstdint>

namespace TTML {

// Numbers in texts as scanf reads them in the C locale, but whatever locale the process has, without reading
// further than the number, and without conversions that are undefined.

// As "%d": skips white space, moves `text` behind the number and stores it; a number beyond 64 bits counts as
// the largest or smallest of those, of which the lower 32 bits are taken. False, and `value` as it was, when
// there is none.
bool ScanInt(const char*& text, std::int32_t& value);

// As "%f", but does not move.
bool ScanFloat(const char* text, float& value);

// Truncated towards zero; what does not fit becomes the nearest number that does, and what is none becomes 0.
std::int32_t ToInt32(double value);
std::int64_t ToInt64(double value);

} // namespace TTML

#endif
