#ifndef ATSC3_INPUT_H
#define ATSC3_INPUT_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Atsc3Services.h"
#include "CaptionFeed.h"
#include "CaptionSchedule.h"
#include "SegmentStore.h"
#include "ServiceClock.h"
#include "ServiceInput.h"

namespace TTMLHost {

// ATSC 3.0 services as input of the TV service: a thread reads the MPD of the one that is tuned to, and its
// caption segments, and hands out the captions when they are due. It ends with the input and not with a
// service, as another one may be tuned to then.
class Atsc3Input final : public ServiceInput
{
public:
    Atsc3Input(const TvAtsc3Options& options, ServiceOutput* output);
    ~Atsc3Input() override;
    Atsc3Input(const Atsc3Input&) = delete;
    Atsc3Input& operator=(const Atsc3Input&) = delete;

    bool Open(std::string* error) override;
    void Start() override;
    bool Tune(const std::string& service, std::string* error) override;
    void RequestStop() override;
    void Join() override;

    TvStatistics Statistics() const override;

    std::optional<TunedService> Current() const override;
    bool CurrentSubtitle(int* /*languageCode*/, int* /*index*/) const override { return false; }
    bool Subtitle(std::uint64_t /*serviceId*/, int /*index*/, int /*languageCode*/,
                  TSHybridSBT* /*stream*/) const override
    {
        return false;
    }
    bool Stc(unsigned long long* /*stc*/) const override { return false; }
    bool Mpd(std::uint64_t serviceId, std::string* mpd) const override;
    bool CurrentCaption(TCCaption* caption) const override;

private:
    using Lock = std::unique_lock<std::mutex>;

    // The play of one service; the thread's.
    struct Playing
    {
        std::size_t place = 0; // in the list of services
        std::shared_ptr<SegmentStore> store;
        ServiceClock clock;
        bool isTuned = false;
        bool hasFailed = false; // to be tuned to, which has been told
    };

    bool CheckFiles(std::string* error) const;

    void Run();
    bool AwaitRequest();
    std::string Play(Playing* playing);
    bool TakeRequest(Playing* playing);
    std::string PlayFeed(CaptionFeed* feed, Playing* playing);
    bool MayGoOn(bool afterSignals);
    void AskFeed(CaptionFeed* feed, Playing* playing, CaptionSchedule* schedule);
    void CompleteTune(const CaptionFeed& feed, Playing* playing);
    void TakeNewMpd(const CaptionFeed& feed);
    void Deliver(ScheduledCaption caption);
    void FailTune(const std::string& line, Playing* playing);
    void WaitUntil(std::chrono::steady_clock::time_point time);
    void Warn(const std::vector<std::string>& lines);

    const TvAtsc3Options m_options;
    ServiceOutput* const m_output;
    const Atsc3Services m_services;
    const std::string m_noMemory; // made while there is some
    bool m_isFirstTune = true;    // nothing has been tuned yet; the thread's

    // A tune has begun, and the thread does not know yet. Changed under m_mutex.
    std::atomic<bool> m_requested{false};
    std::atomic<bool> m_stop{false}; // changed under m_mutex

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    bool m_started = false;
    std::size_t m_wanted = 0;              // place of the service
    std::shared_ptr<SegmentStore> m_store; // of the last tune that the thread knows
    std::optional<TunedService> m_tuned;
    std::shared_ptr<const std::string> m_mpd; // of the service that is tuned, as is the caption
    TCCaption m_caption;
    TvStatistics m_statistics;

    std::thread m_thread;
};

} // namespace TTMLHost

#endif
