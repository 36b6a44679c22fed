#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "DashManifest.h"

namespace {

using TTMLHost::DashManifest;
using TTMLHost::ParseDashManifest;

// The times of a manifest; one that is none fails the test.
DashManifest Parsed(const std::string& text)
{
    const std::optional<DashManifest> manifest = ParseDashManifest(text);
    EXPECT_TRUE(manifest.has_value()) << text;
    return manifest.value_or(DashManifest());
}

std::string Mpd(const std::string& attributes, const std::string& content)
{
    return "<?xml version=\"1.0\"?>\n<!-- made by hand -->\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" " +
           attributes + ">" + content + "</MPD>";
}

std::string Set(const std::string& setAttributes, const std::string& representationAttributes)
{
    return "<Period><AdaptationSet " + setAttributes + "><Representation id=\"1\" " +
           representationAttributes + "/></AdaptationSet></Period>";
}

TEST(DashManifest, IsOnDemandUnlessItSaysOtherwise)
{
    EXPECT_FALSE(Parsed(Mpd("", "<Period/>")).live);
    EXPECT_FALSE(Parsed(Mpd("type=\"static\"", "<Period/>")).live);
    EXPECT_TRUE(Parsed(Mpd("type=\"dynamic\"", "<Period/>")).live);
}

TEST(DashManifest, KnowsWhenALivePresentationBegan)
{
    const DashManifest manifest =
        Parsed(Mpd("type=\"dynamic\" availabilityStartTime=\"2024-05-17T10:30:15.5+02:00\"",
                   "<Period start=\"PT1H0.25S\"/>"));
    EXPECT_EQ(manifest.availabilityStartMs, 1715934615500);
    EXPECT_EQ(manifest.periodStartMs, 3600250);
}

TEST(DashManifest, CountsFromTheEpochWithoutAnAvailabilityStart)
{
    EXPECT_EQ(Parsed(Mpd("type=\"dynamic\"", "<Period start=\"PT5S\"/>")).availabilityStartMs, 0);
    EXPECT_EQ(Parsed(Mpd("availabilityStartTime=\"soon\"", "<Period/>")).availabilityStartMs, 0);
}

TEST(DashManifest, TakesTheLongestPeriodAndTheLastOfEqualOnes)
{
    EXPECT_EQ(Parsed(Mpd("", "<Period start=\"PT0S\" duration=\"PT10S\"/>"
                             "<Period start=\"PT10S\" duration=\"PT20S\"/>"
                             "<Period start=\"PT30S\" duration=\"PT5S\"/>"))
                  .periodStartMs,
              10000);
    EXPECT_EQ(Parsed(Mpd("", "<Period start=\"PT0S\"/><Period start=\"PT40S\"/>")).periodStartMs, 40000);
}

TEST(DashManifest, LetsAPeriodWithoutAStartFollowTheOneBefore)
{
    EXPECT_EQ(Parsed(Mpd("", "<Period start=\"PT3S\" duration=\"PT10S\"/><Period duration=\"PT10S\"/>"))
                  .periodStartMs,
              13000);
    EXPECT_EQ(Parsed(Mpd("", "<Period/>")).periodStartMs, 0);
}

TEST(DashManifest, ReadsPrefixedElements)
{
    const DashManifest manifest =
        Parsed("<d:MPD xmlns:d=\"urn:mpeg:dash:schema:mpd:2011\" type=\"dynamic\" "
               "availabilityStartTime=\"1970-01-01T00:00:01Z\"><d:Period start=\"PT2S\"/></d:MPD>");
    EXPECT_TRUE(manifest.live);
    EXPECT_EQ(manifest.availabilityStartMs, 1000);
    EXPECT_EQ(manifest.periodStartMs, 2000);
}

TEST(DashManifest, NoticesSubtitlesThatNothingMarksAsText)
{
    EXPECT_TRUE(Parsed(Mpd("", Set("mimeType=\"application/mp4\"", "codecs=\"stpp.ttml.im1t\"")))
                    .hasUnmarkedSubtitles);
    EXPECT_TRUE(Parsed(Mpd("", Set("codecs=\"stpp\"", "mimeType=\"application/mp4\""))).hasUnmarkedSubtitles);
}

TEST(DashManifest, FindsSubtitlesMarkedAnywhere)
{
    for (const char* const content :
         {"<Period><AdaptationSet contentType=\"text\"><Representation "
          "codecs=\"stpp\"/></AdaptationSet></Period>",
          "<Period><AdaptationSet><Representation contentType=\"TEXT\" "
          "codecs=\"stpp\"/></AdaptationSet></Period>",
          "<Period><AdaptationSet mimeType=\"text/mp4\"><Representation "
          "codecs=\"stpp\"/></AdaptationSet></Period>",
          "<Period><AdaptationSet><ContentComponent contentType=\"text\"/><Representation codecs=\"stpp\"/>"
          "</AdaptationSet></Period>"}) {
        EXPECT_FALSE(Parsed(Mpd("", content)).hasUnmarkedSubtitles) << content;
    }
}

TEST(DashManifest, DoesNotTakeOtherUnmarkedContentForSubtitles)
{
    EXPECT_FALSE(
        Parsed(Mpd("", Set("mimeType=\"application/mp4\"", "codecs=\"wvtt\""))).hasUnmarkedSubtitles);
}

TEST(DashManifest, LooksOnlyAtThePeriodThatIsPlayed)
{
    EXPECT_FALSE(Parsed(Mpd("", Set("mimeType=\"application/mp4\"", "codecs=\"stpp\"") +
                                    Set("contentType=\"text\"", "codecs=\"stpp\"")))
                     .hasUnmarkedSubtitles);
}

TEST(DashManifest, IsNothingElse)
{
    for (const char* const text : {"", "MPD", "<MPD", "<MPD><Period></MPD>", "<tt/>",
                                   "<tt><MPD type=\"dynamic\"/></tt>", "<!-- <MPD/> -->"}) {
        EXPECT_FALSE(ParseDashManifest(text).has_value()) << text;
    }
}

} // namespace
