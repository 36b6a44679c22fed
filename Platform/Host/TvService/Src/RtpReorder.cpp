#include "RtpReorder.h"

#include <optional>

namespace TTMLHost {

namespace {

// Layout of an RTP packet, RFC 3550 section 5.1.
constexpr std::size_t kFixedHeader = 12;
constexpr std::size_t kSequenceOffset = 2;
constexpr std::size_t kSenderOffset = 8;
constexpr std::size_t kContributorSize = 4;
constexpr std::size_t kExtensionHeader = 4;
constexpr unsigned int kVersion = 2;
constexpr unsigned int kPaddingFlag = 0x20;
constexpr unsigned int kExtensionFlag = 0x10;
constexpr unsigned int kContributorMask = 0x0f;

// RFC 3550 appendix A.1: further ahead or back than these, the sender has begun anew.
constexpr std::int64_t kMostDropped = 3000;
constexpr std::int64_t kMostMisordered = 100;

struct RtpPacket
{
    unsigned int sequence = 0;
    std::uint32_t sender = 0;
    ByteSpan payload;
};

unsigned int Number16(const unsigned char* at)
{
    return static_cast<unsigned int>(at[0]) << 8 | at[1];
}

std::optional<RtpPacket> ReadPacket(ByteSpan datagram)
{
    if (datagram.size < kFixedHeader || datagram.data[0] >> 6 != kVersion) {
        return std::nullopt;
    }
    const unsigned int flags = datagram.data[0];
    std::size_t begin = kFixedHeader + kContributorSize * (flags & kContributorMask);
    std::size_t end = datagram.size;
    if ((flags & kExtensionFlag) != 0) {
        if (begin + kExtensionHeader > end) {
            return std::nullopt;
        }
        begin += kExtensionHeader + std::size_t{4} * Number16(datagram.data + begin + 2);
    }
    if ((flags & kPaddingFlag) != 0) {
        const std::size_t padding = datagram.data[end - 1]; // counts itself
        if (padding == 0 || padding > end) {
            return std::nullopt;
        }
        end -= padding;
    }
    if (begin > end) {
        return std::nullopt;
    }
    RtpPacket packet;
    packet.sequence = Number16(datagram.data + kSequenceOffset);
    packet.sender =
        Number16(datagram.data + kSenderOffset) << 16 | Number16(datagram.data + kSenderOffset + 2);
    packet.payload = {datagram.data + begin, end - begin};
    return packet;
}

void Append(const unsigned char* data, std::size_t size, std::vector<unsigned char>* out)
{
    out->insert(out->end(), data, data + size);
}

} // namespace

void RtpReorder::Push(ByteSpan datagram, std::vector<unsigned char>* out)
{
    ++m_counters.received;
    const std::optional<RtpPacket> packet = ReadPacket(datagram);
    if (!packet) {
        ++m_counters.malformed;
        return;
    }
    // The way to the sequence number is the short one.
    const auto step = static_cast<std::int16_t>(
        static_cast<std::uint16_t>(packet->sequence - static_cast<std::uint64_t>(m_expected)));
    std::int64_t sequence = m_expected + step;
    if (!m_started || packet->sender != m_sender || step > kMostDropped || step < -kMostMisordered) {
        // Far enough from 0 that what is remembered lies above it.
        sequence = packet->sequence + (std::int64_t{1} << 16);
        Restart(sequence, out);
        m_sender = packet->sender;
    }
    Place(sequence, packet->payload, out);
}

void RtpReorder::Restart(std::int64_t sequence, std::vector<unsigned char>* out)
{
    Flush(out);
    m_started = true;
    m_expected = sequence;
    m_given.reset();
}

void RtpReorder::NoteReceived(std::int64_t sequence)
{
    m_given.set(static_cast<std::size_t>(sequence % kRemembered));
}

void RtpReorder::Place(std::int64_t sequence, ByteSpan payload, std::vector<unsigned char>* out)
{
    if (sequence < m_expected) {
        const bool given = m_given.test(static_cast<std::size_t>(sequence % kRemembered));
        ++(given ? m_counters.duplicated : m_counters.late);
        return;
    }
    if (sequence == m_expected) {
        // The usual case: nothing is held, and nothing is copied but once.
        Append(payload.data, payload.size, out);
        NoteReceived(sequence);
        ++m_expected;
    } else if (!m_held.try_emplace(sequence, payload.data, payload.data + payload.size).second) {
        ++m_counters.duplicated;
        return;
    }
    TakeReady(out);
    while (!m_held.empty() && m_held.rbegin()->first - m_expected >= kWindow) {
        GiveUpUntil(m_held.begin()->first);
        TakeReady(out);
    }
}

void RtpReorder::GiveUpUntil(std::int64_t sequence)
{
    for (; m_expected < sequence; ++m_expected) {
        m_given.reset(static_cast<std::size_t>(m_expected % kRemembered));
        ++m_counters.lost;
    }
}

void RtpReorder::TakeReady(std::vector<unsigned char>* out)
{
    while (!m_held.empty() && m_held.begin()->first == m_expected) {
        const std::vector<unsigned char>& payload = m_held.begin()->second;
        Append(payload.data(), payload.size(), out);
        m_held.erase(m_held.begin());
        NoteReceived(m_expected);
        ++m_expected;
    }
}

void RtpReorder::Flush(std::vector<unsigned char>* out)
{
    while (!m_held.empty()) {
        GiveUpUntil(m_held.begin()->first);
        TakeReady(out);
    }
}

} // namespace TTMLHost
