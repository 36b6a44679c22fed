#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Mpd.h"
#include "MpdText.h"

namespace {

using TTMLHost::CaptionSet;
using TTMLHost::Mpd;
using TTMLHost::SegmentAddressing;
using TTMLHost::TimelineRun;
using TTMLTest::CaptionText;
using TTMLTest::MpdText;
using TTMLTest::ParsedMpd;
using TTMLTest::PeriodText;

// The caption sets of an MPD with one period that holds `sets`.
std::vector<CaptionSet> Sets(const std::string& sets, const std::vector<std::string>& warnings = {})
{
    const Mpd mpd = ParsedMpd(MpdText("", PeriodText("", sets)), warnings);
    return mpd.periods.empty() ? std::vector<CaptionSet>() : mpd.periods[0].captions;
}

CaptionSet Set(const std::string& set)
{
    const std::vector<CaptionSet> sets = Sets(set);
    EXPECT_EQ(sets.size(), 1U) << set;
    return sets.empty() ? CaptionSet() : sets[0];
}

SegmentAddressing Segments(const std::string& element)
{
    return Set(CaptionText("", element)).segments;
}

std::string WhyUnusable(const std::string& element)
{
    std::string error;
    const std::optional<Mpd> mpd =
        TTMLHost::ReadMpd(MpdText("", PeriodText("", CaptionText("", element))), "s.mpd", &error);
    EXPECT_TRUE(mpd.has_value()) << error;
    EXPECT_TRUE(!mpd || mpd->periods[0].captions.empty());
    return mpd && mpd->warnings.size() == 1 ? mpd->warnings[0] : std::string();
}

std::string WhyNone(const std::string& text)
{
    std::string error;
    EXPECT_FALSE(TTMLHost::ReadMpd(text, "s.mpd", &error).has_value()) << text;
    return error;
}

// Minutes, when all of them are looked through for each of them.
TEST(Mpd, MayHaveVeryManyPeriodsAndSets)
{
    constexpr std::size_t kMany = 20000;
    std::string sets;
    std::string periods;
    for (std::size_t i = 0; i < kMany; ++i) {
        sets += CaptionText("");
        periods += PeriodText("duration=\"PT1S\"", CaptionText(""));
    }
    EXPECT_EQ(Sets(sets).size(), kMany);
    EXPECT_EQ(ParsedMpd(MpdText("", periods)).periods.size(), kMany);
}

TEST(Mpd, HasTheClockOfAService)
{
    const Mpd mpd = ParsedMpd(MpdText("type=\"dynamic\" availabilityStartTime=\"2024-05-17T10:30:15.5Z\" "
                                      "suggestedPresentationDelay=\"PT2.5S\" minimumUpdatePeriod=\"PT30S\" "
                                      "mediaPresentationDuration=\"PT1H\" timeShiftBufferDepth=\"PT20S\"",
                                      ""));
    EXPECT_TRUE(mpd.dynamic);
    EXPECT_EQ(mpd.availabilityStartMs, 1715941815500);
    EXPECT_EQ(mpd.suggestedPresentationDelayMs, 2500);
    EXPECT_EQ(mpd.minimumUpdatePeriodMs, 30000);
    EXPECT_EQ(mpd.mediaPresentationDurationMs, 3600000);
    EXPECT_EQ(mpd.timeShiftBufferDepthMs, 20000);
}

TEST(Mpd, IsStoredAndCountsFromTheEpochUnlessItSaysOtherwise)
{
    const Mpd mpd = ParsedMpd(MpdText("", ""));
    EXPECT_FALSE(mpd.dynamic);
    EXPECT_EQ(mpd.availabilityStartMs, 0);
    EXPECT_EQ(mpd.suggestedPresentationDelayMs, 0);
    EXPECT_FALSE(mpd.minimumUpdatePeriodMs.has_value());
    EXPECT_TRUE(mpd.periods.empty());
}

TEST(Mpd, ReadsSingleQuotesAndPrefixes)
{
    const Mpd mpd = ParsedMpd("<d:MPD xmlns:d='urn:mpeg:dash:schema:mpd:2011' type = 'dynamic' "
                              "availabilityStartTime='1970-01-01T00:00:01Z'><d:Period start='PT3S'>"
                              "<d:AdaptationSet><d:Representation id='x' codecs='stpp'/></d:AdaptationSet>"
                              "</d:Period></d:MPD>");
    EXPECT_TRUE(mpd.dynamic);
    EXPECT_EQ(mpd.availabilityStartMs, 1000);
    ASSERT_EQ(mpd.periods.size(), 1U);
    EXPECT_EQ(mpd.periods[0].startMs, 3000);
    EXPECT_EQ(mpd.periods[0].captions.size(), 1U);
}

TEST(Mpd, SaysWhichTimesAreNone)
{
    ParsedMpd(
        MpdText("availabilityStartTime=\"soon\" suggestedPresentationDelay=\"2\"", ""),
        {"Cannot use the availabilityStartTime of 's.mpd': 'soon' is no date and time; write it as "
         "2024-05-17T10:30:15Z",
         "Cannot use the suggestedPresentationDelay of 's.mpd': '2' is no duration; write it as PT2.5S"});
}

TEST(Mpd, LetsPeriodsFollowEachOther)
{
    const Mpd mpd = ParsedMpd(MpdText("mediaPresentationDuration=\"PT60S\"",
                                      PeriodText("start=\"PT5S\" duration=\"PT10S\"", "") +
                                          PeriodText("", "") + PeriodText("start=\"PT40S\"", "")));
    ASSERT_EQ(mpd.periods.size(), 3U);
    EXPECT_EQ(mpd.periods[0].startMs, 5000);
    EXPECT_EQ(mpd.periods[0].endMs, 15000);
    EXPECT_EQ(mpd.periods[1].startMs, 15000);
    EXPECT_EQ(mpd.periods[1].endMs, 40000);
    EXPECT_EQ(mpd.periods[2].startMs, 40000);
    EXPECT_EQ(mpd.periods[2].endMs, 60000);
}

TEST(Mpd, LeavesOutPeriodsOfWhichNobodyKnowsWhenTheyBegin)
{
    const Mpd mpd = ParsedMpd(MpdText("", PeriodText("start=\"PT5S\"", "") + PeriodText("", "")));
    ASSERT_EQ(mpd.periods.size(), 1U);
    EXPECT_FALSE(mpd.periods[0].endMs.has_value());
}

TEST(Mpd, EndsTheLastPeriodWithThePresentation)
{
    const Mpd mpd = ParsedMpd(MpdText("mediaPresentationDuration=\"PT60S\"", PeriodText("", "")));
    ASSERT_EQ(mpd.periods.size(), 1U);
    EXPECT_EQ(mpd.periods[0].startMs, 0);
    EXPECT_EQ(mpd.periods[0].endMs, 60000);
    EXPECT_FALSE(ParsedMpd(MpdText("", PeriodText("", ""))).periods[0].endMs.has_value());
}

TEST(Mpd, FindsCaptionsByTheirCodecs)
{
    const auto sets =
        Sets("<AdaptationSet contentType=\"video\"><Representation codecs=\"hev1\"/></AdaptationSet>" +
             CaptionText("id=\"7\" lang=\"es\"") +
             CaptionText("codecs=\"stpp.ttml.im1i\" mimeType=\"application/mp4\"", "", "id=\"i\"") +
             CaptionText("", "", "id=\"w\" codecs=\"wvtt\""));
    ASSERT_EQ(sets.size(), 2U);
    EXPECT_TRUE(sets[0].certain);
    EXPECT_EQ(sets[0].caption.id, "7");
    EXPECT_EQ(sets[0].language, "es");
    EXPECT_EQ(sets[0].caption.languageCode, 0x737061);
    EXPECT_EQ(sets[0].caption.profile, 0);
    EXPECT_TRUE(sets[1].certain);
    EXPECT_EQ(sets[1].caption.id, "i");
    EXPECT_EQ(sets[1].caption.languageCode, 0);
    EXPECT_EQ(sets[1].caption.profile, 1);
}

TEST(Mpd, KeepsSetsOfWhichOnlyTheInitializationTells)
{
    EXPECT_FALSE(Set(CaptionText("mimeType=\"application/mp4\"", "", "id=\"a\"")).certain);
    EXPECT_FALSE(Set(CaptionText("contentType=\"text\"", "", "id=\"a\"")).certain);
    EXPECT_TRUE(
        Sets(CaptionText("mimeType=\"application/ttml+xml\" contentType=\"text\"", "", "id=\"a\"")).empty());
    EXPECT_TRUE(
        Sets(CaptionText("mimeType=\"application/mp4\" contentType=\"video\"", "", "id=\"a\"")).empty());
    EXPECT_TRUE(Sets(CaptionText("mimeType=\"audio/mp4\"", "", "id=\"a\"")).empty());
}

TEST(Mpd, TakesTheCaptionPropertyBeforeTheCodecs)
{
    const std::string property =
        "<SupplementalProperty schemeIdUri=\"http://dashif.org/guidelines/dash-atsc-closedcaption\" "
        "value=\"ar:16-9,er:1,profile:0,3d:1\"/><Role schemeIdUri=\"urn:mpeg:dash:role:2011\" "
        "value=\"caption\"/>"
        "<Role schemeIdUri=\"urn:other\" value=\"main\"/>";
    const TCCaption caption = Set("<AdaptationSet id=\"3\" lang=\"eng\">" + property +
                                  "<Representation id=\"d4_4\" codecs=\"stpp.ttml.im1i\"/></AdaptationSet>")
                                  .caption;
    EXPECT_EQ(caption.id, "3");
    EXPECT_EQ(caption.languageCode, 0x656e67);
    EXPECT_EQ(caption.role, 5);
    EXPECT_EQ(caption.aspect, 2);
    EXPECT_EQ(caption.easyReader, 1);
    EXPECT_EQ(caption.profile, 0);
    EXPECT_EQ(caption.is3D, 1);
}

TEST(Mpd, JoinsTheBaseUrlsOfAllLevels)
{
    const Mpd mpd = ParsedMpd(MpdText(
        "", "<BaseURL>\n http://a/ </BaseURL><BaseURL>http://second/</BaseURL>" +
                PeriodText(
                    "", "<BaseURL>p/</BaseURL><AdaptationSet><BaseURL>s/</BaseURL><Representation id=\"1\" "
                        "codecs=\"stpp\"><BaseURL>all.mp4</BaseURL></Representation></AdaptationSet>")));
    const std::vector<std::string> expected = {"http://a/", "p/", "s/", "all.mp4"};
    ASSERT_EQ(mpd.periods[0].captions.size(), 1U);
    EXPECT_EQ(mpd.periods[0].captions[0].bases, expected);
    EXPECT_EQ(mpd.periods[0].captions[0].segments.kind, SegmentAddressing::Kind::Single);
}

TEST(Mpd, InheritsWhatASegmentTemplateLacks)
{
    const Mpd mpd = ParsedMpd(MpdText(
        "",
        PeriodText("", "<SegmentTemplate timescale=\"1000\" presentationTimeOffset=\"500\"/><AdaptationSet>"
                       "<SegmentTemplate duration=\"2000\" startNumber=\"0\" media=\"$Number$\"/>"
                       "<Representation id=\"r\" bandwidth=\"9\" codecs=\"stpp\"><SegmentTemplate "
                       "initialization=\"$RepresentationID$-$Bandwidth%03d$.mp4\" endNumber=\"4\" "
                       "availabilityTimeOffset=\"1.5\"/></Representation></AdaptationSet>")));
    const SegmentAddressing& segments = mpd.periods[0].captions[0].segments;
    EXPECT_EQ(segments.kind, SegmentAddressing::Kind::Template);
    EXPECT_EQ(segments.timescale, 1000);
    EXPECT_EQ(segments.presentationTimeOffset, 500);
    EXPECT_EQ(segments.duration, 2000);
    EXPECT_EQ(segments.startNumber, 0);
    EXPECT_EQ(segments.endNumber, 4);
    EXPECT_EQ(segments.availabilityTimeOffsetMs, 1500);
    EXPECT_EQ(segments.initialization, "r-009.mp4");
    EXPECT_EQ(segments.media.Fill(7, 0), "7");
}

TEST(Mpd, UnrollsATimeline)
{
    const SegmentAddressing segments = Segments(
        "<SegmentTemplate media=\"$Time$.m4s\" timescale=\"10\"><SegmentTimeline><S t=\"5\" d=\"20\"/>"
        "<S d=\"10\" r=\"2\"/><S t=\"100\" d=\"30\" r=\"-1\"/><S t=\"190\" d=\"7\" r=\"-1\"/>"
        "</SegmentTimeline></SegmentTemplate>");
    ASSERT_EQ(segments.timeline.size(), 4U);
    const std::int64_t expected[][3] = {{5, 20, 1}, {25, 10, 3}, {100, 30, 3}, {190, 7, TimelineRun::kOpen}};
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(segments.timeline[i].time, expected[i][0]) << i;
        EXPECT_EQ(segments.timeline[i].duration, expected[i][1]) << i;
        EXPECT_EQ(segments.timeline[i].count, expected[i][2]) << i;
    }
}

TEST(Mpd, ReadsListsAndSingleFiles)
{
    const SegmentAddressing list =
        Segments("<SegmentList duration=\"4\"><Initialization sourceURL=\"i.mp4\"/><SegmentURL media=\"a\"/>"
                 "<SegmentURL media=\"b\"/></SegmentList>");
    EXPECT_EQ(list.kind, SegmentAddressing::Kind::List);
    EXPECT_EQ(list.initialization, "i.mp4");
    EXPECT_EQ(list.list, (std::vector<std::string>{"a", "b"}));
    EXPECT_EQ(list.duration, 4);

    const SegmentAddressing base =
        Segments("<SegmentBase timescale=\"90\" presentationTimeOffset=\"9\"><Initialization "
                 "range=\"0-9\"/></SegmentBase>");
    EXPECT_EQ(base.kind, SegmentAddressing::Kind::Single);
    EXPECT_EQ(base.initialization, "");
    EXPECT_EQ(base.timescale, 90);
    EXPECT_EQ(base.presentationTimeOffset, 9);

    EXPECT_EQ(Segments("<SegmentList><SegmentURL mediaRange=\"0-9\"/></SegmentList>").kind,
              SegmentAddressing::Kind::Single);
}

TEST(Mpd, SaysWhySegmentsCannotBeFound)
{
    const std::string begin = "Cannot use captions 'c' of 's.mpd': ";
    const std::string end = "; mend the MPD; other captions can be used";
    EXPECT_EQ(WhyUnusable("<SegmentTemplate media=\"$Nr$\" duration=\"1\"/>"),
              begin + "its segment template '$Nr$' has an unknown identifier" + end);
    EXPECT_EQ(WhyUnusable("<SegmentTemplate media=\"all.mp4\" duration=\"1\"/>"),
              begin + "its segment template 'all.mp4' has neither $Number$ nor $Time$" + end);
    EXPECT_EQ(WhyUnusable("<SegmentTemplate media=\"$Number$\"/>"),
              begin + "its segment template has neither a duration for numbers nor a timeline" + end);
    EXPECT_EQ(WhyUnusable("<SegmentTemplate media=\"$Time$\" duration=\"1\"/>"),
              begin + "its segment template has neither a duration for numbers nor a timeline" + end);
    EXPECT_EQ(WhyUnusable("<SegmentTemplate media=\"$Number$\" duration=\"1\" timescale=\"0\"/>"),
              begin + "its timescale is not from 1 to 4294967295" + end);
    EXPECT_EQ(
        WhyUnusable("<SegmentTemplate media=\"$Number$\"><SegmentTimeline><S t=\"0\"/></SegmentTimeline>"
                    "</SegmentTemplate>"),
        begin + "its segment timeline has an entry 1 without a duration" + end);
    EXPECT_EQ(WhyUnusable("<SegmentTemplate media=\"$Number$\"><SegmentTimeline><S t=\"9\" d=\"2\"/>"
                          "<S t=\"3\" d=\"2\"/></SegmentTimeline></SegmentTemplate>"),
              begin + "its segment timeline has an entry 2 that begins before the one ahead of it ends" +
                  end);
    EXPECT_EQ(WhyUnusable(
                  "<SegmentTemplate media=\"$Number$\"><SegmentTimeline><S t=\"9\" d=\"4611686018427387903\" "
                  "r=\"9000000000000000000\"/></SegmentTimeline></SegmentTemplate>"),
              begin + "its segment timeline has an entry 1 that is too long" + end);
}

TEST(Mpd, IsNothingElse)
{
    EXPECT_EQ(WhyNone(""),
              "Cannot read 's.mpd': it is no XML (No document element found at byte 0); give the MPD of "
              "a service");
    EXPECT_EQ(
        WhyNone("<MPD><Period></MPD>"),
        "Cannot read 's.mpd': it is no XML (Start-end tags mismatch at byte 15); give the MPD of a service");
    EXPECT_EQ(WhyNone("<tt><MPD/></tt>"),
              "Cannot read 's.mpd': its document is 'tt' and no MPD; give the MPD of a service");
}

TEST(Mpd, OfTenMegabytesIsRead)
{
    std::string entries;
    while (entries.size() < 10000000) {
        entries += "<S d=\"2002\"/><S d=\"2003\"/>";
    }
    const SegmentAddressing segments = Segments("<SegmentTemplate media=\"$Time$\"><SegmentTimeline>" +
                                                entries + "</SegmentTimeline></SegmentTemplate>");
    EXPECT_GT(segments.timeline.size(), 700000U);
    EXPECT_EQ(segments.timeline.back().time, 2002 * static_cast<std::int64_t>(segments.timeline.size()) +
                                                 static_cast<std::int64_t>(segments.timeline.size()) / 2 -
                                                 2003);
}

} // namespace
