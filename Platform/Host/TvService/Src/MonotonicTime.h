#ifndef MONOTONIC_TIME_H
#define MONOTONIC_TIME_H

#include <chrono>
#include <cstdint>

namespace TTMLHost {

// The monotonic clock, in nanoseconds.
inline std::int64_t NowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// What it shows at `ns`, for waits.
inline std::chrono::steady_clock::time_point TimePointOf(std::int64_t ns)
{
    return std::chrono::steady_clock::time_point(
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(std::chrono::nanoseconds(ns)));
}

} // namespace TTMLHost

#endif
