// Starting the worker: its name, its number, and what keeps it from starting.

#include <sys/syscall.h>
#include <unistd.h>

#include "TaskFixture.h"

using TTML::CTask;
using namespace TTMLTest;

namespace {

class TaskStart : public TaskFixture
{
protected:
    // The name that the worker has when it handles an event.
    std::string WorkersName()
    {
        std::string name;
        m_onProcess = [&](int) { name = ThisThreadName(); };
        Post(m_task, 1, 1);
        m_task.Reset();
        m_onProcess = nullptr;
        return name;
    }

    CTask m_task;
};

const char* const kAlreadyCreated = "Thread is already created. New request for creation should not be made!";

} // namespace

TEST_F(TaskStart, NamesTheThread)
{
    ConnectBoth(m_task);
    m_task.Start("Inband");
    EXPECT_EQ(WorkersName(), "Inband");
    EXPECT_EQ(ScriptedLog::Substance(), std::vector<std::string>{});
}

TEST_F(TaskStart, TakesANameOf15CharactersWhole)
{
    ConnectBoth(m_task);
    m_task.Start("123456789012345");
    EXPECT_EQ(WorkersName(), "123456789012345");
    EXPECT_EQ(ScriptedLog::Substance(), std::vector<std::string>{});
}

TEST_F(TaskStart, WarnsOfANameOf16CharactersAndCutsIt)
{
    ConnectBoth(m_task);
    m_task.Start("1234567890123456");
    EXPECT_EQ(WorkersName(), "123456789012345");
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{"W Name [1234567890123456] is too long"}));
}

TEST_F(TaskStart, WarnsOfANameOf20CharactersAndCutsIt)
{
    ConnectBoth(m_task);
    m_task.Start("12345678901234567890");
    EXPECT_EQ(WorkersName(), "123456789012345");
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{"W Name [12345678901234567890] is too long"}));
}

TEST_F(TaskStart, WithoutANameTheThreadKeepsItsCreators)
{
    ConnectBoth(m_task);
    m_task.Start(nullptr);
    EXPECT_EQ(WorkersName(), ThisThreadName());
}

TEST_F(TaskStart, AnEmptyNameIsAName)
{
    ConnectBoth(m_task);
    m_task.Start("");
    EXPECT_EQ(WorkersName(), "");
}

TEST_F(TaskStart, TheWorkerHasItsNameBeforeItsFirstLine)
{
    for (int round = 0; round < 20; ++round) {
        m_task.Start("Source");
        m_task.Stop();
    }
    const Trace once = {"m_ThreadRoutine: Enter", "m_Execute: Enter",
                        "m_Execute: Task: Stop task event: stopping infinite loop.", "m_Execute: Exit",
                        "m_ThreadRoutine: Exit"};
    Trace expected;
    for (int round = 0; round < 20; ++round) {
        expected.insert(expected.end(), once.begin(), once.end());
    }
    EXPECT_EQ(ScriptedLog::TraceOf("Source"), expected);
}

TEST_F(TaskStart, ReturnsOnceTheLoopHasBegun)
{
    for (int round = 0; round < 20; ++round) {
        m_task.Start("Source");
        EXPECT_TRUE(m_task.m_IsRunning());
        EXPECT_FALSE(m_task.m_IsPreparing());
        m_task.Stop();
        EXPECT_FALSE(m_task.m_IsRunning());
        EXPECT_FALSE(m_task.m_IsPreparing());
    }
}

TEST_F(TaskStart, ATaskThatWasNeverStartedIsNeitherRunningNorPreparing)
{
    EXPECT_FALSE(m_task.m_IsRunning());
    EXPECT_FALSE(m_task.m_IsPreparing());
    EXPECT_FALSE(m_task.IsTaskIgnored());
    EXPECT_EQ(RunningThreadId(m_task), 0);
}

TEST_F(TaskStart, TheRunningThreadIdIsTheKernelsNumberOfTheWorker)
{
    long number = 0;
    int noted = 0;
    m_onProcess = [&](int) {
        number = syscall(SYS_gettid);
        noted = RunningThreadId(m_task);
    };
    ConnectBoth(m_task);
    m_task.Start("Source");
    Post(m_task, 1, 1);
    m_task.Reset();
    EXPECT_EQ(noted, number);
    EXPECT_NE(noted, 0);
    m_task.Stop();
    EXPECT_EQ(RunningThreadId(m_task), 0);
}

TEST_F(TaskStart, ASecondStartIsRefused)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    const unsigned int created = ThreadsCreated();
    ScriptedLog::Clear();
    m_task.Start("Other");
    EXPECT_EQ(ThreadsCreated(), created);
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{std::string("E ") + kAlreadyCreated}));
    EXPECT_EQ(WorkersName(), "Source");
}

TEST_F(TaskStart, AStartWhileAnotherStartPreparesIsRefused)
{
    Gate preparing("the worker has been created");
    Gate goOn("the worker may begin");
    ScriptedLog::On({"m_ThreadRoutine", "Enter"}, [&] {
        preparing.Open();
        goOn.Wait();
    });
    ConnectBoth(m_task);
    const unsigned int created = ThreadsCreated();
    TestThread first([&] { m_task.Start("Source"); });
    preparing.Wait();
    TestThread second([&] { m_task.Start("Other"); });
    ScriptedLog::WaitFor({"Start", "Enter"}, 2);
    goOn.Open();
    EXPECT_TRUE(first.WaitUntilDone());
    EXPECT_TRUE(second.WaitUntilDone());
    EXPECT_EQ(ThreadsCreated(), created + 1);
    EXPECT_EQ(ScriptedLog::CountOf(kAlreadyCreated), 1U);
    EXPECT_TRUE(m_task.m_IsRunning());
}

TEST_F(TaskStart, TheTaskIsPreparingUntilTheLoopBegins)
{
    bool preparing = false;
    bool running = true;
    ScriptedLog::On({"m_Execute", "Enter"}, [&] {
        preparing = m_task.m_IsPreparing();
        running = m_task.m_IsRunning();
    });
    m_task.Start("Source");
    EXPECT_TRUE(preparing);
    EXPECT_FALSE(running);
    EXPECT_FALSE(m_task.m_IsPreparing());
    EXPECT_TRUE(m_task.m_IsRunning());
}

TEST_F(TaskStart, ATaskCanBeStartedAgainAfterAStop)
{
    ConnectBoth(m_task);
    for (int round = 1; round <= 5; ++round) {
        m_task.Start("Source");
        Post(m_task, round, round);
        m_task.Stop();
        EXPECT_EQ(Processed(), Range(1, round));
    }
}

TEST_F(TaskStart, AFailedThreadCreationIsLoggedAndAbsorbed)
{
    ConnectBoth(m_task);
    {
        const FaultInjection fault(Call::THREAD_CREATE);
        m_task.Start("a name that is too long");
        EXPECT_EQ(fault.Failed(), 1U);
    }
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{"E pthread_create FAILED !!"}));
    EXPECT_FALSE(m_task.m_IsRunning());
    EXPECT_FALSE(m_task.m_IsPreparing());
}

TEST_F(TaskStart, ATaskCanBeStartedAfterAFailedThreadCreation)
{
    ConnectBoth(m_task);
    {
        const FaultInjection fault(Call::THREAD_CREATE);
        m_task.Start("Source");
    }
    Post(m_task, 1, 1);
    m_task.Reset();
    EXPECT_EQ(Processed(), Numbers{});
    m_task.Start("Source");
    m_task.Reset();
    EXPECT_EQ(Processed(), Numbers{1});
}

TEST_F(TaskStart, TheThreadRoutineDoesNothingWithoutATask)
{
    ScriptedLog::Clear();
    EXPECT_EQ(CallThreadRoutine(nullptr), nullptr);
    EXPECT_EQ(ScriptedLog::Trace(), Scope("m_ThreadRoutine"));
}
