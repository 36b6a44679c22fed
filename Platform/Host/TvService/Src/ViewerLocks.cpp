#include "ViewerLocks.h"

namespace TTMLHost {

void ViewerLocks::Set(std::uint64_t service, bool locked)
{
    if (locked) {
        m_locked.insert(service);
    } else {
        m_locked.erase(service);
    }
}

void ViewerLocks::OnTuned(std::uint64_t service)
{
    if (m_next) {
        Set(service, *m_next);
        m_next.reset();
    }
}

void ViewerLocks::ForgetServices()
{
    m_locked.clear();
    m_next.reset();
}

} // namespace TTMLHost
