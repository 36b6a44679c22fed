#include "Round.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <new>
#include <thread>
#include <utility>
#include <vector>

#include "CATSCSource.h"
#include "CBBSource.h"
#include "CDVBSource.h"
#include "HostRecorder.h"
#include "HostTvService.h"
#include "PlatformSettings.h"
#include "PlayerContent.h"
#include "TTMLCallback.h"
#include "TTMLRawDataInfo.h"

namespace TTMLSoak {

namespace {

constexpr double kSpeed = 10;

// The engine: counts the documents. There is one source in a process at a time, as on a TV.
std::atomic<int> g_delivered{0};
std::atomic<TTMLClient::SampleFeed*> g_feed{nullptr};

void OnEvent(int code, void* data)
{
    if (code == TTML::CALLBACK_DATA) {
        const std::unique_ptr<TTML::TTMLRawDataInfo> document(static_cast<TTML::TTMLRawDataInfo*>(data));
        ++g_delivered;
    }
    if (TTMLClient::SampleFeed* const feed = g_feed) {
        feed->OnNotice(code);
    }
}

// Takes a source out of service and destroys it, in the order that an engine does.
struct SourceEnder
{
    void operator()(TTML::CTTMLSource* source) const
    {
        source->StopTrack();
        source->OnStop();
        source->UnRegisterCallBack();
        source->Destroy();
    }
};

using SourcePtr = std::unique_ptr<TTML::CTTMLSource, SourceEnder>;

SourcePtr Begin(TTML::CTTMLSource* source)
{
    SourcePtr owner(source);
    source->RegisterCallBack(OnEvent, nullptr);
    source->OnStart();
    return owner;
}

// A viewer watches for a while. No event ends that: what a round asks is what grows while time passes.
void Pass(std::chrono::milliseconds time)
{
    std::this_thread::sleep_for(time);
}

// Keeps what went wrong with a service's input.
class Failures : public TTMLHost::TvListener
{
public:
    void OnSignal(ESignalType /*signal*/) override {}
    void OnPesDelivered() override {}
    void OnWarning(const std::string& line) override { Note(line); }
    void OnTuneFailed(const std::string& line) override { Note(line); }
    void OnEnd(const std::string& error) override
    {
        if (!error.empty()) {
            Note(error);
        }
    }

    std::string First() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_first;
    }

private:
    void Note(const std::string& line)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_first.empty()) {
            m_first = line;
        }
    }

    mutable std::mutex m_mutex;
    std::string m_first;
};

class BroadcastRound : public Round
{
public:
    explicit BroadcastRound(Inputs inputs)
        : m_inputs(std::move(inputs))
    {}

    RoundResult Play() override
    {
        RoundResult result;
        g_delivered = 0;
        Failures failures;
        if (!Open(&failures, &result.failure)) {
            return result;
        }
        {
            const SourcePtr source = Begin(MakeSource());
            TTMLHost::TvStart();
            Pass(m_inputs.step);
            for (const auto& change : Changes(&result)) {
                change();
                Pass(m_inputs.step);
            }
            result.playing = ProcessUsage::Now();
        }
        TTMLHost::TvClose();
        TTMLHost::RecorderClose();
        result.delivered = g_delivered;
        if (result.failure.empty()) {
            result.failure = failures.First();
        }
        return result;
    }

protected:
    // The input, the source, and two services of the input.
    virtual bool Open(TTMLHost::TvListener* listener, std::string* error) const = 0;
    virtual TTML::CTTMLSource* MakeSource() const = 0;
    virtual std::pair<std::string, std::string> Services() const = 0;

    const Inputs m_inputs;

private:
    std::vector<std::function<void()>> Changes(RoundResult* result) const
    {
        const auto tune = [result](const std::string& service) {
            std::string error;
            if (!TTMLHost::TvTune(service, &error) && result->failure.empty()) {
                result->failure = error;
            }
            ++result->tunes;
        };
        const auto [first, second] = Services();
        return {
            [tune, to = second] { tune(to); },
            [tune, to = first] { tune(to); },
            [] { TTMLHost::TvDeactivate(); },
            [] { TTMLHost::TvActivate(); },
            [tune, to = second] { tune(to); },
            [] {
                TTMLHost::TvLockService(true);
                TTMLHost::TvSignalMpd();
                TTMLHost::RecorderSignal({PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING});
            },
            [] { TTMLHost::TvLockService(false); },
            [tune, to = first] { tune(to); },
        };
    }
};

class DvbRound : public BroadcastRound
{
public:
    using BroadcastRound::BroadcastRound;

protected:
    bool Open(TTMLHost::TvListener* listener, std::string* error) const override
    {
        TTMLHost::TvOptions options;
        options.input = m_inputs.transport;
        options.speed = kSpeed;
        return TTMLHost::TvOpen(options, listener, error);
    }
    TTML::CTTMLSource* MakeSource() const override { return new TTML::CDVBSource; }
    std::pair<std::string, std::string> Services() const override { return {"101", "102"}; }
};

class Atsc3Round : public BroadcastRound
{
public:
    explicit Atsc3Round(Inputs inputs)
        : BroadcastRound(std::move(inputs))
    {
        vconf_set_bool("db/menu/broadcasting/atsc3_enable", 1);
        vconf_set_int("db/menu/caption/caption", 1);
    }

protected:
    bool Open(TTMLHost::TvListener* listener, std::string* error) const override
    {
        TTMLHost::TvAtsc3Options options;
        options.input = m_inputs.server + "/atsc3/service.mpd";
        options.also = {m_inputs.server + "/atsc3/second.mpd"};
        options.speed = kSpeed;
        return TTMLHost::TvOpenAtsc3(options, listener, error);
    }
    TTML::CTTMLSource* MakeSource() const override { return new TTML::CATSCSource; }
    std::pair<std::string, std::string> Services() const override { return {"1", "2"}; }
};

class BroadbandRound : public Round
{
public:
    explicit BroadbandRound(Inputs inputs)
        : m_inputs(std::move(inputs))
    {}

    RoundResult Play() override
    {
        RoundResult result;
        g_delivered = 0;
        TTMLClient::PlayerContent content(nullptr);
        TTMLHost::PlayerOptions options;
        options.speed = kSpeed;
        if (!content.Open(m_inputs.server + "/subtitles.mp4", options, &result.failure)) {
            return result;
        }
        g_feed = &content.Feed();
        {
            TTML::CTTMLSource* const created = TTML::CBBSource::Create(content.Player(), "soak/1.0");
            content.Connect(created);
            const SourcePtr source = Begin(created);
            for (const auto& change : Changes(source.get(), &content, &result)) {
                change();
                Pass(m_inputs.step);
            }
            result.playing = ProcessUsage::Now();
            content.HoldSamples();
            content.Feed().Close();
            content.Pause();
        }
        g_feed = nullptr;
        result.delivered = g_delivered;
        result.failure = content.Feed().InputError();
        return result;
    }

private:
    // A step lies between a command and what follows once the source has handled it.
    std::vector<std::function<void()>> Changes(TTML::CTTMLSource* source, TTMLClient::PlayerContent* content,
                                               RoundResult* result) const
    {
        const auto playInBand = [source, result] {
            ++result->tunes;
            source->PlayTrack(0, nullptr, "English");
        };
        const auto letSamples = [content] { content->Play(); };
        const auto seek = [content, source](long long positionMs) {
            content->Seek(positionMs);
            source->SeekCompleted();
        };
        return {
            playInBand,
            letSamples,
            [source, result] {
                ++result->tunes;
                source->SeekStart(30000);
            },
            [seek] { seek(30000); },
            [source, content] {
                content->Pause();
                source->PauseTrack(true);
            },
            [source] { source->ResumeTrack(); },
            letSamples,
            [source, content] {
                content->Pause();
                source->StopTrack();
            },
            [source, result, url = m_inputs.server + "/imsc1-text.ttml"] {
                ++result->tunes;
                source->PlayTrack(1, url.c_str(), "English");
            },
            playInBand,
            letSamples,
        };
    }

    const Inputs m_inputs;
};

} // namespace

std::unique_ptr<Round> MakeRound(const std::string& kind, const Inputs& inputs)
{
    if (kind == "dvb") {
        return std::make_unique<DvbRound>(inputs);
    }
    if (kind == "atsc3") {
        return std::make_unique<Atsc3Round>(inputs);
    }
    if (kind == "broadband") {
        return std::make_unique<BroadbandRound>(inputs);
    }
    return nullptr;
}

} // namespace TTMLSoak
