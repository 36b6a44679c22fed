#ifndef TUNER_H
#define TUNER_H

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "ClockJump.h"
#include "Pacer.h"
#include "ProgramClock.h"
#include "ServiceDirectory.h"
#include "ServiceInput.h"
#include "StreamWatch.h"
#include "TransportStream.h"
#include "TuneReports.h"
#include "TuneTimer.h"

namespace TTMLHost {

// Tunes to services of a transport stream: finds the service and its TTML component in the tables, keeps the
// stream's time, and hands out PES packets when they are due. The reader's calls come on one thread and
// return when the packets are due; all others may come on any thread at the same time.
class Tuner final : private TransportListener
{
    using Lock = std::unique_lock<std::mutex>;

public:
    // `isLive`: the packets come when they are due. `output` gets the signals, packets and warnings.
    Tuner(const TvOptions& options, bool isLive, ServiceOutput* output);
    Tuner(const Tuner&) = delete;
    Tuner& operator=(const Tuner&) = delete;

    // The reader's.

    // Waits until it may begin; false when it is to stop instead.
    bool AwaitStart();
    // False when reading is to end: it is to stop, or Error() is set.
    bool Push(const PacketBatch& batch);
    // Where no packets came for a while.
    bool Idle();
    // The input is over. Hands out what is left.
    void Finish();
    // Nothing can be tuned to any more.
    void End()
    {
        const Lock lock(m_mutex);
        m_ended = true;
    }
    // Why nothing can be played, one line; empty if it can.
    const std::string& Error() const { return m_error; }
    std::uint64_t Packets() const { return m_stream.Counters().packets; }

    // Everybody's.

    void Start();
    bool Tune(const std::string& service, std::string* error);
    void Stop();

    TvStatistics Statistics() const
    {
        const Lock lock(m_mutex);
        return m_statistics;
    }
    std::optional<TunedService> Current() const
    {
        const Lock lock(m_mutex);
        return CurrentLocked();
    }
    std::optional<TtmlStream> CurrentSubtitle() const;
    bool Subtitle(std::uint64_t serviceId, int index, int languageCode, TSHybridSBT* stream) const;
    std::optional<std::uint64_t> Stc() const { return m_clock.Stc(); }

private:
    void OnPat(const Pat& pat) override;
    void OnPmt(const Pmt& pmt) override;
    void OnSdt(const Sdt& sdt) override;
    void OnRating(int serviceId, std::optional<int> age) override;
    void OnPcr(int pid, std::uint64_t pcr27MHz, bool discontinuity) override;
    void OnPes(int pid, std::vector<unsigned char>& packet, std::optional<std::uint64_t> pts90kHz) override;
    void OnScrambled(int pid) override;
    void OnPesDropped(int pid, const std::string& why) override;

    bool IsPaced() const { return !m_isLive && !m_options.fast; }
    bool MayGoOn();
    void TakeRequest();
    void FindService();
    void Aim();
    void OnMissingService();
    void FollowComponent();
    bool IsReferenceOfTarget(int pid) const;
    void CompleteTune(int pcrPid, std::uint64_t pcr27MHz);
    void ReportComponent(bool hadOne);
    std::int64_t Pace(std::uint64_t pcr27MHz, bool discontinuity);
    void NoteReference(int pid, std::uint64_t pcr27MHz, bool discontinuity);
    void CheckPatience();
    void FailTune(const std::string& line);
    void TakeCounters();
    std::string WhyNotTuned() const;
    std::optional<TunedService> CurrentLocked() const;

    const TvOptions m_options;
    const bool m_isLive;
    ServiceOutput* const m_output;
    const TuneReports m_reports;

    // The reader's.
    TransportStream m_stream;
    StreamWatch m_watch;
    Pacer m_pacer;
    TuneTimer m_timer;
    ClockJump m_jump;
    int m_pacePid = kNoPid; // whose references the packets are paced by
    std::optional<int> m_target;
    bool m_isTuned = false;
    bool m_isFirstTune = true;
    bool m_waited = false; // long enough for tables that may not come at all
    bool m_isLate = false; // the tune takes longer than it should, which has been reported
    bool m_hadTtml = false;
    bool m_reportedLanguage = false;
    bool m_reportedLoss = false;
    bool m_reportedDamage = false;
    std::set<int> m_reportedScrambled; // PIDs
    std::string m_error;
    TSPESData m_packet;

    ProgramClock m_clock;

    // A tune to another service has begun, and the reader does not know yet. Changed under m_mutex.
    std::atomic<bool> m_requested{false};
    std::atomic<bool> m_stop{false};

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    bool m_started = false;
    bool m_ended = false;
    std::string m_wanted; // id or name; empty for the first one with TTML
    ServiceDirectory m_directory;
    std::optional<int> m_tuned;
    std::optional<TtmlStream> m_component; // of the service that is tuned, or being tuned to
    TvStatistics m_statistics;
};

} // namespace TTMLHost

#endif
