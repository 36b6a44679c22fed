#ifndef PLAYER_H
#define PLAYER_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <limits>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "DashManifest.h"
#include "HostPlayer.h"
#include "PlayClock.h"
#include "SampleReader.h"

namespace TTMLHost {

// "hh:mm:ss.mmm", with more digits for the hours where they need them.
std::string ClockTimeOf(std::int64_t ms);

// Plays one TTML track: a thread reads samples ahead of the clock and pushes each when it is due.
class Player
{
public:
    Player(const std::string& input, const PlayerOptions& options, PlayerListener* listener);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    // Opens the input and starts the thread, which waits for Play(). On failure `*error` is one line.
    bool Open(std::string* error);

    void Play();
    void Pause();
    void Seek(std::int64_t positionMs);

    // These do not change once the player is open.
    const std::vector<PlayerTrack>& Tracks() const { return m_tracks; }
    bool IsLive() const { return m_live; }
    std::int64_t BaseMs() const { return m_baseMs; }

    std::int64_t PositionMs() const;

private:
    // What the thread has in hand.
    enum class Hand
    {
        Empty,
        Sample,
        End
    };

    static constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();

    using Lock = std::unique_lock<std::mutex>;

    bool ShouldStopReading() const;
    void Run();
    void PlayUntilStopped(Lock* lock);
    void ReadNext(Lock* lock);
    void SeekReader(Lock* lock);
    void TakeResult(ReadStatus status);
    void PushSample(Lock* lock);
    void PushEnd(Lock* lock);
    bool IsDue() const;

    const std::string m_input;
    const PlayerOptions m_options;
    PlayerListener* const m_listener; // the client's

    std::vector<PlayerTrack> m_tracks;
    bool m_live = false;
    std::int64_t m_baseMs = 0; // of a live stream's timeline on the scale of the position

    // Asked by the reader without the lock, while it waits for the network.
    std::atomic<bool> m_opening{true};
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_seekWaits{false};

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex; positions are on the track's own timeline.
    PlayClock m_clock;
    bool m_playing = false;
    bool m_inListener = false;
    std::int64_t m_limitMs = kNoLimit; // where the clock ends, once that is known
    std::int64_t m_fastPositionMs = 0; // fast: of the sample pushed last
    std::int64_t m_seekPositionMs = 0;
    bool m_ended = false;
    std::int32_t m_nextIndex = 0;

    // The player's thread only, once it runs.
    SampleReader m_reader;
    Hand m_hand = Hand::Empty;
    DemuxedSample m_sample;
    std::string m_error;
    std::int64_t m_dueMs = kUnknownTime; // of what is in the hand; unknown is at once
    std::int64_t m_lastEndMs = kUnknownTime;
    PlayClock::TimePoint m_retryAt;

    std::thread m_thread;
};

} // namespace TTMLHost

#endif
