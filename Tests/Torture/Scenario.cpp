#include "Scenario.h"

#include "BroadcastFixtures.h"
#include "TTMLSubtitleExtraData.h"

namespace TTMLTest {

void AskForTheTime(TTML::CTTMLSource& source)
{
    long long time = 0;
    source.GetVideoCurrentTime(&time);
}

void SetUpTimes()
{
    ScriptedFileManager::SetTimeExpression("1s", 1000);
    ScriptedFileManager::SetTimeExpression("2s", 2000);
}

void PushSample(TTML::CTTMLSource& source)
{
    char sample[] = "<tt>a sample whose text is kept on the heap</tt>";
    TTML::TTMLSubtitleExtraData extra;
    extra.index = 7;
    // Short enough to need no memory.
    extra.segStartTime = "1s";
    extra.segEndTime = "2s";
    source.OnSubtitleData(sample, extra);
}

void PlayInband(Stage& stage, TTML::CTTMLSource& source)
{
    stage.Act([&] { PushSample(source); });
    stage.Act([&] { source.PauseTrack(true); });
    stage.Act([&] { PushSample(source); });
    stage.Act([&] { source.ResumeTrack(); });
    stage.Act([&] { source.SeekStart(10000); });
    stage.Act([&] { source.SeekCompleted(); });
    stage.Act([&] { PushSample(source); });
}

void ShowLocks(Stage& stage, TTML::CTTMLSource& source)
{
    // A locked service that the rating permits, so that every lock is asked for, and then one that it does
    // not.
    Aside([] {
        ScriptedSettings::SetBool(kChannelLockKey, true);
        ScriptedTvService::Change(
            [](TvScene& scene) { scene.attributes[SERVICE_ATTRIBUTE_LOCK].integer = 1; });
    });
    stage.Act([&] { source.OnShow(); });
    Aside([] { ScriptedTvService::Change([](TvScene& scene) { scene.ratingPermitted = false; }); });
    stage.Act([] { ScriptedTvService::Signal(SIGNAL_SERVICE_LOCKED); });
    stage.Act([&] { source.OnShow(); });
    Aside([] {
        ScriptedSettings::SetBool(kChannelLockKey, false);
        ScriptedTvService::Change([](TvScene& scene) { scene.parentalLock = true; });
    });
    stage.Act([&] { source.OnShow(); });
    Aside([] { ScriptedTvService::Change([](TvScene& scene) { scene.parentalLock = false; }); });
    stage.Act([&] { source.OnShow(); });
}

void PlayRecording(Stage& stage)
{
    stage.Act([] { ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_STOPPED); });
    stage.Act([] { ScriptedRecorder::Signal(PS_SIGNAL_TYPE_PLAY_STATE_CHANGE, PS_PLAY_STATE_PLAYING); });
    stage.Act([] { ScriptedRecorder::Signal(PS_SIGNAL_TYPE_TRICK_MODE_START); });
}

} // namespace TTMLTest
