#include <chrono>
#include <ctime>
#include <string>

#include "Atsc3Fixture.h"
#include "Gate.h"
#include "HostSystem.h"
#include "SegmentMaker.h"

namespace {

using namespace TTMLTest;

constexpr unsigned kSegmentMs = 200;

std::int64_t WallMs()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

// An xs:dateTime.
std::string DateTime(std::int64_t ms)
{
    const auto seconds = static_cast<std::time_t>(ms / 1000);
    std::tm parts = {};
    gmtime_r(&seconds, &parts);
    char text[32] = {};
    strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    return std::string(text) + "." + std::to_string(1000 + ms % 1000).substr(1) + "Z";
}

// A service that is on the air: it began some seconds ago, and its segments have been there since.
class Atsc3Live : public Atsc3Test
{
protected:
    void TearDown() override
    {
        Atsc3Test::TearDown();
        TTMLHost::SetSystemFeature("com.velmora/featureconf/caption.support_kor", false);
    }

    std::string Mpd(const std::string& attributes) const
    {
        return OneCaptionSet("type=\"dynamic\" availabilityStartTime=\"" + DateTime(m_startMs) + "\" " +
                                 attributes,
                             kSegmentMs);
    }

    // Segments for a minute; those that are not due yet are there early.
    std::string OnAir(const std::string& attributes)
    {
        return Service("s.mpd", Mpd(attributes), 60000 / kSegmentMs, kSegmentMs);
    }

    TTMLHost::TvAtsc3Options RealTime(const std::string& input) const
    {
        TTMLHost::TvAtsc3Options options;
        options.input = input;
        return options;
    }

    std::int64_t m_startMs = WallMs() - 5000;
};

TEST_F(Atsc3Live, DeliversWhatComesAtItsTimeUntilItIsClosed)
{
    const OpenAtsc3 tv(RealTime(OnAir("suggestedPresentationDelay=\"PT0.5S\"")), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    const std::int64_t tunedMs = WallMs();
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitFor("delivered", 6));
    const std::int64_t nowMs = WallMs();
    TTMLHost::TvClose();
    EXPECT_EQ(m_recorder.EventsLike("end"), Texts());
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
    const Texts payloads = viewer.Payloads();
    const int first = std::stoi(payloads.at(0));
    Texts expected;
    for (std::size_t i = 0; i < payloads.size(); ++i) {
        const int number = first + static_cast<int>(i);
        EXPECT_EQ(payloads[i], std::to_string(number));
        expected.push_back(
            CaptionEvent(m_startMs + 500 + std::int64_t{number - 1} * kSegmentMs, payloads[i].size()));
    }
    EXPECT_EQ(Captions(), expected);
    const std::int64_t firstMs = m_startMs + 500 + std::int64_t{first - 1} * kSegmentMs;
    EXPECT_GT(firstMs, tunedMs - 2 * kSegmentMs - 500) << "near the edge";
    EXPECT_LE(firstMs + 5 * std::int64_t{kSegmentMs}, nowMs) << "none comes before its time";
}

TEST_F(Atsc3Live, SignalsANewMpdAndAnswersWithIt)
{
    const std::string attributes = "minimumUpdatePeriod=\"PT0.1S\" ";
    const std::string input = OnAir(attributes);
    const std::string first = Mpd(attributes);
    const std::string second = Mpd(attributes + "publishTime=\"2026-01-01T00:00:00Z\" ");
    Texts answers;
    m_recorder.When("signal 60", [&] {
        answers.push_back(MpdAnswer(1));
        m_folder.Write("s.mpd", second);
    });
    m_recorder.When("signal 178 8", [&] { answers.push_back(MpdAnswer(1)); });
    const OpenAtsc3 tv(RealTime(input), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitFor("told 178"));
    const unsigned delivered = m_recorder.Count("delivered");
    EXPECT_TRUE(m_recorder.WaitFor("delivered", delivered + 2)) << "and it goes on";
    TTMLHost::TvClose();
    EXPECT_EQ(answers, (Texts{first, second}));
    EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 60", "signal 178 8"})) << "once for one";
}

TEST_F(Atsc3Live, EndsWhenItsMpdSaysSo)
{
    const std::string attributes = "minimumUpdatePeriod=\"PT0.1S\" ";
    const std::string input = OnAir(attributes);
    m_recorder.When("signal 60", [&] {
        m_folder.Write("s.mpd", OneCaptionSet("availabilityStartTime=\"" + DateTime(m_startMs) +
                                                  "\" mediaPresentationDuration=\"PT8S\"",
                                              kSegmentMs));
    });
    EXPECT_EQ(Play(RealTime(input)), "");
    EXPECT_EQ(m_payloads.back(), "40") << "the last one of 8 s";
    EXPECT_GE(WallMs(), m_startMs + 8000);
}

TEST_F(Atsc3Live, WaitsForWhatItsCaptionsBeginWith)
{
    const std::string input = OnAir("");
    ASSERT_EQ(std::remove(m_folder.Path("init.mp4").c_str()), 0);
    const OpenAtsc3 tv(RealTime(input), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitFor("warning: Cannot read '" + m_folder.Path("init.mp4") +
                                   "': No such file or directory; check the path"));
    EXPECT_EQ(CurrentServiceText(), "none");
    m_folder.Write("init.mp4", Initialization());
    ASSERT_TRUE(m_recorder.WaitFor("delivered"));
    EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 60"}));
}

TEST_F(Atsc3Live, FastStillWaitsForSegmentsToCome)
{
    auto options = RealTime(OnAir("suggestedPresentationDelay=\"PT10S\""));
    options.fast = true;
    const OpenAtsc3 tv(options, &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    ASSERT_TRUE(m_recorder.WaitFor("delivered", 4));
    TTMLHost::TvClose();
    const int last = std::stoi(viewer.Payloads().back());
    EXPECT_LE(m_startMs + std::int64_t{last} * kSegmentMs, WallMs()) << "the segment was over";
}

TEST_F(Atsc3Live, OfAnotherTimeIsPlayedAsARecording)
{
    EXPECT_EQ(Play(FastService(Sample("dynamic.mpd"))), "");
    EXPECT_EQ(m_payloads.size(), 14U);
    EXPECT_EQ(Captions()[0], CaptionEvent(1767225601500, m_payloads[0].size()));
    EXPECT_EQ(m_recorder.EventsLike("warning"), Texts());
}

TEST_F(Atsc3Live, AMadeUpSignalTellsOfTheSameMpd)
{
    const OpenAtsc3 tv(FastService(Sample("service.mpd")), &m_recorder);
    const CaptionViewer viewer(&m_recorder);
    TTMLHost::TvStart();
    EXPECT_EQ(m_recorder.WaitForEnd(), "");
    TTMLHost::TvSignalMpd();
    TTMLHost::TvSettle();
    EXPECT_EQ(Signals(), (Texts{"signal 59", "signal 60", "signal 178 8"}));
    EXPECT_EQ(MpdAnswer(1), SampleContent("service.mpd"));
}

// A broadcast whose segments count from 1970 though its MPD says something else.
TEST_F(Atsc3Live, TimesSince1970AreTakenFromTheMpdWhereThatIsRead)
{
    const std::int64_t startMs = 1593730498000; // 2020-07-02T22:54:58Z
    const std::int64_t number = startMs / 2000 - 20;
    m_folder.Write("init.mp4", Initialization());
    WriteSegment(number, static_cast<std::uint64_t>(number - 1) * 2000);
    const std::string input = m_folder.Write(
        "s.mpd", OneCaptionSet("type=\"dynamic\" availabilityStartTime=\"" + DateTime(startMs) + "\"", 2000));
    const std::string reference = std::to_string((number - 1) * 2000) + "000000";
    EXPECT_EQ(Play(FastService(input)), "");
    EXPECT_EQ(Captions(), Texts{"caption " + reference + " -" + std::to_string(startMs) + "000000 9"});
    m_recorder.Clear();
    TTMLHost::SetSystemFeature("com.velmora/featureconf/caption.support_kor", true);
    EXPECT_EQ(Play(FastService(input)), "");
    EXPECT_EQ(Captions(), Texts{"caption " + reference + " 0 9"}) << "nobody reads it in this region";
}

} // namespace
