#ifndef TRANSPORT_STREAM_H
#define TRANSPORT_STREAM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "PacketFramer.h"
#include "Tables.h"

namespace TTMLHost {

// What a transport stream turns out to hold. The calls come inside TransportStream::Push() and Flush(), in
// the order of the stream.
class TransportListener
{
public:
    virtual ~TransportListener() = default;

    // A table that is in force now, each time it has changed.
    virtual void OnPat(const Pat& /*pat*/) {}
    virtual void OnPmt(const Pmt& /*pmt*/) {}
    virtual void OnSdt(const Sdt& /*sdt*/) {}

    // The rating of a service's present event, in years; nothing when it has none. The first one that is
    // known, and each change.
    virtual void OnRating(int /*serviceId*/, std::optional<int> /*age*/) {}

    // A program clock reference of a PID that is watched for them: 33 bits x 300 + extension, at 27 MHz.
    // `discontinuity`: the stream announces that it does not go on from the last one.
    virtual void OnPcr(int /*pid*/, std::uint64_t /*pcr27MHz*/, bool /*discontinuity*/) {}

    // A whole PES packet of a PID that is watched for them, header included. The listener may change or take
    // the bytes.
    virtual void OnPes(int /*pid*/, std::vector<unsigned char>& /*packet*/,
                       std::optional<std::uint64_t> /*pts90kHz*/)
    {}

    // A watched component is scrambled: at the first such packet, and at the first after clear ones.
    virtual void OnScrambled(int /*pid*/) {}

    // A PES packet was damaged and is left out. `why` is a clause: "a transport packet is missing in it".
    virtual void OnPesDropped(int /*pid*/, const std::string& /*why*/) {}

    // Packets of a watched component or of a table are missing.
    virtual void OnGap(int /*pid*/) {}
};

struct TransportCounters
{
    std::uint64_t packets = 0;
    std::uint64_t continuityErrors = 0; // of components watched or counted, and of tables
    std::uint64_t transportErrors = 0;
    std::uint64_t scrambledPackets = 0; // of components watched or counted
    std::uint64_t pesCompleted = 0;
    std::uint64_t pesDropped = 0;
    std::uint64_t badSections = 0; // of tables: wrong CRC_32
};

class TableReader;
struct TransportPacket;

// Reads a transport stream (ISO/IEC 13818-1): its tables always, clock references and PES packets of the PIDs
// that are watched. Used by one thread.
class TransportStream
{
public:
    explicit TransportStream(TransportListener& listener);
    ~TransportStream();
    TransportStream(const TransportStream&) = delete;
    TransportStream& operator=(const TransportStream&) = delete;

    // `count` packets, each beginning with the sync byte, `stride` bytes apart.
    void Push(const unsigned char* packets, std::size_t count, std::size_t stride);
    void Push(const PacketBatch& batch);

    // The input is over: completes a PES packet of unknown length.
    void Flush();

    // Begin and end to report what a PID carries; allowed inside the listener's calls. A PES packet that has
    // begun already is not reported, nor is one that is under way at the end.
    void WatchPcr(int pid, bool watch);
    void WatchPes(int pid, bool watch);
    // Begins and ends to count how many PES packets begin on a PID, which needs no look at what they hold.
    void CountPes(int pid, bool count);
    std::uint64_t PesStarts(int pid) const;

    TransportCounters Counters() const;

private:
    class Component;
    struct PidState;

    static constexpr std::size_t kPids = 8192;

    void Handle(const unsigned char* bytes, bool isSuspect);
    // Of a component whose PES packets are counted.
    void Count(const TransportPacket& packet, unsigned char interest);
    void HandlePayload(const TransportPacket& packet, bool isSuspect);
    void HandleDamaged(int pid);
    void SetInterest(int pid, unsigned char interest, bool on);
    void NoteScrambled(int pid, bool* known, bool scrambled);
    void Tidy();

    TransportListener& m_listener;
    TransportCounters m_counters;
    // What is wanted of each PID: all that is looked at of a packet whose PID nobody wants.
    std::array<unsigned char, kPids> m_interest = {};
    std::map<int, PidState> m_pids;
    std::map<int, std::uint64_t> m_starts;
    // Components no longer watched, which may be at work further up the stack while m_busy.
    std::vector<std::unique_ptr<Component>> m_retired;
    bool m_busy = false;
    bool m_untidy = false; // something of no interest is left
    std::unique_ptr<TableReader> m_tables;
};

} // namespace TTMLHost

#endif
