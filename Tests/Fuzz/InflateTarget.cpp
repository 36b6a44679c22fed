// Inflation: an input is the content of the one compressed segment of a right packet. Its first byte says how
// the rest becomes the content: as it is, as a deflate stream to which the gzip header and a right trailer
// are added (or checksums would stop nearly all inputs), or as a text that is compressed here.

#include <algorithm>
#include <string>
#include <vector>

#include <zlib.h>

#include "CPESParser.h"
#include "FuzzTarget.h"
#include "PesBuilder.h"

using TTMLTest::Hold;

namespace {

constexpr std::size_t kLargestSegment = 0xffff;
constexpr std::size_t kLongText = 0x10000;
constexpr std::size_t kHighRatio = 16;
constexpr int kRaw = -MAX_WBITS;
constexpr int kGzip = MAX_WBITS + 16;

// What zlib itself makes of it; false unless the stream is whole and right.
bool Inflate(const std::string& bytes, int windowBits, std::string* content)
{
    z_stream stream = {};
    Hold(inflateInit2(&stream, windowBits) == Z_OK, "zlib can be used");
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    static std::vector<unsigned char> piece(0x4000);
    int result = Z_OK;
    while (result == Z_OK) {
        stream.next_out = piece.data();
        stream.avail_out = static_cast<uInt>(piece.size());
        result = inflate(&stream, Z_NO_FLUSH);
        content->append(piece.begin(), piece.end() - static_cast<std::ptrdiff_t>(stream.avail_out));
    }
    inflateEnd(&stream);
    return result == Z_STREAM_END;
}

std::string LittleEndian(uLong number)
{
    std::string bytes;
    for (unsigned int i = 0; i < 4; ++i) {
        bytes.push_back(static_cast<char>(number >> (8 * i)));
    }
    return bytes;
}

// RFC 1952: no optional field. What is behind the deflate stream comes before the trailer; right streams have
// nothing there.
std::string Member(const std::string& deflated)
{
    std::string content;
    Inflate(deflated, kRaw, &content);
    const uLong crc = crc32_z(0, reinterpret_cast<const Bytef*>(content.data()), content.size());
    return std::string("\x1f\x8b\x08\0\0\0\0\0\0\x03", 10) + deflated + LittleEndian(crc) +
           LittleEndian(content.size());
}

std::string ContentOf(const unsigned char* data, std::size_t size)
{
    TTMLTest::FuzzInput input(data, size);
    const std::uint64_t how = input.Number(1);
    std::string content = input.Rest();
    if (how % 4 == 1) {
        content = Member(content);
    } else if (how % 4 == 2) {
        content = TTMLTest::Deflated(content, TTMLTest::Wrapper::GZIP, static_cast<int>(how / 4 % 10));
    }
    return content.substr(0, kLargestSegment);
}

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    static TTML::CPESParser parser;
    const std::string content = ContentOf(data, size);
    std::string wanted;
    const bool isRight = Inflate(content, kGzip, &wanted);
    if (wanted.size() > kLongText && wanted.size() / kHighRatio > content.size()) {
        // The room for the text grows in steps of half the content, and each step copies it under a
        // sanitizer: thousands of them would take the time of thousands of other inputs.
        return 0;
    }
    std::vector<unsigned char> packet =
        TTMLTest::Pes().Segment(TTMLTest::kCompressed, content).Trailing("behind").Bytes();
    TTML::DvbTTMLData parsed;
    const bool good = parser.ParsePES(packet, parsed);

    Hold(good == isRight, "what zlib inflates is accepted, and nothing else");
    Hold(parsed.segments == (good ? std::vector<std::string>{wanted} : std::vector<std::string>{}),
         "the text is zlib's");
    return 0;
}
