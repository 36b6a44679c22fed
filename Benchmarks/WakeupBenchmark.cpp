// From the post of an event to the beginning of its processing, while the worker is idle.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <vector>

#include <benchmark/benchmark.h>

#include "CTask.h"
#include "PlainWorker.h"
#include "Subjects.h"
#include "TCallback.h"

namespace TTMLBench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSamples = 1000;

// Long enough for a worker that has handled an event to be asleep again.
constexpr std::chrono::microseconds kUntilIdle{50};

// Notes when the processing of an event began.
class Arrival
{
public:
    void OnEvent(void* /*event*/)
    {
        m_when = Clock::now();
        m_arrived.store(true, std::memory_order_release);
    }

    // Spins instead of sleeping: the poster's own core shall be awake, so that one wake-up is measured and
    // not two.
    Clock::time_point Await()
    {
        while (!m_arrived.load(std::memory_order_acquire)) {
        }
        m_arrived = false;
        const Clock::time_point when = m_when;
        const Clock::time_point idle = Clock::now() + kUntilIdle;
        while (Clock::now() < idle) {
        }
        return when;
    }

private:
    Clock::time_point m_when;
    std::atomic<bool> m_arrived{false};
};

template <typename Post>
void Measure(benchmark::State& state, Arrival& arrival, Post post)
{
    std::vector<double> latencies;
    latencies.reserve(kSamples);
    for (auto _ : state) {
        const Clock::time_point posted = Clock::now();
        post();
        const double latency = std::chrono::duration<double>(arrival.Await() - posted).count();
        latencies.push_back(latency);
        state.SetIterationTime(latency);
    }
    std::sort(latencies.begin(), latencies.end());
    state.counters["p50"] = latencies[latencies.size() / 2];
    state.counters["p99"] = latencies[latencies.size() * 99 / 100];
}

void Task(benchmark::State& state)
{
    Arrival arrival;
    TTML::CTask task;
    task.Connect(new TTML::TCallback<Arrival>(&arrival, &Arrival::OnEvent), nullptr);
    task.Start("Bench");
    Measure(state, arrival, [&] { task.SendEvent(&arrival); });
    task.Stop();
}

void OnPlainEvent(void* event, void* context)
{
    static_cast<Arrival*>(context)->OnEvent(event);
}

void Plain(benchmark::State& state)
{
    Arrival arrival;
    PlainWorker worker(OnPlainEvent, &arrival);
    Measure(state, arrival, [&] { worker.Post(&arrival); });
}

void Register()
{
    benchmark::RegisterBenchmark("wakeup/ours", Task)->UseManualTime()->Iterations(kSamples);
    benchmark::RegisterBenchmark("wakeup/plain", Plain)->UseManualTime()->Iterations(kSamples);
}

void Report(const Results& results, Table& table)
{
    table.CompareTimes("wake-up of an idle worker, p50", results.Counter("wakeup/ours", "p50"),
                       results.Counter("wakeup/plain", "p50"), "plain worker",
                       "from post to processor; 1 log line on the way");
    table.CompareTimes("wake-up of an idle worker, p99", results.Counter("wakeup/ours", "p99"),
                       results.Counter("wakeup/plain", "p99"), "plain worker",
                       "of 1000 events; tells what else the machine does");
}

} // namespace

const Subject kWakeupSubject = {Register, Report, nullptr, nullptr};

} // namespace TTMLBench
