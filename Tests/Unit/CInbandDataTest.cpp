// The in-band queue: what becomes of a sample, in which order and on which thread it is delivered, and what
// holds it back or drops it.

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CInbandData.h"
#include "PrivateAccess.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"
#include "TTMLRawDataInfo.h"

TTML_EXPOSE(InbandMutex, TTML::CInbandData, TTML::IMutex*, m_pMutex)
TTML_EXPOSE(InbandTrackId, TTML::CInbandData, std::atomic<unsigned int>, m_nTrackId)
TTML_EXPOSE_FUNCTION(InbandProcessQueue, void (TTML::CInbandData::*)(void*),
                     TTML::CInbandData::m_ProcessQueue)
TTML_EXPOSE_FUNCTION(InbandCleanupCb, void (TTML::CInbandData::*)(void*), TTML::CInbandData::m_CleanupCb)

namespace TTMLTest {

namespace {

using TTML::CInbandData;
using TTML::TTMLRawDataInfo;
using TTML::TTMLSubtitleExtraData;

// The delivery function's other end.
class Deliveries
{
public:
    static void Deliver(void* record, void* userData) { static_cast<Deliveries*>(userData)->Take(record); }

    Texts All() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_texts;
    }
    std::vector<TTMLRawDataInfo> Records() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_records;
    }
    Texts Threads() const
    {
        const std::lock_guard<std::mutex> guard(m_mutex);
        return m_threads;
    }
    bool WaitFor(unsigned int count) const { return m_count.WaitFor(count); }

    // Run at each delivery on the in-band thread; set it before the first.
    std::function<void()> m_action;

private:
    void Take(void* record)
    {
        const std::unique_ptr<TTMLRawDataInfo> owned(static_cast<TTMLRawDataInfo*>(record));
        {
            const std::lock_guard<std::mutex> guard(m_mutex);
            m_texts.push_back(owned->data);
            m_records.push_back(*owned);
            m_threads.push_back(ThisThreadName());
        }
        m_count.Add();
        if (m_action) {
            m_action();
        }
    }

    mutable std::mutex m_mutex;
    Texts m_texts;
    std::vector<TTMLRawDataInfo> m_records;
    Texts m_threads;
    CountingGate m_count{"samples are delivered"};
};

class InbandData : public ::testing::Test
{
protected:
    void Add(const std::string& text, TTMLSubtitleExtraData extra = {})
    {
        std::string buffer = text;
        m_queue->AddData(buffer.data(), extra);
    }
    void AddNumbered(int first, int last)
    {
        for (int i = first; i <= last; ++i) {
            Add(std::to_string(i));
        }
    }
    static Texts Numbered(int first, int last)
    {
        Texts texts;
        for (int i = first; i <= last; ++i) {
            texts.push_back(std::to_string(i));
        }
        return texts;
    }
    // What the in-band thread logs about its waiting.
    static Texts WaitLines()
    {
        Texts lines;
        for (const auto& line : ScriptedLog::Substance()) {
            if (line.find("sem") != std::string::npos) {
                lines.push_back(line);
            }
        }
        return lines;
    }

    Deliveries m_deliveries;
    std::unique_ptr<CInbandData> m_queue = std::make_unique<CInbandData>(&Deliveries::Deliver, &m_deliveries);
};

TEST_F(InbandData, CopiesWhatComesWithASample)
{
    m_queue->Start(1);
    TTMLSubtitleExtraData extra;
    extra.index = -7;
    extra.timestamp = std::numeric_limits<std::int64_t>::min();
    char buffer[] = "<tt>1</tt>\0not text";
    ScriptedLog::Clear();
    m_queue->AddData(buffer, extra);
    buffer[1] = 'x';
    extra.index = 0;
    m_queue->Reset();

    ASSERT_EQ(m_deliveries.Records().size(), 1U);
    const TTMLRawDataInfo record = m_deliveries.Records().front();
    EXPECT_EQ(record.index, -7);
    EXPECT_EQ(record.timestamp, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(record.dataType, -1);
    EXPECT_EQ(record.segStartTimeMs, 0);
    EXPECT_EQ(record.segEndTimeMs, 0);
    EXPECT_EQ(record.data, "<tt>1</tt>");
    EXPECT_EQ(record.trackDescriptor, "");
    EXPECT_EQ(record.secondaryData, "");
    EXPECT_EQ(record.userData, nullptr);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I index[-7], timestamp[-9223372036854775808]"}));
}

TEST_F(InbandData, DeliversOnAThreadOfItsOwn)
{
    m_queue->Start(1);
    Add("a");
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.Threads(), (Texts{"Inband"}));
}

TEST_F(InbandData, DeliversInTheOrderOfArrival)
{
    m_queue->Start(1);
    AddNumbered(1, 200);
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), Numbered(1, 200));
}

TEST_F(InbandData, DeliversAnEmptySample)
{
    m_queue->Start(1);
    Add("");
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{""}));
}

TEST_F(InbandData, ConvertsSegmentTimesWhenBothAreThere)
{
    ScriptedFileManager::SetTimeExpression("00:00:01.5", 1500);
    ScriptedFileManager::SetTimeExpression("4s", 4000);
    TTMLSubtitleExtraData extra;
    extra.index = 3;
    extra.timestamp = 90000;
    extra.segStartTime = "00:00:01.5";
    extra.segEndTime = "4s";
    m_queue->Start(1);
    ScriptedLog::Clear();
    Add("a", extra);
    m_queue->Reset();

    ASSERT_EQ(m_deliveries.Records().size(), 1U);
    EXPECT_EQ(m_deliveries.Records()[0].segStartTimeMs, 1500);
    EXPECT_EQ(m_deliveries.Records()[0].segEndTimeMs, 4000);
    EXPECT_EQ(m_deliveries.Records()[0].timestamp, 90000);
    EXPECT_EQ(Journal::Instance().Calls("file manager"),
              (Texts{"ConvertTimeExpressionToMS(\"00:00:01.5\", 0, 0) = 1500",
                     "ConvertTimeExpressionToMS(\"4s\", 0, 0) = 4000"}));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I index[3], timestamp[90000]",
                                               "I segStartTime string[00:00:01.5], segEndTime string[4s]",
                                               "I segStartTime in MS[1500], segEndTime in MS[4000]"}));
}

TEST_F(InbandData, LeavesSegmentTimesAtZeroWhenOneIsMissing)
{
    TTMLSubtitleExtraData onlyStart;
    onlyStart.segStartTime = "1s";
    TTMLSubtitleExtraData onlyEnd;
    onlyEnd.segEndTime = "2s";
    m_queue->Start(1);
    ScriptedLog::Clear();
    Add("a", onlyStart);
    Add("b", onlyEnd);
    m_queue->Reset();

    ASSERT_EQ(m_deliveries.Records().size(), 2U);
    for (const auto& record : m_deliveries.Records()) {
        EXPECT_EQ(record.segStartTimeMs, 0) << record.data;
        EXPECT_EQ(record.segEndTimeMs, 0) << record.data;
    }
    EXPECT_EQ(Journal::Instance().Calls("file manager"), Texts{});
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I index[0], timestamp[0]", "I index[0], timestamp[0]"}));
}

TEST_F(InbandData, RefusesANullBuffer)
{
    TTMLSubtitleExtraData extra;
    ScriptedLog::Clear();
    m_queue->AddData(nullptr, extra);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"W Buffer is NULL"}));
    EXPECT_EQ(Queued(*m_queue).size(), 0U);
}

TEST_F(InbandData, LosesASampleForWhichThereIsNoMemory)
{
    m_queue->Start(1);
    ScriptedLog::Clear();
    {
        const FaultInjection noMemory(Call::NEW_NOTHROW);
        Add("lost");
        EXPECT_EQ(noMemory.Failed(), 1U);
    }
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"E new failed."}));
    Add("kept");
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{"kept"}));
}

TEST_F(InbandData, LosesASampleWhoseTextFindsNoMemory)
{
    m_queue->Start(1);
    std::string text(1000, 'x');
    TTMLSubtitleExtraData extra;
    ScriptedLog::Clear();
    {
        const FaultInjection noMemory(Call::NEW);
        m_queue->AddData(text.data(), extra);
        EXPECT_EQ(noMemory.Failed(), 1U);
    }
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"E new failed."}));
    Add("kept");
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{"kept"}));
}

TEST_F(InbandData, KeepsTheTrackId)
{
    m_queue->Start(4711);
    EXPECT_EQ(Private<InbandTrackId>(*m_queue), 4711U);
}

TEST_F(InbandData, RefusesASecondStart)
{
    m_queue->Start(1);
    ScriptedLog::Clear();
    m_queue->Start(2);
    EXPECT_EQ(ScriptedLog::Substance(),
              (Texts{"E Thread is already created. New request for creation should not be made!"}));
    WaitForThreads("Inband", 1);
    EXPECT_EQ(Private<InbandTrackId>(*m_queue), 2U);
    Add("a");
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{"a"}));
}

TEST_F(InbandData, CanBeStartedLaterWhenNoThreadCouldBeCreated)
{
    ScriptedLog::Clear();
    {
        const FaultInjection noThread(Call::THREAD_CREATE);
        m_queue->Start(1);
    }
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"E pthread_create FAILED !!"}));
    Add("a");
    m_queue->Start(1);
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{"a"}));
}

TEST_F(InbandData, KeepsTheTwentyNewestSamplesUntilItIsStarted)
{
    AddNumbered(1, 25);
    EXPECT_EQ(Queued(*m_queue).size(), 20U);
    m_queue->Start(1);
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), Numbered(6, 25));
}

TEST_F(InbandData, KeepsSamplesThatComeAfterAStopForTheNextStart)
{
    m_queue->Start(1);
    m_queue->StopInbandData();
    Add("a");
    m_queue->Start(1);
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{"a"}));
}

TEST_F(InbandData, HoldsSamplesBackWhileFrozen)
{
    m_queue->Start(1);
    Add("before");
    m_queue->Reset();
    ScriptedLog::Clear();
    m_queue->Freeze();
    AddNumbered(1, 3);
    ScriptedLog::WaitFor("Before sem wait");
    WaitUntilBlocked("Inband");
    EXPECT_EQ(m_deliveries.All(), (Texts{"before"}));
    EXPECT_EQ(ScriptedLog::CountOf("After sem wait"), 0U);

    m_queue->Resume();
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{"before", "1", "2", "3"}));
    EXPECT_EQ(WaitLines(), (Texts{"I Before sem wait", "I After sem wait"}));
}

TEST_F(InbandData, LetsAsManySamplesThroughALaterFreezeAsThereWereExtraResumes)
{
    m_queue->Start(1);
    m_queue->Resume();
    m_queue->Resume();
    m_queue->Freeze();
    AddNumbered(1, 4);
    ScriptedLog::WaitFor("Before sem wait", 3);
    WaitUntilBlocked("Inband");
    EXPECT_EQ(m_deliveries.All(), Numbered(1, 2));
    EXPECT_EQ(ScriptedLog::CountOf("After sem wait"), 2U);

    m_queue->Resume();
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), Numbered(1, 4));
}

TEST_F(InbandData, FreezesAndResumesAgainAndAgain)
{
    m_queue->Start(1);
    for (unsigned int round = 1; round <= 5; ++round) {
        m_queue->Freeze();
        m_queue->Freeze();
        Add(std::to_string(round));
        ScriptedLog::WaitFor("Before sem wait", round);
        EXPECT_EQ(m_deliveries.All().size(), round - 1);
        m_queue->Resume();
        m_queue->Reset();
        EXPECT_EQ(m_deliveries.All().size(), round);
    }
}

TEST_F(InbandData, DropsWhatWaitsWhenItIsStoppedWhileFrozen)
{
    m_queue->Start(1);
    m_queue->Freeze();
    AddNumbered(1, 3);
    ScriptedLog::WaitFor("Before sem wait");
    ScriptedLog::Clear();
    m_queue->StopInbandData();

    EXPECT_EQ(m_deliveries.All(), Texts{});
    EXPECT_EQ(Queued(*m_queue).size(), 0U);
    EXPECT_FALSE(m_queue->m_IsRunning());
    EXPECT_EQ(ScriptedLog::Substance().front(), "I Inband data thread is in paused mode, un-freezing it");
    EXPECT_EQ(ScriptedLog::CountOf("Inband data thread is in paused mode, un-freezing it"), 1U);
    EXPECT_EQ(ScriptedLog::CountOf("After sem wait"), 1U);

    m_queue->Start(2);
    Add("later");
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{"later"}));
}

TEST_F(InbandData, UnfreezesAnIdleQueueWhenItIsStopped)
{
    m_queue->Freeze();
    ScriptedLog::Clear();
    m_queue->StopInbandData();
    EXPECT_EQ(ScriptedLog::Substance(),
              (Texts{"I Inband data thread is in paused mode, un-freezing it",
                     "I Task is neither running nor in preparation stage! Q Size=[0]"}));
}

TEST_F(InbandData, StartsUnfrozen)
{
    m_queue->Freeze();
    m_queue->Start(1);
    Add("a");
    m_deliveries.WaitFor(1);
    EXPECT_EQ(m_deliveries.All(), (Texts{"a"}));
    EXPECT_EQ(WaitLines(), Texts{});
}

TEST_F(InbandData, StaysFrozenThroughARefusedStart)
{
    m_queue->Start(1);
    m_queue->Freeze();
    m_queue->Start(2);
    Add("a");
    ScriptedLog::WaitFor("Before sem wait");
    EXPECT_EQ(m_deliveries.All(), Texts{});
    m_queue->Resume();
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), (Texts{"a"}));
}

TEST_F(InbandData, DropsWhatIsQueuedAheadOfAStop)
{
    Gate delivering("the first sample is being delivered");
    Gate goOn("the delivery may end");
    m_deliveries.m_action = [&] {
        delivering.Open();
        goOn.Wait();
    };
    m_queue->Start(1);
    AddNumbered(1, 4);
    delivering.Wait();
    BlockedThread stopper([&] { m_queue->StopInbandData(); });
    EXPECT_FALSE(stopper.IsDone());
    goOn.Open();
    stopper.WaitUntilDone();

    EXPECT_EQ(m_deliveries.All(), Numbered(1, 1));
    EXPECT_EQ(Queued(*m_queue).size(), 0U);
    EXPECT_FALSE(m_queue->m_IsRunning());
}

TEST_F(InbandData, HandsWhatWaitsOnAnIdleQueueToTheCleanupAtAStop)
{
    AddNumbered(1, 3);
    m_queue->StopInbandData();
    EXPECT_EQ(Queued(*m_queue).size(), 0U);
    EXPECT_EQ(ScriptedLog::CountOf({"m_CleanupCb", "Enter"}) + ScriptedLog::CountOf({"m_CleanupCb", "ENTER"}),
              3U);
    m_queue->Start(1);
    m_queue->Reset();
    EXPECT_EQ(m_deliveries.All(), Texts{});
}

TEST_F(InbandData, IgnoresANullRecord)
{
    ScriptedLog::Clear();
    CallPrivate<InbandProcessQueue>(*m_queue, nullptr);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{"I pData is NULL"}));
    ScriptedLog::Clear();
    CallPrivate<InbandCleanupCb>(*m_queue, nullptr);
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
    EXPECT_EQ(m_deliveries.All(), Texts{});
}

TEST_F(InbandData, LogsEachOperationsBeginAndEnd)
{
    m_queue->Start(1);
    Add("a");
    m_queue->Freeze();
    m_queue->Resume();
    m_queue->StopInbandData();
    m_queue->Reset();
    for (const char* operation :
         {"Start", "AddData", "Freeze", "Resume", "StopInbandData", "m_Initialize", "m_ProcessQueue"}) {
        Texts messages;
        for (const auto& line : ScriptedLog::Lines()) {
            if (line.file == "CInbandData.cpp" && line.function == operation) {
                EXPECT_EQ(line.level, PLATFORM_LOG_INFO) << line.raw;
                messages.push_back(line.message);
            }
        }
        ASSERT_GE(messages.size(), 2U) << operation;
        EXPECT_TRUE(messages.front() == "Enter" || messages.front() == "ENTER") << operation;
        EXPECT_TRUE(messages.back() == "Exit" || messages.back() == "EXIT") << operation;
    }
}

// Failing calls of the system.

TEST_F(InbandData, GoesOnWhenTheFreezeSemaphoreCannotBeInitialised)
{
    ScriptedLog::Clear();
    {
        // The first semaphore is the task's own.
        const FaultInjection noSemaphore(Call::SEM_INIT, 2);
        m_queue = std::make_unique<CInbandData>(&Deliveries::Deliver, &m_deliveries);
        EXPECT_EQ(noSemaphore.Failed(), 1U);
    }
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), (Texts{"Error returned by sem_init"}));

    m_queue->Start(1);
    m_queue->Freeze();
    ScriptedLog::Clear();
    Add("a");
    m_deliveries.WaitFor(1);
    EXPECT_EQ(WaitLines(), (Texts{"I Before sem wait", "E Error returned by sem_wait", "I After sem wait"}));
    ScriptedLog::Clear();
    m_queue->Resume();
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"Error returned by sem_post"}));
}

TEST_F(InbandData, DeliversWhenTheWaitFails)
{
    m_queue->Start(1);
    m_queue->Resume();
    m_queue->Freeze();
    const FaultInjection brokenWait(Call::SEM_WAIT, 1, 1, FaultScope::ANY_THREAD);
    ScriptedLog::Clear();
    Add("a");
    m_deliveries.WaitFor(1);
    EXPECT_EQ(brokenWait.Failed(), 1U);
    EXPECT_EQ(WaitLines(), (Texts{"I Before sem wait", "E Error returned by sem_wait", "I After sem wait"}));
    EXPECT_EQ(m_deliveries.All(), (Texts{"a"}));
}

TEST_F(InbandData, WaitsAgainAfterAnInterruption)
{
    m_queue->Start(1);
    m_queue->Resume();
    m_queue->Freeze();
    const FaultInjection signal(Call::SEM_WAIT, 1, 1, FaultScope::ANY_THREAD, EINTR);
    ScriptedLog::Clear();
    Add("let through");
    Add("held");
    ScriptedLog::WaitFor("Before sem wait", 2);
    WaitUntilBlocked("Inband");
    EXPECT_EQ(signal.Failed(), 1U);
    EXPECT_EQ(m_deliveries.All(), (Texts{"let through"}));
    EXPECT_EQ(WaitLines(), (Texts{"I Before sem wait", "I After sem wait", "I Before sem wait"}));
}

TEST_F(InbandData, WarnsOfAResumeThatCannotBePosted)
{
    m_queue->Start(1);
    m_queue->Freeze();
    Add("a");
    ScriptedLog::WaitFor("Before sem wait");
    ScriptedLog::Clear();
    {
        const FaultInjection brokenPost(Call::SEM_POST);
        m_queue->Resume();
    }
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"Error returned by sem_post"}));
}

TEST_F(InbandData, WorksWithoutItsMutex)
{
    unsigned int without = 0;
    for (unsigned int n = 1; n <= 10; ++n) {
        std::unique_ptr<CInbandData> queue;
        {
            const FaultInjection noMutex(Call::MUTEX_INIT, n);
            queue = std::make_unique<CInbandData>(&Deliveries::Deliver, &m_deliveries);
        }
        if (Private<InbandMutex>(*queue) == nullptr) {
            ++without;
            m_queue = std::move(queue);
        }
    }
    ASSERT_EQ(without, 1U) << "one mutex of a queue is made by the factory";
    ScriptedLog::Clear();
    m_queue->Start(1);
    Add("a");
    m_queue->Reset();
    m_queue->Freeze();
    Add("b");
    ScriptedLog::WaitFor("Before sem wait");
    m_queue->Resume();
    m_queue->Reset();
    m_queue->StopInbandData();
    EXPECT_EQ(m_deliveries.All(), (Texts{"a", "b"}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), Texts{});
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR), Texts{});
}

} // namespace

} // namespace TTMLTest
