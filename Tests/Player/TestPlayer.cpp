#include "TestPlayer.h"

#include <gtest/gtest.h>

namespace TTMLTest {

TTMLHost::PlayerOptions Fast()
{
    TTMLHost::PlayerOptions options;
    options.fast = true;
    return options;
}

TTMLHost::PlayerOptions AtSpeed(double speed)
{
    TTMLHost::PlayerOptions options;
    options.speed = speed;
    return options;
}

TestPlayer::TestPlayer(const std::string& input, const TTMLHost::PlayerOptions& options)
{
    std::string error;
    m_player = TTMLHost::PlayerOpen(input, options, &m_listener, &error);
    EXPECT_NE(m_player, nullptr) << error;
    EXPECT_EQ(error, "");
    m_listener.Attach(m_player);
}

TestPlayer::~TestPlayer()
{
    Close();
}

void TestPlayer::Close()
{
    m_listener.Release();
    TTMLHost::PlayerClose(m_player);
    m_player = nullptr;
}

long long TestPlayer::Position() const
{
    long long position = -1;
    EXPECT_EQ(player_get_play_position_ex(m_player, &position), TTMLHost::PLAYER_OK);
    return position;
}

std::vector<PushedSample> TestPlayer::PlayToEnd()
{
    if (m_player == nullptr) {
        return {};
    }
    Play();
    EXPECT_EQ(m_listener.WaitForEnd(++m_endsSeen), "");
    return m_listener.Samples();
}

std::string OpenError(const std::string& input, const TTMLHost::PlayerOptions& options)
{
    RecordingListener listener;
    std::string error;
    player_s* const player = TTMLHost::PlayerOpen(input, options, &listener, &error);
    EXPECT_EQ(player, nullptr) << input;
    TTMLHost::PlayerClose(player);
    return error;
}

std::vector<std::string> Times(const std::vector<PushedSample>& samples)
{
    std::vector<std::string> times;
    times.reserve(samples.size());
    for (const PushedSample& sample : samples) {
        times.push_back(std::to_string(sample.index) + " " + std::to_string(sample.timestampMs) + " " +
                        sample.segStartTime + " " + sample.segEndTime);
    }
    return times;
}

std::vector<long long> Timestamps(const std::vector<PushedSample>& samples)
{
    std::vector<long long> timestamps;
    timestamps.reserve(samples.size());
    for (const PushedSample& sample : samples) {
        timestamps.push_back(sample.timestampMs);
    }
    return timestamps;
}

} // namespace TTMLTest
