#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "SegmentMaker.h"
#include "SegmentReader.h"

namespace {

using TTMLHost::CaptionSample;
using TTMLHost::SegmentContent;
using TTMLHost::SegmentReader;
using TTMLTest::BoxOf;
using TTMLTest::FragmentMaker;
using TTMLTest::Initialization;
using TTMLTest::Patched;
using TTMLTest::TrackOptions;

const std::string kPng = "\x89PNG\r\n\x1a\n";

SegmentReader Reader(const std::string& initialization = Initialization())
{
    SegmentReader reader;
    std::string error;
    EXPECT_TRUE(reader.SetInitialization(initialization, "init.mp4", &error)) << error;
    return reader;
}

// "time+duration:payload" of each sample.
std::vector<std::string> Texts(const SegmentContent& content)
{
    std::vector<std::string> texts;
    for (const CaptionSample& sample : content.samples) {
        EXPECT_EQ(sample.timescale, 1000);
        texts.push_back(std::to_string(sample.time) + "+" + std::to_string(sample.duration) + ":" +
                        std::string(sample.payload.begin(), sample.payload.end()));
    }
    return texts;
}

std::vector<std::string> ReadTexts(const std::string& segment)
{
    SegmentReader reader = Reader();
    const SegmentContent content = reader.Read(segment, "1.m4s");
    EXPECT_EQ(content.warnings, std::vector<std::string>());
    EXPECT_FALSE(content.endsEarly);
    return Texts(content);
}

struct Damaged
{
    std::vector<std::string> texts;
    std::string why; // of the one warning
    bool endsEarly = false;
};

Damaged ReadDamaged(const std::string& segment)
{
    const std::string begin = "Cannot read all of '1.m4s': ";
    const std::string end = "; check what wrote the segment; the rest is played";
    SegmentReader reader = Reader();
    const SegmentContent content = reader.Read(segment, "1.m4s");
    Damaged result;
    result.texts = Texts(content);
    result.endsEarly = content.endsEarly;
    EXPECT_EQ(content.warnings.size(), 1U);
    if (content.warnings.size() == 1) {
        const std::string& line = content.warnings[0];
        EXPECT_EQ(line.substr(0, begin.size()), begin);
        EXPECT_GT(line.size(), begin.size() + end.size());
        EXPECT_EQ(line.substr(line.size() - end.size()), end);
        result.why = line.substr(begin.size(), line.size() - begin.size() - end.size());
    }
    return result;
}

using Lines = std::vector<std::string>;

std::string Three()
{
    return FragmentMaker().Time(1000).Sample("<tt>1</tt>").Sample("<tt>2</tt>").Sample("<tt>3</tt>").Bytes();
}

const Lines kThree = {"1000+500:<tt>1</tt>", "1500+500:<tt>2</tt>", "2000+500:<tt>3</tt>"};

TEST(SegmentReader, GivesSamplesAsTheyStand)
{
    EXPECT_EQ(ReadTexts(Three()), kThree);
    EXPECT_EQ(ReadTexts(FragmentMaker().Time(0).Sample("<tt/>" + kPng + "IHDR").Bytes()),
              Lines{"0+500:<tt/>" + kPng + "IHDR"});
}

TEST(SegmentReader, ReadsAllFragmentsOfASegment)
{
    const std::string other = BoxOf("styp", "iso8") + BoxOf("sidx", std::string(40, 'x'));
    EXPECT_EQ(ReadTexts(other + FragmentMaker().Time(0).Sample("a").Bytes() + BoxOf("emsg", "e") +
                        FragmentMaker().ShortTime(500).Sample("b").Bytes()),
              (Lines{"0+500:a", "500+500:b"}));
}

TEST(SegmentReader, KeepsLargeTimes)
{
    EXPECT_EQ(ReadTexts(FragmentMaker().Time(1593730454316000).Sample("a").Bytes()),
              Lines{"1593730454316000+500:a"});
}

TEST(SegmentReader, GoesOnWhereTheFragmentBeforeEnded)
{
    SegmentReader reader = Reader();
    EXPECT_EQ(Texts(reader.Read(FragmentMaker().Time(1000).Sample("a").Bytes(), "1")), Lines{"1000+500:a"});
    EXPECT_EQ(Texts(reader.Read(FragmentMaker().Sample("b").Bytes(), "2")), Lines{"1500+500:b"});
}

TEST(SegmentReader, TakesDefaultsFromTheFragmentThenFromTheInitialization)
{
    TrackOptions track;
    track.defaultDuration = 700;
    track.defaultSize = 2;
    SegmentReader reader = Reader(Initialization({track}));
    EXPECT_EQ(
        Texts(reader.Read(
            FragmentMaker().Time(0).Sample("ab").Sample("cd").Defaults(std::nullopt, std::nullopt).Bytes(),
            "1")),
        (Lines{"0+700:ab", "700+700:cd"}));
    EXPECT_EQ(
        Texts(reader.Read(FragmentMaker().Time(0).Sample("abc").Sample("def").Defaults(300, 3).Bytes(), "1")),
        (Lines{"0+300:abc", "300+300:def"}));
}

TEST(SegmentReader, FindsTheDataHoweverItIsAddressed)
{
    EXPECT_EQ(ReadTexts(FragmentMaker().Time(0).Sample("ab").WithoutDataOffset().Bytes()), Lines{"0+500:ab"});
    const std::string other = BoxOf("styp", "iso8");
    EXPECT_EQ(ReadTexts(other + FragmentMaker().Time(0).Sample("ab").BaseOffset(other.size()).Bytes()),
              Lines{"0+500:ab"});
}

TEST(SegmentReader, AddsCompositionOffsets)
{
    EXPECT_EQ(ReadTexts(FragmentMaker().Time(1000).Sample("a").CompositionOffset(-40).Bytes()),
              Lines{"960+500:a"});
}

TEST(SegmentReader, TakesTheTtmlTrackOfSeveral)
{
    TrackOptions video;
    video.id = 7;
    video.entry = "hev1";
    TrackOptions text;
    text.id = 9;
    text.version = 1;
    SegmentReader reader = Reader(Initialization({video, text}));
    const SegmentContent content = reader.Read(FragmentMaker().Track(7).Time(0).Sample("video").Bytes() +
                                                   FragmentMaker().Track(9).Time(0).Sample("text").Bytes(),
                                               "1");
    EXPECT_EQ(Texts(content), Lines{"0+500:text"});
    EXPECT_EQ(content.warnings, Lines());
}

TEST(SegmentReader, TakesFragmentsOfAnotherIdWhereThereIsOneTrack)
{
    EXPECT_EQ(ReadTexts(FragmentMaker().Track(3).Time(0).Sample("a").Bytes()), Lines{"0+500:a"});
}

TEST(SegmentReader, ReadsAFileThatHoldsItsInitialization)
{
    SegmentReader reader;
    EXPECT_EQ(Texts(reader.Read(Initialization() + Three(), "all.mp4")), kThree);
}

TEST(SegmentReader, KnowsInitializationSegmentsOfTtml)
{
    EXPECT_TRUE(SegmentReader::HoldsTtml(Initialization()));
    TrackOptions other;
    other.entry = "wvtt";
    EXPECT_FALSE(SegmentReader::HoldsTtml(Initialization({other})));
    EXPECT_FALSE(SegmentReader::HoldsTtml(Three()));
    EXPECT_FALSE(SegmentReader::HoldsTtml(""));
    EXPECT_FALSE(SegmentReader::HoldsTtml("<html/>"));
    TrackOptions timeless;
    timeless.timescale = 0;
    EXPECT_FALSE(SegmentReader::HoldsTtml(Initialization({timeless})));
}

TEST(SegmentReader, SaysWhatIsNoInitialization)
{
    SegmentReader reader;
    std::string error;
    TrackOptions other;
    other.entry = "wvtt";
    EXPECT_FALSE(reader.SetInitialization(Initialization({other}), "init.mp4", &error));
    EXPECT_EQ(
        error,
        "Cannot use 'init.mp4': it has no TTML track (stpp); check what wrote it, and that the MPD names "
        "the initialization segment of captions");
    EXPECT_FALSE(reader.SetInitialization("<html/>", "init.mp4", &error));
    EXPECT_EQ(error,
              "Cannot use 'init.mp4': it is no initialization segment; check what wrote it, and that the MPD "
              "names the initialization segment of captions");
}

TEST(SegmentReader, SaysThatThereWasNoInitialization)
{
    SegmentReader reader;
    const SegmentContent content = reader.Read(Three(), "1.m4s");
    EXPECT_TRUE(content.samples.empty());
    EXPECT_EQ(content.warnings,
              Lines{"Cannot read all of '1.m4s': there was no initialization segment with a TTML "
                    "track (stpp) before it; check what wrote the segment; the rest is played"});
}

TEST(SegmentReader, DeliversSamplesOfNoBytesAndTheirNeighbours)
{
    EXPECT_EQ(ReadTexts(FragmentMaker().Time(0).Sample("a").Sample("").Sample("b").Bytes()),
              (Lines{"0+500:a", "500+500:", "1000+500:b"}));
}

TEST(SegmentReader, DeliversLargeSamples)
{
    const std::string large(600000, 'x');
    EXPECT_EQ(ReadTexts(FragmentMaker().Time(0).Sample(large).Sample("b").Bytes()),
              (Lines{"0+500:" + large, "500+500:b"}));
}

TEST(SegmentReader, LeavesOutSamplesThatACutSegmentLacks)
{
    const Damaged damaged = ReadDamaged(Three().substr(0, Three().size() - 15));
    EXPECT_EQ(damaged.texts, Lines{kThree[0]});
    EXPECT_EQ(damaged.why, "2 samples end behind its " + std::to_string(Three().size() - 15) + " bytes");
    EXPECT_TRUE(damaged.endsEarly);
    EXPECT_EQ(ReadDamaged(Three().substr(0, Three().size() - 1)).texts, (Lines{kThree[0], kThree[1]}));
}

TEST(SegmentReader, SaysWhatASegmentLacks)
{
    EXPECT_EQ(ReadDamaged("").why, "it is empty");
    EXPECT_EQ(ReadDamaged(BoxOf("styp", "iso8")).why, "it has no fragment of the TTML track");
    EXPECT_EQ(ReadDamaged("<html>Not found</html>").why, "it has no fragment of the TTML track");
    const Damaged half = ReadDamaged(Three().substr(0, 40));
    EXPECT_EQ(half.why, "it has no fragment of the TTML track");
    EXPECT_TRUE(half.endsEarly);
}

TEST(SegmentReader, SurvivesBoxesThatLieAboutTheirSizes)
{
    const std::string cannotBe = "a box in it has a size that cannot be";
    EXPECT_EQ(ReadDamaged(Patched(Three(), "mdat", 0, 0x7fffffff)).texts, kThree);
    EXPECT_EQ(ReadDamaged(Patched(Three(), "mdat", 0, 0x7fffffff)).why, cannotBe);
    EXPECT_EQ(ReadDamaged(Patched(Three(), "mdat", 0, 4)).texts, kThree);
    EXPECT_EQ(ReadDamaged(Patched(Three(), "moof", 0, 0xffffffff)).texts, kThree);
    EXPECT_EQ(ReadDamaged(Patched(Three(), "trun", 0, 0x7fff)).texts, kThree);
    EXPECT_EQ(ReadDamaged(Patched(Three(), "traf", 0, 0xffff)).texts, kThree);
    EXPECT_EQ(ReadDamaged(Patched(Three(), "moof", 0, 20)).texts, Lines());
    // To the end of the file, which takes the boxes behind them in.
    for (const char* const box : {"tfhd", "tfdt"}) {
        EXPECT_EQ(ReadDamaged(Patched(Three(), box, 0, 0)).texts, Lines()) << box;
        EXPECT_EQ(ReadDamaged(Patched(Three(), box, 0, 0)).why, cannotBe) << box;
    }
    EXPECT_EQ(ReadDamaged(Patched(Three(), "tfhd", 0, 2)).texts, Lines());
    EXPECT_EQ(ReadDamaged(Patched(Three(), "tfhd", 0, 2)).why, "it has no fragment of the TTML track");
}

TEST(SegmentReader, SurvivesRunsThatLieAboutTheirSamples)
{
    const Damaged many = ReadDamaged(Patched(Three(), "trun", 12, 0xffffffff));
    EXPECT_EQ(many.texts, kThree);
    EXPECT_EQ(many.why, "a box in it has a size that cannot be");
    const std::string endless =
        Patched(FragmentMaker().Time(0).Sample("a").Defaults(1, 0).Bytes(), "trun", 12, 0xffffffff);
    EXPECT_EQ(ReadDamaged(endless).texts.size(), 100000U);
    const std::string nothing =
        Patched(FragmentMaker().Time(0).Sample("a").Defaults(0, 0).Bytes(), "trun", 12, 0xffffffff);
    EXPECT_EQ(ReadDamaged(nothing).texts, Lines());
    EXPECT_EQ(ReadDamaged(Patched(Three(), "trun", 16, 0x80000000)).texts, Lines());
    EXPECT_EQ(ReadDamaged(Patched(Three(), "trun", 16, 0x7fffffff)).why,
              "3 samples end behind its " + std::to_string(Three().size()) + " bytes");
}

TEST(SegmentReader, DoesNotGrowWithRunsThatUseTheSameBytesAgainAndAgain)
{
    const std::string whole = Three();
    const std::string fragment = whole.substr(0, whole.find("mdat") - 4);
    std::string segment;
    for (int i = 0; i < 1000; ++i) {
        segment += fragment;
    }
    const std::string large(1000000, 'x');
    const std::string run = TTMLTest::FullBox("trun", 0, 0x201,
                                              TTMLTest::Number(1, 4) + TTMLTest::Number(0, 4) +
                                                  TTMLTest::Number(large.size(), 4));
    std::string runs;
    for (int i = 0; i < 1000; ++i) {
        runs += run;
    }
    const std::string header = TTMLTest::FullBox("tfhd", 0, 0x020000, TTMLTest::Number(1, 4));
    SegmentReader reader = Reader();
    const SegmentContent content =
        reader.Read(BoxOf("moof", BoxOf("traf", header + runs)) + BoxOf("mdat", large), "1.m4s");
    EXPECT_EQ(content.samples.size(), 1U);
    EXPECT_EQ(content.warnings.size(), 1U);
}

TEST(SegmentReader, RefusesTimesBeyondAllTimes)
{
    EXPECT_EQ(ReadDamaged(FragmentMaker().Time(0xfffffffffffffff0).Sample("a").Bytes()).texts, Lines());
}

TEST(SegmentReader, SurvivesEveryCutAndEveryDamagedByte)
{
    const std::string whole = Initialization() + BoxOf("styp", "iso8") + Three();
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SegmentReader reader;
        EXPECT_LE(reader.Read(whole.substr(0, length), "1").samples.size(), 3U) << length;
    }
    for (std::size_t at = 0; at < whole.size(); ++at) {
        for (const char value : {'\x00', '\x01', '\x7f', '\xff'}) {
            std::string damaged = whole;
            damaged[at] = value;
            SegmentReader reader;
            EXPECT_LE(reader.Read(damaged, "1").warnings.size(), 1U) << at;
        }
    }
}

} // namespace
