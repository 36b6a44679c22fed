// Application information: the package name of this process.

#include <cstring>
#include <mutex>
#include <string>

#include <unistd.h>

#include "HostSystem.h"
#include "PlatformAppInfo.h"

namespace TTMLHost {

namespace {

constexpr int kSucceeded = 0;
constexpr int kFailed = -1;

// Never destroyed: a thread of the source layer may still ask while the process exits.
struct Package
{
    std::mutex mutex;
    std::string name; // guarded by mutex
};

Package& ThisPackage()
{
    static auto* const package = new Package;
    return *package;
}

} // namespace

void SetPackageName(const std::string& name)
{
    std::string copy = name; // may throw, so not under the lock
    Package& package = ThisPackage();
    const std::lock_guard<std::mutex> lock(package.mutex);
    package.name.swap(copy);
}

} // namespace TTMLHost

int aul_app_get_pkgname_bypid(int pid, char* name, int length)
{
    using namespace TTMLHost;
    if (name == nullptr || length <= 0 || pid != getpid()) {
        return kFailed;
    }
    try {
        Package& package = ThisPackage();
        const std::lock_guard<std::mutex> lock(package.mutex);
        if (package.name.empty() || package.name.size() >= static_cast<std::size_t>(length)) {
            return kFailed;
        }
        std::memcpy(name, package.name.c_str(), package.name.size() + 1);
        return kSucceeded;
    } catch (...) {
        return kFailed;
    }
}
