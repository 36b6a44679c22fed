#ifndef TTMLSRC_EVENT_H
#define TTMLSRC_EVENT_H

#include <list>
#include <optional>
#include <string>

#include "TTMLRawDataInfo.h"

namespace TTMLClient {

// One call of the client's callback, with what the client knew just then.
struct Event
{
    int code = 0;                         // TTML::ECallbackCode
    std::string thread;                   // name of the thread that called
    long long wallMs = 0;                 // since the session began
    std::optional<long long> mediaTimeMs; // what the source answered; nothing when it failed

    bool inBand = false;                         // CALLBACK_STARTED
    long long positionMs = 0;                    // CALLBACK_SEEK_STARTED
    const TTML::TTMLRawDataInfo* data = nullptr; // CALLBACK_DATA; not owned
    bool hidden = false;                         // CALLBACK_DATA: the caption is hidden
    std::list<std::string> fonts;                // CALLBACK_FONTS_ERROR
};

// The name of a callback code as the client prints it; "unknown" for a code outside the contract.
const char* EventName(int code);

// Shows events, one line each. Calls come one at a time.
class EventPrinter
{
public:
    virtual ~EventPrinter() = default;

    // False when the line could not be written.
    virtual bool Print(const Event& event) = 0;
};

} // namespace TTMLClient

#endif
