#include "TransportPacket.h"

#include <cstring>

#include "PacketFramer.h"

namespace TTMLHost {

namespace {

// Layout of a packet.
constexpr std::size_t kHeaderSize = 4;
constexpr unsigned int kTransportErrorFlag = 0x80; // byte 1
constexpr unsigned int kUnitStartFlag = 0x40;      // byte 1
constexpr unsigned int kPidHighMask = 0x1f;        // byte 1
constexpr unsigned int kScramblingMask = 0xc0;     // byte 3
constexpr unsigned int kAdaptationFlag = 0x20;     // byte 3
constexpr unsigned int kPayloadFlag = 0x10;        // byte 3
constexpr unsigned int kCounterMask = 0x0f;        // byte 3
// Layout of an adaptation field.
constexpr std::size_t kLengthOffset = 4;
constexpr std::size_t kFlagsOffset = 5;
constexpr std::size_t kPcrOffset = 6;
constexpr std::size_t kPcrSize = 6;
constexpr std::size_t kLongestField = kPacketSize - kFlagsOffset;
constexpr unsigned int kDiscontinuityFlag = 0x80;
constexpr unsigned int kPcrFlag = 0x10;

std::uint64_t ReadPcr(const unsigned char* at)
{
    const std::uint64_t base = std::uint64_t{at[0]} << 25 | std::uint64_t{at[1]} << 17 |
                               std::uint64_t{at[2]} << 9 | std::uint64_t{at[3]} << 1 | at[4] >> 7;
    const std::uint64_t extension = static_cast<std::uint64_t>(at[4] & 1U) << 8 | at[5];
    return base * 300 + extension;
}

void ReadAdaptationField(TransportPacket* packet)
{
    const std::size_t length = packet->bytes[kLengthOffset];
    if (length > kLongestField) {
        packet->malformed = true;
        return;
    }
    if (length == 0) {
        return;
    }
    const unsigned int flags = packet->bytes[kFlagsOffset];
    packet->discontinuity = (flags & kDiscontinuityFlag) != 0;
    if ((flags & kPcrFlag) != 0 && length >= 1 + kPcrSize) {
        packet->pcr27MHz = ReadPcr(packet->bytes + kPcrOffset);
    }
}

} // namespace

TransportPacket ReadTransportPacket(const unsigned char* bytes)
{
    TransportPacket packet;
    packet.bytes = bytes;
    packet.pid = static_cast<int>((bytes[1] & kPidHighMask) << 8 | bytes[2]);
    packet.transportError = (bytes[1] & kTransportErrorFlag) != 0;
    packet.unitStart = (bytes[1] & kUnitStartFlag) != 0;
    packet.scrambled = (bytes[3] & kScramblingMask) != 0;
    packet.counter = static_cast<int>(bytes[3] & kCounterMask);
    packet.hasPayload = (bytes[3] & kPayloadFlag) != 0;
    std::size_t begin = kHeaderSize;
    if ((bytes[3] & kAdaptationFlag) != 0) {
        ReadAdaptationField(&packet);
        begin = kFlagsOffset + bytes[kLengthOffset];
    }
    if (packet.hasPayload && !packet.malformed) {
        packet.payload = {bytes + begin, kPacketSize - begin};
    }
    return packet;
}

bool ContinuityCheck::IsRepetition(const TransportPacket& packet) const
{
    // The clock reference, and nothing else, is that of the repetition's own place.
    const std::size_t differs = packet.pcr27MHz ? kPcrOffset : kPacketSize;
    const std::size_t goesOn = packet.pcr27MHz ? kPcrOffset + kPcrSize : kPacketSize;
    return std::memcmp(m_last, packet.bytes, differs) == 0 &&
           std::memcmp(m_last + goesOn, packet.bytes + goesOn, kPacketSize - goesOn) == 0;
}

ContinuityCheck::Verdict ContinuityCheck::Check(const TransportPacket& packet)
{
    if (!packet.hasPayload) {
        // It does not count.
        return Verdict::InOrder;
    }
    Verdict verdict = Verdict::InOrder;
    if (m_known && packet.counter == m_counter && !m_repeated && IsRepetition(packet)) {
        m_repeated = true;
        return Verdict::Duplicate;
    }
    if (m_known && packet.counter != ((m_counter + 1) & static_cast<int>(kCounterMask))) {
        verdict = packet.discontinuity ? Verdict::Announced : Verdict::Gap;
    }
    m_known = true;
    m_repeated = false;
    m_counter = packet.counter;
    std::memcpy(m_last, packet.bytes, kPacketSize);
    return verdict;
}

} // namespace TTMLHost
