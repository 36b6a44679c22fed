#ifndef MEDIA_TIME_H
#define MEDIA_TIME_H

#include <cstdint>

namespace TTMLHost {

constexpr std::int64_t kNsPerMs = 1000000;
constexpr std::int64_t kNsPerSecond = 1000 * kNsPerMs;

// Times stay within about 146 years of their origin: what a manifest or a segment says may be anything, and
// the sum of any two of them is to fit 64 bits.
constexpr std::int64_t kFarthestNs = INT64_MAX / 2;

constexpr std::int64_t LimitNs(std::int64_t ns)
{
    return ns > kFarthestNs ? kFarthestNs : (ns < -kFarthestNs ? -kFarthestNs : ns);
}

// The sum of two limited times.
constexpr std::int64_t AddNs(std::int64_t left, std::int64_t right)
{
    return LimitNs(left + right);
}

// As limited times. `timescale` is above 0 and at most 32 bits.
constexpr std::int64_t UnitsToNs(std::int64_t units, std::int64_t timescale)
{
    const std::int64_t seconds = units / timescale;
    if (seconds >= kFarthestNs / kNsPerSecond) {
        return kFarthestNs;
    }
    if (seconds <= -(kFarthestNs / kNsPerSecond)) {
        return -kFarthestNs;
    }
    return seconds * kNsPerSecond + units % timescale * kNsPerSecond / timescale;
}

constexpr std::int64_t MsToNs(std::int64_t ms)
{
    return UnitsToNs(ms, 1000);
}

} // namespace TTMLHost

#endif
