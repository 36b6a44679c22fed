#ifndef TTML_PLATFORM_RECORDER_H
#define TTML_PLATFORM_RECORDER_H

// Platform service: signals of the recorder's player.

#include <cstdint>

#include "PlatformExport.h"

// Types of signals that the source layer looks at.
#define PS_SIGNAL_TYPE_PLAY_STATE_CHANGE 3
#define PS_SIGNAL_TYPE_TRICK_MODE_START 16

// Play states that the source layer looks at: a recording plays, and does not play any more.
#define PS_PLAY_STATE_PLAYING 1
#define PS_PLAY_STATE_STOPPED 24

// One signal. Signals of other types may leave the play state as they like.
struct ps_signal_s
{
    std::int32_t type;
    std::int32_t playState; // of PS_SIGNAL_TYPE_PLAY_STATE_CHANGE: the new state
};

extern "C" {
// Both may be called on any thread, also inside the callback; they return 0 on success and must not throw.

// Has `callback` called with each signal and `userData`, on a thread of the recorder's, one call at a time.
// A second registration of the same callback and user data counts, but does not double the calls.
TTML_PLATFORM_EXPORT int
svc_pvr_register_signal_cb_in_list(void (*callback)(ps_signal_s signal, void* userData), void* userData);

// Takes back one registration of `callback`. With the last one all calls end: none runs after the return,
// unless the call is made inside the callback, where it does not wait. While other registrations remain,
// calls with any of the user data given may go on, so a callback must know whose user data is alive.
TTML_PLATFORM_EXPORT int svc_pvr_unregister_signal_cb_in_list(void (*callback)(ps_signal_s signal,
                                                                               void* userData));
}

#endif
