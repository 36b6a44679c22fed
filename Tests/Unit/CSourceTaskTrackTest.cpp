// The track's state machine, one test for each way from a state to another and for each refusal. The states
// are 0 invalid, 2 stopped, 3 playing, 4 paused (after 3 or after 2) and 6 error.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CSourceTask.h"
#include "PrivateAccess.h"
#include "ScriptedPlatform.h"
#include "SourceEvents.h"
#include "SourceFixtures.h"

TTML_EXPOSE_FUNCTION(TaskPlayTrack, unsigned int (TTML::CSourceTask::*)(TTML::SourcePlayData*),
                     TTML::CSourceTask::m_PlayTrack)
TTML_EXPOSE_FUNCTION(TaskPauseTrack, void (TTML::CSourceTask::*)(TTML::SourcePauseData*),
                     TTML::CSourceTask::m_PauseTrack)
TTML_EXPOSE_FUNCTION(TaskSeekStart, void (TTML::CSourceTask::*)(TTML::SourceSeekData*),
                     TTML::CSourceTask::m_SeekStart)

namespace TTMLTest {

namespace {

using TTML::CSourceTask;

constexpr char kUrl[] = "http://host/a.ttml";

// What the in-band thread and its stopper log at a stop.
const Texts kThreadEnds = {"I Task: Stop task event: stopping infinite loop.", "I After pthread_join"};
const Texts kStarted = {"I CBBSource::PlayTrack start notify callback called", "I Start successful."};

Texts operator+(Texts left, const Texts& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

class TrackTransitions : public SourceTaskTest
{
protected:
    TrackTransitions() { Start(); }

    void PlayInband(unsigned int trackId = 2) { m_task->PlayTrack(trackId, "", nullptr); }
    void PlayUrl() { m_task->PlayTrack(2, kUrl, nullptr); }
    // Brings a track with a URL into the state 3.
    void BringToPlayingUrl()
    {
        ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
        Do([&] { PlayUrl(); });
        ASSERT_EQ(TrackState(*m_task), 3);
    }
    bool InbandRuns() { return InbandQueue(*m_task)->m_IsRunning(); }
    // Whether the in-band thread, which runs, lets a sample through.
    void ExpectFlow(const std::string& text)
    {
        m_client.Clear();
        Push(text);
        m_client.WaitForCode(0);
        EXPECT_EQ(m_client.Events(), (Texts{"0 " + text + " @Inband"}));
    }
};

// Play.

TEST_F(TrackTransitions, PlayInbandFromStopped)
{
    EXPECT_EQ(LinesOf([&] { PlayInband(7); }),
              (Texts{"I State is: [2]", "I in-band data, trackId : 7"} + kStarted));
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    ExpectFlow("a");
}

TEST_F(TrackTransitions, PlayUrlFromStopped)
{
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    EXPECT_EQ(LinesOf([&] { PlayUrl(); }),
              (Texts{"I State is: [2]", "I Out of band data, url : http://host/a.ttml"} + kStarted));
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @Source", "1 out of band @Source"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    EXPECT_FALSE(InbandRuns());
}

TEST_F(TrackTransitions, PlayInbandFromPlaying)
{
    BringTo(TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { PlayInband(8); }), (Texts{"I State is: [3]", "I State is: [3]"} + kThreadEnds +
                                                Texts{"I in-band data, trackId : 8"} + kStarted));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source", "1 in band @Source"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    ExpectFlow("a");
}

TEST_F(TrackTransitions, PlayUrlFromPlaying)
{
    BringToPlayingUrl();
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt>2</tt>"));
    EXPECT_EQ(LinesOf([&] { PlayUrl(); }),
              (Texts{"I State is: [3]", "I State is: [3]", "I Out of band data, url : http://host/a.ttml"} +
               kStarted));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source", "0 <tt>2</tt> @Source", "1 out of band @Source"}));
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(TrackTransitions, PlayInbandWhilePausedAfterPlaying)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { PlayInband(9); }),
              (Texts{"I State is: [4]", "I State is: [4]",
                     "I Inband data thread is in paused mode, un-freezing it"} +
               kThreadEnds + Texts{"I in-band data, trackId : 9"}));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
    EXPECT_TRUE(IsPlayPending(*m_task));
    ExpectFlow("a");
}

TEST_F(TrackTransitions, PlayUrlWhilePausedAfterPlaying)
{
    BringToPlayingUrl();
    Do([&] { m_task->PauseTrack(true); });
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt>2</tt>"));
    EXPECT_EQ(LinesOf([&] { PlayUrl(); }),
              (Texts{"I State is: [4]", "I State is: [4]", "I Out of band data, url : http://host/a.ttml"}));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source", "0 <tt>2</tt> @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
    EXPECT_TRUE(IsPlayPending(*m_task));
}

TEST_F(TrackTransitions, PlayInbandWhilePausedAfterStopped)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_STOPPED);
    EXPECT_EQ(LinesOf([&] { PlayInband(5); }), (Texts{"I State is: [4]", "I in-band data, trackId : 5"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 4);
    EXPECT_TRUE(IsPlayPending(*m_task));
    EXPECT_TRUE(InbandRuns());
}

TEST_F(TrackTransitions, PlayUrlWhilePausedAfterStopped)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_STOPPED);
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    EXPECT_EQ(LinesOf([&] { PlayUrl(); }),
              (Texts{"I State is: [4]", "I Out of band data, url : http://host/a.ttml"}));
    EXPECT_EQ(m_client.Events(), (Texts{"0 <tt/> @Source"}));
    EXPECT_EQ(TrackState(*m_task), 4);
    EXPECT_TRUE(IsPlayPending(*m_task));
}

TEST_F(TrackTransitions, PlayWhilePausedAfterAnythingElseIsRefused)
{
    ForceTrackState(*m_task, 4, 6);
    EXPECT_EQ(LinesOf([&] { PlayInband(); }),
              (Texts{"I State is: [4]", "W Not a proper state to play, state:[4] stateBeforePause:[6]"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 4);
    EXPECT_FALSE(IsPlayPending(*m_task));
    EXPECT_FALSE(InbandRuns());
}

TEST_F(TrackTransitions, PlayWhileInvalidIsRefused)
{
    BringTo(TTML::TRACK_INVALID);
    EXPECT_EQ(LinesOf([&] { PlayInband(); }),
              (Texts{"I State is: [0]", "W Not a proper state to play, state:[0]"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 0);
    EXPECT_FALSE(InbandRuns());
}

TEST_F(TrackTransitions, PlayInErrorIsRefused)
{
    BringTo(TTML::TRACK_ERROR);
    EXPECT_EQ(LinesOf([&] { PlayInband(); }),
              (Texts{"I State is: [6]", "W Not a proper state to play, state:[6]"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 6);
    EXPECT_FALSE(InbandRuns());
}

TEST_F(TrackTransitions, PlayWhoseFetchFailsFromStopped)
{
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Failure());
    EXPECT_EQ(
        LinesOf([&] { PlayUrl(); }),
        (Texts{"I State is: [2]", "I Out of band data, url : http://host/a.ttml", "W GetData failed!"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(TrackTransitions, PlayWhoseFetchFailsFromPlaying)
{
    BringToPlayingUrl();
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Failure());
    EXPECT_EQ(LinesOf([&] { PlayUrl(); }),
              (Texts{"I State is: [3]", "I State is: [3]", "I Out of band data, url : http://host/a.ttml",
                     "W GetData failed!"}));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
}

TEST_F(TrackTransitions, PlayWhoseFetchFailsWhilePausedAfterPlaying)
{
    BringToPlayingUrl();
    Do([&] { m_task->PauseTrack(true); });
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Failure());
    EXPECT_EQ(LinesOf([&] { PlayUrl(); }),
              (Texts{"I State is: [4]", "I State is: [4]", "I Out of band data, url : http://host/a.ttml",
                     "W GetData failed!"}));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
    EXPECT_TRUE(IsPlayPending(*m_task));
}

TEST_F(TrackTransitions, PlayWithoutAClientKeepsPlayingUnannounced)
{
    m_task->UnRegisterCallBack();
    EXPECT_EQ(LinesOf([&] { PlayInband(3); }), (Texts{"I State is: [2]", "I in-band data, trackId : 3",
                                                      "W No call back function to be called"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    EXPECT_TRUE(InbandRuns());
}

TEST_F(TrackTransitions, ANullPlayIsRefused)
{
    unsigned int result = 7;
    const Texts lines = LinesOf([&] { result = CallPrivate<TaskPlayTrack>(*m_task, nullptr); });
    EXPECT_EQ(result, 1U);
    EXPECT_EQ(lines.back(), "W pSourcePlayData is NULL");
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING).size(), 1U);
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 2);
}

// Pause.

TEST_F(TrackTransitions, PauseInbandFromPlaying)
{
    BringTo(TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { m_task->PauseTrack(true); }), (Texts{"I State is: [3]"}));
    EXPECT_EQ(m_client.Events(), (Texts{"3 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 4);
    m_client.Clear();
    Push("a");
    ScriptedLog::WaitFor("Before sem wait");
    EXPECT_EQ(m_client.Events(), Texts{});
}

TEST_F(TrackTransitions, PauseUrlFromPlaying)
{
    BringToPlayingUrl();
    EXPECT_EQ(LinesOf([&] { m_task->PauseTrack(true); }), (Texts{"I State is: [3]"}));
    EXPECT_EQ(m_client.Events(), (Texts{"3 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 4);
    EXPECT_EQ(ScriptedLog::CountOf({"Freeze", "Enter"}) + ScriptedLog::CountOf({"Freeze", "ENTER"}), 0U);
}

TEST_F(TrackTransitions, PauseDoesNotLookAtItsArgument)
{
    BringTo(TTML::TRACK_PLAYING);
    Do([&] { m_task->PauseTrack(false); });
    EXPECT_EQ(m_client.Events(), (Texts{"3 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 4);
}

TEST_F(TrackTransitions, PauseFromStopped)
{
    EXPECT_EQ(LinesOf([&] { m_task->PauseTrack(true); }), (Texts{"I State is: [2]"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 4);
    EXPECT_EQ(ScriptedLog::CountOf({"Freeze", "Enter"}) + ScriptedLog::CountOf({"Freeze", "ENTER"}), 0U);
}

TEST_F(TrackTransitions, PauseWithoutAClientIsSilent)
{
    BringTo(TTML::TRACK_PLAYING);
    m_task->UnRegisterCallBack();
    EXPECT_EQ(LinesOf([&] { m_task->PauseTrack(true); }), (Texts{"I State is: [3]"}));
    EXPECT_EQ(TrackState(*m_task), 4);
}

TEST_F(TrackTransitions, PauseElsewhereIsRefused)
{
    const std::vector<std::pair<int, int>> states = {{4, 3}, {4, 2}, {0, 0}, {6, 0}};
    for (const auto& [state, before] : states) {
        ForceTrackState(*m_task, state, before);
        const std::string number = std::to_string(state);
        EXPECT_EQ(
            LinesOf([&] { m_task->PauseTrack(true); }),
            (Texts{"I State is: [" + number + "]", "W Not a proper state to pause, state : " + number}));
        EXPECT_EQ(m_client.Events(), Texts{});
        EXPECT_EQ(TrackState(*m_task), state);
    }
}

TEST_F(TrackTransitions, ANullPauseIsWarnedOfAndPauses)
{
    // The handler never looks into its record.
    BringTo(TTML::TRACK_PLAYING);
    const Texts lines = LinesOf([&] { CallPrivate<TaskPauseTrack>(*m_task, nullptr); });
    EXPECT_EQ(lines, (Texts{"W pSourcePauseData is NULL", "I State is: [3]"}));
    EXPECT_EQ(m_client.Events(), (Texts{"3 @caller"}));
    EXPECT_EQ(TrackState(*m_task), 4);
}

// Resume.

TEST_F(TrackTransitions, ResumeInbandPausedAfterPlaying)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { m_task->ResumeTrack(); }),
              (Texts{"I State is: [4]", "I Reverting back to the original state (before Pause):[3]"}));
    EXPECT_EQ(m_client.Events(), (Texts{"4 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    ExpectFlow("a");
}

TEST_F(TrackTransitions, ResumeUrlPausedAfterPlaying)
{
    BringToPlayingUrl();
    Do([&] { m_task->PauseTrack(true); });
    EXPECT_EQ(LinesOf([&] { m_task->ResumeTrack(); }),
              (Texts{"I State is: [4]", "I Reverting back to the original state (before Pause):[3]"}));
    EXPECT_EQ(m_client.Events(), (Texts{"4 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    EXPECT_EQ(ScriptedLog::CountOf({"Resume", "Enter"}) + ScriptedLog::CountOf({"Resume", "ENTER"}), 0U);
}

TEST_F(TrackTransitions, ResumePausedAfterStopped)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_STOPPED);
    EXPECT_EQ(LinesOf([&] { m_task->ResumeTrack(); }),
              (Texts{"I State is: [4]", "I Reverting back to the original state (before Pause):[2]",
                     "I No playback data is received yet. So, there is nothing to resume. Returning."}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 2);
}

TEST_F(TrackTransitions, ResumeWithAPlayPendingStartsTheTrack)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_STOPPED);
    Do([&] { PlayInband(); });
    EXPECT_EQ(LinesOf([&] { m_task->ResumeTrack(); }), (Texts{"I State is: [4]"} + kStarted));
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source", "4 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    EXPECT_FALSE(IsPlayPending(*m_task));
    ExpectFlow("a");
}

TEST_F(TrackTransitions, ResumeWithAPlayPendingAndNoClientFails)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_STOPPED);
    Do([&] { PlayInband(); });
    m_task->UnRegisterCallBack();
    EXPECT_EQ(LinesOf([&] { m_task->ResumeTrack(); }),
              (Texts{"I State is: [4]", "W No call back function to be called", "W failed to start track"}));
    EXPECT_EQ(TrackState(*m_task), 4);
    EXPECT_TRUE(IsPlayPending(*m_task));
}

TEST_F(TrackTransitions, ResumeWithoutAClientWarnsInTheWordsOfTheStop)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_PLAYING);
    m_task->UnRegisterCallBack();
    EXPECT_EQ(LinesOf([&] { m_task->ResumeTrack(); }),
              (Texts{"I State is: [4]", "I Reverting back to the original state (before Pause):[3]",
                     "W No call back function registered for StopNotify"}));
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(TrackTransitions, ResumeElsewhereIsRefused)
{
    for (const int state : {0, 2, 3, 6}) {
        ForceTrackState(*m_task, state, 3);
        const std::string number = std::to_string(state);
        EXPECT_EQ(LinesOf([&] { m_task->ResumeTrack(); }),
                  (Texts{"I State is: [" + number + "]",
                         "W Current state is not pause, so cannot resume. state:[" + number + "]"}));
        EXPECT_EQ(m_client.Events(), Texts{});
        EXPECT_EQ(TrackState(*m_task), state);
    }
}

// Stop.

TEST_F(TrackTransitions, StopInbandFromPlaying)
{
    BringTo(TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { m_task->StopTrack(); }), (Texts{"I State is: [3]"} + kThreadEnds));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
    EXPECT_FALSE(InbandRuns());
}

TEST_F(TrackTransitions, StopUrlFromPlaying)
{
    BringToPlayingUrl();
    EXPECT_EQ(LinesOf([&] { m_task->StopTrack(); }), (Texts{"I State is: [3]"}));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
}

TEST_F(TrackTransitions, StopPausedAfterPlaying)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_PLAYING);
    EXPECT_EQ(
        LinesOf([&] { m_task->StopTrack(); }),
        (Texts{"I State is: [4]", "I Inband data thread is in paused mode, un-freezing it"} + kThreadEnds));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
    EXPECT_FALSE(InbandRuns());
}

TEST_F(TrackTransitions, StopInError)
{
    BringTo(TTML::TRACK_ERROR);
    EXPECT_EQ(LinesOf([&] { m_task->StopTrack(); }),
              (Texts{"I State is: [6]", "I Task is neither running nor in preparation stage! Q Size=[0]"}));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
}

TEST_F(TrackTransitions, StopWithoutAClientWarns)
{
    BringToPlayingUrl();
    m_task->UnRegisterCallBack();
    EXPECT_EQ(LinesOf([&] { m_task->StopTrack(); }),
              (Texts{"I State is: [3]", "W No call back function registered for StopNotify"}));
    EXPECT_EQ(TrackState(*m_task), 2);
}

TEST_F(TrackTransitions, StopElsewhereIsRefused)
{
    const std::vector<std::pair<int, int>> states = {{0, 0}, {2, 3}, {4, 2}};
    for (const auto& [state, before] : states) {
        ForceTrackState(*m_task, state, before);
        EXPECT_EQ(LinesOf([&] { m_task->StopTrack(); }), (Texts{"I State is: [" + std::to_string(state) + "]",
                                                                "W Wrong state for StopTrack to be called"}));
        EXPECT_EQ(m_client.Events(), Texts{});
        EXPECT_EQ(TrackState(*m_task), state);
    }
}

TEST_F(TrackTransitions, TheSecondOfTwoStopsIsRefused)
{
    BringTo(TTML::TRACK_PLAYING);
    Do([&] {
        m_task->StopTrack();
        m_task->StopTrack();
    });
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(ScriptedLog::Messages(PLATFORM_LOG_WARNING), (Texts{"Wrong state for StopTrack to be called"}));
}

// Seek.

TEST_F(TrackTransitions, SeekStartWhilePlaying)
{
    BringTo(TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { m_task->SeekStart(10000); }), (Texts{"I CBBSource::Seek Start : 10000"}));
    EXPECT_EQ(m_client.Events(), (Texts{"6 10000 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    EXPECT_TRUE(IsSeekStarted(*m_task));
}

TEST_F(TrackTransitions, SeekStartWhilePausedAfterPlaying)
{
    BringTo(TTML::TRACK_PAUSED, TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { m_task->SeekStart(-5000000000LL); }),
              (Texts{"I CBBSource::Seek Start : -5000000000"}));
    EXPECT_EQ(m_client.Events(), (Texts{"6 -5000000000 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 4);
}

TEST_F(TrackTransitions, SeekStartWithoutAClientIsSilent)
{
    BringTo(TTML::TRACK_PLAYING);
    m_task->UnRegisterCallBack();
    EXPECT_EQ(LinesOf([&] { m_task->SeekStart(1); }), Texts{});
    EXPECT_TRUE(IsSeekStarted(*m_task));
}

TEST_F(TrackTransitions, SeekStartElsewhereIsRefused)
{
    const std::vector<std::pair<int, int>> states = {{0, 0}, {2, 0}, {4, 2}, {6, 0}};
    for (const auto& [state, before] : states) {
        ForceTrackState(*m_task, state, before);
        EXPECT_EQ(LinesOf([&] { m_task->SeekStart(1); }),
                  (Texts{"W Not a proper state to seek, state : " + std::to_string(state)}));
        EXPECT_EQ(m_client.Events(), Texts{});
        EXPECT_EQ(TrackState(*m_task), state);
        EXPECT_FALSE(IsSeekStarted(*m_task));
    }
}

TEST_F(TrackTransitions, ASecondSeekStartIsRefused)
{
    BringTo(TTML::TRACK_PLAYING);
    Do([&] { m_task->SeekStart(1); });
    EXPECT_EQ(LinesOf([&] { m_task->SeekStart(2); }), (Texts{"W Not a proper state to seek, state : 3"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_TRUE(IsSeekStarted(*m_task));
}

TEST_F(TrackTransitions, ANullSeekStartIsIgnored)
{
    BringTo(TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] { CallPrivate<TaskSeekStart>(*m_task, nullptr); }), Texts{});
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_FALSE(IsSeekStarted(*m_task));
}

TEST_F(TrackTransitions, SeekCompletedOfAnInbandTrackIsNotAnnounced)
{
    BringTo(TTML::TRACK_PLAYING);
    Do([&] { m_task->SeekStart(1); });
    EXPECT_EQ(LinesOf([&] { m_task->SeekCompleted(); }), Texts{});
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_FALSE(IsSeekStarted(*m_task));
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(TrackTransitions, SeekCompletedOfATrackWithAUrlIsAnnounced)
{
    BringToPlayingUrl();
    Do([&] { m_task->SeekStart(1); });
    EXPECT_EQ(LinesOf([&] { m_task->SeekCompleted(); }), Texts{});
    EXPECT_EQ(m_client.Events(), (Texts{"7 @Source"}));
    EXPECT_FALSE(IsSeekStarted(*m_task));
    Do([&] { m_task->SeekStart(2); });
    EXPECT_EQ(m_client.Events(), (Texts{"6 2 @Source"}));
}

TEST_F(TrackTransitions, SeekCompletedIsTakenInAnyState)
{
    BringToPlayingUrl();
    Do([&] { m_task->SeekStart(1); });
    Do([&] { m_task->StopTrack(); });
    Do([&] { m_task->SeekCompleted(); });
    EXPECT_EQ(m_client.Events(), (Texts{"7 @Source"}));
    EXPECT_EQ(TrackState(*m_task), 2);
}

TEST_F(TrackTransitions, SeekCompletedWithNonePendingIsRefused)
{
    BringToPlayingUrl();
    EXPECT_EQ(LinesOf([&] { m_task->SeekCompleted(); }),
              (Texts{"W No seek start received for seek completion"}));
    EXPECT_EQ(m_client.Events(), Texts{});
}

// Invalidate.

TEST_F(TrackTransitions, InvalidateFromAnyState)
{
    const std::vector<std::pair<int, int>> states = {{2, 0}, {3, 0}, {4, 3}, {4, 2}, {6, 0}, {0, 0}};
    for (const auto& [state, before] : states) {
        m_task->StartSourceThread();
        BringTo(state, before);
        Do([&] { EXPECT_EQ(m_task->Invalidate(), 0U); });
        EXPECT_EQ(m_client.Events(), (Texts{"5 @caller"})) << state << " after " << before;
        EXPECT_EQ(TrackState(*m_task), 0);
        EXPECT_FALSE(InbandRuns());
    }
}

} // namespace

} // namespace TTMLTest
