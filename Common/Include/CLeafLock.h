#ifndef CLEAF_LOCK_H
#define CLEAF_LOCK_H

#include <pthread.h>

// Clang's thread-safety analysis; nothing for other compilers.
#if defined(__clang__)
#define TTML_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define TTML_THREAD_ANNOTATION(x)
#endif
#define TTML_GUARDED_BY(x) TTML_THREAD_ANNOTATION(guarded_by(x))

namespace TTML {

// The innermost lock of an object: held to copy or replace values that belong together, never across a
// call to anything else, so that it cannot take part in a deadlock.
class TTML_THREAD_ANNOTATION(capability("mutex")) CLeafLock
{
public:
    CLeafLock() = default;
    ~CLeafLock();
    CLeafLock(const CLeafLock&) = delete;
    CLeafLock& operator=(const CLeafLock&) = delete;

    void Lock() TTML_THREAD_ANNOTATION(acquire_capability());
    void Unlock() TTML_THREAD_ANNOTATION(release_capability());

private:
    pthread_mutex_t m_mutex = PTHREAD_MUTEX_INITIALIZER;
};

// Holds a leaf lock for the length of a block.
class TTML_THREAD_ANNOTATION(scoped_lockable) CLeafGuard
{
public:
    explicit CLeafGuard(CLeafLock& lock) TTML_THREAD_ANNOTATION(acquire_capability(lock))
        : m_lock(lock)
    {
        m_lock.Lock();
    }

    ~CLeafGuard() TTML_THREAD_ANNOTATION(release_capability()) { m_lock.Unlock(); }

    CLeafGuard(const CLeafGuard&) = delete;
    CLeafGuard& operator=(const CLeafGuard&) = delete;

private:
    CLeafLock& m_lock;
};

} // namespace TTML

#endif
