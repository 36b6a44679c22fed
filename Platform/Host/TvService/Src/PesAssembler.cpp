#include "PesAssembler.h"

#include <algorithm>

#include "SectionReader.h"

namespace TTMLHost {

namespace {

// Layout of a PES packet.
constexpr std::size_t kPrefixSize = 3;
constexpr unsigned char kPrefix[kPrefixSize] = {0, 0, 1};
constexpr std::size_t kStreamIdOffset = 3;
constexpr std::size_t kLengthOffset = 4;
constexpr std::size_t kStartSize = 6; // PES_packet_length counts from here
constexpr std::size_t kFlagsOffset = 6;
constexpr std::size_t kTimeFlagsOffset = 7;
constexpr std::size_t kHeaderLengthOffset = 8;
constexpr std::size_t kHeaderSize = 9;
constexpr std::size_t kPtsSize = 5;
constexpr unsigned int kMarkerMask = 0xc0;
constexpr unsigned int kMarker = 0x80;
constexpr unsigned int kScramblingMask = 0x30;
constexpr unsigned int kPtsFlag = 0x80;

// More than a subtitle takes, so that the memory of a rare large packet is given back.
constexpr std::size_t kKeptCapacity = std::size_t{128} * 1024;

std::size_t AnnouncedLength(const std::vector<unsigned char>& bytes)
{
    return std::size_t{bytes[kLengthOffset]} << 8 | bytes[kLengthOffset + 1];
}

// Whether a header with flags follows the length, by stream_id: table 2-22 of the standard.
bool HasFlags(const std::vector<unsigned char>& packet)
{
    constexpr unsigned char kWithout[] = {0xbc, 0xbe, 0xbf, 0xf0, 0xf1, 0xf2, 0xf8, 0xff};
    return packet.size() >= kHeaderSize &&
           std::find(std::begin(kWithout), std::end(kWithout), packet[kStreamIdOffset]) ==
               std::end(kWithout) &&
           (packet[kFlagsOffset] & kMarkerMask) == kMarker;
}

// Whether the CRC_32 that ends the data is right.
bool IsProvenWhole(const std::vector<unsigned char>& packet)
{
    if (!HasFlags(packet)) {
        return false;
    }
    const std::size_t begin = kHeaderSize + packet[kHeaderLengthOffset];
    return begin < packet.size() && EndsWithCrc32({packet.data() + begin, packet.size() - begin});
}

} // namespace

PesAssembler::PesAssembler(PesSink& sink)
    : m_sink(sink)
{}

bool PesAssembler::IsUnbounded() const
{
    return m_bytes.size() >= kStartSize && AnnouncedLength(m_bytes) == 0;
}

bool PesAssembler::BeginsRight() const
{
    return std::equal(m_bytes.begin(),
                      m_bytes.begin() + static_cast<std::ptrdiff_t>(std::min(m_bytes.size(), kPrefixSize)),
                      kPrefix);
}

void PesAssembler::CloseWithout(const std::string& why)
{
    m_state = State::Skipping;
    m_sink.OnDropped(why);
}

void PesAssembler::CloseAtNextStart()
{
    if (m_state != State::Collecting) {
        return;
    }
    if (IsUnbounded()) {
        Deliver();
    } else if (m_bytes.size() < kStartSize) {
        CloseWithout("it ends inside its header");
    } else {
        CloseWithout("it announces " + std::to_string(m_wanted) + " bytes and holds " +
                     std::to_string(m_bytes.size()));
    }
}

void PesAssembler::Deliver()
{
    m_state = State::Complete;
    if (m_suspect && !IsProvenWhole(m_bytes)) {
        m_sink.OnDropped("other data lies in it");
        return;
    }
    m_sink.OnPacket(m_bytes);
    if (m_bytes.capacity() > kKeptCapacity) {
        m_bytes = {};
    }
}

void PesAssembler::Push(bool unitStart, ByteSpan payload, bool suspect)
{
    if (unitStart) {
        CloseAtNextStart();
        m_state = State::Collecting;
        m_suspect = false;
        m_bytes.clear();
        m_wanted = kStartSize;
    }
    if (m_state == State::Lost && payload.size != 0) {
        CloseWithout("its start is missing");
    }
    if (m_state == State::Collecting) {
        m_suspect = m_suspect || suspect;
        Collect(payload);
    }
}

void PesAssembler::Collect(ByteSpan payload)
{
    while (payload.size != 0 && m_state == State::Collecting) {
        const std::size_t taken = std::min(payload.size, m_wanted - m_bytes.size());
        m_bytes.insert(m_bytes.end(), payload.data, payload.data + taken);
        payload.data += taken;
        payload.size -= taken;
        if (!BeginsRight()) {
            CloseWithout("it does not begin with a start code");
        } else if (m_bytes.size() == m_wanted && m_wanted > kStartSize) {
            // Bytes that go beyond what was announced belong to no packet.
            IsUnbounded() ? CloseWithout("it is longer than " + std::to_string(kLongest) + " bytes")
                          : Deliver();
        } else if (m_bytes.size() == m_wanted) {
            m_wanted = IsUnbounded() ? kLongest : kStartSize + AnnouncedLength(m_bytes);
            m_bytes.reserve(std::min(m_wanted, kKeptCapacity));
        }
    }
}

void PesAssembler::Damage(const std::string& why)
{
    if (m_state == State::Collecting) {
        CloseWithout(why);
    } else if (m_state == State::Complete) {
        m_state = State::Lost;
    }
}

void PesAssembler::Flush()
{
    if (m_state == State::Collecting && !IsUnbounded()) {
        CloseWithout("the input ends in it");
    }
    CloseAtNextStart();
    m_state = State::Skipping;
}

std::optional<std::uint64_t> PtsOf(const std::vector<unsigned char>& packet)
{
    if (!HasFlags(packet) || (packet[kTimeFlagsOffset] & kPtsFlag) == 0 ||
        packet[kHeaderLengthOffset] < kPtsSize || packet.size() < kHeaderSize + kPtsSize) {
        return std::nullopt;
    }
    const unsigned char* const at = packet.data() + kHeaderSize;
    return static_cast<std::uint64_t>(at[0] >> 1 & 7U) << 30 | std::uint64_t{at[1]} << 22 |
           static_cast<std::uint64_t>(at[2] >> 1) << 15 | std::uint64_t{at[3]} << 7 | at[4] >> 1;
}

bool IsScrambledPes(const std::vector<unsigned char>& packet)
{
    return HasFlags(packet) && (packet[kFlagsOffset] & kScramblingMask) != 0;
}

} // namespace TTMLHost
