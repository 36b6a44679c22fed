// The library's recursive mutex, uncontended.

#include <benchmark/benchmark.h>
#include <pthread.h>

#include "IMutex.h"
#include "PlainWorker.h"
#include "Subjects.h"

namespace TTMLBench {

namespace {

// The C library locks more cheaply in a process with one thread, which no process with a source is.
class SecondThread
{
public:
    SecondThread()
        : m_worker([](void*, void*) {}, nullptr)
    {}

private:
    PlainWorker m_worker;
};

void Ours(benchmark::State& state)
{
    const SecondThread second;
    TTML::IMutex* const mutex = TTML::IMutex::Create();
    for (auto _ : state) {
        mutex->Lock();
        mutex->Unlock();
    }
    mutex->Destroy();
}

void OursNested(benchmark::State& state)
{
    const SecondThread second;
    TTML::IMutex* const mutex = TTML::IMutex::Create();
    mutex->Lock();
    for (auto _ : state) {
        mutex->Lock();
        mutex->Unlock();
    }
    mutex->Unlock();
    mutex->Destroy();
}

void Pthread(benchmark::State& state, int type, int held)
{
    const SecondThread second;
    pthread_mutexattr_t attribute;
    pthread_mutexattr_init(&attribute);
    pthread_mutexattr_settype(&attribute, type);
    pthread_mutex_t mutex;
    pthread_mutex_init(&mutex, &attribute);
    for (int i = 0; i < held; ++i) {
        pthread_mutex_lock(&mutex);
    }
    for (auto _ : state) {
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
    }
    for (int i = 0; i < held; ++i) {
        pthread_mutex_unlock(&mutex);
    }
    pthread_mutex_destroy(&mutex);
    pthread_mutexattr_destroy(&attribute);
}

void Register()
{
    benchmark::RegisterBenchmark("mutex/ours", Ours);
    benchmark::RegisterBenchmark("mutex/ours_nested", OursNested);
    benchmark::RegisterBenchmark("mutex/recursive", Pthread, PTHREAD_MUTEX_RECURSIVE, 0);
    benchmark::RegisterBenchmark("mutex/recursive_nested", Pthread, PTHREAD_MUTEX_RECURSIVE, 1);
    benchmark::RegisterBenchmark("mutex/plain", Pthread, PTHREAD_MUTEX_NORMAL, 0);
}

void Report(const Results& results, Table& table)
{
    table.CompareTimes("mutex lock and unlock", results.Time("mutex/ours"), results.Time("mutex/recursive"),
                       "recursive pthread mutex", "two virtual calls around the pthread ones");
    table.CompareTimes("mutex lock and unlock", results.Time("mutex/ours"), results.Time("mutex/plain"),
                       "plain pthread mutex", "");
    table.CompareTimes("mutex lock and unlock, held already", results.Time("mutex/ours_nested"),
                       results.Time("mutex/recursive_nested"), "recursive pthread mutex", "");
}

} // namespace

const Subject kMutexSubject = {Register, Report, nullptr, nullptr};

} // namespace TTMLBench
