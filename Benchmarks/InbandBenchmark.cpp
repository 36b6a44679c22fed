// A sample that the player pushes, from there to the client's callback.

#include <string>

#include <benchmark/benchmark.h>

#include "CSourceTask.h"
#include "CaptionClient.h"
#include "Countdown.h"
#include "Document.h"
#include "LineCount.h"
#include "Log.h"
#include "PlainWorker.h"
#include "Subjects.h"
#include "TTMLSubtitleExtraData.h"

namespace TTMLBench {

namespace {

constexpr std::size_t kBatch = 64;

// Log lines of a sample with segment times, on the thread that pushes it and on the in-band thread.
constexpr int kPusherLines = 11;
constexpr int kInbandLines = 6;

// A source's task with its in-band track playing.
class PlayingTask
{
public:
    PlayingTask()
        : m_document(MakeDocument(kUsualDocumentSize))
    {
        m_extra.segStartTime = "00:12:34.560";
        m_extra.segEndTime = "00:12:36.560";
        m_task.RegisterCallBack(CaptionClient::OnNotice, &m_client);
        m_task.StartSourceThread();
        m_client.starts.Expect(1);
        m_task.PlayTrack(1, nullptr, "eng");
        m_client.starts.Wait();
    }

    void Deliver(std::size_t count)
    {
        m_client.captions.Expect(count);
        for (std::size_t i = 0; i < count; ++i) {
            m_extra.timestamp += 2000;
            ++m_extra.index;
            m_task.OnSubtitleData(m_document.data(), m_extra);
        }
        m_client.captions.Wait();
    }

private:
    std::string m_document;
    CaptionClient m_client;
    TTML::TTMLSubtitleExtraData m_extra;
    TTML::CSourceTask m_task;
};

void Task(benchmark::State& state)
{
    PlayingTask playing;
    for (auto _ : state) {
        playing.Deliver(kBatch);
    }
}

void WriteLines(int count)
{
    for (int i = 0; i < count; ++i) {
        TTML_LOGI("Enter");
    }
}

void OnCopy(void* event, void* context)
{
    delete static_cast<std::string*>(event);
    static_cast<Countdown*>(context)->Done();
}

void OnCopyWithLines(void* event, void* context)
{
    WriteLines(kInbandLines);
    OnCopy(event, context);
}

void Plain(benchmark::State& state, PlainWorker::Processor processor, int lines)
{
    const std::string document = MakeDocument(kUsualDocumentSize);
    Countdown countdown;
    PlainWorker worker(processor, &countdown);
    for (auto _ : state) {
        countdown.Expect(kBatch);
        for (std::size_t i = 0; i < kBatch; ++i) {
            WriteLines(lines);
            // From a zero-terminated text, as the player gives it.
            const char* const text = document.c_str();
            worker.Post(new std::string(text));
        }
        countdown.Wait();
    }
}

void Line(benchmark::State& state)
{
    for (auto _ : state) {
        WriteLines(1);
    }
}

void Work(std::size_t count)
{
    PlayingTask playing;
    playing.Deliver(count);
}

void Register()
{
    benchmark::RegisterBenchmark("inband/ours", Task)->UseRealTime();
    benchmark::RegisterBenchmark("inband/plain", Plain, OnCopy, 0)->UseRealTime();
    benchmark::RegisterBenchmark("inband/plain_with_lines", Plain, OnCopyWithLines, kPusherLines)
        ->UseRealTime();
    benchmark::RegisterBenchmark("inband/line", Line);
}

void Report(const Results& results, Table& table)
{
    const std::optional<double> ours = results.Time("inband/ours", kBatch);
    const std::optional<double> line = results.Time("inband/line");
    if (!ours || !line) {
        return;
    }
    const std::optional<double> lines = LinesPerItem(kInbandSubject.workload);
    std::string note = LinesText(lines, "a sample on two threads");
    if (lines) {
        note += ", " + TimeText(*lines * *line) + " of work";
    }
    table.CompareTimes("2 KB sample, AddData to the callback", ours, results.Time("inband/plain", kBatch),
                       "copy by plain worker", note);
    table.CompareTimes("2 KB sample, AddData to the callback", ours,
                       results.Time("inband/plain_with_lines", kBatch), "copy and 17 lines",
                       "what is left when the reference logs as much");
}

} // namespace

const Subject kInbandSubject = {Register, Report, "sample", Work};

} // namespace TTMLBench
