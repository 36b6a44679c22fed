#ifndef TEST_PLAYER_H
#define TEST_PLAYER_H

#include <cstddef>
#include <string>
#include <vector>

#include "HostPlayer.h"
#include "RecordingListener.h"

namespace TTMLTest {

// Options of a player that reads as fast as it can.
TTMLHost::PlayerOptions Fast();
// Options of a player with a clock.
TTMLHost::PlayerOptions AtSpeed(double speed);

// A player with its listener. An input that does not open fails the test.
class TestPlayer
{
public:
    TestPlayer(const std::string& input, const TTMLHost::PlayerOptions& options);
    ~TestPlayer();
    TestPlayer(const TestPlayer&) = delete;
    TestPlayer& operator=(const TestPlayer&) = delete;

    bool IsOpen() const { return m_player != nullptr; }
    player_s* Get() const { return m_player; }
    RecordingListener& Listener() { return m_listener; }

    void Play() { TTMLHost::PlayerPlay(m_player); }
    void Pause() { TTMLHost::PlayerPause(m_player); }
    void Seek(long long positionMs) { TTMLHost::PlayerSeek(m_player, positionMs); }
    long long Position() const;
    // Ends up to now are none that PlayToEnd() waits for.
    void PassEnds() { m_endsSeen = m_listener.Ends(); }
    // The test has closed the player itself.
    void Forget() { m_player = nullptr; }
    // Ends the player before the object goes.
    void Close();

    // Plays to the next end, which must be a regular one, and returns all samples so far. A player that
    // has been sought after an end plays on by itself.
    std::vector<PushedSample> PlayToEnd();

private:
    RecordingListener m_listener;
    player_s* m_player;
    std::size_t m_endsSeen = 0;
};

// What the error line of an input that must not open says.
std::string OpenError(const std::string& input, const TTMLHost::PlayerOptions& options = {});

// "index timestamp start end" of each sample: what most tests are about.
std::vector<std::string> Times(const std::vector<PushedSample>& samples);
std::vector<long long> Timestamps(const std::vector<PushedSample>& samples);

} // namespace TTMLTest

#endif
