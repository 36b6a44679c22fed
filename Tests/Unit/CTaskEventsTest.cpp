// Posting and processing of events.

#include <array>
#include <ctime>

#include "TCallback.h"
#include "TaskFixture.h"

using TTML::CTask;
using namespace TTMLTest;

namespace {

class TaskEvents : public TaskFixture
{
protected:
    CTask m_task;
};

timespec RealTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

bool operator<=(const timespec& left, const timespec& right)
{
    return left.tv_sec < right.tv_sec || (left.tv_sec == right.tv_sec && left.tv_nsec <= right.tv_nsec);
}

} // namespace

TEST_F(TaskEvents, AreProcessedOnceEachInTheOrderOfTheirArrival)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    Post(m_task, 1, 100);
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 100));
    EXPECT_EQ(CleanedUp(), Numbers{});
}

TEST_F(TaskEvents, AreProcessedOnTheWorker)
{
    std::string name;
    pthread_t thread{};
    m_onProcess = [&](int) {
        name = ThisThreadName();
        thread = pthread_self();
    };
    ConnectBoth(m_task);
    m_task.Start("Source");
    Post(m_task, 1, 1);
    m_task.Reset();
    EXPECT_EQ(name, "Source");
    EXPECT_EQ(pthread_equal(thread, pthread_self()), 0);
}

TEST_F(TaskEvents, OfSeveralThreadsKeepEachThreadsOrder)
{
    constexpr int kThreads = 4;
    constexpr int kEach = 100;
    ConnectBoth(m_task);
    m_task.Start("Source");
    std::vector<std::function<void()>> posters;
    for (int thread = 0; thread < kThreads; ++thread) {
        posters.emplace_back([=] { Post(m_task, thread * kEach + 1, (thread + 1) * kEach); });
    }
    RunTogether(posters);
    m_task.Reset();

    const Numbers processed = Processed();
    ASSERT_EQ(processed.size(), static_cast<std::size_t>(kThreads * kEach));
    std::array<int, kThreads> last{};
    for (const int number : processed) {
        int& previous = last.at(static_cast<std::size_t>((number - 1) / kEach));
        EXPECT_GT(number, previous);
        previous = number;
    }
}

TEST_F(TaskEvents, MayBePostedByTheProcessor)
{
    m_onProcess = [&](int number) {
        if (number < 5) {
            m_task.SendEvent(Event(number + 1));
        }
    };
    ConnectBoth(m_task);
    m_task.Start("Source");
    Post(m_task, 1, 1);
    for (int round = 0; round < 5; ++round) {
        m_task.Reset();
    }
    EXPECT_EQ(Processed(), Range(1, 5));
}

TEST_F(TaskEvents, CanBePostedWhileTheProcessorIsBusy)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    HoldWorker(m_task);
    Post(m_task, 1, 50);
    EXPECT_EQ(QueueSize(m_task), 50U);
    EXPECT_EQ(Processed(), Numbers{});
    ReleaseWorker();
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 50));
}

TEST_F(TaskEvents, CanBePostedWhileTheCleanupIsBusy)
{
    Gate cleaning("the cleanup runs");
    Gate goOn("the cleanup may go on");
    m_onCleanup = [&](int number) {
        if (number == 1) {
            cleaning.Open();
            goOn.Wait();
        }
    };
    ConnectBoth(m_task);
    Post(m_task, 1, 20);
    TestThread poster([&] { Post(m_task, 21, 21); });
    cleaning.Wait();
    Post(m_task, 22, 22);
    EXPECT_EQ(CleanedUp(), Range(1, 2));
    goOn.Open();
    EXPECT_TRUE(poster.WaitUntilDone());
    EXPECT_EQ(QueueSize(m_task), 20U);
}

TEST_F(TaskEvents, PostedBeforeTheStartAreProcessedFirst)
{
    ConnectBoth(m_task);
    Post(m_task, 1, 5);
    m_task.Start("Source");
    Post(m_task, 6, 8);
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 8));
}

TEST_F(TaskEvents, AreSkippedAndNotFreedWithoutAProcessor)
{
    m_task.Connect(nullptr, NewCleanup());
    m_task.Start("Source");
    Post(m_task, 1, 3);
    m_task.Reset();
    EXPECT_EQ(QueueSize(m_task), 0U);
    m_task.Stop();
    EXPECT_EQ(CleanedUp(), Numbers{});
}

TEST_F(TaskEvents, LockHoldsTheQueueStillUntilAsManyUnlocks)
{
    const auto isFree = [&] {
        bool taken = false;
        TestThread other([&] {
            taken = pthread_mutex_trylock(QueueMutex(m_task)) == 0;
            if (taken) {
                pthread_mutex_unlock(QueueMutex(m_task));
            }
        });
        other.WaitUntilDone();
        return taken;
    };
    EXPECT_TRUE(isFree());
    m_task.Lock();
    m_task.Lock();
    EXPECT_FALSE(isFree());
    m_task.Unlock();
    EXPECT_FALSE(isFree());
    m_task.Unlock();
    EXPECT_TRUE(isFree());
}

TEST_F(TaskEvents, TheHolderOfTheLockMayPostAndTheWorkerWaitsForIt)
{
    ConnectBoth(m_task);
    m_task.Start("Source");
    m_task.Lock();
    Post(m_task, 1, 3);
    EXPECT_EQ(QueueSize(m_task), 3U);
    EXPECT_EQ(Processed(), Numbers{});
    m_task.Unlock();
    m_task.Reset();
    EXPECT_EQ(Processed(), Range(1, 3));
}

TEST_F(TaskEvents, AnIdleWorkerWaitsForOneSecondOfTheRealTimeClock)
{
    const timespec before = RealTime();
    m_task.Start("Source");
    {
        // A time-out with nothing queued makes the worker look again and wait again.
        CountingGate waits("the worker's waits timed out");
        const FaultInjection timeouts(Call::COND_TIMEDWAIT, 1, 3, FaultScope::ANY_THREAD, 0,
                                      [&] { waits.Add(); });
        m_task.SendEvent(Event(1)); // wakes the worker from the wait it may already be in
        waits.WaitFor(3);
    }
    const timespec deadline = LastWaitDeadline();
    const timespec after = RealTime();
    const timespec earliest{before.tv_sec + 1, before.tv_nsec};
    const timespec latest{after.tv_sec + 1, after.tv_nsec};
    EXPECT_TRUE(earliest <= deadline);
    EXPECT_TRUE(deadline <= latest);
    m_task.Stop();
}

TEST_F(TaskEvents, AreTakenAfterATimeOutOfTheWait)
{
    ConnectBoth(m_task);
    {
        const FaultInjection timeouts(Call::COND_TIMEDWAIT, 1, 50, FaultScope::ANY_THREAD);
        m_task.Start("Source");
        Post(m_task, 1, 3);
        m_task.Reset();
    }
    EXPECT_EQ(Processed(), Range(1, 3));
}

TEST_F(TaskEvents, ReachTheMemberFunctionOfATCallback)
{
    struct Target
    {
        void Take(void* event) { events.push_back(event); }
        std::vector<void*> events;
    } target;
    m_task.Connect(new TTML::TCallback<Target>(&target, &Target::Take), nullptr);
    m_task.Start("Inband");
    Post(m_task, 7, 8);
    m_task.Reset();
    EXPECT_EQ(target.events, (std::vector<void*>{Event(7), Event(8)}));
}
