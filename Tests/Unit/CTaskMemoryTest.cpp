// A queue that cannot grow.

#include <new>

#include "FaultWalk.h"
#include "TaskFixture.h"

using TTML::CTask;
using namespace TTMLTest;

namespace {

class TaskMemory : public TaskFixture
{
protected:
    // Posts with a queue that cannot grow until it is full; the number of events that went in.
    int Fill(CTask& task)
    {
        const FaultInjection fault(Call::NEW, 1, FaultInjection::kAll);
        int number = 0;
        while (number < kLastEvent && task.SendEvent(Event(number + 1))) {
            ++number;
        }
        EXPECT_GT(fault.Failed(), 0U);
        EXPECT_LT(number, kLastEvent);
        return number;
    }

    // Runs `body` with no memory to be had on the calling thread.
    template <class Body>
    static void WithoutMemory(Body body)
    {
        const FaultInjection throwing(Call::NEW, 1, FaultInjection::kAll);
        const FaultInjection nothrow(Call::NEW_NOTHROW, 1, FaultInjection::kAll);
        body();
    }
};

} // namespace

TEST_F(TaskMemory, TheConstructorThrowsWhenThereIsNone)
{
    const unsigned int failures = WalkFaults([](unsigned int step) {
        const FaultInjection fault(Call::NEW, step);
        try {
            const CTask task;
            EXPECT_EQ(fault.Failed(), 0U) << "an allocation failed and nothing was thrown";
            return false;
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(fault.Failed(), 1U);
            return true;
        }
    });
    EXPECT_GE(failures, 2U) << "the constructor allocated nothing";
}

TEST_F(TaskMemory, AnEventThatFindsNoRoomStaysThePosters)
{
    CTask task;
    ConnectBoth(task);
    task.Start("Source");
    HoldWorker(task);
    const int fitted = Fill(task);
    EXPECT_EQ(QueueSize(task), static_cast<std::size_t>(fitted));
    ReleaseWorker();
    task.Reset();
    EXPECT_EQ(Processed(), Range(1, fitted));
    EXPECT_EQ(CleanedUp(), Numbers{});
}

TEST_F(TaskMemory, TheQueueWorksAgainWhenThereIsMemory)
{
    CTask task;
    ConnectBoth(task);
    task.Start("Source");
    HoldWorker(task);
    const int fitted = Fill(task);
    Post(task, fitted + 1, fitted + 100);
    ReleaseWorker();
    task.Reset();
    EXPECT_EQ(Processed(), Range(1, fitted + 100));
}

TEST_F(TaskMemory, OnATaskWithoutWorkerAnEventThatFindsNoRoomDropsNothing)
{
    CTask task;
    ConnectProcessor(task);
    const int fitted = Fill(task);
    EXPECT_EQ(QueueSize(task), static_cast<std::size_t>(fitted));
    task.Start("Source");
    task.Reset();
    EXPECT_EQ(Processed(), Range(1, fitted));
}

TEST_F(TaskMemory, StopNeedsNoRoomForItsMarker)
{
    CTask task;
    ConnectBoth(task);
    task.Start("Source");
    HoldWorker(task);
    const int fitted = Fill(task);
    ScriptedLog::Clear();
    TestThread stopper([&] { WithoutMemory([&] { task.Stop(); }); });
    ScriptedLog::WaitFor({"SendEvent", "Exit"});
    ReleaseWorker();
    EXPECT_TRUE(stopper.WaitUntilDone());
    EXPECT_EQ(Processed(), Range(1, fitted));
    EXPECT_EQ(ScriptedLog::CountOf("Task: Stop task event: stopping infinite loop."), 1U);
    EXPECT_FALSE(task.m_IsRunning());
}

TEST_F(TaskMemory, EventsBehindAMarkerWithoutRoomStayBehindIt)
{
    CTask task;
    ConnectBoth(task);
    task.Start("Source");
    HoldWorker(task);
    const int fitted = Fill(task);
    ScriptedLog::Clear();
    TestThread stopper([&] { WithoutMemory([&] { task.Stop(); }); });
    ScriptedLog::WaitFor({"SendEvent", "Exit"});
    Post(task, fitted + 1, fitted + 3);
    ReleaseWorker();
    EXPECT_TRUE(stopper.WaitUntilDone());
    EXPECT_EQ(Processed(), Range(1, fitted));
    EXPECT_EQ(QueueSize(task), 3U);
    task.Start("Source");
    task.Reset();
    EXPECT_EQ(Processed(), Range(1, fitted + 3));
}

TEST_F(TaskMemory, ResetNeedsNoRoomForItsMarker)
{
    CTask task;
    ConnectBoth(task);
    task.Start("Source");
    HoldWorker(task);
    const int fitted = Fill(task);
    ScriptedLog::Clear();
    Numbers atReturn;
    TestThread resetter([&] {
        WithoutMemory([&] { task.Reset(); });
        atReturn = Processed();
    });
    ScriptedLog::WaitFor({"SendEvent", "Exit"});
    Post(task, fitted + 1, fitted + 3);
    ReleaseWorker();
    EXPECT_TRUE(resetter.WaitUntilDone());
    atReturn.resize(static_cast<std::size_t>(fitted)); // those behind the marker may be through as well
    EXPECT_EQ(atReturn, Range(1, fitted));
    task.Stop();
    EXPECT_EQ(Processed(), Range(1, fitted + 3));
}

TEST_F(TaskMemory, AMarkerOfTheClientAlwaysFindsRoom)
{
    CTask task;
    ConnectBoth(task);
    task.Start("Source");
    HoldWorker(task);
    const int fitted = Fill(task);
    WithoutMemory([&] { EXPECT_TRUE(task.SendEvent(nullptr)); });
    Post(task, fitted + 1, fitted + 1);
    ReleaseWorker();
    ScriptedLog::WaitFor({"m_ThreadRoutine", "Exit"});
    EXPECT_EQ(Processed(), Range(1, fitted));
    EXPECT_EQ(QueueSize(task), 1U);
}

TEST_F(TaskMemory, NoOperationThrowsWithoutMemory)
{
    CTask task;
    ConnectBoth(task);
    WithoutMemory([&] {
        task.Start("a name that is too long");
        task.Reset();
        task.Stop();
        task.Stop();
    });
    EXPECT_FALSE(task.m_IsRunning());
}
