#ifndef DELIVERY_CLOCK_H
#define DELIVERY_CLOCK_H

#include <cstdint>
#include <optional>

#include "CaptionTimeline.h"
#include "SegmentIndex.h"
#include "ServicePlan.h"

namespace TTMLHost {

// Says when samples are to be delivered, in nanoseconds of the wall clock. The caller says what time it is,
// and waits.
class DeliveryClock
{
public:
    // `speed`: seconds of the service per second, above 0; not for a live one, which has the world's.
    DeliveryClock(ServicePace pace, double speed);

    // When a sample of the segment is due. A live one is at its reference time. Of a stored or recorded
    // service, the start of the first segment is due at `nowNs`, later ones follow from there; gaps between
    // recorded segments are left out. A sample whose time has nothing to do with its segment's is due with
    // the segment's start.
    std::int64_t DueNs(const Segment& segment, const CaptionTime& time, std::int64_t nowNs);
    // When the segment of a sample is over that is due then.
    std::int64_t OverNs(const Segment& segment, const CaptionTime& time, std::int64_t dueNs) const;

private:
    std::int64_t Lasting(std::int64_t mediaNs) const;
    std::int64_t PacedNs(const Segment& segment, std::int64_t nowNs);

    const ServicePace m_pace;
    const double m_speed;
    bool m_anchored = false;
    std::int64_t m_anchorNs = 0; // wall clock
    std::int64_t m_baseNs = 0;   // presentation time that is due then
    std::int64_t m_endNs = 0;    // of the last segment
};

} // namespace TTMLHost

#endif
