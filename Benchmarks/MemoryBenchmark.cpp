// What a source costs on the heap, and that it does not grow.

#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "CBBSource.h"
#include "CaptionClient.h"
#include "Document.h"
#include "HeapWindow.h"
#include "HostPlayer.h"
#include "Subjects.h"
#include "TTMLSubtitleExtraData.h"

namespace TTMLBench {

namespace {

constexpr std::size_t kSources = 16;
constexpr double kIdleLimit = 64.0 * 1024.0;

constexpr std::size_t kSamples = 1000000;
constexpr std::size_t kWarmUpSamples = 10000;
// Samples on their way at once; the player is not further ahead of its clock either.
constexpr std::size_t kInFlight = 64;
// A queue that is empty again may hold another block of its own than before.
constexpr double kGrowthLimit = 4.0 * 1024.0;

struct DestroySource
{
    void operator()(TTML::CBBSource* source) const { source->Destroy(); }
};
using SourcePointer = std::unique_ptr<TTML::CBBSource, DestroySource>;

struct ClosePlayer
{
    void operator()(player_s* player) const { TTMLHost::PlayerClose(player); }
};
using PlayerPointer = std::unique_ptr<player_s, ClosePlayer>;

SourcePointer CreateIdle(player_s* player)
{
    SourcePointer source(
        TTML::CBBSource::Create(player, "Mozilla/5.0 (Linux; TV) Captions/1.0 (reference set, 55 inch)"));
    source->OnStart();
    return source;
}

void Idle(benchmark::State& state)
{
    const PlayerPointer player(TTMLHost::PlayerCreateIdle(1.0));
    std::vector<SourcePointer> sources(kSources);
    const auto createAll = [&] {
        for (SourcePointer& source : sources) {
            source = CreateIdle(player.get());
        }
    };
    const auto destroyAll = [&] {
        for (SourcePointer& source : sources) {
            source.reset();
        }
    };
    // What the process allocates once is not a source's.
    CreateIdle(player.get()).reset();
    for (auto _ : state) {
        {
            const long long residentBefore = ResidentBytes();
            const HeapWindow heap;
            createAll();
            state.counters["heap"] = static_cast<double>(heap.Bytes()) / kSources;
            state.counters["resident"] = static_cast<double>(ResidentBytes() - residentBefore) / kSources;
        }
        destroyAll();
        // In a second round, since the C library has kept some of the threads' stacks, with a little of the
        // heap each, after the first.
        const HeapWindow heap;
        createAll();
        destroyAll();
        state.counters["left"] = static_cast<double>(heap.Bytes());
    }
}

void Deliver(TTML::CBBSource& source, CaptionClient& client, std::string& document, std::size_t count)
{
    TTML::TTMLSubtitleExtraData extra;
    extra.segStartTime = "00:12:34.560";
    extra.segEndTime = "00:12:36.560";
    for (std::size_t sent = 0; sent < count; sent += kInFlight) {
        client.captions.Expect(kInFlight);
        for (std::size_t i = 0; i < kInFlight; ++i) {
            ++extra.index;
            extra.timestamp += 2000;
            source.OnSubtitleData(document.data(), extra);
        }
        client.captions.Wait();
    }
}

void Growth(benchmark::State& state)
{
    const PlayerPointer player(TTMLHost::PlayerCreateIdle(1.0));
    std::string document = MakeDocument(kUsualDocumentSize);
    CaptionClient client;
    const SourcePointer source = CreateIdle(player.get());
    source->RegisterCallBack(CaptionClient::OnNotice, &client);
    client.starts.Expect(1);
    source->PlayTrack(1, nullptr, "eng");
    client.starts.Wait();
    Deliver(*source, client, document, kWarmUpSamples);
    for (auto _ : state) {
        const long long residentBefore = ResidentBytes();
        const HeapWindow heap;
        Deliver(*source, client, document, kSamples);
        state.counters["heap"] = static_cast<double>(heap.Bytes());
        state.counters["resident"] = static_cast<double>(ResidentBytes() - residentBefore);
    }
}

void Register()
{
    benchmark::RegisterBenchmark("memory/idle", Idle)->Iterations(1)->Repetitions(1);
    benchmark::RegisterBenchmark("memory/growth", Growth)->Iterations(1)->Repetitions(1)->UseRealTime();
}

void Report(const Results& results, Table& table)
{
    const std::optional<double> left = results.Counter("memory/idle", "left");
    if (left) {
        table.CompareBytes("heap of one idle source", results.Counter("memory/idle", "heap"), kIdleLimit,
                           "mean of 16, started; resident memory " +
                               BytesText(*results.Counter("memory/idle", "resident")) +
                               " with its thread's stack");
        table.CompareBytes("heap left after 16 sources", left, 0.0, "created, started and destroyed");
    }
    const std::optional<double> resident = results.Counter("memory/growth", "resident");
    if (resident) {
        table.CompareBytes("heap growth over 1,000,000 samples", results.Counter("memory/growth", "heap"),
                           kGrowthLimit,
                           "2 KB each, AddData to the callback; resident memory +" + BytesText(*resident));
    }
}

} // namespace

const Subject kMemorySubject = {Register, Report, nullptr, nullptr};

} // namespace TTMLBench
