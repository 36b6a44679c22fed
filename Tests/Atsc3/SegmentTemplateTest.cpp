#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "SegmentTemplate.h"

namespace {

using TTMLHost::SegmentTemplate;

SegmentTemplate Parsed(const std::string& text)
{
    const std::optional<SegmentTemplate> parsed = SegmentTemplate::Parse(text, "d4_4", 140000);
    EXPECT_TRUE(parsed.has_value()) << text;
    return parsed.value_or(SegmentTemplate());
}

std::string Filled(const std::string& text)
{
    return Parsed(text).Fill(42, 90000);
}

TEST(SegmentTemplate, FillsItsIdentifiers)
{
    EXPECT_EQ(Filled("$RepresentationID$-$Number$.m4s"), "d4_4-42.m4s");
    EXPECT_EQ(Filled("s/$Bandwidth$/$Time$"), "s/140000/90000");
    EXPECT_EQ(Filled("$Number%05d$-$Number%01d$"), "00042-42");
    EXPECT_EQ(Filled("$Time%012d$"), "000000090000");
    EXPECT_EQ(Filled("$$5-$Number$"), "$5-42");
    EXPECT_EQ(Filled(""), "");
    EXPECT_EQ(Parsed("$Number$").Fill(796069158, 0), "796069158");
}

TEST(SegmentTemplate, RefusesWhatIsNone)
{
    for (const char* const text :
         {"$", "a$Number", "$number$", "$Nr$", "$Number%d$", "$Number%5d$", "$Number%0d$", "$Number%0x5d$",
          "$Number%05x$", "$Number%0100d$", "$SubNumber$"}) {
        EXPECT_FALSE(SegmentTemplate::Parse(text, "r", 1).has_value()) << text;
    }
}

TEST(SegmentTemplate, FindsTheNumberOfAName)
{
    EXPECT_EQ(Parsed("$RepresentationID$-$Number$.m4s").NumberOf("d4_4-796069158.m4s"), 796069158);
    EXPECT_EQ(Parsed("$Number$").NumberOf("0"), 0);
    EXPECT_EQ(Parsed("s$Number%03d$").NumberOf("s007"), 7);
    EXPECT_EQ(Parsed("s$Number%03d$").NumberOf("s1000"), 1000);
    EXPECT_EQ(Parsed("$Number$264.mp4").NumberOf("12264.mp4"), 12);
    EXPECT_EQ(Parsed("$Number$-$Number%02d$").NumberOf("3-03"), 3);
}

TEST(SegmentTemplate, FindsNumbersBehindAnyCountOfZeros)
{
    EXPECT_EQ(Parsed("$Number%020d$.m4s").NumberOf("00000000000000000003.m4s"), 3);
    EXPECT_EQ(Parsed("$Number%099d$").NumberOf(std::string(99, '0')), 0);
    EXPECT_EQ(Parsed("$Number%025d$").NumberOf("0000000999999999999999999"), 999999999999999999);
    EXPECT_FALSE(Parsed("$Number%025d$").NumberOf("0000001000000000000000000").has_value());
}

TEST(SegmentTemplate, KnowsNamesThatAreNotItsOwn)
{
    const SegmentTemplate names = Parsed("d-$Number%02d$.m4s");
    for (const char* const name : {"", "d-.m4s", "d-7.m4s", "d-07.mp4", "x-07.m4s", "d-init.m4s", "d-007.m4s",
                                   "d-99999999999999999999999.m4s"}) {
        EXPECT_FALSE(names.NumberOf(name).has_value()) << name;
    }
    EXPECT_FALSE(Parsed("$Time$.m4s").NumberOf("7.m4s").has_value());
    EXPECT_FALSE(Parsed("init.mp4").NumberOf("init.mp4").has_value());
}

TEST(SegmentTemplate, KnowsItsFolder)
{
    EXPECT_EQ(Parsed("a/b/c-$Number$.m4s").Folder(), "a/b/");
    EXPECT_EQ(Parsed("c-$Number$.m4s").Folder(), "");
    EXPECT_EQ(Parsed("$Number$/c.m4s").Folder(), "");
}

} // namespace
