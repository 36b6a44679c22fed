#include "ZoneGuard.h"

#include <cstdlib>
#include <ctime>

#include <unistd.h>

namespace TTMLTest {

ZoneGuard::ZoneGuard(const std::string& zone)
{
    const char* const before = std::getenv("TZ");
    m_wasSet = before != nullptr;
    m_before = m_wasSet ? before : "";
    setenv("TZ", zone.c_str(), 1);
    tzset();
}

ZoneGuard::~ZoneGuard()
{
    if (m_wasSet) {
        setenv("TZ", m_before.c_str(), 1);
    } else {
        unsetenv("TZ");
    }
    tzset();
}

bool ZoneGuard::IsThere(const std::string& zone)
{
    const char* const folder = std::getenv("TZDIR");
    const std::string path = std::string(folder != nullptr ? folder : "/usr/share/zoneinfo") + "/" + zone;
    return access(path.c_str(), R_OK) == 0;
}

} // namespace TTMLTest
