#include "DeliveryClock.h"

#include <algorithm>

#include "MediaTime.h"

namespace TTMLHost {

namespace {

// How far a sample may be outside its segment; a gap between recorded segments that is worth waiting for.
constexpr std::int64_t kFurthestNs = 10 * kNsPerSecond;
// Later than this, the machine slept or the input stalled: going on from there beats rushing through what was
// missed.
constexpr std::int64_t kLatestNs = kNsPerSecond;
// A live segment that is there is not due much later than this.
constexpr std::int64_t kFurthestLiveNs = 120 * kNsPerSecond;

} // namespace

DeliveryClock::DeliveryClock(ServicePace pace, double speed)
    : m_pace(pace)
    , m_speed(speed)
{}

std::int64_t DeliveryClock::DueNs(const Segment& segment, const CaptionTime& time, std::int64_t nowNs)
{
    if (m_pace == ServicePace::Live) {
        return time.referenceNs > nowNs + kFurthestLiveNs ? nowNs : time.referenceNs;
    }
    const std::int64_t startNs = PacedNs(segment, nowNs);
    const std::int64_t within = LimitNs(time.presentationNs - segment.startNs);
    const std::int64_t length = segment.endNs - segment.startNs;
    const bool belongs = within >= -kFurthestNs && (length == 0 || within <= length + kFurthestNs);
    const std::int64_t later = belongs ? std::max<std::int64_t>(within, 0) : 0;
    const std::int64_t dueNs = AddNs(LimitNs(startNs), Lasting(later));
    if (nowNs - dueNs > kLatestNs) {
        m_anchorNs += nowNs - dueNs;
        return nowNs;
    }
    return dueNs;
}

std::int64_t DeliveryClock::OverNs(const Segment& segment, const CaptionTime& time, std::int64_t dueNs) const
{
    const std::int64_t length = std::max<std::int64_t>(segment.endNs - segment.startNs, 0);
    const std::int64_t left = LimitNs(segment.endNs - time.presentationNs);
    return AddNs(LimitNs(dueNs), Lasting(std::clamp<std::int64_t>(left, 0, length)));
}

// How long that much of the service takes. A slow speed makes anything of it.
std::int64_t DeliveryClock::Lasting(std::int64_t mediaNs) const
{
    const double speed = m_pace == ServicePace::Live ? 1.0 : m_speed;
    const double farthest = static_cast<double>(kFarthestNs) / 2;
    return static_cast<std::int64_t>(std::clamp(static_cast<double>(mediaNs) / speed, -farthest, farthest));
}

// When the segment's start is due.
std::int64_t DeliveryClock::PacedNs(const Segment& segment, std::int64_t nowNs)
{
    if (!m_anchored) {
        m_anchored = true;
        m_anchorNs = nowNs;
        m_baseNs = segment.startNs;
        m_endNs = segment.endNs;
    }
    const std::int64_t gap = LimitNs(segment.startNs - m_endNs);
    if (m_pace == ServicePace::Recorded && gap > kFurthestNs) {
        m_baseNs += gap;
    }
    m_endNs = std::max(m_endNs, segment.endNs);
    return m_anchorNs + Lasting(LimitNs(segment.startNs - m_baseNs));
}

} // namespace TTMLHost
