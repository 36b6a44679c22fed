#include <string>

#include <gtest/gtest.h>

#include "CaptionChoice.h"
#include "MpdText.h"

namespace {

using TTMLHost::CaptionSet;
using TTMLHost::ChooseCaptions;
using TTMLHost::HasCaptions;
using TTMLHost::Mpd;
using TTMLTest::CaptionText;
using TTMLTest::MpdText;
using TTMLTest::ParsedMpd;
using TTMLTest::PeriodText;

const std::string kUncertain = "id=\"u\"";

Mpd TwoLanguages()
{
    return ParsedMpd(MpdText("", PeriodText("", CaptionText("id=\"1\" lang=\"en\"") +
                                                    CaptionText("id=\"2\" lang=\"spa\"") +
                                                    CaptionText("id=\"3\" lang=\"es-MX\""))));
}

TEST(CaptionChoice, IsTheFirstOfALanguageHoweverItIsWritten)
{
    const Mpd mpd = TwoLanguages();
    const auto chosen = [&mpd](const char* language) {
        const CaptionSet* const set = ChooseCaptions(mpd.periods[0], language);
        return set != nullptr ? set->caption.id : std::string("none");
    };
    EXPECT_EQ(chosen(""), "1");
    EXPECT_EQ(chosen("eng"), "1");
    EXPECT_EQ(chosen("es"), "2");
    EXPECT_EQ(chosen("deu"), "none");
    EXPECT_EQ(chosen("?"), "none");
}

TEST(CaptionChoice, SaysWhichLanguagesThereAre)
{
    const Mpd mpd = TwoLanguages();
    std::string error;
    EXPECT_TRUE(HasCaptions(mpd, "en", "s.mpd", &error));
    EXPECT_FALSE(HasCaptions(mpd, "deu", "s.mpd", &error));
    EXPECT_EQ(error, "Cannot play 's.mpd': it has no captions in 'deu'; its languages are: en, es-MX, spa");
}

TEST(CaptionChoice, SaysThatThereAreNone)
{
    std::string error;
    EXPECT_FALSE(HasCaptions(ParsedMpd(MpdText("", PeriodText("", ""))), "", "s.mpd", &error));
    EXPECT_EQ(
        error,
        "Cannot play 's.mpd': it has no captions (an adaptation set with codecs stpp); give the MPD of a "
        "service with TTML captions");
}

TEST(CaptionChoice, AsksOnlyAboutWhatTheMpdDoesNotTell)
{
    Mpd mpd = ParsedMpd(
        MpdText("", PeriodText("", CaptionText("id=\"1\"") +
                                       CaptionText("id=\"2\" contentType=\"text\"", "", kUncertain) +
                                       CaptionText("id=\"3\" contentType=\"text\"", "", kUncertain))));
    std::string asked;
    TTMLHost::SettleCaptions(&mpd, [&asked](const CaptionSet& set) {
        asked += set.caption.id;
        return set.caption.id == "3";
    });
    EXPECT_EQ(asked, "23");
    ASSERT_EQ(mpd.periods[0].captions.size(), 2U);
    EXPECT_EQ(mpd.periods[0].captions[0].caption.id, "1");
    EXPECT_EQ(mpd.periods[0].captions[1].caption.id, "3");
    EXPECT_TRUE(mpd.periods[0].captions[1].certain);
}

} // namespace
