#include "CallbackContract.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <thread>
#include <utility>
#include <vector>

#include "PortUnderTest.h"
#include "TestThread.h"

namespace PortTest {

namespace {

using TTMLTest::Gate;
using TTMLTest::TestThread;

// How long a call that must wait is watched before it counts as waiting. One that returns at once is caught;
// no time is long enough to prove the opposite.
constexpr std::chrono::milliseconds kLongEnough{100};

constexpr unsigned int kRounds = 200;

} // namespace

Receiver::Receiver(const std::string& name, bool mayOverlap)
    : m_name(name)
    , m_mayOverlap(mayOverlap)
    , m_calls("calls of the " + name + " subscription")
{}

Receiver::~Receiver()
{
    EXPECT_EQ(m_inside, 0U) << "the " << m_name << " subscription has ended, and its callback still runs";
}

void Receiver::Call(void* userData)
{
    auto* const receiver = static_cast<Receiver*>(userData);
    ASSERT_NE(receiver, nullptr) << "the callback got no user data";
    const unsigned int others = receiver->m_inside.fetch_add(1);
    EXPECT_TRUE(others == 0 || receiver->m_mayOverlap) << "two calls of a subscription at once";
    EXPECT_FALSE(receiver->m_over) << "the " << receiver->m_name << " subscription had ended";
    std::function<void()> action;
    {
        const std::lock_guard<std::mutex> guard(receiver->m_mutex);
        action = receiver->m_action;
    }
    receiver->m_calls.Add();
    if (action) {
        action();
    }
    receiver->m_inside.fetch_sub(1);
}

void Receiver::During(std::function<void()> action)
{
    const std::lock_guard<std::mutex> guard(m_mutex);
    m_action = std::move(action);
}

void PrintTo(const SubscriptionKind& kind, std::ostream* out)
{
    *out << kind.name;
}

std::string NameOf(const testing::TestParamInfo<SubscriptionKind>& kind)
{
    return kind.param.name;
}

CallbackContract::CallbackContract()
    : m_first("first", GetParam().mayOverlap)
    , m_second("second", GetParam().mayOverlap)
{}

void CallbackContract::SetUp()
{
    m_subscription = GetParam().make();
    PORT_NEEDS(m_subscription, GetParam().ability);
}

bool CallbackContract::RaiseUntil(const Receiver& receiver, unsigned int more)
{
    const unsigned int before = receiver.Calls();
    for (unsigned int i = 1; i <= more; ++i) {
        m_subscription->Raise();
        if (!receiver.WaitForCalls(before + i)) {
            return false;
        }
    }
    return true;
}

TEST_P(CallbackContract, CallsWithTheUserDataUntilItEnds)
{
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    ASSERT_TRUE(m_subscription->Begin(1, &m_second));
    ASSERT_TRUE(RaiseUntil(m_first, 2));
    ASSERT_TRUE(m_second.WaitForCalls(1));
    EXPECT_TRUE(m_subscription->End(0));
    m_first.ExpectNoMore();
    // What the one that is left has had three times, the other has not been given either.
    EXPECT_TRUE(RaiseUntil(m_second, 3));
    EXPECT_TRUE(m_subscription->End(1));
    m_second.ExpectNoMore();
}

TEST_P(CallbackContract, WhatHasNotBegunCannotEnd)
{
    EXPECT_FALSE(m_subscription->End(0));
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    EXPECT_TRUE(m_subscription->End(0));
    EXPECT_FALSE(m_subscription->End(0));
}

TEST_P(CallbackContract, BeginsAgainAfterItsEnd)
{
    for (unsigned int round = 1; round <= 3; ++round) {
        ASSERT_TRUE(m_subscription->Begin(0, &m_first));
        EXPECT_TRUE(RaiseUntil(m_first, 1));
        ASSERT_TRUE(m_subscription->End(0));
    }
}

TEST_P(CallbackContract, TheEndWaitsForACallElsewhere)
{
    Gate inside("inside the callback");
    Gate goOn("the callback may go on");
    std::atomic<bool> callEnded{false};
    m_first.During([&] {
        inside.Open();
        goOn.Wait();
        callEnded = true;
    });
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    const TestThread raiser([this] { m_subscription->Raise(); });
    if (!inside.Wait()) {
        goOn.Open();
        (void)m_subscription->End(0);
        return;
    }
    bool endedBefore = false;
    auto end = std::async(std::launch::async, [&] {
        const bool done = m_subscription->End(0);
        endedBefore = callEnded;
        m_first.ExpectNoMore();
        return done;
    });
    EXPECT_EQ(end.wait_for(kLongEnough), std::future_status::timeout) << "it did not wait for the callback";
    goOn.Open();
    EXPECT_TRUE(end.get());
    EXPECT_TRUE(endedBefore) << "it returned while the callback was running";
}

TEST_P(CallbackContract, TheEndInsideTheCallbackDoesNotWait)
{
    Gate ended("ended inside the callback");
    m_first.During([&] {
        EXPECT_TRUE(m_subscription->End(0));
        m_first.ExpectNoMore();
        ended.Open();
    });
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    ASSERT_TRUE(m_subscription->Begin(1, &m_second));
    const TestThread raiser([this] { m_subscription->Raise(); });
    ASSERT_TRUE(ended.Wait());
    ASSERT_TRUE(raiser.WaitUntilDone());
    EXPECT_TRUE(RaiseUntil(m_second, 2));
    EXPECT_EQ(m_first.Calls(), 1U);
    EXPECT_TRUE(m_subscription->End(1));
}

TEST_P(CallbackContract, TheBeginningDoesNotWaitForCalls)
{
    Gate inside("inside the callback");
    Gate goOn("the callback may go on");
    m_first.During([&] {
        inside.Open();
        goOn.Wait();
    });
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    const TestThread raiser([this] { m_subscription->Raise(); });
    EXPECT_TRUE(inside.Wait());
    {
        const TestThread beginner([this] { EXPECT_TRUE(m_subscription->Begin(1, &m_second)); });
        EXPECT_TRUE(beginner.WaitUntilDone());
        goOn.Open();
    }
    EXPECT_TRUE(raiser.WaitUntilDone());
    EXPECT_TRUE(RaiseUntil(m_second, 1));
    EXPECT_TRUE(m_subscription->End(0));
    EXPECT_TRUE(m_subscription->End(1));
}

TEST_P(CallbackContract, ACallbackMayBeginAndEndAnother)
{
    Gate begun("begun inside the callback");
    m_first.During([&] {
        if (!begun.IsOpen()) {
            EXPECT_TRUE(m_subscription->Begin(1, &m_second));
            begun.Open();
        }
    });
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    m_subscription->Raise();
    ASSERT_TRUE(begun.Wait());
    ASSERT_TRUE(RaiseUntil(m_second, 1));
    Gate ended("ended inside the callback");
    m_first.During([&] {
        if (!ended.IsOpen()) {
            EXPECT_TRUE(m_subscription->End(1));
            m_second.ExpectNoMore();
            ended.Open();
        }
    });
    m_subscription->Raise();
    ASSERT_TRUE(ended.Wait());
    EXPECT_TRUE(RaiseUntil(m_first, 2));
    EXPECT_TRUE(m_subscription->End(0));
}

// The receivers go right after the end: a late call finds freed memory, which the sanitizers see, or a
// receiver that expects no more.
TEST_P(CallbackContract, BeginsAndEndsWhileEventsCome)
{
    ASSERT_TRUE(m_subscription->Begin(1, &m_second));
    std::atomic<bool> enough{false};
    {
        const TestThread raiser([&] {
            while (!enough) {
                m_subscription->Raise();
                std::this_thread::yield();
            }
        });
        for (unsigned int round = 0; round < kRounds; ++round) {
            auto receiver = std::make_unique<Receiver>("short", GetParam().mayOverlap);
            EXPECT_TRUE(m_subscription->Begin(0, receiver.get()));
            std::this_thread::yield();
            EXPECT_TRUE(m_subscription->End(0));
            receiver->ExpectNoMore();
        }
        EXPECT_TRUE(m_second.WaitForCalls(2));
        enough = true;
    }
    EXPECT_TRUE(m_subscription->End(1));
}

TEST_P(CountedCallbackContract, ASecondTimeCountsAndDoesNotDoubleTheCalls)
{
    ASSERT_TRUE(m_subscription->Begin(1, &m_second));
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    ASSERT_TRUE(RaiseUntil(m_first, 4));
    EXPECT_TRUE(m_subscription->End(0)) << "the first of two";
    EXPECT_TRUE(RaiseUntil(m_first, 1)) << "one is left";
    EXPECT_TRUE(m_subscription->End(0)) << "the last one";
    m_first.ExpectNoMore();
    EXPECT_TRUE(m_subscription->End(1));
    // Both had the same events, but those that came between the two ends or beginnings.
    EXPECT_LE(m_first.Calls(), m_second.Calls() + 1) << "each event came twice";
    EXPECT_FALSE(m_subscription->End(0)) << "there is none left";
}

TEST_P(CountedCallbackContract, OneCallbackServesSeveralUserData)
{
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    ASSERT_TRUE(m_subscription->Begin(0, &m_second));
    m_subscription->Raise();
    EXPECT_TRUE(m_first.WaitForCalls(1));
    EXPECT_TRUE(m_second.WaitForCalls(1));
    EXPECT_TRUE(m_subscription->End(0));
    EXPECT_TRUE(m_subscription->End(0));
    m_first.ExpectNoMore();
    m_second.ExpectNoMore();
    Receiver third("third", GetParam().mayOverlap);
    ASSERT_TRUE(m_subscription->Begin(1, &third));
    EXPECT_TRUE(RaiseUntil(third, 2));
    EXPECT_TRUE(m_subscription->End(1));
}

TEST_P(SerialCallbackContract, CallsComeOneAtATimeOnAThreadOfTheService)
{
    constexpr unsigned int kEvents = 3;
    std::mutex mutex;
    std::vector<std::thread::id> callers;
    std::vector<std::thread::id> raisers{std::this_thread::get_id()};
    const auto note = [&mutex](std::vector<std::thread::id>* threads) {
        const std::lock_guard<std::mutex> guard(mutex);
        threads->push_back(std::this_thread::get_id());
    };
    m_first.During([&] {
        note(&callers);
        // Whoever comes meanwhile is told by the receiver.
        std::this_thread::yield();
    });
    ASSERT_TRUE(m_subscription->Begin(0, &m_first));
    TTMLTest::RunTogether({2, [&] {
                               note(&raisers);
                               for (unsigned int i = 0; i < kEvents; ++i) {
                                   m_subscription->Raise();
                               }
                           }});
    EXPECT_TRUE(m_first.WaitForCalls(kEvents));
    EXPECT_TRUE(m_subscription->End(0));
    for (const std::thread::id raiser : raisers) {
        EXPECT_EQ(std::count(callers.begin(), callers.end(), raiser), 0);
    }
}

} // namespace PortTest
