#include "SegmentIndex.h"

#include <algorithm>
#include <cstddef>

#include "MediaTime.h"

namespace TTMLHost {

namespace {

constexpr std::int64_t kMostSegments = std::int64_t{1} << 60U;

std::int64_t RoundedUp(std::int64_t value, std::int64_t divisor)
{
    return value / divisor + (value % divisor != 0 ? 1 : 0);
}

// The product, or as much as a manifest's numbers may be.
std::int64_t Product(std::int64_t left, std::int64_t right)
{
    std::int64_t product = 0;
    return __builtin_mul_overflow(left, right, &product) || product > INT64_MAX / 4 ? INT64_MAX / 4 : product;
}

} // namespace

SegmentIndex::SegmentIndex(const CaptionSet& set, std::int64_t startNs, std::optional<std::int64_t> endNs)
    : m_set(&set)
    , m_startNs(startNs)
    , m_endNs(endNs)
{
    CountRuns();
    std::optional<std::int64_t> lengthUnits;
    if (endNs) {
        // Rounded up: the last segment may be a bit of one.
        const std::int64_t lengthNs = std::max<std::int64_t>(LimitNs(*endNs - startNs), 0);
        const std::int64_t timescale = set.segments.timescale;
        lengthUnits = Product(lengthNs / kNsPerSecond, timescale) +
                      RoundedUp(lengthNs % kNsPerSecond * timescale, kNsPerSecond);
    }
    m_count = CountOf(lengthUnits);
    if (set.segments.endNumber) {
        const std::int64_t byNumber = *set.segments.endNumber - set.segments.startNumber + 1;
        m_count = std::max<std::int64_t>(std::min(m_count.value_or(byNumber), byNumber), 0);
    }
}

void SegmentIndex::CountRuns()
{
    std::int64_t ordinal = 0;
    for (const TimelineRun& run : m_set->segments.timeline) {
        m_firstOrdinals.push_back(ordinal);
        if (run.count != TimelineRun::kOpen) {
            ordinal = std::min(kMostSegments, ordinal + std::min(run.count, kMostSegments));
        }
    }
}

std::optional<std::int64_t> SegmentIndex::CountOf(std::optional<std::int64_t> lengthUnits) const
{
    const SegmentAddressing& segments = m_set->segments;
    if (segments.kind == SegmentAddressing::Kind::Single) {
        return 1;
    }
    if (segments.kind == SegmentAddressing::Kind::List) {
        return static_cast<std::int64_t>(segments.list.size());
    }
    if (segments.timeline.empty()) {
        return lengthUnits ? std::optional<std::int64_t>(
                                 std::max<std::int64_t>(RoundedUp(*lengthUnits, segments.duration), 0))
                           : std::nullopt;
    }
    const TimelineRun& last = segments.timeline.back();
    if (last.count != TimelineRun::kOpen) {
        return m_firstOrdinals.back() + std::min(last.count, kMostSegments);
    }
    if (!lengthUnits) {
        return std::nullopt;
    }
    const std::int64_t open = *lengthUnits - (last.time - segments.presentationTimeOffset);
    return m_firstOrdinals.back() + std::max<std::int64_t>(RoundedUp(open, last.duration), 0);
}

std::int64_t SegmentIndex::UnitsAt(std::int64_t presentationNs) const
{
    const std::int64_t timescale = m_set->segments.timescale;
    const std::int64_t ns = LimitNs(presentationNs - m_startNs);
    std::int64_t seconds = ns / kNsPerSecond;
    std::int64_t rest = ns % kNsPerSecond;
    if (rest < 0) {
        rest += kNsPerSecond;
        --seconds;
    }
    // A nanosecond more: times that were made of units are to give them again.
    const std::int64_t units = std::min(rest + 1, kNsPerSecond - 1) * timescale / kNsPerSecond;
    return seconds >= 0 ? Product(seconds, timescale) + units : -Product(-seconds, timescale) + units;
}

std::size_t SegmentIndex::RunOf(std::int64_t ordinal) const
{
    const auto after = std::upper_bound(m_firstOrdinals.begin(), m_firstOrdinals.end(), ordinal);
    return static_cast<std::size_t>(after - m_firstOrdinals.begin()) - 1;
}

std::optional<Segment> SegmentIndex::At(std::int64_t ordinal) const
{
    const SegmentAddressing& segments = m_set->segments;
    if (ordinal < 0 || ordinal >= m_count.value_or(kMostSegments)) {
        return std::nullopt;
    }
    if (segments.timeline.empty()) {
        const std::int64_t units = Product(ordinal, segments.duration);
        return Made(ordinal, units, segments.duration, units + segments.presentationTimeOffset);
    }
    const std::size_t index = RunOf(ordinal);
    const TimelineRun& run = segments.timeline[index];
    const std::int64_t within = ordinal - m_firstOrdinals[index];
    if (run.count != TimelineRun::kOpen && within >= run.count) {
        return std::nullopt;
    }
    const std::int64_t time = std::min(INT64_MAX / 4, run.time + Product(within, run.duration));
    return Made(ordinal, time - segments.presentationTimeOffset, run.duration, time);
}

Segment SegmentIndex::Made(std::int64_t ordinal, std::int64_t units, std::int64_t duration,
                           std::int64_t time) const
{
    const SegmentAddressing& segments = m_set->segments;
    Segment segment;
    segment.ordinal = ordinal;
    segment.number = segments.startNumber + ordinal;
    segment.startNs = AddNs(m_startNs, UnitsToNs(units, segments.timescale));
    segment.endNs = AddNs(m_startNs, UnitsToNs(units + duration, segments.timescale));
    if (duration == 0) {
        // All that the period holds is in it.
        segment.endNs = std::max(segment.startNs, m_endNs.value_or(segment.startNs));
    }
    if (segments.kind == SegmentAddressing::Kind::Template) {
        segment.reference = segments.media.Fill(segment.number, time);
    } else if (segments.kind == SegmentAddressing::Kind::List) {
        segment.reference = segments.list[static_cast<std::size_t>(ordinal)];
    }
    return segment;
}

std::int64_t SegmentIndex::OrdinalAt(std::int64_t presentationNs) const
{
    const SegmentAddressing& segments = m_set->segments;
    const std::int64_t units = UnitsAt(presentationNs);
    if (units <= 0 && segments.timeline.empty()) {
        return 0;
    }
    if (segments.timeline.empty()) {
        return segments.duration > 0 ? units / segments.duration : 0;
    }
    const std::int64_t time = units + segments.presentationTimeOffset;
    const auto after =
        std::upper_bound(segments.timeline.begin(), segments.timeline.end(), time,
                         [](std::int64_t value, const TimelineRun& run) { return value < run.time; });
    if (after == segments.timeline.begin()) {
        return 0;
    }
    const std::size_t index = static_cast<std::size_t>(after - segments.timeline.begin()) - 1;
    const TimelineRun& run = segments.timeline[index];
    const std::int64_t within = (time - run.time) / run.duration;
    // Behind the run's end and before the next one there is a gap.
    return m_firstOrdinals[index] + (run.count == TimelineRun::kOpen ? within : std::min(within, run.count));
}

} // namespace TTMLHost
