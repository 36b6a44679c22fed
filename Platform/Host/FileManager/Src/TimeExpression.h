#ifndef TTML_HOST_TIME_EXPRESSION_H
#define TTML_HOST_TIME_EXPRESSION_H

#include <string_view>

namespace TTMLHost {

// Reads a TTML time expression (W3C TTML2, clause 12.3.1): clock time "hh:mm:ss", with ".fraction" or
// ":frames", or offset time, a number with one of the metrics h, m, s, ms, f, t. False when `expression`
// is none; `*milliseconds` is then untouched.
//
// Rates of 0 stand for TTML's defaults: 30 frames a second, and as many ticks a second as there are frames
// where a frame rate is given, else 1. An expression in frames or ticks whose rate is negative or no
// number is no time expression.
//
// The result is rounded to the nearest millisecond, halves up. A time beyond the range of the result is
// its maximum. Nothing depends on the locale, allocates or throws, and the time taken is linear.
bool ParseTimeExpression(std::string_view expression, double frameRate, int tickRate,
                         long long* milliseconds) noexcept;

} // namespace TTMLHost

#endif
