#ifndef ITTML_SOURCE_H
#define ITTML_SOURCE_H

#include <list>
#include <string>

#include "TTMLExport.h"

namespace TTML {

// The side of a source that answers: callback registration and queries. Slots are in declaration order.
// No operation throws.
class TTML_EXPORT ITTMLSource
{
public:
    // Registers the client's callback (codes and payloads: TTMLCallback.h) and the user data handed back
    // with every call; both replace earlier ones. Any thread. Returns false, and leaves an earlier
    // registration in place, when `callback` is null or the source has no thread.
    virtual bool RegisterCallBack(void (*callback)(int event, void* data), void* userData) = 0;

    // Removes callback and user data. Any thread. A callback that is already being made ends on its own;
    // after Invalidate() no data or notice of a track is under way any more (data of a broadcast source end
    // with OnStop() instead), and after Destroy() nothing is.
    virtual void UnRegisterCallBack() = 0;

    // Writes the current media time in milliseconds, as the client renders against it. Any thread.
    // Returns 0 on success and non-zero on failure, a null pointer among them.
    virtual int GetVideoCurrentTime(long long* pTimeInMS) = 0;

    // The names of fonts that could not be downloaded; filled only while the callback with code 13 runs,
    // and to be read there. The list stays the source's.
    virtual const std::list<std::string>& GetDownloadableFontsInfo() const = 0;

    // Which kind of source this is: 66 broadband, 144 DVB, 136 or 168 ATSC 3.0. Any thread.
    virtual int GetSubtitleMode() = 0;

    virtual ~ITTMLSource();
};

} // namespace TTML

#endif
