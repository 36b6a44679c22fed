#ifndef TTML_PLATFORM_FILE_MANAGER_H
#define TTML_PLATFORM_FILE_MANAGER_H

// Platform service: the TTML file manager library. It fetches documents, reads TTML time expressions and
// has the millisecond clock against which caption reference times are kept.

#include <cstdint>
#include <string>

#include "PlatformExport.h"

namespace TTML {

// Fetches one document. An object is used by one thread at a time; several objects may be in use at once.
// No operation throws.
class TTML_PLATFORM_EXPORT IFileUtil
{
public:
    // A new fetcher, which the caller releases with Destroy(). Null when there is no memory for one.
    static IFileUtil* Create();

    // The operations follow in the order of their slots, which is part of the interface.

    // Releases the fetcher. Texts that it returned must have been released before.
    virtual void Destroy() = 0;

    // Fetches the whole document at `url` and returns it as a zero-terminated text, to be released with
    // ReleaseText(); null on any failure. An empty document is an empty text. The source layer reads up to
    // the first zero byte. Blocks until the document is complete or the fetch has failed. `userAgent` is
    // never null, may be empty, and is sent as it stands. `*length` is 0 on entry and receives the length of
    // the text in bytes without the terminating zero.
    virtual char* Fetch(const char* url, const char* userAgent, unsigned long* length) = 0;

    // Releases a text returned by Fetch().
    virtual void ReleaseText(char* text) = 0;

    // Sets the one extra request header of later fetches ("Name: value"), which is copied. An empty text
    // sends none.
    virtual void SetRequestHeader(const char* header) = 0;

protected:
    ~IFileUtil() = default;
};

// The media time, in milliseconds, of a TTML time expression (W3C TTML2, clock time or offset time).
// `frameRate` is in frames per second and `tickRate` in ticks per second; 0 stands for TTML's default (30
// frames; 1 tick, or as many ticks as frames where a frame rate is given). An expression that is none yields
// 0. Any thread; does not throw; does not depend on the process's locale.
TTML_PLATFORM_EXPORT long long ConvertTimeExpressionToMS(const std::string& expression, double frameRate,
                                                         int tickRate);

// A clock in milliseconds from an origin of the platform's choice, modulo 2^32: it wraps after 49.7 days and
// does not go back otherwise. Any thread; does not throw.
TTML_PLATFORM_EXPORT std::uint32_t TTMLGetTimeofDay();

} // namespace TTML

#endif
