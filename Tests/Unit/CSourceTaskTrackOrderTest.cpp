// Ways of the track through several commands, and what a command does that its row in the table of states
// does not show: which flag it consults, on which thread it runs, and what it holds meanwhile.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CSourceTask.h"
#include "ScriptedPlatform.h"
#include "SourceFixtures.h"

namespace TTMLTest {

namespace {

using TTML::CSourceTask;

constexpr char kUrl[] = "http://host/a.ttml";

class TrackOrder : public SourceTaskTest
{
protected:
    TrackOrder() { Start(); }

    bool InbandRuns() { return InbandQueue(*m_task)->m_IsRunning(); }
};

TEST_F(TrackOrder, PlayPauseResume)
{
    Do([&] {
        m_task->PlayTrack(1, "", nullptr);
        m_task->PauseTrack(true);
        m_task->ResumeTrack();
    });
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source", "3 @Source", "4 @Source"}));
}

TEST_F(TrackOrder, PausePlayResume)
{
    Do([&] { m_task->PauseTrack(true); });
    EXPECT_EQ(m_client.Events(), Texts{});
    Do([&] { m_task->PlayTrack(1, "", nullptr); });
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_TRUE(InbandRuns());
    Do([&] { m_task->ResumeTrack(); });
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source", "4 @Source"}));
}

TEST_F(TrackOrder, PlayPausePlayLeavesAPlayPendingForGood)
{
    Do([&] {
        m_task->PlayTrack(1, "", nullptr);
        m_task->PauseTrack(true);
        m_task->PlayTrack(2, "", nullptr);
    });
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @Source", "3 @Source", "2 @Source"}));
    EXPECT_EQ(LinesOf([&] { m_task->ResumeTrack(); }),
              (Texts{"I State is: [2]", "W Current state is not pause, so cannot resume. state:[2]"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_TRUE(IsPlayPending(*m_task));

    EXPECT_EQ(
        LinesOf([&] { m_task->PlayTrack(3, "", nullptr); }),
        (Texts{"I State is: [2]", "E Thread is already created. New request for creation should not be made!",
               "I in-band data, trackId : 3"}));
    EXPECT_EQ(m_client.Events(), Texts{});
    EXPECT_EQ(TrackState(*m_task), 3);
    EXPECT_TRUE(IsPlayPending(*m_task));
}

TEST_F(TrackOrder, PauseAndResumeWithAPlayPendingStartsTheTrack)
{
    Do([&] {
        m_task->PlayTrack(1, "", nullptr);
        m_task->PauseTrack(true);
        m_task->PlayTrack(2, "", nullptr);
        m_task->PauseTrack(true);
        m_task->ResumeTrack();
    });
    EXPECT_EQ(m_client.Events(),
              (Texts{"1 in band @Source", "3 @Source", "2 @Source", "1 in band @Source", "4 @Source"}));
    EXPECT_FALSE(IsPlayPending(*m_task));
    EXPECT_EQ(TrackState(*m_task), 3);
}

TEST_F(TrackOrder, APlayInStoppedAfterAFailedFetchOfAReplacedTrackIsAccepted)
{
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Failure());
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    Do([&] {
        m_task->PlayTrack(1, kUrl, nullptr);
        m_task->PlayTrack(1, kUrl, nullptr);
    });
    // The failed play left the state at playing, so that the next one stops it.
    EXPECT_EQ(m_client.Codes().front(), 2);
}

// The in-band flag is that of the play posted last.

TEST_F(TrackOrder, AReplacingUrlTrackLeavesTheInbandThreadRunning)
{
    BringTo(TTML::TRACK_PLAYING);
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    EXPECT_EQ(LinesOf([&] { m_task->PlayTrack(2, kUrl, nullptr); }).at(2),
              "I Out of band data, url : http://host/a.ttml");
    EXPECT_EQ(m_client.Codes().front(), 2);
    EXPECT_TRUE(InbandRuns());
    EXPECT_EQ(ScriptedLog::CountOf({"StopInbandData", "Enter"}) +
                  ScriptedLog::CountOf({"StopInbandData", "ENTER"}),
              0U);
}

TEST_F(TrackOrder, AReplacingInbandTrackStopsAQueueThatDoesNotRun)
{
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    Do([&] { m_task->PlayTrack(1, kUrl, nullptr); });
    EXPECT_EQ(LinesOf([&] { m_task->PlayTrack(2, "", nullptr); }),
              (Texts{"I State is: [3]", "I State is: [3]",
                     "I Task is neither running nor in preparation stage! Q Size=[0]",
                     "I in-band data, trackId : 2", "I CBBSource::PlayTrack start notify callback called",
                     "I Start successful."}));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source", "1 in band @Source"}));
}

TEST_F(TrackOrder, APostedPlayChangesTheFlagForCommandsAheadOfIt)
{
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    Do([&] {
        const SourceThreadHold hold(*m_task);
        m_task->PlayTrack(1, "", nullptr);
        m_task->PauseTrack(true);
        m_task->StopTrack();
        EXPECT_TRUE(IsInband(*m_task));
        m_task->PlayTrack(2, kUrl, nullptr);
        EXPECT_FALSE(IsInband(*m_task));
    });
    // The in-band track is announced as one with a URL, is not frozen, and its thread is not stopped.
    EXPECT_EQ(m_client.Events(), (Texts{"1 out of band @Source", "3 @Source", "2 @Source", "0 <tt/> @Source",
                                        "1 out of band @Source"}));
    EXPECT_TRUE(InbandRuns());
    m_client.Clear();
    Push("a");
    m_client.WaitForEvents(1);
    EXPECT_EQ(m_client.Events(), (Texts{"0 a @Inband"}));
}

TEST_F(TrackOrder, APlayThatCouldNotBeQueuedHasChangedTheFlag)
{
    BringTo(TTML::TRACK_PLAYING);
    unsigned int result = 7;
    WithFullQueue([&] { result = m_task->PlayTrack(2, "u", nullptr); });
    EXPECT_EQ(result, 1U);
    EXPECT_FALSE(IsInband(*m_task));
}

// What is held while the client is called.

TEST_F(TrackOrder, TheStopInsideAPlayIsAnnouncedWhileTheTaskMutexIsHeld)
{
    BringTo(TTML::TRACK_PLAYING);
    std::unique_ptr<BlockedThread> other;
    bool free = true;
    int state = -1;
    bool done = true;
    m_client.On(2, [&] {
        free = CanBeTakenElsewhere(TaskMutex(*m_task));
        other = std::make_unique<BlockedThread>([&] { m_task->Invalidate(); });
        state = TrackState(*m_task);
        done = other->IsDone();
    });
    m_client.Clear();
    m_task->PlayTrack(2, "", nullptr);
    m_client.WaitForCode(5);
    ASSERT_NE(other, nullptr);
    other->WaitUntilDone();
    EXPECT_FALSE(free);
    EXPECT_FALSE(done);
    EXPECT_EQ(state, 3) << "the invalidation went past the mutex";
    EXPECT_EQ(m_client.Codes().front(), 2);
    EXPECT_EQ(m_client.Codes().back(), 5);
    EXPECT_EQ(TrackState(*m_task), 0);
    EXPECT_FALSE(InbandRuns());
}

TEST_F(TrackOrder, AllOtherNoticesComeWithTheMutexFree)
{
    std::vector<int> held;
    for (const int code : {0, 1, 2, 3, 4, 5, 6, 7}) {
        m_client.On(code, [this, code, &held] {
            if (!CanBeTakenElsewhere(TaskMutex(*m_task))) {
                held.push_back(code);
            }
        });
    }
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    Do([&] {
        m_task->PlayTrack(1, kUrl, nullptr);
        m_task->SeekStart(1);
        m_task->SeekCompleted();
        m_task->PauseTrack(true);
        m_task->ResumeTrack();
        m_task->StopTrack();
        m_task->StopSourceThread();
        m_task->Invalidate();
    });
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{0, 1, 6, 7, 3, 4, 2, 5}));
    EXPECT_EQ(held, std::vector<int>{});
}

TEST_F(TrackOrder, AClientMayCommandTheTrackFromItsCallback)
{
    m_client.On(1, [this] { m_task->PauseTrack(true); });
    m_client.On(3, [this] { m_task->ResumeTrack(); });
    m_client.On(4, [this] { m_task->StopTrack(); });
    m_task->PlayTrack(1, "", nullptr);
    m_client.WaitForCode(2);
    m_task->StopSourceThread();
    EXPECT_EQ(m_client.Codes(), (std::vector<int>{1, 3, 4, 2}));
}

TEST_F(TrackOrder, APauseThatCannotBeQueuedDoesNotWaitForTheTrack)
{
    // The source thread replaces the track: it holds the task mutex and waits for the in-band thread, which
    // is in the client's callback, where the queue turns out to be full.
    BringTo(TTML::TRACK_PLAYING);
    unsigned int result = 7;
    unsigned int filled = 0;
    m_client.On(0, [&] {
        m_task->PlayTrack(2, "", nullptr);
        ScriptedLog::WaitFor({"m_StopTrack", "State is: [3]"});
        WaitUntilBlocked("Source");
        const FaultInjection noMemory(Call::NEW, 1, FaultInjection::kAll);
        while (filled < 1000 && m_task->SeekCompleted() == 0) {
            ++filled;
        }
        result = m_task->PauseTrack(true);
    });
    m_client.Clear();
    Push("a");
    m_client.WaitForCode(1);
    m_task->StopSourceThread();
    EXPECT_LT(filled, 1000U);
    EXPECT_EQ(result, 1U);
    EXPECT_EQ(m_client.Events(), (Texts{"0 a @Inband", "2 @Source", "1 in band @Source"}));
}

// Frozen samples.

TEST_F(TrackOrder, SamplesOfAPausedTrackComeAfterTheResume)
{
    BringTo(TTML::TRACK_PLAYING);
    Do([&] { m_task->PauseTrack(true); });
    Push("a", 1);
    Push("b", 2);
    ScriptedLog::WaitFor("Before sem wait");
    WaitUntilBlocked("Inband");
    EXPECT_EQ(m_client.Events(), (Texts{"3 @Source"}));
    m_task->ResumeTrack();
    m_client.WaitForCode(0, 2);
    std::vector<std::string> data;
    for (const auto& record : m_client.Records()) {
        data.push_back(record.data);
    }
    EXPECT_EQ(data, (Texts{"a", "b"}));
}

TEST_F(TrackOrder, AResumeThatReleasedNothingLetsOneSampleThroughTheNextPause)
{
    BringTo(TTML::TRACK_PLAYING);
    Do([&] {
        m_task->PauseTrack(true);
        m_task->ResumeTrack();
        m_task->PauseTrack(true);
    });
    Push("a");
    Push("b");
    ScriptedLog::WaitFor("Before sem wait", 2);
    WaitUntilBlocked("Inband");
    EXPECT_EQ(m_client.Events(), (Texts{"3 @Source", "4 @Source", "3 @Source", "0 a @Inband"}));
    m_task->ResumeTrack();
    m_client.WaitForCode(0, 2);
    EXPECT_EQ(m_client.Records().at(1).data, "b");
}

TEST_F(TrackOrder, SamplesOfATrackThatIsStoppedWhilePausedAreDropped)
{
    BringTo(TTML::TRACK_PLAYING);
    Do([&] { m_task->PauseTrack(true); });
    Push("a");
    Push("b");
    ScriptedLog::WaitFor("Before sem wait");
    Do([&] { m_task->StopTrack(); });
    EXPECT_EQ(m_client.Events(), (Texts{"2 @Source"}));
    EXPECT_EQ(Queued(*InbandQueue(*m_task)).size(), 0U);
}

// The notices that run at once.

TEST_F(TrackOrder, NotifyPlayTrackStartsAnInbandTrackOnTheCallersThread)
{
    EXPECT_EQ(LinesOf([&] {
                  const SourceThreadHold hold(*m_task);
                  m_task->NotifyPlayTrack();
              }),
              (Texts{"I State is: [2]", "I in-band data, trackId : 0",
                     "I CBBSource::PlayTrack start notify callback called", "I Start successful."}));
    EXPECT_EQ(m_client.Events(), (Texts{"1 in band @caller"}));
    EXPECT_EQ(TrackState(*m_task), 3);
    EXPECT_TRUE(InbandRuns());
}

TEST_F(TrackOrder, NotifyPlayTrackReplacesATrackOnTheCallersThread)
{
    BringTo(TTML::TRACK_PLAYING);
    Do([&] { m_task->NotifyPlayTrack(); });
    EXPECT_EQ(m_client.Events(), (Texts{"2 @caller", "1 in band @caller"}));
}

TEST_F(TrackOrder, NotifyPlayTrackLeavesTheInbandFlagAsItIs)
{
    ScriptedFileManager::ExpectFetch(kUrl, FetchAnswer::Document("<tt/>"));
    Do([&] { m_task->PlayTrack(1, kUrl, nullptr); });
    Do([&] { m_task->NotifyPlayTrack(); });
    EXPECT_EQ(m_client.Events(), (Texts{"2 @caller", "1 out of band @caller"}));
    EXPECT_FALSE(IsInband(*m_task));
}

TEST_F(TrackOrder, NotifyPlayTrackIsRefusedWhileInvalid)
{
    m_task->Invalidate();
    EXPECT_EQ(LinesOf([&] { m_task->NotifyPlayTrack(); }),
              (Texts{"I State is: [0]", "W Not a proper state to play, state:[0]"}));
    EXPECT_FALSE(InbandRuns());
}

TEST_F(TrackOrder, NotifyStopTrackStopsOnTheCallersThread)
{
    BringTo(TTML::TRACK_PLAYING);
    EXPECT_EQ(LinesOf([&] {
                  const SourceThreadHold hold(*m_task);
                  m_task->NotifyStopTrack();
              }),
              (Texts{"I State is: [3]", "I Task: Stop task event: stopping infinite loop.",
                     "I After pthread_join"}));
    EXPECT_EQ(m_client.Events(), (Texts{"2 @caller"}));
    EXPECT_EQ(TrackState(*m_task), 2);
}

TEST_F(TrackOrder, NotifyStopTrackIsRefusedWhileStopped)
{
    EXPECT_EQ(LinesOf([&] { m_task->NotifyStopTrack(); }),
              (Texts{"I State is: [2]", "W Wrong state for StopTrack to be called"}));
    EXPECT_EQ(m_client.Events(), Texts{});
}

} // namespace

} // namespace TTMLTest
