#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <string>

#include "Atsc3Fixture.h"
#include "FaultInjection.h"
#include "Gate.h"
#include "HttpServer.h"
#include "SegmentMaker.h"
#include "TestThread.h"

namespace {

using namespace TTMLTest;

const char* const kSixSeconds = "mediaPresentationDuration=\"PT6S\"";

bool HasCaptionThread()
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream file(entry.path() / "comm");
        std::string name;
        if (std::getline(file, name) && name == "TvAtsc3") {
            return true;
        }
    }
    return false;
}

class Atsc3Input : public Atsc3Test
{
protected:
    // A service of three segments.
    std::string Three(const std::string& name = "s.mpd")
    {
        return Service(name, OneCaptionSet(kSixSeconds, 2000), 3, 2000);
    }

    // Closes while `state` is being noted.
    void CloseIn(const std::string& state, const TTMLHost::TvAtsc3Options& options)
    {
        m_recorder.Clear();
        m_recorder.Hold(state);
        std::string error;
        ASSERT_TRUE(TTMLHost::TvOpenAtsc3(options, &m_recorder, &error)) << error;
        const CaptionViewer viewer(&m_recorder);
        TTMLHost::TvStart();
        ASSERT_TRUE(m_recorder.WaitHeld(state));
        {
            Gate closes("about to close");
            const TestThread other([&] {
                closes.Open();
                TTMLHost::TvClose();
                m_recorder.Note("closed");
            });
            ASSERT_TRUE(closes.Wait());
            m_recorder.Release(state);
        }
        EXPECT_EQ(m_recorder.Events().back(), "closed") << "after " << state;
        EXPECT_FALSE(HasCaptionThread()) << "after " << state;
    }
};

TEST_F(Atsc3Input, OpeningNeedsAListenerASpeedAndNoOtherInput)
{
    const std::string input = Three();
    std::string error;
    EXPECT_FALSE(TTMLHost::TvOpenAtsc3(FastService(input), nullptr, &error));
    EXPECT_EQ(error, "Cannot open '" + input + "': nobody listens; give a listener");
    auto options = FastService(input);
    for (const double speed : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        options.speed = speed;
        EXPECT_EQ(ServiceOpenError(options),
                  "Cannot play '" + input + "': the speed is not above 0; give 1 for normal speed");
    }
    const std::atomic<bool> cancel{true};
    options = FastService(input);
    options.cancel = &cancel;
    EXPECT_EQ(ServiceOpenError(options),
              "Cannot open '" + input + "': it was cancelled; start it again when it is wanted");
    const OpenAtsc3 tv(FastService(input), &m_recorder);
    EXPECT_EQ(ServiceOpenError(FastService(input)),
              "Cannot open '" + input + "': the TV service has an input already; close that first");
    EXPECT_EQ(TvOpenError(FastInput(input)),
              "Cannot open '" + input + "': the TV service has an input already; close that first");
}

TEST_F(Atsc3Input, RefusesFilesThatCannotBeRead)
{
    const std::string missing = m_folder.Path("missing.mpd");
    EXPECT_EQ(ServiceOpenError(FastService(missing)),
              "Cannot read '" + missing + "': No such file or directory; check the path");
    EXPECT_EQ(ServiceOpenError(FastService(Three(), {missing})),
              "Cannot read '" + missing + "': No such file or directory; check the path");
    EXPECT_EQ(ServiceOpenError(FastService(m_folder.Path())),
              "Cannot read '" + m_folder.Path() + "': it is not a regular file; check the path");
}

TEST_F(Atsc3Input, NothingIsReadBeforeTheStart)
{
    const OpenAtsc3 tv(FastService(Three()), &m_recorder);
    TTMLHost::TvSettle();
    EXPECT_EQ(m_recorder.Events(), Texts());
}

TEST_F(Atsc3Input, ASecondStartDoesNothing)
{
    const OpenAtsc3 tv(FastService(Three()), &m_recorder);
    TTMLHost::TvStart();
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.Events(), (Texts{"told 59", "told 60", "end: "}));
}

TEST_F(Atsc3Input, ClosesInAnyState)
{
    const std::string input = Three();
    for (const char* const state :
         {"told 59", "signal 60", "told 60", "caption 0 0 1", "delivered", "end: "}) {
        CloseIn(state, FastService(input));
    }
}

TEST_F(Atsc3Input, ClosesWhileACaptionWaitsForItsTime)
{
    auto options = FastService(Three());
    options.fast = false;
    options.speed = 0.001;
    {
        const OpenAtsc3 tv(options, &m_recorder);
        const CaptionViewer viewer(&m_recorder);
        TTMLHost::TvStart();
        ASSERT_TRUE(m_recorder.WaitFor("delivered"));
    }
    EXPECT_EQ(Captions(), Texts{"caption 0 0 1"});
    EXPECT_EQ(m_recorder.EventsLike("end"), Texts());
    EXPECT_FALSE(HasCaptionThread());
}

TEST_F(Atsc3Input, RetunesWhileACaptionWaitsForItsTime)
{
    auto options = FastService(Three(), {Three("also.mpd")});
    options.fast = false;
    options.speed = 0.001;
    const OpenAtsc3 tv(options, &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitFor("delivered"));
    EXPECT_TRUE(TTMLHost::TvTune("also", nullptr));
    ASSERT_TRUE(m_recorder.WaitFor("delivered", 2));
    EXPECT_EQ(CurrentServiceText(), "service 2");
    EXPECT_EQ(Captions(), (Texts{"caption 0 0 1", "caption 0 0 1"}));
}

TEST_F(Atsc3Input, TakesTheTimeThatTheServiceTakes)
{
    auto options = FastService(Sample("service.mpd"));
    EXPECT_EQ(Play(options), "");
    const Texts fast = Captions();
    m_recorder.Clear();
    options.fast = false;
    options.speed = 50.0;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Play(options), "");
    // 28.028 s, the last caption's time included.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(560));
    EXPECT_EQ(Captions(), fast);
    EXPECT_EQ(m_recorder.Events().back(), "end: ");
}

TEST_F(Atsc3Input, PlaysFromAServer)
{
    HttpServer::Options root;
    root.root = std::string(TTML_TEST_SAMPLES) + "/atsc3";
    const HttpServer server(root);
    std::string mpd;
    m_recorder.When("told 60", [&mpd] { mpd = MpdAnswer(1); });
    EXPECT_EQ(Play(FastService(server.Url("/files/service.mpd"))), "");
    EXPECT_EQ(mpd, SampleContent("service.mpd"));
    ASSERT_EQ(m_payloads.size(), 14U);
    EXPECT_EQ(m_payloads[13], SamplePayload("eng-14.m4s"));
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
}

TEST_F(Atsc3Input, EndsWithWhatTheServerSays)
{
    const HttpServer server;
    const std::string url = server.Url("/status/404");
    const std::string error = Play(FastService(url));
    EXPECT_NE(error.find(url), std::string::npos) << error;
    EXPECT_NE(error.find("404"), std::string::npos) << error;
    EXPECT_EQ(m_recorder.EventsLike("signal"), Texts{"signal 59"});
}

TEST_F(Atsc3Input, ClosesAndRetunesWhileAServerDoesNotAnswer)
{
    HttpServer server;
    const std::string url = server.Url("/stall/before");
    const OpenAtsc3 tv(FastService(Three(), {url}), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    EXPECT_TRUE(TTMLHost::TvTune("2", nullptr));
    TTMLHost::TvStart();
    ASSERT_TRUE(server.WaitForLine("stalled /stall/before"));
    EXPECT_TRUE(TTMLHost::TvTune("1", nullptr));
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(Captions().size(), 3U);
    EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 59", "signal 60"}));
    EXPECT_TRUE(TTMLHost::TvTune("2", nullptr));
    // The close waits for nobody.
    const TestThread closer([] { TTMLHost::TvClose(); });
    EXPECT_TRUE(closer.WaitUntilDone());
}

// What is wrong with a service.

TEST_F(Atsc3Input, GoesBackFromAServiceThatIsNone)
{
    const std::string broken = m_folder.Write("broken.mpd", "<html>");
    const OpenAtsc3 tv(FastService(Three(), {broken}), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    EXPECT_TRUE(TTMLHost::TvTune("broken.mpd", nullptr));
    TTMLHost::TvStart();
    const std::string error = m_recorder.WaitForEnd();
    const std::string expected = "Cannot read '" + broken + "': it is no XML";
    EXPECT_EQ(error.substr(0, expected.size()), expected);
    EXPECT_EQ(CurrentServiceText(), "none");
    m_recorder.Clear();
    EXPECT_TRUE(TTMLHost::TvTune("s", nullptr));
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(Captions().size(), 3U);
}

TEST_F(Atsc3Input, ALaterTuneThatFailsDoesNotEndTheInput)
{
    const std::string broken = m_folder.Write("broken.mpd", "<MPD/>");
    const std::string uninitialized = m_folder.Write(
        "uninitialized.mpd", "<MPD><Period><AdaptationSet><SegmentTemplate duration=\"2\" "
                             "initialization=\"no.mp4\" media=\"seg-$Number$.m4s\"/><Representation id=\"c\" "
                             "codecs=\"stpp\"/></AdaptationSet></Period></MPD>");
    const OpenAtsc3 tv(FastService(Three(), {broken, uninitialized}), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    m_recorder.Clear();
    const std::string noCaptions = "failed: Cannot play '" + broken +
                                   "': it has no captions (an adaptation set with codecs stpp); give the MPD "
                                   "of a service with TTML captions";
    EXPECT_TRUE(TTMLHost::TvTune("2", nullptr));
    ASSERT_TRUE(m_recorder.WaitFor(noCaptions));
    EXPECT_EQ(CurrentServiceText(), "none");
    const std::string noBeginning =
        "failed: Cannot read '" + m_folder.Path("no.mp4") + "': No such file or directory; check the path";
    EXPECT_TRUE(TTMLHost::TvTune("3", nullptr));
    ASSERT_TRUE(m_recorder.WaitFor(noBeginning));
    EXPECT_TRUE(TTMLHost::TvTune("1", nullptr));
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(m_recorder.EventsLike("failed"), (Texts{noCaptions, noBeginning})) << "each once";
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
    EXPECT_EQ(m_recorder.EventsLike("end"), Texts{"end: "});
    EXPECT_EQ(Captions().size(), 3U);
}

TEST_F(Atsc3Input, WarnsOnceOfSegmentsThatAreMissingAndPlaysTheRest)
{
    const std::string input =
        Service("s.mpd", OneCaptionSet("mediaPresentationDuration=\"PT12S\"", 2000), 6, 2000);
    for (const char* const segment : {"seg-3.m4s", "seg-4.m4s"}) {
        ASSERT_EQ(std::remove(m_folder.Path(segment).c_str()), 0);
    }
    EXPECT_EQ(Play(FastService(input)), "");
    EXPECT_EQ(m_payloads, (Texts{"1", "2", "5", "6"}));
    EXPECT_EQ(m_recorder.EventsLike("warning"),
              Texts{"warning: Cannot find all caption segments of '" + input +
                    "': 3 to 4 are not there; check what receives or serves them; the rest is played"});
}

TEST_F(Atsc3Input, IsNotTunedWithoutAnInitialization)
{
    const std::string input = Three();
    ASSERT_EQ(std::remove(m_folder.Path("init.mp4").c_str()), 0);
    EXPECT_EQ(Play(FastService(input)),
              "Cannot read '" + m_folder.Path("init.mp4") + "': No such file or directory; check the path");
    EXPECT_EQ(Signals(), Texts{"signal 59"});
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
}

TEST_F(Atsc3Input, EveryAllocationOfAnOpeningMayFail)
{
    const std::string input = Three();
    bool opened = false;
    // Far more than there are.
    for (unsigned int number = 1; number < 1000 && !opened; ++number) {
        const auto options = FastService(input);
        std::string error;
        {
            const FaultInjection fault(Call::NEW, number);
            opened = TTMLHost::TvOpenAtsc3(options, &m_recorder, &error);
        }
        EXPECT_EQ(error.empty(), opened) << "allocation " << number;
        TTMLHost::TvClose();
    }
    EXPECT_TRUE(opened);
    EXPECT_EQ(Play(FastService(input)), "") << "and it works all the same";
}

TEST_F(Atsc3Input, WithoutMemoryTheServiceEndsWithAnErrorAndCanBeTunedAgain)
{
    const std::string input = Three();
    const std::string error = "Cannot play '" + input + "': there is no memory left; free some";
    std::unique_ptr<FaultInjection> fault;
    bool isFirst = true;
    Gate memoryIsBack("there is memory again");
    m_recorder.When("caption 2000000000 0 1", [&fault, &isFirst] {
        const FaultPause pause;
        if (isFirst) {
            fault = std::make_unique<FaultInjection>(Call::NEW, 1, FaultInjection::kAll);
        }
        isFirst = false;
    });
    m_recorder.When("end: " + error, [&fault, &memoryIsBack] {
        fault.reset();
        memoryIsBack.Open();
    });
    const OpenAtsc3 tv(FastService(input), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), error);
    EXPECT_EQ(Captions().size(), 2U);
    ASSERT_TRUE(memoryIsBack.Wait());
    m_recorder.Clear();
    EXPECT_TRUE(TTMLHost::TvTune("1", nullptr));
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    EXPECT_EQ(Captions().size(), 3U);
}

} // namespace
