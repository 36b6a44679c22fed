#include "CLeafLock.h"

namespace TTML {

CLeafLock::~CLeafLock()
{
    pthread_mutex_destroy(&m_mutex);
}

void CLeafLock::Lock()
{
    pthread_mutex_lock(&m_mutex);
}

void CLeafLock::Unlock()
{
    pthread_mutex_unlock(&m_mutex);
}

} // namespace TTML
