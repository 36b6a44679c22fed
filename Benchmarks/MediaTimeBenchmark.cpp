// The media time that a client asks a source for while it renders, beside the platform calls alone that the
// answer is made of.

#include <memory>

#include <benchmark/benchmark.h>

#include "AtscPlay.h"
#include "CBBSource.h"
#include "Document.h"
#include "DvbPlay.h"
#include "HostPlayer.h"
#include "LineCount.h"
#include "PesPacket.h"
#include "PlatformFileManager.h"
#include "PlatformMediaPlayer.h"
#include "PlatformTvService.h"
#include "Subjects.h"

namespace TTMLBench {

namespace {

struct DestroySource
{
    void operator()(TTML::CTTMLSource* source) const { source->Destroy(); }
};
template <typename Source>
using SourcePointer = std::unique_ptr<Source, DestroySource>;

struct ClosePlayer
{
    void operator()(player_s* player) const { TTMLHost::PlayerClose(player); }
};
using PlayerPointer = std::unique_ptr<player_s, ClosePlayer>;

// A player whose clock runs.
PlayerPointer CreatePlayer()
{
    PlayerPointer player(TTMLHost::PlayerCreateIdle(1.0));
    TTMLHost::PlayerPlay(player.get());
    return player;
}

bool Ask(TTML::CTTMLSource& source)
{
    long long time = 0;
    const int result = source.GetVideoCurrentTime(&time);
    benchmark::DoNotOptimize(time);
    return result == 0;
}

template <typename Query>
void Measure(benchmark::State& state, Query query)
{
    for (auto _ : state) {
        if (!query()) {
            state.SkipWithError("there was no time to be had");
            return;
        }
    }
}

// The source beside the media player.

struct Broadband
{
    PlayerPointer player = CreatePlayer();
    SourcePointer<TTML::CBBSource> source{TTML::CBBSource::Create(player.get(), "benchmarks")};
};

void BroadbandSource(benchmark::State& state)
{
    const Broadband broadband;
    Measure(state, [&] { return Ask(*broadband.source); });
}

void BroadbandPlatform(benchmark::State& state)
{
    const PlayerPointer player = CreatePlayer();
    Measure(state, [&] {
        long long position = 0;
        unsigned char isLive = 0;
        const bool good = player_get_play_position_ex(player.get(), &position) == 0 &&
                          player_get_adaptive_streaming_info(player.get(), &isLive,
                                                             PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE) == 0;
        benchmark::DoNotOptimize(position);
        benchmark::DoNotOptimize(isLive);
        return good;
    });
}

void AskBroadband(std::size_t count)
{
    const Broadband broadband;
    for (std::size_t i = 0; i < count; ++i) {
        Ask(*broadband.source);
    }
}

// The source for DVB, after a packet whose PTS is a little ahead of the clock.

struct Dvb : DvbPlay
{
    Dvb()
    {
        constexpr std::uint64_t kPts = 900000;
        constexpr std::uint64_t kMediaTime = 10000000;
        std::vector<TSPESData> packets(1);
        packets.front().dataType = PES_DATA_TYPE_TTML;
        packets.front().data =
            MakePesPacket(kPts, kMediaTime, kPlainSegment, MakeDocument(kUsualDocumentSize));
        Deliver(packets, packets.size());
    }
};

void DvbSource(benchmark::State& state)
{
    Dvb dvb;
    Measure(state, [&] { return Ask(dvb.Source()); });
}

void DvbPlatform(benchmark::State& state)
{
    const Dvb dvb;
    Measure(state, [] {
        bool terminated = true;
        TCServiceUtility::IsTvsTerminated(terminated);
        TVServiceAPI::IDataControl* control = nullptr;
        if (terminated || TVServiceAPI::CreateDataControl(PROFILE_MAIN, 0, &control) != 0) {
            return false;
        }
        unsigned long long stc = 0;
        const bool good = control->GetSTCCount(stc) != 0;
        benchmark::DoNotOptimize(stc);
        TVServiceAPI::Destroy(control);
        return good;
    });
}

void AskDvb(std::size_t count)
{
    Dvb dvb;
    for (std::size_t i = 0; i < count; ++i) {
        Ask(dvb.Source());
    }
}

// The source for ATSC 3.0.

void AtscSource(benchmark::State& state)
{
    const auto source = MakeAtscSource();
    Measure(state, [&] { return Ask(*source); });
}

void AtscPlatform(benchmark::State& state)
{
    Measure(state, [] {
        benchmark::DoNotOptimize(TTML::TTMLGetTimeofDay());
        return true;
    });
}

void AskAtsc(std::size_t count)
{
    const auto source = MakeAtscSource();
    for (std::size_t i = 0; i < count; ++i) {
        Ask(*source);
    }
}

void RegisterBroadband()
{
    benchmark::RegisterBenchmark("media_time/broadband", BroadbandSource);
    benchmark::RegisterBenchmark("media_time/broadband_platform", BroadbandPlatform);
}

void RegisterDvb()
{
    benchmark::RegisterBenchmark("media_time/dvb", DvbSource);
    benchmark::RegisterBenchmark("media_time/dvb_platform", DvbPlatform);
}

void RegisterAtsc()
{
    benchmark::RegisterBenchmark("media_time/atsc", AtscSource);
    benchmark::RegisterBenchmark("media_time/atsc_platform", AtscPlatform);
}

void Compare(const Results& results, Table& table, const char* source, const std::string& benchmark,
             const char* reference, const char* workload)
{
    if (const std::optional<double> ours = results.Time(benchmark)) {
        table.CompareTimes(std::string(source) + "::GetVideoCurrentTime", ours,
                           results.Time(benchmark + "_platform"), reference,
                           LinesText(LinesPerItem(workload), "a call"));
    }
}

void ReportBroadband(const Results& results, Table& table)
{
    Compare(results, table, "CBBSource", "media_time/broadband", "the player's answers alone",
            kBroadbandTimeSubject.workload);
}

void ReportDvb(const Results& results, Table& table)
{
    Compare(results, table, "CDVBSource", "media_time/dvb", "the TV service's answers alone",
            kDvbTimeSubject.workload);
}

void ReportAtsc(const Results& results, Table& table)
{
    Compare(results, table, "CATSCSource", "media_time/atsc", "the platform's clock alone",
            kAtscTimeSubject.workload);
}

} // namespace

const Subject kBroadbandTimeSubject = {RegisterBroadband, ReportBroadband, "broadband_time", AskBroadband};
const Subject kDvbTimeSubject = {RegisterDvb, ReportDvb, "dvb_time", AskDvb};
const Subject kAtscTimeSubject = {RegisterAtsc, ReportAtsc, "atsc_time", AskAtsc};

} // namespace TTMLBench
