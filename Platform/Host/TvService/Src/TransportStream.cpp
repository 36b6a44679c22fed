#include "TransportStream.h"

#include <algorithm>
#include <utility>

#include "PesAssembler.h"
#include "TableReader.h"
#include "TransportPacket.h"

namespace TTMLHost {

namespace {

// What is wanted of a PID, as bits.
constexpr unsigned char kTable = 1;
constexpr unsigned char kPes = 2;
constexpr unsigned char kPcr = 4;
constexpr unsigned char kStarts = 8;

// In a packet's header.
constexpr unsigned int kErrorFlag = 0x80;      // byte 1
constexpr unsigned int kAdaptationFlag = 0x20; // byte 3

bool BeginsPes(ByteSpan payload)
{
    return payload.size >= 3 && payload.data[0] == 0 && payload.data[1] == 0 && payload.data[2] == 1;
}

} // namespace

// A component that is watched for PES packets.
class TransportStream::Component : public PesSink
{
public:
    Component(TransportStream& stream, int pid)
        : m_stream(stream)
        , m_pid(pid)
        , m_assembler(*this)
    {}

    void OnPacket(std::vector<unsigned char>& packet) override
    {
        if (m_ended) {
            return;
        }
        const bool isScrambled = IsScrambledPes(packet);
        m_stream.NoteScrambled(m_pid, &m_packetsScrambled, isScrambled);
        if (isScrambled) {
            OnDropped("it is scrambled");
        } else {
            ++m_stream.m_counters.pesCompleted;
            m_stream.m_listener.OnPes(m_pid, packet, PtsOf(packet));
        }
    }

    void OnDropped(const std::string& why) override
    {
        if (!m_ended) {
            ++m_stream.m_counters.pesDropped;
            m_stream.m_listener.OnPesDropped(m_pid, why);
        }
    }

    void Push(const TransportPacket& packet, bool isSuspect)
    {
        if (m_ended) {
            return;
        }
        m_stream.NoteScrambled(m_pid, &m_scrambled, packet.scrambled);
        if (packet.scrambled) {
            ++m_stream.m_counters.scrambledPackets;
            m_assembler.Damage("it is scrambled");
        } else {
            m_assembler.Push(packet.unitStart, packet.payload, isSuspect);
        }
    }

    void Damage(const char* why) { m_assembler.Damage(why); }
    void Flush() { m_assembler.Flush(); }
    // Nobody wants to hear of it any more, from now on.
    void End() { m_ended = true; }

private:
    TransportStream& m_stream;
    const int m_pid;
    PesAssembler m_assembler;
    bool m_ended = false;
    bool m_scrambled = false;        // the transport packets
    bool m_packetsScrambled = false; // the PES packets in clear ones
};

struct TransportStream::PidState
{
    ContinuityCheck continuity;
    std::unique_ptr<Component> component; // with kPes
};

TransportStream::TransportStream(TransportListener& listener)
    : m_listener(listener)
    , m_tables(std::make_unique<TableReader>(
          listener, [this](int pid, bool watch) { SetInterest(pid, kTable, watch); }))
{}

TransportStream::~TransportStream() = default;

void TransportStream::SetInterest(int pid, unsigned char interest, bool on)
{
    if (pid < 0 || pid >= static_cast<int>(kPids)) {
        return;
    }
    unsigned char& interests = m_interest[static_cast<std::size_t>(pid)];
    interests = static_cast<unsigned char>(on ? interests | interest : interests & ~interest);
    if ((interests & (kTable | kPes)) == 0) {
        m_untidy = true;
    }
}

void TransportStream::WatchPcr(int pid, bool watch)
{
    SetInterest(pid, kPcr, watch);
}

void TransportStream::WatchPes(int pid, bool watch)
{
    if (pid < 0 || pid >= kNoPid) {
        return;
    }
    const bool watched = (m_interest[static_cast<std::size_t>(pid)] & kPes) != 0;
    if (watch == watched) {
        return;
    }
    PidState& state = m_pids[pid];
    if (watch) {
        state.component = std::make_unique<Component>(*this, pid);
    } else {
        state.component->End();
        m_retired.push_back(std::move(state.component));
    }
    SetInterest(pid, kPes, watch);
    Tidy();
}

void TransportStream::CountPes(int pid, bool count)
{
    SetInterest(pid, kStarts, count);
}

std::uint64_t TransportStream::PesStarts(int pid) const
{
    const auto found = m_starts.find(pid);
    return found == m_starts.end() ? 0 : found->second;
}

TransportCounters TransportStream::Counters() const
{
    TransportCounters counters = m_counters;
    counters.badSections = m_tables->BadSections();
    return counters;
}

void TransportStream::Tidy()
{
    if (m_busy) {
        m_untidy = true;
        return;
    }
    m_untidy = false;
    m_retired.clear();
    for (auto state = m_pids.begin(); state != m_pids.end();) {
        const unsigned char interests = m_interest[static_cast<std::size_t>(state->first)];
        state = (interests & (kTable | kPes)) == 0 ? m_pids.erase(state) : std::next(state);
    }
}

void TransportStream::NoteScrambled(int pid, bool* known, bool scrambled)
{
    if (scrambled && !*known) {
        *known = true;
        m_listener.OnScrambled(pid);
    }
    *known = scrambled;
}

void TransportStream::Push(const unsigned char* packets, std::size_t count, std::size_t stride)
{
    m_counters.packets += count;
    const unsigned char* const end = packets + count * stride;
    for (const unsigned char* packet = packets; packet != end; packet += stride) {
        const std::size_t pid = static_cast<std::size_t>(packet[1] & 0x1fU) << 8 | packet[2];
        const unsigned char interest = m_interest[pid];
        // Nearly all packets are those of pictures and sound: of nobody's interest but for the clock
        // references, which are in adaptation fields.
        const bool isWanted = (interest & (kTable | kPes | kStarts)) != 0 ||
                              (interest != 0 && (packet[3] & kAdaptationFlag) != 0);
        if (isWanted || (packet[1] & kErrorFlag) != 0) {
            Handle(packet, false);
        }
    }
}

void TransportStream::Push(const PacketBatch& batch)
{
    if (!batch.lastIsSuspect || batch.count == 0) {
        Push(batch.packets, batch.count, batch.stride);
        return;
    }
    Push(batch.packets, batch.count - 1, batch.stride);
    ++m_counters.packets;
    Handle(batch.packets + (batch.count - 1) * batch.stride, true);
}

void TransportStream::Handle(const unsigned char* bytes, bool isSuspect)
{
    const TransportPacket packet = ReadTransportPacket(bytes);
    const unsigned char interest = m_interest[static_cast<std::size_t>(packet.pid)];
    m_busy = true;
    if (packet.transportError || (packet.malformed && interest != 0)) {
        ++m_counters.transportErrors;
        HandleDamaged(packet.pid);
    } else {
        if ((interest & kPcr) != 0 && packet.pcr27MHz && !isSuspect) {
            m_listener.OnPcr(packet.pid, *packet.pcr27MHz, packet.discontinuity);
        }
        if ((interest & kStarts) != 0) {
            Count(packet, interest);
        }
        if (packet.hasPayload && (interest & (kTable | kPes)) != 0) {
            HandlePayload(packet, isSuspect);
        }
    }
    m_busy = false;
    if (m_untidy) {
        Tidy();
    }
}

void TransportStream::HandleDamaged(int pid)
{
    const auto found = m_pids.find(pid);
    if (found == m_pids.end()) {
        return;
    }
    // Its counter is as doubtful as the rest: the one after it shows no gap.
    found->second.continuity.Forget();
    if (Component* const component = found->second.component.get()) {
        component->Damage("a transport packet in it is damaged");
    }
}

void TransportStream::Count(const TransportPacket& packet, unsigned char interest)
{
    if (packet.unitStart && BeginsPes(packet.payload)) {
        ++m_starts[packet.pid];
    }
    if (!packet.hasPayload || (interest & (kTable | kPes)) != 0) {
        return;
    }
    if (packet.scrambled) {
        ++m_counters.scrambledPackets;
    }
    if (m_pids[packet.pid].continuity.Check(packet) == ContinuityCheck::Verdict::Gap) {
        ++m_counters.continuityErrors;
    }
}

void TransportStream::HandlePayload(const TransportPacket& packet, bool isSuspect)
{
    PidState& state = m_pids[packet.pid];
    const ContinuityCheck::Verdict verdict = state.continuity.Check(packet);
    if (verdict == ContinuityCheck::Verdict::Duplicate) {
        return;
    }
    // What the listener does may end the component, and set up another one.
    Component* const component = state.component.get();
    if (verdict == ContinuityCheck::Verdict::Gap) {
        ++m_counters.continuityErrors;
        m_listener.OnGap(packet.pid);
        if (component != nullptr) {
            component->Damage("a transport packet is missing in it");
        }
    } else if (verdict == ContinuityCheck::Verdict::Announced && component != nullptr && !packet.unitStart) {
        component->Damage("the stream breaks off in it");
    }
    if (!packet.scrambled && (m_interest[static_cast<std::size_t>(packet.pid)] & kTable) != 0) {
        m_tables->Push(packet);
    }
    if (component != nullptr) {
        component->Push(packet, isSuspect);
    }
}

void TransportStream::Flush()
{
    std::vector<int> pids;
    for (const auto& [pid, state] : m_pids) {
        pids.push_back(pid);
    }
    m_busy = true;
    for (const int pid : pids) {
        if (Component* const component = m_pids[pid].component.get()) {
            component->Flush();
        }
    }
    m_busy = false;
    Tidy();
}

} // namespace TTMLHost
