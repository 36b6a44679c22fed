#ifndef SOURCE_EVENTS_H
#define SOURCE_EVENTS_H

#include <string>

#include "TTMLCallback.h"

namespace TTML {

// Codes of the events that the source thread handles.
enum ESourceEvent
{
    SOURCE_EVENT_PLAY = 0,
    SOURCE_EVENT_PAUSE = 1,
    SOURCE_EVENT_RESUME = 2,
    SOURCE_EVENT_STOP = 3,
    SOURCE_EVENT_SEEK_START = 4,
    SOURCE_EVENT_SEEK_COMPLETED = 5,
    SOURCE_EVENT_CALLBACK = 8
};

// The code with which the function of a SourceCallbackData is called.
constexpr int SOURCE_CALLBACK_CODE = 14;

// One event of the source thread, queued by pointer to this base and deleted through it once handled.
struct SourceHeader
{
    SourceHeader() = default;
    explicit SourceHeader(int eventType)
        : type(eventType)
    {}
    virtual ~SourceHeader() = default;
    SourceHeader(const SourceHeader&) = delete;
    SourceHeader& operator=(const SourceHeader&) = delete;

    int type = -1;
};

struct SourcePlayData : SourceHeader
{
    unsigned int trackId = 0;
    std::string url;
    bool inBand = false;
};

struct SourcePauseData : SourceHeader
{
    bool argument = false; // carried, not read
};

struct SourceSeekData : SourceHeader
{
    long long position = 0; // milliseconds
};

struct SourceCallbackData : SourceHeader
{
    void* data = nullptr; // the function's to dispose of
    SourceCallbackFunc function = nullptr;
};

} // namespace TTML

#endif
