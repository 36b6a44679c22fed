// Posting events to the library's task and having them handled, beside a plain worker.

#include <benchmark/benchmark.h>

#include "CTask.h"
#include "Countdown.h"
#include "LineCount.h"
#include "Log.h"
#include "PlainWorker.h"
#include "Subjects.h"
#include "TCallback.h"

namespace TTMLBench {

namespace {

constexpr std::size_t kBatch = 1000;
constexpr int kLinesOfAnEvent = 4;

class CountingProcessor
{
public:
    void OnEvent(void* /*event*/) { m_countdown.Done(); }
    Countdown& Events() { return m_countdown; }

private:
    Countdown m_countdown;
};

// A task that runs, and what it feeds.
struct RunningTask
{
    RunningTask()
    {
        task.Connect(new TTML::TCallback<CountingProcessor>(&processor, &CountingProcessor::OnEvent),
                     nullptr);
        task.Start("Bench");
    }

    void Handle(std::size_t count)
    {
        processor.Events().Expect(count);
        for (std::size_t i = 0; i < count; ++i) {
            task.SendEvent(this);
        }
        processor.Events().Wait();
    }

    CountingProcessor processor;
    TTML::CTask task;
};

void Task(benchmark::State& state)
{
    RunningTask running;
    for (auto _ : state) {
        running.Handle(kBatch);
    }
}

void OnPlainEvent(void* /*event*/, void* context)
{
    static_cast<Countdown*>(context)->Done();
}

template <typename BeforePost>
void PlainWith(benchmark::State& state, BeforePost beforePost)
{
    Countdown countdown;
    PlainWorker worker(OnPlainEvent, &countdown);
    for (auto _ : state) {
        countdown.Expect(kBatch);
        for (std::size_t i = 0; i < kBatch; ++i) {
            beforePost();
            worker.Post(&countdown);
        }
        countdown.Wait();
    }
}

void Plain(benchmark::State& state)
{
    PlainWith(state, [] {});
}

// A poster that is busy with lines lets the worker catch up and fall asleep, so that each event wakes it: the
// lines cost more than their own time.
void PlainWithLines(benchmark::State& state)
{
    PlainWith(state, [] {
        for (int i = 0; i < kLinesOfAnEvent; ++i) {
            TTML_LOGI("Enter");
        }
    });
}

// What the lines of one event cost alone, as the library writes them and as bare calls.

void Lines(benchmark::State& state)
{
    for (auto _ : state) {
        for (int i = 0; i < kLinesOfAnEvent; ++i) {
            TTML_LOGI("Enter");
        }
    }
}

void BareLogCalls(benchmark::State& state)
{
    for (auto _ : state) {
        for (int i = 0; i < kLinesOfAnEvent; ++i) {
            __dlog_print(PLATFORM_LOG_MAIN, PLATFORM_LOG_INFO, TTML_LOG_TAG, TTML_LOG_PREFIX "Enter]",
                         "TaskBenchmark.cpp", "BareLogCalls", 1, "main", 1UL);
        }
    }
}

void Work(std::size_t count)
{
    RunningTask running;
    running.Handle(count);
}

void Register()
{
    benchmark::RegisterBenchmark("task/ours", Task)->UseRealTime();
    benchmark::RegisterBenchmark("task/plain", Plain)->UseRealTime();
    benchmark::RegisterBenchmark("task/plain_with_lines", PlainWithLines)->UseRealTime();
    benchmark::RegisterBenchmark("task/lines", Lines);
    benchmark::RegisterBenchmark("task/bare_log_calls", BareLogCalls);
}

void Report(const Results& results, Table& table)
{
    const std::optional<double> ours = results.Time("task/ours", kBatch);
    const std::optional<double> lines = results.Time("task/lines");
    if (ours) {
        table.CompareTimes(
            "event posted and handled", ours, results.Time("task/plain", kBatch), "plain worker",
            LinesText(LinesPerItem(kTaskSubject.workload), "an event") + ", all on the posting thread");
    }
    table.CompareTimes("event posted and handled", ours, results.Time("task/plain_with_lines", kBatch),
                       "plain worker + 4 lines", "what is left when the reference logs as much");
    table.CompareTimes("4 log lines below threshold", lines, results.Time("task/bare_log_calls"),
                       "4 bare log calls", "a line looks up the thread's name, a bare call does not");
}

} // namespace

const Subject kTaskSubject = {Register, Report, "event", Work};

} // namespace TTMLBench
