// Plays one kind of source round after round and tells what the process holds:
//   soak KIND SECONDS REPORT_SECONDS STEP_MS SERVER TRANSPORT
// Ends with 1 when a round fails or delivers nothing, or when what is held grows.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "ProcessUsage.h"
#include "Round.h"

namespace {

using TTMLSoak::ProcessUsage;
using Clock = std::chrono::steady_clock;

// What the heap may differ by between two rounds: caches of libraries, and what other threads just free.
constexpr std::size_t kHeapTolerance = 16UL * 1024;
// What the heap gives for the smallest object.
constexpr std::size_t kParserBytes = 32;

struct Totals
{
    long rounds = 0;
    long delivered = 0;
    long tunes = 0;
};

double Kib(std::size_t bytes)
{
    return static_cast<double>(bytes) / 1024;
}

void Report(const std::string& kind, Clock::duration since, const Totals& totals, const ProcessUsage& playing,
            const ProcessUsage& idle)
{
    const long seconds = static_cast<long>(std::chrono::duration_cast<std::chrono::seconds>(since).count());
    std::printf(
        "%-9s %02ld:%02ld:%02ld  playing: heap %7.1f KiB, %2d threads, %2d files  idle: heap %7.1f KiB, %2d "
        "threads, %2d files, resident %6.1f MiB  %ld documents, %ld tunes, %ld sources\n",
        kind.c_str(), seconds / 3600, seconds / 60 % 60, seconds % 60, Kib(playing.heapBytes),
        playing.threads, playing.files, Kib(idle.heapBytes), idle.threads, idle.files,
        Kib(idle.residentBytes) / 1024, totals.delivered, totals.tunes, totals.rounds);
    std::fflush(stdout);
}

// The first round fills caches; every later one must leave what the second left. A DVB source's packet parser
// is never freed.
bool IsFlat(const std::string& kind, long rounds, const ProcessUsage& second, const ProcessUsage& last)
{
    if (rounds < 3) {
        std::printf("%-9s too short to tell whether it is flat: fewer than 3 rounds\n", kind.c_str());
        return false;
    }
    const std::size_t kept = kind == "dvb" ? static_cast<std::size_t>(rounds) * kParserBytes : 0;
    const bool flat = last.heapBytes <= second.heapBytes + kHeapTolerance + kept &&
                      last.threads <= second.threads && last.files <= second.files;
    std::printf("%-9s %s: heap %+.1f KiB, threads %+d, files %+d after %ld rounds\n", kind.c_str(),
                flat ? "flat" : "GROWS", Kib(last.heapBytes) - Kib(second.heapBytes),
                last.threads - second.threads, last.files - second.files, rounds);
    return flat;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 7) {
        std::fprintf(stderr, "usage: soak KIND SECONDS REPORT_SECONDS STEP_MS SERVER TRANSPORT\n");
        return 2;
    }
    const std::string kind = argv[1];
    const std::chrono::seconds length(std::atoi(argv[2]));
    const std::chrono::seconds interval(std::atoi(argv[3]));
    const std::unique_ptr<TTMLSoak::Round> round =
        TTMLSoak::MakeRound(kind, {argv[5], argv[6], std::chrono::milliseconds(std::atoi(argv[4]))});
    if (!round) {
        std::fprintf(stderr, "soak: there is no kind '%s'; give broadband, dvb or atsc3\n", kind.c_str());
        return 2;
    }

    const Clock::time_point start = Clock::now();
    Clock::time_point due = start + interval;
    Totals totals;
    ProcessUsage second;
    ProcessUsage last;
    while (Clock::now() - start < length) {
        const TTMLSoak::RoundResult result = round->Play();
        ++totals.rounds;
        totals.delivered += result.delivered;
        totals.tunes += result.tunes;
        last = ProcessUsage::Now();
        if (totals.rounds == 2) {
            second = last;
        }
        if (!result.failure.empty() || result.delivered == 0) {
            std::printf("%-9s round %ld failed: %s\n", kind.c_str(), totals.rounds,
                        result.failure.empty() ? "nothing was delivered" : result.failure.c_str());
            return 1;
        }
        if (Clock::now() >= due) {
            Report(kind, Clock::now() - start, totals, result.playing, last);
            due += interval;
        }
    }
    return IsFlat(kind, totals.rounds, second, last) ? 0 : 1;
}
