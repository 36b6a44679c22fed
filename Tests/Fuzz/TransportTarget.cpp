// Reading transport streams: an input is a file or the datagrams of a network, cut into pieces in a way that
// its first two bytes say. On request sync bytes are put where they belong, so that what comes behind the
// search for them is reached by inputs that nobody built.

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "FuzzTarget.h"
#include "PacketFramer.h"
#include "PesAssembler.h"
#include "TransportStream.h"

using TTMLTest::Hold;

namespace {

constexpr std::size_t kPayloadSize = TTMLHost::kPacketSize - 4;
constexpr std::size_t kSizes[] = {188, 192, 204};

// Watches what the tables offer and some PIDs besides, and stops and goes on to do so in the middle.
class Viewer : public TTMLHost::TransportListener
{
public:
    Viewer()
        : m_stream(*this)
    {
        for (const int pid : {0x102, 0x103, 0x202}) {
            m_stream.WatchPes(pid, true);
        }
        m_stream.WatchPcr(0x101, true);
        m_stream.CountPes(0x101, true);
        m_stream.CountPes(0x102, true);
    }

    void Push(const TTMLHost::PacketBatch& batch)
    {
        m_pushed += batch.count;
        m_stream.Push(batch);
    }

    void Finish()
    {
        m_stream.Flush();
        const TTMLHost::TransportCounters counters = m_stream.Counters();
        Hold(counters.packets == m_pushed, "all packets are counted");
        Hold(counters.pesCompleted == m_completed, "completed PES packets are counted");
        Hold(counters.pesDropped == m_dropped, "dropped PES packets are counted");
        for (const auto& [pid, bytes] : m_bytes) {
            Hold(bytes <= m_pushed * kPayloadSize, "a component has no more bytes than its packets");
        }
        for (const int pid : {0x101, 0x102}) {
            Hold(m_stream.PesStarts(pid) <= m_pushed, "no more PES packets begin than there are packets");
        }
    }

    void OnPmt(const TTMLHost::Pmt& pmt) override
    {
        m_stream.WatchPcr(pmt.pcrPid, true);
        for (const TTMLHost::Pmt::Component& component : pmt.components) {
            m_stream.WatchPes(component.pid, component.ttml.has_value());
        }
    }
    void OnPcr(int pid, std::uint64_t pcr, bool /*discontinuity*/) override
    {
        // 33 bits and an extension of 9.
        Hold(pcr < (std::uint64_t{1} << 33U) * 300 + 512, "a clock reference has 42 bits");
        m_stream.WatchPes(m_unwatched, m_unwatched != TTMLHost::kNoPid);
        m_unwatched = TTMLHost::kNoPid;
        Hold(pid >= 0 && pid < TTMLHost::kNoPid + 1, "PIDs have 13 bits");
    }
    void OnPes(int pid, std::vector<unsigned char>& packet, std::optional<std::uint64_t> pts) override
    {
        ++m_completed;
        m_bytes[pid] += packet.size();
        Hold(packet.size() >= 6 && packet.size() <= TTMLHost::PesAssembler::kLongest,
             "PES packets have limits");
        Hold(packet[0] == 0 && packet[1] == 0 && packet[2] == 1, "PES packets begin with their start code");
        const std::size_t announced = std::size_t{packet[4]} << 8U | packet[5];
        Hold(announced == 0 || packet.size() == announced + 6, "PES packets are as long as they say");
        Hold(!pts || *pts < std::uint64_t{1} << 33U, "a PTS has 33 bits");
        if (packet.size() % 5 == 0) {
            m_stream.WatchPes(pid, false);
            m_unwatched = pid;
        }
        packet.clear(); // it may be taken
    }
    void OnPesDropped(int /*pid*/, const std::string& why) override
    {
        ++m_dropped;
        Hold(!why.empty(), "there is a reason");
    }

private:
    TTMLHost::TransportStream m_stream;
    std::map<int, std::uint64_t> m_bytes;
    std::uint64_t m_pushed = 0;
    std::uint64_t m_completed = 0;
    std::uint64_t m_dropped = 0;
    int m_unwatched = TTMLHost::kNoPid;
};

// What a framer makes of an input.
struct Framing
{
    std::vector<std::pair<std::string, bool>> packets; // and whether each is suspect
    std::size_t size = 0;
    std::uint64_t resynchronisations = 0;
    std::uint64_t skipped = 0;
    std::size_t cutOff = 0;
    bool rejected = false;
};

bool operator==(const Framing& left, const Framing& right)
{
    return left.packets == right.packets && left.size == right.size &&
           left.resynchronisations == right.resynchronisations && left.skipped == right.skipped &&
           left.cutOff == right.cutOff && left.rejected == right.rejected;
}

Framing Frame(const std::string& bytes, std::size_t pieceSize, TTMLHost::PacketFramer::Pieces pieces,
              Viewer* viewer)
{
    Framing framing;
    TTMLHost::PacketFramer framer(pieces);
    const auto take = [&] {
        TTMLHost::PacketBatch batch;
        while (framer.Next(&batch)) {
            Hold(batch.count > 0, "a batch has packets");
            Hold(std::find(std::begin(kSizes), std::end(kSizes), batch.stride) != std::end(kSizes),
                 "packets have one of three sizes");
            for (std::size_t i = 0; i < batch.count; ++i) {
                const unsigned char* const packet = batch.packets + i * batch.stride;
                Hold(*packet == TTMLHost::kSyncByte, "packets begin with the sync byte");
                framing.packets.emplace_back(std::string(packet, packet + TTMLHost::kPacketSize),
                                             batch.lastIsSuspect && i + 1 == batch.count);
            }
            if (viewer != nullptr) {
                viewer->Push(batch);
            }
        }
    };
    for (std::size_t at = 0; at < bytes.size(); at += pieceSize) {
        // A copy of the exact size: what is beyond the piece is nobody's.
        const std::string piece = bytes.substr(at, pieceSize);
        const std::vector<unsigned char> own(piece.begin(), piece.end());
        framer.Push({own.data(), own.size()});
        take();
    }
    framer.Finish();
    take();
    Hold(framer.TotalBytes() == bytes.size(), "all bytes are counted");
    framing.size = framer.PacketSize();
    framing.resynchronisations = framer.Resynchronisations();
    framing.skipped = framer.SkippedBytes();
    framing.cutOff = framer.CutOffBytes();
    framing.rejected = framer.IsNotTransportStream();
    Hold(framing.skipped <= bytes.size(), "no more is skipped than there is");
    return framing;
}

void PutSyncBytes(std::string* bytes, std::size_t size)
{
    for (std::size_t at = 0; at < bytes->size(); at += size) {
        (*bytes)[at] = static_cast<char>(TTMLHost::kSyncByte);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    using Pieces = TTMLHost::PacketFramer::Pieces;
    TTMLTest::FuzzInput input(data, size);
    const std::uint64_t how = input.Number(1);
    const std::uint64_t cut = input.Number(1);
    std::string bytes = input.Rest();
    if ((how & 2U) != 0) {
        PutSyncBytes(&bytes, kSizes[how / 4 % 3]);
    }
    const std::size_t whole = std::max<std::size_t>(bytes.size(), 1);
    const std::size_t piece = cut == 0 ? whole : static_cast<std::size_t>(cut) * 5 - 4;
    Viewer viewer;
    if ((how & 1U) != 0) {
        Frame(bytes, piece, Pieces::AfterPackets, &viewer);
    } else {
        const Framing framing = Frame(bytes, piece, Pieces::Anywhere, &viewer);
        Hold(framing == Frame(bytes, whole, Pieces::Anywhere, nullptr),
             "where a file is cut makes no difference");
    }
    viewer.Finish();
    return 0;
}
