// One log line below the threshold and one above it, written to /dev/null.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include "BareVariadic.h"
#include "Log.h"
#include "Subjects.h"

namespace TTMLBench {

namespace {

// Sends stderr to /dev/null while it lives.
class SilentStderr
{
public:
    SilentStderr()
        : m_kept(dup(STDERR_FILENO))
    {
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (m_kept >= 0 && null >= 0) {
            m_silent = dup2(null, STDERR_FILENO) >= 0;
        }
        if (null >= 0) {
            close(null);
        }
    }

    ~SilentStderr()
    {
        if (m_kept >= 0) {
            (void)dup2(m_kept, STDERR_FILENO);
            close(m_kept);
        }
    }

    SilentStderr(const SilentStderr&) = delete;
    SilentStderr& operator=(const SilentStderr&) = delete;

    bool IsSilent() const { return m_silent; }

private:
    int m_kept;
    bool m_silent = false;
};

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
