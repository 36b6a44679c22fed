// Segments of ATSC 3.0 captions: an input is an initialization segment, behind its length, and a media
// segment.

#include <string>
#include <string_view>

#include "FuzzTarget.h"
#include "SegmentReader.h"

using TTMLTest::Hold;

namespace {

void CheckContent(const TTMLHost::SegmentContent& content, const std::string& segment)
{
    std::size_t bytes = 0;
    for (const TTMLHost::CaptionSample& sample : content.samples) {
        bytes += sample.payload.size();
        const std::string payload(sample.payload.begin(), sample.payload.end());
        Hold(segment.find(payload) != std::string::npos, "samples lie in the segment");
        Hold(sample.timescale > 0 && sample.timescale <= 0xffffffff, "a timescale has 32 bits");
        Hold(sample.duration >= 0 && sample.duration <= 0xffffffff, "a duration has 32 bits");
        Hold(sample.time >= INT32_MIN && sample.time <= (INT64_MAX >> 1U) + INT32_MAX, "times have limits");
    }
    Hold(bytes <= segment.size(), "samples do not overlap for more than there is");
    Hold(content.warnings.size() <= 1, "one line says what is wrong");
    Hold(!content.endsEarly || content.warnings.size() == 1, "what ends early is said");
}

bool IsSame(const TTMLHost::SegmentContent& left, const TTMLHost::SegmentContent& right)
{
    if (left.samples.size() != right.samples.size() || left.warnings != right.warnings ||
        left.endsEarly != right.endsEarly) {
        return false;
    }
    for (std::size_t i = 0; i < left.samples.size(); ++i) {
        const TTMLHost::CaptionSample& one = left.samples[i];
        const TTMLHost::CaptionSample& other = right.samples[i];
        if (one.payload != other.payload || one.time != other.time || one.duration != other.duration ||
            one.timescale != other.timescale) {
            return false;
        }
    }
    return true;
}

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    TTMLTest::FuzzInput input(data, size);
    const std::string initialization = input.Text(static_cast<std::size_t>(input.Number(2)));
    const std::string segment = input.Rest();

    TTMLHost::SegmentReader reader;
    std::string error;
    const bool usable = reader.SetInitialization(initialization, "init", &error);
    Hold(usable == TTMLHost::SegmentReader::HoldsTtml(initialization), "what holds TTML can be used");
    Hold(usable == error.empty(), "what cannot be used is said");
    TTMLHost::SegmentReader other = reader;
    const TTMLHost::SegmentContent content = reader.Read(segment, "segment");
    CheckContent(content, segment);
    Hold(IsSame(content, other.Read(segment, "segment")), "a segment has one meaning");
    // Goes on where the one before ended, if it has no time of its own.
    CheckContent(reader.Read(segment, "segment"), segment);
    return 0;
}
