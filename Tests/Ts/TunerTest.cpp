#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TsBuilder.h"
#include "Tuner.h"

namespace {

using TTMLHost::TunedService;
using TTMLHost::Tuner;
using TTMLTest::Bytes;
using TTMLTest::Joined;
using TTMLTest::PatSection;
using TTMLTest::PidWriter;
using TTMLTest::PmtSection;
using TTMLTest::TsPacket;
using Texts = std::vector<std::string>;

constexpr int kMap = 0x100;
constexpr int kVideo = 0x101;
constexpr int kTtml = 0x102;

// Notes what the tuner hands out, and does what is to be done then.
class Output : public TTMLHost::ServiceOutput
{
public:
    void Raise(ESignalType signal) override
    {
        events.push_back("signal " + std::to_string(signal));
        if (onSignal) {
            onSignal(signal);
        }
    }
    void RaiseNewMpd() override {}
    void OnTuned(const TunedService& service) override
    {
        events.push_back("tuned " + std::to_string(service.id));
        if (onTuned) {
            onTuned();
        }
    }
    void OnRatingChanged(const TunedService& /*service*/) override {}
    bool OnPes(const TSPESData& /*packet*/) override { return false; }
    void OnPesDelivered() override {}
    bool OnCaption(const TSCaption& /*caption*/) override { return false; }
    void OnCaptionDelivered() override {}
    void OnWarning(const std::string& line) override { events.push_back("warning: " + line); }
    void OnTuneFailed(const std::string& line) override { events.push_back("failed: " + line); }
    void OnEnd(const std::string& /*error*/) override {}
    void AwaitSignals() override {}

    Texts events;
    std::function<void(ESignalType)> onSignal;
    std::function<void()> onTuned;
};

// A service with TTML, up to its first clock reference.
Bytes Service()
{
    return Joined({PidWriter(0).Sections(PatSection(0, {{1, kMap}})),
                   PidWriter(kMap).Sections(PmtSection(
                       1, 0, kVideo, {{0x1b, kVideo, {}}, {0x06, kTtml, TTMLTest::TtmlDescriptorBytes({})}})),
                   TsPacket(kVideo).Pcr(90 * TTMLTest::kPcrSecond).Get()});
}

bool Push(Tuner* tuner, const Bytes& packets)
{
    TTMLHost::PacketBatch batch;
    batch.packets = packets.data();
    batch.count = packets.size() / 188;
    batch.stride = 188;
    return tuner->Push(batch);
}

TTMLHost::TvOptions Options()
{
    TTMLHost::TvOptions options;
    options.input = "x.ts";
    options.fast = true;
    return options;
}

TEST(Tuner, AnswersForServiceAndClockWhenTheSuccessIsSignalled)
{
    Output output;
    Tuner tuner(Options(), false, &output);
    std::optional<std::uint64_t> stc;
    output.onSignal = [&](ESignalType signal) {
        if (signal == SIGNAL_TUNE_SUCCESS) {
            stc = tuner.Stc();
        }
    };
    tuner.Start();
    EXPECT_TRUE(Push(&tuner, Service()));
    EXPECT_EQ(output.events, (Texts{"signal 59", "signal 60", "tuned 1"}));
    EXPECT_EQ(stc, 90U * 90000);
}

TEST(Tuner, SaysNothingOfTheComponentsWhenTheNextTuneHasBegun)
{
    Output output;
    Tuner tuner(Options(), true, &output);
    output.onTuned = [&] {
        output.onTuned = nullptr;
        std::string error;
        EXPECT_TRUE(tuner.Tune("1", &error)) << error;
    };
    tuner.Start();
    EXPECT_TRUE(Push(&tuner, Service()));
    EXPECT_EQ(output.events, (Texts{"signal 59", "signal 60", "tuned 1", "signal 59"}));
    EXPECT_TRUE(Push(&tuner, TsPacket(kVideo).Pcr(91 * TTMLTest::kPcrSecond).Get()));
    EXPECT_EQ(output.events,
              (Texts{"signal 59", "signal 60", "tuned 1", "signal 59", "signal 60", "tuned 1"}));
}

TEST(Tuner, TellsOnceAtTheEndOfATuneThatIsStillUnderWay)
{
    Output output;
    Tuner tuner(Options(), false, &output);
    tuner.Start();
    EXPECT_TRUE(Push(&tuner, Service()));
    std::string error;
    EXPECT_TRUE(tuner.Tune("1", &error)) << error;
    tuner.Finish();
    EXPECT_EQ(tuner.Error(), "");
    EXPECT_EQ(
        output.events,
        (Texts{"signal 59", "signal 60", "tuned 1", "signal 59",
               "failed: Cannot tune to service 1 of 'x.ts': its clock reference (PCR) does not come; give "
               "a transport stream with the PCR component of the service"}));
    EXPECT_FALSE(tuner.Tune("1", &error));
    EXPECT_EQ(error, "Cannot tune to service '1' of 'x.ts': the input is over; open it again");
}

} // namespace
