// What the torture stands on: that a fault is seen for what it is.

#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "AllocationCensus.h"
#include "FaultChildren.h"
#include "Require.h"
#include "Scenario.h"

namespace TTMLTest {

namespace {

using Complaints = std::vector<std::string>;

const FaultStep kFirst = {Call::NEW, "caller", 1};

// Runs in which the call that fails is just told.
FaultRun Telling(const std::function<Complaints(unsigned int number)>& body)
{
    return [body](const FaultStep& step, const std::function<void()>& struck) {
        struck();
        return body(step.number);
    };
}

TEST(FaultChildren, EachRunTellsWhatItComplainedOf)
{
    const auto outcomes = RunFaultsInChildren(
        kFirst, 5, 2, Telling([](unsigned int number) { return Complaints{"W " + std::to_string(number)}; }));
    ASSERT_EQ(outcomes.size(), 3U);
    EXPECT_EQ(outcomes[0].number, 1U);
    EXPECT_EQ(outcomes[1].complaints, Complaints{"W 3"});
    EXPECT_EQ(outcomes[2].complaints, Complaints{"W 5"});
}

TEST(FaultChildren, AnAssertionEndsItsRunAlone)
{
    const auto outcomes = RunFaultsInChildren(kFirst, 3, 1, Telling([](unsigned int number) {
                                                  TTML::Require(number != 2, "o", "file", 1, "function");
                                                  return Complaints{};
                                              }));
    ASSERT_EQ(outcomes.size(), 3U);
    EXPECT_EQ(outcomes[0].complaints, Complaints{});
    EXPECT_EQ(outcomes[1].complaints, Complaints{"assertion o"});
    EXPECT_EQ(outcomes[2].complaints, Complaints{});
}

TEST(FaultChildren, ADeadRunFailsTheTest)
{
    EXPECT_NONFATAL_FAILURE(RunFaultsInChildren(kFirst, 1, 1, Telling([](unsigned int) {
                                                    raise(SIGKILL);
                                                    return Complaints{};
                                                })),
                            "a run dies");
}

TEST(FaultChildren, AHangingRunFailsTheTest)
{
    const auto hang = [](unsigned int) {
        pause();
        return Complaints{};
    };
    EXPECT_NONFATAL_FAILURE(RunFaultsInChildren(kFirst, 1, 1, Telling(hang), std::chrono::milliseconds(200)),
                            "a run hangs");
}

TEST(FaultChildren, ACallThatDoesNotComeFailsTheTest)
{
    const auto nothing = [](const FaultStep&, const std::function<void()>&) { return Complaints{}; };
    EXPECT_NONFATAL_FAILURE(RunFaultsInChildren(kFirst, 1, 1, nothing), "call number 1 was not made");
}

TEST(AllocationCensus, CountsWhatIsLeft)
{
    const AllocationCensus census;
    std::unique_ptr<int> kept = std::make_unique<int>(1);
    const std::unique_ptr<int> quick = std::make_unique<int>(2);
    EXPECT_EQ(AllocationCensus::Live(), 2U);
    kept.reset();
    EXPECT_EQ(AllocationCensus::Live(), 1U);
    Aside([&] { kept = std::make_unique<int>(3); });
    EXPECT_EQ(AllocationCensus::Live(), 1U);
}

} // namespace

} // namespace TTMLTest
