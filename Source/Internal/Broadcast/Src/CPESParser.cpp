#include "CPESParser.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <utility>

#include <zlib.h>

#include "Log.h"

namespace TTML {

namespace {

// PES packet header (ISO/IEC 13818-1), as subtitle streams have it: a PTS, no DTS and nothing else, so that
// the data field begins at a fixed place.
constexpr unsigned int HEADER_STREAM_ID = 3;
constexpr unsigned int HEADER_PACKET_LENGTH = 4;
constexpr unsigned int HEADER_FIRST_FLAGS = 6;
constexpr unsigned int HEADER_SECOND_FLAGS = 7;
constexpr unsigned int HEADER_DATA_LENGTH = 8;
constexpr unsigned int HEADER_PTS = 9;
constexpr unsigned int PTS_SIZE = 5;
constexpr unsigned int HEADER_SIZE = HEADER_PTS + PTS_SIZE;

constexpr unsigned long START_CODE_PREFIX = 0x000001;
constexpr unsigned int PRIVATE_STREAM_1 = 0xBD;
constexpr unsigned int PTS_DTS_FLAGS_MASK = 0xC0;
constexpr unsigned int PTS_ONLY = 0x80;
constexpr unsigned long BYTES_BEFORE_PACKET_LENGTH = 6; // the start code, the stream id and the length itself

// PES data field (ETSI EN 303 560).
constexpr unsigned int MEDIA_TIME_SIZE = 6;
constexpr unsigned int DATA_FIELD_SIZE = MEDIA_TIME_SIZE + 1; // up to the number of segments
constexpr unsigned int SEGMENT_HEADER_SIZE = 3;
constexpr std::uint8_t SEGMENT_UNCOMPRESSED = 1;
constexpr std::uint8_t SEGMENT_COMPRESSED = 2;

// Window bits that make zlib accept gzip streams and nothing else.
constexpr int GZIP_WINDOW_BITS = 15 + 16;

// The big-endian number of two bytes.
unsigned int Read16(const unsigned char* bytes)
{
    return (static_cast<unsigned int>(bytes[0]) << 8U) + bytes[1];
}

// The fields of a header; `bytes` points to at least HEADER_SIZE of them.
struct SHeader
{
    explicit SHeader(const unsigned char* bytes)
        : startCodePrefix((static_cast<unsigned long>(bytes[0]) << 16U) + Read16(bytes + 1))
        , streamId(bytes[HEADER_STREAM_ID])
        , packetLength(Read16(bytes + HEADER_PACKET_LENGTH) + BYTES_BEFORE_PACKET_LENGTH)
        , firstFlags(bytes[HEADER_FIRST_FLAGS])
        , secondFlags(bytes[HEADER_SECOND_FLAGS])
        , dataLength(bytes[HEADER_DATA_LENGTH])
    {}

    bool IsSubtitles() const
    {
        return startCodePrefix == START_CODE_PREFIX && streamId == PRIVATE_STREAM_1 && firstFlags != 0 &&
               (secondFlags & PTS_DTS_FLAGS_MASK) == PTS_ONLY;
    }

    unsigned long startCodePrefix;
    unsigned int streamId;
    unsigned long packetLength;
    unsigned int firstFlags;
    unsigned int secondFlags;
    unsigned int dataLength;
};

// The PTS without its lowest bit: what is left counts at 45 kHz. Marker bits are not looked at.
std::uint64_t ReadHalvedPts(const unsigned char* bytes)
{
    std::uint64_t pts = static_cast<std::uint64_t>(bytes[0] & 0x0EU) << 15U;
    pts |= Read16(bytes + 1) & 0xFFFEU;
    pts <<= 13U;
    return pts | (Read16(bytes + 3) >> 2U);
}

struct SFree
{
    void operator()(void* memory) const { std::free(memory); }
};

struct SInflateEnd
{
    void operator()(z_stream* stream) const { inflateEnd(stream); }
};

// A buffer of zeros that grows; it keeps what it holds when it cannot.
class CInflateBuffer
{
public:
    explicit CInflateBuffer(std::size_t capacity)
        : m_memory(std::calloc(1, AtLeastOne(capacity)))
        , m_capacity(capacity)
    {}

    bool IsValid() const { return m_memory != nullptr; }
    std::size_t Capacity() const { return m_capacity; }
    unsigned char* At(std::size_t offset) const
    {
        return static_cast<unsigned char*>(m_memory.get()) + offset;
    }

    bool Grow(std::size_t by)
    {
        void* const grown = std::realloc(m_memory.get(), AtLeastOne(m_capacity + by));
        if (grown == nullptr) {
            return false;
        }
        static_cast<void>(m_memory.release());
        m_memory.reset(grown);
        m_capacity += by;
        return true;
    }

private:
    // A request for no bytes may free the memory or give none, which would look like a failure.
    static std::size_t AtLeastOne(std::size_t size) { return size > 0 ? size : 1; }

    std::unique_ptr<void, SFree> m_memory;
    std::size_t m_capacity;
};

// Inflates what `stream` was given into `buffer`; false for data that are damaged or cut off, and when there
// is no memory.
bool InflateAll(z_stream& stream, CInflateBuffer& buffer, std::size_t growth)
{
    int result = Z_OK;
    do {
        if (stream.total_out >= buffer.Capacity() && !buffer.Grow(growth)) {
            return false;
        }
        stream.next_out = buffer.At(stream.total_out);
        stream.avail_out = static_cast<uInt>(buffer.Capacity() - stream.total_out);
        // Z_OK promises progress, so the loop ends with the input.
        result = inflate(&stream, Z_SYNC_FLUSH);
    } while (result == Z_OK);
    return result == Z_STREAM_END;
}

} // namespace

CPESParser::CPESParser()
{
    TTML_LOGI("");
}

CPESParser::~CPESParser()
{
    TTML_LOGI("");
}

bool CPESParser::ParsePES(std::vector<unsigned char>& packet, DvbTTMLData& out)
{
    TTML_LOG_SCOPE();
    unsigned int counter = 0;
    if (!m_ParsePESHeader(packet, counter, out)) {
        TTML_LOGW("Error in PES Header parsing!");
        return false;
    }
    if (!m_ParsePESDataFields(packet, counter, out)) {
        TTML_LOGW("Error in PES Data fields parsing!");
        return false;
    }
    return true;
}

bool CPESParser::m_ParsePESHeader(std::vector<unsigned char>& packet, unsigned int& counter, DvbTTMLData& out)
{
    TTML_LOG_SCOPE();
    if (packet.size() < HEADER_SIZE) {
        TTML_LOGW("Invalid PES packet; ignoring it");
        return false;
    }
    const SHeader header(packet.data());
    counter = HEADER_PTS;
    if (!header.IsSubtitles()) {
        TTML_LOGW("Invalid PES!! startCodePrefix[%lu], streamId[%d], dataAlign[%d], dtsPtsFlag[%d], "
                  "headerLength[%d], packetLength[%lu]",
                  header.startCodePrefix, static_cast<int>(header.streamId), header.firstFlags != 0 ? 1 : 0,
                  static_cast<int>(header.secondFlags), static_cast<int>(header.dataLength),
                  header.packetLength);
        return false;
    }
    out.pts = ReadHalvedPts(packet.data() + HEADER_PTS);
    // The data field is taken to follow at once, whatever the header says of its length.
    counter += PTS_SIZE;
    TTML_LOGI("Got PTS value = %llu", static_cast<unsigned long long>(out.pts));
    return true;
}

bool CPESParser::m_ParsePESDataFields(std::vector<unsigned char>& packet, unsigned int& counter,
                                      DvbTTMLData& out)
{
    TTML_LOG_SCOPE();
    // The packet's own idea of its length plays no part: what was delivered is all there is. Sizes are
    // compared by what is left, which cannot overflow.
    const std::size_t size = packet.size();
    if (counter > size || size - counter < DATA_FIELD_SIZE) {
        TTML_LOGW("Invalid PES packet; ignoring it");
        return false;
    }
    // Of the 48 bits of the field the upper 16 drop out.
    std::uint32_t mediaTime = 0;
    for (unsigned int i = 0; i < MEDIA_TIME_SIZE; ++i) {
        mediaTime = (mediaTime << 8U) + packet[counter + i];
    }
    out.mediaSegmentTime = mediaTime;
    counter += MEDIA_TIME_SIZE;
    TTML_LOGI("Got mediaSegmentTime = %llu", static_cast<unsigned long long>(out.mediaSegmentTime));

    out.segmentCount = packet[counter];
    ++counter;
    if (out.segmentCount == 0) {
        TTML_LOGW("Invalid segment count = %d", static_cast<int>(out.segmentCount));
        return false;
    }
    for (unsigned int index = 0; index < out.segmentCount; ++index) {
        if (size - counter < SEGMENT_HEADER_SIZE) {
            TTML_LOGW("Invalid PES!");
            return false;
        }
        const std::uint8_t type = packet[counter];
        const unsigned int length = Read16(packet.data() + counter + 1);
        counter += SEGMENT_HEADER_SIZE;
        if (size - counter < length) {
            TTML_LOGW("Invalid PES! pesLen < counter + segLen");
            return false;
        }
        if (!m_HandleSegmentData(packet.data() + counter, length, type, out)) {
            return false;
        }
        counter += length;
    }
    return true;
}

bool CPESParser::m_HandleSegmentData(const unsigned char* pBuf, unsigned int len, std::uint8_t type,
                                     DvbTTMLData& out)
{
    TTML_LOG_SCOPE();
    if (pBuf == nullptr) {
        TTML_LOGW("pBuf is null!");
        return false;
    }
    TTML_LOGI("Segment type=[%d]; 1: un-compressed; 2: compressed", static_cast<int>(type));
    if (type == SEGMENT_UNCOMPRESSED) {
        out.segments.emplace_back(reinterpret_cast<const char*>(pBuf), len);
        return true;
    }
    if (type == SEGMENT_COMPRESSED) {
        std::string text;
        if (!m_UnzipContent(pBuf, len, text)) {
            return false;
        }
        out.segments.push_back(std::move(text));
        return true;
    }
    TTML_LOGW("Unexpected segment type!");
    return false;
}

bool CPESParser::m_UnzipContent(const unsigned char* pBuf, unsigned int len, std::string& out)
{
    TTML_LOG_SCOPE();
    const std::string input(reinterpret_cast<const char*>(pBuf), len);
    CInflateBuffer buffer(input.size());
    if (!buffer.IsValid()) {
        TTML_LOGW("inflate Error");
        return false;
    }
    z_stream stream{};
    // zlib's interface takes a pointer to changeable bytes, but only reads them.
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(input.data()));
    stream.avail_in = static_cast<uInt>(input.size());
    if (inflateInit2(&stream, GZIP_WINDOW_BITS) != Z_OK) {
        TTML_LOGW("Inflate init2 error");
        return false;
    }
    const std::unique_ptr<z_stream, SInflateEnd> end(&stream);
    if (!InflateAll(stream, buffer, input.size() / 2)) {
        TTML_LOGW("inflate Error");
        return false;
    }
    TTML_LOGI("Decompression finished success");
    out.append(reinterpret_cast<const char*>(buffer.At(0)), stream.total_out);
    TTML_LOGI("Compressed len=%zu, un-compressed len=%zu", input.size(), out.size());
    return true;
}

} // namespace TTML
