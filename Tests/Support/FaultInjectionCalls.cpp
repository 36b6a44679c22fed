// The system calls that the linker's --wrap routes here, and the counts of what they created.

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <set>

#include <pthread.h>
#include <sched.h>
#include <semaphore.h>

#include "AllocationCensus.h"
#include "FaultInjection.h"
#include "Gate.h"
#include "WaitProbe.h"

using TTMLTest::Call;
using TTMLTest::FaultInjection;
using TTMLTest::FaultPause;
using TTMLTest::WaitProbe;

// Both names of each call belong to the linker.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void __real_free(void* memory);
void* __real_realloc(void* memory, std::size_t size);
int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __real_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attribute, void* (*routine)(void*),
                          void* argument);
int __real_pthread_join(pthread_t thread, void** result);
int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attribute);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_trylock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_sem_destroy(sem_t* semaphore);
int __real_sem_init(sem_t* semaphore, int shared, unsigned int value);
int __real_sem_post(sem_t* semaphore);
int __real_sem_wait(sem_t* semaphore);

void* __wrap_calloc(std::size_t count, std::size_t size);
void __wrap_free(void* memory);
void* __wrap_realloc(void* memory, std::size_t size);
int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  const timespec* deadline);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attribute, void* (*routine)(void*),
                          void* argument);
int __wrap_pthread_join(pthread_t thread, void** result);
int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attribute);
int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex);
int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __wrap_sem_destroy(sem_t* semaphore);
int __wrap_sem_init(sem_t* semaphore, int shared, unsigned int value);
int __wrap_sem_post(sem_t* semaphore);
int __wrap_sem_wait(sem_t* semaphore);
}

namespace {

std::atomic<unsigned int> g_threadsCreated{0};
std::atomic<unsigned int> g_threadsJoined{0};

struct SystemObjects
{
    std::mutex mutex;
    std::set<const sem_t*> semaphores;
    timespec waitDeadline{};
};

SystemObjects& Objects()
{
    // Never destroyed: threads and static objects may end after any static object of the tests.
    static SystemObjects* const objects = new SystemObjects;
    return *objects;
}

// The result of a semaphore call that has to fail.
int Fail(int error)
{
    errno = error;
    return -1;
}

// The result of an allocation that has to fail.
void* NoMemory(int error)
{
    errno = error;
    return nullptr;
}

void* Counted(void* memory)
{
    TTMLTest::AllocationCensus::Allocated(memory);
    return memory;
}

// Waits that are noted while somebody looks for them; guarded by the mutex of the objects.
struct NotedWaits
{
    std::multiset<const pthread_cond_t*> conditions; // as often as there are threads in a wait
    unsigned int count = 0;
    std::condition_variable more;
};

NotedWaits& Waits()
{
    static auto* const waits = new NotedWaits;
    return *waits;
}

// Notes a wait while one is looked for, and takes it back.
class WaitNote
{
public:
    explicit WaitNote(const pthread_cond_t* condition)
        : m_condition(WaitProbe::IsOn() ? condition : nullptr)
    {
        if (m_condition != nullptr) {
            const FaultPause pause;
            const std::lock_guard<std::mutex> guard(Objects().mutex);
            Waits().conditions.insert(m_condition);
            ++Waits().count;
            Waits().more.notify_all();
        }
    }
    ~WaitNote()
    {
        if (m_condition != nullptr) {
            const FaultPause pause;
            const std::lock_guard<std::mutex> guard(Objects().mutex);
            Waits().conditions.erase(Waits().conditions.find(m_condition));
        }
    }
    WaitNote(const WaitNote&) = delete;
    WaitNote& operator=(const WaitNote&) = delete;

private:
    const pthread_cond_t* const m_condition;
};

} // namespace

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    const int error = FaultInjection::Strike(Call::C_ALLOCATION);
    return error != 0 ? NoMemory(error) : Counted(__real_calloc(count, size));
}

void* __wrap_realloc(void* memory, std::size_t size)
{
    const int error = FaultInjection::Strike(Call::C_ALLOCATION);
    if (error != 0) {
        return NoMemory(error);
    }
    // Struck off first: once it is freed another thread may be given the address. The library's sizes are
    // never 0, so that memory that was not given is all that a null says.
    TTMLTest::AllocationCensus::Freed(memory);
    return Counted(__real_realloc(memory, size));
}

void __wrap_free(void* memory)
{
    TTMLTest::AllocationCensus::Freed(memory);
    __real_free(memory);
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attribute, void* (*routine)(void*),
                          void* argument)
{
    if (const int error = FaultInjection::Strike(Call::THREAD_CREATE)) {
        return error;
    }
    const int result = __real_pthread_create(thread, attribute, routine, argument);
    g_threadsCreated += result == 0 ? 1U : 0U;
    return result;
}

int __wrap_pthread_join(pthread_t thread, void** result)
{
    // The thread is joined even if the call is to fail, so that a failed join leaves nothing behind.
    const int error = FaultInjection::Strike(Call::THREAD_JOIN);
    const int joined = __real_pthread_join(thread, result);
    g_threadsJoined += joined == 0 ? 1U : 0U;
    return error != 0 ? error : joined;
}

int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* attribute)
{
    const int error = FaultInjection::Strike(Call::MUTEX_INIT);
    return error != 0 ? error : __real_pthread_mutex_init(mutex, attribute);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    const int error = FaultInjection::Strike(Call::MUTEX_LOCK);
    return error != 0 ? error : __real_pthread_mutex_lock(mutex);
}

int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex)
{
    const int error = FaultInjection::Strike(Call::MUTEX_TRYLOCK);
    return error != 0 ? error : __real_pthread_mutex_trylock(mutex);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    const int error = FaultInjection::Strike(Call::MUTEX_UNLOCK);
    return error != 0 ? error : __real_pthread_mutex_unlock(mutex);
}

int __wrap_pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* deadline)
{
    {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(Objects().mutex);
        Objects().waitDeadline = *deadline;
    }
    if (const int error = FaultInjection::Strike(Call::COND_TIMEDWAIT)) {
        // Like any wait it lets others at what the mutex guards.
        __real_pthread_mutex_unlock(mutex);
        sched_yield();
        __real_pthread_mutex_lock(mutex);
        return error;
    }
    const WaitNote note(condition);
    return __real_pthread_cond_timedwait(condition, mutex, deadline);
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex)
{
    const WaitNote note(condition);
    return __real_pthread_cond_wait(condition, mutex);
}

int __wrap_sem_init(sem_t* semaphore, int shared, unsigned int value)
{
    if (const int error = FaultInjection::Strike(Call::SEM_INIT)) {
        return Fail(error);
    }
    const int result = __real_sem_init(semaphore, shared, value);
    if (result == 0) {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(Objects().mutex);
        Objects().semaphores.insert(semaphore);
    }
    return result;
}

int __wrap_sem_destroy(sem_t* semaphore)
{
    {
        const FaultPause pause;
        const std::lock_guard<std::mutex> guard(Objects().mutex);
        Objects().semaphores.erase(semaphore);
    }
    return __real_sem_destroy(semaphore);
}

int __wrap_sem_post(sem_t* semaphore)
{
    const int error = FaultInjection::Strike(Call::SEM_POST);
    return error != 0 ? Fail(error) : __real_sem_post(semaphore);
}

int __wrap_sem_wait(sem_t* semaphore)
{
    const int error = FaultInjection::Strike(Call::SEM_WAIT);
    return error != 0 ? Fail(error) : __real_sem_wait(semaphore);
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace TTMLTest {

int LiveThreads()
{
    return static_cast<int>(g_threadsCreated.load()) - static_cast<int>(g_threadsJoined.load());
}

int LiveSemaphores()
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(Objects().mutex);
    return static_cast<int>(Objects().semaphores.size());
}

unsigned int ThreadsCreated()
{
    return g_threadsCreated.load();
}

unsigned int ThreadsJoined()
{
    return g_threadsJoined.load();
}

std::atomic<bool> WaitProbe::s_on{false};

bool WaitProbe::HasWait(const pthread_cond_t* condition)
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(Objects().mutex);
    return Waits().conditions.count(condition) != 0;
}

unsigned int WaitProbe::Count()
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(Objects().mutex);
    return Waits().count;
}

bool WaitProbe::WaitForMore(unsigned int count)
{
    const FaultPause pause;
    std::unique_lock<std::mutex> guard(Objects().mutex);
    return Waits().more.wait_for(guard, kPatience, [&] { return Waits().count != count; });
}

timespec LastWaitDeadline()
{
    const FaultPause pause;
    const std::lock_guard<std::mutex> guard(Objects().mutex);
    return Objects().waitDeadline;
}

} // namespace TTMLTest
