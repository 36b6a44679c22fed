// The recorder's signals, through the boundary.

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include <pthread.h>

#include <gtest/gtest.h>

#include "Gate.h"
#include "HostRecorder.h"
#include "TestThread.h"

using namespace TTMLTest;

namespace {

constexpr ps_signal_s kPlaying{PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING};
constexpr ps_signal_s kStopped{PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_STOPPED};
constexpr ps_signal_s kTrick{PS_SIGNAL_TYPE_TRICK_MODE_START, 0};

using Lines = std::vector<std::string>;

Lines g_lines; // touched by the recorder's thread, and by the test once that has settled

void Note(const std::string& who, ps_signal_s signal)
{
    g_lines.push_back(who + " " + std::to_string(signal.type) + " " + std::to_string(signal.playState));
}

void First(ps_signal_s signal, void* userData)
{
    Note("first" + *static_cast<std::string*>(userData), signal);
}

void Second(ps_signal_s signal, void* /*userData*/)
{
    Note("second", signal);
}

Lines TakeLines()
{
    TTMLHost::RecorderSettle();
    Lines lines;
    lines.swap(g_lines);
    return lines;
}

class Recorder : public testing::Test
{
protected:
    ~Recorder() override
    {
        TTMLHost::RecorderClose();
        g_lines.clear();
        // Whatever a test left behind.
        for (const auto callback : {&First, &Second}) {
            while (svc_pvr_unregister_signal_cb_in_list(callback) == 0) {
                ADD_FAILURE() << "a callback was left registered";
            }
        }
    }

    std::string m_a = " a";
    std::string m_b = " b";
};

TEST_F(Recorder, GivesEachSignalToAllCallbacksInOrder)
{
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&First, &m_a), 0);
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&Second, nullptr), 0);
    TTMLHost::RecorderSignal(kPlaying);
    TTMLHost::RecorderSignal(kTrick);
    TTMLHost::RecorderSignal(kStopped);
    EXPECT_EQ(TakeLines(), (Lines{"first a 3 1", "second 3 1", "first a 16 0", "second 16 0", "first a 3 24",
                                  "second 3 24"}));
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&First), 0);
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&Second), 0);
}

TEST_F(Recorder, CallsOnAThreadOfItsOwn)
{
    static std::string s_name;
    const auto callback = [](ps_signal_s, void*) {
        char name[16] = "";
        pthread_getname_np(pthread_self(), name, sizeof name);
        s_name = name;
    };
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(callback, nullptr), 0);
    TTMLHost::RecorderSignal(kPlaying);
    TTMLHost::RecorderSettle();
    EXPECT_EQ(s_name, "Recorder");
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(callback), 0);
}

TEST_F(Recorder, CountsRegistrationsAndKeepsAllUserDataUntilTheLastGoes)
{
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&First, &m_a), 0);
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&First, &m_b), 0);
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&First, &m_a), 0);
    TTMLHost::RecorderSignal(kPlaying);
    EXPECT_EQ(TakeLines(), (Lines{"first a 3 1", "first b 3 1"}));
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&First), 0);
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&First), 0);
    TTMLHost::RecorderSignal(kStopped);
    EXPECT_EQ(TakeLines(), (Lines{"first a 3 24", "first b 3 24"}));
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&First), 0);
    TTMLHost::RecorderSignal(kPlaying);
    EXPECT_EQ(TakeLines(), Lines{});
}

TEST_F(Recorder, RefusesWhatIsNotThere)
{
    EXPECT_LT(svc_pvr_register_signal_cb_in_list(nullptr, nullptr), 0);
    EXPECT_LT(svc_pvr_unregister_signal_cb_in_list(&First), 0);
    EXPECT_LT(svc_pvr_unregister_signal_cb_in_list(nullptr), 0);
}

struct Held
{
    Gate entered{"the callback has begun"};
    Gate finish{"the callback may end"};
    std::atomic<bool> ended{false};
};

void Hold(ps_signal_s /*signal*/, void* userData)
{
    auto* held = static_cast<Held*>(userData);
    held->entered.Open();
    held->finish.Wait();
    held->ended = true;
}

TEST_F(Recorder, UnregisteringWaitsForTheCallUnderWay)
{
    Held held;
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&Hold, &held), 0);
    TTMLHost::RecorderSignal(kPlaying);
    held.entered.Wait();
    bool endedAtReturn = false;
    {
        Gate begun("the removal begins");
        const TestThread remover([&] {
            begun.Open();
            EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&Hold), 0);
            endedAtReturn = held.ended;
        });
        begun.Wait();
        held.finish.Open();
    }
    EXPECT_TRUE(endedAtReturn);
}

struct SelfRemover
{
    int calls = 0;
    int result = -1;
};

void RemoveItself(ps_signal_s /*signal*/, void* userData)
{
    auto* remover = static_cast<SelfRemover*>(userData);
    ++remover->calls;
    remover->result = svc_pvr_unregister_signal_cb_in_list(&RemoveItself);
}

TEST_F(Recorder, UnregisteringInsideTheCallbackDoesNotWait)
{
    SelfRemover remover;
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&RemoveItself, &remover), 0);
    TTMLHost::RecorderSignal(kPlaying);
    TTMLHost::RecorderSignal(kStopped);
    TTMLHost::RecorderSettle();
    EXPECT_EQ(remover.calls, 1);
    EXPECT_EQ(remover.result, 0);
}

TEST_F(Recorder, ACallbackMayRaiseSignals)
{
    static int s_calls;
    s_calls = 0;
    const auto callback = [](ps_signal_s signal, void*) {
        ++s_calls;
        if (signal.playState == PS_PLAY_STATE_PLAYING) {
            TTMLHost::RecorderSignal(kStopped);
            EXPECT_EQ(s_calls, 1); // one at a time
        }
    };
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(callback, nullptr), 0);
    TTMLHost::RecorderSignal(kPlaying);
    TTMLHost::RecorderSettle();
    TTMLHost::RecorderSettle();
    EXPECT_EQ(s_calls, 2);
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(callback), 0);
}

TEST_F(Recorder, NothingThatWaitsComesAfterClosingAndALaterSignalBeginsAnew)
{
    Held held;
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&Hold, &held), 0);
    TTMLHost::RecorderSignal(kPlaying);
    held.entered.Wait();
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&Second, nullptr), 0);
    for (int i = 0; i < 1000; ++i) {
        TTMLHost::RecorderSignal(kStopped);
    }
    {
        const TestThread closer([] { TTMLHost::RecorderClose(); });
        held.finish.Open();
    }
    g_lines.clear(); // what came before the closing
    TTMLHost::RecorderSignal(kTrick);
    EXPECT_EQ(TakeLines(), (Lines{"second 16 0"}));
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&Hold), 0);
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&Second), 0);
}

TEST_F(Recorder, ClosingAndSignallingAtOnceEndsWell)
{
    static std::atomic<int> s_calls;
    s_calls = 0;
    const auto callback = [](ps_signal_s, void*) { ++s_calls; };
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(callback, nullptr), 0);
    const auto signal = [] {
        for (int i = 0; i < 500; ++i) {
            TTMLHost::RecorderSignal(kPlaying);
        }
    };
    const auto close = [] {
        for (int i = 0; i < 100; ++i) {
            TTMLHost::RecorderClose();
        }
    };
    RunTogether({signal, signal, close, close, [] { TTMLHost::RecorderSettle(); }});
    TTMLHost::RecorderSettle();
    EXPECT_LE(s_calls, 1000);
    const int before = s_calls;
    TTMLHost::RecorderSignal(kPlaying);
    TTMLHost::RecorderSettle();
    EXPECT_EQ(s_calls, before + 1);
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(callback), 0);
}

} // namespace
