// The source task's events: what each command queues, what the dispatcher does with it, and on which
// thread.

#include <atomic>
#include <csignal>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CSourceTask.h"
#include "PrivateAccess.h"
#include "ScriptedPlatform.h"
#include "SourceEvents.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"
#include "VtableSlot.h"

TTML_EXPOSE(TaskDataMutex, TTML::CSourceTask, TTML::IMutex*, m_pDataMutex)
TTML_EXPOSE(TaskStateBefore, TTML::CSourceTask, std::atomic<int>, m_nStateBeforePause)
TTML_EXPOSE_FUNCTION(TaskAddToQueue, bool (TTML::CSourceTask::*)(void*), TTML::CSourceTask::m_AddToQueue)

namespace TTMLTest {

namespace {

using TTML::CSourceTask;
using TTML::SourceCallbackData;
using TTML::SourceHeader;
using TTML::SourcePauseData;
using TTML::SourcePlayData;
using TTML::SourceSeekData;
using TTML::TTMLRawDataInfo;

class SourceTaskEvents : public SourceTaskTest
{
protected:
    // The only record in the queue, as the kind that it is expected to be.
    template <class Record>
    Record* OnlyRecord()
    {
        const std::deque<void*> queued = Queued(*m_task);
        EXPECT_EQ(queued.size(), 1U);
        return queued.size() == 1 ? dynamic_cast<Record*>(static_cast<SourceHeader*>(queued.front()))
                                  : nullptr;
    }
    void ExpectOnlyHeader(int type)
    {
        const auto* record = OnlyRecord<SourceHeader>();
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->type, type);
    }
};

// A record that tells when it is deleted.
template <class Base>
struct Tracked : Base
{
    explicit Tracked(bool* pDeleted)
        : m_pDeleted(pDeleted)
    {}
    ~Tracked() override { *m_pDeleted = true; }

    bool* m_pDeleted;
};

// What a function that was posted to the source thread was called with.
struct PostedCall
{
    static void Run(int code, void* data)
    {
        auto* const self = static_cast<PostedCall*>(data);
        self->code = code;
        self->thread = ThisThreadName();
        self->done.Open();
    }

    int code = -1;
    std::string thread;
    Gate done{"the posted function has run"};
};

// Records and their codes.

TEST(SourceRecords, HaveTheirDefaults)
{
    const SourceHeader header;
    EXPECT_EQ(header.type, -1);
    const SourcePlayData play;
    EXPECT_EQ(play.type, -1);
    EXPECT_EQ(play.trackId, 0U);
    EXPECT_EQ(play.url, "");
    EXPECT_FALSE(play.inBand);
    const SourcePauseData pause;
    EXPECT_EQ(pause.type, -1);
    EXPECT_FALSE(pause.argument);
    const SourceSeekData seek;
    EXPECT_EQ(seek.type, -1);
    EXPECT_EQ(seek.position, 0);
    const SourceCallbackData callback;
    EXPECT_EQ(callback.type, -1);
    EXPECT_EQ(callback.data, nullptr);
    EXPECT_EQ(callback.function, nullptr);
    static_assert(std::has_virtual_destructor_v<SourceHeader>);
}

TEST(SourceRecords, RawDataHasItsDefaults)
{
    const TTMLRawDataInfo record;
    EXPECT_EQ(record.index, 0);
    EXPECT_EQ(record.dataType, -1);
    EXPECT_EQ(record.timestamp, 0);
    EXPECT_EQ(record.segStartTimeMs, 0);
    EXPECT_EQ(record.segEndTimeMs, 0);
    EXPECT_EQ(record.trackDescriptor, "");
    EXPECT_EQ(record.data, "");
    EXPECT_EQ(record.secondaryData, "");
    EXPECT_EQ(record.userData, nullptr);
}

TEST(SourceTaskSlots, AreInOrder)
{
    struct Probe : CSourceTask
    {
        virtual void Added() {}
    };
    EXPECT_EQ(VtableSlot(&CSourceTask::OnErrorDownloadableFonts), 2U);
    EXPECT_EQ(VtableSlot(&CSourceTask::OnShow), 3U);
    EXPECT_EQ(VtableSlot(&CSourceTask::OnHide), 4U);
    EXPECT_EQ(VtableSlot(&Probe::Added), 5U);
}

TEST_F(SourceTaskEvents, BeginsInvalidWithAnInbandQueue)
{
    EXPECT_EQ(TrackState(*m_task), 0);
    EXPECT_EQ(Private<TaskStateBefore>(*m_task), 0);
    EXPECT_NE(TaskMutex(*m_task), nullptr);
    EXPECT_EQ(Private<TaskDataMutex>(*m_task), nullptr);
    EXPECT_TRUE(IsInband(*m_task));
    EXPECT_FALSE(IsPlayPending(*m_task));
    EXPECT_FALSE(IsSeekStarted(*m_task));
    EXPECT_NE(InbandQueue(*m_task), nullptr);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I Initialize end"}));
    EXPECT_EQ(ScriptedLog::CountOf({"CSourceTask", "", "CSourceTask.cpp"}), 1U);
}

TEST_F(SourceTaskEvents, PlayWithAUrlQueuesAnOutOfBandRecord)
{
    EXPECT_EQ(m_task->PlayTrack(5, "http://host/a.ttml", "eng"), 0U);
    const auto* record = OnlyRecord<SourcePlayData>();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->type, 0);
    EXPECT_EQ(record->trackId, 5U);
    EXPECT_EQ(record->url, "http://host/a.ttml");
    EXPECT_FALSE(record->inBand);
    EXPECT_FALSE(IsInband(*m_task));
}

TEST_F(SourceTaskEvents, PlayWithAnEmptyUrlQueuesAnInbandRecord)
{
    m_task->PlayTrack(1, "http://host/a.ttml", "eng");
    EXPECT_EQ(m_task->PlayTrack(4294967295U, "", nullptr), 0U);
    ASSERT_EQ(Queued(*m_task).size(), 2U);
    const auto* record = dynamic_cast<SourcePlayData*>(static_cast<SourceHeader*>(Queued(*m_task).back()));
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->type, 0);
    EXPECT_EQ(record->trackId, 4294967295U);
    EXPECT_EQ(record->url, "");
    EXPECT_TRUE(record->inBand);
    EXPECT_TRUE(IsInband(*m_task));
}

TEST_F(SourceTaskEvents, PlayWithANullUrlQueuesAnInbandRecord)
{
    EXPECT_EQ(m_task->PlayTrack(2, nullptr, nullptr), 0U);
    const auto* record = OnlyRecord<SourcePlayData>();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->url, "");
    EXPECT_TRUE(record->inBand);
    EXPECT_TRUE(IsInband(*m_task));
}

TEST_F(SourceTaskEvents, PauseQueuesItsArgument)
{
    EXPECT_EQ(m_task->PauseTrack(true), 0U);
    EXPECT_EQ(m_task->PauseTrack(false), 0U);
    const std::deque<void*> queued = Queued(*m_task);
    ASSERT_EQ(queued.size(), 2U);
    for (const bool argument : {true, false}) {
        const auto* record =
            dynamic_cast<SourcePauseData*>(static_cast<SourceHeader*>(queued[argument ? 0 : 1]));
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->type, 1);
        EXPECT_EQ(record->argument, argument);
    }
}

TEST_F(SourceTaskEvents, ResumeQueuesCodeTwo)
{
    EXPECT_EQ(m_task->ResumeTrack(), 0U);
    ExpectOnlyHeader(2);
}

TEST_F(SourceTaskEvents, StopQueuesCodeThree)
{
    EXPECT_EQ(m_task->StopTrack(), 0U);
    ExpectOnlyHeader(3);
}

TEST_F(SourceTaskEvents, SeekStartQueuesItsPosition)
{
    EXPECT_EQ(m_task->SeekStart(-9000000000LL), 0U);
    const auto* record = OnlyRecord<SourceSeekData>();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->type, 4);
    EXPECT_EQ(record->position, -9000000000LL);
}

TEST_F(SourceTaskEvents, SeekCompletedQueuesCodeFive)
{
    EXPECT_EQ(m_task->SeekCompleted(), 0U);
    ExpectOnlyHeader(5);
}

TEST_F(SourceTaskEvents, APostedFunctionIsQueuedWithCodeEight)
{
    int data = 0;
    EXPECT_TRUE(m_task->SendEventToSourceThread(&data, &PostedCall::Run));
    const auto* record = OnlyRecord<SourceCallbackData>();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->type, 8);
    EXPECT_EQ(record->data, &data);
    EXPECT_EQ(record->function, &PostedCall::Run);
}

TEST_F(SourceTaskEvents, ANullRecordIsNotQueued)
{
    EXPECT_FALSE(CallPrivate<TaskAddToQueue>(*m_task, nullptr));
    EXPECT_EQ(Queued(*m_task).size(), 0U);
}

// Failing allocations.

TEST_F(SourceTaskEvents, ACommandWithoutMemoryForItsRecordFailsSilently)
{
    struct Command
    {
        const char* name;
        std::function<unsigned int()> run;
    };
    const std::vector<Command> commands = {
        {"PlayTrack", [&] { return m_task->PlayTrack(1, "", nullptr); }},
        {"PauseTrack", [&] { return m_task->PauseTrack(true); }},
        {"ResumeTrack", [&] { return m_task->ResumeTrack(); }},
        {"StopTrack", [&] { return m_task->StopTrack(); }},
        {"SeekStart", [&] { return m_task->SeekStart(1); }},
        {"SeekCompleted", [&] { return m_task->SeekCompleted(); }},
    };
    ScriptedLog::Clear();
    for (const auto& command : commands) {
        const FaultInjection noMemory(Call::NEW_NOTHROW);
        EXPECT_EQ(command.run(), 1U) << command.name;
        EXPECT_EQ(noMemory.Failed(), 1U) << command.name;
    }
    EXPECT_EQ(Queued(*m_task).size(), 0U);
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 0);
}

TEST_F(SourceTaskEvents, APostedFunctionWithoutMemoryStopsTheProcess)
{
    // The name of the binary stands before the text of the system's assertion message.
    EXPECT_EXIT(
        {
            const FaultInjection noMemory(Call::NEW_NOTHROW);
            m_task->SendEventToSourceThread(nullptr, &PostedCall::Run);
        },
        ::testing::KilledBySignal(SIGABRT),
        ": Source/Internal/Src/CSourceTask\\.cpp:[0-9]+: void "
        "TTML::CSourceTask::SendEventToSourceThread\\(void\\*, TTML::SourceCallbackFunc\\): Assertion "
        "`pSourceData' failed\\.");
}

TEST_F(SourceTaskEvents, ACommandThatCannotBeQueuedSaysSo)
{
    // Pins: m_Post.
    Start();
    struct Command
    {
        const char* name;
        std::function<unsigned int()> run;
        int state; // afterwards
    };
    const std::vector<Command> commands = {
        {"PlayTrack", [&] { return m_task->PlayTrack(1, "", nullptr); }, 2},
        {"StopTrack", [&] { return m_task->StopTrack(); }, 2},
        {"SeekStart", [&] { return m_task->SeekStart(1); }, 2},
        {"SeekCompleted", [&] { return m_task->SeekCompleted(); }, 2},
        {"PauseTrack", [&] { return m_task->PauseTrack(true); }, 6},
        {"ResumeTrack", [&] { return m_task->ResumeTrack(); }, 6},
    };
    for (const auto& command : commands) {
        m_task->StartSourceThread(); // back to the state 2
        unsigned int result = 7;
        WithFullQueue([&] { result = command.run(); },
                      [&] {
                          EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Failed to add data in queue"}))
                              << command.name;
                          EXPECT_EQ(ScriptedLog::CountOf(
                                        {command.name, "Failed to add data in queue", "CSourceTask.cpp"}),
                                    1U)
                              << command.name;
                          EXPECT_EQ(TrackState(*m_task), command.state) << command.name;
                      });
        EXPECT_EQ(result, 1U) << command.name;
        m_task->StopSourceThread();
    }
    EXPECT_EQ(m_client.Events(), Texts{}) << "a command that was refused is carried out";
}

TEST_F(SourceTaskEvents, APostedFunctionThatCannotBeQueuedIsTheCallers)
{
    Start();
    PostedCall call;
    bool queued = true;
    WithFullQueue([&] { queued = m_task->SendEventToSourceThread(&call, &PostedCall::Run); },
                  [] { EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Failed to add data in queue"})); });
    EXPECT_FALSE(queued);
    m_task->StopSourceThread();
    EXPECT_FALSE(call.done.IsOpen());
}

TEST_F(SourceTaskEvents, WorksOnAfterAQueueThatCouldNotGrow)
{
    Start();
    unsigned int result = 7;
    WithFullQueue([&] { result = m_task->PlayTrack(1, "", nullptr); });
    EXPECT_EQ(result, 1U);
    Do([&] { EXPECT_EQ(m_task->PlayTrack(1, "", nullptr), 0U); });
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source"}));
}

// The thread and its queue.

TEST_F(SourceTaskEvents, RunsItsHandlersOnTheSourceThread)
{
    Start();
    PostedCall call;
    EXPECT_TRUE(m_task->SendEventToSourceThread(&call, &PostedCall::Run));
    call.done.Wait();
    EXPECT_EQ(call.code, 14);
    EXPECT_EQ(call.thread, "Source");
}

TEST_F(SourceTaskEvents, HandlesEventsInTheOrderOfTheirArrival)
{
    Start();
    m_task->StopSourceThread();
    m_client.Clear();
    {
        const SourceThreadHold hold(*m_task);
        m_task->PlayTrack(1, "", nullptr);
        m_task->SeekStart(10);
        m_task->PauseTrack(true);
        m_task->ResumeTrack();
        m_task->SeekCompleted();
        m_task->StopTrack();
    }
    m_task->StopSourceThread();
    EXPECT_EQ(m_client.Events(),
              (Texts{"1 in band @Source", "6 10 @Source", "3 @Source", "4 @Source", "2 @Source"}));
}

TEST_F(SourceTaskEvents, AStartPutsTheTrackIntoStopped)
{
    m_task->StartSourceThread();
    EXPECT_EQ(TrackState(*m_task), 2);
    WaitForThreads("Source", 1);
}

TEST_F(SourceTaskEvents, ASecondStartKeepsTheThreadAndStopsTheTrack)
{
    Start();
    BringTo(TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { m_task->StartSourceThread(); }),
              (Texts{"E Thread is already created. New request for creation should not be made!"}));
    WaitForThreads("Source", 1);
    EXPECT_EQ(LinesOf([&] { m_task->StopTrack(); }),
              (Texts{"I State is: [2]", "W Wrong state for StopTrack to be called"}));
}

TEST_F(SourceTaskEvents, StoppingWithoutAThreadReturnsAtOnce)
{
    m_task->StopTrack();
    ScriptedLog::Clear();
    m_task->StopSourceThread();
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I Returning as task is not running"}));
    EXPECT_EQ(Queued(*m_task).size(), 1U);
}

TEST_F(SourceTaskEvents, KeepsEveryCommandUntilTheThreadIsStarted)
{
    ScriptedLog::Clear();
    for (int i = 1; i <= 25; ++i) {
        EXPECT_EQ(m_task->SeekStart(i), 0U);
    }
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W No Cleanup CB is registered!!! queueSize=[21]",
                                               "W No Cleanup CB is registered!!! queueSize=[22]",
                                               "W No Cleanup CB is registered!!! queueSize=[23]",
                                               "W No Cleanup CB is registered!!! queueSize=[24]",
                                               "W No Cleanup CB is registered!!! queueSize=[25]"}));
    EXPECT_EQ(Queued(*m_task).size(), 25U);
    ScriptedLog::Clear();
    Start();
    m_task->StopSourceThread();
    EXPECT_EQ(ScriptedLog::CountOf("Not a proper state to seek, state : 2"), 25U);
}

TEST_F(SourceTaskEvents, FreesWhatItNeverHandled)
{
    for (int i = 0; i < 3; ++i) {
        m_task->PlayTrack(1, "http://host/a/long/name/that/is/kept/on/the/heap.ttml", nullptr);
    }
    ScriptedLog::Clear();
    m_task.reset();
    EXPECT_EQ(ScriptedLog::Substance(),
              (Texts{"I Task is neither running nor in preparation stage! Q Size=[3]",
                     "W No Cleanup CB is registered!!! queueSize=[3]"}));
    EXPECT_EQ(ScriptedLog::CountOf({"~CSourceTask", "", "CSourceTask.cpp"}), 1U);
}

// The dispatcher.

TEST_F(SourceTaskEvents, ANullRecordIsRefusedByTheDispatcher)
{
    ScriptedLog::Clear();
    Dispatch(*m_task, nullptr);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Source Header NULL"}));
}

TEST_F(SourceTaskEvents, DeletesRecordsWithoutAHandler)
{
    Start();
    for (const int type : {6, 7, 9, 14, -1}) {
        bool deleted = false;
        auto* record = new Tracked<SourceHeader>(&deleted);
        record->type = type;
        EXPECT_EQ(LinesOf([&] { EXPECT_TRUE(m_task->SendEvent(static_cast<SourceHeader*>(record))); }),
                  (Texts{"I in default"}))
            << type;
        EXPECT_TRUE(deleted) << type;
    }
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(SourceTaskEvents, DeletesAPostedRecordWithoutAFunction)
{
    Start();
    bool deleted = false;
    int data = 0;
    auto* record = new Tracked<SourceCallbackData>(&deleted);
    record->type = 8;
    record->data = &data;
    EXPECT_EQ(LinesOf([&] { EXPECT_TRUE(m_task->SendEvent(static_cast<SourceHeader*>(record))); }),
              (Texts{"W null pointer issue!"}));
    EXPECT_TRUE(deleted);
}

TEST_F(SourceTaskEvents, DeletesAPostedRecordAfterItsFunctionHasRun)
{
    Start();
    bool deleted = false;
    PostedCall call;
    auto* record = new Tracked<SourceCallbackData>(&deleted);
    record->type = 8;
    record->data = &call;
    record->function = &PostedCall::Run;
    Do([&] { EXPECT_TRUE(m_task->SendEvent(static_cast<SourceHeader*>(record))); });
    EXPECT_EQ(call.code, 14);
    EXPECT_TRUE(deleted);
}

TEST_F(SourceTaskEvents, DeletesRefusedCommands)
{
    Start();
    bool deleted = false;
    auto* record = new Tracked<SourceHeader>(&deleted);
    record->type = 3;
    EXPECT_EQ(LinesOf([&] { EXPECT_TRUE(m_task->SendEvent(static_cast<SourceHeader*>(record))); }),
              (Texts{"I State is: [2]", "W Wrong state for StopTrack to be called"}));
    EXPECT_TRUE(deleted);
}

// The log.

TEST_F(SourceTaskEvents, LogsEachOperationsBeginAndEnd)
{
    using Operation = std::pair<std::string, std::function<void()>>;
    TTML::TTMLSubtitleExtraData extra;
    const std::vector<Operation> operations = {
        {"StartSourceThread", [&] { m_task->StartSourceThread(); }},
        {"StopSourceThread", [&] { m_task->StopSourceThread(); }},
        {"PlayTrack", [&] { m_task->PlayTrack(1, "", nullptr); }},
        {"PauseTrack", [&] { m_task->PauseTrack(true); }},
        {"ResumeTrack", [&] { m_task->ResumeTrack(); }},
        {"StopTrack", [&] { m_task->StopTrack(); }},
        {"SeekStart", [&] { m_task->SeekStart(1); }},
        {"SeekCompleted", [&] { m_task->SeekCompleted(); }},
        {"SendEventToSourceThread", [&] { m_task->SendEventToSourceThread(nullptr, [](int, void*) {}); }},
        {"RegisterCallBack", [&] { m_task->RegisterCallBack(nullptr, nullptr); }},
        {"UnRegisterCallBack", [&] { m_task->UnRegisterCallBack(); }},
        {"OnShow", [&] { m_task->OnShow(); }},
        {"OnHide", [&] { m_task->OnHide(); }},
        {"OnErrorDownloadableFonts", [&] { m_task->OnErrorDownloadableFonts(); }},
        {"NotifyRegisterMenuCB", [&] { m_task->NotifyRegisterMenuCB(); }},
        {"NotifyUnRegisterMenuCB", [&] { m_task->NotifyUnRegisterMenuCB(); }},
        {"NotifySetMenuLang", [&] { m_task->NotifySetMenuLang(); }},
        {"NotifyPlayTrack", [&] { m_task->NotifyPlayTrack(); }},
        {"NotifyStopTrack", [&] { m_task->NotifyStopTrack(); }},
        {"SetUserAgent", [&] { m_task->SetUserAgent(nullptr); }},
        {"SetDNTOption", [&] { m_task->SetDNTOption(9); }},
        {"OnSubtitleData", [&] { m_task->OnSubtitleData(nullptr); }},
        {"OnSubtitleData", [&] { m_task->OnSubtitleData(nullptr, extra); }},
        {"m_InbandData_Cb", [&] { CSourceTask::m_InbandData_Cb(nullptr, nullptr); }},
        {"Invalidate", [&] { m_task->Invalidate(); }},
    };
    for (const auto& [name, run] : operations) {
        ScriptedLog::Clear();
        run();
        const LogMatch enter(name, "Enter", "CSourceTask.cpp");
        const LogMatch exit(name, "Exit", "CSourceTask.cpp");
        EXPECT_EQ(ScriptedLog::CountOf(enter), 1U) << name;
        EXPECT_EQ(ScriptedLog::CountOf(exit), 1U) << name;
        const Texts trace = ScriptedLog::TraceOfThisThread();
        EXPECT_EQ(trace.front(), name + ": Enter");
        EXPECT_EQ(trace.back(), name + ": Exit");
    }
}

TEST_F(SourceTaskEvents, LogsEachHandlersBeginAndEnd)
{
    Start();
    m_task->PlayTrack(1, "", nullptr);
    m_task->SeekStart(1);
    m_task->SeekCompleted();
    m_task->PauseTrack(true);
    m_task->ResumeTrack();
    m_task->StopTrack();
    m_task->StopSourceThread();
    for (const char* handler : {"m_PlayTrack", "m_StartTrack", "m_SeekStart", "m_SeekCompleted",
                                "m_PauseTrack", "m_ResumeTrack", "m_StopTrack"}) {
        EXPECT_EQ(ScriptedLog::CountOf({handler, "Enter", "CSourceTask.cpp"}), 1U) << handler;
        EXPECT_EQ(ScriptedLog::CountOf({handler, "Exit", "CSourceTask.cpp"}), 1U) << handler;
    }
    EXPECT_EQ(ScriptedLog::CountOf({"m_PlayTrack", "State is: [2]"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"m_PauseTrack", "State is: [3]"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"m_ResumeTrack", "State is: [4]"}), 1U);
    EXPECT_EQ(ScriptedLog::CountOf({"m_StopTrack", "State is: [3]"}), 1U);
}

} // namespace

} // namespace TTMLTest
