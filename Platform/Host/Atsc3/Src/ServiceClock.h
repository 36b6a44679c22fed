#ifndef SERVICE_CLOCK_H
#define SERVICE_CLOCK_H

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "MonotonicTime.h"

namespace TTMLHost {

// The wall clock as a service is played by it, in nanoseconds since 1970. One that is live follows it
// wherever somebody sets it; any other only starts with it, and then goes on whatever happens to it.
class ServiceClock
{
public:
    ServiceClock()
        : m_startWallNs(WallNs())
        , m_startNs(TTMLHost::NowNs())
    {}

    void Follow(bool isLive) { m_isLive = isLive; }

    std::int64_t NowNs() const
    {
        return m_isLive ? WallNs() : m_startWallNs + (TTMLHost::NowNs() - m_startNs);
    }

    // How far a wait until `untilNs` may go before the clock is asked again.
    std::chrono::steady_clock::time_point LookAgainAt(std::int64_t untilNs) const
    {
        const std::int64_t leftNs = std::clamp<std::int64_t>(untilNs - NowNs(), 0, kLongestNs);
        return TimePointOf(TTMLHost::NowNs() + leftNs);
    }

private:
    // Nobody tells when the wall clock is set.
    static constexpr std::int64_t kLongestNs = 1000000000;

    static std::int64_t WallNs()
    {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    }

    bool m_isLive = true;
    std::int64_t m_startWallNs;
    std::int64_t m_startNs;
};

} // namespace TTMLHost

#endif
