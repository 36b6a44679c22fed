#include "AtscFixtures.h"
#include "Scenario.h"

namespace TTMLTest {

namespace {

class Atsc : public Scenario
{
public:
    void SetUp() const override
    {
        BroadcastTest::ShowUnlockedService();
        AtscTest::ShowCaptionService();
        SetUpTimes();
    }

    void Play(Stage& stage) const override
    {
        static const TSCaption text = CaptionOf("<tt>a caption on the heap</tt>");
        static const TSCaption image =
            CaptionOf("<tt>a caption with an image</tt>\x89PNG\r\n\x1A\nan image on the heap", 3000000000);
        TTML::CTTMLSource* const source = MakeSource<TTML::CATSCSource>();
        stage.Enter(source);
        source->t_Initialize(kTortureAgent);
        source->RegisterCallBack(&ClientRecorder::Callback, stage.Client().UserData());
        stage.Act([&] { source->OnStart(); });
        stage.Act([] { ScriptedTvService::Signal(SIGNAL_TVS_ACTIVATE); });
        stage.Act([] { ScriptedTvService::Caption(text); });
        stage.Act([] { ScriptedTvService::Caption(text); });
        stage.Act([] { ScriptedTvService::Signal(SIGNAL_TUNE_START); });
        Aside([] { ScriptedTvService::Change([](TvScene& scene) { scene.caption->profile = 1; }); });
        stage.Act([] { ScriptedTvService::Signal(SIGNAL_TUNE_SUCCESS); });
        stage.Act([] { ScriptedTvService::Caption(image); });
        AskForTheTime(*source);
        stage.Act([] { SignalMpd(); });
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
        stage.Act([] { ScriptedTvService::Caption(image); });
        stage.Leave();
    }

private:
    static void SignalMpd()
    {
        TSSignalData data = {};
        data.data.l[0] = kMpdIsThere;
        ScriptedTvService::Signal(kAtsc3Signal, data);
    }
};

} // namespace

std::unique_ptr<Scenario> AtscScenario()
{
    return std::make_unique<Atsc>();
}

} // namespace TTMLTest
