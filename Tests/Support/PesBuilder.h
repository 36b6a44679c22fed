#ifndef PES_BUILDER_H
#define PES_BUILDER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace TTMLTest {

using PesBytes = std::vector<unsigned char>;

// Segment types of ETSI EN 303 560.
constexpr unsigned char kPlain = 1;
constexpr unsigned char kCompressed = 2;

// What stands round the deflate stream of a compressed text. Broadcasts have GZIP.
enum class Wrapper
{
    GZIP,
    ZLIB,
    NONE
};

// `text`, compressed.
std::string Deflated(const std::string& text, Wrapper wrapper = Wrapper::GZIP, int level = 9);

// Builds PES packets of a DVB TTML subtitle stream (ISO/IEC 13818-1 private_stream_1 with the data field of
// ETSI EN 303 560). Without a word it is a right packet with PTS 0, media time 0 and no segment:
//
//     Pes().Pts(90000).MediaTime(1000).Segment(kPlain, "<tt/>").Gzip("<tt/>").Bytes()
//
// What the other operations change makes it a wrong one, and nothing but what they name.
class Pes
{
public:
    Pes();

    // The right words. PTS of 33 bits at 90 kHz, media time of 48 bits in units of 100 microseconds.
    Pes& Pts(std::uint64_t pts);
    Pes& MediaTime(std::uint64_t time);
    Pes& Segment(unsigned char type, const std::string& data);
    // Segments whose text is compressed here; some broadcasters pad with zeros after the gzip stream.
    Pes& Gzip(const std::string& text, std::size_t padding = 0);
    Pes& Compressed(const std::string& text, Wrapper wrapper);
    // The CRC_32 of ISO/IEC 13818-1 over the data field, behind the last segment.
    Pes& Crc();

    // The header, field by field.
    Pes& StartCode(std::uint32_t prefix);
    Pes& StreamId(unsigned char id);
    Pes& PacketLength(std::uint16_t length); // else what follows the field, or 0 where that has no room
    Pes& Flags(unsigned char flags);         // '10', scrambling, priority, data_alignment_indicator, ...
    Pes& TimeFlags(unsigned char flags);     // PTS_DTS_flags, ESCR_flag, ...
    Pes& HeaderLength(unsigned char length);
    Pes& PtsField(const std::array<unsigned char, 5>& field);

    // The data field.
    Pes& Count(unsigned char count); // else how many segments there are, as far as a byte counts
    // A segment that announces `length` whatever it has.
    Pes& LyingSegment(unsigned char type, std::uint16_t length, const std::string& data);

    // Behind everything, and then only the first so many bytes.
    Pes& Trailing(const std::string& bytes);
    Pes& Cut(std::size_t size);

    PesBytes Bytes() const;

private:
    struct Piece
    {
        unsigned char type;
        std::uint16_t length;
        std::string data;
    };

    PesBytes DataField() const;

    std::uint32_t m_startCode = 0x000001;
    unsigned char m_streamId = 0xBD;
    std::optional<std::uint16_t> m_packetLength;
    unsigned char m_flags = 0x84;
    unsigned char m_timeFlags = 0x80;
    unsigned char m_headerLength = 5;
    std::array<unsigned char, 5> m_ptsField;
    std::uint64_t m_mediaTime = 0;
    std::optional<unsigned char> m_count;
    std::vector<Piece> m_pieces;
    bool m_crc = false;
    std::string m_trailing;
    std::optional<std::size_t> m_cut;
};

// The five bytes of a PTS field with the marker bits set: '0010', 3 bits, 1, 15 bits, 1, 15 bits, 1.
std::array<unsigned char, 5> PtsFieldOf(std::uint64_t pts);
// The CRC_32 of ISO/IEC 13818-1, annex A.
std::uint32_t MpegCrc(const PesBytes& bytes);
// "00 00 01 BD ..." for messages of tests.
std::string Hex(const PesBytes& bytes);

} // namespace TTMLTest

#endif
