#include "Session.h"

#include <cerrno>
#include <filesystem>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Content.h"
#include "ScriptRunner.h"
#include "TTMLCallback.h"
#include "TemporaryFolder.h"
#include "TrackCommands.h"

using TTMLClient::Event;
using TTMLClient::RunControl;
using TTMLClient::Session;
using TTMLClient::SourcePtr;
using TTMLClient::StopReason;

namespace {

using Calls = std::vector<std::string>;

// A source that records what it is asked for, and calls back as the test tells it to.
class RecordingSource : public TTML::CTTMLSource
{
public:
    explicit RecordingSource(Calls& calls)
        : m_calls(calls)
    {}
    ~RecordingSource() override { m_calls.push_back("gone"); }

    bool RegisterCallBack(void (*callback)(int, void*), void* userData) override
    {
        m_calls.push_back("RegisterCallBack");
        m_callback = callback;
        m_userData = userData;
        return true;
    }
    void UnRegisterCallBack() override { m_calls.push_back("UnRegisterCallBack"); }
    int GetVideoCurrentTime(long long* pTimeInMS) override
    {
        *pTimeInMS = 77;
        return mediaTimeResult;
    }
    const std::list<std::string>& GetDownloadableFontsInfo() const override { return m_fonts; }
    void Invalidate() override { m_calls.push_back("Invalidate"); }
    void PlayTrack(unsigned int trackId, const char* url, const char* arg) override
    {
        m_calls.push_back("PlayTrack " + std::to_string(trackId) + " '" + url + "' " +
                          (arg != nullptr ? arg : "null"));
        if (startsTracks) {
            Started();
        }
    }
    void StopTrack() override
    {
        m_calls.push_back("StopTrack");
        Notify(TTML::CALLBACK_STOPPED);
    }
    void PauseTrack(bool) override { m_calls.push_back("PauseTrack"); }
    void ResumeTrack() override { m_calls.push_back("ResumeTrack"); }
    void SeekStart(long long position) override
    {
        m_calls.push_back("SeekStart " + std::to_string(position));
    }
    void SeekCompleted() override { m_calls.push_back("SeekCompleted"); }
    void SetDNTOption(int option) override { m_calls.push_back("SetDNTOption " + std::to_string(option)); }
    void OnErrorDownloadableFonts(std::list<std::string> fonts) override
    {
        m_fonts = std::move(fonts);
        Notify(TTML::CALLBACK_FONTS_ERROR);
    }
    void OnStart() override { m_calls.push_back("OnStart"); }
    void OnStop() override { m_calls.push_back("OnStop"); }
    void OnShow() override { Notify(TTML::CALLBACK_SHOW); }
    void OnHide() override { Notify(TTML::CALLBACK_HIDE); }

    void Notify(int code) { m_callback(code, m_userData); }
    void Started()
    {
        TTML::TTMLStartNotice notice{true, m_userData};
        m_callback(TTML::CALLBACK_STARTED, &notice);
    }
    void SeekStarted(long long position)
    {
        TTML::TTMLSeekNotice notice{position, m_userData};
        m_callback(TTML::CALLBACK_SEEK_STARTED, &notice);
    }
    void Deliver(const std::string& document)
    {
        auto* info = new TTML::TTMLRawDataInfo;
        info->data = document;
        info->userData = m_userData;
        m_callback(TTML::CALLBACK_DATA, info);
    }

    int mediaTimeResult = 0;
    bool startsTracks = false;

private:
    Calls& m_calls;
    void (*m_callback)(int, void*) = nullptr;
    void* m_userData = nullptr;
    std::list<std::string> m_fonts;
};

class RecordingPrinter : public TTMLClient::EventPrinter
{
public:
    bool Print(const Event& event) override
    {
        std::string line = std::to_string(event.code);
        if (event.mediaTimeMs) {
            line += " @" + std::to_string(*event.mediaTimeMs);
        }
        if (event.data != nullptr) {
            line += " " + event.data->data;
        }
        if (event.code == TTML::CALLBACK_SEEK_STARTED) {
            line += " to " + std::to_string(event.positionMs);
        }
        if (event.code == TTML::CALLBACK_STARTED) {
            line += event.inBand ? " in band" : " out of band";
        }
        for (const std::string& font : event.fonts) {
            line += " " + font;
        }
        if (event.hidden) {
            line += " hidden";
        }
        lines.push_back(line);
        errno = failure;
        return failure == 0;
    }

    Calls lines;
    int failure = 0; // what printing fails with
};

class RecordingContent : public TTMLClient::Content
{
public:
    explicit RecordingContent(Calls& calls)
        : m_calls(calls)
    {}

    void Play() override { m_calls.push_back("content plays"); }
    void Pause() override { m_calls.push_back("content pauses"); }
    void HoldSamples() override { m_calls.push_back("content holds"); }
    void Seek(long long positionMs) override
    {
        m_calls.push_back("content seeks " + std::to_string(positionMs));
    }
    void WaitDelivered() override { m_calls.push_back("content waits"); }

private:
    Calls& m_calls;
};

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
