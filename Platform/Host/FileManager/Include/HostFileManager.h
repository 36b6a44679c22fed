#ifndef TTML_HOST_FILE_MANAGER_H
#define TTML_HOST_FILE_MANAGER_H

// The Linux platform's file manager, beyond what the source layer asks of it.

#include <string>

#include "PlatformExport.h"

namespace TTMLHost {

// Limits of a fetch; the defaults are what the platform starts with.
struct FetchLimits
{
    long connectTimeoutMs = 10000;                           // until the connection stands
    long stallTimeoutS = 30;                                 // without a byte
    unsigned long long maxBytes = 64ULL * 1024ULL * 1024ULL; // of the decoded document
    long maxRedirects = 10;
    std::string caFile; // certificates to trust (PEM) instead of the system's; empty for the system's
};

// Sets the limits of fetches that begin later. Any thread.
TTML_PLATFORM_EXPORT void SetFetchLimits(const FetchLimits& limits);

// Makes every fetch, under way or begun later, return null within a second, until AllowFetches(). A
// client calls it before it destroys a source whose thread may be waiting for a server. Any thread.
TTML_PLATFORM_EXPORT void AbortFetches();
TTML_PLATFORM_EXPORT void AllowFetches();

// Why the last failed fetch of this process failed: URL, cause and status in one line without a line end;
// empty when none has failed. Any thread.
TTML_PLATFORM_EXPORT std::string LastFetchError();

} // namespace TTMLHost

#endif
