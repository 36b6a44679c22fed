#ifndef PES_READING_H
#define PES_READING_H

// A second reading of PES packets with DVB TTML subtitles, which shares nothing with the library's parser: it
// walks tables of the fields as ISO/IEC 13818-1 and ETSI EN 303 560 list them, bit by bit, and takes gzip
// members apart as RFC 1952 has them. Where the library is known to depart from the standards, so does this.

#include <cstdint>
#include <string>
#include <vector>

#include "PesBuilder.h"

namespace TTMLTest {

// What ended the reading.
enum class PesFault
{
    NONE,
    SHORT_HEADER,
    WRONG_HEADER,
    SHORT_DATA_FIELD,
    NO_SEGMENTS,
    SHORT_SEGMENT_HEADER,
    SHORT_SEGMENT,
    DAMAGED_GZIP,
    UNKNOWN_TYPE,
    COUNT
};

struct PesReading
{
    PesFault fault = PesFault::NONE;
    std::uint64_t pts = 0; // at 45 kHz
    std::uint64_t mediaTime = 0;
    unsigned int count = 0;
    std::vector<std::string> segments;
    std::vector<std::string> warnings; // what the library says, in its order
};

PesReading ReadPes(const PesBytes& packet);

// The content of the gzip member that `bytes` begin with, if it is whole and right.
bool ReadGzip(const std::string& bytes, std::string& content);

} // namespace TTMLTest

#endif
