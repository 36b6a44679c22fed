#ifndef VIEWER_LOCKS_H
#define VIEWER_LOCKS_H

#include <cstdint>
#include <optional>
#include <set>

#include "ServiceInput.h"

namespace TTMLHost {

// What the viewer has locked. Not for two threads at once.
class ViewerLocks
{
public:
    // A lock that is set while nothing is tuned is for the service that comes next.
    void SetForNext(bool locked) { m_next = locked; }
    void Set(std::uint64_t service, bool locked);
    // A service is tuned.
    void OnTuned(std::uint64_t service);

    void SetRatingLimit(std::optional<int> age) { m_ratingLimit = age; }

    // Forgets the locks of services, which belong to an input; the limit is the viewer's and stays.
    void ForgetServices();

    bool IsLocked(std::uint64_t service) const { return m_locked.count(service) != 0; }
    // A programme without rating is permitted.
    bool Permits(std::optional<int> rating) const
    {
        return !rating || !m_ratingLimit || *rating <= *m_ratingLimit;
    }

private:
    std::set<std::uint64_t> m_locked;
    std::optional<bool> m_next;
    std::optional<int> m_ratingLimit;
};

} // namespace TTMLHost

#endif
