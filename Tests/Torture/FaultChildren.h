#ifndef FAULT_CHILDREN_H
#define FAULT_CHILDREN_H

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "FaultInjection.h"
#include "Gate.h"

namespace TTMLTest {

// The operation whose lines on the log stand open on the calling thread.
std::string OpenOperation();

// One call that fails: the n-th of its kind on a thread.
struct FaultStep
{
    Call kind;
    std::string thread;
    unsigned int number;
};

// What its failure brought about.
struct FaultOutcome
{
    unsigned int number = 0;
    // The operation that stood open on the thread, and the platform's call if it was one:
    // "m_Initialize", "OnShow: vconf_get_int".
    std::string place;
    // What `run` answered, or the assertion that stopped the process: "assertion o".
    std::vector<std::string> complaints;
};

// Runs with the step's call failing, which calls `struck` inside; answers what the log complained of.
using FaultRun =
    std::function<std::vector<std::string>(const FaultStep& step, const std::function<void()>& struck)>;

// Longer than all that a run waits for itself, which says more about what did not come.
constexpr std::chrono::milliseconds kWatchdog = 3 * kPatience;

// Makes each `stride`-th of the first `calls` calls fail, from `first` on, each in a run of its own. The runs
// are in child processes: one that an assertion has stopped is followed by another. A run that dies, or says
// nothing for as long as the watchdog waits, fails the test with the step and its place, and so does one that
// fails in itself or whose call does not come. The caller has no other thread; its executable links with
// --wrap=__assert_fail.
std::vector<FaultOutcome> RunFaultsInChildren(const FaultStep& first, unsigned int calls, unsigned int stride,
                                              const FaultRun& run,
                                              std::chrono::milliseconds watchdog = kWatchdog);

} // namespace TTMLTest

#endif
