#ifndef TTML_HOST_RECORDER_H
#define TTML_HOST_RECORDER_H

// The Linux platform's recorder, beyond what the source layer asks of it: raising the signals of its player.

#include "PlatformExport.h"
#include "PlatformRecorder.h"

namespace TTMLHost {

// Gives a signal to all registered callbacks, on the recorder's thread, which begins with the first one. Any
// thread, also inside a callback. A signal that there is no memory or thread for is reported on the log.
TTML_PLATFORM_EXPORT void RecorderSignal(const ps_signal_s& signal);

// Waits until every signal raised so far has been given to all callbacks. Not on the recorder's thread.
TTML_PLATFORM_EXPORT void RecorderSettle();

// Ends the recorder's thread; signals that wait, or come meanwhile, are dropped. A later signal begins a new
// one. Not on the recorder's thread.
TTML_PLATFORM_EXPORT void RecorderClose();

} // namespace TTMLHost

#endif
