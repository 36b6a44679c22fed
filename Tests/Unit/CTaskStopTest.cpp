// Stopping the worker and destroying the task.

#include <cerrno>

#include "TaskFixture.h"

using TTML::CTask;
using namespace TTMLTest;

namespace {

class TaskStop : public TaskFixture
{
protected:
    CTask m_task;
};

class TaskDestruction : public TaskFixture
{
protected:
    std::unique_ptr<CTask> m_task = std::make_unique<CTask>();
};

// What a class that is derived from the task uses in its destructor.
class OwnerTask : public CTask
{
public:
    using CTask::t_HasWorker;
    using CTask::t_TakeUnhandled;
};

const char* const kStopMessage = "Task: Stop task event: stopping infinite loop.";

} // namespace

TEST_F(TaskStop, HandlesWhatIsQueuedAndJoinsTheWorker)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 30);
    const unsigned int joined = ThreadsJoined();
    TestThread stopper([&] { m_task.Stop(); });
    ScriptedLog::WaitFor({"Stop", "Enter"});
    EXPECT_FALSE(stopper.IsDone());
    ReleaseWorker();
    EXPECT_TRUE(stopper.WaitUntilDone());
    EXPECT_EQ(Processed(), Range(1, 30));
    EXPECT_EQ(CleanedUp(), Numbers{});
    EXPECT_EQ(ThreadsJoined(), joined + 1);
    EXPECT_FALSE(m_task.m_IsRunning());
    EXPECT_FALSE(m_task.m_IsPreparing());
}

TEST_F(TaskStop, ReturnsAfterTheWorkersStopMessage)
{
    m_task.Start("Source");
    ScriptedLog::Clear();
    m_task.Stop();
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{std::string("I ") + kStopMessage, "I After pthread_join"}));
}

TEST_F(TaskStop, EventsBehindTheStopMarkerStayAndAreProcessedAfterANewStart)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 2);
    ScriptedLog::Clear();
    TestThread stopper([&] { m_task.Stop(); });
    ScriptedLog::WaitFor({"SendEvent", "Exit"}); // the marker is queued
    Post(m_task, 3, 5);
    ReleaseWorker();
    EXPECT_TRUE(stopper.WaitUntilDone());
    EXPECT_EQ(Processed(), Range(1, 2));
    EXPECT_EQ(CleanedUp(), Numbers{});
    EXPECT_EQ(QueueSize(m_task), 3U);

    m_task.Start("Source");
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 5));
}

TEST_F(TaskStop, OnAStoppedTaskHandsTheQueueToTheCleanup)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    m_task.Stop();
    Post(m_task, 1, 7);
    ScriptedLog::Clear();
    m_task.Stop();
    EXPECT_EQ(CleanedUp(), Range(1, 7));
    EXPECT_EQ(Processed(), Numbers{});
    EXPECT_EQ(QueueSize(m_task), 0U);
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{"I Task is neither running nor in preparation stage! Q Size=[7]"}));
}

TEST_F(TaskStop, OnAStoppedTaskWithoutCleanupOnlyWarns)
{
    ConnectProcessor(m_task);
    Post(m_task, 1, 3);
    m_task.Stop();
    EXPECT_EQ(QueueSize(m_task), 3U);
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{"I Task is neither running nor in preparation stage! Q Size=[3]",
                                        "W No Cleanup CB is registered!!! queueSize=[3]"}));
}

TEST_F(TaskStop, OnAStoppedTaskWithAnEmptyQueueCleansNothing)
{
    ConnectBoth(m_task);
    m_task.Stop();
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{"I Task is neither running nor in preparation stage! Q Size=[0]"}));
}

TEST_F(TaskStop, AMarkerOfTheClientEndsTheWorkerToo)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    Post(m_task, 1, 1);
    EXPECT_TRUE(m_task.SendEvent(nullptr));
    ScriptedLog::WaitFor({"m_ThreadRoutine", "Exit"});
    EXPECT_FALSE(m_task.m_IsRunning());
    EXPECT_EQ(Processed(), Numbers{1});

    m_task.Start("Source");
    Post(m_task, 2, 2);
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 2));
}

TEST_F(TaskStop, AfterAMarkerOfTheClientReturns)
{
    m_task.Start("Source");
    m_task.SendEvent(nullptr);
    ScriptedLog::WaitFor({"m_ThreadRoutine", "Exit"});
    m_task.Stop();
    EXPECT_FALSE(m_task.m_IsRunning());
}

TEST_F(TaskStop, AFailedJoinIsLoggedWithItsReason)
{
    m_task.Start("Source");
    ScriptedLog::Clear();
    {
        const FaultInjection fault(Call::THREAD_JOIN, 1, 1, FaultScope::THIS_THREAD, EINVAL);
        m_task.Stop();
        EXPECT_EQ(fault.Failed(), 1U);
    }
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{std::string("I ") + kStopMessage,
                                        "W pthread_join FAILED with errorCode: [22][Invalid argument]!",
                                        "I After pthread_join"}));
    EXPECT_FALSE(m_task.m_IsRunning());
}

TEST_F(TaskStop, AFailedJoinNamesAnotherError)
{
    m_task.Start("Source");
    {
        const FaultInjection fault(Call::THREAD_JOIN, 1, 1, FaultScope::THIS_THREAD, ESRCH);
        m_task.Stop();
    }
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING),
              (std::vector<std::string>{"pthread_join FAILED with errorCode: [3][No such process]!"}));
}

TEST_F(TaskStop, ATaskWorksAgainAfterAFailedJoin)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    {
        const FaultInjection fault(Call::THREAD_JOIN);
        m_task.Stop();
    }
    m_task.Start("Source");
    Post(m_task, 1, 2);
    m_task.Stop();
    EXPECT_EQ(Processed(), Range(1, 2));
}

TEST_F(TaskDestruction, DeletesBothCallbacksOnce)
{
    ConnectBoth(*m_task);
    m_task.reset();
    EXPECT_EQ(m_processorsDeleted, 1);
    EXPECT_EQ(m_cleanupsDeleted, 1);
}

TEST_F(TaskDestruction, DeletesTheProcessorAlone)
{
    ConnectProcessor(*m_task);
    m_task.reset();
    EXPECT_EQ(m_processorsDeleted, 1);
    EXPECT_EQ(m_cleanupsDeleted, 0);
}

TEST_F(TaskDestruction, ALaterConnectReplacesWithoutDeleting)
{
    TTML::ICallback* const first = NewProcessor();
    TTML::ICallback* const firstCleanup = NewCleanup();
    m_task->Connect(first, firstCleanup);
    ConnectBoth(*m_task);
    EXPECT_EQ(m_processorsDeleted, 0);
    EXPECT_EQ(m_cleanupsDeleted, 0);
    m_task.reset();
    EXPECT_EQ(m_processorsDeleted, 1);
    EXPECT_EQ(m_cleanupsDeleted, 1);
    delete first;
    delete firstCleanup;
}

TEST_F(TaskDestruction, StopsARunningTaskAndSetsIgnoredBefore)
{
    bool ignoredAtStop = false;
    ScriptedLog::On({"Stop", "Enter"}, [&] { ignoredAtStop = m_task->IsTaskIgnored(); });
    ConnectBoth(*m_task);
    m_task->Start("Source");
    EXPECT_FALSE(m_task->IsTaskIgnored());
    Post(*m_task, 1, 3);
    ScriptedLog::Clear();
    // The object is still whole when the destructor stops it, but the pointer must be for the action above.
    CTask* const task = m_task.get();
    task->~CTask();
    ::operator delete(m_task.release());
    EXPECT_TRUE(ignoredAtStop);
    EXPECT_EQ(Processed(), Range(1, 3));
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{"I Task still running. Stopping now.",
                                        std::string("I ") + kStopMessage, "I After pthread_join"}));
}

TEST_F(TaskDestruction, OfAStoppedTaskSaysNothing)
{
    m_task->Start("Source");
    m_task->Stop();
    ScriptedLog::Clear();
    m_task.reset();
    EXPECT_EQ(ScriptedLog::Substance(), std::vector<std::string>{});
}

TEST_F(TaskDestruction, EventsThatAreStillQueuedReachNoCallback)
{
    ConnectBoth(*m_task);
    Post(*m_task, 1, 5);
    m_task.reset();
    EXPECT_EQ(Processed(), Numbers{});
    EXPECT_EQ(CleanedUp(), Numbers{});
}

TEST_F(TaskDestruction, EventsBehindAMarkerReachNoCallback)
{
    ConnectBoth(*m_task);
    m_task->Start("Source");
    HoldWorker(*m_task);
    Post(*m_task, 1, 2);
    EXPECT_TRUE(m_task->SendEvent(nullptr));
    Post(*m_task, 3, 5);
    // The worker goes on once the destructor has queued the stop marker.
    ScriptedLog::On({"SendEvent", "Exit"}, [&] { ReleaseWorker(); });
    m_task.reset();
    EXPECT_EQ(Processed(), Range(1, 2));
    EXPECT_EQ(CleanedUp(), Numbers{});
}

TEST_F(TaskDestruction, EventsReachNoCallbackEitherWhenTheWorkerEndsBeforeTheStop)
{
    ConnectBoth(*m_task);
    m_task->Start("Source");
    HoldWorker(*m_task);
    Post(*m_task, 1, 2);
    EXPECT_TRUE(m_task->SendEvent(nullptr));
    Post(*m_task, 3, 5);
    // The destructor has seen the worker run, and stops it when it has just ended.
    ScriptedLog::On("Task still running. Stopping now.", [&] {
        ReleaseWorker();
        ScriptedLog::WaitFor({"m_ThreadRoutine", "Exit"});
    });
    m_task.reset();
    EXPECT_EQ(Processed(), Range(1, 2));
    EXPECT_EQ(CleanedUp(), Numbers{});
}

TEST_F(TaskDestruction, JoinsAWorkerThatAMarkerOfTheClientHasEnded)
{
    m_task->Start("Source");
    const unsigned int joined = ThreadsJoined();
    m_task->SendEvent(nullptr);
    ScriptedLog::WaitFor({"m_ThreadRoutine", "Exit"});
    m_task.reset();
    EXPECT_EQ(ThreadsJoined(), joined + 1);
}

TEST_F(TaskDestruction, TheIgnoredFlagIsTheClientsToSet)
{
    m_task->SetTaskState(true);
    EXPECT_TRUE(m_task->IsTaskIgnored());
    m_task->SetTaskState(false);
    EXPECT_FALSE(m_task->IsTaskIgnored());
}

TEST_F(TaskStop, AnOwnerTakesWhatTheWorkerLeft)
{
    OwnerTask task;
    ConnectBoth(task);
    task.Start("Source");
    EXPECT_TRUE(task.t_HasWorker());
    HoldWorker(task);
    Post(task, 1, 2);
    EXPECT_TRUE(task.SendEvent(nullptr));
    Post(task, 3, 4);
    ScriptedLog::On({"SendEvent", "Exit"}, [&] { ReleaseWorker(); });
    task.Stop();
    EXPECT_FALSE(task.t_HasWorker());
    EXPECT_EQ(Processed(), Range(1, 2));
    EXPECT_EQ(task.t_TakeUnhandled(), Event(3));
    EXPECT_EQ(task.t_TakeUnhandled(), Event(4));
    EXPECT_EQ(task.t_TakeUnhandled(), nullptr);
    EXPECT_EQ(CleanedUp(), Numbers{});
}

TEST_F(TaskStop, AnOwnerTakesEventsFromBetweenMarkers)
{
    OwnerTask task;
    ConnectBoth(task);
    EXPECT_TRUE(task.SendEvent(nullptr));
    Post(task, 1, 1);
    EXPECT_TRUE(task.SendEvent(nullptr));
    Post(task, 2, 2);
    EXPECT_TRUE(task.SendEvent(nullptr));
    EXPECT_EQ(task.t_TakeUnhandled(), Event(1));
    EXPECT_EQ(task.t_TakeUnhandled(), Event(2));
    EXPECT_EQ(task.t_TakeUnhandled(), nullptr);
}
