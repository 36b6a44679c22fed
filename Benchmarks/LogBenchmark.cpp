// One log line below the threshold and one above it, written to /dev/null.

#include <benchmark/benchmark.h>
#include <pthread.h>

#include "BareVariadic.h"
#include "Log.h"
#include "SilentStderr.h"
#include "Subjects.h"

namespace TTMLBench {

namespace {

void Below(benchmark::State& state)
{
    for (auto _ : state) {
        TTML_LOGI("index[%d], timestamp[%lld]", 17, 123456789LL);
    }
}

void Above(benchmark::State& state)
{
    const SilentStderr silent;
    if (!silent.IsSilent()) {
        state.SkipWithError("stderr could not be sent to /dev/null");
        return;
    }
    for (auto _ : state) {
        TTML_LOGW("index[%d], timestamp[%lld]", 17, 123456789LL);
    }
}

void Bare(benchmark::State& state)
{
    for (auto _ : state) {
        char name[16];
        pthread_getname_np(pthread_self(), name, sizeof name);
        BareVariadic(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, TTML_LOG_TAG,
                     TTML_LOG_PREFIX "index[%d], timestamp[%lld]]", "LogBenchmark.cpp", __func__, __LINE__,
                     name, static_cast<unsigned long>(pthread_self()), 17, 123456789LL);
    }
}

void Register()
{
    benchmark::RegisterBenchmark("log/below", Below);
    benchmark::RegisterBenchmark("log/above", Above);
    benchmark::RegisterBenchmark("log/bare", Bare);
}

void Report(const Results& results, Table& table)
{
    table.CompareTimes("log line below the threshold", results.Time("log/below"), results.Time("log/bare"),
                       "bare call + thread name", "nothing is formatted");
    table.CompareTimes("log line above the threshold", results.Time("log/above"), results.Time("log/bare"),
                       "bare call + thread name", "local time, format and one write() to /dev/null");
}

} // namespace

const Subject kLogSubject = {Register, Report, nullptr, nullptr};

} // namespace TTMLBench
