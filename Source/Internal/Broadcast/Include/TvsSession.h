#ifndef TVS_SESSION_H
#define TVS_SESSION_H

#include <memory>

#include "PlatformTvService.h"

namespace TTML {

struct SDestroySession
{
    void operator()(TVServiceAPI::ITvsSession* pSession) const { TVServiceAPI::Destroy(pSession); }
};

// A session object of the TV service, released on every path.
template <class Interface>
using TvsSession = std::unique_ptr<Interface, SDestroySession>;

// A session object from one of the service's create functions; null when it fails.
template <class Interface>
TvsSession<Interface> CreateTvsSession(int (*create)(EProfile, int, Interface**), EProfile profile, int group)
{
    Interface* pSession = nullptr;
    const int result = create(profile, group, &pSession);
    return TvsSession<Interface>(result == 0 ? pSession : nullptr);
}

// Whether the TV service has ended.
inline bool IsTvsTerminated()
{
    bool terminated = false;
    TCServiceUtility::IsTvsTerminated(terminated);
    return terminated;
}

// What most calls of the sources take; others take the library's own profile and group.
constexpr EProfile TVS_PROFILE = PROFILE_MAIN;
constexpr int TVS_GROUP = 0;

} // namespace TTML

#endif
