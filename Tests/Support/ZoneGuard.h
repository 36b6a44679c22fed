#ifndef ZONE_GUARD_H
#define ZONE_GUARD_H

#include <string>

namespace TTMLTest {

// Sets the process's time zone, and puts back what was there when it goes. One at a time, and not while
// another thread asks for the local time.
class ZoneGuard
{
public:
    // A name of the zone files ("Europe/Moscow") or a POSIX rule ("UTC0").
    explicit ZoneGuard(const std::string& zone);
    ~ZoneGuard();
    ZoneGuard(const ZoneGuard&) = delete;
    ZoneGuard& operator=(const ZoneGuard&) = delete;

    // Whether the machine has the zone's file. Without it the C library takes UTC for the zone, silently.
    static bool IsThere(const std::string& zone);

private:
    bool m_wasSet;
    std::string m_before;
};

} // namespace TTMLTest

#endif
