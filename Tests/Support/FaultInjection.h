#ifndef FAULT_INJECTION_H
#define FAULT_INJECTION_H

#include <atomic>
#include <ctime>
#include <functional>
#include <string>

namespace TTMLTest {

// The calls that can be made to fail, and the error with which they do so unless told otherwise.
enum class Call
{
    NEW,            // throwing operator new, also of arrays: std::bad_alloc
    NEW_NOTHROW,    // operator new(std::nothrow): null
    C_ALLOCATION,   // calloc and realloc: null, what was there stays
    THREAD_CREATE,  // pthread_create: EAGAIN, no thread
    THREAD_JOIN,    // pthread_join: EINVAL, after the thread has ended and is joined
    MUTEX_INIT,     // pthread_mutex_init: ENOMEM
    MUTEX_LOCK,     // pthread_mutex_lock: EINVAL, not locked
    MUTEX_TRYLOCK,  // pthread_mutex_trylock: EINVAL, not locked
    MUTEX_UNLOCK,   // pthread_mutex_unlock: EPERM, still locked
    COND_TIMEDWAIT, // pthread_cond_timedwait: ETIMEDOUT at once
    SEM_INIT,       // sem_init: ENOSYS
    SEM_POST,       // sem_post: EOVERFLOW, not posted
    SEM_WAIT,       // sem_wait: EINVAL, not waited
    PLATFORM,       // a call of the scripted platform: it fails
    PLATFORM_NULL,  // one that creates an object: success, but null
    COUNT
};

enum class FaultScope
{
    THIS_THREAD, // only calls of the thread that built the injection
    ANY_THREAD
};

// Makes calls of one kind fail, from its construction until it goes. One at a time for each kind.
// What the tests' support does inside the library's calls neither fails nor counts.
class FaultInjection
{
public:
    static constexpr unsigned int kAll = ~0U;

    // Calls number `first` (from 1) to `first + count - 1` of the kind fail, with `error` (0: the kind's
    // own). The thread whose call fails runs `action` before the call returns.
    explicit FaultInjection(Call kind, unsigned int first = 1, unsigned int count = 1,
                            FaultScope scope = FaultScope::THIS_THREAD, int error = 0,
                            std::function<void()> action = {});
    // The same for one call of the threads with the name.
    FaultInjection(Call kind, unsigned int number, std::string threadName, std::function<void()> action = {});
    ~FaultInjection();
    FaultInjection(const FaultInjection&) = delete;
    FaultInjection& operator=(const FaultInjection&) = delete;

    // Calls of the kind that were seen, and those of them that failed.
    unsigned int Calls() const;
    unsigned int Failed() const;

    // For the replaced calls: the error with which the current call has to fail, or 0. `name` tells calls of
    // one kind apart.
    static int Strike(Call kind, const char* name = "");
    // For actions: the name of the call that fails.
    static const char* StruckName();

private:
    void Arm();
    int Meet(const char* name);

    const Call m_kind;
    const unsigned int m_first;
    const unsigned int m_count;
    const int m_error;
    const void* const m_thread; // null for any, or for those with the name
    const std::string m_threadName;
    const std::function<void()> m_action;
    std::atomic<unsigned int> m_calls{0};
    std::atomic<unsigned int> m_failed{0};
};

// Takes what the current thread does out of all injections for the length of a block.
class FaultPause
{
public:
    FaultPause();
    ~FaultPause();
    FaultPause(const FaultPause&) = delete;
    FaultPause& operator=(const FaultPause&) = delete;

    // Whether the current thread is taken out just now.
    static bool IsOn();
};

// What the library holds of the system: threads that were created and not joined, semaphores that were
// initialised and not destroyed.
int LiveThreads();
int LiveSemaphores();
// Threads that were created and joined since the process began.
unsigned int ThreadsCreated();
unsigned int ThreadsJoined();
// The deadline of the last pthread_cond_timedwait on any thread.
timespec LastWaitDeadline();

} // namespace TTMLTest

#endif
