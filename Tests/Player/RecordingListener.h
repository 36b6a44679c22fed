#ifndef RECORDING_LISTENER_H
#define RECORDING_LISTENER_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "HostPlayer.h"

namespace TTMLTest {

// A sample as it was pushed, and what the player said at that moment.
struct PushedSample
{
    std::string text;
    bool terminated = false;
    std::int32_t index = -1;
    std::int64_t timestampMs = -1;
    std::string segStartTime;
    std::string segEndTime;
    long long positionMs = -1;
    std::string thread;
    std::chrono::steady_clock::time_point when;
};

// Keeps what a player pushes. A wait that is not answered in time fails the test.
class RecordingListener : public TTMLHost::PlayerListener
{
public:
    void OnSample(const TTMLHost::PlayerSample& sample) override;
    void OnEnd(const std::string& error) override;

    // Whose position is noted with each sample; set before it plays.
    void Attach(player_s* player);

    // Blocks the player's thread in the call that brings sample `index`, until Release().
    void HoldAt(std::int32_t index);
    bool WaitHeld();
    void Release();

    bool WaitForSamples(std::size_t count);
    // Waits for the `count`-th end and returns its error text.
    std::string WaitForEnd(std::size_t count = 1);

    std::vector<PushedSample> Samples();
    std::size_t Ends();
    // Whether one of the calls is running.
    bool IsInside();

private:
    template <typename Condition>
    bool Wait(const char* what, Condition condition);

    std::mutex m_mutex;
    std::condition_variable m_changed;
    player_s* m_player = nullptr;
    std::vector<PushedSample> m_samples;
    std::vector<std::string> m_errors;
    std::int32_t m_holdAt = -1;
    bool m_held = false;
    bool m_inside = false;
};

} // namespace TTMLTest

#endif
