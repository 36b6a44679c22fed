#ifndef WAIT_PROBE_H
#define WAIT_PROBE_H

#include <atomic>

#include <pthread.h>

namespace TTMLTest {

// Tells, from its construction until it goes, which condition variables the library's threads wait for. A
// thread that waited before is not seen. Not always on: the notes order the threads, which would hide races
// from a sanitizer. One at a time.
class WaitProbe
{
public:
    WaitProbe() { s_on.store(true); }
    ~WaitProbe() { s_on.store(false); }
    WaitProbe(const WaitProbe&) = delete;
    WaitProbe& operator=(const WaitProbe&) = delete;

    // Whether a thread is in a wait for the condition variable. One that was woken stays in it until it has
    // the mutex.
    static bool HasWait(const pthread_cond_t* condition);

    // Waits that have begun so far, and a wait for another one than the first `count`. False when none comes.
    static unsigned int Count();
    static bool WaitForMore(unsigned int count);

    static bool IsOn() { return s_on.load(std::memory_order_relaxed); }

private:
    static std::atomic<bool> s_on;
};

} // namespace TTMLTest

#endif
