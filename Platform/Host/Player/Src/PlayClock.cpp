#include "PlayClock.h"

#include <algorithm>
#include <cmath>

namespace TTMLHost {

namespace {

constexpr double kNsPerMs = 1e6;
constexpr double kLongestWaitNs = 24.0 * 3600.0 * 1e9;
// Beyond any real position, and still far from the end of 64 bits.
constexpr double kFurthestMs = 1e15;

} // namespace

PlayClock::PlayClock(double speed)
    : m_speed(speed)
{}

void PlayClock::Start(TimePoint now)
{
    if (!m_running) {
        m_since = now;
        m_running = true;
    }
}

void PlayClock::Stop(TimePoint now)
{
    m_baseMs = PositionMs(now);
    m_running = false;
}

void PlayClock::Set(std::int64_t positionMs, TimePoint now)
{
    m_baseMs = positionMs;
    m_since = now;
}

double PlayClock::RunMs(TimePoint now) const
{
    if (!m_running || now <= m_since) {
        return 0.0;
    }
    const auto elapsed = std::chrono::duration_cast<std::chrono::nanoseconds>(now - m_since);
    return std::min(static_cast<double>(elapsed.count()) / kNsPerMs * m_speed, kFurthestMs);
}

std::int64_t PlayClock::PositionMs(TimePoint now) const
{
    return m_baseMs + static_cast<std::int64_t>(std::floor(RunMs(now)));
}

PlayClock::TimePoint PlayClock::When(std::int64_t positionMs, TimePoint now) const
{
    // The fraction of the current millisecond counts: a wait that leaves it out ends early.
    const double restMs = static_cast<double>(positionMs - m_baseMs) - RunMs(now);
    const double restNs = std::clamp(std::ceil(restMs * kNsPerMs / m_speed), 0.0, kLongestWaitNs);
    return now + std::chrono::nanoseconds(static_cast<std::int64_t>(restNs));
}

} // namespace TTMLHost
