#ifndef CPTHREAD_GUARD_H
#define CPTHREAD_GUARD_H

#include <pthread.h>

// A recursive mutex that is usable before, and even without, its initialisation: should that fail, the owner
// that locks it twice must not wait for itself.
#if defined(PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP)
#define TTML_RECURSIVE_MUTEX_INITIALIZER PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP
#else
#define TTML_RECURSIVE_MUTEX_INITIALIZER PTHREAD_MUTEX_INITIALIZER
#endif

namespace TTML {

// Holds a POSIX mutex for the length of a block.
class CPthreadGuard
{
public:
    explicit CPthreadGuard(pthread_mutex_t* pMutex)
        : m_pMutex(pMutex)
    {
        pthread_mutex_lock(m_pMutex);
    }

    ~CPthreadGuard() { pthread_mutex_unlock(m_pMutex); }

    CPthreadGuard(const CPthreadGuard&) = delete;
    CPthreadGuard& operator=(const CPthreadGuard&) = delete;

private:
    pthread_mutex_t* m_pMutex;
};

} // namespace TTML

#endif
