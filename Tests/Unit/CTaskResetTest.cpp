// Reset as a barrier, and the failures of its semaphore.

#include <cerrno>

#include "TaskFixture.h"

using TTML::CTask;
using namespace TTMLTest;

namespace {

class TaskReset : public TaskFixture
{
protected:
    CTask m_task;
};

} // namespace

TEST_F(TaskReset, ReturnsOnlyWhenEveryEarlierEventHasBeenProcessed)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 10);
    Numbers atReturn;
    TestThread resetter([&] {
        m_task.Reset();
        atReturn = Processed();
    });
    ScriptedLog::WaitFor({"Reset", "Enter"});
    EXPECT_FALSE(resetter.IsDone());
    ReleaseWorker();
    EXPECT_TRUE(resetter.WaitUntilDone());
    EXPECT_EQ(atReturn, Range(1, 10));
    EXPECT_TRUE(m_task.m_IsRunning());
}

TEST_F(TaskReset, DoesNotEndTheWorker)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    const unsigned int created = ThreadsCreated();
    for (int round = 1; round <= 50; ++round) {
        Post(m_task, round, round);
        m_task.Reset();
        ASSERT_EQ(Processed(), Range(1, round));
    }
    EXPECT_EQ(ScriptedLog::CountOf("Task: Stop task event: stopping infinite loop."), 0U);
    EXPECT_EQ(ThreadsCreated(), created);
}

TEST_F(TaskReset, IsABarrierRightAfterStart)
{
    ConnectBoth(m_task);
    for (int round = 1; round <= 20; ++round) {
        m_task.Start("Source");
        Post(m_task, round, round);
        m_task.Reset();
        EXPECT_EQ(Processed(), Range(1, round));
        m_task.Stop();
    }
}

TEST_F(TaskReset, ReturnsAtOnceOnATaskThatWasNotStarted)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 3);
    ScriptedLog::Clear();
    m_task.Reset();
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{"I Returning as task is not running"}));
    EXPECT_EQ(QueueSize(m_task), 3U);
}

TEST_F(TaskReset, ReturnsAtOnceOnAStoppedTask)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    m_task.Stop();
    Post(m_task, 1, 3);
    ScriptedLog::Clear();
    m_task.Reset();
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{"I Returning as task is not running"}));
    EXPECT_EQ(QueueSize(m_task), 3U);
}

TEST_F(TaskReset, LeavesNoMarkerForAStopToMeet)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    m_task.Reset();
    m_task.Reset();
    Post(m_task, 1, 2);
    m_task.Stop();
    EXPECT_EQ(Processed(), Range(1, 2));
    EXPECT_EQ(ScriptedLog::CountOf("Task: Stop task event: stopping infinite loop."), 1U);
    EXPECT_EQ(QueueSize(m_task), 0U);
}

TEST_F(TaskReset, AnInterruptedWaitIsRepeated)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 3);
    ScriptedLog::Clear();
    Numbers atReturn;
    TestThread resetter([&] {
        const FaultInjection interruptions(Call::SEM_WAIT, 1, 3, FaultScope::THIS_THREAD, EINTR);
        m_task.Reset();
        atReturn = Processed();
        EXPECT_EQ(interruptions.Failed(), 3U);
        EXPECT_EQ(interruptions.Calls(), 4U);
    });
    ScriptedLog::WaitFor({"SendEvent", "Exit"});
    ReleaseWorker();
    EXPECT_TRUE(resetter.WaitUntilDone());
    EXPECT_EQ(atReturn, Range(1, 3));
    EXPECT_EQ(ScriptedLog::Substance(), std::vector<std::string>{});
}

TEST_F(TaskReset, AFailedWaitIsLoggedAndTheCallerReturns)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    ScriptedLog::Clear();
    const FaultInjection fault(Call::SEM_WAIT);
    m_task.Reset();
    EXPECT_EQ(fault.Failed(), 1U);
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{"E Error returned by sem_wait"}));
    EXPECT_TRUE(m_task.m_IsRunning());
}

TEST_F(TaskReset, IsABarrierAgainAfterAFailedWait)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    {
        const FaultInjection fault(Call::SEM_WAIT);
        m_task.Reset();
    }
    // Nothing that the failed wait left behind may let a later one through.
    for (int round = 0; round < 3; ++round) {
        HoldWorker(m_task);
        Post(m_task, round * 3 + 1, round * 3 + 3);
        ScriptedLog::Clear();
        Numbers atReturn;
        TestThread resetter([&] {
            m_task.Reset();
            atReturn = Processed();
        });
        ScriptedLog::WaitFor({"SendEvent", "Exit"});
        ReleaseWorker();
        EXPECT_TRUE(resetter.WaitUntilDone());
        EXPECT_EQ(atReturn, Range(1, round * 3 + 3));
    }
    EXPECT_TRUE(m_task.m_IsRunning());
}

TEST_F(TaskReset, AFailedPostIsLoggedAndTheCallerReturns)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    ScriptedLog::Clear();
    {
        const FaultInjection fault(Call::SEM_POST, 1, 1, FaultScope::ANY_THREAD);
        Post(m_task, 1, 3);
        m_task.Reset();
        EXPECT_EQ(fault.Failed(), 1U);
    }
    EXPECT_EQ(Processed(), Range(1, 3));
    ScriptedLog::WaitFor("Error returned by sem_post");
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{"E Error returned by sem_post"}));
    Post(m_task, 4, 6);
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 6));
    EXPECT_TRUE(m_task.m_IsRunning());
}

TEST_F(TaskReset, TheFailedPostIsTheWorkersLine)
{
    m_task.Start("Source");
    {
        const FaultInjection fault(Call::SEM_POST, 1, 1, FaultScope::ANY_THREAD);
        m_task.Reset();
    }
    ScriptedLog::WaitFor("Error returned by sem_post");
    EXPECT_EQ(ScriptedLog::TraceOf("Source"),
              (Trace{"m_ThreadRoutine: Enter", "m_Execute: Enter", "m_Execute: Error returned by sem_post"}));
}

TEST_F(TaskReset, ASemaphoreThatCouldNotBeInitialisedMakesTheWaitFail)
{
    const FaultInjection fault(Call::SEM_INIT);
    CTask task;
    EXPECT_EQ(fault.Failed(), 1U);
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_ERROR),
              (std::vector<std::string>{"Error returned by sem_init"}));

    ConnectBoth(task);
    task.Start("Source");
    ScriptedLog::Clear();
    task.Reset();
    EXPECT_EQ(ScriptedLog::CountOf("Error returned by sem_wait"), 1U);
    EXPECT_EQ(ScriptedLog::CountOf("Task: Stop task event: stopping infinite loop."), 0U);

    Post(task, 1, 3);
    task.Stop();
    EXPECT_EQ(Processed(), Range(1, 3));
}
