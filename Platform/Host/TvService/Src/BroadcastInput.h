#ifndef BROADCAST_INPUT_H
#define BROADCAST_INPUT_H

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "PacketFramer.h"
#include "PacketSource.h"
#include "ServiceInput.h"
#include "Tuner.h"

namespace TTMLHost {

// A DVB transport stream as input of the TV service: a thread reads it and pushes its packets through the
// tuner.
class BroadcastInput final : public ServiceInput
{
public:
    BroadcastInput(const TvOptions& options, ServiceOutput* output);
    ~BroadcastInput() override;
    BroadcastInput(const BroadcastInput&) = delete;
    BroadcastInput& operator=(const BroadcastInput&) = delete;

    bool Open(std::string* error) override;
    void Start() override { m_tuner->Start(); }
    bool Tune(const std::string& service, std::string* error) override;
    void RequestStop() override;
    void Join() override;

    TvStatistics Statistics() const override;

    std::optional<TunedService> Current() const override { return m_tuner->Current(); }
    bool CurrentSubtitle(int* languageCode, int* index) const override;
    bool Subtitle(std::uint64_t serviceId, int index, int languageCode, TSHybridSBT* stream) const override;
    bool Stc(unsigned long long* stc) const override;
    bool Mpd(std::uint64_t /*serviceId*/, std::string* /*mpd*/) const override { return false; }
    bool CurrentCaption(TCCaption* /*caption*/) const override { return false; }

private:
    void Run();
    std::string Play();
    void ReadAll(std::string* error);
    bool PushPackets(std::string* error);
    void ReportGarbage();
    void ReportSilence(std::int64_t lastingNs);
    void ReportCutOff();

    const TvOptions m_options;
    ServiceOutput* const m_output;
    const std::string m_noMemory; // made while there is some
    std::unique_ptr<PacketSource> m_source;
    std::unique_ptr<PacketFramer> m_framer; // the thread's
    std::unique_ptr<Tuner> m_tuner;
    std::atomic<bool> m_stop{false};
    std::atomic<std::uint64_t> m_resynchronisations{0};
    bool m_reportedForeign = false; // the thread's
    bool m_reportedSilence = false; // the thread's
    std::thread m_thread;
};

} // namespace TTMLHost

#endif
