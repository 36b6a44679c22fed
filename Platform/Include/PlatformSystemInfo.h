#ifndef TTML_PLATFORM_SYSTEM_INFO_H
#define TTML_PLATFORM_SYSTEM_INFO_H

// Platform service: information on the system that does not change while it runs.

#include "PlatformExport.h"

extern "C" {
// Reads the bool feature `key`. Returns 0 on success and another value on failure, with `*value` as it was.
// Any thread; must not throw.
TTML_PLATFORM_EXPORT int system_info_get_custom_bool(const char* key, bool* value);
}

#endif
