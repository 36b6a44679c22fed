#ifndef RTP_REORDER_H
#define RTP_REORDER_H

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

#include "ByteSpan.h"
#include "PacketSource.h"

namespace TTMLHost {

// Puts RTP packets (RFC 3550) back into their order and takes out what they carry. A packet that is missing
// is waited for until kWindow later ones are there.
class RtpReorder
{
public:
    // One packet as received. What can be handed on is appended to `out`.
    void Push(ByteSpan datagram, std::vector<unsigned char>* out);

    // Gives up what is missing, as when nothing has come for a while.
    void Flush(std::vector<unsigned char>* out);

    bool IsWaiting() const { return !m_held.empty(); }
    const DatagramCounters& Counters() const { return m_counters; }

    static constexpr int kWindow = 32;

private:
    // Sequence numbers are counted on beyond their 16 bits.
    void Place(std::int64_t sequence, ByteSpan payload, std::vector<unsigned char>* out);
    void Restart(std::int64_t sequence, std::vector<unsigned char>* out);
    void NoteReceived(std::int64_t sequence);
    void GiveUpUntil(std::int64_t sequence);
    void TakeReady(std::vector<unsigned char>* out);

    // How far back duplicates are told from late packets.
    static constexpr std::int64_t kRemembered = 128;

    bool m_started = false;
    std::uint32_t m_sender = 0;       // SSRC
    std::int64_t m_expected = 0;      // next to be handed on
    std::bitset<kRemembered> m_given; // by sequence number: was handed on, not given up
    std::map<std::int64_t, std::vector<unsigned char>> m_held;
    DatagramCounters m_counters;
};

} // namespace TTMLHost

#endif
