// A whole transport stream played as fast as it can be read, by the client and by other programs.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "ChildProcess.h"
#include "ProcessMemory.h"
#include "StreamFile.h"
#include "Subjects.h"

namespace TTMLBench {

namespace {

constexpr std::size_t kStreamBytes = std::size_t{1} << 30;
constexpr int kRuns = 9;
constexpr double kMemoryLimit = 16.0 * 1024.0 * 1024.0;
constexpr std::size_t kEarlyShare = 4; // a quarter of the run
constexpr std::chrono::microseconds kBetweenLooks{500};

using Command = std::vector<std::string>;

Command Ours(const std::string& path)
{
    return {TTMLSRC_PROGRAM, "dvb", path, "--fast"};
}

Command OursForPrograms(const std::string& path)
{
    return {TTMLSRC_PROGRAM, "dvb", path, "--fast", "--json"};
}

Command Ffmpeg(const std::string& path)
{
    return {"ffmpeg", "-nostdin", "-y", "-i", path, "-map", "0:d", "-c", "copy", "-f", "data", "/dev/null"};
}

Command FfmpegToOutput(const std::string& path)
{
    return {"ffmpeg", "-nostdin", "-i", path, "-map", "0:d", "-c", "copy", "-f", "data", "pipe:1"};
}

Command Cat(const std::string& path)
{
    return {"cat", path};
}

// What a program puts out.
std::string OutputOf(const Command& command)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), std::fclose);
    if (!file) {
        throw std::runtime_error("no temporary file can be made");
    }
    ChildProcess(command, fileno(file.get())).Wait();
    std::rewind(file.get());
    std::string output;
    char buffer[65536];
    for (std::size_t size = 0; (size = std::fread(buffer, 1, sizeof buffer, file.get())) > 0;) {
        output.append(buffer, size);
    }
    return output;
}

std::size_t CountOf(const std::string& what, const std::string& text)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

void Expect(std::size_t wanted, std::size_t got, const std::string& what)
{
    if (got != wanted) {
        throw std::runtime_error(what + ": " + std::to_string(got) + " of " + std::to_string(wanted));
    }
}

// The stream that all are given. Made when it is wanted first; that both programs find every document in it
// is seen before anything is measured.
const StreamFile& Stream()
{
    static const StreamFile stream(kStreamBytes);
    static const bool checked = [] {
        const std::string path = stream.Path();
        Expect(stream.Documents(), CountOf(R"({"code":0,)", OutputOf(OursForPrograms(path))),
               "documents that the client delivers");
        Expect(stream.DataFieldBytes(), OutputOf(FfmpegToOutput(path)).size(),
               "bytes of documents that ffmpeg copies");
        return true;
    }();
    static_cast<void>(checked);
    return stream;
}

// What a failure is to the benchmarks.
template <typename Run>
void RunOrSkip(benchmark::State& state, Run run)
{
    try {
        for (auto _ : state) {
            run();
        }
    } catch (const std::exception& failure) {
        state.SkipWithError(failure.what());
    }
}

void Play(benchmark::State& state, Command (*command)(const std::string& path))
{
    RunOrSkip(state, [&] {
        const Command words = command(Stream().Path());
        ChildProcess child(words);
        child.Wait();
        state.SetIterationTime(child.Seconds());
        state.counters["processor"] = child.ProcessorSeconds();
    });
}

double MostOf(std::vector<double>::const_iterator begin, std::vector<double>::const_iterator end)
{
    return begin == end ? 0.0 : *std::max_element(begin, end);
}

// Looked at while it runs, and so not timed.
void Memory(benchmark::State& state)
{
    RunOrSkip(state, [&] {
        ChildProcess child(Ours(Stream().Path()));
        std::vector<double> anonymous;
        double peak = 0.0;
        while (!child.HasEnded()) {
            const ProcessMemory now = ReadProcessMemory(child.Id());
            anonymous.push_back(now.anonymous);
            peak = std::max(peak, now.peak);
            std::this_thread::sleep_for(kBetweenLooks);
        }
        child.Wait();
        const auto early = anonymous.begin() + static_cast<std::ptrdiff_t>(anonymous.size() / kEarlyShare);
        state.counters["early"] = MostOf(anonymous.begin(), early);
        state.counters["anonymous"] = MostOf(anonymous.begin(), anonymous.end());
        state.counters["peak"] = peak;
    });
}

void Register()
{
    benchmark::RegisterBenchmark("stream/ours", Play, Ours)
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(kRuns);
    benchmark::RegisterBenchmark("stream/ffmpeg", Play, Ffmpeg)
        ->UseManualTime()
        ->Iterations(1)
        ->Repetitions(kRuns);
    benchmark::RegisterBenchmark("stream/cat", Play, Cat)->UseManualTime()->Iterations(1)->Repetitions(kRuns);
    benchmark::RegisterBenchmark("stream/memory", Memory)->Iterations(1)->Repetitions(1);
}

void Compare(const Results& results, Table& table, const std::string& reference, const char* name,
             const std::string& note)
{
    const std::optional<double> ours = results.Counter("stream/ours", "processor");
    const std::optional<double> theirs = results.Counter(reference, "processor");
    if (ours && theirs) {
        table.CompareTimes("ttmlsrc dvb --fast, 1 GiB stream", results.Time("stream/ours"),
                           results.Time(reference), name,
                           note + "; processor time " + TimeText(*ours) + " and " + TimeText(*theirs));
    }
}

void Report(const Results& results, Table& table)
{
    Compare(results, table, "stream/ffmpeg", "ffmpeg -c copy", "at most 0.67 wanted");
    Compare(results, table, "stream/cat", "cat", "at most 2 wanted");
    const std::optional<double> early = results.Counter("stream/memory", "early");
    if (early) {
        table.CompareBytes("memory of that run", results.Counter("stream/memory", "anonymous"), kMemoryLimit,
                           "all but pages of files; in the first quarter " + BytesText(*early) +
                               "; with programs' and libraries' pages " +
                               BytesText(*results.Counter("stream/memory", "peak")));
    }
}

} // namespace

const Subject kStreamSubject = {Register, Report, nullptr, nullptr};

} // namespace TTMLBench
