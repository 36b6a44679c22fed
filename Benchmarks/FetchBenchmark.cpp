// Playing a track with a URL, from PlayTrack to the callback with the document, over loopback.

#include <chrono>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include "CBBSource.h"
#include "Countdown.h"
#include "Document.h"
#include "HostPlayer.h"
#include "HttpServer.h"
#include "Subjects.h"
#include "TTMLRawDataInfo.h"

namespace TTMLBench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kFetches = 100;
constexpr char kUserAgent[] = "benchmarks";

struct DestroySource
{
    void operator()(TTML::CBBSource* source) const { source->Destroy(); }
};
struct ClosePlayer
{
    void operator()(player_s* player) const { TTMLHost::PlayerClose(player); }
};
struct CleanUpCurl
{
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using CurlHandle = std::unique_ptr<CURL, CleanUpCurl>;

// Notes when a document came; a play is over with the notice of the start.
struct Client
{
    static void OnNotice(int code, void* data)
    {
        if (code == TTML::CALLBACK_DATA) {
            const std::unique_ptr<TTML::TTMLRawDataInfo> caption(static_cast<TTML::TTMLRawDataInfo*>(data));
            auto* const client = static_cast<Client*>(caption->userData);
            client->cameAt = Clock::now();
            client->bytes = caption->data.size();
        } else if (code == TTML::CALLBACK_STARTED) {
            static_cast<Client*>(static_cast<TTML::TTMLStartNotice*>(data)->userData)->starts.Done();
        }
    }

    Countdown starts;
    // Read only after the start that follows.
    Clock::time_point cameAt;
    std::size_t bytes = 0;
};

void Source(benchmark::State& state)
{
    const std::string document = MakeDocument(kUsualDocumentSize);
    const HttpServer server(document);
    const std::string url = server.Url();
    Client client;
    const std::unique_ptr<player_s, ClosePlayer> player(TTMLHost::PlayerCreateIdle(1.0));
    const std::unique_ptr<TTML::CBBSource, DestroySource> source(
        TTML::CBBSource::Create(player.get(), kUserAgent));
    source->RegisterCallBack(Client::OnNotice, &client);
    source->OnStart();
    for (auto _ : state) {
        client.starts.Expect(1);
        client.bytes = 0;
        const Clock::time_point begin = Clock::now();
        source->PlayTrack(0, url.c_str(), "eng");
        client.starts.Wait();
        if (client.bytes != document.size()) {
            state.SkipWithError("the document did not come whole");
            return;
        }
        state.SetIterationTime(std::chrono::duration<double>(client.cameAt - begin).count());
    }
}

std::size_t Append(char* data, std::size_t size, std::size_t count, void* text)
{
    static_cast<std::string*>(text)->append(data, size * count);
    return size * count;
}

// The same request as the platform makes.
bool Fetch(CURL* handle, const std::string& url, std::string* text)
{
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_USERAGENT, kUserAgent);
    curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle, CURLOPT_MAXREDIRS, 10L);
    curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, 10000L);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, text);
    return curl_easy_perform(handle) == CURLE_OK;
}

void Curl(benchmark::State& state, bool reuse)
{
    const std::string document = MakeDocument(kUsualDocumentSize);
    const HttpServer server(document);
    const std::string url = server.Url();
    CurlHandle handle;
    for (auto _ : state) {
        std::string text;
        const Clock::time_point begin = Clock::now();
        if (!reuse || !handle) {
            handle.reset(curl_easy_init());
        }
        const bool fetched = handle && Fetch(handle.get(), url, &text);
        const Clock::time_point end = Clock::now();
        if (!reuse) {
            handle.reset();
        }
        if (!fetched || text != document) {
            state.SkipWithError("the document did not come whole");
            return;
        }
        state.SetIterationTime(std::chrono::duration<double>(end - begin).count());
    }
}

void Register()
{
    benchmark::RegisterBenchmark("fetch/ours", Source)->UseManualTime()->Iterations(kFetches);
    benchmark::RegisterBenchmark("fetch/curl", Curl, false)->UseManualTime()->Iterations(kFetches);
    benchmark::RegisterBenchmark("fetch/curl_reused", Curl, true)->UseManualTime()->Iterations(kFetches);
}

void Report(const Results& results, Table& table)
{
    table.CompareTimes("PlayTrack of a URL to the callback", results.Time("fetch/ours"),
                       results.Time("fetch/curl"), "libcurl, fresh handle",
                       "2 KB over loopback, one connection each");
    table.CompareTimes("PlayTrack of a URL to the callback", results.Time("fetch/ours"),
                       results.Time("fetch/curl_reused"), "libcurl, connection kept",
                       "what a kept handle and connection would save, on loopback");
}

} // namespace

const Subject kFetchSubject = {Register, Report, nullptr, nullptr};

} // namespace TTMLBench
