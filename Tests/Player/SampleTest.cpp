#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MediaMaker.h"
#include "TemporaryFolder.h"
#include "TestPlayer.h"

namespace {

using TTMLTest::Fast;
using TTMLTest::MakeFile;
using TTMLTest::PushedSample;
using TTMLTest::ReadFile;
using TTMLTest::SamplePath;
using TTMLTest::TemporaryFolder;
using TTMLTest::TestPlayer;
using TTMLTest::Times;

const std::vector<std::string> kTimesOfTheSample = {
    "0 0 00:00:00.000 00:00:05.000",      "1 5000 00:00:05.000 00:00:10.000",
    "2 10000 00:00:10.000 00:00:15.000",  "3 15000 00:00:15.000 00:00:20.000",
    "4 20000 00:00:20.000 00:00:25.000",  "5 25000 00:00:25.000 00:00:30.000",
    "6 30000 00:00:30.000 00:00:35.000",  "7 35000 00:00:35.000 00:00:40.000",
    "8 40000 00:00:40.000 00:00:45.000",  "9 45000 00:00:45.000 00:00:50.000",
    "10 50000 00:00:50.000 00:00:55.000", "11 55000 00:00:55.000 00:01:00.000",
};

TEST(Samples, ComeInOrderWithIndexAndTimes)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    EXPECT_EQ(Times(player.PlayToEnd()), kTimesOfTheSample);
}

TEST(Samples, AreTheDocumentsByteForByte)
{
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    std::size_t at = 0;
    for (const PushedSample& sample : player.PlayToEnd()) {
        EXPECT_EQ(sample.text.compare(0, 6, "<?xml "), 0) << sample.text;
        EXPECT_EQ(sample.text.substr(sample.text.size() - 6), "</tt>\n");
        // One after another in the file, each right behind the header of its mdat box.
        at = file.find("mdat", at) + 4;
        EXPECT_EQ(file.compare(at, sample.text.size(), sample.text), 0) << "sample " << sample.index;
        EXPECT_TRUE(sample.terminated) << "sample " << sample.index;
    }
    EXPECT_EQ(file.find("mdat", at), std::string::npos) << "a sample was left out";
}

TEST(Samples, ComeOnAThreadNamedPlayer)
{
    TestPlayer player(SamplePath("subtitles.mp4"), Fast());
    for (const PushedSample& sample : player.PlayToEnd()) {
        EXPECT_EQ(sample.thread, "Player");
    }
}

TEST(Samples, ComeFromAFileUrlToo)
{
    TestPlayer player("file://" + SamplePath("subtitles.mp4"), Fast());
    EXPECT_EQ(Times(player.PlayToEnd()), kTimesOfTheSample);
}

TEST(Samples, ComeFromAFileWithAnyName)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("a: b%20c#?.mp4", ReadFile(SamplePath("subtitles.mp4")));
    TestPlayer player(path, Fast());
    EXPECT_EQ(Times(player.PlayToEnd()), kTimesOfTheSample);
}

TEST(Samples, ComeFromAnIndexedFileAndFromFullFragments)
{
    const TemporaryFolder folder;
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"--sidx"}, std::vector<std::string>{"--sidx", "--per-fragment", "3"},
          std::vector<std::string>{"--per-fragment", "5"},
          std::vector<std::string>{"--timescale", "90000"}}) {
        MakeFile(folder.Path("file.mp4"), options);
        TestPlayer player(folder.Path("file.mp4"), Fast());
        EXPECT_EQ(Times(player.PlayToEnd()), kTimesOfTheSample) << options.front();
    }
}

TEST(Samples, ComeFromAFileThatIsNotFragmented)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("plain.mp4"), {"--plain"});
    TestPlayer player(folder.Path("plain.mp4"), Fast());
    EXPECT_EQ(Times(player.PlayToEnd()), kTimesOfTheSample);
}

TEST(Samples, EndWhereTheContainerSaysEvenBeforeAGap)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("gaps.mp4"), {"--samples", "3", "--duration", "2000", "--gap", "500"});
    TestPlayer player(folder.Path("gaps.mp4"), Fast());
    EXPECT_EQ(Times(player.PlayToEnd()),
              (std::vector<std::string>{"0 0 00:00:00.000 00:00:02.000", "1 2500 00:00:02.500 00:00:04.500",
                                        "2 5000 00:00:05.000 00:00:07.000"}));
}

TEST(Samples, HaveNoSegmentTimesWhereTheContainerHasNoDurations)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("file.mp4"), {"--samples", "3", "--no-duration"});
    TestPlayer player(folder.Path("file.mp4"), Fast());
    EXPECT_EQ(Times(player.PlayToEnd()), (std::vector<std::string>{"0 0  ", "1 5000  ", "2 10000  "}));
}

TEST(Samples, KeepTheLargeTimesOfALateJoinedStream)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("late.mp4"), {"--samples", "2", "--duration", "1920", "--start-tfdt",
                                       "1760000000123", "--timescale", "90000"});
    TestPlayer player(folder.Path("late.mp4"), Fast());
    EXPECT_EQ(player.Position(), 1760000000123);
    EXPECT_EQ(Times(player.PlayToEnd()),
              (std::vector<std::string>{"0 1760000000123 488888:53:20.123 488888:53:22.043",
                                        "1 1760000002043 488888:53:22.043 488888:53:23.963"}));
}

TEST(Samples, KeepTimesThatNeedMoreThan32BitsInTheirOwnUnits)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("late.mp4"),
             {"--samples", "1", "--start-tfdt", "1760000000000", "--timescale", "1000000"});
    TestPlayer player(folder.Path("late.mp4"), Fast());
    EXPECT_EQ(Times(player.PlayToEnd()),
              (std::vector<std::string>{"0 1760000000000 488888:53:20.000 488888:53:25.000"}));
}

TEST(Tracks, AreFoundWithTheirLanguages)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("tracks.mp4"), {"--tracks", "en,de,ja", "--samples", "2"});
    TestPlayer player(folder.Path("tracks.mp4"), Fast());
    const std::vector<TTMLHost::PlayerTrack> tracks = TTMLHost::PlayerTracks(player.Get());
    ASSERT_EQ(tracks.size(), 3U);
    EXPECT_EQ(tracks[0].language, "eng");
    EXPECT_EQ(tracks[1].language, "deu");
    EXPECT_EQ(tracks[2].language, "jpn");
    EXPECT_EQ(tracks[0].streamIndex, 0);
    EXPECT_EQ(tracks[1].streamIndex, 1);
    EXPECT_EQ(tracks[2].streamIndex, 2);
}

TEST(Tracks, AreChosenByTheirNumberAndElseTheFirstIsPlayed)
{
    const TemporaryFolder folder;
    MakeFile(folder.Path("tracks.mp4"), {"--tracks", "en,de,ja", "--samples", "2"});
    const std::vector<std::string> lines = {"The ferry leaves at six.", "Die Fähre geht um sechs.",
                                            "船は六時に出ます。"};
    for (int track = -1; track < 3; ++track) {
        TTMLHost::PlayerOptions options = Fast();
        options.track = track;
        TestPlayer player(folder.Path("tracks.mp4"), options);
        const std::vector<PushedSample> samples = player.PlayToEnd();
        EXPECT_EQ(Times(samples), (std::vector<std::string>{"0 0 00:00:00.000 00:00:05.000",
                                                            "1 5000 00:00:05.000 00:00:10.000"}));
        ASSERT_FALSE(samples.empty());
        const std::string& line = lines[track < 0 ? 0 : static_cast<std::size_t>(track)];
        EXPECT_NE(samples[0].text.find(">" + line + "<"), std::string::npos) << samples[0].text;
    }
}

} // namespace
