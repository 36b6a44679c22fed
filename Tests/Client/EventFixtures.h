#ifndef EVENT_FIXTURES_H
#define EVENT_FIXTURES_H

#include "Event.h"
#include "TTMLCallback.h"

namespace TTMLTest {

inline TTMLClient::Event EventOf(int code, const char* thread = "Source")
{
    TTMLClient::Event event;
    event.code = code;
    event.thread = thread;
    event.wallMs = 1234;
    event.mediaTimeMs = 1200;
    return event;
}

inline TTML::TTMLRawDataInfo Sample()
{
    TTML::TTMLRawDataInfo data;
    data.index = 3;
    data.timestamp = 15000;
    data.segStartTimeMs = 15000;
    data.segEndTimeMs = 20000;
    data.trackDescriptor = "en";
    data.data = "<tt><body><div><p>Hi</p></div></body></tt>";
    return data;
}

} // namespace TTMLTest

#endif
