// Starts, Stops and Resets at the same time: every caller returns, and no marker is taken for another.

#include <algorithm>

#include "TaskFixture.h"

using TTML::CTask;
using namespace TTMLTest;

namespace {

const char* const kStopMessage = "Task: Stop task event: stopping infinite loop.";

class TaskRace : public TaskFixture
{
protected:
    static constexpr int kRounds = 50;

    // The task must be as good as new: it takes events, Reset is a barrier, and Stop ends it.
    void ExpectUsable(CTask& task, int number)
    {
        const Numbers before = Processed();
        task.Start("Again");
        EXPECT_TRUE(task.m_IsRunning());
        Post(task, number, number);
        task.Reset();
        Numbers expected = before;
        expected.push_back(number);
        EXPECT_EQ(Processed(), expected);
        EXPECT_TRUE(task.m_IsRunning());
        task.Stop();
        EXPECT_FALSE(task.m_IsRunning());
        EXPECT_EQ(QueueSize(task), 0U);
    }

    CTask m_task;
};

} // namespace

TEST_F(TaskRace, SeveralResetsAllReturnAfterTheirEvents)
{
    constexpr int kThreads = 4;
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    ScriptedLog::Clear();
    std::vector<std::unique_ptr<TestThread>> threads;
    for (int number = 1; number <= kThreads; ++number) {
        threads.push_back(std::make_unique<TestThread>([&, number] {
            Post(m_task, number, number);
            m_task.Reset();
            const Numbers processed = Processed();
            EXPECT_NE(std::find(processed.begin(), processed.end(), number), processed.end());
        }));
    }
    ScriptedLog::WaitFor({"Reset", "Enter"}, kThreads);
    for (const auto& thread : threads) {
        EXPECT_FALSE(thread->IsDone());
    }
    ReleaseWorker();
    for (const auto& thread : threads) {
        EXPECT_TRUE(thread->WaitUntilDone());
    }
    EXPECT_EQ(ScriptedLog::CountOf(kStopMessage), 0U);
    EXPECT_TRUE(m_task.m_IsRunning());
    EXPECT_EQ(QueueSize(m_task), 0U);
}

TEST_F(TaskRace, ResetsWithoutOrderAllReturn)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    for (int round = 0; round < kRounds; ++round) {
        const auto reset = [&] { m_task.Reset(); };
        RunTogether({reset, reset, reset});
    }
    EXPECT_EQ(ScriptedLog::CountOf(kStopMessage), 0U);
    EXPECT_TRUE(m_task.m_IsRunning());
    EXPECT_EQ(QueueSize(m_task), 0U);
}

TEST_F(TaskRace, AStopBehindAResetStopsAndTheResetReturns)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 3);
    ScriptedLog::Clear();
    Numbers atReset;
    TestThread resetter([&] {
        m_task.Reset();
        atReset = Processed();
    });
    ScriptedLog::WaitFor({"SendEvent", "Exit"}); // the reset marker is queued
    TestThread stopper([&] { m_task.Stop(); });
    ScriptedLog::WaitFor({"Stop", "Enter"});
    ReleaseWorker();
    EXPECT_TRUE(resetter.WaitUntilDone());
    EXPECT_TRUE(stopper.WaitUntilDone());
    EXPECT_EQ(atReset, Range(1, 3));
    EXPECT_EQ(ScriptedLog::CountOf(kStopMessage), 1U);
    EXPECT_FALSE(m_task.m_IsRunning());
    ExpectUsable(m_task, 4);
}

TEST_F(TaskRace, AResetBehindAStopReturnsAndTheTaskStops)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 3);
    ScriptedLog::Clear();
    TestThread stopper([&] { m_task.Stop(); });
    ScriptedLog::WaitFor({"SendEvent", "Exit"}); // the stop marker is queued
    TestThread resetter([&] { m_task.Reset(); });
    ScriptedLog::WaitFor({"Reset", "Enter"});
    ReleaseWorker();
    EXPECT_TRUE(stopper.WaitUntilDone());
    EXPECT_TRUE(resetter.WaitUntilDone());
    EXPECT_EQ(Processed(), Range(1, 3));
    EXPECT_EQ(ScriptedLog::CountOf(kStopMessage), 1U);
    EXPECT_FALSE(m_task.m_IsRunning());
    ExpectUsable(m_task, 4);
}

TEST_F(TaskRace, ResetAgainstStopWithoutOrder)
{
    ConnectBoth(m_task);
    for (int round = 1; round <= kRounds; ++round) {
        m_task.Start("Source");
        ScriptedLog::Clear();
        RunTogether({[&] { m_task.Reset(); }, [&] { m_task.Stop(); }, [&] { m_task.Reset(); }});
        EXPECT_EQ(ScriptedLog::CountOf(kStopMessage), 1U);
        EXPECT_FALSE(m_task.m_IsRunning());
        EXPECT_EQ(QueueSize(m_task), 0U);
    }
    ExpectUsable(m_task, 1);
}

TEST_F(TaskRace, TwoStopsJoinTheWorkerOnceAndLeaveNoMarker)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 2);
    const unsigned int joined = ThreadsJoined();
    ScriptedLog::Clear();
    TestThread first([&] { m_task.Stop(); });
    TestThread second([&] { m_task.Stop(); });
    ScriptedLog::WaitFor({"Stop", "Enter"}, 2);
    ReleaseWorker();
    EXPECT_TRUE(first.WaitUntilDone());
    EXPECT_TRUE(second.WaitUntilDone());
    EXPECT_EQ(ThreadsJoined(), joined + 1);
    EXPECT_EQ(ScriptedLog::CountOf(kStopMessage), 1U);
    EXPECT_EQ(Processed(), Range(1, 2));
    EXPECT_EQ(CleanedUp(), Numbers{});
    ExpectUsable(m_task, 3);
}

TEST_F(TaskRace, TwoStopsWithoutOrder)
{
    ConnectBoth(m_task);
    for (int round = 1; round <= kRounds; ++round) {
        m_task.Start("Source");
        const unsigned int joined = ThreadsJoined();
        RunTogether({[&] { m_task.Stop(); }, [&] { m_task.Stop(); }});
        EXPECT_EQ(ThreadsJoined(), joined + 1);
        EXPECT_FALSE(m_task.m_IsRunning());
        EXPECT_EQ(QueueSize(m_task), 0U);
    }
    ExpectUsable(m_task, 1);
}

TEST_F(TaskRace, AStopDuringAStartWaitsForTheLoopAndEndsIt)
{
    Gate preparing("the worker has been created");
    Gate goOn("the worker may begin");
    ScriptedLog::On({"m_Execute", "Enter"}, [&] {
        preparing.Open();
        goOn.Wait();
    });
    ConnectBoth(m_task);
    Post(m_task, 1, 2);
    TestThread starter([&] { m_task.Start("Source"); });
    preparing.Wait();
    TestThread stopper([&] { m_task.Stop(); });
    ScriptedLog::WaitFor({"Stop", "Enter"});
    goOn.Open();
    EXPECT_TRUE(starter.WaitUntilDone());
    EXPECT_TRUE(stopper.WaitUntilDone());
    EXPECT_EQ(Processed(), Range(1, 2));
    EXPECT_FALSE(m_task.m_IsRunning());
    ExpectUsable(m_task, 3);
}

TEST_F(TaskRace, StartAgainstStopWithoutOrder)
{
    ConnectBoth(m_task);
    for (int round = 1; round <= kRounds; ++round) {
        RunTogether({[&] { m_task.Start("Source"); }, [&] { m_task.Stop(); }});
        // Whoever came last decides; a task that runs is a task that works.
        EXPECT_FALSE(m_task.m_IsPreparing());
        m_task.Stop();
        EXPECT_FALSE(m_task.m_IsRunning());
    }
    ExpectUsable(m_task, 1);
}

TEST_F(TaskRace, TwoStartsCreateOneWorker)
{
    ConnectBoth(m_task);
    for (int round = 1; round <= kRounds; ++round) {
        const unsigned int created = ThreadsCreated();
        RunTogether({[&] { m_task.Start("Source"); }, [&] { m_task.Start("Source"); }});
        EXPECT_EQ(ThreadsCreated(), created + 1);
        m_task.Stop();
    }
    ExpectUsable(m_task, 1);
}

TEST_F(TaskRace, NoMarkerOfAnEndedWorkerEndsTheNext)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    // The client's marker ends the worker before the stop marker behind it is met.
    m_task.SendEvent(nullptr);
    ScriptedLog::Clear();
    TestThread stopper([&] { m_task.Stop(); });
    ScriptedLog::WaitFor({"SendEvent", "Exit"});
    ReleaseWorker();
    EXPECT_TRUE(stopper.WaitUntilDone());
    EXPECT_FALSE(m_task.m_IsRunning());
    ExpectUsable(m_task, 1);
}

TEST_F(TaskRace, AResetWhoseWorkerEndsBeforeItsMarkerReturns)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    m_task.SendEvent(nullptr);
    ScriptedLog::Clear();
    TestThread resetter([&] { m_task.Reset(); });
    ScriptedLog::WaitFor({"SendEvent", "Exit"});
    ReleaseWorker();
    EXPECT_TRUE(resetter.WaitUntilDone());
    ScriptedLog::WaitFor({"m_ThreadRoutine", "Exit"});
    EXPECT_FALSE(m_task.m_IsRunning());
    ExpectUsable(m_task, 1);
}

TEST_F(TaskRace, EveryEventEndsInOneCallbackWhateverHappens)
{
    constexpr int kPosters = 2;
    constexpr int kEach = 300;
    ConnectBoth(m_task);
    std::vector<std::function<void()>> bodies;
    for (int poster = 0; poster < kPosters; ++poster) {
        bodies.emplace_back([&, poster] { Post(m_task, poster * kEach + 1, (poster + 1) * kEach); });
    }
    bodies.emplace_back([&] {
        for (int round = 0; round < kRounds; ++round) {
            m_task.Start("Source");
            m_task.Reset();
        }
    });
    bodies.emplace_back([&] {
        for (int round = 0; round < kRounds; ++round) {
            m_task.Stop();
        }
    });
    RunTogether(bodies);
    m_task.Stop();
    m_task.Stop(); // without a worker: what is left goes to the cleanup

    Numbers all = Processed();
    const Numbers cleaned = CleanedUp();
    all.insert(all.end(), cleaned.begin(), cleaned.end());
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, Range(1, kPosters * kEach));
    ExpectUsable(m_task, kLastEvent);
}

TEST_F(TaskRace, PostersThatTrimAtOnceLoseNothing)
{
    constexpr int kPosters = 3;
    constexpr int kEach = 200;
    ConnectBoth(m_task);
    std::vector<std::function<void()>> bodies;
    for (int poster = 0; poster < kPosters; ++poster) {
        bodies.emplace_back([&, poster] { Post(m_task, poster * kEach + 1, (poster + 1) * kEach); });
    }
    RunTogether(bodies);
    EXPECT_EQ(QueueSize(m_task), 20U);
    EXPECT_EQ(CleanedUp().size(), static_cast<std::size_t>(kPosters * kEach - 20));
    m_task.Stop();
    Numbers all = CleanedUp();
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, Range(1, kPosters * kEach));
}
