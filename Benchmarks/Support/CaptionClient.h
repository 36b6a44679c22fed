#ifndef CAPTION_CLIENT_H
#define CAPTION_CLIENT_H

#include "Countdown.h"

namespace TTMLBench {

// A source's client that disposes of the captions it is given and counts them. OnNotice() is registered
// with the client as its user data.
struct CaptionClient
{
    static void OnNotice(int code, void* data);

    Countdown captions;
    Countdown starts;
};

} // namespace TTMLBench

#endif
