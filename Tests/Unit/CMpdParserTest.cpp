// The MPD's times: finding the attributes, keeping the values, and what is logged.

#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "CMpdParser.h"
#include "MpdFixture.h"

namespace TTMLTest {

namespace {

using TTML::CMpdParser;

// Everything but the texts around them.
constexpr char kNoStart[] = "W mpd property (availabilityStartTime=\") not found in mpdContent";
constexpr char kNoDelay[] = "W mpd property (suggestedPresentationDelay=\") not found in mpdContent";
constexpr char kStartUnended[] =
    "W It seems this mpd property (availabilityStartTime=\") isn't in desired format!!";
constexpr char kDelayUnended[] =
    "W It seems this mpd property (suggestedPresentationDelay=\") isn't in desired format!!";

using MpdParser = MpdTest;

TEST_F(MpdParser, KnowsNothingAtFirst)
{
    const CMpdParser parser;
    EXPECT_EQ(parser.GetAST(), 0);
    EXPECT_EQ(parser.GetSPD(), 0);
    EXPECT_EQ(ScriptedLog::Substance(), Texts{});
}

TEST_F(MpdParser, IsAPlainClass)
{
    EXPECT_FALSE(std::is_polymorphic<CMpdParser>::value);
    EXPECT_TRUE(std::is_copy_constructible<CMpdParser>::value);
    EXPECT_TRUE(std::is_copy_assignable<CMpdParser>::value);
    EXPECT_EQ(sizeof(CMpdParser), 16U);
}

TEST_F(MpdParser, ReadsBothTimes)
{
    const std::string mpd = "<MPD availabilityStartTime=\"2019-05-01T00:00:00Z\" "
                            "suggestedPresentationDelay=\"PT1.5S\">";
    EXPECT_TRUE(m_parser.Parse(mpd));
    EXPECT_EQ(m_parser.GetAST(), 1556668800000);
    EXPECT_EQ(m_parser.GetSPD(), 1500);
    EXPECT_EQ(
        ScriptedLog::Substance(),
        (Texts{"I Found the property (availabilityStartTime=\") with value (2019-05-01T00:00:00Z) in Mpd",
               "I Found mpd@ast: 2019-05-01T00:00:00Z => 1556668800.000000000, gmtOffset:0",
               "I Found the property (suggestedPresentationDelay=\") with value (PT1.5S) in Mpd",
               "I mpd@spd: PT1.5S ==> hour[0], minute[0], second[1.500000] = 1500 MS"}));
}

TEST_F(MpdParser, LooksForTheStartFirstWhateverStandsFirst)
{
    m_parser.Parse(
        "<MPD suggestedPresentationDelay=\"PT2S\" availabilityStartTime=\"1970-01-01T00:00:01Z\">");
    EXPECT_EQ(m_parser.GetAST(), 1000);
    EXPECT_EQ(m_parser.GetSPD(), 2000);
    EXPECT_EQ(ScriptedLog::Substance().at(0),
              "I Found the property (availabilityStartTime=\") with value (1970-01-01T00:00:01Z) in Mpd");
}

TEST_F(MpdParser, EntersAndLeavesEveryOperation)
{
    m_parser.Parse(Mpd("2019-05-01T00:00:00Z", "PT2S"));
    EXPECT_EQ(
        ScriptedLog::Trace(),
        (Texts{"Parse: Enter", "m_UpdateInfoFromMpd: Enter", "m_GetMpdPropertyString: Enter",
               "m_GetMpdPropertyString: Found the property (availabilityStartTime=\") with value "
               "(2019-05-01T00:00:00Z) in Mpd",
               "m_GetMpdPropertyString: Exit", "m_EpochTimeToMilliSecond: Enter", "m_GmtOffset: Enter",
               "m_GmtOffset: Exit",
               "m_EpochTimeToMilliSecond: Found mpd@ast: 2019-05-01T00:00:00Z => 1556668800.000000000, "
               "gmtOffset:0",
               "m_EpochTimeToMilliSecond: Exit", "m_GetMpdPropertyString: Enter",
               "m_GetMpdPropertyString: Found the property (suggestedPresentationDelay=\") with value "
               "(PT2S) in Mpd",
               "m_GetMpdPropertyString: Exit", "m_ISO8601TimeToSecond: Enter",
               "m_ISO8601TimeToSecond: mpd@spd: PT2S ==> hour[0], minute[0], second[2.000000] = 2000 MS",
               "m_ISO8601TimeToSecond: Exit", "m_UpdateInfoFromMpd: Exit", "Parse: Exit"}));
    for (const auto& line : ScriptedLog::Lines()) {
        EXPECT_EQ(line.file, "CMpdParser.cpp");
    }
}

// What is not there.

TEST_F(MpdParser, SaysWhatTheTextLacks)
{
    EXPECT_TRUE(m_parser.Parse(""));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{kNoStart, kNoDelay}));
    EXPECT_EQ(m_parser.GetAST(), 0);
    EXPECT_EQ(m_parser.GetSPD(), 0);
}

TEST_F(MpdParser, KeepsWhatTheNextTextLacks)
{
    m_parser.Parse(Mpd("2019-05-01T00:00:00Z", "PT2S"));
    ScriptedLog::Clear();
    EXPECT_TRUE(m_parser.Parse("<MPD/>"));
    EXPECT_EQ(m_parser.GetAST(), 1556668800000);
    EXPECT_EQ(m_parser.GetSPD(), 2000);
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{kNoStart, kNoDelay}));
    m_parser.Parse("availabilityStartTime=\"1970-01-01T00:00:05Z\"");
    EXPECT_EQ(m_parser.GetAST(), 5000);
    EXPECT_EQ(m_parser.GetSPD(), 2000);
    m_parser.Parse("suggestedPresentationDelay=\"PT7S\"");
    EXPECT_EQ(m_parser.GetAST(), 5000);
    EXPECT_EQ(m_parser.GetSPD(), 7000);
}

TEST_F(MpdParser, ForgetsBothWhenReset)
{
    m_parser.Parse(Mpd("2019-05-01T00:00:00Z", "PT2S"));
    ScriptedLog::Clear();
    m_parser.Reset();
    EXPECT_EQ(m_parser.GetAST(), 0);
    EXPECT_EQ(m_parser.GetSPD(), 0);
    EXPECT_EQ(ScriptedLog::Trace(), (Texts{"Reset: Enter", "Reset: Exit"}));
}

TEST_F(MpdParser, ReadsWithoutAWord)
{
    m_parser.Parse(Mpd("2019-05-01T00:00:00Z", "PT2S"));
    ScriptedLog::Clear();
    m_parser.GetAST();
    m_parser.GetSPD();
    EXPECT_EQ(ScriptedLog::Trace(), Texts{});
}

TEST_F(MpdParser, TakesACopyAlong)
{
    m_parser.Parse(Mpd("2019-05-01T00:00:00Z", "PT2S"));
    CMpdParser copy(m_parser);
    m_parser.Reset();
    EXPECT_EQ(copy.GetAST(), 1556668800000);
    EXPECT_EQ(copy.GetSPD(), 2000);
    copy = m_parser;
    EXPECT_EQ(copy.GetAST(), 0);
    EXPECT_EQ(copy.GetSPD(), 0);
}

// What is there in another form.

TEST_F(MpdParser, FindsNothingThatIsSpeltDifferently)
{
    for (const std::string mpd :
         {"<MPD availabilityStartTime='2019-05-01T00:00:00Z' suggestedPresentationDelay='PT2S'>",
          "<MPD availabilityStartTime =\"2019-05-01T00:00:00Z\" suggestedPresentationDelay =\"PT2S\">",
          "<MPD availabilityStartTime= \"2019-05-01T00:00:00Z\" suggestedPresentationDelay= \"PT2S\">",
          "<MPD AvailabilityStartTime=\"2019-05-01T00:00:00Z\" SuggestedPresentationDelay=\"PT2S\">",
          "<MPD availabilitystarttime=\"2019-05-01T00:00:00Z\" suggestedpresentationdelay=\"PT2S\">",
          "<MPD availabilityStartTime=&quot;2019&quot; suggestedPresentationDelay=&quot;PT2S&quot;>"}) {
        ScriptedLog::Clear();
        EXPECT_TRUE(m_parser.Parse(mpd));
        EXPECT_EQ(ScriptedLog::Substance(), (Texts{kNoStart, kNoDelay})) << mpd;
    }
    EXPECT_EQ(m_parser.GetAST(), 0);
    EXPECT_EQ(m_parser.GetSPD(), 0);
}

TEST_F(MpdParser, TakesTheFirstPlaceWhereverItStands)
{
    m_parser.Parse("<!-- availabilityStartTime=\"1970-01-01T00:00:01Z\" --><Other "
                   "XsuggestedPresentationDelay=\"PT3S\"/>" +
                   Mpd("2019-05-01T00:00:00Z", "PT2S"));
    EXPECT_EQ(m_parser.GetAST(), 1000) << "in a comment";
    EXPECT_EQ(m_parser.GetSPD(), 3000) << "at the end of another name";
}

TEST_F(MpdParser, TakesTheFirstPlaceEvenIfItIsOfNoUse)
{
    m_parser.Parse("suggestedPresentationDelay=\"P1D\" suggestedPresentationDelay=\"PT2S\"");
    EXPECT_EQ(m_parser.GetSPD(), 0);
}

TEST_F(MpdParser, NeedsNoXmlAroundThem)
{
    m_parser.Parse("availabilityStartTime=\"1970-01-01T00:00:01Z\"suggestedPresentationDelay=\"PT2S\"");
    EXPECT_EQ(m_parser.GetAST(), 1000);
    EXPECT_EQ(m_parser.GetSPD(), 2000);
}

TEST_F(MpdParser, SaysWhenAValueDoesNotEnd)
{
    m_parser.Parse(Mpd("2019-05-01T00:00:00Z", "PT2S"));
    ScriptedLog::Clear();
    EXPECT_TRUE(m_parser.Parse("<MPD availabilityStartTime=\"1970-01-01T00:00:01Z"));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{kStartUnended, kNoDelay}));
    ScriptedLog::Clear();
    EXPECT_TRUE(m_parser.Parse("suggestedPresentationDelay=\""));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{kNoStart, kDelayUnended}));
    EXPECT_EQ(m_parser.GetAST(), 1556668800000);
    EXPECT_EQ(m_parser.GetSPD(), 2000);
}

TEST_F(MpdParser, LetsAValueEndAtTheQuoteOfTheNextOne)
{
    m_parser.Parse("availabilityStartTime=\"1970-01-01T00:00:01Z' suggestedPresentationDelay=\"PT2S\"");
    EXPECT_EQ(ScriptedLog::Substance().at(0),
              "I Found the property (availabilityStartTime=\") with value (1970-01-01T00:00:01Z' "
              "suggestedPresentationDelay=) in Mpd");
    EXPECT_EQ(m_parser.GetAST(), 1000);
    EXPECT_EQ(m_parser.GetSPD(), 2000);
}

TEST_F(MpdParser, FindsEmptyValues)
{
    EXPECT_TRUE(m_parser.Parse(Mpd("2019-05-01T00:00:00Z", "PT2S")));
    ScriptedLog::Clear();
    EXPECT_TRUE(m_parser.Parse("suggestedPresentationDelay=\"\""));
    EXPECT_EQ(ScriptedLog::Substance(),
              (Texts{kNoStart, "I Found the property (suggestedPresentationDelay=\") with value () in Mpd"}));
    EXPECT_EQ(m_parser.GetAST(), 1556668800000);
    EXPECT_EQ(m_parser.GetSPD(), 0) << "found, so it is set";
}

TEST_F(MpdParser, DoesNotCarryTheStartOverToTheDelay)
{
    m_parser.Parse("availabilityStartTime=\"PT9S\"");
    EXPECT_EQ(m_parser.GetSPD(), 0);
}

TEST_F(MpdParser, FindsThemAfterTenMegabytes)
{
    const std::string filling(10000000, 'x');
    EXPECT_TRUE(m_parser.Parse(filling + Mpd("2019-05-01T00:00:00Z", "PT2S") + filling));
    EXPECT_EQ(m_parser.GetAST(), 1556668800000);
    EXPECT_EQ(m_parser.GetSPD(), 2000);
}

// A search that goes back to the start of each near miss would compare millions of millions of characters.
TEST_F(MpdParser, GoesThroughTenMegabytesOfNearMisses)
{
    std::string mpd;
    while (mpd.size() < 10000000) {
        mpd += "availabilityStartTime=suggestedPresentationDelay=";
    }
    EXPECT_TRUE(m_parser.Parse(mpd));
    EXPECT_EQ(ScriptedLog::Substance(), (Texts{kNoStart, kNoDelay}));
}

} // namespace

} // namespace TTMLTest
