#ifndef TRANSPORT_PACKET_H
#define TRANSPORT_PACKET_H

#include <cstddef>
#include <cstdint>
#include <optional>

#include "ByteSpan.h"

namespace TTMLHost {

// A packet of 188 bytes, ISO/IEC 13818-1 section 2.4.3.
struct TransportPacket
{
    const unsigned char* bytes = nullptr;
    int pid = 0;
    int counter = 0; // continuity_counter
    bool transportError = false;
    bool unitStart = false;
    bool scrambled = false;
    bool hasPayload = false;
    bool discontinuity = false;
    // The adaptation field says that it is longer than the packet.
    bool malformed = false;
    ByteSpan payload;
    std::optional<std::uint64_t> pcr27MHz;
};

TransportPacket ReadTransportPacket(const unsigned char* bytes);

// What the continuity counters of a PID's packets tell.
class ContinuityCheck
{
public:
    enum class Verdict
    {
        InOrder,
        Duplicate, // the packet before once more, which the standard allows once
        Announced, // it does not go on from the packet before, and says so
        Gap        // packets are missing
    };

    // For each packet of the PID in turn.
    Verdict Check(const TransportPacket& packet);
    // The next packet is the first one.
    void Forget() { m_known = false; }

private:
    bool IsRepetition(const TransportPacket& packet) const;

    bool m_known = false;
    bool m_repeated = false;
    int m_counter = 0;
    unsigned char m_last[188] = {};
};

} // namespace TTMLHost

#endif
