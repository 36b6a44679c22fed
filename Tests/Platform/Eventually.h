#ifndef PORT_TEST_EVENTUALLY_H
#define PORT_TEST_EVENTUALLY_H

#include <chrono>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "Gate.h"

namespace PortTest {

// Asks until the answer is yes: for what the boundary tells only when it is asked. A wait that takes longer
// than the patience is a failure of the test with what it waited for.
template <typename Question>
bool Eventually(const std::string& what, const Question& question)
{
    const auto end = std::chrono::steady_clock::now() + TTMLTest::kPatience;
    while (!question()) {
        if (std::chrono::steady_clock::now() > end) {
            ADD_FAILURE() << what << " did not come within " << TTMLTest::kPatience.count() << " s";
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Reads a clock of the platform and compares its pace with the world's.
class ClockComparison
{
public:
    using Clock = std::chrono::steady_clock;

    // `unitsPerSecond` of the platform's clock, which may be off by `tolerance` units at each reading.
    ClockComparison(std::string name, double unitsPerSecond, double tolerance)
        : m_name(std::move(name))
        , m_unitsPerSecond(unitsPerSecond)
        , m_tolerance(tolerance)
    {}

    // Reads with `read` until it has gone on by `units` from the first reading, and fails the test when it
    // goes back, or takes another time for them than the units say. False on failure.
    template <typename Read>
    bool Run(double units, const Read& read)
    {
        const auto startBefore = Clock::now();
        const double start = read();
        const auto startAfter = Clock::now();
        double last = start;
        auto before = startBefore;
        const bool came = Eventually(m_name + " to go on", [&] {
            before = Clock::now();
            const double now = read();
            if (now < last) {
                ADD_FAILURE() << m_name << " went back from " << last << " to " << now;
            }
            last = now;
            return last - start >= units;
        });
        const auto after = Clock::now();
        // It was read somewhere between the two readings of the world's clock.
        const double least = Seconds(before - startAfter) * m_unitsPerSecond - m_tolerance;
        const double most = Seconds(after - startBefore) * m_unitsPerSecond + m_tolerance;
        EXPECT_GE(last - start, least) << m_name << " is slower than it should be, or of another unit";
        EXPECT_LE(last - start, most) << m_name << " is faster than it should be, or of another unit";
        return came;
    }

private:
    static double Seconds(Clock::duration duration)
    {
        return std::chrono::duration<double>(duration).count();
    }

    const std::string m_name;
    const double m_unitsPerSecond;
    const double m_tolerance;
};

} // namespace PortTest

#endif
