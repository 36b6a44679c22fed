#include "PesReading.h"

#include <array>
#include <cstddef>
#include <map>
#include <utility>

#include <zlib.h>

namespace TTMLTest {

namespace {

struct Field
{
    const char* name;
    unsigned int bits;
};

using Table = std::vector<Field>;
using Values = std::map<std::string, std::uint64_t>;

// ISO/IEC 13818-1, 2.4.3.6, with nothing but a PTS. The flag bytes are read whole.
const Table kHeader = {
    {"packet_start_code_prefix", 24},
    {"stream_id", 8},
    {"PES_packet_length", 16},
    {"first flags", 8},
    {"second flags", 8},
    {"PES_header_data_length", 8},
    {"'0010'", 4},
    {"PTS[32..30]", 3},
    {"marker 1", 1},
    {"PTS[29..15]", 15},
    {"marker 2", 1},
    {"PTS[14..0]", 15},
    {"marker 3", 1},
};

// ETSI EN 303 560. The library keeps 32 of the media time's 48 bits.
const Table kDataField = {
    {"segment_mediatime, upper", 16},
    {"segment_mediatime, lower", 32},
    {"num_of_segments", 8},
};

const Table kSegment = {
    {"segment_type", 8},
    {"segment_length", 16},
};

// RFC 1952, 2.3.
const Table kMember = {
    {"ID", 16},   {"CM", 8},    {"reserved", 3}, {"FCOMMENT", 1}, {"FNAME", 1}, {"FEXTRA", 1},
    {"FHCRC", 1}, {"FTEXT", 1}, {"MTIME", 32},   {"XFL", 8},      {"OS", 8},
};

unsigned int BitsOf(const Table& table)
{
    unsigned int bits = 0;
    for (const Field& field : table) {
        bits += field.bits;
    }
    return bits;
}

// Takes bits off the front, the highest of each byte first.
class BitReader
{
public:
    BitReader(const unsigned char* bytes, std::size_t size)
        : m_bytes(bytes)
        , m_bits(size * 8)
    {}

    bool Has(std::uint64_t bits) const { return m_bits - m_next >= bits; }
    std::size_t Left() const { return (m_bits - m_next) / 8; }
    const unsigned char* Here() const { return m_bytes + m_next / 8; }

    std::uint64_t Take(unsigned int count)
    {
        std::uint64_t value = 0;
        for (; count > 0; --count, ++m_next) {
            value = value * 2 + (m_bytes[m_next / 8] >> (7 - m_next % 8)) % 2;
        }
        return value;
    }

    // Whether all the fields of the table are there; none is taken unless they are.
    bool Take(const Table& table, Values& values)
    {
        if (!Has(BitsOf(table))) {
            return false;
        }
        for (const Field& field : table) {
            values[field.name] = Take(field.bits);
        }
        return true;
    }

    std::string TakeText(std::size_t size)
    {
        const unsigned char* const begin = Here();
        m_next += size * 8;
        return std::string(begin, begin + size);
    }

    // A text and the zero behind it.
    bool SkipZeroTerminated()
    {
        while (Has(8)) {
            if (Take(8) == 0) {
                return true;
            }
        }
        return false;
    }

private:
    const unsigned char* m_bytes;
    std::size_t m_bits;
    std::size_t m_next = 0;
};

// What the library says when a reading ends so; the line about the header has its fields behind it.
const std::map<PesFault, std::vector<std::string>>& Sayings()
{
    static const std::string inHeader = "Error in PES Header parsing!";
    static const std::string inData = "Error in PES Data fields parsing!";
    static const std::map<PesFault, std::vector<std::string>> sayings = {
        {PesFault::NONE, {}},
        {PesFault::SHORT_HEADER, {"Invalid PES packet; ignoring it", inHeader}},
        {PesFault::WRONG_HEADER, {"Invalid PES!! ", inHeader}},
        {PesFault::SHORT_DATA_FIELD, {"Invalid PES packet; ignoring it", inData}},
        {PesFault::NO_SEGMENTS, {"Invalid segment count = 0", inData}},
        {PesFault::SHORT_SEGMENT_HEADER, {"Invalid PES!", inData}},
        {PesFault::SHORT_SEGMENT, {"Invalid PES! pesLen < counter + segLen", inData}},
        {PesFault::DAMAGED_GZIP, {"inflate Error", inData}},
        {PesFault::UNKNOWN_TYPE, {"Unexpected segment type!", inData}},
    };
    return sayings;
}

std::string HeaderText(Values& values)
{
    const std::array<std::pair<const char*, std::uint64_t>, 6> shown = {{
        {"startCodePrefix", values["packet_start_code_prefix"]},
        {"streamId", values["stream_id"]},
        {"dataAlign", values["first flags"] != 0 ? 1 : 0},
        {"dtsPtsFlag", values["second flags"]},
        {"headerLength", values["PES_header_data_length"]},
        {"packetLength", values["PES_packet_length"] + 6},
    }};
    std::string text;
    for (const auto& [name, value] : shown) {
        text += (text.empty() ? "" : ", ") + std::string(name) + "[" + std::to_string(value) + "]";
    }
    return text;
}

bool IsRight(Values& header)
{
    return header["packet_start_code_prefix"] == 1 && header["stream_id"] == 0xBD &&
           header["first flags"] != 0 && header["second flags"] / 64 == 2;
}

PesFault TakeSegment(BitReader& reader, std::vector<std::string>& segments)
{
    Values values;
    if (!reader.Take(kSegment, values)) {
        return PesFault::SHORT_SEGMENT_HEADER;
    }
    if (!reader.Has(values["segment_length"] * 8)) {
        return PesFault::SHORT_SEGMENT;
    }
    std::string text = reader.TakeText(static_cast<std::size_t>(values["segment_length"]));
    if (values["segment_type"] == kCompressed) {
        std::string content;
        if (!ReadGzip(text, content)) {
            return PesFault::DAMAGED_GZIP;
        }
        text = content;
    } else if (values["segment_type"] != kPlain) {
        return PesFault::UNKNOWN_TYPE;
    }
    segments.push_back(text);
    return PesFault::NONE;
}

PesFault Walk(BitReader& reader, PesReading& reading, Values& values)
{
    if (!reader.Take(kHeader, values)) {
        return PesFault::SHORT_HEADER;
    }
    if (!IsRight(values)) {
        return PesFault::WRONG_HEADER;
    }
    const std::uint64_t pts =
        ((values["PTS[32..30]"] * 32768) + values["PTS[29..15]"]) * 32768 + values["PTS[14..0]"];
    reading.pts = pts / 2;
    if (!reader.Take(kDataField, values)) {
        return PesFault::SHORT_DATA_FIELD;
    }
    reading.mediaTime = values["segment_mediatime, lower"];
    reading.count = static_cast<unsigned int>(values["num_of_segments"]);
    if (reading.count == 0) {
        return PesFault::NO_SEGMENTS;
    }
    PesFault fault = PesFault::NONE;
    for (unsigned int i = 0; i < reading.count && fault == PesFault::NONE; ++i) {
        fault = TakeSegment(reader, reading.segments);
    }
    return fault;
}

std::uint32_t LittleEndian(const unsigned char* bytes)
{
    return bytes[0] + bytes[1] * 0x100U + bytes[2] * 0x10000U + bytes[3] * 0x1000000U;
}

// The fields that the flags of the member's header announce.
bool SkipOptionalFields(BitReader& reader, Values& member, const std::string& bytes)
{
    if (member["FEXTRA"] != 0) {
        if (!reader.Has(16)) {
            return false;
        }
        const std::uint64_t low = reader.Take(8);
        const std::uint64_t size = low + reader.Take(8) * 256;
        if (!reader.Has(size * 8)) {
            return false;
        }
        reader.TakeText(static_cast<std::size_t>(size));
    }
    for (const char* const text : {"FNAME", "FCOMMENT"}) {
        if (member[text] != 0 && !reader.SkipZeroTerminated()) {
            return false;
        }
    }
    if (member["FHCRC"] != 0) {
        const auto size = static_cast<uInt>(bytes.size() - reader.Left());
        if (!reader.Has(16)) {
            return false;
        }
        const std::uint64_t low = reader.Take(8);
        const std::uint64_t announced = low + reader.Take(8) * 256;
        return announced == (crc32(0, reinterpret_cast<const Bytef*>(bytes.data()), size) & 0xFFFFU);
    }
    return true;
}

// Inflates the deflate stream (RFC 1951) that `bytes` begin with; `used` is its length.
bool InflateRaw(const unsigned char* bytes, std::size_t size, std::string& content, std::size_t& used)
{
    z_stream stream = {};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) {
        return false;
    }
    stream.next_in = const_cast<Bytef*>(bytes);
    stream.avail_in = static_cast<uInt>(size);
    std::vector<unsigned char> piece(0x10000);
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = piece.data();
        stream.avail_out = static_cast<uInt>(piece.size());
        result = inflate(&stream, Z_NO_FLUSH);
        content.append(piece.begin(), piece.end() - stream.avail_out);
    }
    used = size - stream.avail_in;
    inflateEnd(&stream);
    return result == Z_STREAM_END;
}

} // namespace

bool ReadGzip(const std::string& bytes, std::string& content)
{
    BitReader reader(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    Values member;
    if (!reader.Take(kMember, member) || member["ID"] != 0x1F8B || member["CM"] != Z_DEFLATED ||
        member["reserved"] != 0 || !SkipOptionalFields(reader, member, bytes)) {
        return false;
    }
    std::string text;
    std::size_t used = 0;
    if (!InflateRaw(reader.Here(), reader.Left(), text, used) || reader.Left() - used < 8) {
        return false;
    }
    const unsigned char* const trailer = reader.Here() + used;
    const uLong crc = crc32_z(0, reinterpret_cast<const Bytef*>(text.data()), text.size());
    if (LittleEndian(trailer) != crc || LittleEndian(trailer + 4) != (text.size() & 0xFFFFFFFFU)) {
        return false;
    }
    content = std::move(text);
    return true;
}

PesReading ReadPes(const PesBytes& packet)
{
    PesReading reading;
    BitReader reader(packet.data(), packet.size());
    Values values;
    reading.fault = Walk(reader, reading, values);
    reading.warnings = Sayings().at(reading.fault);
    if (reading.fault == PesFault::WRONG_HEADER) {
        reading.warnings.front() += HeaderText(values);
    }
    return reading;
}

} // namespace TTMLTest
