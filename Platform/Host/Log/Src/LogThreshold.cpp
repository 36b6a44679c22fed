#include "LogThreshold.h"

#include <cstring>

#include "PlatformLog.h"

namespace TTMLHost {

LogThreshold ParseLogThreshold(const char* text) noexcept
{
    if (text == nullptr || *text == '\0' || std::strcmp(text, "warning") == 0) {
        return {PLATFORM_LOG_WARNING, true};
    }
    if (std::strcmp(text, "info") == 0) {
        return {PLATFORM_LOG_INFO, true};
    }
    if (std::strcmp(text, "error") == 0) {
        return {PLATFORM_LOG_ERROR, true};
    }
    if (std::strcmp(text, "off") == 0) {
        return {kLogOff, true};
    }
    return {PLATFORM_LOG_WARNING, false};
}

} // namespace TTMLHost
