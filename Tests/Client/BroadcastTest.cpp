#include "BroadcastCommands.h"

#include <map>
#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "BroadcastContent.h"
#include "Gate.h"
#include "RunControl.h"
#include "ScriptRunner.h"
#include "Session.h"
#include "SessionFixtures.h"
#include "Television.h"

using TTMLClient::BroadcastCommands;
using TTMLClient::BroadcastContent;
using TTMLClient::RunControl;
using TTMLClient::Session;
using TTMLClient::SourcePtr;
using TTMLClient::StopReason;
using TTMLTest::Calls;
using TTMLTest::RecordingPrinter;
using TTMLTest::RecordingSource;

namespace {

// A television that records what is done to it. It tunes at once where it is told to, on the calling thread.
class RecordingTelevision : public TTMLClient::Television
{
public:
    RecordingTelevision(Calls& calls, BroadcastContent& content)
        : m_calls(calls)
        , m_content(content)
    {}

    bool Tune(const std::string& service, std::string* error) override
    {
        m_calls.push_back("Tune " + service);
        if (!tuneError.empty()) {
            *error = tuneError;
            return false;
        }
        if (tunesAtOnce) {
            m_content.OnSignal(SIGNAL_TUNE_START);
            m_content.OnSignal(SIGNAL_TUNE_SUCCESS);
        }
        tuning.Open();
        return true;
    }
    void Activate() override { m_calls.push_back("Activate"); }
    void Deactivate() override { m_calls.push_back("Deactivate"); }
    void Terminate() override { m_calls.push_back("Terminate"); }
    void LockService(bool locked) override { m_calls.push_back(locked ? "Lock" : "Unlock"); }
    void SetRatingLimit(std::optional<int> age) override
    {
        m_calls.push_back("Rating " + (age ? std::to_string(*age) : "none"));
    }
    bool IsOn(Setting setting) override { return settings[setting]; }
    bool Set(Setting setting, bool on) override
    {
        m_calls.push_back((setting == Setting::ChannelLock ? "ChannelLock " : "Caption ") +
                          std::string(on ? "on" : "off"));
        settings[setting] = on;
        return takesSettings;
    }
    void SignalMpd() override { m_calls.push_back("Mpd"); }
    void SignalRecorder(Recorder signal) override
    {
        m_calls.push_back("Recorder " + std::to_string(static_cast<int>(signal)));
    }
    void Settle() override { m_calls.push_back("Settle"); }

    std::string tuneError;
    bool tunesAtOnce = true;
    TTMLTest::Gate tuning{"a tune has begun"};
    std::map<Setting, bool> settings;
    bool takesSettings = true;

private:
    Calls& m_calls;
    BroadcastContent& m_content;
};

class BroadcastTest : public ::testing::Test
{
protected:
    BroadcastTest()
    {
        EXPECT_TRUE(m_session.Start());
        m_calls.clear();
    }

    // Runs a script; returns what it called.
    Calls Run(const std::string& script)
    {
        TTMLClient::ScriptRunner runner;
        m_commands->Teach(runner);
        TTMLClient::Vocabulary words = TTMLClient::BroadcastWords();
        for (const TTMLClient::Word& word : TTMLClient::CaptionWords()) {
            words.push_back(word);
        }
        runner.Run(TTMLClient::ParseScript(script, words), m_control);
        return TakeCalls();
    }

    Calls TakeCalls()
    {
        Calls calls;
        calls.swap(m_calls);
        return calls;
    }

    Calls m_calls;
    RecordingPrinter m_printer;
    RunControl m_control;
    Session m_session{SourcePtr(new RecordingSource(m_calls)),
                      {m_printer, nullptr, nullptr, m_control},
                      TTMLClient::SettleBy::Barrier};
    BroadcastContent m_content{nullptr, nullptr};
    RecordingTelevision m_television{m_calls, m_content};
    std::unique_ptr<BroadcastCommands> m_commands =
        std::make_unique<BroadcastCommands>(m_session, m_content, m_television, m_control);
};

TEST_F(BroadcastTest, CarriesOutEveryScriptWordAndWaitsForTheSource)
{
    EXPECT_EQ(Run("tune Harbour TV"), (Calls{"Tune Harbour TV", "Settle", "event", "event"}));
    EXPECT_EQ(Run("tvs activate"), (Calls{"Activate", "Settle", "event", "event"}));
    EXPECT_EQ(Run("tvs deactivate"), (Calls{"Deactivate", "Settle", "event", "event"}));
    EXPECT_EQ(Run("tvs terminate"), (Calls{"Terminate", "Settle", "event", "event"}));
    EXPECT_EQ(Run("lock on"), (Calls{"Lock", "Settle", "event", "event"}));
    EXPECT_EQ(Run("lock off"), (Calls{"Unlock", "Settle", "event", "event"}));
    EXPECT_EQ(Run("rating 12"), (Calls{"Rating 12", "Settle", "event", "event"}));
    EXPECT_EQ(Run("rating none"), (Calls{"Rating none", "Settle", "event", "event"}));
    EXPECT_EQ(Run("pvr play"), (Calls{"Recorder 0", "event", "event"}));
    EXPECT_EQ(Run("pvr stop"), (Calls{"Recorder 1", "event", "event"}));
    EXPECT_EQ(Run("pvr trick"), (Calls{"Recorder 2", "event", "event"}));
    EXPECT_EQ(Run("mpd"), (Calls{"Mpd", "Settle", "event", "event"}));
}

TEST_F(BroadcastTest, PutsTheCaptionsBackWhenItGoes)
{
    m_television.settings[TTMLClient::Television::Setting::Caption] = true;
    EXPECT_EQ(Run("caption on; caption off"), (Calls{"Caption on", "Caption off"}));
    m_commands.reset();
    EXPECT_EQ(TakeCalls(), (Calls{"Caption on"}));
}

TEST_F(BroadcastTest, PutsTheChannelLockBackWhenItGoes)
{
    m_television.settings[TTMLClient::Television::Setting::ChannelLock] = true;
    EXPECT_EQ(Run("channel-lock off; channel-lock on; channel-lock off"),
              (Calls{"ChannelLock off", "ChannelLock on", "ChannelLock off"}));
    m_commands.reset();
    EXPECT_EQ(TakeCalls(), (Calls{"ChannelLock on"}));
}

TEST_F(BroadcastTest, LeavesAChannelLockAloneThatNobodySet)
{
    Run("lock on");
    m_commands.reset();
    EXPECT_EQ(TakeCalls(), Calls{});
}

TEST_F(BroadcastTest, FailsTheRunWhenTheSettingsStoreRefuses)
{
    m_television.takesSettings = false;
    Run("channel-lock on");
    EXPECT_EQ(m_control.Failure(),
              "setting the channel lock failed: the settings store does not take it; see "
              "the log for the reason");
}

TEST_F(BroadcastTest, FailsTheRunWhenTheSettingsStoreRefusesTheCaptions)
{
    m_television.takesSettings = false;
    Run("caption off");
    EXPECT_EQ(m_control.Failure(),
              "setting the captions failed: the settings store does not take it; see the log for the reason");
}

TEST_F(BroadcastTest, FailsTheRunWhenAServiceCannotBeTunedTo)
{
    m_television.tuneError = "there is no service 9";
    EXPECT_EQ(Run("tune 9; lock on"), (Calls{"Tune 9"}));
    EXPECT_EQ(m_control.Failure(), "there is no service 9");
    EXPECT_EQ(m_control.Reason(), StopReason::Failed);
}

// Runs a tune beside the test, which ends it until this goes.
class TuneBeside
{
public:
    TuneBeside(BroadcastCommands& commands, RecordingTelevision& television)
    {
        television.tunesAtOnce = false;
        m_thread = std::thread([&commands] { commands.Tune("2"); });
        EXPECT_TRUE(television.tuning.Wait());
    }
    ~TuneBeside() { m_thread.join(); }
    TuneBeside(const TuneBeside&) = delete;
    TuneBeside& operator=(const TuneBeside&) = delete;

private:
    std::thread m_thread;
};

TEST_F(BroadcastTest, WaitsForNoTuneOnceTheInputIsOver)
{
    {
        const TuneBeside tune(*m_commands, m_television);
        m_content.OnEnd("");
    }
    EXPECT_EQ(TakeCalls(), (Calls{"Tune 2", "Settle", "event", "event"}));
}

TEST_F(BroadcastTest, WaitsForATuneAfterTheEndOfTheServiceBefore)
{
    m_content.OnEnd("");
    {
        const TuneBeside tune(*m_commands, m_television);
        m_content.OnSignal(SIGNAL_TUNE_START);
        m_content.OnTuneFailed("its MPD does not come");
    }
    EXPECT_EQ(m_control.Failure(), "its MPD does not come");
}

TEST_F(BroadcastTest, WaitsForNoTuneOnceWaitsAreGivenUp)
{
    {
        const TuneBeside tune(*m_commands, m_television);
        m_content.GiveUpWaits();
    }
    EXPECT_EQ(TakeCalls(), (Calls{"Tune 2", "Settle", "event", "event"}));
}

TEST_F(BroadcastTest, FailsTheRunWhenATuneThatHasBegunFails)
{
    {
        const TuneBeside tune(*m_commands, m_television);
        m_content.OnSignal(SIGNAL_TUNE_START);
        m_content.OnTuneFailed("its PMT does not come");
    }
    EXPECT_EQ(TakeCalls(), (Calls{"Tune 2"}));
    EXPECT_EQ(m_control.Failure(), "its PMT does not come");
    EXPECT_EQ(m_control.Reason(), StopReason::Failed);
}

TEST_F(BroadcastTest, FailsTheRunWhenATuneFailsAtTheEndOfTheInput)
{
    {
        const TuneBeside tune(*m_commands, m_television);
        m_content.OnTuneFailed("it does not come");
        m_content.OnEnd("");
    }
    EXPECT_EQ(m_control.Failure(), "it does not come");
}

TEST_F(BroadcastTest, HoldsTheServiceAtEachSignalUntilTheSourceHasHandledIt)
{
    m_content.OnSignal(SIGNAL_TUNE_START);
    EXPECT_EQ(TakeCalls(), Calls{});
    m_content.Connect(&m_session);
    m_content.OnSignal(SIGNAL_TUNE_SUCCESS);
    EXPECT_EQ(TakeCalls(), (Calls{"event", "event"}));
    m_content.Disconnect();
    m_content.OnSignal(SIGNAL_TVS_ACTIVATE);
    EXPECT_EQ(TakeCalls(), Calls{});
}

TEST(BroadcastContent, TellsOfTheFirstTuneAndOfTheEnd)
{
    Calls calls;
    BroadcastContent content([&calls] { calls.push_back("tuned"); },
                             [&calls](bool failed) { calls.push_back(failed ? "failed" : "over"); });
    content.OnSignal(SIGNAL_TUNE_START);
    content.OnSignal(SIGNAL_TUNE_SUCCESS);
    content.OnSignal(SIGNAL_TUNE_START);
    content.OnSignal(SIGNAL_TUNE_SUCCESS);
    content.OnEnd("");
    EXPECT_EQ(content.InputError(), "");
    content.OnEnd("broken off");
    EXPECT_EQ(content.InputError(), "broken off");
    EXPECT_EQ(calls, (Calls{"tuned", "over", "failed"}));
}

TEST(BroadcastContent, TakesASuccessWithoutAStartForThatOfAnEarlierTune)
{
    Calls calls;
    BroadcastContent content([&calls] { calls.push_back("tuned"); }, nullptr);
    content.OnSignal(SIGNAL_TUNE_SUCCESS);
    EXPECT_EQ(calls, Calls{});
    content.OnSignal(SIGNAL_TUNE_START);
    content.ExpectTune();
    content.OnSignal(SIGNAL_TUNE_SUCCESS);
    EXPECT_EQ(calls, Calls{});
    content.OnSignal(SIGNAL_TUNE_START);
    content.OnSignal(SIGNAL_TUNE_SUCCESS);
    EXPECT_EQ(calls, (Calls{"tuned"}));
}

TEST(BroadcastContent, KnowsWhetherATuneHasSucceeded)
{
    BroadcastContent content(nullptr, nullptr);
    content.OnSignal(SIGNAL_TUNE_START);
    EXPECT_FALSE(content.Tuned());
    content.OnSignal(SIGNAL_TUNE_SUCCESS);
    EXPECT_TRUE(content.Tuned());
}

TEST(BroadcastContent, ForgetsAFailedTuneWithTheNext)
{
    BroadcastContent content(nullptr, nullptr);
    content.OnTuneFailed("it does not come");
    EXPECT_EQ(content.WaitTuned(), "it does not come");
    content.ExpectTune();
    content.OnSignal(SIGNAL_TUNE_START);
    content.OnSignal(SIGNAL_TUNE_SUCCESS);
    EXPECT_EQ(content.WaitTuned(), "");
}

TEST(BroadcastContent, TakesATuneThatSucceedsLateForDone)
{
    BroadcastContent content(nullptr, nullptr);
    content.OnSignal(SIGNAL_TUNE_START);
    content.OnTuneFailed("it does not come");
    content.OnSignal(SIGNAL_TUNE_SUCCESS);
    EXPECT_EQ(content.WaitTuned(), "");
}

TEST(BroadcastContent, KnowsWhetherTheServiceComplained)
{
    for (const bool tune : {false, true}) {
        BroadcastContent content(nullptr, nullptr);
        EXPECT_FALSE(content.Complained());
        testing::internal::CaptureStderr();
        tune ? content.OnTuneFailed("it does not come") : content.OnWarning("it is scrambled");
        // The failed tune is shown by who waits for it.
        EXPECT_EQ(testing::internal::GetCapturedStderr(), tune ? "" : "ttmlsrc: it is scrambled\n");
        EXPECT_TRUE(content.Complained());
    }
}

TEST(BroadcastContent, ShowsWarningsOneALine)
{
    BroadcastContent content(nullptr, nullptr);
    testing::internal::CaptureStderr();
    content.OnWarning("one");
    content.OnWarning("two");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ttmlsrc: one\nttmlsrc: two\n");
}

TEST_F(BroadcastTest, DisconnectsOnlyAfterASignalUnderWay)
{
    // The source's thread is busy until the gate opens.
    class BusySource : public RecordingSource
    {
    public:
        BusySource(Calls& calls, const TTMLTest::Gate& gate, TTMLTest::Gate& reached)
            : RecordingSource(calls)
            , m_gate(gate)
            , m_reached(reached)
        {}
        bool SendEventToSourceThread(void* data, TTML::SourceCallbackFunc handler) override
        {
            m_reached.Open();
            m_gate.Wait();
            return RecordingSource::SendEventToSourceThread(data, handler);
        }

    private:
        const TTMLTest::Gate& m_gate;
        TTMLTest::Gate& m_reached;
    };

    TTMLTest::Gate idle("the source's thread is idle");
    TTMLTest::Gate reached("the signal waits for the source");
    Session session(SourcePtr(new BusySource(m_calls, idle, reached)),
                    {m_printer, nullptr, nullptr, m_control}, TTMLClient::SettleBy::Barrier);
    ASSERT_TRUE(session.Start());
    TakeCalls();
    m_content.Connect(&session);
    std::thread service([this] { m_content.OnSignal(SIGNAL_TUNE_START); });
    EXPECT_TRUE(reached.Wait());
    Calls atDisconnect;
    std::thread end([&] {
        m_content.Disconnect();
        atDisconnect = m_calls;
    });
    idle.Open();
    end.join();
    service.join();
    EXPECT_EQ(atDisconnect, (Calls{"event", "event"}));
}

} // namespace
