#ifndef MPD_H
#define MPD_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PlatformTvServiceData.h"
#include "SegmentTemplate.h"

namespace TTMLHost {

// What the television takes from a media presentation description (ISO/IEC 23009-1): the presentation's
// clock, and in each period where the captions are.

// Segments of one duration behind one another.
struct TimelineRun
{
    static constexpr std::int64_t kOpen = -1; // `count` of the last run, which goes on to the period's end

    std::int64_t time = 0;     // of the first one, on the track's timeline
    std::int64_t duration = 0; // of each
    std::int64_t count = 1;
};

// How the segments of a representation are found. Times in units of the timescale.
struct SegmentAddressing
{
    enum class Kind
    {
        Template, // by `media`, as many as fit the period
        List,     // those of `list`
        Single    // all is in the one that the base URLs name
    };

    Kind kind = Kind::Single;
    std::string initialization; // reference, relative to the base URLs; empty when there is none
    SegmentTemplate media;
    std::vector<std::string> list;
    std::int64_t startNumber = 1;
    std::optional<std::int64_t> endNumber;
    std::int64_t timescale = 1;
    std::int64_t duration = 0; // 0: `timeline` says, or nothing does
    std::int64_t presentationTimeOffset = 0;
    std::int64_t availabilityTimeOffsetMs = 0; // segments are there earlier by this
    std::vector<TimelineRun> timeline;         // in order of time
};

// The captions of one adaptation set, in its first representation that holds TTML.
struct CaptionSet
{
    TCCaption caption;
    std::string language; // as the MPD has it; may be empty
    std::string representation;
    bool certain = false;           // the codecs say stpp; else only the initialization segment tells
    std::vector<std::string> bases; // base URLs from the outermost level to the innermost
    SegmentAddressing segments;
};

struct MpdPeriod
{
    std::int64_t startMs = 0;
    std::optional<std::int64_t> endMs;
    std::vector<CaptionSet> captions;
};

struct Mpd
{
    bool dynamic = false;
    std::int64_t availabilityStartMs = 0; // since 1970-01-01T00:00:00Z; 0 when there is none
    std::int64_t suggestedPresentationDelayMs = 0;
    std::optional<std::int64_t> minimumUpdatePeriodMs;
    std::optional<std::int64_t> mediaPresentationDurationMs;
    std::int64_t timeShiftBufferDepthMs = 0;
    std::vector<MpdPeriod> periods; // in order of time

    std::vector<std::string> warnings; // one line each: what of it cannot be used
};

// Reads an MPD; `input` is its name in error lines. Nothing when the text is none, with one line in `error`.
// What is wrong in detail is left out, with a line in `warnings`.
std::optional<Mpd> ReadMpd(const std::string& text, const std::string& input, std::string* error);

} // namespace TTMLHost

#endif
