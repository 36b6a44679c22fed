#ifndef CMUTEX_H
#define CMUTEX_H

#include <pthread.h>

#include "IMutex.h"

namespace TTML {

// IMutex over a recursive POSIX mutex.
class CMutex : public IMutex
{
public:
    CMutex() = default;
    ~CMutex() override;
    CMutex(const CMutex&) = delete;
    CMutex& operator=(const CMutex&) = delete;

    int Lock() override;
    int Unlock() override;
    bool TryLock(unsigned long waitingTime) override;
    void Destroy() override;

private:
    friend class IMutex;

    bool m_Init();

    pthread_mutexattr_t m_attribute{};
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
};

} // namespace TTML

#endif
