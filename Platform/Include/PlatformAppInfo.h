#ifndef TTML_PLATFORM_APP_INFO_H
#define TTML_PLATFORM_APP_INFO_H

// Platform service: application information.

#include "PlatformExport.h"

extern "C" {
// Writes the package name of the application that process `pid` belongs to, zero-terminated, into `name`, a
// buffer of `length` bytes of the caller's. Returns 0 on success and a negative value on failure (no such
// process, no package, a name that does not fit), with the buffer unspecified. Any thread; must not throw.
TTML_PLATFORM_EXPORT int aul_app_get_pkgname_bypid(int pid, char* name, int length);
}

#endif
