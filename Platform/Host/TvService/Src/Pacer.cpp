#include "Pacer.h"

#include <algorithm>

#include "StreamClock.h"

namespace TTMLHost {

namespace {

constexpr std::int64_t kSecond27MHz = 27000000;
constexpr double kNsPer27MHz = 1000.0 / 27.0;
// Later than this, the machine slept or the input stalled: going on from there beats rushing through what was
// missed.
constexpr std::int64_t kLatestNs = 1000000000;
// A hundred years: for ever, and room for it in every clock.
constexpr double kLongestWaitNs = 3e18;

} // namespace

Pacer::Pacer(double speed)
    : m_speed(speed)
{}

void Pacer::Anchor(std::int64_t atNs)
{
    m_anchored = true;
    m_anchorNs = atNs;
    m_run27MHz = 0;
}

std::int64_t Pacer::DueNs(std::uint64_t pcr27MHz, std::int64_t nowNs, bool discontinuity)
{
    const std::int64_t step = PcrDifference(m_lastPcr, pcr27MHz);
    const bool jumps = discontinuity || step < 0 || step > kFurthestStepS * kSecond27MHz;
    m_lastPcr = pcr27MHz;
    if (!m_anchored) {
        Anchor(nowNs);
    } else if (jumps) {
        Anchor(std::max(nowNs, m_lastDueNs));
    } else {
        m_run27MHz += step;
    }
    const double runNs = static_cast<double>(m_run27MHz) * kNsPer27MHz / m_speed;
    m_lastDueNs = m_anchorNs + static_cast<std::int64_t>(std::min(runNs, kLongestWaitNs));
    if (nowNs - m_lastDueNs > kLatestNs) {
        Anchor(nowNs);
        m_lastDueNs = nowNs;
    }
    return m_lastDueNs;
}

void Pacer::Reset()
{
    m_anchored = false;
}

} // namespace TTMLHost
