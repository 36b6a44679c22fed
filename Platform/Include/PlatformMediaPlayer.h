#ifndef TTML_PLATFORM_MEDIA_PLAYER_H
#define TTML_PLATFORM_MEDIA_PLAYER_H

// Platform service: the media player beside which a broadband source works.

#include "PlatformExport.h"

// The player's handle. Opaque; created, owned and destroyed by whoever plays the content. It must stay
// valid for as long as a broadband source that was created with it lives.
struct player_s;

// Kind of streaming information: whether the adaptive stream is live. The value is one byte, zero for
// on-demand content.
#define PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE 19

extern "C" {
// All three calls may come on any thread, on several at once, and at the rate of the display. They return 0
// on success and an error code otherwise, and must not throw or call back into the source layer. The
// pointed-to value stays the caller's; its content after a failure is unspecified.

// Current play position in milliseconds, on the stream's own scale.
TTML_PLATFORM_EXPORT int player_get_play_position_ex(player_s* player, long long* positionMs);

// Information on the adaptive stream. `value` points to as many bytes as `kind` says.
TTML_PLATFORM_EXPORT int player_get_adaptive_streaming_info(player_s* player, void* value, int kind);

// The time in milliseconds, on the scale of the play position, at which a live stream's own timeline
// has its zero.
TTML_PLATFORM_EXPORT int player_get_base_time(player_s* player, long long* baseTimeMs);
}

#endif
