#include "PesPacket.h"

#include <stdexcept>

#include <zlib.h>

#include "TsBuilder.h"

namespace TTMLBench {

namespace {

constexpr int kGzipWindowBits = MAX_WBITS + 16;
constexpr int kMemoryLevel = 8;
constexpr std::size_t kMediaTimeBytes = 6;
constexpr std::size_t kLengthBytes = 2;
constexpr unsigned char kOneSegment = 1;

} // namespace

std::string Gzip(const std::string& text)
{
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindowBits, kMemoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("zlib could not begin to compress");
    }
    std::string compressed(deflateBound(&stream, text.size()), '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(compressed.data());
    stream.avail_out = static_cast<uInt>(compressed.size());
    const int result = deflate(&stream, Z_FINISH);
    compressed.resize(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END) {
        throw std::runtime_error("zlib could not compress a document");
    }
    return compressed;
}

std::vector<unsigned char> MakeDataField(std::uint64_t mediaTime, unsigned char type,
                                         const std::string& segment)
{
    using TTMLTest::operator+;
    return TTMLTest::Number(mediaTime, kMediaTimeBytes) + TTMLTest::Bytes{kOneSegment, type} +
           TTMLTest::Number(segment.size(), kLengthBytes) + TTMLTest::TextBytes(segment);
}

std::vector<unsigned char> MakePesPacket(std::uint64_t pts, std::uint64_t mediaTime, unsigned char type,
                                         const std::string& segment)
{
    return TTMLTest::TsPes().Pts(pts).Data(MakeDataField(mediaTime, type, segment)).WithCrc().Get();
}

} // namespace TTMLBench
