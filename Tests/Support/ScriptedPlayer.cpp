#include "ScriptedPlayer.h"

#include <deque>
#include <mutex>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "FaultInjection.h"
#include "Journal.h"
#include "PlatformMediaPlayer.h"

namespace TTMLTest {

namespace {

struct PlayerState
{
    std::mutex mutex;
    std::deque<PlayerAnswer> positions;
    std::deque<PlayerAnswer> infos;
    std::deque<PlayerAnswer> baseTimes;
};

PlayerState& State()
{
    static PlayerState* const state = new PlayerState;
    return *state;
}

void Expect(std::deque<PlayerAnswer>& answers, PlayerAnswer answer, unsigned int times)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    answers.insert(answers.end(), times, answer);
}

std::optional<PlayerAnswer> Next(std::deque<PlayerAnswer>& answers)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    if (answers.empty()) {
        return std::nullopt;
    }
    const PlayerAnswer answer = answers.front();
    answers.pop_front();
    return answer;
}

// Answers one call with the next answer of its kind, after noting it.
template <class Write>
int Answer(const std::string& call, player_s* player, const void* output, std::deque<PlayerAnswer>& answers,
           Write write)
{
    const FaultPause pause;
    const std::optional<PlayerAnswer> answer = Next(answers);
    std::ostringstream text;
    text << call << " = ";
    if (player != ScriptedPlayer::Handle() || output == nullptr || !answer) {
        text << "-1";
        Journal::Instance().Refuse("player", text.str(),
                                   player != ScriptedPlayer::Handle() ? "another player's handle"
                                   : output == nullptr                ? "no place for the value"
                                                                      : "no answer is left for it");
        return -1;
    }
    text << answer->result;
    if (answer->value) {
        text << ", " << *answer->value;
        write(*answer->value);
    }
    Journal::Instance().Add("player", text.str());
    return answer->result;
}

} // namespace

player_s* ScriptedPlayer::Handle()
{
    static char handle;
    return reinterpret_cast<player_s*>(&handle);
}

void ScriptedPlayer::ExpectPosition(PlayerAnswer answer, unsigned int times)
{
    Expect(State().positions, answer, times);
}

void ScriptedPlayer::ExpectStreamingInfo(PlayerAnswer answer, unsigned int times)
{
    Expect(State().infos, answer, times);
}

void ScriptedPlayer::ExpectBaseTime(PlayerAnswer answer, unsigned int times)
{
    Expect(State().baseTimes, answer, times);
}

void ScriptedPlayer::Reset()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().positions.clear();
    State().infos.clear();
    State().baseTimes.clear();
}

void ScriptedPlayer::Verify()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    EXPECT_EQ(State().positions.size(), 0U) << "positions that nobody asked for";
    EXPECT_EQ(State().infos.size(), 0U) << "streaming informations that nobody asked for";
    EXPECT_EQ(State().baseTimes.size(), 0U) << "base times that nobody asked for";
}

} // namespace TTMLTest

int player_get_play_position_ex(player_s* player, long long* positionMs)
{
    return TTMLTest::Answer("player_get_play_position_ex()", player, positionMs, TTMLTest::State().positions,
                            [&](long long value) { *positionMs = value; });
}

int player_get_adaptive_streaming_info(player_s* player, void* value, int kind)
{
    EXPECT_EQ(kind, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE) << "another kind of information";
    return TTMLTest::Answer("player_get_adaptive_streaming_info(" + std::to_string(kind) + ")", player, value,
                            TTMLTest::State().infos, [&](long long answer) {
                                *static_cast<unsigned char*>(value) = static_cast<unsigned char>(answer);
                            });
}

int player_get_base_time(player_s* player, long long* baseTimeMs)
{
    return TTMLTest::Answer("player_get_base_time()", player, baseTimeMs, TTMLTest::State().baseTimes,
                            [&](long long value) { *baseTimeMs = value; });
}
