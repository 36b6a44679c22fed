#ifndef CLOCK_PROBE_H
#define CLOCK_PROBE_H

#include <ctime>
#include <optional>

namespace TTMLTest {

// Decides what the calling thread is told of the calendar, from its construction until it goes. One at a
// time. What it was not told of is the machine's.
class ClockProbe
{
public:
    ClockProbe();
    ~ClockProbe();
    ClockProbe(const ClockProbe&) = delete;
    ClockProbe& operator=(const ClockProbe&) = delete;

    // What time() answers.
    void SetNow(std::time_t now) { m_now = now; }
    // gmtime_r() answers null.
    void FailGmtime() { m_failsGmtime = true; }
    // Call number `call` (from 1) of mktime() answers -1 and changes nothing.
    void FailMktime(unsigned int call) { m_failingMktime = call; }

    // For the replaced calls.
    static ClockProbe* OfThisThread();
    const std::optional<std::time_t>& Now() const { return m_now; }
    bool FailsGmtime() const { return m_failsGmtime; }
    bool FailsThisMktime() { return ++m_mktimes == m_failingMktime; }

private:
    std::optional<std::time_t> m_now;
    bool m_failsGmtime = false;
    unsigned int m_failingMktime = 0;
    unsigned int m_mktimes = 0;
};

} // namespace TTMLTest

#endif
