#include "CaptionTimeline.h"

#include "MediaTime.h"

namespace TTMLHost {

namespace {

// Longer than any presentation has been on air under one availability start.
constexpr std::int64_t kDecadesNs = std::int64_t{20} * 365 * 86400 * kNsPerSecond;

} // namespace

CaptionTimeline::CaptionTimeline(const Mpd& mpd, Receiver receiver)
    : m_originNs(AddNs(MsToNs(mpd.availabilityStartMs), MsToNs(mpd.suggestedPresentationDelayMs)))
    , m_receiver(receiver)
{}

bool CaptionTimeline::CountsFromEpoch(std::int64_t presentationNs) const
{
    const std::int64_t apart = LimitNs(presentationNs - m_originNs);
    return presentationNs > kDecadesNs && m_originNs > kDecadesNs && apart < kDecadesNs &&
           apart > -kDecadesNs;
}

CaptionTime CaptionTimeline::Of(const MpdPeriod& period, const CaptionSet& set, std::int64_t time,
                                std::int64_t timescale) const
{
    const std::int64_t trackNs = UnitsToNs(time, timescale);
    const std::int64_t trackOffsetNs = UnitsToNs(set.segments.presentationTimeOffset, set.segments.timescale);
    CaptionTime result;
    result.offsetNs = AddNs(MsToNs(period.startMs), -trackOffsetNs);
    result.presentationNs = AddNs(trackNs, result.offsetNs);
    result.referenceNs = AddNs(m_originNs, result.presentationNs);
    if (CountsFromEpoch(result.presentationNs)) {
        result.referenceNs = result.presentationNs;
        if (m_receiver == Receiver::ReadsMpd) {
            result.offsetNs = AddNs(result.offsetNs, -m_originNs);
        }
    }
    return result;
}

} // namespace TTMLHost
