#include "Session.h"

#include <cerrno>
#include <filesystem>

#include <gtest/gtest.h>

#include "ScriptRunner.h"
#include "SessionFixtures.h"
#include "TemporaryFolder.h"
#include "TrackCommands.h"

using TTMLClient::RunControl;
using TTMLClient::Session;
using TTMLClient::SourcePtr;
using TTMLClient::StopReason;
using TTMLTest::Calls;
using TTMLTest::RecordingContent;
using TTMLTest::RecordingPrinter;
using TTMLTest::RecordingSource;

namespace {

class SessionTest : public ::testing::Test
{
protected:
    SessionTest() { EXPECT_TRUE(m_session.Start()); }

    // What was called since the last time.
    Calls TakeCalls()
    {
        Calls calls;
        calls.swap(m_calls);
        return calls;
    }

    Calls m_calls;
    RecordingPrinter m_printer;
    RunControl m_control;
    RecordingSource* m_source = new RecordingSource(m_calls);
    Session m_session{SourcePtr(m_source), {m_printer, nullptr, nullptr, m_control}};
    RecordingContent m_content{m_calls};
};

TEST_F(SessionTest, ShowsEveryKindOfCallback)
{
    m_source->Started();
    m_source->Deliver("<tt/>");
    m_source->SeekStarted(5000);
    m_source->OnErrorDownloadableFonts({"A", "B"});
    m_source->mediaTimeResult = 1;
    m_source->Notify(TTML::CALLBACK_RESUMED);
    EXPECT_EQ(m_printer.lines, (Calls{"1 @77 in band", "0 @77 <tt/>", "6 @77 to 5000", "13 @77 A B", "4"}));
    EXPECT_EQ(m_session.Delivered(), 1);
}

TEST_F(SessionTest, MarksDataFromAHideToTheNextShow)
{
    m_source->Deliver("a");
    m_source->OnHide();
    m_source->Deliver("b");
    m_source->Started();
    m_source->Deliver("c");
    m_source->OnShow();
    m_source->Deliver("d");
    EXPECT_EQ(m_printer.lines, (Calls{"0 @77 a", "12 @77", "0 @77 b hidden", "1 @77 in band",
                                      "0 @77 c hidden", "11 @77", "0 @77 d"}));
}

TEST_F(SessionTest, BeginsTheNextServiceWithoutTheMarkOfTheOneBefore)
{
    m_source->OnHide();
    m_source->Notify(TTML::CALLBACK_STOPPED);
    m_source->Notify(TTML::CALLBACK_SET_MENU_LANG);
    m_source->Deliver("a");
    EXPECT_EQ(m_printer.lines, (Calls{"12 @77", "2 @77", "10 @77", "0 @77 a"}));
}

TEST_F(SessionTest, EndsInTheOrderThatASourceAsksFor)
{
    m_source->Started();
    TakeCalls();
    m_session.End();
    EXPECT_EQ(TakeCalls(), (Calls{"StopTrack", "OnStop", "UnRegisterCallBack", "gone"}));
    EXPECT_EQ(m_printer.lines.back(), "2 @77");
    m_session.End();
    EXPECT_EQ(TakeCalls(), Calls{});
}

TEST(SessionByBarrier, WaitsForTheSourceThreadAndEndsSubscriptionsOnlyAtTheEnd)
{
    Calls calls;
    RecordingPrinter printer;
    RunControl control;
    auto* source = new RecordingSource(calls);
    Session session(SourcePtr(source), {printer, nullptr, nullptr, control}, TTMLClient::SettleBy::Barrier);
    ASSERT_TRUE(session.Start());
    session.Settle();
    source->Started();
    session.End();
    EXPECT_EQ(calls, (Calls{"RegisterCallBack", "OnStart", "event", "event", "StopTrack", "event", "event",
                            "OnStop", "UnRegisterCallBack", "gone"}));
}

TEST(SessionByBarrier, DoesNotWaitForASourceThatTakesNoEvents)
{
    Calls calls;
    RecordingPrinter printer;
    RunControl control;
    auto* source = new RecordingSource(calls);
    source->takesEvents = false;
    Session session(SourcePtr(source), {printer, nullptr, nullptr, control}, TTMLClient::SettleBy::Barrier);
    ASSERT_TRUE(session.Start());
    session.Settle();
    EXPECT_EQ(calls, (Calls{"RegisterCallBack", "OnStart", "event", "event"}));
}

TEST_F(SessionTest, StopsNoTrackThatIsNotStarted)
{
    m_source->Started();
    m_source->Notify(TTML::CALLBACK_INVALIDATED);
    EXPECT_FALSE(m_session.TrackStarted());
    TakeCalls();
    m_session.End();
    EXPECT_EQ(TakeCalls(), (Calls{"OnStop", "UnRegisterCallBack", "gone"}));
}

TEST_F(SessionTest, FollowsWhetherTheTrackIsPaused)
{
    m_source->Started();
    EXPECT_FALSE(m_session.TrackPaused());
    m_source->Notify(TTML::CALLBACK_PAUSED);
    EXPECT_TRUE(m_session.TrackPaused());
    m_source->Notify(TTML::CALLBACK_RESUMED);
    EXPECT_FALSE(m_session.TrackPaused());
    m_source->Notify(TTML::CALLBACK_PAUSED);
    m_source->Notify(TTML::CALLBACK_STOPPED);
    EXPECT_FALSE(m_session.TrackPaused());
}

TEST_F(SessionTest, FailsTheRunWhenALineCannotBePrinted)
{
    m_printer.failure = ENOSPC;
    m_source->Deliver("a");
    m_source->Deliver("b");
    EXPECT_EQ(m_control.Reason(), StopReason::Failed);
    EXPECT_EQ(m_control.Failure(),
              "writing to standard output failed: No space left on device; check where it goes to");
    EXPECT_EQ(m_printer.lines, (Calls{"0 @77 a"}));
}

TEST_F(SessionTest, EndsTheRunQuietlyWhenNobodyReadsAnyMore)
{
    m_printer.failure = EPIPE;
    m_source->Deliver("a");
    EXPECT_EQ(m_control.Reason(), StopReason::Interrupted);
    EXPECT_EQ(m_control.Failure(), "");
}

TEST(SessionWithWriter, FailsTheRunWhenADocumentCannotBeKept)
{
    const TTMLTest::TemporaryFolder folder;
    std::filesystem::create_symlink("/dev/full", folder.Path("0001.ttml"));
    TTMLClient::DocumentWriter writer(folder.Path(""));
    Calls calls;
    RecordingPrinter printer;
    RunControl control;
    auto* source = new RecordingSource(calls);
    Session session(SourcePtr(source), {printer, &writer, nullptr, control});
    ASSERT_TRUE(session.Start());
    source->Deliver("a");
    EXPECT_EQ(control.Failure(),
              "writing '" + folder.Path("0001.ttml") +
                  "' failed: No space left on device; make room or name another folder with --out");
    EXPECT_EQ(printer.lines, Calls{});
}

TEST_F(SessionTest, CarriesOutEveryScriptWord)
{
    TTMLClient::TrackCommands commands(m_session, m_content, m_control, {3, "http://a/", "en"});
    TTMLClient::ScriptRunner runner;
    commands.Teach(runner);
    TakeCalls();
    const auto run = [&](const char* word) {
        runner.Run(TTMLClient::ParseScript(word, TTMLClient::TrackWords()), m_control);
        return TakeCalls();
    };

    m_source->startsTracks = true;
    EXPECT_EQ(run("play"), (Calls{"content holds", "PlayTrack 3 'http://a/' en", "OnStop", "content plays"}));
    EXPECT_EQ(run("pause"), (Calls{"content pauses", "PauseTrack", "OnStop"}));
    EXPECT_EQ(run("resume"), (Calls{"ResumeTrack", "OnStop", "content plays"}));
    EXPECT_EQ(run("seek 10s"), (Calls{"SeekStart 10000", "OnStop", "content seeks 10000"}));
    EXPECT_EQ(run("seek-done"), (Calls{"SeekCompleted", "OnStop"}));
    EXPECT_EQ(run("stop"), (Calls{"content pauses", "StopTrack", "OnStop"}));
    EXPECT_EQ(run("invalidate"), (Calls{"content pauses", "Invalidate"}));
    EXPECT_EQ(run("dnt 2"), (Calls{"SetDNTOption 2"}));
    EXPECT_EQ(run("wait 1ms"), Calls{});
    m_printer.lines.clear();
    EXPECT_EQ(run("hide; show; fonts A,B"), Calls{});
    EXPECT_EQ(m_printer.lines, (Calls{"12 @77", "11 @77", "13 @77 A B"}));
}

TEST_F(SessionTest, LeavesTheContentAloneWhileNoTrackIsStarted)
{
    TTMLClient::TrackCommands commands(m_session, m_content, m_control, {0, "", std::nullopt});
    TakeCalls();
    commands.Play();
    EXPECT_EQ(TakeCalls(), (Calls{"content holds", "PlayTrack 0 '' null", "OnStop"}));
    commands.Resume();
    EXPECT_EQ(TakeCalls(), (Calls{"ResumeTrack", "OnStop"}));
}

} // namespace
