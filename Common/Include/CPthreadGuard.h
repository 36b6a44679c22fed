#ifndef CPTHREAD_GUARD_H
#define CPTHREAD_GUARD_H

#include <pthread.h>

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
