#ifndef CCOUNTED_SEMAPHORE_H
#define CCOUNTED_SEMAPHORE_H

#include <cstddef>

#include <pthread.h>
#include <semaphore.h>

namespace TTML {

// Drives a POSIX semaphore and counts its posts beside it, so that no failure of the system's calls can
// leave a thread waiting for ever: a post that the system refuses still releases one waiter, and a
// semaphore that could not be initialised fails every wait.
class CCountedSemaphore
{
public:
    // `pSemaphore` stays the caller's and must outlive this object.
    explicit CCountedSemaphore(sem_t* pSemaphore);
    ~CCountedSemaphore();
    CCountedSemaphore(const CCountedSemaphore&) = delete;
    CCountedSemaphore& operator=(const CCountedSemaphore&) = delete;

    // Initialises the semaphore, private to the process, with the count 0. False when that failed.
    bool Init();
    void Destroy();

    // Releases one waiter, now or later. False when the semaphore could not be posted.
    bool Post();
    // Waits for a post, again after each interruption by a signal. False when the wait failed.
    bool Wait();

private:
    sem_t* m_pSemaphore;
    bool m_bReady = false;
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t m_condition = PTHREAD_COND_INITIALIZER;
    std::size_t m_nPosted = 0;  // posts that the semaphore holds; guarded by m_mutex
    std::size_t m_nRefused = 0; // posts that the system refused; guarded by m_mutex
};

} // namespace TTML

#endif
