// Runs the benchmarks and prints one table. Options of Google Benchmark may be given, among them
// --benchmark_filter=REGEX and --benchmark_repetitions=N. Ends with 1 when a limit is broken or a
// benchmark failed.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "LineCount.h"
#include "Results.h"
#include "Subjects.h"
#include "Table.h"
#include "TemporaryFolder.h"

namespace TTMLBench {

namespace {

const Subject* const kSubjects[] = {
    &kTaskSubject,          &kWakeupSubject,  &kMutexSubject,         &kLogSubject,
    &kInbandSubject,        &kFetchSubject,   &kPesParserSubject,     &kPesDeliverySubject,
    &kStreamSubject,        &kCaptionSubject, &kCaptionRepeatSubject, &kMpdSubject,
    &kBroadbandTimeSubject, &kDvbTimeSubject, &kAtscTimeSubject,      &kMemorySubject,
};

std::string ProcessorName()
{
    std::ifstream info("/proc/cpuinfo");
    std::string line;
    while (std::getline(info, line)) {
        const std::size_t colon = line.find(": ");
        if (line.compare(0, 10, "model name") == 0 && colon != std::string::npos) {
            return line.substr(colon + 2);
        }
    }
    return "unknown processor";
}

double LoadAverage()
{
    double load = 0.0;
    return getloadavg(&load, 1) == 1 ? load : 0.0;
}

// The part of a run whose log lines the parent process counts.
int RunWorkload(const char* name, const char* count)
{
    for (const Subject* subject : kSubjects) {
        if (subject->workload != nullptr && std::strcmp(subject->workload, name) == 0) {
            subject->work(std::strtoul(count, nullptr, 10));
            return 0;
        }
    }
    std::cerr << "benchmarks: there is no workload '" << name << "'\n";
    return 2;
}

int Run(int argc, char** argv)
{
    // Repetitions of all benchmarks are interleaved, so that a spell in which the machine was busy hits a
    // figure and its reference alike. What the caller gives comes later and wins.
    std::vector<std::string> arguments = {argv[0], "--benchmark_repetitions=25",
                                          "--benchmark_enable_random_interleaving=true",
                                          "--benchmark_min_time=0.02"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    int count = static_cast<int>(pointers.size());
    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) {
        return 2;
    }
    for (const Subject* subject : kSubjects) {
        subject->registerBenchmarks();
    }

    const double loadBefore = LoadAverage();
    std::cerr << "Measuring; this takes about a minute.\n";
    Results results;
    benchmark::RunSpecifiedBenchmarks(&results);

    Table table;
    for (const Subject* subject : kSubjects) {
        subject->report(results, table);
    }
    std::printf("%s, %ld cores; load average %.2f before, %.2f after; medians of the repetitions\n\n",
                ProcessorName().c_str(), sysconf(_SC_NPROCESSORS_ONLN), loadBefore, LoadAverage());
    table.Print(std::cout);
    for (const std::string& error : results.Errors()) {
        std::cerr << "benchmarks: " << error << '\n';
    }
    return results.Errors().empty() && !table.AnyLimitBroken() ? 0 : 1;
}

} // namespace

} // namespace TTMLBench

int main(int argc, char** argv)
{
    if (argc == 4 && std::strcmp(argv[1], TTMLBench::kCountLinesOption) == 0) {
        return TTMLBench::RunWorkload(argv[2], argv[3]);
    }
    try {
        // Settings that the user has made would be measured, too.
        const TTMLBench::TemporaryFolder folder;
        // The platform reads its threshold with the first line. At this one information lines are below it
        // and warnings above, which the log's own benchmarks rely on.
        if (setenv("TTML_SETTINGS", (folder.Path() + "/settings.db").c_str(), 1) != 0 ||
            setenv("TTML_LOG", "warning", 1) != 0) {
            std::perror("benchmarks: setenv");
            return 1;
        }
        return TTMLBench::Run(argc, argv);
    } catch (const std::exception& failure) {
        std::cerr << "benchmarks: " << failure.what() << '\n';
        return 1;
    }
}
