#include "CMutex.h"

#include <new>

#include "Require.h"

namespace TTML {

IMutex* IMutex::Create()
{
    auto* o = new (std::nothrow) CMutex;
    Require(o != nullptr, "o", "Common/Src/CMutex.cpp", __LINE__,
            "static TTML::IMutex* TTML::IMutex::Create()");
    if (!o->m_Init()) {
        delete o;
        return nullptr;
    }
    return o;
}

CMutex::~CMutex()
{
    pthread_mutexattr_destroy(&m_attribute);
    pthread_mutex_destroy(&m_mutex);
}

bool CMutex::m_Init()
{
    pthread_mutexattr_init(&m_attribute);
    pthread_mutexattr_settype(&m_attribute, PTHREAD_MUTEX_RECURSIVE);
    return pthread_mutex_init(&m_mutex, &m_attribute) == 0;
}

int CMutex::Lock()
{
    return pthread_mutex_lock(&m_mutex);
}

int CMutex::Unlock()
{
    return pthread_mutex_unlock(&m_mutex);
}

bool CMutex::TryLock(unsigned long /*waitingTime*/)
{
    return pthread_mutex_trylock(&m_mutex) == 0;
}

void CMutex::Destroy()
{
    delete this;
}

} // namespace TTML
