#include "CMutex.h"

#include <cerrno>
#include <chrono>
#include <csignal>

#include <gtest/gtest.h>

#include "Lock.h"
#include "PrivateAccess.h"
#include "ScriptedPlatform.h"
#include "VtableSlot.h"

#if defined(__x86_64__)
TTML_CHECK_OFFSET(TTML::CMutex, m_attribute, 8)
TTML_CHECK_OFFSET(TTML::CMutex, m_mutex, 16)
static_assert(sizeof(TTML::CMutex) == 56);
static_assert(sizeof(TTML::Lock) == 8);
#endif

using TTML::IMutex;
using namespace TTMLTest;

namespace {

class MutexTest : public ::testing::Test
{
protected:
    ~MutexTest() override { m_mutex->Destroy(); }

    // Whether another thread gets the mutex without waiting; it gives it back.
    bool IsFreeForOthers()
    {
        bool taken = false;
        TestThread other([&] {
            taken = m_mutex->TryLock(0);
            if (taken) {
                m_mutex->Unlock();
            }
        });
        other.WaitUntilDone();
        return taken;
    }

    IMutex* m_mutex = IMutex::Create();
};

struct MutexProbe : IMutex
{
    virtual void Added() = 0;
};

} // namespace

TEST_F(MutexTest, IsUnlockedWhenCreated)
{
    EXPECT_TRUE(IsFreeForOthers());
}

TEST_F(MutexTest, IsFreeForOthersOnlyAfterAsManyUnlocksAsLocks)
{
    EXPECT_EQ(m_mutex->Lock(), 0);
    EXPECT_EQ(m_mutex->Lock(), 0);
    EXPECT_FALSE(IsFreeForOthers());
    EXPECT_EQ(m_mutex->Unlock(), 0);
    EXPECT_FALSE(IsFreeForOthers());
    EXPECT_EQ(m_mutex->Unlock(), 0);
    EXPECT_TRUE(IsFreeForOthers());
}

TEST_F(MutexTest, LockWaitsForTheOtherThread)
{
    m_mutex->Lock();
    bool released = false;
    TestThread other([&] {
        m_mutex->Lock();
        EXPECT_TRUE(released);
        m_mutex->Unlock();
    });
    released = true;
    m_mutex->Unlock();
    EXPECT_TRUE(other.WaitUntilDone());
}

TEST_F(MutexTest, TryLockOfAMutexThatAnotherThreadHoldsReturnsFalseWithoutWaiting)
{
    constexpr unsigned long kWaitingTime = 5'000;
    m_mutex->Lock();
    bool taken = true;
    std::chrono::steady_clock::duration elapsed{};
    TestThread other([&] {
        const auto start = std::chrono::steady_clock::now();
        taken = m_mutex->TryLock(kWaitingTime);
        elapsed = std::chrono::steady_clock::now() - start;
    });
    EXPECT_TRUE(other.WaitUntilDone());
    m_mutex->Unlock();
    EXPECT_FALSE(taken);
    EXPECT_LT(elapsed, std::chrono::milliseconds(kWaitingTime));
}

TEST_F(MutexTest, TryLockByTheHolderTakesAnotherLevel)
{
    m_mutex->Lock();
    EXPECT_TRUE(m_mutex->TryLock(5'000));
    m_mutex->Unlock();
    EXPECT_FALSE(IsFreeForOthers());
    m_mutex->Unlock();
    EXPECT_TRUE(IsFreeForOthers());
}

TEST_F(MutexTest, PassesBackTheResultsOfTheSystem)
{
    {
        const FaultInjection fault(Call::MUTEX_LOCK, 1, 1, FaultScope::THIS_THREAD, EAGAIN);
        EXPECT_EQ(m_mutex->Lock(), EAGAIN);
    }
    {
        const FaultInjection fault(Call::MUTEX_TRYLOCK, 1, 1, FaultScope::THIS_THREAD, EINVAL);
        EXPECT_FALSE(m_mutex->TryLock(0));
    }
    EXPECT_TRUE(IsFreeForOthers());
    m_mutex->Lock();
    {
        const FaultInjection fault(Call::MUTEX_UNLOCK, 1, 1, FaultScope::THIS_THREAD, EPERM);
        EXPECT_EQ(m_mutex->Unlock(), EPERM);
    }
    m_mutex->Unlock();
}

TEST_F(MutexTest, NothingIsLogged)
{
    m_mutex->Lock();
    m_mutex->TryLock(1);
    m_mutex->Unlock();
    m_mutex->Unlock();
    IMutex* const second = IMutex::Create();
    second->Destroy();
    EXPECT_EQ(ScriptedLog::Trace(), std::vector<std::string>{});
}

TEST_F(MutexTest, LockHoldsTheMutexForTheLengthOfABlock)
{
    {
        const TTML::Lock guard(m_mutex);
        EXPECT_FALSE(IsFreeForOthers());
        {
            const TTML::Lock inner(m_mutex);
        }
        EXPECT_FALSE(IsFreeForOthers());
    }
    EXPECT_TRUE(IsFreeForOthers());
}

TEST_F(MutexTest, LockReleasesTheMutexWhenAnExceptionPasses)
{
    try {
        const TTML::Lock guard(m_mutex);
        throw 1;
    } catch (int) {
        EXPECT_TRUE(IsFreeForOthers());
    }
}

TEST(Mutex, LockOnNullDoesNothing)
{
    const FaultInjection locks(Call::MUTEX_LOCK, FaultInjection::kAll);
    const FaultInjection unlocks(Call::MUTEX_UNLOCK, FaultInjection::kAll);
    {
        const TTML::Lock guard(nullptr);
    }
    EXPECT_EQ(locks.Calls(), 0U);
    EXPECT_EQ(unlocks.Calls(), 0U);
}

TEST(Mutex, IsNullWhenTheSystemHasNoneToGive)
{
    const FaultInjection fault(Call::MUTEX_INIT);
    EXPECT_EQ(IMutex::Create(), nullptr);
    EXPECT_EQ(fault.Failed(), 1U);
}

TEST(MutexDeathTest, NoMemoryStopsTheProcessWithTheAssertion)
{
    EXPECT_EXIT(
        {
            const FaultInjection fault(Call::NEW_NOTHROW);
            IMutex::Create();
        },
        ::testing::KilledBySignal(SIGABRT),
        ": Common/Src/CMutex\\.cpp:[0-9]+: static TTML::IMutex\\* TTML::IMutex::Create\\(\\): "
        "Assertion `o' failed\\.");
}

TEST(MutexLayout, SlotsAreInDeclarationOrderWithTheDestructorsLast)
{
    EXPECT_EQ(VtableSlot(&IMutex::Lock), 0U);
    EXPECT_EQ(VtableSlot(&IMutex::Unlock), 1U);
    EXPECT_EQ(VtableSlot(&IMutex::TryLock), 2U);
    EXPECT_EQ(VtableSlot(&IMutex::Destroy), 3U);
    EXPECT_EQ(VtableSlot(&MutexProbe::Added), 6U);
}
