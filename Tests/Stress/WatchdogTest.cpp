// The watchdog, on a deadlock on purpose.

#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "CBBSource.h"
#include "Dice.h"
#include "ScriptedPlatform.h"
#include "Watchdog.h"

namespace TTMLTest {

namespace {

TTML::CBBSource* s_source = nullptr;

// Waits on the source thread for the source thread, which no client may.
void StopsInsideItsOwnCallback(int code, void* /*data*/)
{
    if (code == TTML::CALLBACK_STARTED) {
        s_source->OnStop();
    }
}

void StopsFromOutside(Watchdog& watchdog)
{
    Watchdog::Watched watched(watchdog, "client 7");
    watched.Does("OnStop");
    s_source->OnStop();
}

void Deadlock()
{
    Watchdog watchdog(std::chrono::seconds(2));
    s_source = TTML::CBBSource::Create(ScriptedPlayer::Handle(), "agent");
    s_source->RegisterCallBack(&StopsInsideItsOwnCallback, nullptr);
    s_source->OnStart();
    s_source->PlayTrack(1, "", nullptr);
    std::thread client([&] { StopsFromOutside(watchdog); });
    client.join();
}

TEST(Watchdog, PrintsAllStacksOfADeadlockAndEndsTheProcess)
{
    // The source thread waits for itself, and the client for the source thread.
    EXPECT_EXIT(Deadlock(), ::testing::ExitedWithCode(Watchdog::kExitStatus),
                "Watchdog: 'client 7' hangs in OnStop\\. All stacks:\n"
                ".*Thread [0-9]+ 'Source'\n"
                ".*TTML::CTTMLSource::OnStop.*StopsInsideItsOwnCallback.*TTML::CSourceTask::m_ProcessQueue"
                ".*Thread [0-9]+ 'client 7'\n"
                ".*TTML::CTTMLSource::OnStop.*StopsFromOutside");
}

TEST(Watchdog, LeavesThoseAloneThatGoOn)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kPatienceHere{1000};
    Watchdog watchdog(kPatienceHere);
    const Clock::time_point end = Clock::now() + 2 * kPatienceHere;
    Watchdog::Watched watched(watchdog, "busy");
    unsigned int beats = 0;
    while (Clock::now() < end) {
        watched.Does("work");
        ++beats;
    }
    EXPECT_GT(beats, 0U);
}

TEST(Dice, TheSeedAndTheThreadFixTheNumbers)
{
    const auto rolls = [](std::uint64_t seed, std::uint64_t thread) {
        Dice dice(seed, thread);
        std::vector<unsigned int> numbers(1000);
        for (unsigned int& number : numbers) {
            number = dice.Below(1000);
        }
        return numbers;
    };
    EXPECT_EQ(rolls(1, 2), rolls(1, 2));
    EXPECT_NE(rolls(1, 2), rolls(1, 3));
    EXPECT_NE(rolls(1, 2), rolls(2, 2));
    // Nor do they repeat each other shifted.
    EXPECT_NE(rolls(1, 2), rolls(2, 1));
}

} // namespace

} // namespace TTMLTest
