#include <list>
#include <string>
#include <utility>

#include "CBBSource.h"
#include "CSourceHolder.h"
#include "Scenario.h"

namespace TTMLTest {

namespace {

class Broadband : public Scenario
{
public:
    void SetUp() const override
    {
        // A live stream, whose time takes all three questions.
        ScriptedPlayer::AnswerAlways(PlayerAnswer::Value(12000), PlayerAnswer::Value(1),
                                     PlayerAnswer::Value(2000));
        ScriptedFileManager::Serve(kTortureUrl, FetchAnswer::Document("<tt>a document on the heap</tt>"));
        SetUpTimes();
    }

    void Play(Stage& stage) const override
    {
        TTML::CBBSource* const source = TTML::CBBSource::Create(ScriptedPlayer::Handle(), kTortureAgent);
        stage.Enter(source);
        if (source == nullptr) {
            return;
        }
        TTML::CSourceHolder::SetSource(source);
        source->RegisterCallBack(&ClientRecorder::Callback, stage.Client().UserData());
        source->SetDNTOption(1);
        stage.Act([&] { source->OnStart(); });
        stage.Act([&] { source->OnShow(); });
        // Out of band.
        stage.Act([&] { source->PlayTrack(1, kTortureUrl, kTortureDescriptor); });
        stage.Act([&] { source->StopTrack(); });
        // In band, and another track in the place of the playing one.
        stage.Act([&] { source->PlayTrack(2, "", kTortureDescriptor); });
        PlayInband(stage, *source);
        stage.Act([&] { source->PlayTrack(3, nullptr, nullptr); });
        stage.Act([&] { PushSample(*source); });
        AskForTheTime(*source);
        ShowFonts(*source);
        stage.Act([&] { source->OnHide(); });
        // A track that ends while it is paused.
        stage.Act([&] { source->PauseTrack(true); });
        stage.Act([&] { PushSample(*source); });
        stage.Act([&] { source->StopTrack(); });
        stage.Act([&] { source->OnStop(); });
        stage.Act([&] { source->Invalidate(); });
        // A source that is destroyed while its track is paused.
        stage.Act([&] { source->OnStart(); });
        stage.Act([&] { source->PlayTrack(4, "", ""); });
        stage.Act([&] { source->PauseTrack(true); });
        stage.Act([&] { PushSample(*source); });
        stage.Act([&] { PushSample(*source); });
        source->UnRegisterCallBack();
        TTML::CSourceHolder::SetSource(nullptr);
        stage.Leave();
    }

private:
    static void ShowFonts(TTML::CTTMLSource& source)
    {
        std::list<std::string> fonts;
        Aside([&] { fonts = {"a font whose name is kept on the heap", "another"}; });
        source.OnErrorDownloadableFonts(std::move(fonts));
    }
};

} // namespace

std::unique_ptr<Scenario> BroadbandScenario()
{
    return std::make_unique<Broadband>();
}

} // namespace TTMLTest
