// The source core where things go wrong: destruction in any state, and parts that could not be created.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CInbandData.h"
#include "CSourceTask.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

using TTML::CSourceTask;
using TTML::TTMLRawDataInfo;

constexpr char kUrl[] = "http://host/a.ttml";

// Destruction.

class SourceDestruction : public SourceTaskTest
{
protected:
    void QueueOneOfEach()
    {
        m_task->PlayTrack(1, "http://host/a/url/that/is/kept/on/the/heap.ttml",
                          "a descriptor on the heap too");
        m_task->PauseTrack(true);
        m_task->ResumeTrack();
        m_task->SeekStart(1);
        m_task->SeekCompleted();
        m_task->StopTrack();
        m_task->SendEventToSourceThread(nullptr, [](int, void*) { ADD_FAILURE() << "a dropped event ran"; });
    }
    // How often the lines of an ended thread have come, for each of the source's two threads.
    void ExpectEnds(unsigned int ends, unsigned int destroyedWhileRunning)
    {
        EXPECT_EQ(ScriptedLog::CountOf("Task: Stop task event: stopping infinite loop."), ends);
        EXPECT_EQ(ScriptedLog::CountOf("After pthread_join"), ends);
        EXPECT_EQ(ScriptedLog::CountOf("Task still running. Stopping now."), destroyedWhileRunning);
    }
};

TEST_F(SourceDestruction, NeverStartedWithQueuedRecordsAndSamples)
{
    m_task->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
    for (int i = 0; i < 10; ++i) {
        QueueOneOfEach();
        Push("a sample whose text is kept on the heap");
    }
    m_task.reset();
    EXPECT_EQ(m_client.Events(), Texts{});
    ExpectEnds(0, 0);
}

TEST_F(SourceDestruction, NeverStartedWithMoreSamplesThanAreKept)
{
    for (int i = 0; i < 50; ++i) {
        Push("a sample whose text is kept on the heap");
    }
    m_task.reset();
    ExpectEnds(0, 0);
}

TEST_F(SourceDestruction, IdleThread)
{
    // Pins: m_Destroy.
    Start();
    m_task.reset();
    EXPECT_EQ(m_client.Events(), Texts{});
    ExpectEnds(1, 0);
}

TEST_F(SourceDestruction, RunningWithQueuedRecords)
{
    Start();
    {
        SourceThreadHold hold(*m_task);
        m_task->PlayTrack(1, "", nullptr);
        m_task->PauseTrack(true);
        m_task->ResumeTrack();
        const BlockedThread destroyer([this] { m_task.reset(); });
        EXPECT_FALSE(destroyer.IsDone());
        hold.Release();
        destroyer.WaitUntilDone();
    }
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source", "3 @Source", "4 @Source"}));
    ExpectEnds(2, 1);
}

TEST_F(SourceDestruction, PlayingInBand)
{
    Start();
    BringTo(TTML::TRACK_PLAYING);
    ScriptedLog::Clear();
    m_task.reset();
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source"}));
    ExpectEnds(2, 1);
}

TEST_F(SourceDestruction, PausedWithHeldSamples)
{
    Start();
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_PLAYING);
    for (int i = 0; i < 5; ++i) {
        Push("a sample whose text is kept on the heap");
    }
    ScriptedLog::WaitFor("Before sem wait");
    m_client.Clear();
    ScriptedLog::Clear();
    m_task.reset();
    EXPECT_EQ(m_client.Events(), Texts{});
    ExpectEnds(2, 1);
}

TEST_F(SourceDestruction, PausedWithoutSamples)
{
    Start();
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_PLAYING);
    ScriptedLog::Clear();
    m_task.reset();
    ExpectEnds(2, 1);
}

TEST_F(SourceDestruction, WhileASampleIsBeingDelivered)
{
    Start();
    BringTo(TTML::TRACK_PLAYING);
    Gate goOn("the client may go on");
    m_client.On(0, [&] { goOn.Wait(); });
    Push("a");
    m_client.WaitForCode(0);
    const BlockedThread destroyer([this] { m_task.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    goOn.Open();
    destroyer.WaitUntilDone();
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source", "0 a @Inband"}));
}

TEST_F(SourceDestruction, DuringAFetch)
{
    Start();
    Gate fetching("the fetch is under way");
    Gate goOn("the fetch may end");
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>").During([&] {
        fetching.Open();
        goOn.Wait();
    }));
    m_task->PlayTrack(1, kUrl, nullptr);
    fetching.Wait();
    m_task->PauseTrack(true);
    const BlockedThread destroyer([this] { m_task.reset(); });
    EXPECT_FALSE(destroyer.IsDone());
    EXPECT_EQ(m_client.Events(), Texts{});
    goOn.Open();
    destroyer.WaitUntilDone();
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @Source", "1 out of band @Source", "3 @Source"}));
}

TEST_F(SourceDestruction, AfterAnInvalidation)
{
    Start();
    BringTo(TTML::TRACK_PLAYING);
    m_task->Invalidate();
    m_task->PlayTrack(1, "http://host/a/url/that/is/kept/on/the/heap.ttml", nullptr);
    m_task->PauseTrack(true);
    Push("a sample whose text is kept on the heap");
    m_task.reset();
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source", "5 @caller"}));
}

class InbandDestruction : public ::testing::Test
{
protected:
    static void Deliver(void* record, void* userData)
    {
        delete static_cast<TTMLRawDataInfo*>(record);
        static_cast<CountingGate*>(userData)->Add();
    }
    void Add()
    {
        TTML::TTMLSubtitleExtraData extra;
        char sample[] = "a sample whose text is kept on the heap";
        m_queue->AddData(sample, extra);
    }

    CountingGate m_delivered{"samples are delivered"};
    std::unique_ptr<TTML::CInbandData> m_queue =
        std::make_unique<TTML::CInbandData>(&InbandDestruction::Deliver, &m_delivered);
};

TEST_F(InbandDestruction, NeverStarted)
{
    Add();
    Add();
    ScriptedLog::Clear();
    m_queue.reset();
    EXPECT_EQ(m_delivered.Count(), 0U);
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
}

TEST_F(InbandDestruction, Running)
{
    // Pins: m_Destroy.
    m_queue->Start(1);
    ScriptedLog::Clear();
    m_queue.reset();
    EXPECT_EQ(ScriptedLog::Substance(),
              (Texts{"I Task still running. Stopping now.",
                     "I Task: Stop task event: stopping infinite loop.", "I After pthread_join"}));
}

TEST_F(InbandDestruction, FrozenWithHeldSamples)
{
    m_queue->Start(1);
    m_queue->Freeze();
    Add();
    Add();
    Add();
    ScriptedLog::WaitFor("Before sem wait");
    ScriptedLog::Clear();
    m_queue.reset();
    EXPECT_EQ(m_delivered.Count(), 0U);
    EXPECT_EQ(ScriptedLog::CountOf("Task still running. Stopping now."), 1U);
    EXPECT_EQ(ScriptedLog::CountOf("After pthread_join"), 1U);
}

TEST_F(InbandDestruction, FrozenWithoutAWorkingSemaphore)
{
    m_queue->Start(1);
    m_queue->Freeze();
    Add();
    ScriptedLog::WaitFor("Before sem wait");
    {
        const FaultInjection brokenPost(Call::SEM_POST, 1, FaultInjection::kAll);
        m_queue.reset();
    }
    EXPECT_EQ(ScriptedLog::CountOf("After pthread_join"), 1U);
}

TEST_F(InbandDestruction, StoppedWithSamplesForTheNextStart)
{
    m_queue->Start(1);
    m_queue->StopInbandData();
    Add();
    m_queue->Freeze();
    m_queue.reset();
    EXPECT_EQ(m_delivered.Count(), 0U);
}

// Parts that could not be created.

class SourceWithoutInbandQueue : public SourceTaskTest
{
protected:
    SourceWithoutInbandQueue()
    {
        m_task.reset();
        ScriptedLog::Clear();
        {
            // The first allocation is that of the task mutex.
            const FaultInjection noMemory(Call::NEW_NOTHROW, 2);
            m_task.reset(new CSourceTask);
        }
        EXPECT_EQ(InbandQueue(*m_task), nullptr);
        m_task->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
    }
};

TEST_F(SourceWithoutInbandQueue, DoesNotFinishItsInitialisation)
{
    EXPECT_EQ(ScriptedLog::CountOf("Initialize end"), 0U);
}

TEST_F(SourceWithoutInbandQueue, SkipsItSilently)
{
    m_task->StartSourceThread();
    ScriptedLog::Clear();
    Push("a");
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
    m_task->NotifyPlayTrack();
    m_task->NotifyStopTrack();
    m_task->NotifyPlayTrack();
    m_task->Invalidate();
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @caller", "2 @caller", "1 in band @caller", "5 @caller"}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), Texts{});
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), Texts{});
}

TEST_F(SourceWithoutInbandQueue, HasNoProcessorForItsCommands)
{
    m_task->StartSourceThread();
    {
        const LeakByDesign skippedRecord;
        EXPECT_EQ(m_task->PlayTrack(1, "", nullptr), 0U);
    }
    m_task->StopSourceThread();
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 2);
}

TEST_F(SourceWithoutInbandQueue, FreesWhatItNeverTook)
{
    m_task->PlayTrack(1, "http://host/a/url/that/is/kept/on/the/heap.ttml", nullptr);
    m_task.reset();
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(SourceTaskTest, WorksWithoutItsTaskMutex)
{
    unsigned int without = 0;
    for (unsigned int n = 1; n <= 20; ++n) {
        std::unique_ptr<CSourceTask> task;
        {
            const FaultInjection noMutex(Call::MUTEX_INIT, n);
            task = std::make_unique<CSourceTask>();
        }
        if (TaskMutex(*task) == nullptr) {
            ++without;
            m_task = std::move(task);
        }
    }
    ASSERT_EQ(without, 1U) << "one mutex of a source task is made by the factory";
    Start();
    ScriptedLog::Clear();
    m_task->PlayTrack(1, "", nullptr);
    m_task->PlayTrack(1, "", nullptr);
    m_task->PauseTrack(true);
    m_task->ResumeTrack();
    m_task->SeekStart(1);
    m_task->SeekCompleted();
    m_task->StopTrack();
    m_task->StopSourceThread();
    m_task->Invalidate();
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{1, 2, 1, 3, 4, 6, 2, 5}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), Texts{});
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), Texts{});
    EXPECT_EQ(TrackState(*m_task), 0);
}

TEST_F(SourceTaskTest, CanBeStartedLaterWhenNoThreadCouldBeCreated)
{
    m_task->RegisterCallBack(&ClientRecorder::Callback, m_client.UserData());
    ScriptedLog::Clear();
    {
        const FaultInjection noThread(Call::THREAD_CREATE);
        m_task->StartSourceThread();
    }
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), (Texts{"pthread_create FAILED !!"}));
    m_task->PlayTrack(1, "", nullptr);
    m_task->StopSourceThread();
    EXPECT_EQ(m_client.Events(), Texts{});
    m_task->StartSourceThread();
    m_task->StopSourceThread();
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source"}));
}

TEST_F(SourceTaskTest, AnnouncesATrackWhoseInbandThreadCouldNotBeCreated)
{
    Start();
    m_task->StopSourceThread();
    {
        const FaultInjection noThread(Call::THREAD_CREATE, 1, 1, FaultScope::ANY_THREAD);
        const FaultPause notHere;
        m_task->PlayTrack(1, "", nullptr);
        m_task->StopSourceThread();
        EXPECT_EQ(noThread.Failed(), 1U);
    }
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source"}));
    Push("a");
    Do([this] { m_task->PlayTrack(2, "", nullptr); });
    EXPECT_EQ(m_client.CountOf(0), 0U) << "the stop of the first track drops its samples";
    Push("b");
    m_client.WaitForCode(0);
    EXPECT_EQ(m_client.Events().back(), "0 b @Inband");
}

} // namespace

} // namespace TTMLTest
