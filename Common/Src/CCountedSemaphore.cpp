#include "CCountedSemaphore.h"

#include <cerrno>

#include "CPthreadGuard.h"

namespace TTML {

CCountedSemaphore::CCountedSemaphore(sem_t* pSemaphore)
    : m_pSemaphore(pSemaphore)
{}

CCountedSemaphore::~CCountedSemaphore()
{
    pthread_cond_destroy(&m_condition);
    pthread_mutex_destroy(&m_mutex);
}

bool CCountedSemaphore::Init()
{
    m_bReady = sem_init(m_pSemaphore, 0, 0) == 0;
    return m_bReady;
}

void CCountedSemaphore::Destroy()
{
    if (m_bReady) {
        m_bReady = false;
        sem_destroy(m_pSemaphore);
    }
}

bool CCountedSemaphore::Post()
{
    if (!m_bReady) {
        return false;
    }
    const bool posted = sem_post(m_pSemaphore) == 0;
    const CPthreadGuard guard(&m_mutex);
    ++(posted ? m_nPosted : m_nRefused);
    pthread_cond_signal(&m_condition);
    return posted;
}

bool CCountedSemaphore::Wait()
{
    if (!m_bReady) {
        return false;
    }
    {
        const CPthreadGuard guard(&m_mutex);
        while (m_nPosted == 0 && m_nRefused == 0) {
            pthread_cond_wait(&m_condition, &m_mutex);
        }
        if (m_nPosted == 0) {
            --m_nRefused;
            return true;
        }
        --m_nPosted;
    }
    // Does not block: the semaphore holds at least as many posts as were counted.
    int result = sem_wait(m_pSemaphore);
    while (result != 0 && errno == EINTR) {
        result = sem_wait(m_pSemaphore);
    }
    return result == 0;
}

} // namespace TTML
