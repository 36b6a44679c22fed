#include "BroadcastFixtures.h"
#include "CDVBSource.h"
#include "PesBuilder.h"
#include "Scenario.h"

namespace TTMLTest {

namespace {

class Dvb : public Scenario
{
public:
    void SetUp() const override
    {
        BroadcastTest::ShowUnlockedService();
        ScriptedTvService::Change([](TvScene& scene) { scene.stc = 90000; });
        SetUpTimes();
    }

    void Play(Stage& stage) const override
    {
        static const PesBytes plain =
            Pes().Pts(180000).MediaTime(50000).Segment(kPlain, "<tt>a text on the heap, plain</tt>").Bytes();
        // So well compressed that the buffer for it has to grow.
        static const PesBytes compressed =
            Pes().Pts(180000).MediaTime(50000).Gzip("<tt>" + std::string(200, 'a') + "</tt>").Bytes();
        TTML::CTTMLSource* const source = MakeSource<TTML::CDVBSource>();
        stage.Enter(source);
        source->t_Initialize(kTortureAgent);
        source->RegisterCallBack(&ClientRecorder::Callback, stage.Client().UserData());
        stage.Act([&] { source->OnStart(); });
        stage.Act([] { ScriptedTvService::Signal(SIGNAL_TVS_ACTIVATE); });
        stage.Act([] { ScriptedTvService::Packet(plain); });
        stage.Act([] { ScriptedTvService::Signal(SIGNAL_TUNE_START); });
        stage.Act([] { ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS); });
        stage.Act([] { ScriptedTvService::Packet(compressed); });
        stage.Act([] { ScriptedTvService::Packet(compressed); });
        AskForTheTime(*source);
        stage.Act([] { ScriptedTvService::Signal(SIGNAL_PES_CHANGED); });
        stage.Act([&] { source->OnHide(); });
        stage.Act([&] { source->OnShow(); });
        ShowLocks(stage, *source);
        PlayRecording(stage);
        PlayInband(stage, *source);
        stage.Act([&] { source->StopTrack(); });
        stage.Act([&] { source->PlayTrack(0, nullptr, nullptr); });
        stage.Act([] { ScriptedTvService::Signal(SIGNAL_TVS_DEACTIVATE); });
        stage.Act([&] { source->OnStop(); });
        stage.Act([&] { source->Invalidate(); });
        // A source that is destroyed while it is at work.
        stage.Act([&] { source->OnStart(); });
        stage.Act([] { ScriptedTvService::Packet(plain); });
        stage.Leave();
    }
};

} // namespace

std::unique_ptr<Scenario> DvbScenario()
{
    return std::make_unique<Dvb>();
}

} // namespace TTMLTest
