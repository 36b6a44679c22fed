#ifndef PACKET_SOURCE_H
#define PACKET_SOURCE_H

#include <cstdint>
#include <memory>
#include <string>

#include "ByteSpan.h"

namespace TTMLHost {

// What became of the datagrams of a network input.
struct DatagramCounters
{
    std::uint64_t received = 0;
    // Of RTP only, which numbers its packets.
    std::uint64_t lost = 0;
    std::uint64_t duplicated = 0;
    std::uint64_t late = 0;      // came after they had been given up as lost
    std::uint64_t malformed = 0; // no RTP
};

// Where the bytes of a transport stream come from. Used by one thread, but for Interrupt().
class PacketSource
{
public:
    virtual ~PacketSource() = default;

    // Opens a file (a path), standard input ("-"), or "udp://[LOCAL@]ADDRESS:PORT" or "rtp://...": ADDRESS is
    // a multicast group, which is joined on the interface with the address or the name LOCAL, an address of
    // this machine, or nothing (all of its addresses); an IPv6 address stands in brackets. Null on failure,
    // with one line in `error`.
    static std::unique_ptr<PacketSource> Open(const std::string& input, std::string* error);

    // Waits for bytes and tells where they are until the next call. A batch may be empty: where bytes come
    // from a network or a pipe, the call returns at the latest after kPatienceMs, so that the caller can look
    // at the time. False when there are no more: `error` is empty at the regular end and after Interrupt(),
    // else one line.
    virtual bool Read(ByteSpan* batch, std::string* error) = 0;

    // Makes a Read() that waits, and each one from now on, answer that there is no more. Any thread.
    virtual void Interrupt() = 0;

    // Whether the sender sets the pace.
    virtual bool IsLive() const = 0;

    virtual DatagramCounters Datagrams() const { return {}; }

    static constexpr int kPatienceMs = 100;

    PacketSource(const PacketSource&) = delete;
    PacketSource& operator=(const PacketSource&) = delete;

protected:
    PacketSource() = default;
};

// The input as people call it, in quotation marks where it is a name.
std::string NameOfInput(const std::string& input);

} // namespace TTMLHost

#endif
