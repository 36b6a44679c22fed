#include "ClockProbe.h"

#include <gtest/gtest.h>

// Both names of each call belong to the linker, which routes calls of the one here.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
std::time_t __real_time(std::time_t* place);
std::tm* __real_gmtime_r(const std::time_t* time, std::tm* place);
std::time_t __real_mktime(std::tm* brokenDown);

std::time_t __wrap_time(std::time_t* place);
std::tm* __wrap_gmtime_r(const std::time_t* time, std::tm* place);
std::time_t __wrap_mktime(std::tm* brokenDown);
}

namespace TTMLTest {

namespace {

thread_local ClockProbe* t_probe = nullptr;

} // namespace

ClockProbe::ClockProbe()
{
    EXPECT_EQ(t_probe, nullptr) << "this thread has a probe already";
    t_probe = this;
}

ClockProbe::~ClockProbe()
{
    t_probe = nullptr;
}

ClockProbe* ClockProbe::OfThisThread()
{
    return t_probe;
}

} // namespace TTMLTest

using TTMLTest::ClockProbe;

std::time_t __wrap_time(std::time_t* place)
{
    ClockProbe* const probe = ClockProbe::OfThisThread();
    if (probe == nullptr || !probe->Now()) {
        return __real_time(place);
    }
    if (place != nullptr) {
        *place = *probe->Now();
    }
    return *probe->Now();
}

std::tm* __wrap_gmtime_r(const std::time_t* time, std::tm* place)
{
    ClockProbe* const probe = ClockProbe::OfThisThread();
    return probe != nullptr && probe->FailsGmtime() ? nullptr : __real_gmtime_r(time, place);
}

std::time_t __wrap_mktime(std::tm* brokenDown)
{
    ClockProbe* const probe = ClockProbe::OfThisThread();
    return probe != nullptr && probe->FailsThisMktime() ? static_cast<std::time_t>(-1)
                                                        : __real_mktime(brokenDown);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
