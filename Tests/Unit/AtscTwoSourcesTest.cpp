// Two ATSC 3.0 sources at once. The settings store, the TV service's signals and the recorder know their
// subscriptions by a callback alone, which the two have in common.

#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"
#include "TTMLRawDataInfo.h"

namespace TTMLTest {

namespace {

// A client of one of several sources.
class CountingClient
{
public:
    static void Callback(int code, void* data)
    {
        auto* user = data;
        if (code == TTML::CALLBACK_DATA) {
            const std::unique_ptr<TTML::TTMLRawDataInfo> record(static_cast<TTML::TTMLRawDataInfo*>(data));
            user = record->userData;
        } else if (code == TTML::CALLBACK_STARTED) {
            user = static_cast<const TTML::TTMLStartNotice*>(data)->userData;
        } else if (code == TTML::CALLBACK_SEEK_STARTED) {
            user = static_cast<const TTML::TTMLSeekNotice*>(data)->userData;
        }
        auto* const self = static_cast<CountingClient*>(user);
        ++self->m_counts.at(static_cast<std::size_t>(code));
        if (code == TTML::CALLBACK_DATA && self->m_onData) {
            self->m_onData();
        }
    }

    unsigned int Of(int code) const { return m_counts.at(static_cast<std::size_t>(code)); }

    std::function<void()> m_onData;

private:
    std::array<std::atomic<unsigned int>, 14> m_counts = {};
};

struct Viewer
{
    std::unique_ptr<TTML::CATSCSource> source = std::make_unique<TTML::CATSCSource>();
    CountingClient client;

    Viewer() { source->RegisterCallBack(&CountingClient::Callback, &client); }
};

class AtscTwoSources : public AtscTest, public ::testing::WithParamInterface<bool>
{
protected:
    AtscTwoSources()
    {
        m_source.reset();
        for (auto* const viewer : {&m_first, &m_second}) {
            *viewer = std::make_unique<Viewer>();
            (*viewer)->source->OnStart();
        }
        BroadcastTest::Drain(*m_first->source);
        BroadcastTest::Drain(*m_second->source);
    }

    // The parameter says whether the older one leaves or the younger one.
    Viewer& Leaving() { return GetParam() ? *m_first : *m_second; }
    Viewer& Staying() { return GetParam() ? *m_second : *m_first; }

    std::string NextText() { return "text " + std::to_string(++m_texts); }

    // Everything still reaches the one that stays.
    void ExpectAlive(const Viewer& viewer)
    {
        for (const int signal : {59, 60, 62, 75, 76, 178}) {
            EXPECT_EQ(ScriptedTvService::SubscribedTo(signal), (std::vector<void*>{viewer.source.get()}))
                << signal;
        }
        const unsigned int data = viewer.client.Of(0);
        Deliver(CaptionOf(NextText()));
        EXPECT_EQ(viewer.client.Of(0), data + 1);
        const unsigned int hidden = viewer.client.Of(12);
        ScriptedTvService::Signal(SIGNAL_TUNE_START);
        Drain(*viewer.source);
        EXPECT_EQ(viewer.client.Of(12), hidden + 1);
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
        ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING);
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
        ScriptedSettings::SetBool(kBannerKey, true);
        ScriptedSettings::Notice(kBannerKey);
        EXPECT_TRUE(StateOf(*viewer.source).bannerStatus);
        TSSignalData mpd = {};
        mpd.data.l[0] = kMpdIsThere;
        ScriptedTvService::Change(
            [](TvScene& scene) { scene.mpd = "availabilityStartTime=\"1970-01-01T00:00:07Z\""; });
        ScriptedTvService::Signal(kAtsc3Signal, mpd);
        Drain(*viewer.source);
        EXPECT_EQ(StateOf(*viewer.source).start, 7000);
    }

    std::unique_ptr<Viewer> m_first;
    std::unique_ptr<Viewer> m_second;
    int m_texts = 0;
};

TEST_P(AtscTwoSources, BothAreServed)
{
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 2U);
    EXPECT_EQ(ScriptedRecorder::Registrations(), 2U);
    EXPECT_EQ(ScriptedSettings::Registrations(kBannerKey), 2U);
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(m_first->client.Of(0), 1U);
    EXPECT_EQ(m_second->client.Of(0), 1U);
    m_first->source->OnStop();
    m_second->source->OnStop();
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
}

TEST_P(AtscTwoSources, OneThatStopsLeavesTheOtherAlone)
{
    Leaving().source->OnStop();
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
    EXPECT_EQ(ScriptedTvService::SubscribedTo(178), (std::vector<void*>{Staying().source.get()}));
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(Leaving().client.Of(0), 0U);
    EXPECT_EQ(Staying().client.Of(0), 1U);
    const unsigned int hidden = Leaving().client.Of(12);
    ScriptedTvService::Signal(SIGNAL_TUNE_START);
    Drain(*Leaving().source);
    Drain(*Staying().source);
    EXPECT_EQ(Leaving().client.Of(12), hidden);
    EXPECT_EQ(Staying().client.Of(12), 1U);
}

TEST_P(AtscTwoSources, OneThatStopsAndGoesLeavesTheOtherAlone)
{
    Leaving().source->OnStop();
    Leaving().source.reset();
    ExpectAlive(Staying());
}

TEST_P(AtscTwoSources, OneThatGoesWithoutAStopLeavesTheOtherAlone)
{
    Leaving().source.reset();
    EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 1U);
    EXPECT_EQ(ScriptedRecorder::Registrations(), 1U);
    EXPECT_EQ(ScriptedSettings::Registrations(kBannerKey), 1U);
    ExpectAlive(Staying());
}

TEST_P(AtscTwoSources, OneThatComesBackIsServedAgain)
{
    Leaving().source->OnStop();
    Leaving().source->OnStart();
    Drain(*Leaving().source);
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(m_first->client.Of(0), 1U);
    EXPECT_EQ(m_second->client.Of(0), 1U);
}

TEST_P(AtscTwoSources, ADestructionWaitsForTheOwnCaptionOnly)
{
    Gate inside("the client is inside");
    Gate goOn("the client may go on");
    Leaving().client.m_onData = [&] {
        inside.Open();
        goOn.Wait();
    };
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    inside.Wait();
    {
        const BlockedThread destroyer([&] { Leaving().source.reset(); });
        EXPECT_FALSE(destroyer.IsDone());
        Staying().source->OnStop();
        Staying().source->OnStart();
        goOn.Open();
        destroyer.WaitUntilDone();
    }
    service.WaitUntilDone();
    Drain(*Staying().source);
    ExpectAlive(Staying());
}

TEST_P(AtscTwoSources, OneIsNotHeldUpByACaptionOfTheOther)
{
    Gate inside("the client is inside");
    Gate goOn("the client may go on");
    Staying().client.m_onData = [&] {
        inside.Open();
        goOn.Wait();
    };
    const TestThread service([] { Deliver(CaptionOf("<tt/>")); });
    inside.Wait();
    Leaving().source->OnStop();
    Leaving().source.reset();
    goOn.Open();
    service.WaitUntilDone();
    EXPECT_EQ(Staying().client.Of(0), 1U);
}

TEST_P(AtscTwoSources, NoticesReachOnlyTheLiving)
{
    void* const address = Leaving().source.get();
    Leaving().source.reset();
    Forget();
    // While one is registered the settings store may call both.
    ScriptedSettings::Notice(kBannerKey);
    ScriptedSettings::LateNotice(address);
    EXPECT_EQ(Journal::Instance().Calls("settings").size(), 1U);
    ScriptedRecorder::Signal(99);
    ScriptedRecorder::LateSignal(address, 99);
    EXPECT_EQ(ScriptedLog::CountOf("Signal not handled:[99]"), 1U);
}

TEST_P(AtscTwoSources, BothKeepTheBannerTogether)
{
    Deliver(CaptionOf("<tt/>"));
    EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 1);
    Leaving().source->OnStop();
    EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 0);
    Deliver(CaptionOf("<tt>2</tt>"));
    EXPECT_EQ(ScriptedSettings::ValueOf(kBannerKey), 1) << "the notice told the other one";
}

INSTANTIATE_TEST_SUITE_P(The, AtscTwoSources, ::testing::Bool(), [](const auto& instance) {
    return instance.param ? "OlderLeaves" : "YoungerLeaves";
});

} // namespace

} // namespace TTMLTest
