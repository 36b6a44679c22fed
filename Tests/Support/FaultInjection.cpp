#include "FaultInjection.h"

#include <cerrno>
#include <cstddef>
#include <utility>

#include <pthread.h>
#include <sched.h>

#include <gtest/gtest.h>

namespace TTMLTest {

namespace {

// The injection that is in force for a kind of call, and how many threads look at it just now. Constant
// initialised, because memory is allocated before any constructor has run.
struct Slot
{
    std::atomic<FaultInjection*> armed{nullptr};
    std::atomic<unsigned int> inside{0};
};

Slot g_slots[static_cast<std::size_t>(Call::COUNT)];
thread_local int t_pauseDepth = 0;
thread_local const char* t_struckName = "";

Slot& SlotOf(Call kind)
{
    return g_slots[static_cast<std::size_t>(kind)];
}

int DefaultError(Call kind)
{
    switch (kind) {
    case Call::THREAD_CREATE:
        return EAGAIN;
    case Call::NEW:
    case Call::NEW_NOTHROW:
    case Call::C_ALLOCATION:
    case Call::MUTEX_INIT:
        return ENOMEM;
    case Call::MUTEX_UNLOCK:
        return EPERM;
    case Call::COND_TIMEDWAIT:
        return ETIMEDOUT;
    case Call::SEM_INIT:
        return ENOSYS;
    case Call::SEM_POST:
        return EOVERFLOW;
    case Call::PLATFORM:
    case Call::PLATFORM_NULL:
        return -1;
    default:
        return EINVAL;
    }
}

} // namespace

FaultInjection::FaultInjection(Call kind, unsigned int first, unsigned int count, FaultScope scope, int error,
                               std::function<void()> action)
    : m_kind(kind)
    , m_first(first)
    , m_count(count)
    , m_error(error != 0 ? error : DefaultError(kind))
    , m_thread(scope == FaultScope::THIS_THREAD ? &t_pauseDepth : nullptr)
    , m_action(std::move(action))
{
    Arm();
}

FaultInjection::FaultInjection(Call kind, unsigned int number, std::string threadName,
                               std::function<void()> action)
    : m_kind(kind)
    , m_first(number)
    , m_count(1)
    , m_error(DefaultError(kind))
    , m_thread(nullptr)
    , m_threadName(std::move(threadName))
    , m_action(std::move(action))
{
    Arm();
}

void FaultInjection::Arm()
{
    FaultInjection* none = nullptr;
    if (!SlotOf(m_kind).armed.compare_exchange_strong(none, this)) {
        const FaultPause pause;
        ADD_FAILURE() << "a fault of kind " << static_cast<int>(m_kind) << " is already armed";
    }
}

FaultInjection::~FaultInjection()
{
    FaultInjection* self = this;
    SlotOf(m_kind).armed.compare_exchange_strong(self, nullptr);
    while (SlotOf(m_kind).inside.load() != 0) {
        sched_yield();
    }
}

unsigned int FaultInjection::Calls() const
{
    return m_calls.load();
}

unsigned int FaultInjection::Failed() const
{
    return m_failed.load();
}

int FaultInjection::Strike(Call kind, const char* name)
{
    Slot& slot = SlotOf(kind);
    if (t_pauseDepth != 0 || slot.armed.load() == nullptr) {
        return 0;
    }
    slot.inside.fetch_add(1);
    FaultInjection* const injection = slot.armed.load();
    const int error = injection != nullptr ? injection->Meet(name) : 0;
    slot.inside.fetch_sub(1);
    return error;
}

const char* FaultInjection::StruckName()
{
    return t_struckName;
}

int FaultInjection::Meet(const char* name)
{
    if (m_thread != nullptr && m_thread != &t_pauseDepth) {
        return 0;
    }
    if (!m_threadName.empty()) {
        char own[16] = {};
        pthread_getname_np(pthread_self(), own, sizeof(own));
        if (m_threadName != own) {
            return 0;
        }
    }
    const unsigned int number = ++m_calls;
    if (number < m_first || number - m_first >= m_count) {
        return 0;
    }
    ++m_failed;
    if (m_action) {
        const FaultPause pause;
        t_struckName = name;
        m_action();
    }
    return m_error;
}

FaultPause::FaultPause()
{
    ++t_pauseDepth;
}

FaultPause::~FaultPause()
{
    --t_pauseDepth;
}

bool FaultPause::IsOn()
{
    return t_pauseDepth != 0;
}

} // namespace TTMLTest
