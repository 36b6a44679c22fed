// The MPDs of ATSC 3.0 services: an input is the text. Of each caption set that is read the segments are
// looked up, as the television does.

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "FuzzTarget.h"
#include "MediaTime.h"
#include "Mpd.h"
#include "SegmentIndex.h"

using TTMLTest::Hold;

namespace {

void CheckTimeline(const TTMLHost::SegmentAddressing& segments)
{
    std::int64_t end = 0;
    for (std::size_t i = 0; i < segments.timeline.size(); ++i) {
        const TTMLHost::TimelineRun& run = segments.timeline[i];
        Hold(run.duration > 0, "segments last");
        Hold(run.time >= end, "segments follow one another");
        const bool isOpen = run.count == TTMLHost::TimelineRun::kOpen;
        Hold(isOpen ? i + 1 == segments.timeline.size() : run.count > 0, "only the last run is open");
        end = isOpen ? run.time : run.time + run.duration * run.count;
    }
}

void CheckSegment(const TTMLHost::CaptionSet& set, const TTMLHost::SegmentIndex& index, std::int64_t ordinal)
{
    const std::optional<TTMLHost::Segment> segment = index.At(ordinal);
    if (!segment) {
        return;
    }
    Hold(segment->ordinal == ordinal, "a segment is the one that was asked for");
    Hold(index.OrdinalOf(segment->number) == ordinal, "numbers follow the order");
    Hold(segment->startNs <= segment->endNs, "a segment does not end before it begins");
    Hold(segment->startNs >= -TTMLHost::kFarthestNs && segment->endNs <= TTMLHost::kFarthestNs,
         "times have limits");
    index.OrdinalAt(segment->startNs);
    const TTMLHost::SegmentTemplate& media = set.segments.media;
    constexpr std::int64_t kEighteenDigits = 999999999999999999;
    if (set.segments.kind == TTMLHost::SegmentAddressing::Kind::Template && media.HasNumber() &&
        !media.HasTime() && segment->number <= kEighteenDigits) {
        Hold(media.NumberOf(segment->reference) == segment->number, "a name tells its number");
    }
}

void CheckSet(const TTMLHost::CaptionSet& set, const TTMLHost::MpdPeriod& period)
{
    Hold(set.segments.timescale > 0 && set.segments.timescale <= std::numeric_limits<std::uint32_t>::max(),
         "a timescale has 32 bits");
    CheckTimeline(set.segments);
    std::optional<std::int64_t> end;
    if (period.endMs) {
        end = TTMLHost::MsToNs(*period.endMs);
    }
    const TTMLHost::SegmentIndex index(set, TTMLHost::MsToNs(period.startMs), end);
    std::vector<std::int64_t> ordinals = {-1, 0, 1, 2, 1000000};
    if (const std::optional<std::int64_t> count = index.Count()) {
        Hold(*count >= 0, "there are no fewer than no segments");
        Hold(!index.At(*count), "there is none behind the last");
        ordinals.push_back(*count / 2);
        ordinals.push_back(*count - 1);
    }
    for (const std::int64_t ordinal : ordinals) {
        CheckSegment(set, index, ordinal);
    }
    for (const std::int64_t ms : {std::int64_t{0}, std::int64_t{1000}, std::int64_t{1700000000000}}) {
        Hold(index.OrdinalAt(TTMLHost::MsToNs(ms)) >= 0, "there is none before the first");
    }
    set.segments.media.Folder();
}

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const std::string text(data, data + size);
    std::string error;
    const std::optional<TTMLHost::Mpd> mpd = TTMLHost::ReadMpd(text, "fuzz.mpd", &error);
    Hold(mpd.has_value() == error.empty(), "what is no MPD is said");
    if (!mpd) {
        return 0;
    }
    std::int64_t start = std::numeric_limits<std::int64_t>::min();
    for (const TTMLHost::MpdPeriod& period : mpd->periods) {
        Hold(period.startMs >= start, "periods are in order");
        start = period.startMs;
        for (const TTMLHost::CaptionSet& set : period.captions) {
            CheckSet(set, period);
        }
    }
    return 0;
}
