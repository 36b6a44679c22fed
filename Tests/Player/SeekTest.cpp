#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MediaMaker.h"
#include "TemporaryFolder.h"
#include "TestPlayer.h"

namespace {

using TTMLTest::AtSpeed;
using TTMLTest::Fast;
using TTMLTest::MakeFile;
using TTMLTest::PushedSample;
using TTMLTest::SamplePath;
using TTMLTest::TemporaryFolder;
using TTMLTest::TestPlayer;
using TTMLTest::Timestamps;

using Numbers = std::vector<long long>;

// What is pushed from a seek of a new player on.
Numbers PlayedFrom(const std::string& path, long long positionMs)
{
    TestPlayer player(path, Fast());
    player.Seek(positionMs);
    EXPECT_EQ(player.Position(), positionMs);
    return Timestamps(player.PlayToEnd());
}

// Files of 12 samples of 5 s each that let a demuxer find its way in different ways.
class SeekInAnyFile : public testing::TestWithParam<std::vector<std::string>>
{
protected:
    SeekInAnyFile()
        : m_path(m_folder.Path("file.mp4"))
    {
        MakeFile(m_path, GetParam());
    }

    const TemporaryFolder m_folder;
    const std::string m_path;
};

INSTANTIATE_TEST_SUITE_P(Files, SeekInAnyFile,
                         testing::Values(std::vector<std::string>{}, std::vector<std::string>{"--sidx"},
                                         std::vector<std::string>{"--per-fragment", "5"},
                                         std::vector<std::string>{"--sidx", "--per-fragment", "5"},
                                         std::vector<std::string>{"--no-duration"},
                                         std::vector<std::string>{"--plain"},
                                         std::vector<std::string>{"--tracks", "en,de"}));

TEST_P(SeekInAnyFile, GoesOnFromTheSampleThatCoversThePosition)
{
    EXPECT_EQ(PlayedFrom(m_path, 47000), (Numbers{45000, 50000, 55000}));
    EXPECT_EQ(PlayedFrom(m_path, 45000), (Numbers{45000, 50000, 55000}));
    EXPECT_EQ(PlayedFrom(m_path, 49999), (Numbers{45000, 50000, 55000}));
    EXPECT_EQ(PlayedFrom(m_path, 0).size(), 12U);
    EXPECT_EQ(PlayedFrom(m_path, 55001), (Numbers{55000}));
}

TEST_P(SeekInAnyFile, GoesBackAfterTheEndOfTheInput)
{
    TestPlayer player(m_path, Fast());
    EXPECT_EQ(player.PlayToEnd().size(), 12U);
    player.Seek(51000);
    const std::vector<PushedSample> again = player.PlayToEnd();
    EXPECT_EQ(Timestamps({again.begin() + 12, again.end()}), (Numbers{50000, 55000}));
    player.Seek(6000);
    const std::vector<PushedSample> more = player.PlayToEnd();
    EXPECT_EQ(Timestamps({more.begin() + 14, more.end()}),
              (Numbers{5000, 10000, 15000, 20000, 25000, 30000, 35000, 40000, 45000, 50000, 55000}));
}

TEST_P(SeekInAnyFile, GoesForthAndBackWhilePlaying)
{
    TestPlayer player(m_path, Fast());
    player.Listener().HoldAt(1);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    player.Pause();
    player.Listener().Release();
    player.Seek(41000);
    player.Listener().HoldAt(3);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    player.Pause();
    player.Listener().Release();
    player.Seek(11000);
    player.Listener().HoldAt(4);
    player.Play();
    ASSERT_TRUE(player.Listener().WaitHeld());
    player.Pause();
    player.Listener().Release();
    EXPECT_EQ(Timestamps(player.Listener().Samples()), (Numbers{0, 5000, 40000, 45000, 10000}));
}

TEST(Seek, CountsTheIndexOn)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    EXPECT_EQ(player.PlayToEnd().back().index, 11);
    player.Seek(56000);
    const std::vector<PushedSample> samples = player.PlayToEnd();
    ASSERT_EQ(samples.size(), 13U);
    EXPECT_EQ(samples[12].index, 12);
    EXPECT_EQ(samples[12].timestampMs, 55000);
    EXPECT_EQ(samples[12].text, samples[11].text);
    EXPECT_EQ(samples[12].segStartTime, "00:00:55.000");
    EXPECT_EQ(samples[12].segEndTime, "00:01:00.000");
}

TEST(Seek, GoesToTheNextSampleFromAGap)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("gaps.mp4"), {"--samples", "4", "--duration", "2000", "--gap", "3000"});
    EXPECT_EQ(PlayedFrom(folder.Path("gaps.mp4"), 6999), (Numbers{5000, 10000, 15000}));
    EXPECT_EQ(PlayedFrom(folder.Path("gaps.mp4"), 7000), (Numbers{10000, 15000}));
    EXPECT_EQ(PlayedFrom(folder.Path("gaps.mp4"), 2000), (Numbers{5000, 10000, 15000}));
}

TEST(Seek, BeforeTheStartGoesToTheFirstSample)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("late.mp4"), {"--samples", "2", "--start-tfdt", "1760000000000"});
    EXPECT_EQ(PlayedFrom(folder.Path("late.mp4"), 5), (Numbers{1760000000000, 1760000005000}));
    EXPECT_EQ(PlayedFrom(folder.Path("late.mp4"), 1760000006000), (Numbers{1760000005000}));
}

TEST(Seek, BehindTheLastSampleIsTheEnd)
{
    EXPECT_EQ(PlayedFrom(SamplePath("subtitles.mp4"), 60000), (Numbers{}));
    EXPECT_EQ(PlayedFrom(SamplePath("subtitles.mp4"), 1000000000), (Numbers{}));
}

TEST(Seek, TakesASampleWithoutADurationUntilTheEnd)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("file.mp4"), {"--samples", "3", "--no-duration"});
    EXPECT_EQ(PlayedFrom(folder.Path("file.mp4"), 1000000), (Numbers{10000}));
}

TEST(Seek, MovesTheClockThatThenRunsOn)
{
    TestPlayer player(SamplePath("subtitles.mp4"), AtSpeed(100.0));
    player.Seek(52000);
    EXPECT_EQ(player.Position(), 52000);
    const std::vector<PushedSample> samples = player.PlayToEnd();
    EXPECT_EQ(Timestamps(samples), (Numbers{50000, 55000}));
    EXPECT_GE(samples[0].positionMs, 52000);
    EXPECT_GE(samples[1].positionMs, 55000);
    EXPECT_GE(player.Position(), 60000);
}

TEST(Seek, StartsTheStoppedClockAgainAfterTheEnd)
{
    TestPlayer player(SamplePath("subtitles.mp4"), AtSpeed(400.0));
    player.PlayToEnd();
    player.Seek(54000);
    EXPECT_EQ(player.Listener().WaitForEnd(2), "") << "it goes on without another PlayerPlay()";
    EXPECT_EQ(Timestamps(player.Listener().Samples()).back(), 55000);
    EXPECT_GE(player.Position(), 60000);
}

TEST(Seek, LetsNoSampleFromBeforeComeAfterIt)
{
    // However the calls fall, what was read before the seek is not seen after it.
    for (int round = 0; round < 50; ++round) {
        TestPlayer player(SamplePath("subtitles.mp4"), Fast());
        player.Play();
        player.Pause();
        player.Seek(50000);
        player.PassEnds();
        const std::size_t before = player.Listener().Samples().size();
        const std::vector<PushedSample> samples = player.PlayToEnd();
        ASSERT_EQ(samples.size(), before + 2) << "round " << round;
        for (std::size_t i = before; i < samples.size(); ++i) {
            EXPECT_GE(samples[i].timestampMs, 50000) << "round " << round;
        }
    }
}

} // namespace
