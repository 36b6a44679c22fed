// The PES parser against the second reading of the layout: an input is a packet.

#include <vector>

#include "CPESParser.h"
#include "FuzzTarget.h"
#include "PesReading.h"

using TTMLTest::Hold;

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    static TTML::CPESParser parser;
    const std::vector<unsigned char> packet(data, data + size);
    std::vector<unsigned char> own = packet;
    TTML::DvbTTMLData parsed;
    const bool good = parser.ParsePES(own, parsed);
    const TTMLTest::PesReading reading = TTMLTest::ReadPes(packet);

    Hold(own == packet, "the packet is as it was");
    Hold(good == (reading.fault == TTMLTest::PesFault::NONE), "right packets are read and others refused");
    Hold(parsed.pts == reading.pts, "the PTS is the packet's");
    Hold(parsed.mediaSegmentTime == reading.mediaTime, "the media time is the packet's");
    Hold(parsed.segmentCount == reading.count, "the count is the packet's");
    Hold(parsed.segments == reading.segments, "the segments are those up to the first that is wrong");
    return 0;
}
