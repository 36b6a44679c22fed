#ifndef TTML_HOST_FETCH_ERROR_H
#define TTML_HOST_FETCH_ERROR_H

#include <string>

#include <curl/curl.h>

#include "HostFileManager.h"

namespace TTMLHost {

// How a fetch ended, in terms of what its user can do about it.
struct FetchOutcome
{
    enum class Kind
    {
        Fetched,
        Aborted,        // AbortFetches()
        Stalled,        // connected, and then no byte for the stall time-out
        TooLarge,       // more than the size limit
        NoMemory,       //
        BadUrl,         // no http, https or file URL
        BadFile,        // `detail` says why the file cannot be read
        BadUtf16,       // a UTF-16 document that is none
        NoConverter,    // a UTF-16 document, and no converter on this machine
        TransferFailed, // `code` and `detail` say why
    };

    Kind kind = Kind::Fetched;
    CURLcode code = CURLE_OK;
    long status = 0;          // of the last HTTP response; 0 when there was none
    long systemError = 0;     // errno of a failed connect; 0 when there was none
    std::string detail;       // the library's or the system's words; may be empty
    std::string effectiveUrl; // where redirects led; empty or the URL itself when there were none
};

// One line, without a line end, that says what was fetched, why it failed, the HTTP status and what to do.
std::string DescribeFailure(const char* url, const FetchOutcome& outcome, const FetchLimits& limits);

} // namespace TTMLHost

#endif
