#ifndef LOCK_H
#define LOCK_H

#include "IMutex.h"

namespace TTML {

// Holds a mutex for the length of a block. A null mutex (one that could not be created) is skipped.
class Lock
{
public:
    explicit Lock(IMutex* pMutex)
        : m_pMutex(pMutex)
    {
        if (m_pMutex != nullptr) {
            m_pMutex->Lock();
        }
    }

    ~Lock()
    {
        if (m_pMutex != nullptr) {
            m_pMutex->Unlock();
        }
    }

    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

private:
    IMutex* m_pMutex;
};

} // namespace TTML

#endif
