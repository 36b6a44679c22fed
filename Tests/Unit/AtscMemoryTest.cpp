// Every allocation of the ATSC 3.0 source's operations fails once, in turn: no exception leaves, nothing is
// lost or leaked, and the source works on. What needs a record stops the process without memory for it, which
// the tests of captions and signals show.

#include <functional>
#include <new>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "AtscFixtures.h"
#include "FaultWalk.h"

namespace TTMLTest {

namespace {

struct AtscOperation
{
    std::string name;
    std::function<void(TTML::CATSCSource&)> run;
};

void PrintTo(const AtscOperation& operation, std::ostream* stream)
{
    *stream << operation.name;
}

void SendSignal(int signal, TTML::CATSCSource& source)
{
    TSSignalData data = {};
    data.data.l[0] = kMpdIsThere;
    ScriptedTvService::LateSignal(signal, &source, data);
}

std::vector<AtscOperation> AtscOperations()
{
    static const std::string key = kBannerKey;
    return {{"OnStart", [](TTML::CATSCSource& source) { source.OnStart(); }},
            {"OnStop", [](TTML::CATSCSource& source) { source.OnStop(); }},
            {"OnShow", [](TTML::CATSCSource& source) { source.OnShow(); }},
            {"OnHide", [](TTML::CATSCSource& source) { source.OnHide(); }},
            {"Clock",
             [](TTML::CATSCSource& source) {
                 long long time = 0;
                 source.GetVideoCurrentTime(&time);
             }},
            {"TuneStart", [](TTML::CATSCSource& source) { SendSignal(59, source); }},
            {"TuneSuccess", [](TTML::CATSCSource& source) { SendSignal(60, source); }},
            {"Activation", [](TTML::CATSCSource& source) { SendSignal(75, source); }},
            {"Deactivation", [](TTML::CATSCSource& source) { SendSignal(76, source); }},
            {"NewMpd", [](TTML::CATSCSource& source) { SendSignal(178, source); }},
            {"RecorderPlays", [](TTML::CATSCSource&) { ScriptedRecorder::Signal(3, 1); }},
            {"RecorderStops", [](TTML::CATSCSource&) { ScriptedRecorder::Signal(3, 24); }},
            {"TrickMode", [](TTML::CATSCSource&) { ScriptedRecorder::Signal(16); }},
            {"Notice", [](TTML::CATSCSource&) { ScriptedSettings::Notice(key); }}};
}

class AtscMemory : public AtscTest, public ::testing::WithParamInterface<AtscOperation>
{};

TEST_P(AtscMemory, FailsWithoutAnException)
{
    WalkFaults([&](unsigned int allocation) {
        bool failed = true;
        if (GetParam().name != "OnStart") {
            Start();
        }
        {
            // Signals are handled on the source thread.
            const FaultInjection noMemory(Call::NEW, allocation, 1, FaultScope::ANY_THREAD);
            GetParam().run(*m_source);
            {
                const FaultPause pause;
                Drain(*m_source);
            }
            failed = noMemory.Failed() != 0;
        }
        // It works on.
        m_source->OnStop();
        EXPECT_EQ(ScriptedTvService::CaptionSubscriptions(), 0U);
        Start();
        Deliver(CaptionOf(std::to_string(allocation)));
        EXPECT_EQ(m_client.CountOf(0), 1U);
        EXPECT_EQ(StateOf(*m_source).start, kMpdStart);
        m_client.Clear();
        m_source->OnStop();
        Drain(*m_source);
        return failed;
    });
}

INSTANTIATE_TEST_SUITE_P(Each, AtscMemory, ::testing::ValuesIn(AtscOperations()),
                         [](const auto& instance) { return instance.param.name; });

using AtscConstruction = AtscTest;

TEST_F(AtscConstruction, WithoutMemoryForAContainerStillMakesASource)
{
    WalkFaults([](unsigned int allocation) {
        bool failed = true;
        void* const place = ::operator new(sizeof(TTML::CATSCSource));
        TTML::CATSCSource* source = nullptr;
        {
            const FaultInjection noMemory(Call::NEW, allocation);
            source = new (place) TTML::CATSCSource;
            failed = noMemory.Failed() != 0;
        }
        {
            // A source thread without an in-band queue skips its commands and leaves them where they are.
            const LeakByDesign leak;
            source->OnStart();
            source->OnStop();
        }
        source->~CATSCSource();
        ::operator delete(place);
        return failed;
    });
}

// An MPD's attribute without memory for its text is as one that is not there.
TEST_F(AtscConstruction, WithoutMemoryForAnAttributeThereAreNoTimes)
{
    ScriptedTvService::Change([](TvScene& scene) {
        scene.mpd = "availabilityStartTime=\"2019-05-01T00:00:00Z" + std::string(100, ' ') + "\"";
    });
    bool lacking = false;
    WalkFaults([&](unsigned int allocation) {
        bool failed = true;
        {
            const FaultInjection noMemory(Call::NEW, allocation);
            Subscribe();
            failed = noMemory.Failed() != 0;
        }
        if (StateOf(*m_source).subscribed) {
            lacking = lacking || StateOf(*m_source).start == 0;
            EXPECT_EQ(StateOf(*m_source).start == 0, failed);
        }
        Unsubscribe();
        return failed;
    });
    EXPECT_TRUE(lacking);
}

} // namespace

} // namespace TTMLTest
