#include "StreamMaker.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>

#include "Document.h"
#include "PesPacket.h"

namespace TTMLBench {

namespace {

constexpr int kService = 1;
constexpr int kPmtPid = 0x100;
constexpr int kVideoPid = 0x101;
constexpr int kSubtitlePid = 0x102;
constexpr int kMpeg2Video = 0x02;
constexpr int kPrivateData = 0x06;
constexpr int kEbuTtD = 0x02; // dvb_ttml_profile

constexpr unsigned char kSyncByte = 0x47;
constexpr int kHasPayload = 0x10;
constexpr int kCounterMask = 0x0F;
constexpr std::size_t kPacketHead = 4;
constexpr std::size_t kClockReferenceBytes = 8; // of an adaptation field
constexpr std::size_t kPesHead = 14;            // with a PTS
constexpr unsigned char kSliceByte = 0x55;

// Times at 90 kHz.
constexpr std::uint64_t kPictureTime = 3600;
constexpr std::uint64_t kPictureLead = 18000;
constexpr std::uint64_t kDocumentLead = 72000;
constexpr std::uint64_t k27MHzPer90kHz = 300;
constexpr std::uint64_t k90kHzPerMediaTimeUnit = 9; // of 100 microseconds

constexpr std::size_t kPicturesPerTables = 2;
constexpr std::size_t kPicturesPerDocument = 50;
constexpr std::size_t kFirstDocument = 25;
constexpr std::size_t kDocumentSize = 3072;
constexpr std::size_t kDocumentGrowth = 512; // more than a paragraph

// Where in a picture's time the other packets are.
constexpr std::size_t kPatSlot = 1;
constexpr std::size_t kPmtSlot = 2;
constexpr std::size_t kFirstSubtitleSlot = 10;
constexpr std::size_t kSubtitleSlotStep = 10;

// ISO/IEC 13818-2: sequence header and extension (1920 x 1080, 25 pictures a second), header and coding
// extension of an intra picture, start of its first slice.
const TTMLTest::Bytes kPictureHead = {
    0, 0, 1, 0xB3, 0x78, 0x04, 0x38, 0x33, 0x13, 0x88, 0x23, 0x80,             //
    0, 0, 1, 0xB5, 0x14, 0x42, 0x00, 0x01, 0x00, 0x00,                         //
    0, 0, 1, 0x00, 0x00, 0x0F, 0xFF, 0xF8,                                     //
    0, 0, 1, 0xB5, 0x8F, 0xFF, 0xF3, 0x41, 0x80, 0,    0,    1,    0x01, 0x0A, //
};

// A PES packet of unknown length, as video may have.
TTMLTest::Bytes PictureBegin(std::uint64_t pts)
{
    constexpr std::size_t kStreamId = 3;
    TTMLTest::Bytes bytes = TTMLTest::TsPes().Pts(pts).Unbounded().Get();
    bytes[kStreamId] = 0xE0;
    using TTMLTest::operator+;
    return bytes + kPictureHead;
}

// Odd bytes, so that no start code is in them.
std::vector<unsigned char> Slices(std::size_t size)
{
    std::mt19937 random(1); // NOLINT(cert-msc32-c,cert-msc51-cpp): each run measures the same stream
    std::vector<unsigned char> bytes(size);
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<unsigned char>(random() | 1U); });
    return bytes;
}

} // namespace

StreamMaker::StreamMaker()
    : m_slices(Slices(kPictureBytes))
    , m_segments{Gzip(MakeDocument(kDocumentSize)), Gzip(MakeDocument(kDocumentSize + kDocumentGrowth))}
    , m_taken(kPacketsPerPicture)
    , m_pat(0)
    , m_pmt(kPmtPid)
    , m_subtitles(kSubtitlePid)
{}

const std::vector<unsigned char>& StreamMaker::Next()
{
    m_packets = m_slices;
    m_taken.assign(kPacketsPerPicture, false);
    m_PutPictureBegin();
    if (m_pictures % kPicturesPerTables == 0) {
        m_PutTables();
    }
    if (m_pictures % kPicturesPerDocument == kFirstDocument) {
        m_BeginDocument();
    }
    m_PutSubtitles();
    m_PutSlices();
    ++m_pictures;
    return m_packets;
}

void StreamMaker::m_PutPictureBegin()
{
    const std::uint64_t now = m_pictures * kPictureTime;
    TTMLTest::Bytes payload = PictureBegin(now + kPictureLead);
    // What is left of the packet belongs to the first slice, as the packets behind it do.
    payload.resize(kPacketBytes - kPacketHead - kClockReferenceBytes, kSliceByte);
    m_Put(0, TTMLTest::TsPacket(kVideoPid)
                 .Counter(m_videoCounter++)
                 .UnitStart()
                 .Pcr(now * k27MHzPer90kHz)
                 .Payload(payload)
                 .Get());
}

void StreamMaker::m_PutTables()
{
    TTMLTest::TtmlFields subtitles;
    subtitles.profiles = {kEbuTtD};
    m_Put(kPatSlot, m_pat.Sections(TTMLTest::PatSection(0, {{kService, kPmtPid}})));
    m_Put(kPmtSlot, m_pmt.Sections(TTMLTest::PmtSection(
                        kService, 0, kVideoPid,
                        {{kMpeg2Video, kVideoPid, {}},
                         {kPrivateData, kSubtitlePid, TTMLTest::TtmlDescriptorBytes(subtitles)}})));
}

void StreamMaker::m_BeginDocument()
{
    const std::uint64_t pts = m_pictures * kPictureTime + kDocumentLead;
    const std::string& segment = m_segments[m_pictures / kPicturesPerDocument % std::size(m_segments)];
    const TTMLTest::Bytes pes = MakePesPacket(pts, pts / k90kHzPerMediaTimeUnit, kGzipSegment, segment);
    const std::vector<TTMLTest::Bytes> packets = m_subtitles.Unit(pes);
    m_waiting.assign(packets.begin(), packets.end());
    m_waitingBytes = pes.size() - kPesHead;
}

void StreamMaker::m_PutSubtitles()
{
    if (m_waiting.empty()) {
        return;
    }
    for (std::size_t slot = kFirstSubtitleSlot; slot < kPacketsPerPicture && !m_waiting.empty();
         slot += kSubtitleSlotStep) {
        m_Put(slot, m_waiting.front());
        m_waiting.pop_front();
    }
    if (m_waiting.empty()) {
        ++m_documents;
        m_dataFieldBytes += m_waitingBytes;
    }
}

void StreamMaker::m_PutSlices()
{
    for (std::size_t slot = 0; slot < kPacketsPerPicture; ++slot) {
        if (!m_taken[slot]) {
            unsigned char* const packet = &m_packets[slot * kPacketBytes];
            packet[0] = kSyncByte;
            packet[1] = kVideoPid >> 8;
            packet[2] = kVideoPid & 0xFF;
            packet[3] = static_cast<unsigned char>(kHasPayload | (m_videoCounter++ & kCounterMask));
        }
    }
}

void StreamMaker::m_Put(std::size_t slot, const TTMLTest::Bytes& packet)
{
    std::copy(packet.begin(), packet.end(),
              m_packets.begin() + static_cast<std::ptrdiff_t>(slot * kPacketBytes));
    m_taken[slot] = true;
}

} // namespace TTMLBench
