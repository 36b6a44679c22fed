// The source core where things go wrong or happen at once: destruction in any state, parts that could not be
// created, commands of several threads, and values that belong together.

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CBBSource.h"
#include "CInbandData.h"
#include "CSourceTask.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

using TTML::CBBSource;
using TTML::CSourceTask;
using TTML::TTMLRawDataInfo;

constexpr char kUrl[] = "http://host/a.ttml";

// What two threads touch without a lock keeps the size of the plain value.
static_assert(std::atomic<int>::is_always_lock_free && sizeof(std::atomic<int>) == sizeof(int));
static_assert(std::atomic<bool>::is_always_lock_free && sizeof(std::atomic<bool>) == sizeof(bool));
static_assert(std::atomic<unsigned int>::is_always_lock_free &&
              sizeof(std::atomic<unsigned int>) == sizeof(unsigned int));

struct SourceDeleter
{
    void operator()(CBBSource* source) const { source->Destroy(); }
};
using SourcePointer = std::unique_ptr<CBBSource, SourceDeleter>;

SourcePointer NewSource()
{
    return SourcePointer(
        CBBSource::Create(ScriptedPlayer::Handle(), "a user agent that is kept on the heap"));
}

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

// Commands of several threads.

TEST(SourceConcurrency, AnOnStartIsFollowedByABarrier)
{
    for (int round = 0; round < 50; ++round) {
        ClientRecorder client;
        const SourcePointer source = NewSource();
        source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
        source->OnStart();
        source->PlayTrack(1, "", nullptr);
        source->OnStop();
        ASSERT_EQ(client.Events(), (Texts{"1 in band @Source"})) << "in round " << round;
    }
}

TEST(SourceConcurrency, EveryCallerReturnsAndNothingRunsAfterTheLastInvalidation)
{
    constexpr int kRounds = 15;
    constexpr int kCalls = 10;
    for (int round = 0; round < kRounds; ++round) {
        ClientRecorder client;
        const SourcePointer source = NewSource();
        source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
        source->OnStart();
        const auto repeatedly = [](const std::function<void()>& call) {
            return [call] {
                for (int i = 0; i < kCalls; ++i) {
                    call();
                }
            };
        };
        RunTogether({
            repeatedly([&] { source->Invalidate(); }),
            repeatedly([&] { source->Invalidate(); }),
            repeatedly([&] { source->OnStop(); }),
            repeatedly([&] {
                source->OnStart();
                source->PlayTrack(1, "", "descriptor");
            }),
            repeatedly([&] {
                source->PauseTrack(true);
                source->StopTrack();
                source->ResumeTrack();
            }),
            repeatedly([&] {
                TTML::TTMLSubtitleExtraData extra;
                char sample[] = "a sample whose text is kept on the heap";
                source->OnSubtitleData(sample, extra);
            }),
        });
        source->Invalidate();
        WaitForThreads("Inband", 0);
        EXPECT_EQ(client.Codes().back(), 5);
        const unsigned int told = static_cast<unsigned int>(client.Events().size());
        source->PlayTrack(1, "", nullptr);
        source->OnStop();
        EXPECT_EQ(client.Events().size(), told) << "an invalidated source plays";
    }
}

TEST(SourceConcurrency, WorksAfterAStorm)
{
    ClientRecorder client;
    const SourcePointer source = NewSource();
    source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
    source->OnStart();
    const auto storm = [&] {
        for (int i = 0; i < 40; ++i) {
            source->PlayTrack(1, "", nullptr);
            source->StopTrack();
            source->OnStop();
        }
    };
    const auto invalidations = [&] {
        for (int i = 0; i < 40; ++i) {
            source->Invalidate();
            source->OnStart();
        }
    };
    RunTogether({storm, storm, invalidations});
    source->Invalidate();
    source->OnStart();
    client.Clear();
    source->PlayTrack(1, "", nullptr);
    source->OnStop();
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "<tt/>";
    source->OnSubtitleData(sample, extra);
    client.WaitForEvents(2);
    EXPECT_EQ(client.Events(), (Texts{"1 in band @Source", "0 <tt/> @Inband"}));
}

TEST(SourceConcurrency, AClientMayStopTheTrackFromItsDataCallback)
{
    ClientRecorder client;
    const SourcePointer source = NewSource();
    source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
    source->OnStart();
    client.On(0, [&] {
        source->StopTrack();
        source->PlayTrack(2, "", nullptr);
    });
    source->PlayTrack(1, "", nullptr);
    TTML::TTMLSubtitleExtraData extra;
    char sample[] = "<tt/>";
    source->OnSubtitleData(sample, extra);
    client.WaitForCode(1, 2);
    EXPECT_EQ(client.CountOf(2), 1U);
    EXPECT_EQ(client.Events().back(), "1 in band @Source");
}

// Values that belong together.

// Two clients, each of which knows the user data that belongs to it.
struct PairedClient
{
    static void First(int code, void* data) { Check(code, data, &s_first); }
    static void Second(int code, void* data) { Check(code, data, &s_second); }

    static void Check(int code, void* data, const int* own)
    {
        const void* userData = data;
        if (code == TTML::CALLBACK_DATA) {
            const std::unique_ptr<TTMLRawDataInfo> record(static_cast<TTMLRawDataInfo*>(data));
            userData = record->userData;
        }
        s_strangers += userData == own ? 0 : 1;
        ++s_calls;
    }

    static int s_first;
    static int s_second;
    static std::atomic<int> s_strangers;
    static std::atomic<int> s_calls;
};
int PairedClient::s_first;
int PairedClient::s_second;
std::atomic<int> PairedClient::s_strangers{0};
std::atomic<int> PairedClient::s_calls{0};

TEST(SourceConcurrency, ACallbackNeverMeetsTheUserDataOfAnother)
{
    constexpr int kRounds = 500;
    const SourcePointer source = NewSource();
    PairedClient::s_strangers = 0;
    PairedClient::s_calls = 0;
    source->RegisterCallBack(&PairedClient::First, &PairedClient::s_first);
    RunTogether({[&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->RegisterCallBack(&PairedClient::Second, &PairedClient::s_second);
                         source->RegisterCallBack(&PairedClient::First, &PairedClient::s_first);
                     }
                 },
                 [&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->OnShow();
                         source->OnSubtitleData(new TTMLRawDataInfo);
                     }
                 }});
    EXPECT_EQ(PairedClient::s_strangers, 0);
    EXPECT_EQ(PairedClient::s_calls, 2 * kRounds);
}

TEST(SourceConcurrency, TextsAreNeverTorn)
{
    constexpr int kRounds = 100;
    const std::string texts[] = {std::string(100, 'a'), std::string(3000, 'b')};
    ClientRecorder client;
    const SourcePointer source = NewSource();
    source->RegisterCallBack(&ClientRecorder::Callback, client.UserData());
    source->t_Initialize(texts[0].c_str());
    source->PlayTrack(1, "", texts[0].c_str());
    for (int i = 0; i < kRounds; ++i) {
        ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    }
    source->OnStart();
    source->OnStop();
    RunTogether({[&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->t_Initialize(texts[i % 2].c_str());
                         source->SetDNTOption(i % 3);
                     }
                 },
                 [&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->PlayTrack(1, kUrl, texts[i % 2].c_str());
                         source->OnStop();
                     }
                 },
                 [&] {
                     for (int i = 0; i < kRounds; ++i) {
                         source->OnSubtitleData(new TTMLRawDataInfo);
                     }
                 }});
    for (const auto& record : client.Records()) {
        EXPECT_TRUE(record.trackDescriptor == texts[0] || record.trackDescriptor == texts[1]);
    }
    EXPECT_EQ(client.CountOf(0), 2U * kRounds);
    for (const auto& call : Journal::Instance().Calls("file manager")) {
        if (call.find(".Fetch(") != std::string::npos) {
            EXPECT_TRUE(call.find("\"" + texts[0] + "\"") != std::string::npos ||
                        call.find("\"" + texts[1] + "\"") != std::string::npos);
        }
    }
}

} // namespace

} // namespace TTMLTest
