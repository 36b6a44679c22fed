#ifndef CPES_PARSER_H
#define CPES_PARSER_H

#include <cstdint>
#include <string>
#include <vector>

namespace TTML {

// What one PES packet of DVB TTML subtitles holds.
struct DvbTTMLData
{
    std::uint64_t pts = 0;              // the packet's PTS divided by two: it counts at 45 kHz
    std::uint64_t mediaSegmentTime = 0; // units of 100 us; the lower 32 bits of the field's 48
    std::uint8_t segmentCount = 0;      // as announced
    std::vector<std::string> segments;  // TTML text of the segments that were accepted, inflated
};

// Reads PES packets of private_stream_1 (ISO/IEC 13818-1) that carry DVB TTML subtitles (ETSI EN 303 560).
// Keeps nothing between packets, so any number of threads may use one parser.
class CPESParser
{
public:
    CPESParser();
    virtual ~CPESParser();
    CPESParser(const CPESParser&) = delete;
    CPESParser& operator=(const CPESParser&) = delete;

    // Reads one whole packet. Returns false, with the reason on the log, for one that cannot be read; `out`
    // holds what was read until then. Throws std::bad_alloc, and leaves nothing behind, when there is no
    // memory for the texts.
    bool ParsePES(std::vector<unsigned char>& packet, DvbTTMLData& out);

private:
    bool m_ParsePESHeader(std::vector<unsigned char>& packet, unsigned int& counter, DvbTTMLData& out);
    bool m_ParsePESDataFields(std::vector<unsigned char>& packet, unsigned int& counter, DvbTTMLData& out);
    bool m_HandleSegmentData(const unsigned char* pBuf, unsigned int len, std::uint8_t type,
                             DvbTTMLData& out);
    // Appends the inflated bytes to `out`.
    bool m_UnzipContent(const unsigned char* pBuf, unsigned int len, std::string& out);
};

} // namespace TTML

#endif
