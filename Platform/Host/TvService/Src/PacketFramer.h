#ifndef PACKET_FRAMER_H
#define PACKET_FRAMER_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "ByteSpan.h"

namespace TTMLHost {

constexpr std::size_t kPacketSize = 188; // ISO/IEC 13818-1
constexpr unsigned char kSyncByte = 0x47;

// Packets of 188 bytes, `stride` bytes from one's first to the next one's.
struct PacketBatch
{
    const unsigned char* packets = nullptr;
    std::size_t count = 0;
    std::size_t stride = kPacketSize;
    // What follows the last packet is not the start of another: bytes may be missing in it or be another's.
    bool lastIsSuspect = false;
};

// Finds the packets in a stream of bytes that comes in pieces of any size: packets of 188 bytes, of 192 with
// a time stamp before each, or of 204 with parity after each. Packets that lie in one piece are not copied.
class PacketFramer
{
public:
    // Where a piece of the input may end.
    enum class Pieces
    {
        Anywhere,    // a packet is handed out once the one after it is seen to begin, or at the end
        AfterPackets // as datagrams do: a packet that ends with the piece is handed out at once
    };

    explicit PacketFramer(Pieces pieces);

    // The next bytes of the input, valid until Next() has answered false.
    void Push(ByteSpan bytes);

    // The next packets in the bytes pushed, valid until the next call. False when there are no more.
    bool Next(PacketBatch* batch);

    // The input is over: Next() may have some last packets.
    void Finish();

    // 188, 192 or 204; 0 as long as no packets have been found.
    std::size_t PacketSize() const { return m_stride; }
    // How often packets have been found again after something else.
    std::uint64_t Resynchronisations() const { return m_resynchronisations; }
    // Bytes that were no part of a packet.
    std::uint64_t SkippedBytes() const { return m_skipped; }
    // Bytes pushed.
    std::uint64_t TotalBytes() const { return m_total; }
    // After Finish() and the last Next(): bytes of a last packet that is cut off.
    std::size_t CutOffBytes() const { return m_cutOff; }
    // There are no packets in the first kSearched bytes, or in all if there are fewer; nothing comes any
    // more.
    bool IsNotTransportStream() const { return m_state == State::Rejected; }

    static constexpr std::size_t kSearched = std::size_t{64} * 1024;

private:
    enum class State
    {
        Searching,
        Found, // a packet is next, after m_gap bytes
        Rejected
    };
    enum class Match
    {
        No,
        Fits,    // a few packets and nothing else, unless another size is still possible
        Perhaps, // when more bytes are there
        Yes
    };

    enum class Step
    {
        Batch,
        Again,
        Starved // of bytes
    };

    bool IsPending() const { return m_read < m_pending.size(); }
    ByteSpan Rest() const;
    std::size_t Limit() const;
    void Consume(std::size_t bytes);
    void Join();
    void KeepRest();

    Step Search();
    Step EndSearch();
    Step TakePackets(PacketBatch* batch);
    void SkipGap();
    void Begin(std::size_t stride);
    void Lose(std::uint64_t expectedAt);
    Match MatchAny(ByteSpan bytes, std::size_t at, std::size_t* stride) const;
    Match MatchStride(ByteSpan bytes, std::size_t at, std::size_t stride) const;
    bool IsEnough(std::size_t starts, std::size_t tail, std::size_t at, std::size_t stride) const;

    const Pieces m_pieces;
    State m_state = State::Searching;
    std::size_t m_stride = 0;
    std::size_t m_gap = 0;
    std::uint64_t m_at = 0;     // of the next byte to be read, in the input
    std::uint64_t m_lostAt = 0; // where a packet was expected, in the input

    ByteSpan m_piece;                     // what is left of the bytes pushed
    std::vector<unsigned char> m_pending; // the end of earlier pieces, and a copy of the start of this one
    std::size_t m_read = 0;               // of m_pending
    std::size_t m_copied = 0;             // from m_piece to the end of m_pending

    std::uint64_t m_resynchronisations = 0;
    std::uint64_t m_skipped = 0;
    std::uint64_t m_total = 0;
    std::size_t m_cutOff = 0;
    bool m_finished = false;
};

// The line for an input with IsNotTransportStream(), which holds `totalBytes`.
std::string DescribeNoTransportStream(const std::string& input, std::uint64_t totalBytes);

} // namespace TTMLHost

#endif
