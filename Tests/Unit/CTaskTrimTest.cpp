// What becomes of events while nobody takes them.

#include "TaskFixture.h"

using TTML::CTask;
using namespace TTMLTest;

namespace {

class TaskTrim : public TaskFixture
{
protected:
    CTask m_task;
};

std::string NoCleanup(int size)
{
    return "W No Cleanup CB is registered!!! queueSize=[" + std::to_string(size) + "]";
}

} // namespace

TEST_F(TaskTrim, TwentyEventsAreKeptWhole)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 20);
    EXPECT_EQ(CleanedUp(), Numbers{});
    EXPECT_EQ(QueueSize(m_task), 20U);
    EXPECT_EQ(ScriptedLog::CountOf({"m_Clear", "Enter"}), 0U);
}

TEST_F(TaskTrim, EachEventPastTheTwentiethHandsTheOldestToTheCleanup)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 20);
    for (int number = 21; number <= 25; ++number) {
        Post(m_task, number, number);
        EXPECT_EQ(CleanedUp(), Range(1, number - 20));
        EXPECT_EQ(QueueSize(m_task), 20U);
    }
    EXPECT_EQ(Processed(), Numbers{});
    EXPECT_EQ(ScriptedLog::Substance(), std::vector<std::string>{});
}

TEST_F(TaskTrim, ALaterStopHandsTheTwentyThatRemainToTheCleanup)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 25);
    m_task.Stop();
    EXPECT_EQ(CleanedUp(), Range(1, 25));
    EXPECT_EQ(QueueSize(m_task), 0U);
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{"I Task is neither running nor in preparation stage! Q Size=[20]"}));
}

TEST_F(TaskTrim, ALaterStartProcessesTheTwentyThatRemain)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 25);
    m_task.Start("Source");
    m_task.Reset();
    EXPECT_EQ(CleanedUp(), Range(1, 5));
    EXPECT_EQ(Processed(), Range(6, 25));
}

TEST_F(TaskTrim, WithoutCleanupAllEventsStayAndEachPastTheTwentiethWarns)
{
    ConnectProcessor(m_task);
    Post(m_task, 1, 20);
    EXPECT_EQ(ScriptedLog::Substance(), std::vector<std::string>{});
    Post(m_task, 21, 25);
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{NoCleanup(21), NoCleanup(22), NoCleanup(23),
                                                                  NoCleanup(24), NoCleanup(25)}));
    EXPECT_EQ(QueueSize(m_task), 25U);
    m_task.Start("Source");
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 25));
}

TEST_F(TaskTrim, AnUnconnectedTaskKeepsAllEventsToo)
{
    Post(m_task, 1, 21);
    EXPECT_EQ(QueueSize(m_task), 21U);
    EXPECT_EQ(ScriptedLog::Substance(), (std::vector<std::string>{NoCleanup(21)}));
}

TEST_F(TaskTrim, AStoppedTaskTrimsAgain)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    m_task.Stop();
    Post(m_task, 1, 22);
    EXPECT_EQ(CleanedUp(), Range(1, 2));
    EXPECT_EQ(QueueSize(m_task), 20U);
}

TEST_F(TaskTrim, ARunningTaskKeepsAllEvents)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 40);
    EXPECT_EQ(CleanedUp(), Numbers{});
    ReleaseWorker();
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 40));
}

TEST_F(TaskTrim, APreparingTaskKeepsAllEvents)
{
    Gate preparing("the worker is about to begin");
    Gate goOn("the worker may begin");
    ScriptedLog::On({"m_Execute", "Enter"}, [&] {
        preparing.Open();
        goOn.Wait();
    });
    ConnectBoth(m_task);
    TestThread starter([&] { m_task.Start("Source"); });
    preparing.Wait();
    Post(m_task, 1, 25);
    EXPECT_EQ(CleanedUp(), Numbers{});
    EXPECT_EQ(QueueSize(m_task), 25U);
    goOn.Open();
    EXPECT_TRUE(starter.WaitUntilDone());
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 25));
}

TEST_F(TaskTrim, ATrimmedMarkerReachesTheCleanupAsNull)
{
    ConnectBoth(m_task);
    EXPECT_TRUE(m_task.SendEvent(nullptr));
    Post(m_task, 1, 20);
    EXPECT_EQ(CleanedUp(), Numbers{kMarker});
    EXPECT_EQ(QueueSize(m_task), 20U);
}

TEST_F(TaskTrim, AMarkerCountsAsAnEntryOfTheQueue)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 20);
    EXPECT_TRUE(m_task.SendEvent(nullptr));
    EXPECT_EQ(CleanedUp(), Numbers{1});
    m_task.Stop();
    Numbers expected = Range(1, 20);
    expected.push_back(kMarker);
    EXPECT_EQ(CleanedUp(), expected);
}

TEST_F(TaskTrim, ATrimThatFindsTheQueueShortEnoughSaysSo)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 20);
    // Another post trims the queue between this post's decision to trim and its trim.
    ScriptedLog::On({"m_Clear", "Enter"}, [&, nested = false]() mutable {
        if (!nested) {
            nested = true;
            Post(m_task, 22, 22);
        }
    });
    ScriptedLog::Clear();
    Post(m_task, 21, 21);
    EXPECT_EQ(CleanedUp(), Range(1, 2));
    EXPECT_EQ(QueueSize(m_task), 20U);
    EXPECT_EQ(ScriptedLog::Substance(),
              (std::vector<std::string>{"I Event queueSize is less than minQueueSize. queueSize=[20]"}));
}

TEST_F(TaskTrim, TwoTrimsAtOnceNeverPopAnEmptyQueue)
{
    Post(m_task, 1, 24); // all kept, as there is no cleanup yet
    // While this post drops the oldest, a stop drains the queue that it counts on.
    m_onCleanup = [&](int number) {
        if (number == 1) {
            TestThread stopper([&] { m_task.Stop(); });
            stopper.WaitUntilDone();
        }
    };
    m_task.Connect(nullptr, NewCleanup());
    Post(m_task, 25, 25);
    EXPECT_EQ(CleanedUp(), Range(1, 25));
    EXPECT_EQ(QueueSize(m_task), 0U);
}

TEST_F(TaskTrim, ABelatedTrimLeavesANewWorkersEventsAlone)
{
    Gate taken("the worker has taken the first event");
    Gate goOn("the worker may go on");
    m_onProcess = [&](int number) {
        if (number == 1) {
            taken.Open();
            goOn.Wait();
        }
    };
    ConnectBoth(m_task);
    Post(m_task, 1, 20);
    // The worker starts between the decision to trim and the trim.
    ScriptedLog::On({"m_Clear", "Enter"}, [&] {
        TestThread starter([&] { m_task.Start("Source"); });
        starter.WaitUntilDone();
        taken.Wait();
        Post(m_task, 22, 25);
    });
    Post(m_task, 21, 21);
    EXPECT_EQ(QueueSize(m_task), 24U);
    goOn.Open();
    m_task.Reset();
    EXPECT_EQ(CleanedUp(), Numbers{});
    EXPECT_EQ(Processed(), Range(1, 25));
}
