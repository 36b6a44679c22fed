// PlatformRecorder.h: signals of the recorder's player.

#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CallbackContract.h"
#include "PlatformRecorder.h"
#include "PortUnderTest.h"

namespace {

using namespace PortTest;

constexpr ps_signal_s kPlaying{PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING};
constexpr ps_signal_s kStopped{PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_STOPPED};
constexpr ps_signal_s kTrickMode{PS_SIGNAL_TYPE_TRICK_MODE_START, 0};

template <int Slot>
void OnSignal(ps_signal_s /*signal*/, void* userData)
{
    Receiver::Call(userData);
}

class RecorderSignals : public Subscription
{
public:
    bool Begin(int slot, Receiver* receiver) override
    {
        return svc_pvr_register_signal_cb_in_list(Callback(slot), receiver) == 0;
    }
    bool End(int slot) override { return svc_pvr_unregister_signal_cb_in_list(Callback(slot)) == 0; }
    void Raise() override { Port().Recorder()->Raise(kPlaying); }

private:
    static void (*Callback(int slot))(ps_signal_s, void*) { return slot == 0 ? &OnSignal<0> : &OnSignal<1>; }
};

std::unique_ptr<Subscription> MakeSignals()
{
    return Port().Recorder() == nullptr ? nullptr : std::make_unique<RecorderSignals>();
}

const SubscriptionKind kSignals{"Signals", "signals of the recorder", &MakeSignals};
PORT_INSTANTIATE(Recorder, CallbackContract, kSignals);
PORT_INSTANTIATE(Recorder, CountedCallbackContract, kSignals);
PORT_INSTANTIATE(Recorder, SerialCallbackContract, kSignals);

// Notes the signals that it is given.
struct Notes
{
    TTMLTest::CountingGate calls{"signals"};
    std::mutex mutex;
    std::vector<std::string> texts; // guarded by mutex
};

std::string Text(const ps_signal_s& signal)
{
    return std::to_string(signal.type) + (signal.type == PS_SIGNAL_TYPE_PLAY_STATE_CHANGE
                                              ? " " + std::to_string(signal.playState)
                                              : std::string());
}

void NoteSignal(ps_signal_s signal, void* userData)
{
    auto* const notes = static_cast<Notes*>(userData);
    {
        const std::lock_guard<std::mutex> guard(notes->mutex);
        notes->texts.push_back(Text(signal));
    }
    notes->calls.Add();
}

TEST(Recorder, RegistersAndTakesBackWithoutASignal)
{
    Receiver receiver("signal");
    EXPECT_EQ(svc_pvr_register_signal_cb_in_list(&OnSignal<0>, &receiver), 0);
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&OnSignal<0>), 0);
    receiver.ExpectNoMore();
    EXPECT_NE(svc_pvr_unregister_signal_cb_in_list(&OnSignal<0>), 0);
    EXPECT_NE(svc_pvr_unregister_signal_cb_in_list(&OnSignal<1>), 0);
}

TEST(Recorder, GivesTypesAndPlayStatesInOrder)
{
    PORT_NEEDS(Port().Recorder(), "signals of the recorder");
    Notes notes;
    ASSERT_EQ(svc_pvr_register_signal_cb_in_list(&NoteSignal, &notes), 0);
    for (const ps_signal_s& signal : {kPlaying, kTrickMode, kStopped, kPlaying}) {
        Port().Recorder()->Raise(signal);
    }
    EXPECT_TRUE(notes.calls.WaitFor(4));
    EXPECT_EQ(svc_pvr_unregister_signal_cb_in_list(&NoteSignal), 0);
    EXPECT_EQ(notes.texts, (std::vector<std::string>{"3 1", "16", "3 24", "3 1"}));
}

} // namespace
