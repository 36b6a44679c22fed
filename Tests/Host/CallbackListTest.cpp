// Counted registrations, and how far taking one back waits.

#include "CallbackList.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Gate.h"
#include "TestThread.h"

using namespace TTMLTest;

namespace {

using List = TTMLHost::CallbackList<std::string, int>;
using Calls = std::vector<std::string>;

Calls CallsOf(List& list)
{
    Calls calls;
    list.Call(
        [&calls](const std::string& target, int data) { calls.push_back(target + std::to_string(data)); });
    return calls;
}

// Waits until the target is registered no more, which is when its removal has begun. The thread that waits
// has nothing to be woken by: what it waits for is inside the list.
bool AwaitRemoval(const List& list, const std::string& target)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (list.Has([&target](const std::string& other) { return other == target; })) {
        if (std::chrono::steady_clock::now() > deadline) {
            ADD_FAILURE() << "'" << target << "' is not removed";
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

// A call on a thread of its own, held until Finish().
class HeldCall
{
public:
    HeldCall(List& list, const std::string& target, std::function<void()> inside = {})
        : m_thread([this, &list, target, action = std::move(inside)] {
            list.Call([&target](const std::string& other) { return other == target; },
                      [this, &action](const std::string&, int) {
                          m_entered.Open();
                          m_finish.Wait();
                          if (action) {
                              action();
                          }
                      });
        })
    {
        m_entered.Wait();
    }
    ~HeldCall() { Finish(); }
    HeldCall(const HeldCall&) = delete;
    HeldCall& operator=(const HeldCall&) = delete;

    void Finish() { m_finish.Open(); }
    bool WaitUntilDone() const { return m_thread.WaitUntilDone(); }

private:
    Gate m_entered{"the call has begun"};
    Gate m_finish{"the call may end"};
    TestThread m_thread; // last: it uses the gates
};

TEST(CallbackList, CallsEntriesInTheOrderOfTheirRegistration)
{
    List list;
    list.Register("b", 1);
    list.Register("a", 2);
    list.Register("b", 3);
    EXPECT_EQ(CallsOf(list), (Calls{"b1", "a2", "b3"}));
}

TEST(CallbackList, CallsOnlyTheEntriesAskedFor)
{
    List list;
    list.Register("a", 1);
    list.Register("b", 2);
    Calls calls;
    list.Call([](const std::string& target) { return target == "b"; },
              [&calls](const std::string& target, int) { calls.push_back(target); });
    EXPECT_EQ(calls, (Calls{"b"}));
}

TEST(CallbackList, CountsASecondRegistrationWithoutDoublingTheCalls)
{
    List list;
    list.Register("a", 1);
    list.Register("a", 1);
    EXPECT_EQ(CallsOf(list), (Calls{"a1"}));
    EXPECT_TRUE(list.Unregister("a"));
    EXPECT_EQ(CallsOf(list), (Calls{"a1"}));
    EXPECT_TRUE(list.Unregister("a"));
    EXPECT_EQ(CallsOf(list), Calls{});
    EXPECT_FALSE(list.Unregister("a"));
}

TEST(CallbackList, KeepsAllEntriesOfATargetUntilItsLastRegistrationGoes)
{
    List list;
    list.Register("a", 1);
    list.Register("a", 2);
    list.Register("b", 3);
    EXPECT_TRUE(list.Unregister("a"));
    EXPECT_EQ(CallsOf(list), (Calls{"a1", "a2", "b3"}));
    EXPECT_TRUE(list.Unregister("a"));
    EXPECT_EQ(CallsOf(list), (Calls{"b3"}));
}

TEST(CallbackList, IsEmptyWithoutRegistrations)
{
    List list;
    EXPECT_TRUE(list.Empty());
    list.Register("a", 1);
    EXPECT_FALSE(list.Empty());
    EXPECT_TRUE(list.Has([](const std::string& target) { return target == "a"; }));
    EXPECT_FALSE(list.Has([](const std::string& target) { return target == "b"; }));
    EXPECT_TRUE(list.Unregister("a"));
    EXPECT_TRUE(list.Empty());
}

TEST(CallbackList, LeavesOutWhatComesDuringTheCalls)
{
    List list;
    list.Register("a", 1);
    Calls calls;
    list.Call([&](const std::string& target, int data) {
        calls.push_back(target + std::to_string(data));
        list.Register("b", data + 1);
    });
    EXPECT_EQ(calls, (Calls{"a1"}));
    EXPECT_EQ(CallsOf(list), (Calls{"a1", "b2"}));
}

TEST(CallbackList, LeavesOutWhatGoesBeforeItsTurn)
{
    List list;
    list.Register("a", 1);
    list.Register("b", 2);
    list.Register("c", 3);
    Calls calls;
    list.Call([&](const std::string& target, int) {
        calls.push_back(target);
        list.Unregister("b");
    });
    EXPECT_EQ(calls, (Calls{"a", "c"}));
}

TEST(CallbackList, CallsWithinCallsReachEverybody)
{
    List list;
    list.Register("a", 1);
    list.Register("b", 2);
    Calls calls;
    bool outer = true;
    list.Call([&](const std::string& target, int) {
        calls.push_back(target);
        if (outer) {
            outer = false;
            const Calls inner = CallsOf(list);
            calls.insert(calls.end(), inner.begin(), inner.end());
        }
    });
    EXPECT_EQ(calls, (Calls{"a", "a1", "b2", "b"}));
}

TEST(CallbackList, RemovalWaitsForTheCallsUnderWay)
{
    List list;
    list.Register("a", 1);
    std::atomic<int> ended{0};
    HeldCall first(list, "a", [&ended] { ++ended; });
    HeldCall second(list, "a", [&ended] { ++ended; });
    int endedAtReturn = -1;
    const TestThread remover([&] {
        list.Unregister("a");
        endedAtReturn = ended;
    });
    AwaitRemoval(list, "a");
    first.Finish();
    EXPECT_TRUE(first.WaitUntilDone());
    EXPECT_FALSE(remover.IsDone());
    second.Finish();
    EXPECT_TRUE(remover.WaitUntilDone());
    EXPECT_EQ(endedAtReturn, 2);
}

TEST(CallbackList, RemovalDoesNotWaitForOtherTargets)
{
    List list;
    list.Register("a", 1);
    list.Register("b", 2);
    const HeldCall call(list, "a");
    EXPECT_TRUE(list.Unregister("b"));
}

TEST(CallbackList, TakingBackOneOfSeveralDoesNotWait)
{
    List list;
    list.Register("a", 1);
    list.Register("a", 1);
    const HeldCall call(list, "a");
    EXPECT_TRUE(list.Unregister("a"));
}

TEST(CallbackList, InsideItsOwnCallRemovalDoesNotWait)
{
    List list;
    list.Register("a", 1);
    const HeldCall other(list, "a");
    list.Call([&list](const std::string& target, int) {
        // The parameter is a part of the entry that goes.
        EXPECT_TRUE(list.Unregister(target));
        EXPECT_EQ(target, "a");
    });
    EXPECT_TRUE(list.Empty());
}

TEST(CallbackList, InsideAnotherTargetsCallRemovalWaits)
{
    List list;
    list.Register("a", 1);
    list.Register("b", 2);
    std::atomic<bool> ended{false};
    HeldCall call(list, "b", [&ended] { ended = true; });
    bool endedAtReturn = false;
    const TestThread remover([&] {
        list.Call([](const std::string& target) { return target == "a"; },
                  [&](const std::string&, int) {
                      list.Unregister("b");
                      endedAtReturn = ended;
                  });
    });
    AwaitRemoval(list, "b");
    call.Finish();
    EXPECT_TRUE(remover.WaitUntilDone());
    EXPECT_TRUE(endedAtReturn);
}

TEST(CallbackList, CallsThatRemoveEachOtherAllEnd)
{
    const std::vector<std::string> targets = {"a", "b", "c"};
    List list;
    std::vector<std::unique_ptr<HeldCall>> calls;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        list.Register(targets[i], static_cast<int>(i));
    }
    for (std::size_t i = 0; i < targets.size(); ++i) {
        const std::string& next = targets[(i + 1) % targets.size()];
        calls.push_back(std::make_unique<HeldCall>(list, targets[i],
                                                   [&list, &next] { EXPECT_TRUE(list.Unregister(next)); }));
    }
    for (const auto& call : calls) {
        call->Finish();
    }
    for (const auto& call : calls) {
        EXPECT_TRUE(call->WaitUntilDone());
    }
    EXPECT_TRUE(list.Empty());
}

TEST(CallbackList, CallsOfALaterRegistrationDoNotHoldARemovalUp)
{
    List list;
    list.Register("a", 1);
    HeldCall first(list, "a");
    const TestThread remover([&list] { list.Unregister("a"); });
    AwaitRemoval(list, "a");
    list.Register("a", 2);
    const HeldCall second(list, "a");
    first.Finish();
    EXPECT_TRUE(remover.WaitUntilDone());
}

TEST(CallbackList, AFailedRegistrationLeavesNoTrace)
{
    List list;
    list.Register("a", 1);
    unsigned int failures = 0;
    for (unsigned int n = 1;; ++n) {
        // Longer than what a string holds without memory.
        const std::string target(100, 'x');
        const FaultInjection fault(Call::NEW, n);
        try {
            list.Register(target, 2);
            break;
        } catch (const std::bad_alloc&) {
            ++failures;
            const FaultPause pause;
            EXPECT_FALSE(list.Unregister(target));
            EXPECT_EQ(CallsOf(list), (Calls{"a1"}));
        }
    }
    EXPECT_GE(failures, 3U);
    EXPECT_EQ(CallsOf(list).size(), 2U);
}

TEST(CallbackList, AnExceptionOfACallLeavesTheListInOrder)
{
    List list;
    list.Register("a", 1);
    EXPECT_THROW(list.Call([](const std::string&, int) { throw std::runtime_error("no"); }),
                 std::runtime_error);
    // Would wait for ever if the call still counted.
    EXPECT_TRUE(list.Unregister("a"));
}

TEST(CallbackList, NobodyIsCalledAfterARemovalWhateverHappensAtOnce)
{
    struct Subscriber
    {
        std::atomic<bool> alive{false};
    };
    constexpr int kRounds = 2000;
    TTMLHost::CallbackList<int, Subscriber*> list;
    std::atomic<bool> over{false};
    std::atomic<int> late{0};
    std::atomic<int> finished{0};
    const auto subscribe = [&](int target) {
        for (int i = 0; i < kRounds; ++i) {
            const auto subscriber = std::make_unique<Subscriber>();
            subscriber->alive = true;
            list.Register(target, subscriber.get());
            list.Register(target, subscriber.get());
            EXPECT_TRUE(list.Unregister(target));
            EXPECT_TRUE(list.Unregister(target));
            subscriber->alive = false;
        }
        over = ++finished == 2;
    };
    const auto call = [&] {
        while (!over) {
            list.Call([&late](int, Subscriber* subscriber) { late += subscriber->alive ? 0 : 1; });
        }
    };
    RunTogether({[&] { subscribe(1); }, [&] { subscribe(2); }, call, call});
    EXPECT_EQ(late, 0);
    EXPECT_TRUE(list.Empty());
}

} // namespace
