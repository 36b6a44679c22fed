#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CaptionFeed.h"
#include "MpdText.h"
#include "SegmentMaker.h"
#include "TemporaryFolder.h"

namespace {

using TTMLHost::CaptionFeed;
using TTMLHost::DueCaption;
using TTMLHost::FeedStep;
using TTMLHost::SegmentStore;
using TTMLHost::ServicePace;
using TTMLTest::CaptionText;
using TTMLTest::FragmentMaker;
using TTMLTest::MpdText;
using TTMLTest::PeriodText;
using TTMLTest::TemporaryFolder;
using Kind = FeedStep::Kind;
using Lines = std::vector<std::string>;

constexpr std::int64_t kS = 1000000000;
// 2024-05-17T10:00:00Z
constexpr std::int64_t kStartNs = 1715940000 * kS;
const std::string kStart = "availabilityStartTime=\"2024-05-17T10:00:00Z\" ";

std::string Segment(std::uint64_t timeMs, const std::string& text)
{
    return FragmentMaker().Time(timeMs).Sample(text, 2000).Bytes();
}

// A service in a folder of its own.
class CaptionFeedTest : public ::testing::Test
{
protected:
    CaptionFeedTest()
        : m_store(m_folder.Path("s.mpd"))
        , m_feed(&m_store, "s.mpd", "", 1.0)
    {
        m_folder.Write("init.mp4", TTMLTest::Initialization());
    }

    void WriteMpd(const std::string& attributes, const std::string& captions = CaptionText("lang=\"en\""))
    {
        m_folder.Write("s.mpd", MpdText(attributes, PeriodText("", captions)));
    }
    void WriteSegment(int number, const std::string& bytes)
    {
        m_folder.Write("seg-" + std::to_string(number) + ".m4s", bytes);
    }
    void Open(std::int64_t nowNs)
    {
        Lines warnings;
        std::string error;
        ASSERT_TRUE(m_feed.Open(&warnings, &error)) << error;
        EXPECT_EQ(warnings, Lines());
        m_feed.Tune(nowNs);
    }
    std::string OpenError()
    {
        Lines warnings;
        std::string error;
        EXPECT_FALSE(m_feed.Open(&warnings, &error));
        return error;
    }
    // A step that gives captions and warns of nothing, as "TEXT due MS after `nowNs`".
    Lines Captions(std::int64_t nowNs)
    {
        const FeedStep step = m_feed.Next(nowNs);
        EXPECT_EQ(step.kind, Kind::Captions);
        EXPECT_EQ(step.warnings, Lines());
        Lines texts;
        for (const DueCaption& due : step.captions) {
            EXPECT_EQ(due.caption.type, 3);
            texts.push_back(std::string(due.caption.data.begin(), due.caption.data.end()) + " due " +
                            std::to_string((due.dueNs - nowNs) / 1000000));
        }
        return texts;
    }

    TemporaryFolder m_folder;
    SegmentStore m_store;
    CaptionFeed m_feed;
};

TEST_F(CaptionFeedTest, DeliversDocumentsWithTheirImagesAtTheirTimes)
{
    WriteMpd(kStart + "suggestedPresentationDelay=\"PT1S\" mediaPresentationDuration=\"PT4S\"");
    WriteSegment(1, Segment(0, "<tt/>\x89PNG"));
    WriteSegment(2, Segment(2000, "<tt>2</tt>"));
    Open(77 * kS);
    EXPECT_EQ(m_feed.Captions().languageCode, 0x656e67);
    const FeedStep first = m_feed.Next(77 * kS);
    ASSERT_EQ(first.captions.size(), 1U);
    const TSCaption& caption = first.captions[0].caption;
    EXPECT_EQ(std::string(caption.data.begin(), caption.data.end()), "<tt/>\x89PNG");
    EXPECT_EQ(caption.referenceTime, kStartNs + kS);
    EXPECT_EQ(caption.offset, 0);
    EXPECT_EQ(first.captions[0].dueNs, 77 * kS);
    EXPECT_EQ(Captions(77 * kS), Lines{"<tt>2</tt> due 2000"});
    const FeedStep end = m_feed.Next(77 * kS);
    EXPECT_EQ(end.kind, Kind::End);
    EXPECT_EQ(end.error, "");
    EXPECT_EQ(end.untilNs, 81 * kS) << "the last segment is over";
}

TEST_F(CaptionFeedTest, StartsOverWhenItIsTunedAgain)
{
    WriteMpd("mediaPresentationDuration=\"PT2S\"");
    WriteSegment(1, Segment(0, "a"));
    Open(0);
    EXPECT_EQ(Captions(0), Lines{"a due 0"});
    EXPECT_EQ(m_feed.Next(0).kind, Kind::End);
    m_feed.Tune(9 * kS);
    EXPECT_EQ(Captions(9 * kS), Lines{"a due 0"});
}

TEST_F(CaptionFeedTest, FindsCaptionsByTheirInitialization)
{
    WriteMpd("", CaptionText("contentType=\"text\"", "", "id=\"c\""));
    WriteSegment(1, Segment(0, "a"));
    Open(0);
    EXPECT_EQ(m_feed.Captions().id, "c");
    EXPECT_EQ(Captions(0), Lines{"a due 0"});
}

TEST_F(CaptionFeedTest, RefusesServicesWithoutCaptions)
{
    EXPECT_EQ(OpenError(),
              "Cannot read '" + m_folder.Path("s.mpd") + "': No such file or directory; check the path");
    m_folder.Write("s.mpd", "<html>");
    EXPECT_EQ(OpenError().substr(0, 42), "Cannot read 's.mpd': it is no XML (Start-e");
    TTMLTest::TrackOptions other;
    other.entry = "wvtt";
    m_folder.Write("init.mp4", TTMLTest::Initialization({other}));
    WriteMpd("", CaptionText("contentType=\"text\"", "", "id=\"c\""));
    EXPECT_EQ(OpenError(),
              "Cannot play 's.mpd': it has no captions (an adaptation set with codecs stpp); give the MPD "
              "of a service with TTML captions");
}

TEST_F(CaptionFeedTest, EndsWithWhyNothingCouldBegin)
{
    WriteMpd("mediaPresentationDuration=\"PT4S\"");
    WriteSegment(1, Segment(0, "a"));
    WriteSegment(2, Segment(2000, "b"));
    ASSERT_EQ(std::remove(m_folder.Path("init.mp4").c_str()), 0);
    Open(0);
    EXPECT_EQ(Captions(0), Lines());
    EXPECT_EQ(Captions(0), Lines());
    const FeedStep end = m_feed.Next(0);
    EXPECT_EQ(end.kind, Kind::End);
    EXPECT_EQ(end.warnings, Lines());
    EXPECT_EQ(end.error,
              "Cannot read '" + m_folder.Path("init.mp4") + "': No such file or directory; check the path");
}

TEST_F(CaptionFeedTest, TellsOnceWhyTheFirstSegmentsCouldNotBegin)
{
    WriteMpd("mediaPresentationDuration=\"PT6S\"");
    for (const unsigned number : {1, 2, 3}) {
        WriteSegment(number, Segment(2000 * (number - 1), std::to_string(number)));
    }
    m_folder.Write("init.mp4", "no initialization");
    Open(0);
    EXPECT_EQ(Captions(0), Lines());
    EXPECT_EQ(Captions(0), Lines());
    m_folder.Write("init.mp4", TTMLTest::Initialization());
    const FeedStep step = m_feed.Next(0);
    EXPECT_EQ(step.warnings,
              Lines{"Cannot use '" + m_folder.Path("init.mp4") +
                    "': it is no initialization segment; check what wrote it, and that the MPD names the "
                    "initialization segment of captions"});
    EXPECT_EQ(step.captions.size(), 1U);
    EXPECT_EQ(m_feed.Next(0).warnings, Lines());
}

TEST_F(CaptionFeedTest, TellsWhetherWhatItBeginsWithIsThere)
{
    WriteMpd("mediaPresentationDuration=\"PT2S\"");
    WriteSegment(1, Segment(0, "a"));
    ASSERT_EQ(std::remove(m_folder.Path("init.mp4").c_str()), 0);
    Open(0);
    EXPECT_FALSE(m_feed.Initialize());
    EXPECT_FALSE(m_feed.IsInitialized());
    m_folder.Write("init.mp4", "no initialization");
    EXPECT_FALSE(m_feed.Initialize());
    m_folder.Write("init.mp4", TTMLTest::Initialization());
    EXPECT_TRUE(m_feed.Initialize());
    EXPECT_TRUE(m_feed.IsInitialized());
    EXPECT_EQ(Captions(0), Lines{"a due 0"});
}

TEST_F(CaptionFeedTest, DeliversTheRestOfADamagedSegment)
{
    WriteMpd("mediaPresentationDuration=\"PT4S\"");
    const std::string two = FragmentMaker().Time(0).Sample("a", 1000).Sample("b", 1000).Bytes();
    WriteSegment(1, two.substr(0, two.size() - 1));
    WriteSegment(2, Segment(2000, "c"));
    Open(0);
    const FeedStep step = m_feed.Next(0);
    EXPECT_EQ(step.warnings, Lines{"Cannot read all of '" + m_folder.Path("seg-1.m4s") +
                                   "': 1 sample ends behind its " + std::to_string(two.size() - 1) +
                                   " bytes; check what wrote the segment; the rest is played"});
    EXPECT_EQ(step.captions.size(), 1U);
    EXPECT_EQ(Captions(0), Lines{"c due 2000"});
}

TEST_F(CaptionFeedTest, WaitsForALiveSegmentThatIsStillBeingWritten)
{
    WriteMpd("type=\"dynamic\" " + kStart);
    const std::string whole = Segment(98000, "a");
    WriteSegment(50, whole.substr(0, whole.size() - 1));
    const std::int64_t nowNs = kStartNs + 100 * kS;
    Open(nowNs);
    EXPECT_EQ(m_feed.Pace(), ServicePace::Live);
    EXPECT_EQ(Captions(nowNs), Lines());
    const FeedStep wait = m_feed.Next(nowNs);
    EXPECT_EQ(wait.kind, Kind::Wait);
    EXPECT_EQ(wait.untilNs, nowNs + kS / 2);
    WriteSegment(50, whole);
    EXPECT_EQ(Captions(wait.untilNs), Lines{"a due -2500"});
}

TEST_F(CaptionFeedTest, DeliversWhatThereIsOfALiveSegmentThatIsNeverFinished)
{
    WriteMpd("type=\"dynamic\" " + kStart);
    const std::string two = FragmentMaker().Time(98000).Sample("a", 1000).Sample("b", 1000).Bytes();
    WriteSegment(50, two.substr(0, two.size() - 1));
    Open(kStartNs + 100 * kS);
    EXPECT_EQ(Captions(kStartNs + 100 * kS), Lines());
    const FeedStep step = m_feed.Next(kStartNs + 104 * kS);
    EXPECT_EQ(step.warnings.size(), 1U);
    EXPECT_EQ(step.captions.size(), 1U);
}

TEST_F(CaptionFeedTest, TellsOfANewMpdOnly)
{
    const std::string attributes = "type=\"dynamic\" minimumUpdatePeriod=\"PT2S\" " + kStart;
    WriteMpd(attributes);
    WriteSegment(50, Segment(98000, "a"));
    WriteSegment(51, Segment(100000, "b"));
    Open(kStartNs + 100 * kS);
    EXPECT_EQ(Captions(kStartNs + 100 * kS), Lines{"a due -2000"});
    EXPECT_EQ(m_feed.Next(kStartNs + 102 * kS).kind, Kind::Captions) << "the same MPD";

    WriteMpd(attributes + "suggestedPresentationDelay=\"PT3S\"");
    EXPECT_EQ(m_feed.Next(kStartNs + 104 * kS).kind, Kind::NewMpd);
    EXPECT_NE(m_feed.MpdText().find("PT3S"), std::string::npos);
}

TEST_F(CaptionFeedTest, GoesOnByTheOldMpdWhenTheNewOneIsNone)
{
    WriteMpd("type=\"dynamic\" minimumUpdatePeriod=\"PT2S\" " + kStart);
    const std::string good = m_folder.Content("s.mpd");
    WriteSegment(50, Segment(98000, "a"));
    WriteSegment(51, Segment(100000, "b"));
    Open(kStartNs + 100 * kS);
    EXPECT_EQ(Captions(kStartNs + 100 * kS), Lines{"a due -2000"});
    m_folder.Write("s.mpd", good.substr(0, good.size() / 2));
    const FeedStep reload = m_feed.Next(kStartNs + 102 * kS);
    EXPECT_EQ(reload.kind, Kind::Captions);
    ASSERT_EQ(reload.warnings.size(), 1U);
    EXPECT_EQ(reload.warnings[0].substr(0, 33), "Cannot read 's.mpd': it is no XML");
    EXPECT_EQ(Captions(kStartNs + 102 * kS), Lines{"b due -2000"});
    EXPECT_EQ(m_feed.Next(kStartNs + 104 * kS).warnings, Lines()) << "told already";
    EXPECT_EQ(m_feed.MpdText(), good);
}

TEST_F(CaptionFeedTest, EndsWhereItIsInterrupted)
{
    WriteMpd("mediaPresentationDuration=\"PT2S\"");
    WriteSegment(1, Segment(0, "a"));
    Open(0);
    m_store.Interrupt();
    EXPECT_EQ(m_feed.Next(0).kind, Kind::Interrupted);
}

} // namespace
