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

struct PlayerAnswers
{
    std::deque<PlayerAnswer> next;
    std::optional<PlayerAnswer> always;
};

struct PlayerState
{
    std::mutex mutex;
    PlayerAnswers positions;
    PlayerAnswers infos;
    PlayerAnswers baseTimes;
};

PlayerState& State()
{
    static PlayerState* const state = new PlayerState;
    return *state;
}

void Expect(PlayerAnswers& answers, PlayerAnswer answer, unsigned int times)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    answers.next.insert(answers.next.end(), times, answer);
}

std::optional<PlayerAnswer> Next(PlayerAnswers& answers)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    if (answers.next.empty()) {
        return answers.always;
    }
    const PlayerAnswer answer = answers.next.front();
    answers.next.pop_front();
    return answer;
}

// Answers one call with the next answer of its kind, after noting it.
template <class Write>
int Answer(const char* name, const std::string& arguments, player_s* player, const void* output,
           PlayerAnswers& answers, Write write)
{
    const int fault = FaultInjection::Strike(Call::PLATFORM, name);
    const FaultPause pause;
    const std::optional<PlayerAnswer> answer = fault != 0 ? PlayerAnswer::Error(fault) : Next(answers);
    std::ostringstream text;
    text << name << "(" << arguments << ") = ";
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

void ScriptedPlayer::AnswerAlways(PlayerAnswer position, PlayerAnswer streamingInfo, PlayerAnswer baseTime)
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().positions.always = position;
    State().infos.always = streamingInfo;
    State().baseTimes.always = baseTime;
}

void ScriptedPlayer::Reset()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    State().positions = {};
    State().infos = {};
    State().baseTimes = {};
}

void ScriptedPlayer::Verify()
{
    const std::lock_guard<std::mutex> guard(State().mutex);
    EXPECT_EQ(State().positions.next.size(), 0U) << "positions that nobody asked for";
    EXPECT_EQ(State().infos.next.size(), 0U) << "streaming informations that nobody asked for";
    EXPECT_EQ(State().baseTimes.next.size(), 0U) << "base times that nobody asked for";
}

} // namespace TTMLTest

int player_get_play_position_ex(player_s* player, long long* positionMs)
{
    return TTMLTest::Answer(__func__, "", player, positionMs, TTMLTest::State().positions,
                            [&](long long value) { *positionMs = value; });
}

int player_get_adaptive_streaming_info(player_s* player, void* value, int kind)
{
    EXPECT_EQ(kind, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE) << "another kind of information";
    return TTMLTest::Answer(
        __func__, std::to_string(kind), player, value, TTMLTest::State().infos,
        [&](long long answer) { *static_cast<unsigned char*>(value) = static_cast<unsigned char>(answer); });
}

int player_get_base_time(player_s* player, long long* baseTimeMs)
{
    return TTMLTest::Answer(__func__, "", player, baseTimeMs, TTMLTest::State().baseTimes,
                            [&](long long value) { *baseTimeMs = value; });
}
