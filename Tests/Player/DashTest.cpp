#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CuttingServer.h"
#include "MediaMaker.h"
#include "TemporaryFolder.h"
#include "TestPlayer.h"

namespace {

using TTMLTest::AtSpeed;
using TTMLTest::CuttingServer;
using TTMLTest::Fast;
using TTMLTest::MakeDash;
using TTMLTest::PushedSample;
using TTMLTest::ReadFile;
using TTMLTest::Replaced;
using TTMLTest::SamplePath;
using TTMLTest::TemporaryFolder;
using TTMLTest::TestPlayer;
using TTMLTest::Times;
using TTMLTest::Timestamps;

using Numbers = std::vector<long long>;

TEST(Dash, PlaysAPresentationFromAFolder)
{
    TestPlayer player(SamplePath("dash/manifest.mpd"), Fast());
    const std::vector<PushedSample> samples = player.PlayToEnd();
    EXPECT_EQ(Times(samples), (std::vector<std::string>{
                                  "0 0 00:00:00.000 00:00:05.000", "1 5000 00:00:05.000 00:00:10.000",
                                  "2 10000 00:00:10.000 00:00:15.000", "3 15000 00:00:15.000 00:00:20.000",
                                  "4 20000 00:00:20.000 00:00:25.000", "5 25000 00:00:25.000 00:00:30.000",
                                  "6 30000 00:00:30.000 00:00:35.000", "7 35000 00:00:35.000 00:00:40.000",
                                  "8 40000 00:00:40.000 00:00:45.000", "9 45000 00:00:45.000 00:00:50.000",
                                  "10 50000 00:00:50.000 00:00:55.000",
                                  // The DASH demuxer does not tell where the last one ends.
                                  "11 55000  "}));
    const std::string segment = ReadFile(SamplePath("dash/en/6.m4s"));
    ASSERT_EQ(samples.size(), 12U);
    EXPECT_EQ(segment.substr(segment.find("<?xml")), samples[10].text + samples[11].text);
}

TEST(Dash, ListsTheLanguages)
{
    TestPlayer player(SamplePath("dash/manifest.mpd"), Fast());
    const std::vector<TTMLHost::PlayerTrack> tracks = TTMLHost::PlayerTracks(player.Get());
    ASSERT_EQ(tracks.size(), 2U);
    EXPECT_EQ(tracks[0].language, "en");
    EXPECT_EQ(tracks[1].language, "de");
}

TEST(Dash, PlaysTheChosenLanguageOnly)
{
    TTMLHost::PlayerOptions options = Fast();
    options.track = 1;
    TestPlayer player(SamplePath("dash/manifest.mpd"), options);
    const std::vector<PushedSample> samples = player.PlayToEnd();
    ASSERT_EQ(samples.size(), 12U);
    for (const PushedSample& sample : samples) {
        EXPECT_NE(sample.text.find("xml:lang=\"de\""), std::string::npos);
    }
}

TEST(Dash, IsOnDemandWithoutABaseTime)
{
    TestPlayer player(SamplePath("dash/manifest.mpd"), Fast());
    unsigned char live = 0xAA;
    EXPECT_EQ(player_get_adaptive_streaming_info(player.Get(), &live, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE),
              TTMLHost::PLAYER_OK);
    EXPECT_EQ(live, 0);
    long long base = 0;
    EXPECT_EQ(player_get_base_time(player.Get(), &base), TTMLHost::PLAYER_NOT_LIVE);
    EXPECT_EQ(player.Position(), 0);
}

TEST(Dash, SeeksForthAndBack)
{
    TestPlayer player(SamplePath("dash/manifest.mpd"), Fast());
    player.Seek(47000);
    EXPECT_EQ(Timestamps(player.PlayToEnd()), (Numbers{45000, 50000, 55000}));
    player.Seek(6000);
    const std::vector<PushedSample> samples = player.PlayToEnd();
    EXPECT_EQ(Timestamps({samples.begin() + 3, samples.end()}),
              (Numbers{5000, 10000, 15000, 20000, 25000, 30000, 35000, 40000, 45000, 50000, 55000}));
    player.Seek(59000);
    EXPECT_EQ(Timestamps(player.PlayToEnd()).back(), 55000);
}

TEST(Dash, KeepsTheClock)
{
    TestPlayer player(SamplePath("dash/manifest.mpd"), AtSpeed(300.0));
    for (const PushedSample& sample : player.PlayToEnd()) {
        EXPECT_GE(sample.positionMs, sample.timestampMs);
    }
    EXPECT_GE(player.Position(), 55000);
}

TEST(Dash, PlaysOnWithoutALostSegment)
{
    const TemporaryFolder folder;
    MakeDash(folder.Path("dash"));
    ASSERT_EQ(std::remove(folder.Path("dash/en/3.m4s").c_str()), 0);
    TestPlayer player(folder.Path("dash/manifest.mpd"), Fast());
    EXPECT_EQ(Timestamps(player.PlayToEnd()),
              (Numbers{0, 5000, 10000, 15000, 30000, 35000, 40000, 45000, 50000, 55000}));
}

TEST(Dash, EndsWithAnErrorWhenTheRestIsLost)
{
    const TemporaryFolder folder;
    MakeDash(folder.Path("dash"));
    ASSERT_EQ(std::remove(folder.Path("dash/en/5.m4s").c_str()), 0);
    ASSERT_EQ(std::remove(folder.Path("dash/en/6.m4s").c_str()), 0);
    const std::string path = folder.Path("dash/manifest.mpd");
    TestPlayer player(path, Fast());
    player.Play();
    EXPECT_EQ(player.Listener().WaitForEnd(),
              "Cannot read '" + path +
                  "': media segments are missing up to the end; check that the server is up and has them");
    EXPECT_EQ(Timestamps(player.Listener().Samples()),
              (Numbers{0, 5000, 10000, 15000, 20000, 25000, 30000, 35000}));
}

// A live presentation with all its segments there, on a timeline that began long ago.
class LiveDash : public testing::Test
{
protected:
    static constexpr long long kBase = 1715934615000 + 3600000;

    const TemporaryFolder m_folder;
    const std::string m_path = m_folder.Path("dash/manifest.mpd");
    std::string m_manifest = TTMLTest::MakeLiveDash(m_folder.Path("dash"));
};

TEST_F(LiveDash, IsLive)
{
    TestPlayer player(m_path, AtSpeed(1.0));
    unsigned char live[2] = {0, 0xAA};
    EXPECT_EQ(player_get_adaptive_streaming_info(player.Get(), live, PLATFORM_PLAYER_STREAMING_INFO_IS_LIVE),
              TTMLHost::PLAYER_OK);
    EXPECT_NE(live[0], 0);
    EXPECT_EQ(live[1], 0xAA);
}

TEST_F(LiveDash, CountsThePositionFromTheAvailabilityStart)
{
    TestPlayer player(m_path, AtSpeed(1.0));
    long long base = 0;
    EXPECT_EQ(player_get_base_time(player.Get(), &base), TTMLHost::PLAYER_OK);
    EXPECT_EQ(base, kBase);
    const long long position = player.Position();
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(1));
    // It begins at the first sample that it joins; the difference is the time on the track's own timeline.
    const PushedSample first = player.Listener().Samples().front();
    EXPECT_EQ(position, first.timestampMs);
    EXPECT_EQ(position - base, 100010000);
    EXPECT_NE(first.text.find("begin=\"27:46:50.000\""), std::string::npos) << first.text;
}

TEST_F(LiveDash, PushesSamplesOnThatScale)
{
    TestPlayer player(m_path, Fast());
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(10));
    const PushedSample last = player.Listener().Samples()[9];
    EXPECT_EQ(last.timestampMs, kBase + 100055000);
    EXPECT_EQ(last.positionMs, kBase + 100055000);
    EXPECT_EQ(last.segStartTime, "");
    EXPECT_EQ(last.segEndTime, "");
    EXPECT_NE(last.text.find("begin=\"27:47:35.000\""), std::string::npos) << last.text;
}

TEST_F(LiveDash, RunsItsClock)
{
    TestPlayer player(m_path, AtSpeed(200.0));
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(3));
    EXPECT_GE(player.Position(), kBase + 100020000);
}

TEST_F(LiveDash, IsNotSought)
{
    TestPlayer player(m_path, AtSpeed(1.0));
    const long long position = player.Position();
    player.Seek(kBase + 100040000);
    EXPECT_EQ(player.Position(), position);
}

TEST_F(LiveDash, GoesOnOnceThereAreNewSegments)
{
    TestPlayer player(m_path, Fast());
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(10));
    MakeDash(m_folder.Path("dash"), {"--tracks", "en", "--start-tfdt", "100000000", "--samples", "14"});
    m_folder.Write("dash/manifest.mpd", Replaced(m_manifest, "r=\"5\"", "r=\"6\""));
    ASSERT_TRUE(player.Listener().WaitForSamples(12));
    const std::vector<PushedSample> samples = player.Listener().Samples();
    EXPECT_EQ(samples[10].timestampMs, kBase + 100060000);
    EXPECT_EQ(samples[11].timestampMs, kBase + 100065000);
    EXPECT_EQ(player.Listener().Ends(), 0U);
}

// A live presentation of numbered segments on a server, the sixth of which is the last that is there yet; the
// time says that the fifth one is to be played.
class NumberedLiveDash : public testing::Test
{
protected:
    void Serve(const std::string& attributes)
    {
        char start[32] = {};
        std::tm utc = {};
        gmtime_r(&m_begin, &utc);
        ASSERT_NE(std::strftime(start, sizeof(start), "%Y-%m-%dT%H:%M:%SZ", &utc), 0U);
        MakeDash(m_folder.Path("dash"), {"--tracks", "en"});
        std::string manifest = Replaced(ReadFile(m_folder.Path("dash/manifest.mpd")), "type=\"static\"",
                                        "type=\"dynamic\" availabilityStartTime=\"" + std::string(start) +
                                            "\" suggestedPresentationDelay=\"PT20S\" " + attributes);
        manifest = Replaced(manifest, "mediaPresentationDuration=\"PT60.000S\"", "");
        m_server.Serve("/manifest.mpd", manifest);
        for (const char* const name : {"init.mp4", "1.m4s", "2.m4s", "3.m4s", "4.m4s", "5.m4s", "6.m4s"}) {
            m_server.Serve(std::string("/en/") + name,
                           ReadFile(m_folder.Path(std::string("dash/en/") + name)));
        }
    }

    const std::time_t m_begin = std::time(nullptr) - 61;
    const TemporaryFolder m_folder;
    CuttingServer m_server;
};

TEST_F(NumberedLiveDash, WaitsForASegmentInsteadOfRunningAhead)
{
    Serve("timeShiftBufferDepth=\"PT1M\"");
    TestPlayer player(m_server.Url("/manifest.mpd"), Fast());
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(4));
    ASSERT_TRUE(m_server.WaitForRequests("/en/7.m4s", 2)) << "it looks again";
    EXPECT_EQ(m_server.Requests("/en/9.m4s"), 0U);
    const std::vector<PushedSample> samples = player.Listener().Samples();
    ASSERT_EQ(samples.size(), 4U) << "what is read again is not pushed again";
    EXPECT_EQ(samples[0].timestampMs, m_begin * 1000LL + 40000);
    EXPECT_EQ(samples[3].timestampMs, m_begin * 1000LL + 55000);
    EXPECT_EQ(player.Listener().Ends(), 0U);
}

TEST_F(NumberedLiveDash, DoesNotReadTheSameSegmentOverAndOver)
{
    // Without a buffer behind the live edge, libavformat goes back to where it began after each segment.
    Serve("");
    TestPlayer player(m_server.Url("/manifest.mpd"), Fast());
    player.Play();
    ASSERT_TRUE(player.Listener().WaitForSamples(2));
    // The manifest is read twice each time that it is opened; so this is the third time.
    ASSERT_TRUE(m_server.WaitForRequests("/manifest.mpd", 5));
    EXPECT_LE(m_server.Requests("/en/5.m4s"), 6U) << "twice each time at the most";
    EXPECT_EQ(player.Listener().Samples().size(), 2U);
}

TEST_F(LiveDash, EndsWithAnErrorWhenNothingNewComes)
{
    TTMLHost::PlayerOptions options = Fast();
    options.networkTimeoutMs = 1;
    TestPlayer player(m_path, options);
    player.Play();
    EXPECT_EQ(player.Listener().WaitForEnd().find("Cannot read '" + m_path + "': "), 0U);
    EXPECT_EQ(player.Listener().Samples().size(), 10U);
}

} // namespace
