#include "PesBuilder.h"

#include <algorithm>
#include <cstdio>
#include <limits>

#include <gtest/gtest.h>
#include <zlib.h>

namespace TTMLTest {

namespace {

constexpr std::size_t kLengthEnd = 6; // where the bytes begin that the packet length counts

// The `count` lower bytes of `value`, the highest first.
void PutBigEndian(PesBytes& bytes, std::uint64_t value, unsigned int count)
{
    while (count-- > 0) {
        bytes.push_back(static_cast<unsigned char>(value >> (8 * count)));
    }
}

void PutText(PesBytes& bytes, const std::string& text)
{
    bytes.insert(bytes.end(), text.begin(), text.end());
}

int WindowBits(Wrapper wrapper)
{
    switch (wrapper) {
    case Wrapper::GZIP:
        return MAX_WBITS + 16;
    case Wrapper::ZLIB:
        return MAX_WBITS;
    case Wrapper::NONE:
        break;
    }
    return -MAX_WBITS;
}

} // namespace

std::string Deflated(const std::string& text, Wrapper wrapper, int level)
{
    z_stream stream = {};
    if (deflateInit2(&stream, level, Z_DEFLATED, WindowBits(wrapper), 9, Z_DEFAULT_STRATEGY) != Z_OK) {
        ADD_FAILURE() << "deflateInit2 failed: " << (stream.msg != nullptr ? stream.msg : "no memory");
        return {};
    }
    // zlib's bound is a little too small for short texts that are stored.
    std::string compressed(deflateBound(&stream, text.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(&compressed[0]);
    stream.avail_out = static_cast<uInt>(compressed.size());
    const int result = deflate(&stream, Z_FINISH);
    EXPECT_EQ(result, Z_STREAM_END) << "deflating " << text.size() << " bytes";
    compressed.resize(stream.total_out);
    deflateEnd(&stream);
    return compressed;
}

Pes::Pes()
    : m_ptsField(PtsFieldOf(0))
{}

Pes& Pes::Pts(std::uint64_t pts)
{
    return PtsField(PtsFieldOf(pts));
}

Pes& Pes::MediaTime(std::uint64_t time)
{
    m_mediaTime = time;
    return *this;
}

Pes& Pes::Segment(unsigned char type, const std::string& data)
{
    if (data.size() > std::numeric_limits<std::uint16_t>::max()) {
        ADD_FAILURE() << "a segment has no room for " << data.size() << " bytes";
        return *this;
    }
    return LyingSegment(type, static_cast<std::uint16_t>(data.size()), data);
}

Pes& Pes::Gzip(const std::string& text, std::size_t padding)
{
    return Segment(kCompressed, Deflated(text) + std::string(padding, '\0'));
}

Pes& Pes::Compressed(const std::string& text, Wrapper wrapper)
{
    return Segment(kCompressed, Deflated(text, wrapper));
}

Pes& Pes::Crc()
{
    m_crc = true;
    return *this;
}

Pes& Pes::StartCode(std::uint32_t prefix)
{
    m_startCode = prefix;
    return *this;
}

Pes& Pes::StreamId(unsigned char id)
{
    m_streamId = id;
    return *this;
}

Pes& Pes::PacketLength(std::uint16_t length)
{
    m_packetLength = length;
    return *this;
}

Pes& Pes::Flags(unsigned char flags)
{
    m_flags = flags;
    return *this;
}

Pes& Pes::TimeFlags(unsigned char flags)
{
    m_timeFlags = flags;
    return *this;
}

Pes& Pes::HeaderLength(unsigned char length)
{
    m_headerLength = length;
    return *this;
}

Pes& Pes::PtsField(const std::array<unsigned char, 5>& field)
{
    m_ptsField = field;
    return *this;
}

Pes& Pes::Count(unsigned char count)
{
    m_count = count;
    return *this;
}

Pes& Pes::LyingSegment(unsigned char type, std::uint16_t length, const std::string& data)
{
    m_pieces.push_back({type, length, data});
    return *this;
}

Pes& Pes::Trailing(const std::string& bytes)
{
    m_trailing += bytes;
    return *this;
}

Pes& Pes::Cut(std::size_t size)
{
    m_cut = size;
    return *this;
}

PesBytes Pes::DataField() const
{
    PesBytes field;
    PutBigEndian(field, m_mediaTime, 6);
    field.push_back(
        m_count.value_or(static_cast<unsigned char>(std::min<std::size_t>(m_pieces.size(), 255))));
    for (const Piece& piece : m_pieces) {
        field.push_back(piece.type);
        PutBigEndian(field, piece.length, 2);
        PutText(field, piece.data);
    }
    if (m_crc) {
        PutBigEndian(field, MpegCrc(field), 4);
    }
    return field;
}

PesBytes Pes::Bytes() const
{
    PesBytes bytes;
    PutBigEndian(bytes, m_startCode, 3);
    bytes.push_back(m_streamId);
    PutBigEndian(bytes, 0, 2); // the packet length, once it is known
    bytes.push_back(m_flags);
    bytes.push_back(m_timeFlags);
    bytes.push_back(m_headerLength);
    bytes.insert(bytes.end(), m_ptsField.begin(), m_ptsField.end());
    const PesBytes field = DataField();
    bytes.insert(bytes.end(), field.begin(), field.end());
    PutText(bytes, m_trailing);

    const std::size_t rest = bytes.size() - kLengthEnd;
    const auto fitting = static_cast<std::uint16_t>(rest > 0xFFFF ? 0 : rest);
    const std::uint16_t length = m_packetLength.value_or(fitting);
    bytes[kLengthEnd - 2] = static_cast<unsigned char>(length >> 8);
    bytes[kLengthEnd - 1] = static_cast<unsigned char>(length);
    bytes.resize(std::min(bytes.size(), m_cut.value_or(bytes.size())));
    return bytes;
}

std::array<unsigned char, 5> PtsFieldOf(std::uint64_t pts)
{
    const auto bits = [pts](unsigned int lowest, unsigned int mask) {
        return static_cast<unsigned int>(pts >> lowest) & mask;
    };
    return {static_cast<unsigned char>(0x21U | (bits(30, 0x07U) << 1)), //
            static_cast<unsigned char>(bits(22, 0xFFU)),                //
            static_cast<unsigned char>(0x01U | (bits(15, 0x7FU) << 1)), //
            static_cast<unsigned char>(bits(7, 0xFFU)),                 //
            static_cast<unsigned char>(0x01U | (bits(0, 0x7FU) << 1))};
}

std::uint32_t MpegCrc(const PesBytes& bytes)
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (const unsigned char byte : bytes) {
        crc ^= static_cast<std::uint32_t>(byte) << 24;
        for (int bit = 0; bit < 8; ++bit) {
            crc = (crc << 1) ^ ((crc & 0x80000000U) != 0 ? 0x04C11DB7U : 0U);
        }
    }
    return crc;
}

std::string Hex(const PesBytes& bytes)
{
    std::string text;
    for (const unsigned char byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%02X", static_cast<unsigned int>(byte));
        text += (text.empty() ? "" : " ") + std::string(digits);
    }
    return text;
}

} // namespace TTMLTest
