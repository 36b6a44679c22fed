#ifndef TTML_HOST_LOG_H
#define TTML_HOST_LOG_H

// The log as the Linux platform itself writes to it.

#include "PlatformLog.h"

namespace TTMLHost {

// Tag of the platform's own lines, beside the source layer's "TTML".
constexpr const char* kHostLogTag = "TTMLHOST";

} // namespace TTMLHost

#endif
