#ifndef STREAM_RECORDER_H
#define STREAM_RECORDER_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "TransportStream.h"
#include "TsBuilder.h"

namespace TTMLTest {

// A transport stream with a listener that keeps all that it is told.
class StreamRecorder : public TTMLHost::TransportListener
{
public:
    struct Pes
    {
        int pid;
        Bytes packet;
        std::optional<std::uint64_t> pts;
    };
    struct Pcr
    {
        int pid;
        std::uint64_t pcr;
        bool discontinuity;
    };

    StreamRecorder()
        : stream(*this)
    {}

    void Push(const Bytes& packets) { stream.Push(packets.data(), packets.size() / 188, 188); }

    void OnPat(const TTMLHost::Pat& pat) override
    {
        pats.push_back(pat);
        Note("pat");
    }
    void OnPmt(const TTMLHost::Pmt& pmt) override
    {
        pmts.push_back(pmt);
        Note("pmt " + std::to_string(pmt.serviceId) + " v" + std::to_string(pmt.version));
    }
    void OnSdt(const TTMLHost::Sdt& sdt) override
    {
        sdts.push_back(sdt);
        Note("sdt");
    }
    void OnRating(int serviceId, std::optional<int> age) override
    {
        Note("rating " + std::to_string(serviceId) + " " +
             (age ? std::to_string(*age) : std::string("none")));
    }
    void OnPcr(int pid, std::uint64_t pcr, bool discontinuity) override
    {
        pcrs.push_back({pid, pcr, discontinuity});
        Note("pcr " + std::to_string(pid));
    }
    void OnPes(int pid, std::vector<unsigned char>& packet, std::optional<std::uint64_t> pts) override
    {
        pes.push_back({pid, packet, pts});
        Note("pes " + std::to_string(pid));
    }
    void OnScrambled(int pid) override { Note("scrambled " + std::to_string(pid)); }
    void OnPesDropped(int pid, const std::string& why) override
    {
        Note("dropped " + std::to_string(pid) + ": " + why);
    }
    void OnGap(int pid) override { Note("gap " + std::to_string(pid)); }

    std::vector<Bytes> PesPackets() const
    {
        std::vector<Bytes> all;
        for (const Pes& one : pes) {
            all.push_back(one.packet);
        }
        return all;
    }

    std::vector<TTMLHost::Pat> pats;
    std::vector<TTMLHost::Pmt> pmts;
    std::vector<TTMLHost::Sdt> sdts;
    std::vector<Pcr> pcrs;
    std::vector<Pes> pes;
    std::vector<std::string> notes; // all calls in order
    // Called with each note, inside the listener's call.
    std::function<void(const std::string&)> onNote;

    TTMLHost::TransportStream stream;

private:
    void Note(const std::string& note)
    {
        notes.push_back(note);
        if (onNote) {
            onNote(note);
        }
    }
};

using Notes = std::vector<std::string>;

} // namespace TTMLTest

#endif
