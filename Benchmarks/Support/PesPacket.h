#ifndef PES_PACKET_H
#define PES_PACKET_H

#include <cstdint>
#include <string>
#include <vector>

namespace TTMLBench {

// Segment types of ETSI EN 303 560.
constexpr unsigned char kPlainSegment = 1;
constexpr unsigned char kGzipSegment = 2;

// Compressed as gzip, with zlib's default level.
std::string Gzip(const std::string& text);

// The data field of a DVB TTML subtitle packet with one segment, without its CRC_32. The media time counts
// units of 100 microseconds.
std::vector<unsigned char> MakeDataField(std::uint64_t mediaTime, unsigned char type,
                                         const std::string& segment);

// The whole PES packet; the PTS counts at 90 kHz.
std::vector<unsigned char> MakePesPacket(std::uint64_t pts, std::uint64_t mediaTime, unsigned char type,
                                         const std::string& segment);

} // namespace TTMLBench

#endif
