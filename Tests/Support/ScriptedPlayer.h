#ifndef SCRIPTED_PLAYER_H
#define SCRIPTED_PLAYER_H

#include <optional>

struct player_s;

namespace TTMLTest {

// What one call of the player answers: its result and, where there is one, the value that it writes.
struct PlayerAnswer
{
    static PlayerAnswer Value(long long value) { return {0, value}; }
    static PlayerAnswer Error(int code) { return {code, std::nullopt}; }
    // A failure that leaves rubbish behind.
    static PlayerAnswer ErrorAfterWriting(int code, long long value) { return {code, value}; }

    int result;
    std::optional<long long> value;
};

// The scripted media player. Each call takes the next answer that the test gave for it; a call without an
// answer, with another handle or another kind of information fails the test, and so does an answer that
// nobody asked for by the end of the test.
class ScriptedPlayer
{
public:
    // The handle to create a source with. It points to nothing that can be read.
    static player_s* Handle();

    static void ExpectPosition(PlayerAnswer answer, unsigned int times = 1);
    // The answer's value is the one byte that is written.
    static void ExpectStreamingInfo(PlayerAnswer answer, unsigned int times = 1);
    static void ExpectBaseTime(PlayerAnswer answer, unsigned int times = 1);
    // What calls without an answer of their own answer, however many there are.
    static void AnswerAlways(PlayerAnswer position, PlayerAnswer streamingInfo, PlayerAnswer baseTime);

    static void Reset();
    // Fails the test for answers that were not asked for.
    static void Verify();
};

} // namespace TTMLTest

#endif
