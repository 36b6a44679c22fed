#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "MediaMaker.h"
#include "TemporaryFolder.h"
#include "TestPlayer.h"

namespace {

using TTMLTest::Fast;
using TTMLTest::MakeDash;
using TTMLTest::MakeFile;
using TTMLTest::OpenError;
using TTMLTest::ReadFile;
using TTMLTest::Replaced;
using TTMLTest::SamplePath;
using TTMLTest::TemporaryFolder;
using TTMLTest::TestPlayer;
using TTMLTest::Timestamps;

using Numbers = std::vector<long long>;

const std::string kGiveAnother = "; give an MP4 file with a TTML (stpp) track or a DASH manifest";

TEST(InputError, SaysThatThereIsNoFile)
{
    EXPECT_EQ(OpenError("/nowhere/a.mp4"),
              "Cannot open '/nowhere/a.mp4': No such file or directory; check the path");
    EXPECT_EQ(OpenError(""), "Cannot open '': there is no name; name a local file or an http(s) address");
}

TEST(InputError, SaysThatAFolderIsNoFile)
{
    const TemporaryFolder folder;
    EXPECT_EQ(OpenError(folder.Path()), "Cannot open '" + folder.Path() + "': Is a directory" + kGiveAnother);
}

TEST(InputError, SaysThatAFileIsEmpty)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("empty.mp4", "");
    EXPECT_EQ(OpenError(path), "Cannot open '" + path + "': it is empty" + kGiveAnother);
}

TEST(InputError, SaysThatItIsNoMedia)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("text.mp4", std::string(5000, 'x'));
    EXPECT_EQ(OpenError(path), "Cannot open '" + path +
                                   "': Invalid data found when processing input (moov atom not found)" +
                                   kGiveAnother);
}

TEST(InputError, SaysThatADocumentIsNoMedia)
{
    const std::string path = SamplePath("ebu-tt-d.ttml");
    EXPECT_EQ(OpenError(path), "Cannot open '" + path + "': it is XML, but no DASH manifest" + kGiveAnother);
}

TEST(InputError, RefusesOtherAddresses)
{
    EXPECT_EQ(OpenError("rtsp://example.org/a"),
              "Cannot open 'rtsp://example.org/a': 'rtsp' addresses are not "
              "supported; give a local file or an http(s) address");
    EXPECT_EQ(OpenError("concat:a.mp4|b.mp4"),
              "Cannot open 'concat:a.mp4|b.mp4': No such file or directory; check the path");
}

TEST(InputError, SaysThatThereIsNoTtmlTrack)
{
    const TemporaryFolder folder;
    // The same file with another kind of samples.
    const std::string path =
        folder.Write("other.mp4", Replaced(ReadFile(SamplePath("subtitles.mp4")), "stpp", "wvtt"));
    EXPECT_EQ(OpenError(path), "Cannot open '" + path + "': it has no TTML track" + kGiveAnother);
}

TEST(InputError, SaysHowManyTracksThereAre)
{
    TTMLHost::PlayerOptions options;
    options.track = 1;
    const std::string one = SamplePath("subtitles.mp4");
    EXPECT_EQ(OpenError(one, options),
              "Cannot play track 1 of '" + one + "': it has 1 TTML track; choose one from 0 to 0");
    const TemporaryFolder folder;
    const std::string two = folder.Path("two.mp4");
    MakeFile(two, {"--tracks", "en,de"});
    options.track = 2;
    EXPECT_EQ(OpenError(two, options),
              "Cannot play track 2 of '" + two + "': it has 2 TTML tracks; choose one from 0 to 1");
}

// The first samples of the file up to some bytes behind the `count`-th occurrence of `mark`, and what is
// played of it.
void ExpectCutOff(const std::string& mark, int count, std::size_t behind, const Numbers& expected)
{
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    std::size_t at = 0;
    for (int i = 0; i < count; ++i) {
        at = file.find(mark, at + 1);
    }
    const TemporaryFolder folder;
    const std::string path = folder.Write("cut.mp4", file.substr(0, at + behind));
    const std::string error =
        "Cannot read '" + path + "': it is cut off; get a complete copy; what came before was played";
    TestPlayer player(path, Fast());
    player.Play();
    EXPECT_EQ(player.Listener().WaitForEnd(), error) << mark << " + " << behind;
    EXPECT_EQ(Timestamps(player.Listener().Samples()), expected) << mark << " + " << behind;
    player.Seek(5000);
    EXPECT_EQ(player.Listener().WaitForEnd(2), error) << "it says so each time";
    EXPECT_EQ(player.Listener().Samples()[expected.size()].timestampMs, 5000);
}

TEST(InputError, PlaysWhatAFileCutInASampleHasAndSaysSo)
{
    ExpectCutOff("<?xml", 3, 200, {0, 5000});
    ExpectCutOff("<?xml", 3, 0, {0, 5000});
}

TEST(InputError, PlaysWhatAFileCutInATableHasAndSaysSo)
{
    ExpectCutOff("trun", 3, 14, {0, 5000});
    ExpectCutOff("tfdt", 4, 2, {0, 5000, 10000});
}

TEST(InputError, PlaysWhatAFileCutInAHeaderHasAndSaysSo)
{
    for (const std::size_t behind : {0U, 2U, 4U, 9U}) {
        ExpectCutOff("moof", 3, behind, {0, 5000});
    }
}

TEST(InputError, NothingToPlayIsJustTheEnd)
{
    const std::string file = ReadFile(SamplePath("subtitles.mp4"));
    const TemporaryFolder folder;
    const std::string path = folder.Write("none.mp4", file.substr(0, file.find("moof") - 4));
    TestPlayer player(path, Fast());
    EXPECT_EQ(player.PlayToEnd().size(), 0U);
}

TEST(InputError, SaysWhatAManifestMustHave)
{
    const TemporaryFolder folder;
    MakeDash(folder.Path("dash"));
    const std::string path = folder.Path("dash/manifest.mpd");
    folder.Write("dash/manifest.mpd", Replaced(ReadFile(path), "contentType=\"text\" ", ""));
    EXPECT_EQ(
        OpenError(path),
        "Cannot open '" + path +
            "': its subtitle adaptation set has only mimeType=\"application/mp4\", which libavformat does "
            "not take for subtitles; add contentType=\"text\" to the AdaptationSet in the manifest");
}

TEST(InputError, SaysThatAManifestIsDamaged)
{
    const TemporaryFolder folder;
    const std::string path = folder.Write("a.mpd", "<MPD><Period>");
    EXPECT_EQ(OpenError(path), "Cannot open '" + path + "': it is XML, but no DASH manifest" + kGiveAnother);
}

} // namespace
