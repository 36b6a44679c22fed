#ifndef SEGMENT_READER_H
#define SEGMENT_READER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace TTMLHost {

// One sample of a TTML track (ISO/IEC 14496-30).
struct CaptionSample
{
    std::vector<unsigned char> payload; // a document; images may follow it
    std::int64_t time = 0;              // on the track's timeline, in units of `timescale`
    std::int64_t duration = 0;          // the same; 0 when it is not told
    std::int64_t timescale = 1;
};

struct SegmentContent
{
    std::vector<CaptionSample> samples;
    std::vector<std::string> warnings; // one line each: what of the segment cannot be read
    // The last box or a sample is longer than what there is: a segment that is still being written looks so.
    bool endsEarly = false;
};

// Takes the samples of a TTML track out of fragments (ISO/IEC 14496-12). Not by libavformat: it gives up a
// whole segment for one sample of 0 bytes, or for a fragment whose track id is not the initialization's, and
// what is left of such a segment is to be shown.
class SegmentReader
{
public:
    // Whether an initialization segment is one of a TTML track.
    static bool HoldsTtml(std::string_view initialization);

    // Reads an initialization segment; `name` is for error lines. False, with one line in `error`, when there
    // is no TTML track in it; what was read before stays.
    bool SetInitialization(std::string_view initialization, const std::string& name, std::string* error);

    // Reads one media segment. One that holds its own initialization, too, is read by that.
    SegmentContent Read(std::string_view segment, const std::string& name);

private:
    struct Track
    {
        std::uint32_t id = 0;
        std::int64_t timescale = 0; // 0: none has been read
        std::uint32_t defaultDuration = 0;
        std::uint32_t defaultSize = 0;
        bool alone = false; // in its initialization segment
    };
    class Fragments;

    static bool FindTrack(std::string_view movie, Track* track);

    Track m_track;
    std::int64_t m_nextTime = 0; // behind the last sample
};

} // namespace TTMLHost

#endif
