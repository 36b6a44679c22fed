#ifndef SEGMENT_INDEX_H
#define SEGMENT_INDEX_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Mpd.h"

namespace TTMLHost {

// One media segment. Times on the presentation's timeline, in nanoseconds.
struct Segment
{
    std::int64_t ordinal = 0; // in its period, from 0
    std::int64_t number = 0;
    std::int64_t startNs = 0;
    std::int64_t endNs = 0; // of the segment, though the period may end before
    std::string reference;  // relative to the base URLs; empty for what they name themselves
};

// The segments of one caption set in one period, in order, without a list of them.
class SegmentIndex
{
public:
    // `set` must outlive the index. `endNs`: of the period, where it is known.
    SegmentIndex(const CaptionSet& set, std::int64_t startNs, std::optional<std::int64_t> endNs);

    // How many there are; nothing when nobody knows.
    std::optional<std::int64_t> Count() const { return m_count; }
    // Nothing when there is none.
    std::optional<Segment> At(std::int64_t ordinal) const;
    // The ordinal of the segment that holds the time, or of the first one after it; it may be behind the
    // last.
    std::int64_t OrdinalAt(std::int64_t presentationNs) const;
    std::int64_t OrdinalOf(std::int64_t number) const { return number - m_set->segments.startNumber; }

private:
    // The units of the timescale between the period's start and a time, rounded down.
    std::int64_t UnitsAt(std::int64_t presentationNs) const;
    std::size_t RunOf(std::int64_t ordinal) const;
    void CountRuns();
    std::optional<std::int64_t> CountOf(std::optional<std::int64_t> lengthUnits) const;
    Segment Made(std::int64_t ordinal, std::int64_t units, std::int64_t duration, std::int64_t time) const;

    const CaptionSet* m_set;
    std::int64_t m_startNs;
    std::optional<std::int64_t> m_endNs;
    std::vector<std::int64_t> m_firstOrdinals; // of the timeline's runs
    std::optional<std::int64_t> m_count;
};

} // namespace TTMLHost

#endif
