// The lines of each operation, in their order.

#include <new>

#include "TaskFixture.h"

using TTML::CTask;
using namespace TTMLTest;

namespace {

class TaskTrace : public TaskFixture
{
protected:
    // The lines of the calling thread while `body` runs.
    template <class Body>
    static Trace LinesOf(Body body)
    {
        ScriptedLog::Clear();
        body();
        return ScriptedLog::TraceOfThisThread();
    }

    CTask m_task;
};

const Trace kIsRunning = Scope("m_IsRunning");
const Trace kIsPreparing = Scope("m_IsPreparing");
const Trace kSendEvent = Scope("SendEvent", {kIsRunning});

} // namespace

TEST_F(TaskTrace, OfTheConstructor)
{
    alignas(CTask) unsigned char memory[sizeof(CTask)];
    CTask* task = nullptr;
    EXPECT_EQ(LinesOf([&] { task = new (memory) CTask; }), Scope("CTask", {Scope("m_Create")}));
    task->~CTask();
}

TEST_F(TaskTrace, OfTheConstructorWithoutSemaphore)
{
    alignas(CTask) unsigned char memory[sizeof(CTask)];
    CTask* task = nullptr;
    EXPECT_EQ(LinesOf([&] {
                  const FaultInjection fault(Call::SEM_INIT);
                  task = new (memory) CTask;
              }),
              Scope("CTask", {Scope("m_Create", {{"m_Create: Error returned by sem_init"}})}));
    task->~CTask();
}

TEST_F(TaskTrace, OfTheDestructorOfAStoppedTask)
{
    alignas(CTask) unsigned char memory[sizeof(CTask)];
    CTask* const task = new (memory) CTask;
    EXPECT_EQ(LinesOf([&] { task->~CTask(); }),
              Scope("~CTask", {kIsRunning, kIsPreparing, Scope("m_Destroy")}));
}

TEST_F(TaskTrace, OfTheDestructorOfARunningTask)
{
    alignas(CTask) unsigned char memory[sizeof(CTask)];
    CTask* const task = new (memory) CTask;
    task->Start("Source");
    EXPECT_EQ(LinesOf([&] { task->~CTask(); }),
              Scope("~CTask", {kIsRunning,
                               {"~CTask: Task still running. Stopping now."},
                               Scope("SetTaskState"),
                               Scope("Stop", {kIsRunning, kSendEvent, {"Stop: After pthread_join"}}),
                               Scope("m_Destroy")}));
}

TEST_F(TaskTrace, OfTheOneLineOperations)
{
    EXPECT_EQ(LinesOf([&] { m_task.Connect(nullptr, nullptr); }), Scope("Connect"));
    EXPECT_EQ(LinesOf([&] { m_task.m_IsRunning(); }), kIsRunning);
    EXPECT_EQ(LinesOf([&] { m_task.m_IsPreparing(); }), kIsPreparing);
    EXPECT_EQ(LinesOf([&] { m_task.SetTaskState(false); }), Scope("SetTaskState"));
    EXPECT_EQ(LinesOf([&] { m_task.IsTaskIgnored(); }), Scope("IsTaskIgnored"));
    EXPECT_EQ(LinesOf([&] { m_task.Lock(); }), Scope("Lock"));
    EXPECT_EQ(LinesOf([&] { m_task.Unlock(); }), Scope("Unlock"));
}

TEST_F(TaskTrace, OfAStart)
{
    EXPECT_EQ(LinesOf([&] { m_task.Start("Source"); }), Scope("Start", {kIsRunning, kIsPreparing}));
    EXPECT_EQ(ScriptedLog::TraceOf("Source"), (Trace{"m_ThreadRoutine: Enter", "m_Execute: Enter"}));
}

TEST_F(TaskTrace, OfAStartWithALongName)
{
    EXPECT_EQ(LinesOf([&] { m_task.Start("1234567890123456"); }),
              Scope("Start", {kIsRunning, kIsPreparing, {"Start: Name [1234567890123456] is too long"}}));
}

TEST_F(TaskTrace, OfAStartThatIsRefused)
{
    m_task.Start("Source");
    EXPECT_EQ(LinesOf([&] { m_task.Start("Source"); }),
              Scope("Start", {kIsRunning,
                              {"Start: Thread is already created. New request for creation should not be "
                               "made!"}}));
}

TEST_F(TaskTrace, OfAStartWithoutAThread)
{
    const FaultInjection fault(Call::THREAD_CREATE);
    EXPECT_EQ(LinesOf([&] { m_task.Start("Source"); }),
              Scope("Start", {kIsRunning, kIsPreparing, {"Start: pthread_create FAILED !!"}}));
}

TEST_F(TaskTrace, OfAPostToARunningTask)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    EXPECT_EQ(LinesOf([&] { m_task.SendEvent(Event(1)); }), kSendEvent);
    m_task.Reset();
    EXPECT_EQ(ScriptedLog::TraceOf("Source"), Trace{}) << "the worker's loop has no lines of its own";
}

TEST_F(TaskTrace, OfAPostToAStoppedTask)
{
    ConnectBoth(m_task);
    EXPECT_EQ(LinesOf([&] { m_task.SendEvent(Event(1)); }), kSendEvent);
}

TEST_F(TaskTrace, OfAPostThatTrims)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 20);
    EXPECT_EQ(LinesOf([&] { m_task.SendEvent(Event(21)); }),
              Scope("SendEvent", {kIsRunning, kIsPreparing, Scope("m_Clear")}));
}

TEST_F(TaskTrace, OfAPostThatCannotTrim)
{
    Post(m_task, 1, 20);
    EXPECT_EQ(
        LinesOf([&] { m_task.SendEvent(Event(21)); }),
        Scope("SendEvent", {kIsRunning, kIsPreparing,
                            Scope("m_Clear", {{"m_Clear: No Cleanup CB is registered!!! queueSize=[21]"}})}));
}

TEST_F(TaskTrace, OfAStop)
{
    m_task.Start("Source");
    EXPECT_EQ(LinesOf([&] { m_task.Stop(); }),
              Scope("Stop", {kIsRunning, kSendEvent, {"Stop: After pthread_join"}}));
    EXPECT_EQ(ScriptedLog::TraceOf("Source"),
              (Trace{"m_Execute: Task: Stop task event: stopping infinite loop.", "m_Execute: Exit",
                     "m_ThreadRoutine: Exit"}));
}

TEST_F(TaskTrace, OfAStopOfAStoppedTask)
{
    const std::string notRunning = "Stop: Task is neither running nor in preparation stage! Q Size=";
    EXPECT_EQ(LinesOf([&] { m_task.Stop(); }),
              Scope("Stop", {kIsRunning, kIsPreparing, {notRunning + "[0]"}}));
    ConnectBoth(m_task);
    Post(m_task, 1, 2);
    EXPECT_EQ(LinesOf([&] { m_task.Stop(); }),
              Scope("Stop", {kIsRunning, kIsPreparing, {notRunning + "[2]"}, Scope("m_Clear")}));
}

TEST_F(TaskTrace, OfAReset)
{
    m_task.Start("Source");
    EXPECT_EQ(LinesOf([&] { m_task.Reset(); }), Scope("Reset", {kIsRunning, kSendEvent}));
}

TEST_F(TaskTrace, OfAResetOfAStoppedTask)
{
    EXPECT_EQ(LinesOf([&] { m_task.Reset(); }),
              Scope("Reset", {kIsRunning, {"Reset: Returning as task is not running"}}));
}

TEST_F(TaskTrace, LevelsOfAWholeLife)
{
    {
        CTask task;
        ConnectBoth(task);
        task.Start("Source");
        task.Start("Source");
        Post(task, 1, 1);
        task.Reset();
        task.Stop();
        task.Stop();
    }
    EXPECT_EQ(
        ScriptedLog::Substance(),
        (std::vector<std::string>{"E Thread is already created. New request for creation should not be made!",
                                  "I Task: Stop task event: stopping infinite loop.", "I After pthread_join",
                                  "I Task is neither running nor in preparation stage! Q Size=[0]"}));
    for (const auto& line : ScriptedLog::Lines()) {
        EXPECT_EQ(line.file, "CTask.cpp") << line.raw;
    }
}
