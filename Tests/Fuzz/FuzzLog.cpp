// The log of the fuzz targets: puts each line together, so that what it is made of is read, and drops it.

#include <cstdarg>
#include <cstdio>

#include "PlatformLog.h"

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl50-cpp,cert-dcl51-cpp)
int __dlog_print(int /*bufferId*/, int /*level*/, const char* /*tag*/, const char* format, ...)
{
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    return length;
}
