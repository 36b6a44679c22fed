#ifndef TTML_HOST_PLAYER_H
#define TTML_HOST_PLAYER_H

// The Linux platform's media player, beyond what the source layer asks of it: opening content, driving
// it, and receiving its TTML samples.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "PlatformExport.h"
#include "PlatformMediaPlayer.h"

namespace TTMLHost {

// What the three calls of the boundary return.
enum PlayerResult
{
    PLAYER_OK = 0,
    PLAYER_INVALID_ARGUMENT = -1, // a null pointer or an unknown kind of information
    PLAYER_NOT_LIVE = -2          // the base time of content that is not live
};

// One TTML sample as the container holds it.
struct PlayerSample
{
    const char* text;         // zero-terminated; the zero is not part of the sample
    std::size_t size;         // bytes without the terminating zero
    std::int32_t index;       // 0 for the first sample pushed, then one more for each
    std::int64_t timestampMs; // on the scale of the play position
    // TTML clock-time expressions ("hh:mm:ss.fff") on the track's own timeline; both empty unless the
    // container gives both. DASH does not tell a sample's end: the start of the next one stands for it in
    // on-demand content, and live content has none.
    std::string segStartTime;
    std::string segEndTime;
};

// Receives what a player reads. Both calls come on the player's own thread and stay the player's data.
// Neither may throw.
class PlayerListener
{
public:
    virtual ~PlayerListener() = default;

    // May block to slow the reader down; whoever closes or seeks the player must unblock it first.
    virtual void OnSample(const PlayerSample& sample) = 0;

    // The input is over: `error` is empty at its regular end, else one line that says what failed, where
    // and what to do. The regular end comes when the clock has reached the end of the last sample; there the
    // clock stops. Comes once for each time the reader runs out (again after a seek back).
    virtual void OnEnd(const std::string& error) = 0;
};

struct PlayerOptions
{
    int track = -1;                            // which TTML track, counted from 0; -1 takes the first one
    double speed = 1.0;                        // play clock seconds per second
    bool fast = false;                         // push as fast as the input can be read, without a clock
    std::string userAgent;                     // for HTTP; empty sends the default of the HTTP library
    int networkTimeoutMs = 30000;              // without a byte from the network
    const std::atomic<bool>* cancel = nullptr; // makes PlayerOpen() give up once it is true
};

struct PlayerTrack
{
    int streamIndex;      // index of the stream in the container
    std::string language; // as the container names it; may be empty
};

// Opens a local file, an HTTP URL or a DASH manifest and finds its TTML tracks. The clock stands at the
// start of the content, which for a live or late-joined stream is where it is joined, until PlayerPlay().
// `listener` must outlive the player. Null on failure, with one line in `error` that says what failed, where
// and what to do. Release with PlayerClose().
TTML_PLATFORM_EXPORT player_s* PlayerOpen(const std::string& input, const PlayerOptions& options,
                                          PlayerListener* listener, std::string* error);

// A player without content: only its clock runs (position in ms since PlayerPlay()), for content whose
// subtitles are fetched out of band. `speed` as in PlayerOptions. Null when there is no memory or the speed
// is not above 0. Release with PlayerClose().
TTML_PLATFORM_EXPORT player_s* PlayerCreateIdle(double speed);

// The TTML tracks that were found, in container order.
TTML_PLATFORM_EXPORT std::vector<PlayerTrack> PlayerTracks(player_s* player);

// Start or resume the clock and the pushing of samples; stop both. A sample that is just being pushed when
// the player is paused still arrives. Any thread.
TTML_PLATFORM_EXPORT void PlayerPlay(player_s* player);
TTML_PLATFORM_EXPORT void PlayerPause(player_s* player);

// Sets the clock to `positionMs` and goes on from the sample that covers it, or from the one after it in a
// gap, also after the end of the input. Waits for a listener call under way; no sample from before comes
// after the return. Any thread but the player's own. Live presentations cannot be sought in.
TTML_PLATFORM_EXPORT void PlayerSeek(player_s* player, long long positionMs);

// Ends the player's thread and frees the player. No listener call runs after the return; a read that
// waits for the network is interrupted.
TTML_PLATFORM_EXPORT void PlayerClose(player_s* player);

} // namespace TTMLHost

#endif
