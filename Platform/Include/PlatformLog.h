#ifndef TTML_PLATFORM_LOG_H
#define TTML_PLATFORM_LOG_H

// Platform service: the system log.

#include "PlatformExport.h"

// Log buffer that application and library lines go to.
#define PLATFORM_LOG_MAIN 0

// Levels the source layer writes with.
#define PLATFORM_LOG_INFO 4
#define PLATFORM_LOG_WARNING 5
#define PLATFORM_LOG_ERROR 6

extern "C" {
// Writes one line to the log. Any thread, at any time between the loading of the library and the end of
// the process, also while locks are held: it must not call back into the source layer.
//
// `bufferId` names the log buffer, `level` is one of the levels above, `tag` names the writer and `format`
// with what follows is a printf text without a line end. All stay the caller's and are read before the
// call returns. A line may hold the terminal sequences "\033[01;33m", "\033[01;31m" and "\033[0m" around
// its message.
//
// Returns the number of bytes written, 0 when the level is filtered out, or a negative value on failure;
// the source layer does not look at it. Must not throw.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl50-cpp,cert-dcl51-cpp)
TTML_PLATFORM_EXPORT int __dlog_print(int bufferId, int level, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));
}

#endif
