// Every allocation of the broadcast sources' operations fails once, in turn: no exception leaves, nothing is
// lost or leaked, and the source works on.

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DvbFixtures.h"
#include "FaultWalk.h"

namespace TTMLTest {

namespace {

// Allocations that are made where the failure is a bad_alloc; what needs a record stops the process without
// memory for it, which the tests of packets and signals show.
struct Operation
{
    std::string name;
    std::function<void(TTML::CDVBSource&)> run;
};

void PrintTo(const Operation& operation, std::ostream* stream)
{
    *stream << operation.name;
}

void SendWithoutResult(int signal, TTML::CDVBSource& source)
{
    ScriptedTvService::LateSignal(signal, &source);
}

std::vector<Operation> Operations()
{
    static const PesBytes damaged = Pes().Gzip("<tt/>").Count(2).Bytes();
    return {{"OnStart", [](TTML::CDVBSource& source) { source.OnStart(); }},
            {"OnStop", [](TTML::CDVBSource& source) { source.OnStop(); }},
            {"OnShow", [](TTML::CDVBSource& source) { source.OnShow(); }},
            {"OnHide", [](TTML::CDVBSource& source) { source.OnHide(); }},
            {"Clock",
             [](TTML::CDVBSource& source) {
                 long long time = 0;
                 source.GetVideoCurrentTime(&time);
             }},
            {"Play", [](TTML::CDVBSource& source) { source.PlayTrack(0, nullptr, nullptr); }},
            {"TuneStart", [](TTML::CDVBSource& source) { SendWithoutResult(59, source); }},
            {"TuneSuccess", [](TTML::CDVBSource& source) { SendWithoutResult(60, source); }},
            {"ServiceLocked", [](TTML::CDVBSource& source) { SendWithoutResult(62, source); }},
            {"Activation", [](TTML::CDVBSource& source) { SendWithoutResult(75, source); }},
            {"Deactivation", [](TTML::CDVBSource& source) { SendWithoutResult(76, source); }},
            {"PesChanged", [](TTML::CDVBSource& source) { SendWithoutResult(85, source); }},
            {"RecorderPlays", [](TTML::CDVBSource&) { ScriptedRecorder::Signal(3, 1); }},
            {"RecorderStops", [](TTML::CDVBSource&) { ScriptedRecorder::Signal(3, 24); }},
            {"TrickMode", [](TTML::CDVBSource&) { ScriptedRecorder::Signal(16); }},
            {"DamagedPacket", [](TTML::CDVBSource&) { ScriptedTvService::Packet(damaged); }}};
}

class BroadcastMemory : public DvbTest, public ::testing::WithParamInterface<Operation>
{
protected:
    // The locks ask all they can.
    BroadcastMemory()
    {
        ScriptedSettings::SetBool(kChannelLockKey, true);
        ScriptedTvService::Change(
            [](TvScene& scene) { scene.attributes[SERVICE_ATTRIBUTE_LOCK].integer = 1; });
    }
};

TEST_P(BroadcastMemory, FailsWithoutAnException)
{
    WalkFaults([&](unsigned int allocation) {
        bool failed = true;
        Start();
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
        EXPECT_EQ(ScriptedTvService::PacketSubscriptions(), 0U);
        Start();
        ScriptedTvService::Packet(Pes().Segment(kPlain, std::to_string(allocation)).Bytes());
        EXPECT_EQ(m_client.CountOf(0), 1U);
        m_client.Clear();
        m_source->OnStop();
        Drain(*m_source);
        return failed;
    });
}

INSTANTIATE_TEST_SUITE_P(Each, BroadcastMemory, ::testing::ValuesIn(Operations()),
                         [](const auto& instance) { return instance.param.name; });

using DvbConstruction = BroadcastTest;

TEST_F(DvbConstruction, WithoutMemoryForAContainerStillMakesASource)
{
    WalkFaults([](unsigned int allocation) {
        bool failed = true;
        void* const place = ::operator new(sizeof(TTML::CDVBSource));
        TTML::CDVBSource* source = nullptr;
        {
            const FaultInjection noMemory(Call::NEW, allocation);
            source = new (place) TTML::CDVBSource;
            failed = noMemory.Failed() != 0;
        }
        {
            // A source thread without an in-band queue skips its commands and leaves them where they are.
            const LeakByDesign leak;
            source->OnStart();
            source->OnStop();
        }
        source->~CDVBSource();
        ::operator delete(place);
        return failed;
    });
}

} // namespace

} // namespace TTMLTest
