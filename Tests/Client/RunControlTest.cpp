#include "RunControl.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Gate.h"
#include "ScriptRunner.h"

using TTMLClient::RunControl;
using TTMLClient::StopReason;

namespace {

TEST(RunControl, KeepsTheFirstReasonAndTheFirstFailure)
{
    RunControl control;
    EXPECT_FALSE(control.Stopped());
    EXPECT_EQ(control.Failure(), "");
    control.Stop(StopReason::InputOver);
    control.Fail("first");
    control.Fail("second");
    EXPECT_TRUE(control.Stopped());
    EXPECT_EQ(control.Reason(), StopReason::InputOver);
    EXPECT_EQ(control.Failure(), "first");
}

TEST(RunControl, EndsEveryWaitWhenItIsStopped)
{
    RunControl control;
    TTMLTest::CountingGate waited("waits that ended");
    std::thread shortly([&] {
        EXPECT_TRUE(control.WaitFor(std::chrono::hours(1)));
        waited.Add();
    });
    std::thread forever([&] {
        control.Wait();
        waited.Add();
    });
    control.Stop(StopReason::Interrupted);
    EXPECT_TRUE(waited.WaitFor(2));
    shortly.join();
    forever.join();
}

TEST(RunControl, WaitsItsTimeWhenNothingStopsIt)
{
    RunControl control;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(control.WaitFor(std::chrono::milliseconds(20)));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(20));
}

TEST(RunControl, CallsItsHookAtEachRequestButTheEndOfTheInput)
{
    RunControl control;
    std::vector<StopReason> reasons;
    control.SetStopHook([&reasons](StopReason reason) { reasons.push_back(reason); });
    control.Stop(StopReason::InputOver);
    control.Stop(StopReason::TimeUp);
    control.Fail("broken");
    control.Stop(StopReason::Interrupted);
    control.SetStopHook(nullptr);
    control.Stop(StopReason::Interrupted);
    EXPECT_EQ(reasons,
              (std::vector<StopReason>{StopReason::TimeUp, StopReason::Failed, StopReason::Interrupted}));
}

TEST(ScriptRunner, RunsStepsInOrderUntilTheRunIsStopped)
{
    RunControl control;
    std::vector<std::string> done;
    TTMLClient::ScriptRunner runner;
    runner.On("a", [&done](const TTMLClient::Step& step) { done.push_back(step.word); });
    runner.On("b", [&](const TTMLClient::Step& step) {
        done.push_back(step.word);
        control.Stop(StopReason::Interrupted);
    });
    TTMLClient::Step a;
    a.word = "a";
    TTMLClient::Step b;
    b.word = "b";
    runner.Run({a, a, b, a}, control);
    EXPECT_EQ(done, (std::vector<std::string>{"a", "a", "b"}));
}

} // namespace
